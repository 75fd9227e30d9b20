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

// ((e0 + e1) + (e2 + e3)) + ((e4 + e5) + (e6 + e7)) of eight float lanes:
// neighbours first, then neighbouring pairs, then the two halves.
QX_INLINE float sumLanesPairwise(__m256 v)
{
    const __m256 evens = _mm256_shuffle_ps(v, v, _MM_SHUFFLE(2, 0, 2, 0));
    const __m256 odds = _mm256_shuffle_ps(v, v, _MM_SHUFFLE(3, 1, 3, 1));
    const __m256 pairs = addInOrder(evens, odds);
    const __m256 quads = addInOrder(pairs, Lanes<float>::moveDown<1>(pairs));
    return addInOrder(_mm256_cvtss_f32(quads), _mm_cvtss_f32(_mm256_extractf128_ps(quads, 1)));
}

// ((s0 + s2) + (s1 + s3)) of four float lanes.
QX_INLINE float sumLanesHalving(__m128 v)
{
    v = addInOrder(v, _mm_movehl_ps(v, v));
    return _mm_cvtss_f32(addInOrder(v, _mm_permute_ps(v, 1)));
}

}  // namespace qx::simd
