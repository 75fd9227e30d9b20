// qxcalcCACalcAveFilter_double_scalar, qxcalcCACalcAveFilter_double: centred
// moving average of a window of w = windowLength | 1 samples (an even length
// grows by one; 0 becomes 1), half = w / 2 on each side. output[half .. count-1-half]
// are the slid means; the first half outputs repeat the first mean and the
// last half the last one. input and output must not overlap (the first
// outputs are written before the slide reads input again).
//
// The mean slides by re-scaling it to a sum at every step,
//   m = ((m * w + entering) - leaving) / w,
// without a separate running sum; its rounding is part of the result.
//
// _scalar forms the first mean as a running mean, m = (k * m + input[k]) / (k + 1),
// and slides once over the whole array.
// The vector form hands arrays of at most 63 samples, and windows longer than
// count / 32, to _scalar. Otherwise it splits the array into five segments of
// seg = (count + 4) / 5, each slid from its own plain-sum mean
// (0.0 + x0 + x1 + ... in index order, divided by w): segments 0..3 in the
// four lanes of one vector, segment 4 on its own. So its results differ
// from _scalar's in the last bits, from the first segment boundary on.
//
// Counts below w (for which the slide would run outside the buffers) return
// at once without writing output.

#include <algorithm>
#include <cstddef>

#include "qxcalc.h"
#include "simd/ordered.h"
#include "simd/walk.h"

namespace qx::ca {
namespace {

struct Window {
    uint32_t length, half;
    double w;
};
Window windowOf(uint16_t windowLength)
{
    const uint32_t length = windowLength | 1u;
    return {length, length / 2, static_cast<double>(length)};
}

// One step of the slide, on one mean or on four lanes of means.
template <class V>
QX_INLINE V slide(V mean, V w, V entering, V leaving)
{
    return (simd::addInOrder(mean * w, entering) - leaving) / w;
}

void averageOneByOne(const double* input, double* output, uint16_t windowLength, uint32_t count)
{
    const Window win = windowOf(windowLength);
    if (count < win.length) return;
    double mean = simd::addInOrder(0.0, input[0]);
    for (uint32_t k = 1; k < win.length; ++k)
        mean = simd::addInOrder(static_cast<double>(k) * mean, input[k]) / static_cast<double>(k + 1);
    std::fill(output, output + win.half + 1, mean);
    const uint32_t lastSlid = count - 1 - win.half;
    for (uint32_t j = win.half + 1; j <= lastSlid; ++j) {
        mean = slide(mean, win.w, input[j + win.half], input[j - win.half - 1]);
        output[j] = mean;
    }
    std::fill(output + lastSlid, output + count, mean);
}

double plainMean(const double* x, const Window& win)
{
    double sum = simd::addInOrder(0.0, x[0]);
    for (uint32_t i = 1; i < win.length; ++i) sum = simd::addInOrder(sum, x[i]);
    return sum / win.w;
}

// Array lengths and windows the segmented form takes.
constexpr uint32_t kFewestSamplesForSegments = 64;
constexpr uint32_t kSamplesPerWindowSampleShift = 5;  // windowLength <= count / 32

void averageBySegments(const double* input, double* output, uint16_t windowLength, uint32_t count)
{
    const Window win = windowOf(windowLength);
    const uint32_t seg = (count + 4) / 5;
    const std::ptrdiff_t s = seg;

    // Segments 0..3, lane k sliding over input[k * seg ...], output[k * seg + half + t].
    __m256d means = _mm256_setr_pd(plainMean(input, win), plainMean(input + s, win), plainMean(input + 2 * s, win),
                                   plainMean(input + 3 * s, win));
    std::fill(output, output + win.half + 1, _mm256_cvtsd_f64(means));
    const __m256d w = _mm256_set1_pd(win.w);
    const auto fourSegments = [s](const double* p) { return _mm256_setr_pd(p[0], p[s], p[2 * s], p[3 * s]); };
    simd::forEachInOrder<2>(seg, [&](std::size_t step) {
        const std::size_t t = step + 1;
        means = slide(means, w, fourSegments(input + 2 * win.half + t), fourSegments(input + t - 1));
        double* out = output + win.half + t;
        const __m128d low = _mm256_castpd256_pd128(means), high = _mm256_extractf128_pd(means, 1);
        _mm_storel_pd(out, low);
        _mm_storeh_pd(out + s, low);
        _mm_storel_pd(out + 2 * s, high);
        _mm_storeh_pd(out + 3 * s, high);
    });

    // Segment 4, one at a time from its own plain-sum mean.
    double mean = plainMean(input + 4 * s, win);
    const uint32_t first = 4 * seg + win.half + 1, lastSlid = count - 1 - win.half;
    const uint32_t steps = lastSlid >= first ? lastSlid - first + 1 : 0;
    simd::forEachInOrder<8>(steps, [&](std::size_t i) {
        const std::size_t j = first + i;
        mean = slide(mean, win.w, input[j + win.half], input[j - win.half - 1]);
        output[j] = mean;
    });
    std::fill(output + lastSlid, output + count, mean);
}

}  // namespace
}  // namespace qx::ca

extern "C" {

void QXCALC_CALL qxcalcCACalcAveFilter_double_scalar(const double* input, double* output, uint16_t windowLength,
                                                     uint32_t count)
{
    qx::ca::averageOneByOne(input, output, windowLength, count);
}

void QXCALC_CALL qxcalcCACalcAveFilter_double(const double* input, double* output, uint16_t windowLength,
                                              uint32_t count)
{
    using namespace qx::ca;
    if (count < kFewestSamplesForSegments || windowLength > (count >> kSamplesPerWindowSampleShift))
        averageOneByOne(input, output, windowLength, count);
    else averageBySegments(input, output, windowLength, count);
}

}  // extern "C"
