// Cycle analysis: every export swept against the scalar models (counts near each path threshold, every
// start offset, both fences, plain and special data), then worked values a host can check by hand.
#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <cmath>
#include <vector>

#include "qxcalc.h"
#include "support/ca_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

TEST(CAPositions, BothAxesMatchTheModelForEveryCountStartAndFence)
{
    const float scale = 0.37f, offset = 0.5f, reference = 1000.0f, logScale = 1.0e5f;
    const auto logPosition = [=](float x, bool lanes) {
        float q = x / reference;
        if (lanes ? !(q > kRatioFloor) : q < 1.0e-9) q = kRatioFloor;  // the lanes floor NaN too
        return (lanes ? fastLog10LanesModel(q) : fastLog10Model(q)) * logScale + offset;
    };
    for (const auto& [lo, hi] : {std::pair{-300000, 300000}, {10, 5}}) {
        const std::vector<BlockSpec> blocks = {block<float>("input", Role::In), block<int32_t>("output", Role::Out)};
        sweep({"CAPV_lin", blocks, [=](const Blocks& b, uint32_t n) { qxcalcCAPV_lin(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, scale, offset); },
               [=](const Blocks& b, uint32_t n) { modelAxis(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, [=](float x, bool) { return scale * x + offset; }); },
               countsAround({8}, 0, 100)});
        sweep({"CAPV_log", blocks,
               [=](const Blocks& b, uint32_t n) { qxcalcCAPV_log(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, logScale, offset, reference); },
               [=](const Blocks& b, uint32_t n) { modelAxis(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, logPosition); }, countsAround({8}, 0, 100)});
    }
}

TEST(CAPositions, FastLogarithmWorkedValuesOnBothPaths)
{
    const auto logThroughAxis = [](float x, uint32_t count) {  // exact: |L| * 2^25 is an integer for 0.25 <= |L| < 64
        std::vector<float> in(count, x);
        std::vector<int32_t> out(count);
        qxcalcCAPV_log(in.data(), count, out.data(), INT32_MIN, INT32_MAX, 33554432.0f, 0.0f, 1.0f);
        return static_cast<float>(out[count - 1] / 33554432.0);
    };
    for (const auto& [x, near] : {std::pair{1.0f, 0.0f}, {0.5f, -0.30103001f}, {2.0f, 0.30103001f}, {10.0f, 1.0000156f},
                                  {100.0f, 1.9999374f}, {-10.0f, 1.0000156f}, {0.0f, -38.2308f}, {kRatioFloor, -8.9999924f}}) {
        EXPECT_NEAR(fastLog10Model(x), near, 1e-5f * std::fabs(near)) << x;
        const float ratio = x > 0.0f ? x : kRatioFloor;  // the axis floors the others
        EXPECT_EQ(logThroughAxis(x, 1), fastLog10Model(ratio)) << x;
        EXPECT_EQ(logThroughAxis(x, 8), fastLog10LanesModel(ratio)) << x;
    }
}

std::vector<int32_t> linearPositions(std::vector<float> in, int32_t lo, int32_t hi, unsigned rounding = _MM_ROUND_NEAREST)
{
    std::vector<int32_t> out(in.size());
    inRoundingMode(rounding, [&] { qxcalcCAPV_lin(in.data(), static_cast<uint32_t>(in.size()), out.data(), lo, hi, 1.0f, 0.0f); });
    return out;
}

TEST(CAPositions, HalvesAndCrossedRangesFollowThePath)
{
    const std::vector<float> halves = {2.5f, -2.5f, 3.5f, 0.5f, -0.5f, 1.25f, -1.75f, 7.0f};
    EXPECT_EQ(linearPositions({halves.begin(), halves.end() - 1}, -100, 100), (std::vector<int32_t>{3, -3, 4, 1, -1, 1, -2}));
    EXPECT_EQ(linearPositions(halves, -100, 100), (std::vector<int32_t>{2, -2, 4, 0, 0, 1, -2, 7}));
    EXPECT_EQ(linearPositions(halves, INT32_MIN, INT32_MAX, _MM_ROUND_UP), (std::vector<int32_t>{3, -2, 4, 1, 0, 2, -1, 7}));
    EXPECT_TRUE(linearPositions({1, 2, 3}, 10, 5) == std::vector<int32_t>(3, 5) && linearPositions({1, 1, 1, 1, 1, 1, 1, 1}, 10, 5) == std::vector<int32_t>(8, 10));
}

template <class T>
class CAFilterTest : public ::testing::Test {};
using FilterSampleTypes = ::testing::Types<float, int16_t, int32_t>;
TYPED_TEST_SUITE(CAFilterTest, FilterSampleTypes);

float callFilter(const float* s, uint32_t n, const float* c, uint32_t stride) { return qxcalcCACalcFilter_float(s, n, c, stride); }
float callFilter(const int16_t* s, uint32_t n, const float* c, uint32_t stride) { return qxcalcCACalcFilter_int16_t(s, n, c, stride); }
float callFilter(const int32_t* s, uint32_t n, const float* c, uint32_t stride) { return qxcalcCACalcFilter_int32_t(s, n, c, stride); }

TYPED_TEST(CAFilterTest, MatchesTheModelForEveryCountStrideStartAndFence)
{
    using T = TypeParam;
    for (const uint32_t stride : {1u, 3u})
        sweep({"CACalcFilter stride " + std::to_string(stride),
               {block<T>("samples", Role::In), scalar<float>("result", Role::Out, 77.0f),
                block<float>("coefficients", Role::In, 4, [=](uint32_t n) { return n ? std::size_t{(n - 1) * stride + 1} : 0; })},
               [=](const Blocks& b, uint32_t n) { *b.at<float>(1) = callFilter(b.at<T>(0) + n - 1, n, b.at<float>(2), stride); },
               [=](const Blocks& b, uint32_t n) { *b.at<float>(1) = modelFilter(b.at<T>(0), n, b.at<float>(2), stride); },
               countsAround({4, 8}, 0, 80, {1000})});
}

TYPED_TEST(CAFilterTest, NewestSampleMeetsTheFirstCoefficientAtAnyStart)
{
    alignas(16) TypeParam samples[48];
    std::vector<float> coefficients(200);
    for (int i = 0; i < 200; ++i) coefficients[i] = float(i % 5 - 2), samples[i % 48] = TypeParam(i % 7 - 3);
    coefficients[0] = 100, coefficients[2] = 10, coefficients[4] = 1, samples[40] = 1, samples[39] = 2, samples[38] = 3;
    EXPECT_EQ(callFilter(samples + 40, 3, coefficients.data(), 2), 123.0f);
    for (uint32_t newest = 30; newest < 48; ++newest)
        for (uint32_t n = 1; n <= 31; ++n) {  // small integers: exact whatever the lanes' association
            double exact = 0;
            for (uint32_t i = 0; i < n; ++i) exact += samples[newest - i] * coefficients[2 * i];
            ASSERT_EQ(callFilter(samples + newest, n, coefficients.data(), 2), exact) << newest << " " << n;
        }
}

TEST(CAFilter, SampleUnderAZeroLaneIsZeroedBeforeItsCoefficient)
{
    alignas(16) float samples[8] = {1, 1, 1, 1, 1e30f, 1, 1, 1};  // from samples + 1 the head zeroes samples[4]
    const float coefficients[7] = {1, 1, 1, 1e30f, 1, 1, 1}, sum = qxcalcCACalcFilter_float(samples + 7, 7, coefficients, 1);
    EXPECT_TRUE(std::isinf(sum) && sum > 0);
}

TEST(CAAverage, BothFormsMatchTheirModelsAcrossTheHandOff)
{
    for (const uint16_t window : {0, 1, 2, 4, 11, 40}) {
        const std::vector<BlockSpec> blocks = {block<double>("input", Role::In), block<double>("output", Role::Out)};
        const auto counts = countsAround({64, 32u * window, 32u * window + 32}, 0, 90, {1000, 4099});
        sweep({"CACalcAveFilter_double window " + std::to_string(window), blocks,
               [=](const Blocks& b, uint32_t n) { qxcalcCACalcAveFilter_double(b.at<double>(0), b.at<double>(1), window, n); },
               [=](const Blocks& b, uint32_t n) { modelAverage(b.at<double>(0), b.at<double>(1), window, n, true); }, counts});
        sweep({"CACalcAveFilter_double_scalar window " + std::to_string(window), blocks,
               [=](const Blocks& b, uint32_t n) { qxcalcCACalcAveFilter_double_scalar(b.at<double>(0), b.at<double>(1), window, n); },
               [=](const Blocks& b, uint32_t n) { modelAverage(b.at<double>(0), b.at<double>(1), window, n, false); }, counts});
    }
}

TEST(CAAverage, WindowOfOneReScalesAndEvenWindowsGrow)
{
    std::vector<double> in(1000), out(1000, 7.0), other(1000);
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = std::sin(0.1 * i) + (i == 0 ? 1e16 : 0);
    qxcalcCACalcAveFilter_double_scalar(in.data(), out.data(), 0, 3);
    EXPECT_TRUE(out[0] == 1e16 && out[1] == (1e16 + in[1]) - 1e16);  // re-scaled to a sum, so not in[1]
    qxcalcCACalcAveFilter_double(in.data(), out.data(), 4, 1000);
    qxcalcCACalcAveFilter_double(in.data(), other.data(), 5, 1000);
    EXPECT_EQ(out, other);
}

TEST(CACycleMeans, OverallAndRunningMatchTheModelsInEveryCase)
{
    for (const uint64_t cycles : {0ull, 3ull, (1ull << 53) + 1, ~0ull})
        sweep({"CAOverallPressure after " + std::to_string(cycles),
               {block<float>("cycle", Role::In), block<float>("overall", Role::InOut), scalar<float>("max", Role::Out, 77.0f)},
               [=](const Blocks& b, uint32_t n) { qxCalcCAOverallPressure(b.at<float>(0), b.at<float>(1), 5, 5 + n, cycles, b.at<float>(2)); },
               [=](const Blocks& b, uint32_t n) { modelOverall(b.at<float>(0), b.at<float>(1), n, cycles, b.at<float>(2)); }, countsAround({8}, 0, 70, {1000})});
    for (const auto& [cycles, window] : {std::pair{0ull, 5u}, {2ull, 5u}, {5ull, 5u}, {1ull << 32, 0xFFFFFFFFu}, {16777217ull, 16777217u}}) {
        std::vector<BlockSpec> blocks = {block<float>("cycle", Role::In), block<float>("leaving", Role::In),
                                         block<float>("sum", Role::InOut), block<float>("mean", Role::Out)};
        blocks[1].swept = blocks[3].swept = false;
        sweep({"CARunningVal after " + std::to_string(cycles), blocks,
               [=](const Blocks& b, uint32_t n) {
                   qxCalcCARunningVal(b.at<float>(0), b.at<float>(1), b.at<float>(2), b.at<float>(3), 7, 6 + n, cycles, window);
               },
               [=](const Blocks& b, uint32_t n) { modelRunning(b.at<float>(0), b.at<float>(1), b.at<float>(2), b.at<float>(3), n, cycles, window); },
               countsAround({8}, 0, 70, {1000})});
    }
}

}  // namespace
