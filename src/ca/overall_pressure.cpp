// qxCalcCAOverallPressure: folds a new cycle into the cumulative mean curve of
// all cycles so far,
//   overallValues[k] = (overallValues[k] * n + cycleValues[k]) / (n + 1),
// n = cycleCount (the cycles already folded in), for the end - first
// positions k = 0 .. end-first-1 from the pointers passed (first only counts),
// and writes the largest value of the updated curve to *maxValue. The caller
// guarantees end >= first.
//
// - Whole blocks of eight positions in double precision, rounded to float on
//   the store; lane maxima start at 1.17549435e-38, the smallest positive
//   normal float, so that zero and negative values never count, and a NaN
//   lane is replaced by its next value. The lanes reduce by halving and the
//   result is written to *maxValue even when there was no whole block.
// - The last count mod 8 positions one at a time in single precision,
//   (float(n) * overall + cycle) / float(n + 1), each raising *maxValue
//   when strictly greater.

#include "simd/convert.h"
#include "ca/maximum_search.h"
#include "qxcalc.h"
#include "simd/ordered.h"
#include "simd/reduce.h"
#include "simd/walk.h"
#include "simd/widen.h"

namespace qx::ca {
namespace {

using L = simd::Lanes<float>;

QX_INLINE __m256d foldQuad(__m256d overall, __m256d cycle, __m256d n, __m256d nPlusOne)
{
    return _mm256_div_pd(simd::addInOrder(_mm256_mul_pd(overall, n), cycle), nPlusOne);
}

void foldIntoOverall(const float* cycleValues, float* overallValues, uint32_t count, uint64_t cycleCount,
                     float* maxValue)
{
    const double nd = simd::fromUint64<double>(cycleCount);
    const __m256d n = _mm256_set1_pd(nd), nPlusOne = _mm256_set1_pd(nd + 1.0);
    __m256 laneMax = _mm256_set1_ps(kMaximumSearchStart);
    const uint32_t blocks = count / L::width;
    simd::forEachInOrder<2>(blocks, [&](std::size_t b) {
        float* at = overallValues + b * L::width;
        const simd::DoubleQuads overall = simd::widenFloat8(L::loadu(at));
        const simd::DoubleQuads cycle = simd::widenFloat8(L::loadu(cycleValues + b * L::width));
        const __m256 folded = _mm256_insertf128_ps(
            _mm256_castps128_ps256(_mm256_cvtpd_ps(foldQuad(overall.low, cycle.low, n, nPlusOne))),
            _mm256_cvtpd_ps(foldQuad(overall.high, cycle.high, n, nPlusOne)), 1);
        _mm256_storeu_ps(at, folded);
        laneMax = L::max(laneMax, folded);
    });
    *maxValue = simd::reduceMaxHalving<float>(laneMax);

    const float nf = simd::fromUint64<float>(cycleCount), mf = simd::fromUint64<float>(cycleCount + 1);
    for (uint32_t k = blocks * L::width; k < count; ++k) {
        const float v = simd::addInOrder(nf * overallValues[k], cycleValues[k]) / mf;
        overallValues[k] = v;
        if (v > *maxValue) *maxValue = v;
    }
}

}  // namespace
}  // namespace qx::ca

extern "C" void QXCALC_CALL qxCalcCAOverallPressure(const float* cycleValues, float* overallValues, uint32_t first,
                                                    uint32_t end, uint64_t cycleCount, float* maxValue)
{
    qx::ca::foldIntoOverall(cycleValues, overallValues, end - first, cycleCount, maxValue);
}
