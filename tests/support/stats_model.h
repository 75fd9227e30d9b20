// Scalar models of the running-statistics paths, written from the library's
// contract: the one-at-a-time formulas per sample type, and the vector
// paths' four double lanes with their head/tail rules.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "support/lane_model.h"

namespace qxtest {

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

template <class T>
using OffsetOf = std::conditional_t<std::is_same_v<T, float> || std::is_same_v<T, int16_t>, float, double>;

template <class T>
struct StatsState {
    T lo, hi;
    double sum, squares;
};

// Offset-corrected value of one sample on the one-at-a-time paths.
inline double scalarD(float x, float offset) { return addX86(x, offset); }
inline double scalarD(int16_t x, float offset) { return addX86(static_cast<float>(x), offset); }
inline double scalarD(double x, double offset) { return addX86(offset, x); }
inline double scalarD(int32_t x, double offset) { return addX86(offset, static_cast<double>(x)); }

template <class T>
void scalarSums(const T* p, uint32_t n, OffsetOf<T> offset, StatsState<T>& s)
{
    for (uint32_t i = 0; i < n; ++i) {
        s.sum = addX86(s.sum, static_cast<double>(p[i]));
        const double d = scalarD(p[i], offset);
        s.squares = addX86(s.squares, d * d);
    }
}

// Four double lanes S and Q; a vector of 8 adds lanes k and k + 4 into lane k.
struct LaneSums {
    double s[4] = {0, 0, 0, 0}, q[4] = {0, 0, 0, 0};

    // x[i] and the offset for lane i (already masked where the path masks).
    void addVector(const double* x, const double* off, unsigned width)
    {
        for (unsigned k = 0; k < 4; ++k) {
            const double d0 = addX86(x[k], off[k]);
            if (width == 4) {
                s[k] = addX86(s[k], x[k]);
                q[k] = addX86(q[k], d0 * d0);
            } else {
                const double d1 = addX86(x[k + 4], off[k + 4]);
                s[k] = addX86(addX86(s[k], x[k]), x[k + 4]);
                q[k] = addX86(addX86(q[k], d0 * d0), d1 * d1);
            }
        }
    }
    template <class T>
    void addPlain(const T* v, double offset, unsigned width)
    {
        double x[8], off[8];
        for (unsigned i = 0; i < width; ++i) x[i] = static_cast<double>(v[i]), off[i] = offset;
        addVector(x, off, width);
    }
    void reduceInto(double& sum, double& squares) const
    {
        sum = addX86(addX86(addX86(s[0], s[2]), addX86(s[1], s[3])), sum);
        squares = addX86(addX86(addX86(q[0], q[2]), addX86(q[1], q[3])), squares);
    }
};

// The float member's masked vector: lanes where keep(i) is false count as
// x * 0.0 with an offset of offset * 0.0 (single precision), then widened.
template <class Keep>
void addMaskedFloats(LaneSums& lanes, const float* v, float offset, Keep keep)
{
    double x[8], off[8];
    for (unsigned i = 0; i < 8; ++i) {
        const float m = keep(i) ? 1.0f : 0.0f;
        const float xm = v[i] * m, om = offset * m;
        x[i] = xm;
        off[i] = om;
    }
    lanes.addVector(x, off, 8);
}

// Sums with a scalar head of `head` samples, whole vectors of L samples in the
// four lanes (reduced once) and a scalar tail.
template <class T>
void sumsWithScalarEnds(const T* p, uint32_t n, uint32_t head, OffsetOf<T> offset, StatsState<T>& s)
{
    constexpr unsigned L = StatsGeometry<T>::lanes;
    LaneSums lanes;
    scalarSums(p, head, offset, s);
    uint32_t i = head;
    for (; i + L <= n; i += L) lanes.addPlain(p + i, offset, L);
    lanes.reduceInto(s.sum, s.squares);
    scalarSums(p + i, n - i, offset, s);
}

// qxcalcGetMinMaxAveRMS_<T> on state s.
template <class T>
void modelMinMaxAveRms(const T* p, uint32_t n, OffsetOf<T> offset, StatsState<T>& s)
{
    constexpr unsigned L = StatsGeometry<T>::lanes;
    if (n == 0) return;
    if (n < L) {
        MinMax<T> m{s.lo, s.hi};
        runningMinMax(p, n, m);
        s.lo = m.lo, s.hi = m.hi;
        scalarSums(p, n, offset, s);
        return;
    }
    const MinMax<T> m = vectorMinMax(p, n);
    s.lo = m.lo, s.hi = m.hi;
    const uint32_t peel = peelOf<StatsGeometry<T>::alignment>(p);
    if constexpr (std::is_same_v<T, float>) {
        LaneSums lanes;
        const uint32_t h = peel == 0 ? 8 : peel;
        addMaskedFloats(lanes, p, offset, [h](unsigned i) { return i < h; });
        uint32_t i = h;
        for (; i + 8 <= n; i += 8) lanes.addPlain(p + i, offset, 8);
        const uint32_t r = n - i;
        if (r) addMaskedFloats(lanes, p + n - 8, offset, [r](unsigned lane) { return lane >= 8 - r; });
        lanes.reduceInto(s.sum, s.squares);
    } else {
        sumsWithScalarEnds(p, n, peel, offset, s);
    }
}

// qxcalcMoveAndGetMinMaxAveRMS_int16_t: from 8 samples on, strides <= 1 read
// the source contiguously as the statistics of that block (incoming min/max
// replaced); larger strides gather groups of eight aligned on the
// destination, between a scalar head and tail (incoming min/max kept, as
// below 8 samples, where the stride applies one sample at a time).
inline void modelMove(int16_t* dst, const int16_t* src, uint32_t n, StatsState<int16_t>& s, float offset,
                      int32_t stride)
{
    const bool contiguous = n >= 8 && stride <= 1;
    for (uint32_t i = 0; i < n; ++i) dst[i] = src[contiguous ? i : static_cast<ptrdiff_t>(i) * stride];
    if (contiguous) return modelMinMaxAveRms(src, n, offset, s);
    MinMax<int16_t> m{s.lo, s.hi};
    runningMinMax(dst, n, m);  // integer minima do not depend on the order
    s.lo = m.lo, s.hi = m.hi;
    if (n < 8) scalarSums(dst, n, offset, s);
    else sumsWithScalarEnds(dst, n, std::min(peelOf<16>(dst), n), offset, s);
}

}  // namespace qxtest
