// Widening of one vector of samples into groups of four doubles: samples
// 0-3 into the first group, 4-7 into the second.
#pragma once

#include "simd/inline.h"
#include "simd/isa.h"

namespace qx::simd {

struct DoubleQuads {
    __m256d low, high;
};

QX_INLINE __m256d widenInt32x4(__m128i v) { return _mm256_cvtepi32_pd(v); }

QX_INLINE DoubleQuads widenInt16x8(__m128i v)
{
    return {_mm256_cvtepi32_pd(_mm_cvtepi16_epi32(v)), _mm256_cvtepi32_pd(_mm_cvtepi16_epi32(_mm_srli_si128(v, 8)))};
}

QX_INLINE DoubleQuads widenFloat8(__m256 v)
{
    return {_mm256_cvtps_pd(_mm256_castps256_ps128(v)), _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1))};
}

}  // namespace qx::simd
