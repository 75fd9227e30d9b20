// qxcalcGetMinMax_{int32_t,int16_t,float,double}: smallest and largest sample
// of a block. The caller guarantees count >= 1 and non-overlapping buffers.
//
// Blocks shorter than one vector run one sample at a time (foldRunning).
// Longer blocks: the first vector (unaligned) seeds both accumulators, every
// whole aligned vector is folded in address order, and the last vector of the
// block (unaligned, ending at the last sample) is folded in too. The head and
// tail loads overlap the body; visiting a sample twice is harmless for minimum
// and maximum and saves a scalar tail loop. That ordered chain gives the
// result bits; the body runs in independent accumulators wherever they give
// the same bits (see MinMaxSpread).

#include "qxcalc.h"
#include "stats/minmax.h"

namespace qx::stats {
namespace {

template <class T>
void minMaxOneByOne(const T* samples, uint32_t count, T* minValue, T* maxValue)
{
    T lo = samples[0];
    T hi = samples[0];
    for (uint32_t i = 1; i < count; ++i) foldRunning(samples[i], lo, hi);
    *minValue = lo;
    *maxValue = hi;
}

// The ordered chain: one accumulator pair, vectors folded in address order.
template <class T>
void minMaxInOrder(const T* samples, uint32_t count, T* minValue, T* maxValue)
{
    using L = simd::Lanes<T>;
    auto acc = MinMaxVectors<T>::seededWith(L::loadu(samples));
    const auto body = simd::alignedBody<L::alignment, L::width>(samples, count);
    simd::forEachInOrder<8>(body.vectors,
                            [&](std::size_t k) { acc.fold(L::loadAssumedAligned(body.first + k * L::width)); });
    acc.fold(L::loadu(samples + count - L::width));
    acc.store(minValue, maxValue);
}

// The same vectors spread over independent accumulators; where that could
// show in the result (floating types with a NaN or a zero result), the
// ordered chain runs instead.
template <class T>
void minMaxByVectors(const T* samples, uint32_t count, T* minValue, T* maxValue)
{
    using L = simd::Lanes<T>;
    auto spread = MinMaxSpread<T>::seededWith(L::loadu(samples));
    const auto body = simd::alignedBody<L::alignment, L::width>(samples, count);
    spread.foldAligned(body.first, body.vectors);
    spread.fold(L::loadu(samples + count - L::width));
    const auto merged = spread.merged();
    const T lo = simd::reduceMinHalving<T>(merged.lo);
    const T hi = simd::reduceMaxHalving<T>(merged.hi);
    if (!spread.orderFree(lo, hi)) return minMaxInOrder(samples, count, minValue, maxValue);
    *minValue = lo;
    *maxValue = hi;
}

template <class T>
void getMinMax(const T* samples, uint32_t count, T* minValue, T* maxValue)
{
    if (count == 0) return;  // outside the contract; leave the outputs alone
    if (count < simd::Lanes<T>::width) minMaxOneByOne(samples, count, minValue, maxValue);
    else minMaxByVectors(samples, count, minValue, maxValue);
}

}  // namespace
}  // namespace qx::stats

extern "C" {

void QXCALC_CALL qxcalcGetMinMax_double(const double* samples, uint32_t count, double* minValue,
                                        double* maxValue)
{
    qx::stats::getMinMax(samples, count, minValue, maxValue);
}

void QXCALC_CALL qxcalcGetMinMax_float(const float* samples, uint32_t count, float* minValue,
                                       float* maxValue)
{
    qx::stats::getMinMax(samples, count, minValue, maxValue);
}

void QXCALC_CALL qxcalcGetMinMax_int16_t(const int16_t* samples, uint32_t count,
                                         int16_t* minValue, int16_t* maxValue)
{
    qx::stats::getMinMax(samples, count, minValue, maxValue);
}

void QXCALC_CALL qxcalcGetMinMax_int32_t(const int32_t* samples, uint32_t count,
                                         int32_t* minValue, int32_t* maxValue)
{
    qx::stats::getMinMax(samples, count, minValue, maxValue);
}

}  // extern "C"
