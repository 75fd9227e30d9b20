// Additions whose operand order is kept as written. When both operands of an
// x86 add are NaN the result carries the first operand's payload; compilers
// treat floating-point addition as commutative and may swap the operands, so
// accumulations whose order the library promises (sum + x, S + x) go through
// these helpers, which pin the first operand.
#pragma once

#include "simd/lanes.h"

namespace qx::simd {

QX_INLINE double addInOrder(double a, double b)
{
    double r;
    asm("vaddsd %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
}

QX_INLINE float addInOrder(float a, float b)
{
    float r;
    asm("vaddss %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
}

QX_INLINE __m256d addInOrder(__m256d a, __m256d b)
{
    __m256d r;
    asm("vaddpd %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
}

QX_INLINE __m256 addInOrder(__m256 a, __m256 b)
{
    __m256 r;
    asm("vaddps %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
}

QX_INLINE __m256d mulInOrder(__m256d a, __m256d b)
{
    __m256d r;
    asm("vmulpd %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
}

QX_INLINE __m256 mulInOrder(__m256 a, __m256 b)
{
    __m256 r;
    asm("vmulps %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
}

}  // namespace qx::simd
