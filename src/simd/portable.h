// Hand-written forms of the few operations whose SIMDe form (0.7.4) does not
// give x86's result, for the builds without AVX; isa.h puts them in place of
// the intrinsics' names, so the families' code does not change.
//
// - The zero tests (_mm_testz_si128, _mm256_testz_si256): SIMDe's SSE2 form
//   answers 1 when either 64-bit half of a & b is zero.
// - The conversions to int32 (_mm256_cvtps_epi32, _mm256_cvtpd_epi32,
//   _mm256_cvttpd_epi32, _mm_cvttsd_si32): x86 rounds in the current mode (or
//   toward zero) and gives 0x80000000 for NaN and for every value out of the
//   int32 range. SIMDe converts lane by lane through a C cast, which on
//   AArch64 saturates (and its NEON form of the 128-bit conversion always
//   rounds to nearest). Here the SSE2 build uses the SSE2 conversions on each
//   half, and AArch64 rounds in the FPCR's mode (frinti) or toward zero
//   (frintz), converts, and puts 0x80000000 in every lane whose rounded value
//   lies outside -2^31 .. 2^31 - 1 (a NaN fails both comparisons).
// - Rounding to the nearest integer, ties to even, whatever the mode
//   (_mm256_round_pd with _MM_FROUND_TO_NEAREST_INT, the only rounding the
//   library asks of it): SIMDe's NEON form rounds ties away from zero, its
//   SSE2 form calls roundeven, which not every C library has. AArch64 has the
//   instruction (frintn); SSE2 has none that ignores the mode, so each lane
//   is rounded on its bits.
// - The double minimum and maximum (_mm256_min_pd, _mm256_max_pd): x86 gives
//   the first operand where it compares less (greater), else the second (a
//   NaN in either operand, equal zeros). SIMDe's AArch64 form is fmin/fmax,
//   which returns the NaN, quieted, and orders -0 below +0.
#pragma once

#include <cstdint>
#include <cstring>

namespace qx::simd {

#if defined(QX_ISA_SSE2)

inline int allZeroAnd(__m128i a, __m128i b)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(a, b), _mm_setzero_si128())) == 0xFFFF;
}

inline int allZeroAnd(__m256i a, __m256i b)
{
    return allZeroAnd(_mm256_castsi256_si128(a), _mm256_castsi256_si128(b)) &
           allZeroAnd(_mm256_extractf128_si256(a, 1), _mm256_extractf128_si256(b, 1));
}

inline __m256i int32FromFloat8(__m256 v)
{
    return _mm256_setr_m128i(_mm_cvtps_epi32(_mm256_castps256_ps128(v)), _mm_cvtps_epi32(_mm256_extractf128_ps(v, 1)));
}

inline __m128i int32FromDouble4(__m256d v)
{
    return _mm_unpacklo_epi64(_mm_cvtpd_epi32(_mm256_castpd256_pd128(v)), _mm_cvtpd_epi32(_mm256_extractf128_pd(v, 1)));
}

inline __m128i int32FromDouble4Truncated(__m256d v)
{
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(_mm256_castpd256_pd128(v)),
                              _mm_cvttpd_epi32(_mm256_extractf128_pd(v, 1)));
}

// x rounded to the nearest integer, ties to even, by its bits: no
// floating-point operation, so the caller's rounding mode plays no part. A
// NaN comes back quieted, as from the instruction.
inline double nearestEven(double x)
{
    uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    const int exponent = static_cast<int>(bits >> 52 & 0x7FF) - 1023;
    const uint64_t sign = bits & 0x8000000000000000u;
    if (exponent >= 52) {  // already whole, infinite or NaN
        if (exponent == 1024 && (bits << 12) != 0) bits |= 0x0008000000000000u;
    } else if (exponent < -1) {  // below 0.5
        bits = sign;
    } else if (exponent == -1) {  // 0.5 up to 1: exactly 0.5 ties to 0
        bits = (bits << 1) == (uint64_t{0x3FE} << 53) ? sign : sign | uint64_t{0x3FF} << 52;
    } else {
        const uint64_t one = uint64_t{1} << (52 - exponent), half = one >> 1, fraction = bits & (one - 1);
        bits -= fraction;
        if (fraction > half || (fraction == half && (bits & one) != 0)) bits += one;  // a carry raises the exponent
    }
    double r;
    std::memcpy(&r, &bits, sizeof r);
    return r;
}

template <int mode>
inline __m256d roundedLanes(__m256d v)
{
    static_assert((mode & ~_MM_FROUND_NO_EXC) == _MM_FROUND_TO_NEAREST_INT, "only rounding to nearest is provided");
    alignas(32) double lanes[4];
    _mm256_store_pd(lanes, v);
    return _mm256_setr_pd(nearestEven(lanes[0]), nearestEven(lanes[1]), nearestEven(lanes[2]), nearestEven(lanes[3]));
}

#else  // QX_ISA_NEON

template <int mode>
inline __m256d roundedLanes(__m256d v)
{
    static_assert((mode & ~_MM_FROUND_NO_EXC) == _MM_FROUND_TO_NEAREST_INT, "only rounding to nearest is provided");
    const float64x2_t low = vrndnq_f64(simde__m128d_to_neon_f64(_mm256_castpd256_pd128(v)));
    const float64x2_t high = vrndnq_f64(simde__m128d_to_neon_f64(_mm256_extractf128_pd(v, 1)));
    return _mm256_setr_m128d(simde__m128d_from_neon_f64(low), simde__m128d_from_neon_f64(high));
}

// Integral values as int32, 0x80000000 where out of range.
inline int32x4_t int32FromIntegral(float32x4_t v)
{
    const uint32x4_t inRange =
        vandq_u32(vcgeq_f32(v, vdupq_n_f32(-0x1p31f)), vcltq_f32(v, vdupq_n_f32(0x1p31f)));
    return vbslq_s32(inRange, vcvtq_s32_f32(v), vdupq_n_s32(INT32_MIN));
}

inline int32x2_t int32FromIntegral(float64x2_t v)
{
    const uint64x2_t inRange = vandq_u64(vcgeq_f64(v, vdupq_n_f64(-0x1p31)), vcltq_f64(v, vdupq_n_f64(0x1p31)));
    return vmovn_s64(vbslq_s64(inRange, vcvtq_s64_f64(v), vdupq_n_s64(INT32_MIN)));
}

inline __m256i int32FromFloat8(__m256 v)
{
    const float32x4_t low = simde__m128_to_neon_f32(_mm256_castps256_ps128(v));
    const float32x4_t high = simde__m128_to_neon_f32(_mm256_extractf128_ps(v, 1));
    return _mm256_setr_m128i(simde__m128i_from_neon_i32(int32FromIntegral(vrndiq_f32(low))),
                             simde__m128i_from_neon_i32(int32FromIntegral(vrndiq_f32(high))));
}

inline __m128i int32FromDouble4(__m256d v)
{
    const float64x2_t low = simde__m128d_to_neon_f64(_mm256_castpd256_pd128(v));
    const float64x2_t high = simde__m128d_to_neon_f64(_mm256_extractf128_pd(v, 1));
    return simde__m128i_from_neon_i32(
        vcombine_s32(int32FromIntegral(vrndiq_f64(low)), int32FromIntegral(vrndiq_f64(high))));
}

inline __m128i int32FromDouble4Truncated(__m256d v)
{
    const float64x2_t low = simde__m128d_to_neon_f64(_mm256_castpd256_pd128(v));
    const float64x2_t high = simde__m128d_to_neon_f64(_mm256_extractf128_pd(v, 1));
    return simde__m128i_from_neon_i32(
        vcombine_s32(int32FromIntegral(vrndq_f64(low)), int32FromIntegral(vrndq_f64(high))));
}

template <bool max>
inline __m256d extremeLanes(__m256d a, __m256d b)
{
    float64x2_t half[2];
    for (int i = 0; i < 2; ++i) {
        const float64x2_t x = simde__m128d_to_neon_f64(i ? _mm256_extractf128_pd(a, 1) : _mm256_castpd256_pd128(a));
        const float64x2_t y = simde__m128d_to_neon_f64(i ? _mm256_extractf128_pd(b, 1) : _mm256_castpd256_pd128(b));
        half[i] = vbslq_f64(max ? vcgtq_f64(x, y) : vcltq_f64(x, y), x, y);
    }
    return _mm256_setr_m128d(simde__m128d_from_neon_f64(half[0]), simde__m128d_from_neon_f64(half[1]));
}

inline int int32FromLowDoubleTruncated(__m128d v)
{
    return vget_lane_s32(int32FromIntegral(vrndq_f64(simde__m128d_to_neon_f64(v))), 0);
}

#endif

}  // namespace qx::simd

#undef _mm256_cvtps_epi32
#define _mm256_cvtps_epi32(v) qx::simd::int32FromFloat8(v)
#undef _mm256_cvtpd_epi32
#define _mm256_cvtpd_epi32(v) qx::simd::int32FromDouble4(v)
#undef _mm256_round_pd
#define _mm256_round_pd(v, mode) qx::simd::roundedLanes<(mode)>(v)
#undef _mm256_cvttpd_epi32
#define _mm256_cvttpd_epi32(v) qx::simd::int32FromDouble4Truncated(v)
#if defined(QX_ISA_SSE2)
#undef _mm_testz_si128
#define _mm_testz_si128(a, b) qx::simd::allZeroAnd(a, b)
#undef _mm256_testz_si256
#define _mm256_testz_si256(a, b) qx::simd::allZeroAnd(a, b)
#else
#undef _mm_cvttsd_si32
#define _mm_cvttsd_si32(v) qx::simd::int32FromLowDoubleTruncated(v)
#undef _mm256_min_pd
#define _mm256_min_pd(a, b) qx::simd::extremeLanes<false>(a, b)
#undef _mm256_max_pd
#define _mm256_max_pd(a, b) qx::simd::extremeLanes<true>(a, b)
#endif
