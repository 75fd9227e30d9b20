// qxcalcFIRFilter_float: one output of a FIR filter over the caller's ring,
//   y = sum over k < length of taps[k] * history[(position + k) mod length],
// in single precision; taps[0] meets the oldest sample, history[position].
// Reads only; no alignment is needed. The caller guarantees
// 0 <= position <= length; length <= 0 with position <= 0 gives 0.
//
// The ring is read in two runs that meet at its end: run 1 pairs
// history[position..length) with taps[0..m), m = length - position, and run 2
// pairs history[0..position) with taps[m..length). Products (sample * tap)
// collect in one eight-lane vector V and one scalar S:
// - blocks of 32 products go to four independent eight-lane accumulators,
//   combined as ((A + B) + C) + D; in run 1 that sum becomes V, in run 2 it
//   is added to V;
// - the whole groups of eight that follow are added to V lane by lane;
// - the last products (fewer than eight) are added to S one at a time.
// Run 2 first adds products to S one at a time until its taps reach a 32-byte
// boundary (all of them when position < 8), so its rounding depends on the
// taps' address. Finally y = (V's lanes summed pairwise) + S.

#include "qxcalc.h"
#include "simd/ordered.h"
#include "simd/reduce.h"
#include "simd/walk.h"

namespace qx::filters {
namespace {

using simd::addInOrder;
using simd::mulInOrder;
using L = simd::Lanes<float>;

constexpr int32_t kBlock = 32;
constexpr int32_t kGroup = L::width;
// Run 2 goes one product at a time when it is shorter than this.
constexpr int32_t kShortestAlignedRun = 8;

struct DotSums {
    __m256 vector = _mm256_setzero_ps();
    float scalar = 0.0f;

    QX_INLINE void addOneByOne(const float* samples, const float* taps, int32_t n)
    {
        for (int32_t i = 0; i < n; ++i) scalar = addInOrder(scalar, mulInOrder(samples[i], taps[i]));
    }
};

template <bool TapsAligned>
QX_INLINE __m256 products8(const float* samples, const float* taps)
{
    return mulInOrder(L::loadu(samples), TapsAligned ? L::loadAssumedAligned(taps) : L::loadu(taps));
}

// ((A + B) + C) + D over `blocks` blocks of 32 products; accumulator A takes
// products 0-7 of every block, B 8-15, C 16-23, D 24-31.
template <bool TapsAligned>
__m256 sumBlocksOf32(const float* samples, const float* taps, int32_t blocks)
{
    __m256 a = _mm256_setzero_ps(), b = a, c = a, d = a;
    for (int32_t k = 0; k < blocks; ++k, samples += kBlock, taps += kBlock) {
        a = addInOrder(a, products8<TapsAligned>(samples, taps));
        b = addInOrder(b, products8<TapsAligned>(samples + 8, taps + 8));
        c = addInOrder(c, products8<TapsAligned>(samples + 16, taps + 16));
        d = addInOrder(d, products8<TapsAligned>(samples + 24, taps + 24));
    }
    return addInOrder(addInOrder(addInOrder(a, b), c), d);
}

// n products samples[i] * taps[i]: blocks of 32, groups of 8, one by one. The
// first run's block sum starts V; a later run's is added to it.
template <bool FirstRun, bool TapsAligned>
void addRun(DotSums& sums, const float* samples, const float* taps, int32_t n)
{
    const int32_t blocks = n / kBlock;
    if (blocks > 0) {
        const __m256 blockSum = sumBlocksOf32<TapsAligned>(samples, taps, blocks);
        sums.vector = FirstRun ? blockSum : addInOrder(sums.vector, blockSum);
    }
    int32_t i = blocks * kBlock;
    for (const int32_t groupsEnd = n / kGroup * kGroup; i < groupsEnd; i += kGroup)
        sums.vector = addInOrder(sums.vector, products8<TapsAligned>(samples + i, taps + i));
    sums.addOneByOne(samples + i, taps + i, n - i);
}

float firFilter(const float* history, const float* taps, int32_t length, int32_t position)
{
    if (length <= 0 && position <= 0) return 0.0f;
    DotSums sums;
    const int32_t oldestRun = length - position;
    addRun</*FirstRun=*/true, /*TapsAligned=*/false>(sums, history + position, taps, oldestRun);
    if (position > 0) {
        const float* newestTaps = taps + oldestRun;
        const int32_t peel = position < kShortestAlignedRun
                                 ? position
                                 : static_cast<int32_t>(simd::countBeforeBoundary<L::alignment>(newestTaps));
        sums.addOneByOne(history, newestTaps, peel);
        addRun<false, true>(sums, history + peel, newestTaps + peel, position - peel);
    }
    return addInOrder(simd::sumLanesPairwise(sums.vector), sums.scalar);
}

}  // namespace
}  // namespace qx::filters

extern "C" float QXCALC_CALL qxcalcFIRFilter_float(const float* history, const float* taps, int32_t length,
                                                   int32_t position)
{
    return qx::filters::firFilter(history, taps, length, position);
}
