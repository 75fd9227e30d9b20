// Samples of the integer and floating formats as float or double vectors,
// loaded straight from memory at their natural alignment: four samples as a
// double quad, eight as a float oct. Exact wherever the target holds every
// value of the format; int32 and uint32 into float, and int64 into either,
// are rounded once, in the current rounding mode. convertOne gives the same
// value for one sample.
//
// The 64-bit build converts an int64 directly. The 32-bit build, whose only
// direct conversion is on the x87 unit, takes it as its high word (signed)
// times 2^32 plus its low word (unsigned): both terms are exact doubles, so
// their sum is the one rounding to double, the same bits. Into float, a
// sample of magnitude 2^53 or more first has its low 11 bits folded into bit
// 11 (cleared, bit 11 set when any was set): the value then fits in 53 bits,
// so the double is exact, and it still lies strictly between the same two
// multiples of 2^12, as every float of that magnitude and every midpoint
// between two of them does, so the one rounding to float is the sample's
// own. Eight samples that all lie below 2^53 skip the fold.
//
// Vectors of int64 samples that all lie in -2^51 .. 2^51 - 1, the usual
// case, take neither route on either build: as integers, x plus the bits of
// 1.5 * 2^52 is the bit pattern of the double 1.5 * 2^52 + x, and subtracting
// 1.5 * 2^52 leaves x exactly. Both routes give the exact double, so the
// value is the same.
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
    else if constexpr (std::is_same_v<T, uint16_t>)
        return _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    else if constexpr (std::is_same_v<T, int16_t>)
        return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    else return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Eight 32-bit lanes from two groups of four.
QX_INLINE __m256i joinHalves(__m128i low, __m128i high)
{
    return _mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1);
}

// Four unsigned 32-bit lanes as doubles, exactly: read as signed, the lanes
// with the top bit set come out 2^32 low (and a zero lane stays +0).
QX_INLINE __m256d widenUInt32x4(__m128i v)
{
    const __m256d asSigned = widenInt32x4(v);
    const __m256d wrapped = _mm256_cmp_pd(asSigned, _mm256_setzero_pd(), _CMP_LT_OQ);
    return _mm256_add_pd(asSigned, _mm256_and_pd(wrapped, _mm256_set1_pd(4294967296.0)));
}

// Four int64 samples split into their high and low 32-bit words.
struct Int64Words {
    __m128i high, low;
};

QX_INLINE Int64Words int64WordsFrom(const int64_t* p)
{
    const __m128 a = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    const __m128 b = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2)));
    return {_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))),
            _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)))};
}

// high * 2^32 + low, rounded once at the add.
QX_INLINE __m256d doublesFromWords(Int64Words w)
{
    return _mm256_add_pd(_mm256_mul_pd(widenInt32x4(w.high), _mm256_set1_pd(4294967296.0)), widenUInt32x4(w.low));
}

// Whether all eight samples lie in -2^53 .. 2^53 - 1 (high word in -2^21 ..
// 2^21 - 1), where they are exact doubles.
QX_INLINE bool within53Bits(Int64Words a, Int64Words b)
{
    const __m128i bias = _mm_set1_epi32(1 << 21);
    return _mm_testz_si128(_mm_or_si128(_mm_add_epi32(a.high, bias), _mm_add_epi32(b.high, bias)),
                           _mm_set1_epi32(static_cast<int32_t>(0xFFC00000u)));
}

// The lanes of magnitude 2^53 or more with their low 11 bits folded into
// bit 11.
QX_INLINE Int64Words foldedBeyond53Bits(Int64Words w)
{
    const __m128i fits = _mm_cmpeq_epi32(_mm_srai_epi32(w.high, 21), _mm_srai_epi32(w.high, 31));
    const __m128i lowBits = _mm_set1_epi32(0x7FF);
    const __m128i sticky = _mm_add_epi32(_mm_and_si128(w.low, lowBits), lowBits);  // bit 11: any low bit set
    const __m128i folded = _mm_andnot_si128(lowBits, _mm_or_si128(w.low, sticky));
    return {w.high, _mm_blendv_epi8(folded, w.low, fits)};
}

// Four int64 samples as doubles, each rounded once, by the build's general
// route.
QX_INLINE __m256d doubleQuadFromAnyInt64(const int64_t* p)
{
#if defined(__x86_64__)
    return _mm256_setr_pd(static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2]),
                          static_cast<double>(p[3]));
#else
    return doublesFromWords(int64WordsFrom(p));
#endif
}

// Eight int64 samples as floats, each rounded once, by the general route.
QX_INLINE __m256 floatOctFromAnyInt64(const int64_t* p)
{
#if defined(__x86_64__)
    return _mm256_setr_ps(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
                          static_cast<float>(p[3]), static_cast<float>(p[4]), static_cast<float>(p[5]),
                          static_cast<float>(p[6]), static_cast<float>(p[7]));
#else
    Int64Words low = int64WordsFrom(p), high = int64WordsFrom(p + 4);
    if (!within53Bits(low, high)) low = foldedBeyond53Bits(low), high = foldedBeyond53Bits(high);
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(doublesFromWords(low))),
                                _mm256_cvtpd_ps(doublesFromWords(high)), 1);
#endif
}

// Four int64 samples plus the bits of 1.5 * 2^52, as a double quad. Exactly
// when all four lay in -2^51 .. 2^51 - 1 does every sum have the sign and
// exponent of 1.5 * 2^52: the top 12 bits of sum xor 1.5 * 2^52 are then
// zero. (One constant serves as the bias, the xor and the subtrahend, which
// matters with eight vector registers.)
QX_INLINE __m256d biasedInt64Quad(const int64_t* p)
{
    const __m128i bias = _mm_castpd_si128(_mm_set1_pd(0x1.8p52));
    return _mm256_castsi256_pd(
        joinHalves(_mm_add_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), bias),
                   _mm_add_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2)), bias)));
}

QX_INLINE __m256d int64ExponentChange(__m256d biased)
{
    return _mm256_xor_pd(biased, _mm256_set1_pd(0x1.8p52));
}

QX_INLINE bool int64InRange(__m256d exponentChanges)
{
    const __m256i signAndExponent = _mm256_set1_epi64x(static_cast<int64_t>(0xFFF0000000000000u));
    return _mm256_testz_si256(_mm256_castpd_si256(exponentChanges), signAndExponent);
}

// The samples of a quad that was in range, exactly; rounding toward -inf
// gives -0 for a zero sample, made +0 by the caller.
QX_INLINE __m256d int64Unbiased(__m256d biased) { return _mm256_sub_pd(biased, _mm256_set1_pd(0x1.8p52)); }

QX_INLINE __m256 positiveZeros(__m256 v)
{
    return _mm256_and_ps(v, _mm256_cmp_ps(v, _mm256_setzero_ps(), _CMP_NEQ_UQ));
}
QX_INLINE __m256d positiveZeros(__m256d v)
{
    return _mm256_and_pd(v, _mm256_cmp_pd(v, _mm256_setzero_pd(), _CMP_NEQ_UQ));
}

// Samples 0-3 as doubles, exactly (int64: rounded once).
template <class T>
QX_INLINE __m256d doubleQuadFrom(const T* p)
{
    if constexpr (std::is_same_v<T, double>) return _mm256_loadu_pd(p);
    else if constexpr (std::is_same_v<T, float>) return _mm256_cvtps_pd(_mm_loadu_ps(p));
    else if constexpr (std::is_same_v<T, int64_t>) {
        const __m256d biased = biasedInt64Quad(p);
        return int64InRange(int64ExponentChange(biased)) ? positiveZeros(int64Unbiased(biased))
                                                         : doubleQuadFromAnyInt64(p);
    }
    else if constexpr (std::is_same_v<T, uint32_t>) return widenUInt32x4(int32x4From(p));
    else return widenInt32x4(int32x4From(p));
}

// Samples 0-7 as floats. uint32 goes as its high and low 16-bit halves,
// each exact, high * 65536 (exact) + low: the one rounding is at the add, so
// the result is the correctly rounded value of the unsigned sample.
template <class T>
QX_INLINE __m256 floatOctFrom(const T* p)
{
    if constexpr (std::is_same_v<T, float>) return _mm256_loadu_ps(p);
    else if constexpr (std::is_same_v<T, int64_t>) {
        const __m256d low = biasedInt64Quad(p), high = biasedInt64Quad(p + 4);
        const __m256d changes = _mm256_or_pd(int64ExponentChange(low), int64ExponentChange(high));
        if (!int64InRange(changes)) return floatOctFromAnyInt64(p);
        return positiveZeros(_mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(int64Unbiased(low))),
                                                  _mm256_cvtpd_ps(int64Unbiased(high)), 1));
    } else if constexpr (std::is_same_v<T, int32_t>)
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

// One int64 as Work (float or double), rounded once. The 64-bit build
// converts directly; the 32-bit one by the words, as the vector forms do,
// not through the x87 unit.
template <class Work>
QX_INLINE Work fromInt64(int64_t x)
{
#if defined(__x86_64__)
    return static_cast<Work>(x);
#else
    const int32_t high = static_cast<int32_t>(x >> 32);
    uint32_t low = static_cast<uint32_t>(x);
    if (std::is_same_v<Work, float> && high >> 21 != high >> 31)
        low = (low & ~0x7FFu) | (((low & 0x7FF) + 0x7FF) & 0x800);
    const double lowPart =
        static_cast<double>(static_cast<int32_t>(low)) + (static_cast<int32_t>(low) < 0 ? 4294967296.0 : 0.0);
    return static_cast<Work>(static_cast<double>(high) * 4294967296.0 + lowPart);
#endif
}

// An unsigned 64-bit counter as Work (float or double), rounded once: through
// the signed conversion; counters of 2^63 and more are halved first with the
// lost bit kept sticky, and the half doubled exactly.
template <class Work>
inline Work fromUint64(uint64_t n)
{
    if (static_cast<int64_t>(n) >= 0) return fromInt64<Work>(static_cast<int64_t>(n));
    const Work half = fromInt64<Work>(static_cast<int64_t>((n >> 1) | (n & 1)));
    return half + half;
}

// An unsigned 32-bit value as a float through its two 16-bit halves, each
// exact: high * 65536 (exact) + low rounds once, in the current mode, as the
// vector form does.
QX_INLINE float floatFromUint32(uint32_t n)
{
    return static_cast<float>(n >> 16) * 65536.0f + static_cast<float>(n & 0xFFFFu);
}

// One sample as Work (float or double), as the vector forms convert it.
template <class Work, class T>
QX_INLINE Work convertOne(T x)
{
    if constexpr (std::is_same_v<Work, float> && std::is_same_v<T, uint32_t>) return floatFromUint32(x);
    else if constexpr (std::is_same_v<T, int64_t>) return fromInt64<Work>(x);
    else return static_cast<Work>(x);
}

}  // namespace qx::simd
