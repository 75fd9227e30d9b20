// Scalar models of the cycle-analysis exports: the fast logarithm and what sets each vector path apart.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "support/lane_model.h"

namespace qxtest {

// The fast logarithm's constants: the cubic's coefficients and log2(10), in double and in float.
constexpr float kC0 = std::bit_cast<float>(0xBDDBA835u);
constexpr float kC1 = std::bit_cast<float>(0x3F3030C0u);
constexpr float kC2 = std::bit_cast<float>(0x3FE0D411u);
constexpr float kC3 = std::bit_cast<float>(0x402786EEu);
constexpr double kLog2Of10Double = 3.3219281;
constexpr float kLog2Of10Float = std::bit_cast<float>(0x40549A78u);

// log2|x| by the cubic; divided by log2(10) in double (scalar) or in float (lanes).
inline float fastLog2Model(float x)
{
    const uint32_t b = std::bit_cast<uint32_t>(x);
    const float m = std::bit_cast<float>((b & 0x007FFFFFu) | 0x3F800000u);
    const float e = static_cast<float>(static_cast<int>((b >> 23) & 0xFF) - 127);
    return e + (m - 1.0f) * (((m * kC0 + kC1) * m - kC2) * m + kC3);
}
inline float fastLog10Model(float x) { return static_cast<float>(fastLog2Model(x) / kLog2Of10Double); }
inline float fastLog10LanesModel(float x) { return fastLog2Model(x) / kLog2Of10Float; }

constexpr float kRatioFloor = std::bit_cast<float>(0x3089705Fu);

// Axis positions: under 8 values halves away from zero, clamped to minValue first; from 8 on the current
// rounding mode, maxValue first. Out-of-range and NaN values become INT32_MIN. pos(x, lanes) is unrounded.
template <class Position>
void modelAxis(const float* in, uint32_t n, int32_t* out, int32_t lo, int32_t hi, Position pos)
{
    const auto toInt = [](double r) {
        return r >= -2147483648.0 && r < 2147483648.0 ? static_cast<int32_t>(r) : INT32_MIN;
    };
    for (uint32_t i = 0; i < n; ++i) {
        const double v = pos(in[i], n >= 8);
        if (n >= 8) out[i] = std::max(std::min(toInt(std::nearbyint(static_cast<float>(v))), hi), lo);
        else out[i] = std::min(std::max(toInt(std::trunc(v < 0 ? v - 0.5 : v + 0.5)), lo), hi);
    }
}

// The dot-product filter over n taps with `oldest` = samples[1 - n]: short ones newest first from
// product + 0.0; else four lanes over head, body and tail blocks, reduced (l0 + l2) + (l1 + l3).
template <class T>
float modelFilter(const T* oldest, uint32_t n, const float* c, std::ptrdiff_t stride)
{
    const auto product = [&](uint32_t j, bool kept) {
        const float x = static_cast<float>(oldest[j]);
        return mulX86(kept ? x : mulX86(x, 0.0f), c[static_cast<std::ptrdiff_t>(n - 1 - j) * stride]);
    };
    constexpr uint32_t W = sizeof(T) == 2 ? 8 : 4;
    if (n < W) {
        float sum = 0;
        for (uint32_t j = n; j-- > 0;)
            sum = j + 1 == n ? addX86(product(j, true), 0.0f) : addX86(sum, product(j, true));
        return sum;
    }
    float lanes[4] = {0, 0, 0, 0};  // a block's samples outside [from, to) are multiplied by 0.0 first
    const auto addBlock = [&](uint32_t start, uint32_t from, uint32_t to) {
        for (uint32_t p = 0; p < W; ++p) lanes[p % 4] = addX86(lanes[p % 4], product(start + p, p >= from && p < to));
    };
    // The head keeps the samples before a 16-byte boundary (a whole block when there is none).
    uint32_t at = peelOf<16>(oldest) == 0 ? W : peelOf<16>(oldest);
    addBlock(0, 0, at);
    for (; at + W <= n; at += W) addBlock(at, 0, W);
    if (at < n) addBlock(n - W, W - (n - at), W);
    return addX86(addX86(lanes[0], lanes[2]), addX86(lanes[1], lanes[3]));
}

// The moving averages over w = windowLength | 1 (counts below w write nothing): _scalar slides once from a
// running mean; the vector form, from 64 samples and windows up to n / 32, five segments from plain sums.
inline void modelAverage(const double* in, double* out, uint16_t windowLength, uint32_t n, bool vectorForm)
{
    const uint32_t w = windowLength | 1u, half = w / 2, seg = (n + 4) / 5;
    const uint32_t segments = vectorForm && n >= 64 && windowLength <= n / 32 ? 5 : 1;
    if (n < w) return;
    double m = 0;
    for (uint32_t k = 0; k < segments; ++k) {
        const double* x = in + k * seg;
        m = addX86(0.0, x[0]);
        for (uint32_t i = 1; i < w; ++i) m = segments == 1 ? addX86(i * m, x[i]) / (i + 1) : addX86(m, x[i]);
        if (segments == 5) m /= w;
        if (k == 0) std::fill(out, out + half + 1, m);
        const uint32_t last = k + 1 < segments ? (k + 1) * seg + half : n - 1 - half;
        for (uint32_t j = k * seg + half + 1; j <= last; ++j)
            out[j] = m = (addX86(m * w, in[j + half]) - in[j - half - 1]) / w;
    }
    std::fill(out + n - 1 - half, out + n, m);
}

// The cumulative mean: blocks of 8 in double, lane maxima from the smallest normal; the rest in float.
inline void modelOverall(const float* cycle, float* overall, uint32_t n, uint64_t cycles, float* maxValue)
{
    float lanes[8];
    std::fill(lanes, lanes + 8, std::bit_cast<float>(0x00800000u));
    const double nd = static_cast<double>(cycles);
    for (uint32_t k = 0; k < n / 8 * 8; ++k) {
        overall[k] = static_cast<float>(addX86(overall[k] * nd, static_cast<double>(cycle[k])) / (nd + 1.0));
        lanes[k % 8] = laneMax(lanes[k % 8], overall[k]);
    }
    *maxValue = reduceHalving(lanes, 8, laneMax<float>);
    for (uint32_t k = n / 8 * 8; k < n; ++k) {
        overall[k] = addX86(static_cast<float>(cycles) * overall[k], cycle[k]) / static_cast<float>(cycles + 1);
        if (overall[k] > *maxValue) *maxValue = overall[k];
    }
}

// The running mean: the first cycle copied; then the sum grows by each cycle, and from `window` cycles on the
// leaving cycle is taken off (whole vectors of 8 add first, the rest subtracts first).
inline void modelRunning(const float* cycle, const float* leaving, float* sum, float* mean, uint32_t n,
                         uint64_t cycles, uint32_t window)
{
    for (uint32_t k = 0; k < n; ++k) {
        if (cycles == 0) sum[k] = cycle[k];
        else if (cycles < window) sum[k] = addX86(sum[k], cycle[k]);
        else if (k < n / 8 * 8) sum[k] = addX86(sum[k], cycle[k]) - leaving[k];
        else sum[k] = addX86(cycle[k] - leaving[k], sum[k]);
        if (cycles == 0) mean[k] = cycle[k];
        else mean[k] = sum[k] / (cycles < window ? static_cast<float>(cycles) + 1.0f : static_cast<float>(window));
    }
}

}  // namespace qxtest
