// Unsigned 32-bit indices and counts carried as floats by the cycle-analysis
// kernels. The conversion to float goes through the two 16-bit halves, each
// exact, so only the final addition rounds (in the current rounding mode);
// the way back truncates through a 64-bit integer, so a float that rounded up
// to 2^32 comes back as 0 rather than as an out-of-range conversion.
#pragma once

#include <cstdint>

#include "simd/lanes.h"

namespace qx::ca {

QX_INLINE float floatFromUint32(uint32_t n)
{
    return static_cast<float>(n >> 16) * 65536.0f + static_cast<float>(n & 0xFFFFu);
}

QX_INLINE uint32_t uint32FromFloatTruncating(float f)
{
    return static_cast<uint32_t>(static_cast<int64_t>(f));
}

}  // namespace qx::ca
