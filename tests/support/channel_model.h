// The channel-scaling rule for one sample, shared by the suite and the fuzzer.
#pragma once

#include <type_traits>

#include "support/lane_model.h"

namespace qxtest {

// The rule for one sample: integers rounded once to the output precision (long double holds every one exactly),
// times scale, plus offset; double samples into float are scaled in double and only the sum is rounded.
template <class Out, class Raw>
Out scaledValue(Raw x, Out scale, Out offset)
{
    if constexpr (std::is_same_v<Raw, double>) return static_cast<Out>(addX86(mulX86(x, double{scale}), double{offset}));
    else if constexpr (std::is_integral_v<Raw>) return addX86(mulX86(static_cast<Out>(static_cast<long double>(x)), scale), offset);
    else return addX86(mulX86(static_cast<Out>(x), scale), offset);
}

}  // namespace qxtest
