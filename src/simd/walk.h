// Walking a block: where its aligned body starts, how many whole vectors it
// holds, and unrolled loops over them in either direction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "simd/lanes.h"

namespace qx::simd {

// Elements before the first Alignment-byte boundary at or after p (0 when p is
// already aligned). p is aligned to its element size.
template <std::size_t Alignment, class T>
QX_INLINE std::uint32_t countBeforeBoundary(const T* p)
{
    const auto address = reinterpret_cast<std::uintptr_t>(p);
    return static_cast<std::uint32_t>(((Alignment - address % Alignment) % Alignment) / sizeof(T));
}

// The aligned body of a block of `count` elements: its first element and the
// number of whole vectors of Width elements from there on.
template <class T>
struct AlignedBody {
    const T* first;
    std::uint32_t peel;    // elements before `first`
    std::uint32_t vectors; // whole vectors from `first` on
};

template <std::size_t Alignment, unsigned Width, class T>
QX_INLINE AlignedBody<T> alignedBody(const T* p, std::uint32_t count)
{
    std::uint32_t peel = countBeforeBoundary<Alignment>(p);
    if (peel > count) peel = count;
    return {p + peel, peel, (count - peel) / Width};
}

namespace detail {
template <class Step, std::size_t... K>
QX_INLINE void stepsInOrder(Step& step, std::uint32_t base, std::index_sequence<K...>)
{
    (step(base + static_cast<std::uint32_t>(K)), ...);
}
}  // namespace detail

// Calls step(0), step(1), ... step(n - 1) in that order; the body is unrolled
// Unroll times, the n mod Unroll leftover steps run first.
template <unsigned Unroll, class Step>
QX_INLINE void forEachInOrder(std::uint32_t n, Step&& step)
{
    std::uint32_t i = 0;
    for (const std::uint32_t lead = n % Unroll; i < lead; ++i) step(i);
    for (; i < n; i += Unroll) detail::stepsInOrder(step, i, std::make_index_sequence<Unroll>{});
}

// Calls step(n - 1), step(n - 2), ... step(0) in that order, unrolled as
// forEachInOrder: for in-place work whose output lands after its input.
template <unsigned Unroll, class Step>
QX_INLINE void forEachInReverse(std::uint32_t n, Step&& step)
{
    forEachInOrder<Unroll>(n, [&](std::uint32_t j) { step(n - 1 - j); });
}

}  // namespace qx::simd
