// qxcalcGetMinMaxAveRMS_{float,double,int16_t,int32_t}: one pass over a block
// that adds its samples to the caller's *sum and (sample + offset)^2 to
// *sumOfSquares, and reports minimum and maximum. count 0 writes nothing.
//
// Blocks shorter than one vector run one sample at a time and continue the
// incoming *minValue/*maxValue as running values. Longer blocks overwrite
// them with this block's own minimum and maximum, found exactly as
// qxcalcGetMinMax_* finds them, while the sums run in four double lanes:
// - double, int32_t, int16_t: the samples before the aligned body and those
//   after its last whole vector are added one at a time;
// - float: no scalar ends; the first and the last vector are added with 0/1
//   masks so that each sample counts once (an infinite sample under a 0.0
//   lane turns the sums into NaN, as inf * 0 does).

#include <type_traits>

#include "qxcalc.h"
#include "simd/masks.h"
#include "simd/registers.h"
#include "stats/int16_body.h"
#include "stats/minmax.h"
#include "stats/sums.h"

namespace qx::stats {
namespace {

using simd::Lanes;

template <class T, class Offset>
void statsOneByOne(const T* samples, uint32_t count, T* minValue, T* maxValue, double* sum,
                   double* sumOfSquares, Offset offset)
{
    T lo = *minValue, hi = *maxValue;
    for (uint32_t i = 0; i < count; ++i) foldRunning(samples[i], lo, hi);
    *minValue = lo;
    *maxValue = hi;
    RunningSums sums{sum, sumOfSquares};
    addSamplesOneByOne(sums, samples, count, offset);
    sums.store();
}

// One aligned vector of samples into the four double lanes.
template <class T>
QX_INLINE void addAligned(SumLanes& lanes, typename Lanes<T>::Vec v, __m256d offset)
{
    if constexpr (std::is_same_v<T, double>) lanes.add(v, offset);
    else if constexpr (std::is_same_v<T, int32_t>) lanes.add(simd::widenInt32x4(v), offset);
    else lanes.add(simd::widenInt16x8(v), offset);
}

// The aligned body of a double or int32_t block.
template <class T>
QX_OUT_OF_LINE void addAlignedBody(const T* first, uint32_t vectors, MinMaxVectors<T>& minMax, SumLanes& lanes,
                                    __m256d offsets)
{
    MinMaxVectors<T> m = minMax;
    SumLanes l = lanes;
    simd::forEachInOrder<4>(vectors, [&](std::size_t k) {
        const auto v = Lanes<T>::loadAssumedAligned(first + k * Lanes<T>::width);
        m.fold(v);
        addAligned<T>(l, v, offsets);
    });
    minMax = m;
    lanes = l;
}

// double, int32_t and int16_t: scalar head, aligned vector body, scalar tail.
template <class T, class Offset>
void statsByVectorsScalarEnds(const T* samples, uint32_t count, T* minValue, T* maxValue,
                              double* sum, double* sumOfSquares, Offset offset)
{
    using L = Lanes<T>;
    auto minMax = MinMaxVectors<T>::seededWith(L::loadu(samples));
    RunningSums sums{sum, sumOfSquares};
    SumLanes lanes;
    const __m256d offsets = _mm256_set1_pd(static_cast<double>(offset));
    const auto body = simd::alignedBody<L::alignment, L::width>(samples, count);

    addSamplesOneByOne(sums, samples, body.peel, offset);
    if constexpr (std::is_same_v<T, int16_t>) {
        addInt16Body<false>(body.first, body.vectors, nullptr, minMax, lanes, offset);
    } else {
        addAlignedBody(body.first, body.vectors, minMax, lanes, offsets);
    }
    lanes.addTo(sums);
    const uint32_t done = body.peel + body.vectors * L::width;
    addSamplesOneByOne(sums, samples + done, count - done, offset);
    minMax.fold(L::loadu(samples + count - L::width));

    minMax.store(minValue, maxValue);
    sums.store();
}

// float: masked first vector, aligned body, masked last vector.
void statsByVectorsMaskedEnds(const float* samples, uint32_t count, float* minValue, float* maxValue,
                              double* sum, double* sumOfSquares, float offset)
{
    using L = Lanes<float>;
    const __m256 first = L::loadu(samples);
    auto minMax = MinMaxVectors<float>::seededWith(first);
    RunningSums sums{sum, sumOfSquares};
    SumLanes lanes;
    const __m256 offsets = _mm256_set1_ps(offset);
    auto addMasked = [&](__m256 v, __m256 mask) {
        lanes.add(simd::widenFloat8(_mm256_mul_ps(v, mask)), simd::widenFloat8(_mm256_mul_ps(offsets, mask)));
    };

    const uint32_t head = simd::overlappedHead<L::alignment, L::width>(samples);
    addMasked(first, simd::headMask8(head));
    if (head == L::width) minMax.fold(L::loadAssumedAligned(samples));

    const float* body = samples + head;
    const uint32_t vectors = (count - head) / L::width;
    const __m256d offsetQuad = _mm256_set1_pd(offset);
    simd::forEachInOrder<4>(vectors, [&](std::size_t k) {
        const __m256 v = L::loadAssumedAligned(body + k * L::width);
        minMax.fold(v);
        lanes.add(simd::widenFloat8(v), offsetQuad);
    });
    const __m256 last = L::loadu(samples + count - L::width);
    if (const uint32_t rest = (count - head) % L::width) addMasked(last, simd::tailMask8(rest));
    minMax.fold(last);

    lanes.addTo(sums);
    minMax.store(minValue, maxValue);
    sums.store();
}

template <class T, class Offset>
void getMinMaxAveRms(const T* samples, uint32_t count, T* minValue, T* maxValue, double* sum,
                     double* sumOfSquares, Offset offset)
{
    if (count == 0) return;
    if (count < Lanes<T>::width) statsOneByOne(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
    else if constexpr (std::is_same_v<T, float>)
        statsByVectorsMaskedEnds(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
    else statsByVectorsScalarEnds(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
}

}  // namespace
}  // namespace qx::stats

extern "C" {

void QXCALC_CALL qxcalcGetMinMaxAveRMS_double(const double* samples, uint32_t count, double* minValue,
                                              double* maxValue, double* sum, double* sumOfSquares,
                                              double offset)
{
    qx::stats::getMinMaxAveRms(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
}

void QXCALC_CALL qxcalcGetMinMaxAveRMS_float(const float* samples, uint32_t count, float* minValue,
                                             float* maxValue, double* sum, double* sumOfSquares,
                                             float offset)
{
    qx::stats::getMinMaxAveRms(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
}

void QXCALC_CALL qxcalcGetMinMaxAveRMS_int16_t(const int16_t* samples, uint32_t count, int16_t* minValue,
                                               int16_t* maxValue, double* sum, double* sumOfSquares,
                                               float offset)
{
    qx::stats::getMinMaxAveRms(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
}

void QXCALC_CALL qxcalcGetMinMaxAveRMS_int32_t(const int32_t* samples, uint32_t count, int32_t* minValue,
                                               int32_t* maxValue, double* sum, double* sumOfSquares,
                                               double offset)
{
    qx::stats::getMinMaxAveRms(samples, count, minValue, maxValue, sum, sumOfSquares, offset);
}

}  // extern "C"
