// Where the cycle-analysis maximum searches start. The smallest positive
// normal float is the initial maximum, so zero, negative and subnormal values
// never count as a maximum; a search that finds nothing larger reports it
// unchanged, with the index kNoMaximumIndex where an index is reported.
#pragma once

#include <cstdint>
#include <limits>

namespace qx::ca {

inline constexpr float kMaximumSearchStart = std::numeric_limits<float>::min();  // 0x00800000
inline constexpr uint32_t kNoMaximumIndex = 0xFFFFFFFFu;

}  // namespace qx::ca
