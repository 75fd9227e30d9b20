// Scalar models of the cycle-analysis exports, written from the library's
// contract: the fast logarithm's steps, the two rounding/clamping rules of
// the axis positions, the filter's lane split with its masked ends, the two
// moving-average forms and the cycle means' block/remainder split.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "support/lane_model.h"

namespace qxtest {

// log2|x| by the stated cubic; the scalar form divides in double, the lane
// form in single precision.
inline float fastLog2Model(float x)
{
    const uint32_t b = std::bit_cast<uint32_t>(x);
    const float m = std::bit_cast<float>((b & 0x007FFFFFu) | 0x3F800000u);
    const auto e = static_cast<float>(static_cast<int>((b >> 23) & 0xFF) - 127);
    float p = m * std::bit_cast<float>(0xBDDBA835u) + std::bit_cast<float>(0x3F3030C0u);
    p = p * m - std::bit_cast<float>(0x3FE0D411u);
    p = p * m + std::bit_cast<float>(0x402786EEu);
    return e + (m - 1.0f) * p;
}
inline float fastLog10Model(float x) { return static_cast<float>(fastLog2Model(x) / 3.3219281); }
inline float fastLog10LanesModel(float x) { return fastLog2Model(x) / std::bit_cast<float>(0x40549A78u); }

constexpr float kRatioFloor = std::bit_cast<float>(0x3089705Fu);

// Axis positions: under 8 values halves away from zero and minValue then
// maxValue; from 8 on the current rounding mode and maxValue then minValue.
inline int32_t toInt32OrMin(double r) { return r >= -2147483648.0 && r < 2147483648.0 ? static_cast<int32_t>(r) : INT32_MIN; }
inline int32_t sequentialPosition(float v, int32_t lo, int32_t hi)
{
    const double d = v;
    int32_t r = toInt32OrMin(std::trunc(d < 0 ? d - 0.5 : d + 0.5));
    if (r <= lo) r = lo;
    return r >= hi ? hi : r;
}
inline int32_t lanePosition(float v, int32_t lo, int32_t hi)
{
    const int32_t r = toInt32OrMin(std::nearbyint(v));
    return std::max(std::min(r, hi), lo);
}
// pos(x, vectorPath) gives the unrounded position of one value.
template <class Position>
void modelAxis(const float* in, uint32_t n, int32_t* out, int32_t lo, int32_t hi, Position pos)
{
    for (uint32_t i = 0; i < n; ++i)
        out[i] = n < 8 ? sequentialPosition(pos(in[i], false), lo, hi) : lanePosition(pos(in[i], true), lo, hi);
}

// The dot-product filter over n taps with `oldest` = samples[1 - n].
template <class T>
float modelFilter(const T* oldest, uint32_t n, const float* c, std::ptrdiff_t stride)
{
    const auto coefficientOf = [&](uint32_t j) { return c[static_cast<std::ptrdiff_t>(n - 1 - j) * stride]; };
    constexpr uint32_t W = sizeof(T) == 2 ? 8 : 4;
    if (n == 0) return 0.0f;
    if (n < W) {
        float sum = addX86(mulX86(static_cast<float>(oldest[n - 1]), coefficientOf(n - 1)), 0.0f);
        for (uint32_t j = n - 1; j-- > 0;) sum = addX86(sum, mulX86(static_cast<float>(oldest[j]), coefficientOf(j)));
        return sum;
    }
    float lanes[4] = {0, 0, 0, 0};
    // Block at `start`; lanes p outside [from, to) count as sample * 0.0.
    const auto addBlock = [&](uint32_t start, uint32_t from, uint32_t to) {
        for (uint32_t p = 0; p < W; ++p) {
            const float x = static_cast<float>(oldest[start + p]);
            lanes[p % 4] = addX86(lanes[p % 4], mulX86(p >= from && p < to ? x : mulX86(x, 0.0f), coefficientOf(start + p)));
        }
    };
    const uint32_t peel = peelOf<16>(oldest), head = peel == 0 ? W : peel;
    addBlock(0, 0, head);
    uint32_t at = head;
    for (; at + W <= n; at += W) addBlock(at, 0, W);
    if (at < n) addBlock(n - W, W - (n - at), W);
    return addX86(addX86(lanes[0], lanes[2]), addX86(lanes[1], lanes[3]));
}

// The moving averages over w = windowLength | 1; counts below w write nothing.
inline double slideModel(double m, double w, double entering, double leaving) { return (addX86(m * w, entering) - leaving) / w; }
inline double plainMeanModel(const double* x, uint32_t w)
{
    double s = addX86(0.0, x[0]);
    for (uint32_t i = 1; i < w; ++i) s = addX86(s, x[i]);
    return s / w;
}
inline void modelAverageScalar(const double* in, double* out, uint16_t windowLength, uint32_t n)
{
    const uint32_t w = windowLength | 1u, half = w / 2;
    if (n < w) return;
    double m = addX86(0.0, in[0]);
    for (uint32_t k = 1; k < w; ++k) m = addX86(k * m, in[k]) / (k + 1);
    for (uint32_t j = 0; j <= half; ++j) out[j] = m;
    for (uint32_t j = half + 1; j + half < n; ++j) out[j] = m = slideModel(m, w, in[j + half], in[j - half - 1]);
    for (uint32_t j = n - 1 - half; j < n; ++j) out[j] = m;
}
inline void modelAverage(const double* in, double* out, uint16_t windowLength, uint32_t n)
{
    if (n < 64 || windowLength > n / 32) return modelAverageScalar(in, out, windowLength, n);
    const uint32_t w = windowLength | 1u, half = w / 2, seg = (n + 4) / 5;
    for (uint32_t k = 0; k < 5; ++k) {
        double m = plainMeanModel(in + k * seg, w);
        if (k == 0)
            for (uint32_t j = 0; j <= half; ++j) out[j] = m;
        const uint32_t end = k < 4 ? (k + 1) * seg + half : n - 1 - half;  // last output slid by segment k
        for (uint32_t j = k * seg + half + 1; j <= end; ++j) out[j] = m = slideModel(m, w, in[j + half], in[j - half - 1]);
        if (k == 4)
            for (uint32_t j = n - 1 - half; j < n; ++j) out[j] = m;
    }
}

// The cumulative mean: whole blocks of 8 in double with lane maxima from the
// smallest normal float, the rest in float against the stored maximum.
inline void modelOverall(const float* cycle, float* overall, uint32_t n, uint64_t cycles, float* maxValue)
{
    float lanes[8];
    std::fill(lanes, lanes + 8, std::bit_cast<float>(0x00800000u));
    const double nd = static_cast<double>(cycles);
    const uint32_t blocked = n / 8 * 8;
    for (uint32_t k = 0; k < blocked; ++k) {
        overall[k] = static_cast<float>(addX86(overall[k] * nd, static_cast<double>(cycle[k])) / (nd + 1.0));
        lanes[k % 8] = laneMax(lanes[k % 8], overall[k]);
    }
    *maxValue = reduceHalving(lanes, 8, laneMax<float>);
    const float nf = static_cast<float>(cycles), mf = static_cast<float>(cycles + 1);
    for (uint32_t k = blocked; k < n; ++k) {
        overall[k] = addX86(nf * overall[k], cycle[k]) / mf;
        if (overall[k] > *maxValue) *maxValue = overall[k];
    }
}

// The windowed running sum and mean, three cases by the cycle count.
inline void modelRunning(const float* cycle, const float* leaving, float* sum, float* mean, uint32_t n, uint64_t cycles,
                         uint32_t window)
{
    for (uint32_t k = 0; k < n; ++k) {
        if (cycles == 0) sum[k] = mean[k] = cycle[k];
        else if (cycles < window) sum[k] = addX86(sum[k], cycle[k]), mean[k] = sum[k] / (static_cast<float>(cycles) + 1.0f);
        else {
            sum[k] = k < n / 8 * 8 ? addX86(sum[k], cycle[k]) - leaving[k] : addX86(cycle[k] - leaving[k], sum[k]);
            mean[k] = sum[k] / static_cast<float>(window);
        }
    }
}

}  // namespace qxtest
