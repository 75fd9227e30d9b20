// Cycle analysis: every export swept against the scalar models (counts near
// each path threshold, every start offset, both fences, plain and special
// data), then worked values a host can check by hand.
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
    for (const auto& [lo, hi] : {std::pair{-300000, 300000}, {10, 5}}) {
        const std::vector<BlockSpec> blocks = {block<float>("input", Role::In), block<int32_t>("output", Role::Out)};
        sweep({"CAPV_lin", blocks, [=](const Blocks& b, uint32_t n) { qxcalcCAPV_lin(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, scale, offset); },
               [=](const Blocks& b, uint32_t n) {
                   modelAxis(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, [&](float x, bool) { return scale * x + offset; });
               },
               countsAround({8}, 0, 100)});
        sweep({"CAPV_log", blocks,
               [=](const Blocks& b, uint32_t n) { qxcalcCAPV_log(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, logScale, offset, reference); },
               [=](const Blocks& b, uint32_t n) {
                   modelAxis(b.at<float>(0), n, b.at<int32_t>(1), lo, hi, [&](float x, bool lanes) {
                       float q = x / reference;
                       if (lanes ? !(q > kRatioFloor) : q < 1.0e-9) q = kRatioFloor;  // the lanes floor NaN too
                       return (lanes ? fastLog10LanesModel(q) : fastLog10Model(q)) * logScale + offset;
                   });
               },
               countsAround({8}, 0, 100)});
    }
}

// The logarithm read back exactly: |L| * 2^25 is an integer below 2^31 for 0.25 <= |L| < 64.
float logThroughAxis(float x, uint32_t count)
{
    std::vector<float> in(count, x);
    std::vector<int32_t> out(count);
    qxcalcCAPV_log(in.data(), count, out.data(), INT32_MIN, INT32_MAX, 33554432.0f, 0.0f, 1.0f);
    return static_cast<float>(out[count - 1] / 33554432.0);
}

TEST(CAPositions, FastLogarithmWorkedValuesOnBothPaths)
{
    for (const auto& [x, near] : {std::pair{0.5f, -0.30103001f}, {2.0f, 0.30103001f}, {10.0f, 1.0000156f}, {100.0f, 1.9999374f},
                                  {-10.0f, 1.0000156f}, {0.0f, -38.2308f}, {kRatioFloor, -8.9999924f}}) {
        EXPECT_NEAR(fastLog10Model(x), near, 1e-5f * std::fabs(near)) << x;
        if (x <= 0.0f) continue;  // the axis floors these ratios
        EXPECT_EQ(logThroughAxis(x, 1), fastLog10Model(x)) << x;
        EXPECT_EQ(logThroughAxis(x, 8), fastLog10LanesModel(x)) << x;
    }
    EXPECT_EQ(logThroughAxis(1.0f, 7), 0.0f);
    EXPECT_EQ(logThroughAxis(1.0f, 9), 0.0f);
    EXPECT_EQ(logThroughAxis(0.0f, 1), fastLog10Model(kRatioFloor));
    EXPECT_EQ(logThroughAxis(-5.0f, 8), fastLog10LanesModel(kRatioFloor));
    EXPECT_EQ(bitsOf(fastLog10Model(0.0f)), bitsOf(-38.2308083f));  // the scalings differ in the last place here
    EXPECT_EQ(bitsOf(fastLog10LanesModel(0.0f)), bitsOf(-38.2308121f));
}

std::vector<int32_t> linearPositions(std::vector<float> in, int32_t lo, int32_t hi)
{
    std::vector<int32_t> out(in.size());
    qxcalcCAPV_lin(in.data(), static_cast<uint32_t>(in.size()), out.data(), lo, hi, 1.0f, 0.0f);
    return out;
}

__attribute__((noinline)) std::vector<int32_t> linearPositionsRoundingUp(const std::vector<float>& in)
{
    const unsigned saved = _mm_getcsr();
    _mm_setcsr((saved & ~0x6000u) | _MM_ROUND_UP);
    const std::vector<int32_t> out = linearPositions(in, INT32_MIN, INT32_MAX);
    _mm_setcsr(saved);
    return out;
}

TEST(CAPositions, HalvesCrossedRangesAndOverflowFollowThePath)
{
    const std::vector<float> halves = {2.5f, -2.5f, 3.5f, 0.5f, -0.5f, 1.25f, -1.75f, 7.0f};
    EXPECT_EQ(linearPositions({halves.begin(), halves.end() - 1}, -100, 100), (std::vector<int32_t>{3, -3, 4, 1, -1, 1, -2}));
    EXPECT_EQ(linearPositions(halves, -100, 100), (std::vector<int32_t>{2, -2, 4, 0, 0, 1, -2, 7}));
    EXPECT_EQ(linearPositionsRoundingUp(halves), (std::vector<int32_t>{3, -2, 4, 1, 0, 2, -1, 7}));
    EXPECT_EQ(linearPositions({1, 2, 3}, 10, 5), (std::vector<int32_t>(3, 5)));
    EXPECT_EQ(linearPositions(std::vector<float>(8, 1), 10, 5), (std::vector<int32_t>(8, 10)));
    EXPECT_EQ(linearPositions({3e9f}, -7, 7), (std::vector<int32_t>{-7}));
    EXPECT_EQ(linearPositions(std::vector<float>(9, 3e9f), -7, 7), (std::vector<int32_t>(9, -7)));
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
    for (const uint32_t stride : {1u, 3u}) {
        const auto taps = [=](uint32_t n) { return n ? std::size_t{(n - 1) * stride + 1} : 0; };
        sweep({"CACalcFilter stride " + std::to_string(stride),
               {block<T>("samples", Role::In), block<float>("coefficients", Role::In, 4, taps), scalar<float>("result", Role::Out, 77.0f)},
               [=](const Blocks& b, uint32_t n) { *b.at<float>(2) = callFilter(b.at<T>(0) + n - 1, n, b.at<float>(1), stride); },
               [=](const Blocks& b, uint32_t n) { *b.at<float>(2) = modelFilter(b.at<T>(0), n, b.at<float>(1), stride); },
               countsAround({4, 8}, 0, 80, {1000})});
    }
}

TYPED_TEST(CAFilterTest, NewestSampleMeetsTheFirstCoefficientAtAnyStart)
{
    using T = TypeParam;
    alignas(16) T samples[48];
    for (int i = 0; i < 48; ++i) samples[i] = static_cast<T>(i % 7 - 3);
    std::vector<float> coefficients(200, 1000.0f);
    coefficients[0] = 100, coefficients[2] = 10, coefficients[4] = 1;
    samples[40] = 1, samples[39] = 2, samples[38] = 3;
    EXPECT_EQ(callFilter(samples + 40, 0, coefficients.data(), 2), 0.0f);
    EXPECT_EQ(callFilter(samples + 40, 1, coefficients.data(), 2), 100.0f);
    EXPECT_EQ(callFilter(samples + 40, 3, coefficients.data(), 2), 123.0f);
    for (float& c : coefficients) c = static_cast<float>((&c - coefficients.data()) % 5 - 2);
    for (uint32_t newest = 30; newest < 48; ++newest)
        for (uint32_t n = 1; n <= 31; ++n) {  // small integers: exact whatever the lanes' association
            double exact = 0;
            for (uint32_t i = 0; i < n; ++i) exact += samples[newest - i] * coefficients[2 * i];
            ASSERT_EQ(callFilter(samples + newest, n, coefficients.data(), 2), exact) << newest << " " << n;
        }
}

TEST(CAAverage, BothFormsMatchTheirModelsAcrossTheHandOff)
{
    for (const uint16_t window : {0, 1, 2, 4, 11, 40}) {
        const std::vector<BlockSpec> blocks = {block<double>("input", Role::In), block<double>("output", Role::Out)};
        const auto counts = countsAround({64, 32u * window, 32u * window + 32}, 0, 90, {1000, 4099});
        sweep({"CACalcAveFilter_double window " + std::to_string(window), blocks,
               [=](const Blocks& b, uint32_t n) { qxcalcCACalcAveFilter_double(b.at<double>(0), b.at<double>(1), window, n); },
               [=](const Blocks& b, uint32_t n) { modelAverage(b.at<double>(0), b.at<double>(1), window, n); }, counts});
        sweep({"CACalcAveFilter_double_scalar window " + std::to_string(window), blocks,
               [=](const Blocks& b, uint32_t n) { qxcalcCACalcAveFilter_double_scalar(b.at<double>(0), b.at<double>(1), window, n); },
               [=](const Blocks& b, uint32_t n) { modelAverageScalar(b.at<double>(0), b.at<double>(1), window, n); }, counts});
    }
}

TEST(CAAverage, WindowOfOneReScalesEvenWindowsGrowAndEndsRepeat)
{
    std::vector<double> in(1000), out(1000), other(1000);
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = std::sin(0.1 * i) + (i == 0 ? 1e16 : 0);
    qxcalcCACalcAveFilter_double_scalar(in.data(), out.data(), 0, 3);
    EXPECT_EQ(out[0], 1e16);
    EXPECT_EQ(out[1], (1e16 + in[1]) - 1e16);  // not in[1]: the mean was re-scaled to a sum
    in[0] = 0.5;
    qxcalcCACalcAveFilter_double(in.data(), out.data(), 4, 1000);
    qxcalcCACalcAveFilter_double(in.data(), other.data(), 5, 1000);
    EXPECT_EQ(out, other);
    qxcalcCACalcAveFilter_double(in.data(), out.data(), 11, 1000);
    double sum = 0.0;
    for (int i = 0; i <= 10; ++i) sum += in[i];
    for (int j = 0; j <= 5; ++j) EXPECT_EQ(out[j], sum / 11) << j;
    for (int j = 994; j < 1000; ++j) EXPECT_EQ(out[j], out[994]) << j;
    std::vector<double> untouched(8, 7.0);
    qxcalcCACalcAveFilter_double_scalar(in.data(), untouched.data(), 9, 8);  // count below the window
    EXPECT_EQ(untouched, std::vector<double>(8, 7.0));
}

TEST(CACycleMeans, OverallAndRunningMatchTheModelsInEveryCase)
{
    for (const uint64_t cycles : {0ull, 3ull, (1ull << 53) + 1, ~0ull}) {
        sweep({"CAOverallPressure after " + std::to_string(cycles),
               {block<float>("cycle", Role::In), block<float>("overall", Role::InOut), scalar<float>("max", Role::Out, 77.0f)},
               [=](const Blocks& b, uint32_t n) { qxCalcCAOverallPressure(b.at<float>(0), b.at<float>(1), 5, 5 + n, cycles, b.at<float>(2)); },
               [=](const Blocks& b, uint32_t n) { modelOverall(b.at<float>(0), b.at<float>(1), n, cycles, b.at<float>(2)); },
               countsAround({8}, 0, 70, {1000})});
    }
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

TEST(CACycleMeans, WorkedCycles)
{
    float overall[5] = {}, maxValue = 77;
    const float cycle[5] = {-1, -2, 0, -0.0f, -4};
    qxCalcCAOverallPressure(cycle, overall, 0, 5, 0, &maxValue);
    EXPECT_EQ(bitsOf(maxValue), 0x00800000u);  // zero and negatives never count as a maximum
    // A window of four cycles of small integers: exact means of the last 1..4 cycles.
    float ring[4][3], sum[3], mean[3];
    for (uint64_t n = 0; n < 9; ++n) {
        const float values[3] = {float(n * n), float(3 * n), 1.0f};
        qxCalcCARunningVal(values, ring[n % 4], sum, mean, 4, 6, n, 4);
        std::copy(values, values + 3, ring[n % 4]);
        const uint64_t from = n < 4 ? 0 : n - 3;
        float sq = 0;
        for (uint64_t k = from; k <= n; ++k) sq += float(k * k);
        EXPECT_TRUE(mean[0] == sq / float(n - from + 1) && mean[1] == 3.0f * float(n + from) / 2 && mean[2] == 1.0f) << n;
    }
}

}  // namespace
