// Minimum and maximum pieces shared by the block-statistics family: the
// running one-sample step of the short-block paths and the pair of vector
// accumulators of the vector paths.
#pragma once

#include <cstdint>

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

}  // namespace qx::stats
