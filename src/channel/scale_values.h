// The kernel behind the four channel-scaling exports: output[i] = raw[i]
// converted, times scale, plus offset, for i < count, written once for every
// raw format, output precision and output alignment.
//
// Arithmetic: the converted sample is multiplied by scale and the product
// added to offset, two roundings, in the output's precision; double samples
// are scaled in double even for float output and only the sum is narrowed,
// so a raw value beyond the float range still gives a finite float when the
// scaled value fits. Each element is the same whichever path computes it.
//
// Paths: blocks of at least one step whose buffers allow it (below) run in
// vector steps of eight samples, unrolled by four, with the samples before
// the first step and after the last one done one at a time; shorter blocks
// and buffers too close together run one at a time.
#pragma once

#include <cstdint>
#include <type_traits>

#include "simd/convert.h"
#include "simd/lanes.h"
#include "simd/ordered.h"
#include "simd/registers.h"
#include "simd/store.h"
#include "simd/walk.h"

namespace qx::channel {

// Plain exports accept any naturally aligned output; the aligned-output ones
// get a 32-byte aligned output and store to it with aligned stores only.
enum class Output { Natural, Aligned32 };

// The precision in which samples of format Raw are scaled for Out values.
template <class Raw, class Out>
using Work = std::conditional_t<std::is_same_v<Raw, double>, double, Out>;

// Where the vector steps start and how they store:
// - aligned output: from the first sample, aligned stores;
// - plain double output, and double samples into float: from the first
//   sample, unaligned stores;
// - plain float output: from the first 32-byte boundary of the input for
//   4-byte samples (no load splits a cache line), else of the output
//   (aligned stores).
enum class PeelTo { Nothing, Input, Output };
struct Walk {
    PeelTo peelTo;
    bool alignedStores;
};

template <class Raw, class Out, Output output>
constexpr Walk walkFor()
{
    if (output == Output::Aligned32) return {PeelTo::Nothing, true};
    if (std::is_same_v<Out, double> || std::is_same_v<Raw, double>) return {PeelTo::Nothing, false};
    if (sizeof(Raw) == 4) return {PeelTo::Input, false};
    return {PeelTo::Output, true};
}

constexpr uint32_t kStep = 8;  // samples per vector step

template <class W>
struct Scaling {
    W scale, offset;

    QX_INLINE W apply(W x) const { return simd::addInOrder(simd::mulInOrder(x, scale), offset); }
};

template <class W>
struct ScalingLanes {
    using Vec = typename simd::Lanes<W>::Vec;
    Vec scale, offset;

    explicit ScalingLanes(Scaling<W> k)
        : scale(simd::Lanes<W>::broadcast(k.scale)), offset(simd::Lanes<W>::broadcast(k.offset))
    {
    }
    QX_INLINE Vec apply(Vec x) const { return simd::addInOrder(simd::mulInOrder(x, scale), offset); }
};

// A plain loop: unrolled, the compiler would merge neighbouring stores into
// unaligned vector stores.
template <class Raw, class Out>
QX_INLINE void scaleOneByOne(const Raw* raw, Out* out, uint32_t n, Scaling<Work<Raw, Out>> k)
{
    using W = Work<Raw, Out>;
    for (uint32_t i = 0; i < n; ++i) out[i] = static_cast<Out>(k.apply(simd::convertOne<W>(raw[i])));
}

// Eight samples: one float oct, or two double quads.
template <bool alignedStores, class Raw, class Out>
QX_INLINE void scaleStep(const Raw* raw, Out* out, const ScalingLanes<Work<Raw, Out>>& k)
{
    if constexpr (std::is_same_v<Work<Raw, Out>, float>) {
        simd::storeVector<alignedStores>(out, k.apply(simd::floatOctFrom(raw)));
    } else {
        simd::storeVector<alignedStores>(out, k.apply(simd::doubleQuadFrom(raw)));
        simd::storeVector<alignedStores>(out + 4, k.apply(simd::doubleQuadFrom(raw + 4)));
    }
}

// One at a time, sample i is read after values 0 .. i-1 are written; a step
// reads its eight samples before writing their values. The orders agree
// unless a value written within a step lands on a later sample of the same
// step: never when the buffers are apart, nor, for samples as wide as the
// values, when the output starts at or before the input (in place included)
// or at least a step after it.
template <class Raw, class Out>
QX_INLINE bool stepsMatchElementOrder(const Raw* raw, const Out* out, uint32_t count)
{
    const uint64_t in = reinterpret_cast<uintptr_t>(raw), to = reinterpret_cast<uintptr_t>(out);
    if constexpr (sizeof(Raw) == sizeof(Out)) return to <= in || to - in >= kStep * sizeof(Raw);
    else return to + uint64_t{count} * sizeof(Out) <= in || in + uint64_t{count} * sizeof(Raw) <= to;
}

// The whole steps from raw/out on.
template <bool alignedStores, class Raw, class Out>
QX_OUT_OF_LINE void scaleSteps(const Raw* raw, Out* out, uint32_t steps, Scaling<Work<Raw, Out>> k)
{
    const ScalingLanes<Work<Raw, Out>> lanes(k);
    simd::forEachInOrder<4>(steps, [=](std::size_t s) {
        scaleStep<alignedStores>(raw + s * kStep, out + s * kStep, lanes);
    });
}

template <class Raw, class Out, Output output>
void scaleValues(const Raw* raw, Out* out, uint32_t count, Scaling<Work<Raw, Out>> k)
{
    uint32_t done = 0;
    if (count >= kStep && stepsMatchElementOrder(raw, out, count)) {
        constexpr Walk walk = walkFor<Raw, Out, output>();
        uint32_t peel = 0;
        if constexpr (walk.peelTo == PeelTo::Input) peel = simd::countBeforeBoundary<32>(raw);
        else if constexpr (walk.peelTo == PeelTo::Output) peel = simd::countBeforeBoundary<32>(out);
        scaleOneByOne(raw, out, peel, k);  // peel < kStep <= count
        const uint32_t steps = (count - peel) / kStep;
        scaleSteps<walk.alignedStores>(raw + peel, out + peel, steps, k);
        done = peel + steps * kStep;
    }
    scaleOneByOne(raw + done, out + done, count - done, k);
}

}  // namespace qx::channel
