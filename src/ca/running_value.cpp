// qxCalcCARunningVal: folds a new cycle into the mean over the most recent
// windowCycles = N cycles, carried as a per-position running sum, for the
// last - first + 1 positions k from the pointers passed (first only counts).
// n = cycleCount is the number of cycles already folded in:
// - n = 0: sumValues and meanValues become copies of cycleValues;
// - 0 < n < N (window filling): sum = sum + cycle, mean = sum / (float(n) + 1);
// - n >= N (window full): the leaving cycle's share is replaced,
//   sum = (sum + cycle) - leaving in whole blocks of eight,
//   sum = (cycle - leaving) + sum in the last count mod 8 positions,
//   mean = sum / float(N); leavingValues is read only in this case.
// All in single precision. N = 0 gives infinite or NaN means from the second
// call on; that is not guarded.

#include <cstring>

#include "simd/convert.h"
#include "qxcalc.h"
#include "simd/convert.h"
#include "simd/lanes.h"
#include "simd/ordered.h"
#include "simd/walk.h"

namespace qx::ca {
namespace {

using L = simd::Lanes<float>;

struct RunningCurves {
    const float* cycle;
    const float* leaving;
    float* sum;
    float* mean;
};

// Blocks of eight (unaligned, four a round) through `block`, then the
// remaining positions one at a time through `one`; both return the new sum.
template <class Block, class One>
QX_INLINE void foldPositions(const RunningCurves& c, uint32_t count, float divisor, Block block, One one)
{
    const __m256 d = _mm256_set1_ps(divisor);
    simd::walkPeelStepsRest<4, sizeof(float), L::width>(
        c.sum, count,
        [&](uint32_t first, uint32_t n) {
            for (uint32_t k = first; k < first + n; ++k) {
                c.sum[k] = one(c.sum[k], c.cycle[k], k);
                c.mean[k] = c.sum[k] / divisor;
            }
        },
        [&](uint32_t k) {
            const __m256 sum = block(L::loadu(c.sum + k), L::loadu(c.cycle + k), k);
            _mm256_storeu_ps(c.sum + k, sum);
            _mm256_storeu_ps(c.mean + k, _mm256_div_ps(sum, d));
        });
}

void foldRunning(const RunningCurves& c, uint32_t count, uint64_t n, uint32_t windowCycles)
{
    if (n == 0) {
        std::memcpy(c.sum, c.cycle, count * sizeof(float));
        std::memcpy(c.mean, c.cycle, count * sizeof(float));
    } else if (n < windowCycles) {
        foldPositions(c, count, simd::fromUint64<float>(n) + 1.0f,
                      [](__m256 sum, __m256 cycle, uint32_t) { return simd::addInOrder(sum, cycle); },
                      [](float sum, float cycle, uint32_t) { return simd::addInOrder(sum, cycle); });
    } else {
        foldPositions(c, count, simd::convertOne<float>(windowCycles),
                      [&c](__m256 sum, __m256 cycle, uint32_t k) {
                          return _mm256_sub_ps(simd::addInOrder(sum, cycle), L::loadu(c.leaving + k));
                      },
                      [&c](float sum, float cycle, uint32_t k) { return simd::addInOrder(cycle - c.leaving[k], sum); });
    }
}

}  // namespace
}  // namespace qx::ca

extern "C" void QXCALC_CALL qxCalcCARunningVal(const float* cycleValues, const float* leavingValues, float* sumValues,
                                               float* meanValues, uint32_t first, uint32_t last, uint64_t cycleCount,
                                               uint32_t windowCycles)
{
    qx::ca::foldRunning({cycleValues, leavingValues, sumValues, meanValues}, last - first + 1, cycleCount,
                        windowCycles);
}
