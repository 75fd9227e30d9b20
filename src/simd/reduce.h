// Halving reductions: the vector is combined with a copy whose upper half of
// occupied lanes has been moved down, then again on the lower half, until one
// lane is left. The current vector is always the first operand and the moved
// copy the second, which fixes NaN and signed-zero results of min/max and the
// association order of sums: four double lanes reduce as
// (s0 + s2) + (s1 + s3).
#pragma once

#include "simd/lanes.h"
#include "simd/ordered.h"

namespace qx::simd {

namespace detail {
template <class L, unsigned Half, class Op>
QX_INLINE typename L::Vec foldHalves(typename L::Vec v, Op op)
{
    v = op(v, L::template moveDown<Half>(v));
    if constexpr (Half > 1) v = foldHalves<L, Half / 2>(v, op);
    return v;
}
}  // namespace detail

template <class L, class Op>
QX_INLINE auto reduceHalving(typename L::Vec v, Op op)
{
    return L::lane0(detail::foldHalves<L, L::width / 2>(v, op));
}

template <class T>
QX_INLINE T reduceMinHalving(typename Lanes<T>::Vec v)
{
    return reduceHalving<Lanes<T>>(v, [](auto a, auto b) { return Lanes<T>::min(a, b); });
}

template <class T>
QX_INLINE T reduceMaxHalving(typename Lanes<T>::Vec v)
{
    return reduceHalving<Lanes<T>>(v, [](auto a, auto b) { return Lanes<T>::max(a, b); });
}

// ((s0 + s2) + (s1 + s3)) of four double lanes.
QX_INLINE double sumLanesHalving(__m256d v)
{
    return reduceHalving<Lanes<double>>(v, [](__m256d a, __m256d b) { return addInOrder(a, b); });
}

// ((s0 + s2) + (s1 + s3)) of four float lanes.
QX_INLINE float sumLanesHalving(__m128 v)
{
    v = addInOrder(v, _mm_movehl_ps(v, v));
    return _mm_cvtss_f32(addInOrder(v, _mm_permute_ps(v, 1)));
}

}  // namespace qx::simd
