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
// of dependent min/max instructions sets the pace; merged at the end. The
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
    // Floating min/max take several cycles, so three chains; integer ones
    // take one, and two chains leave registers for the loop's addresses.
    static constexpr unsigned pairs = floating ? 3 : 2;

    MinMaxVectors<T> acc[pairs];
    Vec nonFinite;  // floating types: OR of v - v over every vector seen

    static QX_INLINE MinMaxSpread seededWith(Vec v)
    {
        MinMaxSpread s;
        for (auto& a : s.acc) a = MinMaxVectors<T>::seededWith(v);
        if constexpr (floating) s.nonFinite = L::sub(v, v);
        return s;
    }
    QX_INLINE void fold(Vec v)
    {
        acc[0].fold(v);
        if constexpr (floating) nonFinite = L::bitOr(nonFinite, L::sub(v, v));
    }

    // The `vectors` aligned vectors from `first` on, two rounds of the pairs
    // per loop iteration (four for integers: the compiler copies each
    // accumulator once per iteration, and the DLL's compiler does it with
    // unaligned moves, which the processor does not eliminate).
    QX_INLINE void foldAligned(const T* p, uint32_t vectors)
    {
        constexpr unsigned W = L::width, perLoop = (floating ? 2 : 4) * pairs;
        MinMaxSpread s = *this;
        auto step = [&s](unsigned pair, const T* q) {
            const Vec v = L::loadAssumedAligned(q);
            s.acc[pair].fold(v);
            if constexpr (floating) s.nonFinite = L::bitOr(s.nonFinite, L::sub(v, v));
        };
        for (const T* end = p + vectors / perLoop * perLoop * W; p != end; p += perLoop * W) {
#pragma GCC unroll 8
            for (unsigned j = 0; j < perLoop; ++j) step(j % pairs, p + j * W);
        }
        for (uint32_t k = 0; k < vectors % perLoop; ++k) step(0, p + k * W);
        *this = s;
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
