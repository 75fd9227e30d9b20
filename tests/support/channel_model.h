// The channel-scaling rule for one sample.
#pragma once

#include <type_traits>

#include "support/lane_model.h"

namespace qxtest {

// An integer rounded once to Out (long double holds every one exactly). Kept out of line: clang 14 vectorizes a loop
// of int64-to-float conversions for AArch64 through double (scvtf, fcvtn), which rounds twice.
template <class Out, class Raw>
[[gnu::noinline]] Out roundedOnce(Raw x)
{
    return static_cast<Out>(static_cast<long double>(x));
}

// The rule for one sample: integers rounded once to the output precision, times scale, plus offset; double samples
// into float are scaled in double and only the sum is rounded.
template <class Out, class Raw>
Out scaledValue(Raw x, Out scale, Out offset)
{
    if constexpr (std::is_same_v<Raw, double>)
        return static_cast<Out>(addX86(mulX86(x, double{scale}), double{offset}));
    else if constexpr (std::is_integral_v<Raw>) return addX86(mulX86(roundedOnce<Out>(x), scale), offset);
    else return addX86(mulX86(static_cast<Out>(x), scale), offset);
}

}  // namespace qxtest
