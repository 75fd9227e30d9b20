// Loads and stores whose address must be aligned to the vector's width and
// that fault otherwise, where the library promises exactly that (aligned
// output buffers, in-place conversions, filter sections). Written as the
// aligned instruction itself: some toolchains turn the aligned intrinsics
// into unaligned moves, which would accept a misaligned buffer silently.
// A store names its memory as the scalars it writes, not as a vector type
// (which may alias anything): the compiler then knows that it leaves the
// kernel's pointers and counters alone and keeps them in registers.
#pragma once

#include "simd/inline.h"
#include "simd/isa.h"

namespace qx::simd {

#if defined(QX_ISA_AVX) || defined(QX_ISA_SSE2)

#define QX_ALIGNED_MOVES(Vec, Scalar, mnemonic, loadName)                                      \
    QX_INLINE void storeAligned(Scalar* p, Vec v)                                              \
    {                                                                                          \
        asm volatile(mnemonic " %1, %0"                                                        \
                     : "=m"(*reinterpret_cast<Scalar(*)[sizeof(Vec) / sizeof(Scalar)]>(p))      \
                     : "x"(v));                                                                 \
    }                                                                                          \
    QX_INLINE Vec loadName(const Scalar* p)                                                    \
    {                                                                                          \
        Vec v;                                                                                 \
        asm(mnemonic " %1, %0" : "=x"(v) : "m"(*reinterpret_cast<const Vec*>(p)));            \
        return v;                                                                              \
    }

#if defined(QX_ISA_AVX)
QX_ALIGNED_MOVES(__m256, float, "vmovaps", loadAlignedFloat8)
QX_ALIGNED_MOVES(__m128, float, "vmovaps", loadAlignedFloat4)
QX_ALIGNED_MOVES(__m256d, double, "vmovapd", loadAlignedDouble4)
QX_ALIGNED_MOVES(__m128d, double, "vmovapd", loadAlignedDouble2)
#else  // the SSE2 aligned moves, which fault on an address off 16 bytes
QX_ALIGNED_MOVES(__m128, float, "movaps", loadAlignedFloat4)
QX_ALIGNED_MOVES(__m128d, double, "movapd", loadAlignedDouble2)
#endif

#undef QX_ALIGNED_MOVES

#else  // QX_ISA_NEON: no vector move checks its alignment; the intrinsics move the bytes.

QX_INLINE void storeAligned(float* p, __m128 v) { _mm_store_ps(p, v); }
QX_INLINE void storeAligned(double* p, __m128d v) { _mm_store_pd(p, v); }
QX_INLINE __m128 loadAlignedFloat4(const float* p) { return _mm_load_ps(p); }
QX_INLINE __m128d loadAlignedDouble2(const double* p) { return _mm_load_pd(p); }

#endif

#if !defined(QX_ISA_AVX)

// A 256-bit vector moves as its two halves.
QX_INLINE void storeAligned(float* p, __m256 v)
{
    storeAligned(p, _mm256_castps256_ps128(v));
    storeAligned(p + 4, _mm256_extractf128_ps(v, 1));
}

QX_INLINE void storeAligned(double* p, __m256d v)
{
    storeAligned(p, _mm256_castpd256_pd128(v));
    storeAligned(p + 2, _mm256_extractf128_pd(v, 1));
}

QX_INLINE __m256 loadAlignedFloat8(const float* p)
{
    return _mm256_setr_m128(loadAlignedFloat4(p), loadAlignedFloat4(p + 4));
}

QX_INLINE __m256d loadAlignedDouble4(const double* p)
{
    return _mm256_setr_m128d(loadAlignedDouble2(p), loadAlignedDouble2(p + 2));
}

#endif

}  // namespace qx::simd
