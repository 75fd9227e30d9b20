// Additions and multiplications whose operand order is kept as written. When
// both operands of an x86 add or multiply are NaN the result carries the first
// operand's payload; compilers treat both operations as commutative and may
// swap the operands, so arithmetic whose order the library promises (sum + x,
// factor * x, sample * tap, x * scale + offset) goes through these helpers,
// which pin the first operand.
#pragma once

#include "simd/lanes.h"

namespace qx::simd {

#define QX_IN_ORDER(name, Type, mnemonic)                                    \
    QX_INLINE Type name(Type a, Type b)                                      \
    {                                                                        \
        Type r;                                                              \
        asm(mnemonic " %2, %1, %0" : "=x"(r) : "x"(a), "xm"(b));             \
        return r;                                                            \
    }

QX_IN_ORDER(addInOrder, float, "vaddss")
QX_IN_ORDER(addInOrder, double, "vaddsd")
QX_IN_ORDER(addInOrder, __m128, "vaddps")
QX_IN_ORDER(addInOrder, __m128d, "vaddpd")
QX_IN_ORDER(addInOrder, __m256, "vaddps")
QX_IN_ORDER(addInOrder, __m256d, "vaddpd")
QX_IN_ORDER(mulInOrder, float, "vmulss")
QX_IN_ORDER(mulInOrder, double, "vmulsd")
QX_IN_ORDER(mulInOrder, __m128, "vmulps")
QX_IN_ORDER(mulInOrder, __m128d, "vmulpd")
QX_IN_ORDER(mulInOrder, __m256, "vmulps")
QX_IN_ORDER(mulInOrder, __m256d, "vmulpd")

#undef QX_IN_ORDER

}  // namespace qx::simd
