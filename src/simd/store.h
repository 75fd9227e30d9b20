// Stores of whole vectors, aligned or not by one template flag, so that a
// kernel written once serves the plain and the aligned-output entry points.
// A double quad stored to float memory is narrowed first (rounded once, in
// the current rounding mode) and fills four floats.
#pragma once

#include "simd/aligned.h"

namespace qx::simd {

template <bool Aligned>
QX_INLINE void storeVector(float* p, __m256 v)
{
    if constexpr (Aligned) storeAligned(p, v);
    else _mm256_storeu_ps(p, v);
}

template <bool Aligned>
QX_INLINE void storeVector(double* p, __m256d v)
{
    if constexpr (Aligned) storeAligned(p, v);
    else _mm256_storeu_pd(p, v);
}

template <bool Aligned>
QX_INLINE void storeVector(float* p, __m256d v)
{
    if constexpr (Aligned) storeAligned(p, _mm256_cvtpd_ps(v));
    else _mm_storeu_ps(p, _mm256_cvtpd_ps(v));
}

}  // namespace qx::simd
