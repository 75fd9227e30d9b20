// Minimum and maximum pieces shared by the block-statistics family: the
// running one-sample step of the short-block paths and the pair of vector
// accumulators of the vector paths.
#pragma once

#include <cstdint>
#include <type_traits>

#include "simd/lanes.h"
#include "simd/reduce.h"
#include "simd/walk.h"

namespace qx::stats {

// One sample into a running minimum and maximum: the minimum test first, then
// the maximum test, both strict. A NaN never compares true, so it is skipped,
// and of equal values (+0 and -0 included) the earlier one stays.
template <class T>
QX_INLINE void foldRunning(T x, T& lo, T& hi)
{
    if (lo > x) lo = x;
    if (x > hi) hi = x;
}

// Lane-wise minimum and maximum accumulators. Data is always folded in as the
// second operand, so a NaN replaces its lane and the next value of that lane
// replaces the NaN.
template <class T>
struct MinMaxVectors {
    using L = simd::Lanes<T>;
    typename L::Vec lo, hi;

    static QX_INLINE MinMaxVectors seededWith(typename L::Vec v) { return {v, v}; }
    QX_INLINE void fold(typename L::Vec v)
    {
        lo = L::min(lo, v);
        hi = L::max(hi, v);
    }
    QX_INLINE void store(T* minValue, T* maxValue) const
    {
        *minValue = simd::reduceMinHalving<T>(lo);
        *maxValue = simd::reduceMaxHalving<T>(hi);
    }
};

// Minimum and maximum of a run of aligned vectors in several independent
// accumulator pairs, vectors dealt out round-robin, so that no single chain
// of dependent min/max instructions sets the pace; merged at the end. Three
// pairs, the vector in flight and the NaN record fit eight vector registers.
//
// Integer minimum and maximum are associative: any order gives the result of
// the one ordered chain. For floating types it does too as long as no NaN
// takes part (a NaN wipes its lane's history in the ordered chain) and the
// result is not a zero (which zero survives follows the order); the caller
// checks orderFree() and otherwise recomputes by the ordered chain. NaNs are
// recorded by OR-ing v - v, which is +0 (no bits) for finite v and a NaN for
// NaN and infinite v: a subtraction and a logical operation keep the
// minimum/maximum units free. An infinity thus also counts as "NaN seen",
// which costs the ordered recomputation but never a wrong bit.
template <class T>
struct MinMaxSpread {
    using L = simd::Lanes<T>;
    using Vec = typename L::Vec;
    static constexpr bool floating = std::is_floating_point_v<T>;
    static constexpr unsigned pairs = 3;

    MinMaxVectors<T> acc[pairs];
    Vec nonFinite;  // floating types: OR of v - v over every vector seen

    static QX_INLINE MinMaxSpread seededWith(Vec v)
    {
        MinMaxSpread s{{MinMaxVectors<T>::seededWith(v), MinMaxVectors<T>::seededWith(v),
                        MinMaxVectors<T>::seededWith(v)},
                       Vec{}};
        if constexpr (floating) s.nonFinite = L::sub(v, v);
        return s;
    }
    QX_INLINE void fold(Vec v)
    {
        acc[0].fold(v);
        if constexpr (floating) nonFinite = L::bitOr(nonFinite, L::sub(v, v));
    }

    // The `vectors` aligned vectors from `first` on, two rounds of the pairs
    // per loop iteration.
    QX_INLINE void foldAligned(const T* p, uint32_t vectors)
    {
        constexpr unsigned W = L::width;
        auto a = acc[0], b = acc[1], c = acc[2];
        Vec u = nonFinite;
        auto step = [&u](MinMaxVectors<T>& m, const T* q) {
            const Vec v = L::load(q);
            m.fold(v);
            if constexpr (floating) u = L::bitOr(u, L::sub(v, v));
        };
        for (const T* end = p + vectors / 6 * 6 * W; p != end; p += 6 * W) {
            step(a, p), step(b, p + W), step(c, p + 2 * W);
            step(a, p + 3 * W), step(b, p + 4 * W), step(c, p + 5 * W);
        }
        for (uint32_t k = 0; k < vectors % 6; ++k) step(a, p + k * W);
        acc[0] = a, acc[1] = b, acc[2] = c;
        nonFinite = u;
    }
    QX_INLINE MinMaxVectors<T> merged() const
    {
        MinMaxVectors<T> m = acc[0];
        for (unsigned j = 1; j < pairs; ++j) {
            m.lo = L::min(m.lo, acc[j].lo);
            m.hi = L::max(m.hi, acc[j].hi);
        }
        return m;
    }
    // Whether lo and hi, reduced from merged(), are the ordered chain's bits.
    QX_INLINE bool orderFree(T lo, T hi) const
    {
        if constexpr (floating) return !L::anyLane(L::unordered(nonFinite, nonFinite)) && lo != T(0) && hi != T(0);
        else return true;
    }
};

}  // namespace qx::stats
