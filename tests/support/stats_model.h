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
    LaneSums lanes;
    const uint32_t peel = peelOf<StatsGeometry<T>::alignment>(p);
    if constexpr (std::is_same_v<T, float>) {
        const uint32_t h = peel == 0 ? 8 : peel;
        addMaskedFloats(lanes, p, offset, [h](unsigned i) { return i < h; });
        uint32_t i = h;
        for (; i + 8 <= n; i += 8) lanes.addPlain(p + i, offset, 8);
        const uint32_t r = n - i;
        if (r) addMaskedFloats(lanes, p + n - 8, offset, [r](unsigned lane) { return lane >= 8 - r; });
        lanes.reduceInto(s.sum, s.squares);
    } else {
        scalarSums(p, peel, offset, s);
        uint32_t i = peel;
        for (; i + L <= n; i += L) lanes.addPlain(p + i, offset, L);
        lanes.reduceInto(s.sum, s.squares);
        scalarSums(p + i, n - i, offset, s);
    }
}

// qxcalcMoveAndGetMinMaxAveRMS_int16_t: one at a time below 8 samples; a
// contiguous read for strides <= 1 (aligned on the source, incoming min/max
// ignored); gathered groups of eight for strides >= 2 (aligned on the
// destination, incoming min/max kept).
inline void modelMove(int16_t* dst, const int16_t* src, uint32_t n, StatsState<int16_t>& s, float offset,
                      int32_t stride)
{
    const auto oneAtATime = [&](uint32_t i) {
        const int16_t x = dst[i] = src[static_cast<ptrdiff_t>(i) * stride];
        s.lo = std::min(s.lo, x), s.hi = std::max(s.hi, x);
        scalarSums(&x, 1, offset, s);
    };
    if (n < 8) {
        for (uint32_t i = 0; i < n; ++i) oneAtATime(i);
        return;
    }
    LaneSums lanes;
    if (stride <= 1) {
        const uint32_t peel = peelOf<16>(src);
        scalarSums(src, peel, offset, s);
        uint32_t i = peel;
        for (; i + 8 <= n; i += 8) lanes.addPlain(src + i, offset, 8);
        lanes.reduceInto(s.sum, s.squares);
        scalarSums(src + i, n - i, offset, s);
        std::copy(src, src + n, dst);
        s.lo = *std::min_element(src, src + n);
        s.hi = *std::max_element(src, src + n);
        return;
    }
    const uint32_t head = std::min(peelOf<16>(dst), n);
    for (uint32_t i = 0; i < head; ++i) oneAtATime(i);
    uint32_t i = head;
    for (; i + 8 <= n; i += 8) {
        for (uint32_t j = i; j < i + 8; ++j) {
            dst[j] = src[static_cast<ptrdiff_t>(j) * stride];
            s.lo = std::min(s.lo, dst[j]), s.hi = std::max(s.hi, dst[j]);
        }
        lanes.addPlain(dst + i, offset, 8);
    }
    lanes.reduceInto(s.sum, s.squares);
    for (; i < n; ++i) oneAtATime(i);
}

}  // namespace qxtest
