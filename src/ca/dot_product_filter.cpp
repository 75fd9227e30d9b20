// qxcalcCACalcFilter_{float,int16_t,int32_t}: one output of a FIR filter,
//   sum over i < count of float(samples[-i]) * coefficients[i * stride],
// with samples pointing at the newest sample (older ones at lower addresses)
// and the coefficient table read forwards with a stride. Products and sums in
// single precision; count 0 gives 0.0. The caller guarantees that
// samples[1 - count] .. samples[0] and coefficients[0 .. (count-1) * stride]
// are readable; nothing else is read.
//
// Up to 3 taps (7 for int16_t) one at a time, newest first:
//   samples[0] * coefficients[0] + 0.0, then each further product in order.
// More taps run forwards through memory from the oldest sample in four float
// lanes (int16_t: blocks of eight, two groups of four into the same lanes),
// the coefficients gathered one by one because of the stride (read as one
// vector at stride 1):
// - head: the first block, unaligned, times a 0/1 mask keeping the samples
//   before the first 16-byte boundary (the whole block when the oldest sample
//   sits on one);
// - body: aligned blocks, four a round;
// - tail: the last block of the range, times a mask keeping the 1..block-1
//   samples the body left;
// - the lanes reduce as (l0 + l2) + (l1 + l3).
// The masks multiply the samples before their coefficients: an infinite
// sample under a 0.0 lane makes the sum NaN, while a finite one whose product
// overflows adds 0.0 there and its infinite product only where it counts.

#include <cstddef>
#include <type_traits>

#include "qxcalc.h"
#include "simd/convert.h"
#include "simd/masks.h"
#include "simd/ordered.h"
#include "simd/reduce.h"
#include "simd/registers.h"
#include "simd/walk.h"

namespace qx::ca {
namespace {

// Vector blocks of samples, read as groups of four floats, oldest first:
// four samples for float and int32_t, eight (two groups) for int16_t.
template <class T>
struct SampleBlock {
    static constexpr uint32_t width = sizeof(T) == 2 ? 8 : 4;
    static constexpr uint32_t groups = width / 4;
    static constexpr uint32_t lastOneByOne = width - 1;  // taps up to which the sum runs one at a time

    // Group G (0, or 1 for int16_t) of the block at p as four floats.
    template <uint32_t G, bool Aligned>
    static QX_INLINE __m128 group(const T* p)
    {
        if constexpr (std::is_same_v<T, float>) return Aligned ? _mm_load_ps(p) : _mm_loadu_ps(p);
        else return _mm_cvtepi32_ps(simd::int32x4From(p + 4 * G));
    }
};

// The next four coefficients down the table from `at`, one stride apart;
// `at` moves past them. At stride 1 they are one vector read in reverse.
template <bool Contiguous>
QX_INLINE __m128 nextCoefficients(const float*& at, std::ptrdiff_t stride)
{
    if constexpr (Contiguous) {
        at -= 4;
        return _mm_permute_ps(_mm_loadu_ps(at + 1), _MM_SHUFFLE(0, 1, 2, 3));
    } else {
        // Two pointer steps per four coefficients, each load at most one
        // stride from a pointer: a chain of a step per load would bound the
        // loop, and an address of its own per load takes more registers
        // than the 32-bit build has.
        const float* further = at - 2 * stride;
        const __m128 c = _mm_setr_ps(at[0], at[-stride], further[0], further[-stride]);
        at = further - 2 * stride;
        simd::pinInRegister(at);
        return c;
    }
}

constexpr uint32_t clampToGroup(int32_t lanes) { return lanes < 0 ? 0 : lanes > 4 ? 4 : static_cast<uint32_t>(lanes); }

// Four float lane sums; `coefficient` walks down the table, one stride per
// sample, as the blocks walk forwards through the samples.
template <class T, bool Contiguous>
struct FilterLanes {
    using Block = SampleBlock<T>;
    __m128 sum;
    std::ptrdiff_t stride;
    const float* coefficient;

    QX_INLINE void addProducts(__m128 x)
    {
        sum = simd::addInOrder(sum, simd::mulInOrder(x, nextCoefficients<Contiguous>(coefficient, stride)));
    }
    // The aligned block at p.
    QX_INLINE void add(const T* p)
    {
        addProducts(Block::template group<0, true>(p));
        if constexpr (Block::groups == 2) addProducts(Block::template group<1, true>(p));
    }
    // The unaligned block at p, its samples multiplied by the 0/1 mask
    // maskOf(group) first.
    template <class MaskOf>
    QX_INLINE void addMasked(const T* p, MaskOf maskOf)
    {
        const __m128 first = Block::template group<0, false>(p);
        addProducts(_mm_mul_ps(first, maskOf(0)));
        if constexpr (Block::groups == 2) {
            const __m128 second = Block::template group<1, false>(p);
            addProducts(_mm_mul_ps(second, maskOf(1)));
        }
    }
};

template <class T>
float filterOneByOne(const T* samples, uint32_t count, const float* coefficients, std::ptrdiff_t stride)
{
    float sum = simd::addInOrder(simd::mulInOrder(static_cast<float>(samples[0]), coefficients[0]), 0.0f);
    for (uint32_t i = 1; i < count; ++i)
        sum = simd::addInOrder(sum, simd::mulInOrder(static_cast<float>(samples[-static_cast<std::ptrdiff_t>(i)]),
                                                     coefficients[static_cast<std::ptrdiff_t>(i) * stride]));
    return sum;
}

template <class T, bool Contiguous>
float filterByLanes(const T* samples, uint32_t count, const float* coefficients, std::ptrdiff_t stride)
{
    using Block = SampleBlock<T>;
    constexpr int32_t W = Block::width;
    const T* oldest = samples + 1 - static_cast<std::ptrdiff_t>(count);
    const auto coefficientOfTap = [&](uint32_t i) { return coefficients + static_cast<std::ptrdiff_t>(i) * stride; };
    FilterLanes<T, Contiguous> lanes{_mm_setzero_ps(), stride, coefficientOfTap(count - 1)};

    const auto head = static_cast<int32_t>(simd::overlappedHead<16, W>(oldest));
    lanes.addMasked(oldest, [&](int32_t g) { return simd::headMask4(clampToGroup(head - 4 * g)); });

    const uint32_t blocks = (count - head) / W;
    const T* body = oldest + head;
    lanes.coefficient = coefficientOfTap(count - 1 - head);
    simd::forEachInOrder<4>(blocks, [&](std::size_t b) { lanes.add(body + b * W); });

    if (const int32_t rest = static_cast<int32_t>(count - head - blocks * W)) {
        lanes.coefficient = coefficientOfTap(W - 1);
        lanes.addMasked(samples + 1 - W,
                        [&](int32_t g) { return simd::tailMask4(clampToGroup(rest - (W - 4 - 4 * g))); });
    }
    return simd::sumLanesHalving(lanes.sum);
}

template <class T>
float filter(const T* samples, uint32_t count, const float* coefficients, uint32_t stride)
{
    if (count == 0) return 0.0f;
    if (count <= SampleBlock<T>::lastOneByOne) return filterOneByOne(samples, count, coefficients, stride);
    if (stride == 1) return filterByLanes<T, true>(samples, count, coefficients, stride);
    return filterByLanes<T, false>(samples, count, coefficients, stride);
}

}  // namespace
}  // namespace qx::ca

extern "C" {

float QXCALC_CALL qxcalcCACalcFilter_float(const float* samples, uint32_t count, const float* coefficients,
                                           uint32_t stride)
{
    return qx::ca::filter(samples, count, coefficients, stride);
}

float QXCALC_CALL qxcalcCACalcFilter_int16_t(const int16_t* samples, uint32_t count, const float* coefficients,
                                             uint32_t stride)
{
    return qx::ca::filter(samples, count, coefficients, stride);
}

float QXCALC_CALL qxcalcCACalcFilter_int32_t(const int32_t* samples, uint32_t count, const float* coefficients,
                                             uint32_t stride)
{
    return qx::ca::filter(samples, count, coefficients, stride);
}

}  // extern "C"
