// x86 lane arithmetic for the scalar models: min/max with the accumulator first, adds and multiplies that keep the
// first NaN operand, alignment peels and halving reductions.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qxtest {

// a if a < b, else b (so b on NaN and on equal zeros); laneMax alike.
template <class T>
T laneMin(T a, T b)
{
    return a < b ? a : b;
}
template <class T>
T laneMax(T a, T b)
{
    return a > b ? a : b;
}

// When both operands are NaN the first one's payload survives, quieted (+ 0 quiets). Written out so that the
// compiler can neither swap the operands nor turn a multiplication by -1 into a negation.
template <class T>
T addX86(T a, T b)
{
    return a != a ? a + T(0) : b != b ? b + T(0) : a + b;
}
template <class T>
T mulX86(T a, T b)
{
    return a != a ? a + T(0) : b != b ? b + T(0) : a * b;
}

// Elements of p before the first Alignment-byte boundary at or after p.
template <std::size_t Alignment, class T>
uint32_t peelOf(const T* p)
{
    const auto a = reinterpret_cast<uintptr_t>(p);
    return static_cast<uint32_t>(((Alignment - a % Alignment) % Alignment) / sizeof(T));
}

// Lane 0 of a halving reduction: lane i meets lane i + half, current first, for half = width/2, width/4, ... 1.
template <class T, class Op>
T reduceHalving(const T* lanes, unsigned width, Op op)
{
    T v[16];
    for (unsigned i = 0; i < width; ++i) v[i] = lanes[i];
    for (unsigned half = width / 2; half >= 1; half /= 2)
        for (unsigned i = 0; i < half; ++i) v[i] = op(v[i], v[i + half]);
    return v[0];
}

}  // namespace qxtest
