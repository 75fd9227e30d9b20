// Lane-wise selection by a comparison mask: lanes whose mask is set take
// `ifSet`, the others keep `ifClear`. Written as one blend instruction in
// inline assembly because the compiler rewrites the blend intrinsic into a
// 256-bit integer sign test, which AVX lacks, and then splits it into eight
// scalar branches.
#pragma once

#include "simd/inline.h"
#include "simd/isa.h"

namespace qx::simd {

#if defined(QX_ISA_AVX)

QX_INLINE __m256 selectWhere(__m256 mask, __m256 ifClear, __m256 ifSet)
{
    __m256 r;
    asm("vblendvps %3, %2, %1, %0" : "=x"(r) : "x"(ifClear), "x"(ifSet), "x"(mask));
    return r;
}

QX_INLINE __m256d selectWhere(__m256d mask, __m256d ifClear, __m256d ifSet)
{
    __m256d r;
    asm("vblendvpd %3, %2, %1, %0" : "=x"(r) : "x"(ifClear), "x"(ifSet), "x"(mask));
    return r;
}

#else

// Without AVX the blend is SIMDe's: every lane of a comparison mask is all
// ones or all zeros, and SIMDe selects by each lane's sign bit as the
// instruction does.
QX_INLINE __m256 selectWhere(__m256 mask, __m256 ifClear, __m256 ifSet)
{
    return _mm256_blendv_ps(ifClear, ifSet, mask);
}

QX_INLINE __m256d selectWhere(__m256d mask, __m256d ifClear, __m256d ifSet)
{
    return _mm256_blendv_pd(ifClear, ifSet, mask);
}

#endif

}  // namespace qx::simd
