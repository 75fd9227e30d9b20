// x86 lane arithmetic as the scalar models need it: lane-wise min/max with
// the accumulator first, adds and multiplies that keep the first NaN
// operand, alignment peels and halving reductions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qxtest {

// Lane-wise min(a, b): a if a < b, else b (so b on NaN and on equal zeros).
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

// a + b and a * b as x86 computes them: when both operands are NaN the first
// one's payload survives (quieted); written out so that the compiler can
// neither reorder the operands nor turn a multiplication by -1 into a negation.
template <class T>
T addX86(T a, T b)
{
    if (a != a) return a + T(0);  // quiets a signalling NaN, keeps the payload
    if (b != b) return b + T(0);
    return a + b;
}
template <class T>
T mulX86(T a, T b)
{
    if (a != a) return a + T(0);
    if (b != b) return b + T(0);
    return a * b;
}

// Elements of p before the first Alignment-byte boundary at or after p.
template <std::size_t Alignment, class T>
uint32_t peelOf(const T* p)
{
    const auto a = reinterpret_cast<uintptr_t>(p);
    return static_cast<uint32_t>(((Alignment - a % Alignment) % Alignment) / sizeof(T));
}

// Lane 0 of a halving reduction over `width` lanes: lane i meets lane
// i + half, current first, for half = width/2, width/4, ... 1.
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
