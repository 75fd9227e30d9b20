// Cycle analysis: the dot-product filter (one output over a block of taps, in
// multiply-accumulates per second), the centred moving average, axis
// positions, raw cycle data into a channel with the offset removed and the
// maximum found, the in-place precision conversions, and the folding of a
// cycle into the overall and running curves. A conversion changes its own
// buffer, so before every run the buffer gets its starting contents back by a
// memcpy whose own time is subtracted.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "harness.h"
#include "qxcalc.hpp"

#ifdef QXCALC_BENCH_PEERS
#include <volk/volk.h>
#endif

namespace qxbench {
namespace {

constexpr float kSmallestNormal = 1.17549435e-38f;

__attribute__((noipa)) void plainCopyRaw(const float* raw, float* channel, uint32_t n, float offset)
{
    float best = kSmallestNormal;
    uint32_t at = 0xFFFFFFFF;
    for (uint32_t i = 0; i < n; ++i) {
        channel[i] = raw[i] - offset;
        if (channel[i] > best) best = channel[i], at = i;
    }
    keep(best), keep(at);
}

// Element i of the buffer read as From and written as To: front to back when
// narrowing, back to front when widening (memcpy: the two types alias).
template <class From, class To>
__attribute__((noipa)) void plainInPlace(void* data, uint32_t n)
{
    auto* bytes = static_cast<unsigned char*>(data);
    for (uint32_t k = 0; k < n; ++k) {
        const uint32_t i = sizeof(To) < sizeof(From) ? k : n - 1 - k;
        From from;
        std::memcpy(&from, bytes + i * sizeof(From), sizeof from);
        const To to = static_cast<To>(from);
        std::memcpy(bytes + i * sizeof(To), &to, sizeof to);
    }
}

template <class T>
__attribute__((noipa)) float plainDotFilter(const T* newest, uint32_t n, const float* c, uint32_t stride)
{
    float sum = 0;
    for (uint32_t i = 0; i < n; ++i) sum += static_cast<float>(newest[-static_cast<int32_t>(i)]) * c[i * stride];
    return sum;
}

// The taps and the coefficients in the same order in memory, newest sample last.
template <class T>
Row dotFilterRow(const char* job, uint32_t stride)
{
    return {4, job, Unit::Macs, [=](std::size_t bytes) {
                const Block<T> x = blockOfBytes<T>(bytes);
                const Block<float> c = block<float>(std::size_t{x.n} * stride, 2);
                const T* newest = x.data() + x.n - 1;
                Case k;
                k.work = x.n;
                k.ours = [=] { keep(qxcalc::Exports<T>::caCalcFilter(newest, x.n, c.data(), stride)); };
                k.scalar = [=] { keep(plainDotFilter(newest, x.n, c.data(), stride)); };
#ifdef QXCALC_BENCH_PEERS
                if constexpr (std::is_same_v<T, float>) {
                    if (stride == 1) {
                        const Block<float> reversed = block<float>(x.n);
                        std::reverse_copy(c.data(), c.data() + x.n, reversed.data());
                        k.peers = {{"VOLK x2_dot_prod_32f (taps stored reversed)", [=] {
                                        float sum;
                                        volk_32f_x2_dot_prod_32f(&sum, x.data(), reversed.data(), x.n);
                                        keep(sum);
                                    }}};
                    }
                }
#endif
                k.input = x.data(), k.inputBytes = bytes, k.bytesPerWork = sizeof(T) + sizeof(float);
                return k;
            }};
}

// The mean over a window sliding one sample at a time, as a host keeps it.
__attribute__((noipa)) void plainMovingAverage(const double* in, double* out, uint32_t w, uint32_t n)
{
    const uint32_t half = w / 2;
    double sum = 0;
    for (uint32_t i = 0; i < w; ++i) sum += in[i];
    for (uint32_t i = half; i + half < n; ++i) {
        out[i] = sum / w;
        if (i + half + 1 < n) sum += in[i + half + 1] - in[i - half];
    }
    std::fill(out, out + half, out[half]);
    std::fill(out + n - half, out + n, out[n - half - 1]);
}

template <bool vector>
Row movingAverageRow(const char* job)
{
    return {4, job, Unit::Bytes, [](std::size_t bytes) {
                constexpr uint16_t kWindow = 15;
                const Block<double> in = blockOfBytes<double>(bytes), out = blockOfBytes<double>(bytes);
                Case c;
                c.work = 2.0 * static_cast<double>(bytes);
                c.ours = [=] {
                    (vector ? qxcalcCACalcAveFilter_double : qxcalcCACalcAveFilter_double_scalar)(in.data(), out.data(),
                                                                                                kWindow, in.n);
                };
                c.scalar = [=] { plainMovingAverage(in.data(), out.data(), kWindow, in.n); };
                c.input = in.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

// Axis positions over a range of 0 .. 1000 pixels.
template <bool logarithmic>
__attribute__((noipa)) void plainAxis(const float* x, uint32_t n, int32_t* out, float scale, float offset, float reference)
{
    for (uint32_t i = 0; i < n; ++i) {
        const float v = logarithmic ? std::log10(std::max(x[i] / reference, 1e-9f)) * scale + offset : x[i] * scale + offset;
        out[i] = std::clamp(static_cast<int32_t>(std::lrint(v)), 0, 1000);
    }
}

template <bool logarithmic>
Row axisRow(const char* job)
{
    return {4, job, Unit::Bytes, [](std::size_t bytes) {
                const Block<float> x = blockOfBytes<float>(bytes);
                const Block<int32_t> out = block<int32_t>(x.n);
                Case c;
                c.work = 2.0 * static_cast<double>(bytes);
                if constexpr (logarithmic) c.ours = [=] { qxcalcCAPV_log(x.data(), x.n, out.data(), 0, 1000, 100, 500, 1); };
                else c.ours = [=] { qxcalcCAPV_lin(x.data(), x.n, out.data(), 0, 1000, 0.05f, 500); };
                c.scalar = [=] { plainAxis<logarithmic>(x.data(), x.n, out.data(), logarithmic ? 100 : 0.05f, 500, 1); };
#ifdef QXCALC_BENCH_PEERS
                // VOLK's conversion scales and rounds but neither offsets nor clamps.
                if constexpr (logarithmic) {
                    const Block<float> logs = block<float>(x.n);
                    c.peers = {{"VOLK log2_32f, s32f_convert_32i", [=] {
                                    volk_32f_log2_32f(logs.data(), x.data(), x.n);
                                    volk_32f_s32f_convert_32i(out.data(), logs.data(), 100 * 0.30103f, x.n);
                                }}};
                } else {
                    c.peers = {{"VOLK s32f_convert_32i", [=] { volk_32f_s32f_convert_32i(out.data(), x.data(), 0.05f, x.n); }}};
                }
#endif
                c.input = x.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

Row copyRawRow()
{
    return {4, "CACopyRawDataToChannels", Unit::Bytes, [](std::size_t bytes) {
                const Block<float> raw = blockOfBytes<float>(bytes), channel = blockOfBytes<float>(bytes);
                Case c;
                c.work = 2.0 * static_cast<double>(bytes);
                c.ours = [=] {
                    float best;
                    uint32_t at;
                    qxCalcCACopyRawDataToChannels(raw.data(), channel.data(), 0, raw.n, 0.5f, &best, &at);
                    keep(at);
                };
                c.scalar = [=] { plainCopyRaw(raw.data(), channel.data(), raw.n, 0.5f); };
#ifdef QXCALC_BENCH_PEERS
                c.peers = {{"VOLK s32f_add_32f, index_max_32u", [=] {
                                uint32_t at;
                                volk_32f_s32f_add_32f(channel.data(), raw.data(), -0.5f, raw.n);
                                volk_32f_index_max_32u(&at, channel.data(), raw.n);
                                keep(at);
                            }}};
#endif
                c.input = raw.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

// From: the type the conversion reads; the buffer holds n values of the wider type.
template <class From, class To>
Row inPlaceRow(const char* job)
{
    return {4, job, Unit::Bytes, [](std::size_t bytes) {
                const uint32_t n = static_cast<uint32_t>(bytes / sizeof(From));
                const Block<double> buffer = block<double>(n), start = block<double>(n);
                if constexpr (sizeof(From) == 4) qxcalc::Exports<To>::caConvertInplace(start.data(), n);
                Case c;
                c.work = static_cast<double>(n * (sizeof(From) + sizeof(To)));
                c.restore = [=] { std::memcpy(buffer.data(), start.data(), bytes); };
                c.scalar = [=] { plainInPlace<From, To>(buffer.data(), n); };
                c.ours = [=] { qxcalc::Exports<From>::caConvertInplace(buffer.data(), n); };
#ifdef QXCALC_BENCH_PEERS
                const auto* from = reinterpret_cast<const From*>(buffer.data());
                const Block<To> out = block<To>(n);
                if constexpr (sizeof(From) == 8)
                    c.peers = {{"VOLK 64f_convert_32f (out of place)", [=] { volk_64f_convert_32f(out.data(), from, n); }}};
                else
                    c.peers = {{"VOLK 32f_convert_64f (out of place)", [=] { volk_32f_convert_64f(out.data(), from, n); }}};
#endif
                c.input = buffer.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

// The curves stay the same from run to run: the overall mean of a curve with
// itself, and a running sum whose leaving cycle equals the entering one.
__attribute__((noipa)) void plainOverall(const float* cycle, float* overall, uint32_t n, uint64_t cycles)
{
    float best = kSmallestNormal;
    for (uint32_t i = 0; i < n; ++i) {
        overall[i] = (overall[i] * static_cast<float>(cycles) + cycle[i]) / static_cast<float>(cycles + 1);
        best = overall[i] > best ? overall[i] : best;
    }
    keep(best);
}

__attribute__((noipa)) void plainRunning(const float* cycle, const float* leaving, float* sum, float* mean, uint32_t n,
                                            uint32_t window)
{
    for (uint32_t i = 0; i < n; ++i) {
        sum[i] = sum[i] + cycle[i] - leaving[i];
        mean[i] = sum[i] / static_cast<float>(window);
    }
}

Row overallRow()
{
    return {4, "CAOverallPressure", Unit::Bytes, [](std::size_t bytes) {
                const Block<float> cycle = blockOfBytes<float>(bytes), overall = blockOfBytes<float>(bytes);
                Case c;
                c.work = 3.0 * static_cast<double>(bytes);
                c.ours = [=] {
                    float best;
                    qxCalcCAOverallPressure(cycle.data(), overall.data(), 0, cycle.n, 10, &best);
                    keep(best);
                };
                c.scalar = [=] { plainOverall(cycle.data(), overall.data(), cycle.n, 10); };
                c.input = cycle.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

Row runningRow()
{
    return {4, "CARunningVal, window full", Unit::Bytes, [](std::size_t bytes) {
                const Block<float> cycle = blockOfBytes<float>(bytes), leaving = blockOfBytes<float>(bytes),
                                   sum = blockOfBytes<float>(bytes), mean = blockOfBytes<float>(bytes);
                Case c;
                c.work = 5.0 * static_cast<double>(bytes);
                c.ours = [=] { qxCalcCARunningVal(cycle.data(), leaving.data(), sum.data(), mean.data(), 0, cycle.n - 1, 100, 50); };
                c.scalar = [=] { plainRunning(cycle.data(), leaving.data(), sum.data(), mean.data(), cycle.n, 50); };
                c.input = cycle.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

const Rows rows({
    dotFilterRow<float>("CACalcFilter_float, stride 1", 1),
    dotFilterRow<float>("CACalcFilter_float, stride 2", 2),
    dotFilterRow<int16_t>("CACalcFilter_int16_t, stride 1", 1),
    dotFilterRow<int32_t>("CACalcFilter_int32_t, stride 1", 1),
    movingAverageRow<true>("CACalcAveFilter_double, window 15"),
    movingAverageRow<false>("CACalcAveFilter_double_scalar, window 15"),
    axisRow<false>("CAPV_lin"),
    axisRow<true>("CAPV_log"),
    copyRawRow(),
    inPlaceRow<double, float>("CADoubleArrToSingleArrInplace"),
    inPlaceRow<float, double>("CASingleArrToDoubleArrInplace"),
    overallRow(),
    runningRow(),
});

}  // namespace
}  // namespace qxbench
