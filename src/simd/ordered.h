// Additions and multiplications whose operand order is kept as written. When
// both operands of an x86 add or multiply are NaN the result carries the first
// operand's payload; compilers treat both operations as commutative and may
// swap the operands, so arithmetic whose order the library promises (sum + x,
// factor * x, sample * tap, x * scale + offset) goes through these helpers,
// which pin the first operand.
//
// Without AVX the 128-bit and scalar forms are the two-operand SSE2
// instructions (the first operand is also the destination) and a 256-bit
// vector is two 128-bit halves. AArch64 picks differently when a quiet NaN
// meets a signalling one (it returns the signalling NaN, quieted); there the
// helpers select the first operand, quieted, wherever it is a NaN, which is
// x86's choice in every case (the instruction's order then no longer matters).
#pragma once

#include "simd/inline.h"
#include "simd/isa.h"

namespace qx::simd {

#if defined(QX_ISA_AVX)

#define QX_IN_ORDER(name, Type, mnemonic)                                    \
    QX_INLINE Type name(Type a, Type b)                                      \
    {                                                                        \
        Type r;                                                              \
        asm(mnemonic " %2, %1, %0" : "=x"(r) : "x"(a), "xm"(b));             \
        return r;                                                            \
    }

QX_IN_ORDER(addInOrder, float, "vaddss")
QX_IN_ORDER(addInOrder, double, "vaddsd")
QX_IN_ORDER(addInOrder, __m128, "vaddps")
QX_IN_ORDER(addInOrder, __m128d, "vaddpd")
QX_IN_ORDER(addInOrder, __m256, "vaddps")
QX_IN_ORDER(addInOrder, __m256d, "vaddpd")
QX_IN_ORDER(mulInOrder, float, "vmulss")
QX_IN_ORDER(mulInOrder, double, "vmulsd")
QX_IN_ORDER(mulInOrder, __m128, "vmulps")
QX_IN_ORDER(mulInOrder, __m128d, "vmulpd")
QX_IN_ORDER(mulInOrder, __m256, "vmulps")
QX_IN_ORDER(mulInOrder, __m256d, "vmulpd")

#undef QX_IN_ORDER

#else

#if defined(QX_ISA_SSE2)

// A packed SSE instruction faults on a memory operand off 16 bytes, so the
// packed forms take the second operand in a register ("x"), the scalar ones
// anywhere ("xm").
#define QX_IN_ORDER(name, Type, mnemonic, where)                             \
    QX_INLINE Type name(Type a, Type b)                                      \
    {                                                                        \
        Type r;                                                              \
        asm(mnemonic " %2, %0" : "=x"(r) : "0"(a), where(b));                \
        return r;                                                            \
    }

QX_IN_ORDER(addInOrder, float, "addss", "xm")
QX_IN_ORDER(addInOrder, double, "addsd", "xm")
QX_IN_ORDER(addInOrder, __m128, "addps", "x")
QX_IN_ORDER(addInOrder, __m128d, "addpd", "x")
QX_IN_ORDER(mulInOrder, float, "mulss", "xm")
QX_IN_ORDER(mulInOrder, double, "mulsd", "xm")
QX_IN_ORDER(mulInOrder, __m128, "mulps", "x")
QX_IN_ORDER(mulInOrder, __m128d, "mulpd", "x")

#undef QX_IN_ORDER

#else  // QX_ISA_NEON

// r where a is a number, else a quieted.
QX_INLINE float32x4_t firstNaNOr(float32x4_t a, float32x4_t r)
{
    const float32x4_t quietA = vreinterpretq_f32_u32(vorrq_u32(vreinterpretq_u32_f32(a), vdupq_n_u32(0x00400000u)));
    return vbslq_f32(vceqq_f32(a, a), r, quietA);
}

QX_INLINE float64x2_t firstNaNOr(float64x2_t a, float64x2_t r)
{
    const uint64x2_t quietBit = vdupq_n_u64(0x0008000000000000u);
    const float64x2_t quietA = vreinterpretq_f64_u64(vorrq_u64(vreinterpretq_u64_f64(a), quietBit));
    return vbslq_f64(vceqq_f64(a, a), r, quietA);
}

QX_INLINE float lane0(float32x4_t v) { return vgetq_lane_f32(v, 0); }
QX_INLINE double lane0(float64x2_t v) { return vgetq_lane_f64(v, 0); }

// Each form on NEON registers: Vec to Neon, op, x86's NaN, back to Vec.
// Scalars go through lane 0 of the vector forms.
#define QX_IN_ORDER(name, Vec, Neon, toNeon, fromNeon, op)   \
    QX_INLINE Vec name(Vec a, Vec b)                          \
    {                                                         \
        const Neon x = toNeon(a);                             \
        return fromNeon(firstNaNOr(x, op(x, toNeon(b))));     \
    }

QX_IN_ORDER(addInOrder, __m128, float32x4_t, simde__m128_to_neon_f32, simde__m128_from_neon_f32, vaddq_f32)
QX_IN_ORDER(mulInOrder, __m128, float32x4_t, simde__m128_to_neon_f32, simde__m128_from_neon_f32, vmulq_f32)
QX_IN_ORDER(addInOrder, __m128d, float64x2_t, simde__m128d_to_neon_f64, simde__m128d_from_neon_f64, vaddq_f64)
QX_IN_ORDER(mulInOrder, __m128d, float64x2_t, simde__m128d_to_neon_f64, simde__m128d_from_neon_f64, vmulq_f64)
QX_IN_ORDER(addInOrder, float, float32x4_t, vdupq_n_f32, lane0, vaddq_f32)
QX_IN_ORDER(mulInOrder, float, float32x4_t, vdupq_n_f32, lane0, vmulq_f32)
QX_IN_ORDER(addInOrder, double, float64x2_t, vdupq_n_f64, lane0, vaddq_f64)
QX_IN_ORDER(mulInOrder, double, float64x2_t, vdupq_n_f64, lane0, vmulq_f64)

#undef QX_IN_ORDER

#endif

// A 256-bit vector is two independent 128-bit halves.
QX_INLINE __m256 addInOrder(__m256 a, __m256 b)
{
    const __m128 low = addInOrder(_mm256_castps256_ps128(a), _mm256_castps256_ps128(b));
    const __m128 high = addInOrder(_mm256_extractf128_ps(a, 1), _mm256_extractf128_ps(b, 1));
    return _mm256_setr_m128(low, high);
}

QX_INLINE __m256 mulInOrder(__m256 a, __m256 b)
{
    const __m128 low = mulInOrder(_mm256_castps256_ps128(a), _mm256_castps256_ps128(b));
    const __m128 high = mulInOrder(_mm256_extractf128_ps(a, 1), _mm256_extractf128_ps(b, 1));
    return _mm256_setr_m128(low, high);
}

QX_INLINE __m256d addInOrder(__m256d a, __m256d b)
{
    const __m128d low = addInOrder(_mm256_castpd256_pd128(a), _mm256_castpd256_pd128(b));
    const __m128d high = addInOrder(_mm256_extractf128_pd(a, 1), _mm256_extractf128_pd(b, 1));
    return _mm256_setr_m128d(low, high);
}

QX_INLINE __m256d mulInOrder(__m256d a, __m256d b)
{
    const __m128d low = mulInOrder(_mm256_castpd256_pd128(a), _mm256_castpd256_pd128(b));
    const __m128d high = mulInOrder(_mm256_extractf128_pd(a, 1), _mm256_extractf128_pd(b, 1));
    return _mm256_setr_m128d(low, high);
}

#endif

}  // namespace qx::simd
