// Vector lanes of each sample type: the register, its width, the alignment the
// aligned body seeks, loads, broadcasts (floating types), lane-wise minimum
// and maximum, and the moves that bring the upper half of the occupied lanes
// down for halving reductions.
//
// loadAssumedAligned reads from an address the caller's walk has aligned; the
// compiler may fold it into an arithmetic instruction, which accepts any
// address, so it checks nothing. The moves that fault on a misaligned address
// (for buffers the caller promises aligned) are in simd/aligned.h.
//
// Floating-point min(a, b) and max(a, b) return b whenever the comparison
// a < b (a > b) is false, which includes a NaN in either operand and equal
// zeros of either sign: operand order is observable and callers pass the
// accumulator first and the new data second.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/inline.h"
#include "simd/isa.h"

namespace qx::simd {

template <class T>
struct Lanes;

template <>
struct Lanes<float> {
    using Vec = __m256;
    static constexpr unsigned width = 8;
    static constexpr std::size_t alignment = 32;
    static QX_INLINE Vec loadu(const float* p) { return _mm256_loadu_ps(p); }
    static QX_INLINE Vec loadAssumedAligned(const float* p) { return _mm256_load_ps(p); }
    static QX_INLINE Vec broadcast(float x) { return _mm256_set1_ps(x); }
    static QX_INLINE Vec min(Vec a, Vec b) { return _mm256_min_ps(a, b); }
    static QX_INLINE Vec max(Vec a, Vec b) { return _mm256_max_ps(a, b); }
    static QX_INLINE float lane0(Vec v) { return _mm256_cvtss_f32(v); }
    static QX_INLINE Vec unordered(Vec a, Vec b) { return _mm256_cmp_ps(a, b, _CMP_UNORD_Q); }
    static QX_INLINE Vec bitOr(Vec a, Vec b) { return _mm256_or_ps(a, b); }
    static QX_INLINE Vec sub(Vec a, Vec b) { return _mm256_sub_ps(a, b); }
    static QX_INLINE bool anyLane(Vec mask) { return _mm256_movemask_ps(mask) != 0; }
    template <unsigned Count>
    static QX_INLINE Vec moveDown(Vec v)
    {
        if constexpr (Count == 4) return _mm256_permute2f128_ps(v, v, 0x01);
        else if constexpr (Count == 2) return _mm256_permute_ps(v, _MM_SHUFFLE(3, 2, 3, 2));
        else return _mm256_permute_ps(v, _MM_SHUFFLE(3, 3, 3, 1));
    }
};

template <>
struct Lanes<double> {
    using Vec = __m256d;
    static constexpr unsigned width = 4;
    static constexpr std::size_t alignment = 32;
    static QX_INLINE Vec loadu(const double* p) { return _mm256_loadu_pd(p); }
    static QX_INLINE Vec loadAssumedAligned(const double* p) { return _mm256_load_pd(p); }
    static QX_INLINE Vec broadcast(double x) { return _mm256_set1_pd(x); }
    static QX_INLINE Vec min(Vec a, Vec b) { return _mm256_min_pd(a, b); }
    static QX_INLINE Vec max(Vec a, Vec b) { return _mm256_max_pd(a, b); }
    static QX_INLINE double lane0(Vec v) { return _mm256_cvtsd_f64(v); }
    static QX_INLINE Vec unordered(Vec a, Vec b) { return _mm256_cmp_pd(a, b, _CMP_UNORD_Q); }
    static QX_INLINE Vec bitOr(Vec a, Vec b) { return _mm256_or_pd(a, b); }
    static QX_INLINE Vec sub(Vec a, Vec b) { return _mm256_sub_pd(a, b); }
    static QX_INLINE bool anyLane(Vec mask) { return _mm256_movemask_pd(mask) != 0; }
    template <unsigned Count>
    static QX_INLINE Vec moveDown(Vec v)
    {
        if constexpr (Count == 2) return _mm256_permute2f128_pd(v, v, 0x01);
        else return _mm256_permute_pd(v, 0b0101);
    }
};

// Integer lanes stay 128 bits wide: AVX has no 256-bit integer arithmetic.
template <class T>
struct IntegerLanes {
    using Vec = __m128i;
    static constexpr unsigned width = 16 / sizeof(T);
    static constexpr std::size_t alignment = 16;
    static QX_INLINE Vec loadu(const T* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static QX_INLINE Vec loadAssumedAligned(const T* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
    static QX_INLINE T lane0(Vec v) { return static_cast<T>(_mm_cvtsi128_si32(v)); }
    template <unsigned Count>
    static QX_INLINE Vec moveDown(Vec v) { return _mm_srli_si128(v, Count * sizeof(T)); }
};

template <>
struct Lanes<int16_t> : IntegerLanes<int16_t> {
    static QX_INLINE Vec min(Vec a, Vec b) { return _mm_min_epi16(a, b); }
    static QX_INLINE Vec max(Vec a, Vec b) { return _mm_max_epi16(a, b); }
};

template <>
struct Lanes<int32_t> : IntegerLanes<int32_t> {
    static QX_INLINE Vec min(Vec a, Vec b) { return _mm_min_epi32(a, b); }
    static QX_INLINE Vec max(Vec a, Vec b) { return _mm_max_epi32(a, b); }
};

// Eight int16 lanes in the order 0, 4, 1, 5, 2, 6, 3, 7: each sample beside
// the one four lanes on. One byte shuffle (SSSE3); SSE2 has none, and SIMDe's
// form of it moves byte by byte, so there the two halves are interleaved.
QX_INLINE __m128i pairedFourApart(__m128i v)
{
#if defined(QX_ISA_SSE2)
    return _mm_unpacklo_epi16(v, _mm_srli_si128(v, 8));
#else
    return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
#endif
}

}  // namespace qx::simd
