// Samples of the integer and floating formats as float or double vectors,
// loaded straight from memory at their natural alignment: four samples as a
// double quad, eight as a float oct. Exact wherever the target holds every
// value of the format; int32 and uint32 into float are rounded once, in the
// current rounding mode. convertOne gives the same value for one sample.
#pragma once

#include <cstdint>
#include <type_traits>

#include "simd/widen.h"

namespace qx::simd {

// Four samples sign- or zero-extended to 32-bit lanes (uint32 keeps its bits).
template <class T>
QX_INLINE __m128i int32x4From(const T* p)
{
    if constexpr (std::is_same_v<T, uint8_t>) return _mm_cvtepu8_epi32(_mm_loadu_si32(p));
    else if constexpr (std::is_same_v<T, int8_t>) return _mm_cvtepi8_epi32(_mm_loadu_si32(p));
    else if constexpr (std::is_same_v<T, uint16_t>) return _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    else if constexpr (std::is_same_v<T, int16_t>) return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    else return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Eight 32-bit lanes from two groups of four.
QX_INLINE __m256i joinHalves(__m128i low, __m128i high)
{
    return _mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1);
}

// Samples 0-3 as doubles, exactly (int64 is not a vector format).
template <class T>
QX_INLINE __m256d doubleQuadFrom(const T* p)
{
    if constexpr (std::is_same_v<T, double>) return _mm256_loadu_pd(p);
    else if constexpr (std::is_same_v<T, float>) return _mm256_cvtps_pd(_mm_loadu_ps(p));
    else if constexpr (std::is_same_v<T, uint32_t>) {
        // Read as signed, the lanes with the top bit set come out 2^32 low.
        const __m256d asSigned = widenInt32x4(int32x4From(p));
        const __m256d wrapped = _mm256_cmp_pd(asSigned, _mm256_setzero_pd(), _CMP_LT_OQ);
        return _mm256_add_pd(asSigned, _mm256_and_pd(wrapped, _mm256_set1_pd(4294967296.0)));
    } else return widenInt32x4(int32x4From(p));
}

// Samples 0-7 as floats. uint32 goes as its high and low 16-bit halves,
// each exact, high * 65536 (exact) + low: the one rounding is at the add, so
// the result is the correctly rounded value of the unsigned sample.
template <class T>
QX_INLINE __m256 floatOctFrom(const T* p)
{
    if constexpr (std::is_same_v<T, float>) return _mm256_loadu_ps(p);
    else if constexpr (std::is_same_v<T, int32_t>)
        return _mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    else if constexpr (std::is_same_v<T, uint32_t>) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        const __m256i low = _mm256_castps_si256(
            _mm256_and_ps(_mm256_castsi256_ps(v), _mm256_castsi256_ps(_mm256_set1_epi32(0xFFFF))));
        const __m256i high = joinHalves(_mm_srli_epi32(_mm256_castsi256_si128(v), 16),
                                        _mm_srli_epi32(_mm256_extractf128_si256(v, 1), 16));
        return _mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(high), _mm256_set1_ps(65536.0f)),
                             _mm256_cvtepi32_ps(low));
    } else return _mm256_cvtepi32_ps(joinHalves(int32x4From(p), int32x4From(p + 4)));
}

// One sample as Work (float or double), as the vector forms convert it;
// int64 is rounded once, straight to Work.
template <class Work, class T>
QX_INLINE Work convertOne(T x)
{
    if constexpr (std::is_same_v<Work, float> && std::is_same_v<T, uint32_t>)
        return static_cast<float>(x >> 16) * 65536.0f + static_cast<float>(x & 0xFFFF);
    else return static_cast<Work>(x);
}

}  // namespace qx::simd
