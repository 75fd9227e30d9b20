// The library's fast base-10 logarithm of |x|: a cubic in the mantissa plus
// the exponent approximates log2|x| (absolute error below 4.0e-4 for normal
// x), which is then divided by log2(10). No table, no branch, no special
// cases: 0 and subnormals take exponent -127 (0 gives -38.2308), infinities
// and NaNs exponent 128 with their mantissa bits, negative x the result of |x|.
//
// The two forms share the approximation bit for bit but scale it
// differently, and both scalings are kept as they are:
// - fastLog10 (one value) divides in double by 3.3219281 and rounds to float;
// - fastLog10Lanes (four or eight lanes) divides in single precision by the
//   float nearest log2(10).
// About a quarter of all inputs differ by one unit in the last place.
#pragma once

#include <bit>
#include <cstdint>

#include "simd/lanes.h"

namespace qx::simd {

namespace log10detail {

inline constexpr uint32_t kMantissaField = 0x007FFFFF;
inline constexpr uint32_t kExponentOfOne = 0x3F800000;  // the bits of 1.0f
inline constexpr int32_t kExponentBias = 127;

// The cubic's coefficients, each rounded to single precision.
inline constexpr float kC0 = std::bit_cast<float>(0xBDDBA835u);  // -0.107254423...
inline constexpr float kC1 = std::bit_cast<float>(0x3F3030C0u);  //  0.688243865...
inline constexpr float kC2 = std::bit_cast<float>(0x3FE0D411u);  //  1.756471753...
inline constexpr float kC3 = std::bit_cast<float>(0x402786EEu);  //  2.617610454...

inline constexpr double kLog2Of10Double = std::bit_cast<double>(0x400A934F0A294EAEull);  // 3.3219281
inline constexpr float kLog2Of10Float = std::bit_cast<float>(0x40549A78u);            // 3.32192802...

// |x| split into its mantissa m (1 <= m < 2) and its unbiased exponent e, as
// floats. The exponent field is shifted with 128-bit integer operations; on
// eight lanes each half is shifted on its own.
struct MantissaExponent1 {
    float m, e;
};
QX_INLINE MantissaExponent1 split(float x)
{
    const uint32_t b = std::bit_cast<uint32_t>(x);
    return {std::bit_cast<float>((b & kMantissaField) | kExponentOfOne),
            static_cast<float>(static_cast<int32_t>((b >> 23) & 0xFF) - kExponentBias)};
}

QX_INLINE __m128i exponentField(__m128i bits)
{
    return _mm_sub_epi32(_mm_and_si128(_mm_srli_epi32(bits, 23), _mm_set1_epi32(0xFF)), _mm_set1_epi32(kExponentBias));
}

struct MantissaExponent4 {
    __m128 m, e;
};
QX_INLINE MantissaExponent4 split(__m128 x)
{
    const __m128 m = _mm_or_ps(_mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(kMantissaField))),
                               _mm_castsi128_ps(_mm_set1_epi32(kExponentOfOne)));
    return {m, _mm_cvtepi32_ps(exponentField(_mm_castps_si128(x)))};
}

struct MantissaExponent8 {
    __m256 m, e;
};
QX_INLINE MantissaExponent8 split(__m256 x)
{
    const __m256 m = _mm256_or_ps(_mm256_and_ps(x, _mm256_castsi256_ps(_mm256_set1_epi32(kMantissaField))),
                                  _mm256_castsi256_ps(_mm256_set1_epi32(kExponentOfOne)));
    const __m256i bits = _mm256_castps_si256(x);
    const __m128i low = exponentField(_mm256_castsi256_si128(bits));
    const __m128i high = exponentField(_mm256_extractf128_si256(bits, 1));
    return {m, _mm256_cvtepi32_ps(_mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1))};
}

// log2|x| approximated, each step rounded to single precision in this order.
// V is float, __m128 or __m256; scalars broadcast over the lanes.
template <class V>
QX_INLINE V log2Approx(V x)
{
    const auto [m, e] = split(x);
    V p = m * kC0 + kC1;
    p = p * m - kC2;
    p = p * m + kC3;
    return e + (m - 1.0f) * p;
}

}  // namespace log10detail

QX_INLINE float fastLog10(float x)
{
    return static_cast<float>(static_cast<double>(log10detail::log2Approx(x)) / log10detail::kLog2Of10Double);
}

// The lane form over __m128 (four lanes) or __m256 (eight lanes, the same
// formula on each lane).
template <class V>
QX_INLINE V fastLog10Lanes(V x)
{
    return log10detail::log2Approx(x) / log10detail::kLog2Of10Float;
}

QX_INLINE __m128 fastLog10x4(__m128 x) { return fastLog10Lanes(x); }

}  // namespace qx::simd
