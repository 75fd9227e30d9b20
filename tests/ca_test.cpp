// Cycle analysis against the scalar models (filters and axes through the C++ layer); what random data never meets.
#include <gtest/gtest.h>

#include <random>

#include "qxcalc.hpp"
#include "support/ca_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

// Exact values: each path's own logarithm form shows in |L| * 2^25, an integer for 0.25 <= |L| < 64 (the forms
// differ at 3 and 7); halves round away from zero on the short path and in the current mode on the vector path.
// On the logarithmic axis the negative ones take the floor, whose logarithm is computed in the current mode too.
void fillExact(std::byte* to, std::size_t n, DataSet, uint32_t seed)
{
    static constexpr float kValues[] = {3.0f, 7.0f, 0.5f, 100.0f, 2.5f, -2.5f, 3.5f, -0.5f, 1.25f, -1.75f};
    std::mt19937 rng(seed);
    for (float* p = reinterpret_cast<float*>(to); n-- > 0;) *p++ = kValues[rng() % 10];
}

// Special values with every other sample a NaN of its own payload (signalling one time in two), so that the NaNs of
// two buffers meet element by element, as random special values seldom make them.
void fillNaNDense(std::byte* to, std::size_t n, DataSet set, uint32_t seed)
{
    fillSamples<float>(to, n, set, seed);
    for (std::size_t i = 0; set == DataSet::Specials && i < n; i += 2)
        reinterpret_cast<float*>(to)[i] = nanWithPayload<float>(seed + static_cast<unsigned>(i), i % 4 == 2);
}

TEST(CAPositions, BothAxesMatchTheModelForEveryCountStartAndFence)
{
    struct Axis {
        int32_t lo, hi;
        float scale, offset, reference, logScale;
    };
    const Axis axes[] = {{-300000, 300000, 0.37f, 0.5f, 1000.0f, 1.0e5f},
                         {10, 5, 0.37f, 0.5f, 1000.0f, 1.0e5f},
                         {INT32_MIN, INT32_MAX, 1.0f, 0.0f, 1.0f, 0x1p25f}};
    for (const Axis& a : axes)
        for (const bool log : {false, true}) {
            // The unrounded position on the path that `lanes` names.
            const auto position = [=](float x, bool lanes) {
                if (!log) return a.scale * x + a.offset;
                float q = x / a.reference;
                if (lanes ? !(q > kRatioFloor) : q < 1.0e-9) q = kRatioFloor;  // the lanes floor NaN too
                return (lanes ? fastLog10LanesModel(q) : fastLog10Model(q)) * a.logScale + a.offset;
            };
            BlockSpec input = block<float>("input", Role::In);
            if (a.hi == INT32_MAX) input.fill = fillExact;
            sweep({std::string(log ? "CAPV_log" : "CAPV_lin") + " up to " + std::to_string(a.hi),
                   {input, block<int32_t>("output", Role::Out)},
                   [=](const Blocks& b, uint32_t n) {
                       const std::span<const float> in(b.at<float>(0), n);
                       const std::span<int32_t> out(b.at<int32_t>(1), n);
                       if (log) qxcalc::caPVLog(in, out, a.lo, a.hi, a.logScale, a.offset, a.reference);
                       else qxcalc::caPVLin(in, out, a.lo, a.hi, a.scale, a.offset);
                   },
                   [=](const Blocks& b, uint32_t n) {
                       modelAxis(b.at<float>(0), n, b.at<int32_t>(1), a.lo, a.hi, position);
                   },
                   countsAround({8})});
        }
}

// Every sample type; then a sample under a zeroed head lane: zeroed before its coefficient, so no inf * 0.
TEST(CAFilter, MatchesTheModelForEveryTypeCountStrideStartAndFence)
{
    const auto sweepFilter = [](auto sample) {
        using T = decltype(sample);
        for (const uint32_t stride : {1u, 3u}) {
            const auto taps = [=](uint32_t n) { return n ? std::size_t{(n - 1) * stride + 1} : 0; };
            sweep({"CACalcFilter, " + std::to_string(sizeof(T)) + "-byte samples, stride " + std::to_string(stride),
                   {block<T>("samples", Role::In), scalar<float>("result", Role::Out, 77.0f),
                    block<float>("coefficients", Role::In, 4, taps)},
                   [=](const Blocks& b, uint32_t n) {
                       const std::span<const T> samples(b.at<T>(0), n);
                       *b.at<float>(1) = qxcalc::caCalcFilter(samples, {b.at<float>(2), taps(n)}, stride);
                   },
                   [=](const Blocks& b, uint32_t n) {
                       *b.at<float>(1) = modelFilter(b.at<T>(0), n, b.at<float>(2), stride);
                   },
                   countsAround({4, 8}, 0, 300, {1000})});
        }
    };
    sweepFilter(0.0f);
    sweepFilter(int16_t{});
    sweepFilter(int32_t{});
    alignas(16) float samples[8] = {1, 1, 1, 1, 1e30f, 1, 1, 1};  // from samples + 1 the head zeroes samples[4]
    const float coefficients[7] = {1, 1, 1, 1e30f, 1, 1, 1};
    const float sum = qxcalcCACalcFilter_float(samples + 7, 7, coefficients, 1);
    EXPECT_GT(sum, 1e30f);  // overflows: +inf, or the largest float when rounding down; NaN had inf * 0 happened
}

TEST(CAAverage, BothFormsMatchTheirModelsAcrossTheHandOff)
{
    for (const uint16_t window : {0, 1, 2, 4, 11, 40})
        for (const bool vectorForm : {true, false}) {
            const auto average = vectorForm ? qxcalc::caCalcAveFilter : qxcalc::caCalcAveFilterScalar;
            sweep({"CACalcAveFilter_double" + std::string(vectorForm ? "" : "_scalar") + " window " +
                       std::to_string(window),
                   {block<double>("input", Role::In), block<double>("output", Role::Out)},
                   [=](const Blocks& b, uint32_t n) { average({b.at<double>(0), n}, {b.at<double>(1), n}, window); },
                   [=](const Blocks& b, uint32_t n) {
                       modelAverage(b.at<double>(0), b.at<double>(1), window, n, vectorForm);
                   },
                   countsAround({64, 32u * window, 32u * window + 32}, 0, 300, {1000, 4099})});
        }
}

TEST(CACycleMeans, OverallAndRunningMatchTheModelsInEveryCase)
{
    for (const uint64_t cycles : {0ull, 3ull, (1ull << 53) + 1, ~0ull})
        sweep({"CAOverallPressure after " + std::to_string(cycles),
               {block<float>("cycle", Role::In), block<float>("overall", Role::InOut),
                scalar<float>("max", Role::Out, 77.0f)},
               [=](const Blocks& b, uint32_t n) {
                   qxCalcCAOverallPressure(b.at<float>(0), b.at<float>(1), 5, 5 + n, cycles, b.at<float>(2));
               },
               [=](const Blocks& b, uint32_t n) {
                   modelOverall(b.at<float>(0), b.at<float>(1), n, cycles, b.at<float>(2));
               },
               countsAround({8}, 0, 300, {1000})});
    BlockSpec cycle = block<float>("cycle", Role::In), sum = block<float>("sum", Role::InOut);
    cycle.fill = sum.fill = fillNaNDense;  // the sum's NaNs meet the cycle's
    const auto running = [=](uint64_t cycles, uint32_t window) {
        sweep({"CARunningVal after " + std::to_string(cycles),
               {cycle, fixedPlace(block<float>("leaving", Role::In)), sum, fixedPlace(block<float>("mean", Role::Out))},
               [=](const Blocks& b, uint32_t n) {
                   qxCalcCARunningVal(b.at<float>(0), b.at<float>(1), b.at<float>(2), b.at<float>(3), 7, 6 + n,
                                      cycles, window);
               },
               [=](const Blocks& b, uint32_t n) {
                   modelRunning(b.at<float>(0), b.at<float>(1), b.at<float>(2), b.at<float>(3), n, cycles, window);
               },
               countsAround({8}, 0, 300, {1000})});
    };
    for (const auto& [cycles, window] :
         {std::pair{0ull, 5u}, {2ull, 5u}, {5ull, 5u}, {1ull << 32, 0xFFFFFFFFu}, {16777217ull, 16777217u}})
        running(cycles, window);
}

}  // namespace
