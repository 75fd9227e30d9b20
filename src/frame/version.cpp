// qxcalcGetVersion: the library's version, 1.44, and a comparison the host
// uses to tell whether its own level number is above nine.

#include "qxcalc.h"

namespace {
constexpr int32_t kVersionMajor = 1;
constexpr int32_t kVersionMinor = 44;
constexpr int32_t kLevelThreshold = 9;
}  // namespace

extern "C" void QXCALC_CALL qxcalcGetVersion(int32_t* major, int32_t* minor, int32_t level,
                                             int32_t* levelAboveNine)
{
    *major = kVersionMajor;
    *minor = kVersionMinor;
    *levelAboveNine = level > kLevelThreshold ? 1 : 0;
}
