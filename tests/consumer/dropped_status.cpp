// A host that drops the interpolator's status: the C++ layer makes the compiler warn.
#include "qxcalc.hpp"

void feed(qxcalc::Interpolator& chs, std::span<const float> block)
{
    chs.interpolate(block);
}
