// Walking a block: where its aligned body starts, how many whole vectors it
// holds, unrolled loops over them in either direction, and the whole walk of
// a block with its ragged ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "simd/inline.h"

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

// For a block whose first vector of Width elements is read whole (unaligned)
// and whose last one ends at the block's end, overlapping the aligned body:
// the elements the first vector covers, those before the first
// Alignment-byte boundary at or after p, or all Width when p sits on one.
// The aligned body starts that many elements after p.
template <std::size_t Alignment, unsigned Width, class T>
QX_INLINE std::uint32_t overlappedHead(const T* p)
{
    const std::uint32_t peel = countBeforeBoundary<Alignment>(p);
    return peel == 0 ? Width : peel;
}

namespace detail {
template <class Step, std::size_t... K>
QX_INLINE void stepsInOrder(Step& step, std::size_t base, std::index_sequence<K...>)
{
    (step(base + K), ...);
}
}  // namespace detail

// Calls step(0), step(1), ... step(n - 1) in that order; the body is unrolled
// Unroll times, the n mod Unroll leftover steps run first. The step index is
// pointer-sized, so that 64-bit code addresses with it as it stands instead
// of widening a 32-bit index at every step.
template <unsigned Unroll, class Step>
QX_INLINE void forEachInOrder(std::uint32_t n, Step&& step)
{
    std::size_t i = 0;
    for (const std::size_t lead = n % Unroll; i < lead; ++i) step(i);
    for (; i < n; i += Unroll) detail::stepsInOrder(step, i, std::make_index_sequence<Unroll>{});
}

// Calls step(n - 1), step(n - 2), ... step(0) in that order, unrolled as
// forEachInOrder: for in-place work whose output lands after its input.
template <unsigned Unroll, class Step>
QX_INLINE void forEachInReverse(std::uint32_t n, Step&& step)
{
    forEachInOrder<Unroll>(n, [&](std::size_t j) { step(n - 1 - j); });
}

// The walk of a block of `count` elements in three parts, in element order:
// oneByOne(0, peel) for the elements before the first Alignment-byte
// boundary of alignOn, step(i) for each whole vector of Width elements from
// there (i its first element, pointer-sized, unrolled Unroll times), and oneByOne(i, n) for
// the n elements left. An Alignment of the element size walks without a peel.
template <unsigned Unroll, std::size_t Alignment, unsigned Width, class T, class OneByOne, class Step>
QX_INLINE void walkPeelStepsRest(const T* alignOn, std::uint32_t count, OneByOne&& oneByOne, Step&& step)
{
    const auto body = alignedBody<Alignment, Width>(alignOn, count);
    oneByOne(std::uint32_t{0}, body.peel);
    forEachInOrder<Unroll>(body.vectors, [&](std::size_t k) { step(body.peel + k * Width); });
    const std::uint32_t done = body.peel + body.vectors * Width;
    oneByOne(done, count - done);
}

}  // namespace qx::simd
