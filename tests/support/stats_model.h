// Scalar models of the running statistics: the one-at-a-time formulas and the vector paths' lanes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "support/lane_model.h"

namespace qxtest {

// 256-bit floating-point vectors, 128-bit integer vectors, each aligned to its width.
template <class T>
struct StatsGeometry {
    static constexpr std::size_t alignment = std::is_floating_point_v<T> ? 32 : 16;
    static constexpr unsigned lanes = alignment / sizeof(T);
};

template <class T>
using OffsetOf = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, int16_t>, float, double>;

template <class T>
struct StatsState {
    T lo, hi;
    double sum, squares;
};

// One-at-a-time minimum/maximum, continuing lo and hi.
template <class T>
void runningMinMax(const T* p, uint32_t n, T& lo, T& hi)
{
    for (uint32_t i = 0; i < n; ++i) {
        if (lo > p[i]) lo = p[i];
        if (p[i] > hi) hi = p[i];
    }
}

// Vector path for n >= lanes: the first vector seeds the lanes, the aligned body and the last vector fold in.
template <class T>
void vectorMinMax(const T* p, uint32_t n, T& outLo, T& outHi)
{
    constexpr unsigned L = StatsGeometry<T>::lanes;
    T lo[L], hi[L];
    std::copy(p, p + L, lo);
    std::copy(p, p + L, hi);
    const uint32_t peel = peelOf<StatsGeometry<T>::alignment>(p);
    for (uint32_t b = 0; b <= (n - peel) / L; ++b) {
        const T* v = b < (n - peel) / L ? p + peel + b * L : p + n - L;
        for (unsigned i = 0; i < L; ++i) {
            lo[i] = laneMin(lo[i], v[i]);
            hi[i] = laneMax(hi[i], v[i]);
        }
    }
    outLo = reduceHalving(lo, L, laneMin<T>);
    outHi = reduceHalving(hi, L, laneMax<T>);
}

// One at a time: x - offset is taken in the offset's precision, float sample first, double offset first.
template <class T>
void scalarSums(const T* p, uint32_t n, OffsetOf<T> offset, StatsState<T>& s)
{
    using O = OffsetOf<T>;
    for (uint32_t i = 0; i < n; ++i) {
        s.sum = addX86(s.sum, static_cast<double>(p[i]));
        const double d = sizeof(O) == 4 ? addX86(static_cast<O>(p[i]), offset) : addX86(offset, static_cast<O>(p[i]));
        s.squares = addX86(s.squares, d * d);
    }
}

// Four double lanes; lanes k and k + 4 of an 8-wide vector both go to lane k.
struct LaneSums {
    double s[4] = {0, 0, 0, 0}, q[4] = {0, 0, 0, 0};

    // Samples outside lanes [from, to) count as x * 0 with offset * 0, in the sample's own type.
    template <class T>
    void add(const T* v, OffsetOf<T> offset, unsigned from = 0, unsigned to = 8)
    {
        for (unsigned i = 0; i < StatsGeometry<T>::lanes; ++i) {
            const bool keep = i >= from && i < to;
            const double x = static_cast<T>(v[i] * T(keep)), off = static_cast<OffsetOf<T>>(offset * OffsetOf<T>(keep));
            const double d = addX86(x, off);
            s[i % 4] = addX86(s[i % 4], x);
            q[i % 4] = addX86(q[i % 4], d * d);
        }
    }
    void reduceInto(double& sum, double& squares) const
    {
        sum = addX86(addX86(addX86(s[0], s[2]), addX86(s[1], s[3])), sum);
        squares = addX86(addX86(addX86(q[0], q[2]), addX86(q[1], q[3])), squares);
    }
};

// Sums of n >= lanes samples: `head` samples, whole vectors, a tail. float masks its ends into the lanes;
// the other types add them one at a time, the tail after the lanes are reduced.
template <class T>
void vectorSums(const T* p, uint32_t n, uint32_t head, OffsetOf<T> offset, StatsState<T>& s)
{
    constexpr unsigned L = StatsGeometry<T>::lanes;
    constexpr bool masked = std::is_same_v<T, float>;
    LaneSums lanes;
    if (masked && head == 0) head = L;  // an aligned start: the first vector, unmasked
    if (masked) lanes.add(p, offset, 0, head);
    else scalarSums(p, head, offset, s);
    uint32_t i = head;
    for (; i + L <= n; i += L) lanes.add(p + i, offset);
    if (masked && i < n) lanes.add(p + n - L, offset, L - (n - i));
    lanes.reduceInto(s.sum, s.squares);
    if (!masked) scalarSums(p + i, n - i, offset, s);
}

// qxcalcGetMinMaxAveRMS_<T> on state s.
template <class T>
void modelMinMaxAveRms(const T* p, uint32_t n, OffsetOf<T> offset, StatsState<T>& s)
{
    if (n == 0) return;
    if (n < StatsGeometry<T>::lanes) {
        runningMinMax(p, n, s.lo, s.hi);
        scalarSums(p, n, offset, s);
    } else {
        vectorMinMax(p, n, s.lo, s.hi);
        vectorSums(p, n, peelOf<StatsGeometry<T>::alignment>(p), offset, s);
    }
}

// qxcalcMoveAndGetMinMaxAveRMS_int16_t: from 8 samples on, strides <= 1 read the source contiguously as that
// block's statistics; otherwise groups of eight aligned on the destination between scalar ends, min/max continued.
inline void modelMove(int16_t* dst, const int16_t* src, uint32_t n, StatsState<int16_t>& s, float offset,
                      int32_t stride)
{
    const bool contiguous = n >= 8 && stride <= 1;
    for (uint32_t i = 0; i < n; ++i) dst[i] = src[contiguous ? i : static_cast<ptrdiff_t>(i) * stride];
    if (contiguous) return modelMinMaxAveRms(src, n, offset, s);
    runningMinMax(dst, n, s.lo, s.hi);  // integer minima do not depend on the order
    if (n < 8) scalarSums(dst, n, offset, s);
    else vectorSums(dst, n, std::min(peelOf<16>(dst), n), offset, s);
}

}  // namespace qxtest
