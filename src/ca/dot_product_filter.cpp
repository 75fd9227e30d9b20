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
// the coefficients gathered one by one because of the stride:
// - head: the first block, unaligned, times a 0/1 mask keeping the samples
//   before the first 16-byte boundary (the whole block when the oldest sample
//   sits on one);
// - body: aligned blocks, four a round;
// - tail: the last block of the range, times a mask keeping the 1..block-1
//   samples the body left;
// - the lanes reduce as (l0 + l2) + (l1 + l3).
// The masks multiply the samples before their coefficients, so an infinite
// sample under a 0.0 lane makes the sum NaN.

#include <cstddef>
#include <type_traits>

#include "qxcalc.h"
#include "simd/masks.h"
#include "simd/ordered.h"
#include "simd/reduce.h"
#include "simd/walk.h"

namespace qx::ca {
namespace {

// Samples of a vector block as groups of four floats, oldest first.
template <class T>
struct SampleBlock {
    static constexpr uint32_t width = 16 / sizeof(T) < 4 ? 4 : 16 / sizeof(T);  // 4, or 8 for int16_t
    static constexpr uint32_t groups = width / 4;
    static constexpr uint32_t lastOneByOne = width - 1 < 3 ? 3 : width - 1;  // 3, or 7 for int16_t
    __m128 group[groups];

    template <bool Aligned>
    static QX_INLINE SampleBlock load(const T* p)
    {
        if constexpr (std::is_same_v<T, float>) {
            return {{Aligned ? _mm_load_ps(p) : _mm_loadu_ps(p)}};
        } else {
            const auto* v = reinterpret_cast<const __m128i*>(p);
            const __m128i bits = Aligned ? _mm_load_si128(v) : _mm_loadu_si128(v);
            if constexpr (std::is_same_v<T, int32_t>) return {{_mm_cvtepi32_ps(bits)}};
            else
                return {{_mm_cvtepi32_ps(_mm_cvtepi16_epi32(bits)),
                         _mm_cvtepi32_ps(_mm_cvtepi16_epi32(_mm_srli_si128(bits, 8)))}};
        }
    }
};

// Lanes of one group of a block that a 0/1 mask keeps (0..4).
constexpr uint32_t lanesIn(uint32_t from, uint32_t to, uint32_t group)
{
    const uint32_t lo = from > 4 * group ? from - 4 * group : 0, hi = to > 4 * group ? to - 4 * group : 0;
    return (hi < 4 ? hi : 4) - (lo < 4 ? lo : 4);
}

// coefficients[k * stride], coefficients[(k-1) * stride], ... for the four
// lanes of a group whose oldest sample is k taps behind the newest.
QX_INLINE __m128 gatherCoefficients(const float* atK, std::ptrdiff_t stride)
{
    return _mm_set_ps(atK[-3 * stride], atK[-2 * stride], atK[-stride], atK[0]);
}

template <class T>
struct FilterLanes {
    using Block = SampleBlock<T>;
    __m128 sum = _mm_setzero_ps();
    std::ptrdiff_t stride;

    // Adds block b, whose oldest sample is k taps behind the newest, with the
    // block's lanes from..to-1 kept (the rest multiplied by 0.0).
    QX_INLINE void addMasked(const Block& b, uint32_t k, const float* coefficients, uint32_t from, uint32_t to)
    {
        for (uint32_t g = 0; g < Block::groups; ++g) {
            const uint32_t kept = lanesIn(from, to, g);
            const __m128 mask = from > 4 * g ? simd::tailMask4(kept) : simd::headMask4(kept);
            const __m128 c = gatherCoefficients(coefficients + static_cast<std::ptrdiff_t>(k - 4 * g) * stride, stride);
            sum = simd::addInOrder(sum, simd::mulInOrder(_mm_mul_ps(b.group[g], mask), c));
        }
    }
    QX_INLINE void add(const Block& b, const float* atK)
    {
        for (uint32_t g = 0; g < Block::groups; ++g)
            sum = simd::addInOrder(sum, simd::mulInOrder(b.group[g], gatherCoefficients(atK - static_cast<std::ptrdiff_t>(4 * g) * stride, stride)));
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

template <class T>
float filterByLanes(const T* samples, uint32_t count, const float* coefficients, std::ptrdiff_t stride)
{
    using Block = SampleBlock<T>;
    constexpr uint32_t W = Block::width;
    const T* oldest = samples + 1 - static_cast<std::ptrdiff_t>(count);
    FilterLanes<T> lanes{_mm_setzero_ps(), stride};

    const uint32_t peel = simd::countBeforeBoundary<16>(oldest);
    const uint32_t head = peel == 0 ? W : peel;
    lanes.addMasked(Block::template load<false>(oldest), count - 1, coefficients, 0, head);

    const uint32_t blocks = (count - head) / W;
    const T* body = oldest + head;
    const float* bodyCoefficients = coefficients + static_cast<std::ptrdiff_t>(count - 1 - head) * stride;
    simd::forEachInOrder<4>(blocks, [&](uint32_t b) {
        lanes.add(Block::template load<true>(body + b * W), bodyCoefficients - static_cast<std::ptrdiff_t>(b * W) * stride);
    });

    if (const uint32_t rest = count - head - blocks * W)
        lanes.addMasked(Block::template load<false>(samples + 1 - W), W - 1, coefficients, W - rest, W);
    return simd::sumLanesHalving(lanes.sum);
}

template <class T>
float filter(const T* samples, uint32_t count, const float* coefficients, uint32_t stride)
{
    if (count == 0) return 0.0f;
    if (count <= SampleBlock<T>::lastOneByOne) return filterOneByOne(samples, count, coefficients, stride);
    return filterByLanes(samples, count, coefficients, stride);
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
