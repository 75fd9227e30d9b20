// How a kernel's loop keeps its values in registers on the 32-bit builds,
// which have eight vector registers and six or seven general ones: a value
// that does not fit is moved to the stack, adding a load or a store to every
// pass of the loop. scripts/stack-operands.sh lists such stack operands, and
// its check in the DLL's test run fails when a function has more than its
// limit.
#pragma once

#include "simd/inline.h"

// A loop as a function of its own, which copies the state it updates
// (accumulators, minimum and maximum) from its reference arguments into locals
// on entry and writes it back on exit: inside, the register allocator sees
// only the loop's own values, none of the caller's that live across the call,
// and locals that no store through a pointer can reach.
#define QX_OUT_OF_LINE [[gnu::noinline]]

namespace qx::simd {

// Hides how p was computed from the optimiser and keeps it in a general
// register: later addresses are then formed from p as the code writes them,
// instead of as offsets from an earlier pointer that each need a register of
// their own while the loop runs.
template <class T>
QX_INLINE void pinInRegister(T*& p)
{
    asm("" : "+r"(p));
}

// With eight vector registers (32-bit code) a minimum and maximum taken in the
// same pass as the sum lanes leave too few registers for the sums, the offset
// and the widened samples, so the loops take them in a pass of their own over
// the same vectors; with sixteen or more the single pass is faster.
inline constexpr bool kSeparateMinMax = sizeof(void*) == 4;

}  // namespace qx::simd
