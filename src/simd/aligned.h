// Loads and stores whose address must be aligned to the vector's width and
// that fault otherwise, where the library promises exactly that (aligned
// output buffers, in-place conversions, filter sections). Written as the
// aligned instruction itself: some toolchains turn the aligned intrinsics
// into unaligned moves, which would accept a misaligned buffer silently.
// A store names its memory as the scalars it writes, not as a vector type
// (which may alias anything): the compiler then knows that it leaves the
// kernel's pointers and counters alone and keeps them in registers.
#pragma once

#include "simd/lanes.h"

namespace qx::simd {

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

QX_ALIGNED_MOVES(__m256, float, "vmovaps", loadAlignedFloat8)
QX_ALIGNED_MOVES(__m128, float, "vmovaps", loadAlignedFloat4)
QX_ALIGNED_MOVES(__m256d, double, "vmovapd", loadAlignedDouble4)
QX_ALIGNED_MOVES(__m128d, double, "vmovapd", loadAlignedDouble2)

#undef QX_ALIGNED_MOVES

}  // namespace qx::simd
