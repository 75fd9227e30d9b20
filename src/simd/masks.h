// 0.0/1.0 lane masks for the ragged ends of a block. One table serves both
// ends: eight lanes read from it at a sliding start give 1.0 in the first h
// lanes (head) or in the last r lanes (tail) and 0.0 elsewhere.
#pragma once

#include "simd/inline.h"
#include "simd/isa.h"

namespace qx::simd {

alignas(32) inline constexpr float kOnesBetweenZeros[24] = {
    0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0,
};

// 1.0 in lanes 0 .. h-1, 0.0 elsewhere (h = 0..8).
QX_INLINE __m256 headMask8(unsigned h) { return _mm256_loadu_ps(kOnesBetweenZeros + 16 - h); }

// 1.0 in the last r lanes, 0.0 elsewhere (r = 0..8).
QX_INLINE __m256 tailMask8(unsigned r) { return _mm256_loadu_ps(kOnesBetweenZeros + r); }

// The same for four lanes (h, r = 0..4).
QX_INLINE __m128 headMask4(unsigned h) { return _mm_loadu_ps(kOnesBetweenZeros + 16 - h); }
QX_INLINE __m128 tailMask4(unsigned r) { return _mm_loadu_ps(kOnesBetweenZeros + 4 + r); }

}  // namespace qx::simd
