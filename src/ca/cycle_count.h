// The caller's 64-bit cycle counter as a floating-point factor, rounded once
// to nearest. The counter is unsigned; the conversion goes through the signed
// 64-bit one and halves counters of 2^63 and more first, keeping their lowest
// bit for the rounding.
#pragma once

#include <cstdint>

#include "simd/convert.h"

namespace qx::ca {

template <class F>
inline F cycleCountAs(uint64_t n)
{
    if (static_cast<int64_t>(n) >= 0) return simd::fromInt64<F>(static_cast<int64_t>(n));
    const F half = simd::fromInt64<F>(static_cast<int64_t>((n >> 1) | (n & 1)));
    return half + half;
}

}  // namespace qx::ca
