// Additions whose operand order is kept as written. When both operands of an
// x86 add are NaN the result carries the first operand's payload; compilers
// treat floating-point addition as commutative and may swap the operands, so
// accumulations whose order the library promises (sum + x, S + x) go through
// these helpers, which pin the first operand.
#pragma once

#include "simd/lanes.h"

namespace qx::simd {

#define QX_ADD_IN_ORDER(Type, mnemonic)                                      \
    QX_INLINE Type addInOrder(Type a, Type b)                                \
    {                                                                        \
        Type r;                                                              \
        asm(mnemonic " %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));              \
        return r;                                                            \
    }

QX_ADD_IN_ORDER(float, "vaddss")
QX_ADD_IN_ORDER(double, "vaddsd")
QX_ADD_IN_ORDER(__m256, "vaddps")
QX_ADD_IN_ORDER(__m256d, "vaddpd")

#undef QX_ADD_IN_ORDER

}  // namespace qx::simd
