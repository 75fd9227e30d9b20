// Scalar models of the vector paths' lane arithmetic, written from the
// library's contract rather than from its code: lane-wise min/max with the
// accumulator first, the aligned-body arithmetic, and halving reductions.
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

// a + b as an x86 add computes it: when both operands are NaN the first
// one's payload survives (quieted); written out so that the compiler cannot
// reorder the operands of the model.
template <class T>
T addX86(T a, T b)
{
    if (a != a) return a + T(0);  // quiets a signalling NaN, keeps the payload
    if (b != b) return b + T(0);
    return a + b;
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

// Per-type vector geometry of the statistics family: 256-bit floating-point
// vectors, 128-bit integer vectors, each aligned to its own width.
template <class T>
struct StatsGeometry {
    static constexpr std::size_t alignment = std::is_floating_point_v<T> ? 32 : 16;
    static constexpr unsigned lanes = alignment / sizeof(T);
};

template <class T>
struct MinMax {
    T lo, hi;
};

// Running minimum/maximum of the one-at-a-time paths, continuing `acc`.
template <class T>
void runningMinMax(const T* p, uint32_t n, MinMax<T>& acc)
{
    for (uint32_t i = 0; i < n; ++i) {
        if (acc.lo > p[i]) acc.lo = p[i];
        if (p[i] > acc.hi) acc.hi = p[i];
    }
}

// Vector-path minimum/maximum of a block of n >= lanes samples: the first
// vector seeds the lanes, the aligned body and then the last vector fold in,
// and a halving reduction ends it.
template <class T>
MinMax<T> vectorMinMax(const T* p, uint32_t n)
{
    constexpr unsigned L = StatsGeometry<T>::lanes;
    T lo[L], hi[L];
    for (unsigned i = 0; i < L; ++i) lo[i] = hi[i] = p[i];
    auto fold = [&](const T* v) {
        for (unsigned i = 0; i < L; ++i) {
            lo[i] = laneMin(lo[i], v[i]);
            hi[i] = laneMax(hi[i], v[i]);
        }
    };
    const uint32_t peel = peelOf<StatsGeometry<T>::alignment>(p);
    for (uint32_t b = 0; b < (n - peel) / L; ++b) fold(p + peel + b * L);
    fold(p + n - L);
    return {reduceHalving(lo, L, laneMin<T>), reduceHalving(hi, L, laneMax<T>)};
}

}  // namespace qxtest
