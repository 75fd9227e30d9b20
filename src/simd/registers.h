// How a kernel's loop keeps its values in registers on the 32-bit builds,
// which have eight vector registers and six or seven general ones, where a
// value moved to the stack inside an innermost loop costs far more than the
// instructions around it. scripts/stack-operands.sh lists such stack operands,
// and its check in the DLL's test run fails when a function gains any.
#pragma once

#include "simd/lanes.h"

// A loop body as a function of its own, called once per block. It copies the
// state it updates (accumulators, minimum and maximum) from its reference
// arguments into locals on entry and writes them back on exit: inside, the
// register allocator sees only the loop's own values, none of the caller's
// that live across it, and locals that no store through a pointer can reach.
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
