// Vector scaling, integer width and scaled channel values: every export swept
// against a plain loop of its rule (each element is the same on every path),
// also in place and rounding upward; then the worked values a host relies on.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <limits>
#include <random>

#include "qxcalc.h"
#include "support/channel_model.h"
#include "support/lane_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

const std::vector<uint32_t> kCounts = countsAround({}, 0, 72, {255, 256, 1000, 10007});

// ---- Channel values --------------------------------------------------------

template <class Out>
void scaleChannel(const void* raw, Out* out, int32_t count, Out scale, Out offset, uint32_t code, bool alignedOutput)
{
    if constexpr (std::is_same_v<Out, float>) {
        const ChannelScaleParams_float p{raw, out, scale, offset, count, code};
        (alignedOutput ? qxcalcChannelGetScaledValuesAtPos_float_aligned_output : qxcalcChannelGetScaledValuesAtPos_float)(&p);
    } else {
        const ChannelScaleParams_double p{raw, out, scale, offset, count, code};
        (alignedOutput ? qxcalcChannelGetScaledValuesAtPos_double_aligned_output : qxcalcChannelGetScaledValuesAtPos_double)(&p);
    }
}

// int64 samples a hair off the float ties of every magnitude, where rounding
// through double first would round the other way.
void fillInt64(std::byte* to, std::size_t n, DataSet, uint32_t seed)
{
    std::mt19937_64 rng(seed);
    for (int64_t* p = reinterpret_cast<int64_t*>(to); n-- > 0;) {
        const unsigned s = rng() % 38;
        *p++ = (static_cast<int64_t>(rng() >> 40) << (s + 1)) + (int64_t{1} << s) + static_cast<int64_t>(rng() % 3) - 1;
    }
}

template <class Raw, class Out, uint32_t code>
void sweepChannel(bool alignedOutput, bool inPlace, bool upward, const std::vector<uint32_t>& counts)
{
    const Out scale = static_cast<Out>(0.37), offset = static_cast<Out>(-1300.2);
    const unsigned outAlign = alignedOutput ? 32 : sizeof(Out);
    std::vector<BlockSpec> blocks{block<Raw>("raw", inPlace ? Role::InOut : Role::In, inPlace ? outAlign : sizeof(Raw))};
    if (std::is_same_v<Raw, int64_t>) blocks[0].fill = fillInt64;
    if (!inPlace) blocks.push_back(block<Out>("output", Role::Out, outAlign));
    const auto output = [](const Blocks& b) { return b.at<Out>(b.p.size() - 1); };
    const auto call = [=](const Blocks& b, uint32_t n) { scaleChannel<Out>(b.p[0], output(b), static_cast<int32_t>(n), scale, offset, code, alignedOutput); };
    const auto model = [=](const Blocks& b, uint32_t n) {
        for (uint32_t i = 0; i < n; ++i) output(b)[i] = scaledValue(b.at<Raw>(0)[i], scale, offset);
    };
    const auto inMode = [upward](auto f) {
        return [=](const Blocks& b, uint32_t n) { upward ? inRoundingMode(_MM_ROUND_UP, [&] { f(b, n); }) : f(b, n); };
    };
    sweep({std::string(std::is_same_v<Out, float> ? "float" : "double") + (alignedOutput ? " aligned output" : "") +
               (inPlace ? " in place" : "") + " from code " + std::to_string(code) + (upward ? ", rounding upward" : ""),
           blocks, inMode(call), inMode(model), counts, upward ? std::vector{DataSet::Plain} : std::vector{DataSet::Plain, DataSet::Specials}});
}

template <class Raw, uint32_t code>
struct Format { using R = Raw; static constexpr uint32_t kCode = code; };
template <class F>
class ChannelTest : public ::testing::Test {};
using RawFormats = ::testing::Types<Format<uint8_t, UInt8>, Format<int8_t, Int8>, Format<int16_t, Int16>, Format<uint16_t, UInt16>,
                                    Format<int32_t, Int32>, Format<float, Float>, Format<int64_t, Int64>, Format<double, Double>,
                                    Format<uint32_t, UInt32>>;
TYPED_TEST_SUITE(ChannelTest, RawFormats);

TYPED_TEST(ChannelTest, BothPrecisionsAndOutputKindsFollowTheRuleForEveryCountStartAndFence)
{
    using Raw = typename TypeParam::R;
    for (const bool aligned : {false, true}) {
        sweepChannel<Raw, float, TypeParam::kCode>(aligned, false, false, kCounts);
        sweepChannel<Raw, double, TypeParam::kCode>(aligned, false, false, kCounts);
        if constexpr (std::is_floating_point_v<Raw>) sweepChannel<Raw, Raw, TypeParam::kCode>(aligned, true, false, kCounts);
    }
}

TYPED_TEST(ChannelTest, CurrentRoundingModeRulesEveryConversionAndOperation)
{
    const auto counts = countsAround({}, 0, 40, {1000});
    sweepChannel<typename TypeParam::R, float, TypeParam::kCode>(false, false, true, counts);
    sweepChannel<typename TypeParam::R, double, TypeParam::kCode>(false, false, true, counts);
}

// Each worked value fills a whole block, so the one-at-a-time path and the
// vector path (plain and aligned output) must each produce its bits.
template <class Out, class Raw>
void expectEveryPathGives(uint32_t code, Raw x, Out scale, Out offset, Out want)
{
    alignas(32) Raw raw[21];
    std::fill(raw, raw + 21, x);
    for (const bool aligned : {false, true}) {
        alignas(32) Out out[21];
        scaleChannel<Out>(raw, out, 21, scale, offset, code, aligned);
        for (int i = 0; i < 21; ++i) ASSERT_EQ(bitsOf(out[i]), bitsOf(want)) << "code " << code << " element " << i << (aligned ? " aligned" : "");
    }
}

TEST(ChannelWorkedValues, ExtremeSamplesAndNaNPayloadsInTheOrderSampleScaleOffset)
{
    expectEveryPathGives<double>(UInt32, 0xFFFFFFFFu, 1.0, 0.0, 4294967295.0);
    expectEveryPathGives<float>(UInt32, 0xFFFFFFFFu, 1.0f, 0.0f, 4294967296.0f);
    expectEveryPathGives<float>(Int32, int32_t{16777217}, 1.0f, 0.0f, 16777216.0f);
    expectEveryPathGives<double>(Int64, int64_t{(1ll << 53) + 1}, 1.0, 0.0, 9007199254740992.0);
    expectEveryPathGives<float>(Int64, int64_t{1152921573326323713}, 1.0f, 0.0f, 1152921642045800448.0f);  // not 2^60 (through double)
    expectEveryPathGives<float>(Double, 1e39, 0.001f, 0.0f, static_cast<float>(1e39 * double{0.001f}));  // finite: product formed in double
    expectEveryPathGives<double>(UInt8, uint8_t{255}, 2.0, 1.0, 511.0);
    expectEveryPathGives<double>(Int8, int8_t{-1}, 2.0, 1.0, -1.0);
    expectEveryPathGives<float>(Int16, int16_t{-32768}, 1.0f, 0.0f, -32768.0f);
    expectEveryPathGives<float>(UInt16, uint16_t{0x8000}, 1.0f, 0.0f, 32768.0f);
    const double nanA = nanWithPayload<double>(0xA), nanB = nanWithPayload<double>(0xB), nanC = nanWithPayload<double>(0xC);
    expectEveryPathGives<double>(Double, nanC, nanA, nanB, nanC);
    expectEveryPathGives<double>(Int32, int32_t{7}, nanA, nanB, nanA);
    expectEveryPathGives<float>(Float, nanWithPayload<float>(0xC), 1.0f, nanWithPayload<float>(0xB), nanWithPayload<float>(0xC));
}

TEST(ChannelWorkedValues, NonPositiveCountOrUnknownCodeWritesNothing)
{
    alignas(32) const uint32_t raw[16] = {1, 2, 3};
    for (const auto& [count, code] : {std::pair<int32_t, uint32_t>{0, UInt8}, {-1, Float}, {INT32_MIN, Int16}, {16, 9u}, {16, 0xFFFFFFFFu}})
        for (const bool aligned : {false, true}) {
            alignas(32) float out[16] = {};
            alignas(32) double wide[16] = {};
            scaleChannel<float>(raw, out, count, 1.0f, 5.0f, code, aligned);
            scaleChannel<double>(raw, wide, count, 1.0, 5.0, code, aligned);
            EXPECT_TRUE(std::count(out, out + 16, 0.0f) == 16 && std::count(wide, wide + 16, 0.0) == 16) << count << " " << code;
        }
}

// ---- Vector scaling and integer width --------------------------------------

template <class T>
class MultiplyTest : public ::testing::Test {};
using FloatingTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MultiplyTest, FloatingTypes);

TYPED_TEST(MultiplyTest, FactorTimesEverySampleForEveryCountStartFenceAndFactor)
{
    using T = TypeParam;
    for (const T factor : {T(1.7), T(0), nanWithPayload<T>(0x2A)}) {  // 0: inf becomes NaN, -5 becomes -0
        const auto multiply = [=](const Blocks& b, uint32_t n) {
            if constexpr (std::is_same_v<T, float>) qxcalcMultiplyVectorByScalar_float(b.at<T>(0), n, factor);
            else qxcalcMultiplyVectorByScalar_double(b.at<T>(0), n, factor);
        };
        sweep({"multiply by " + std::to_string(factor), {block<T>("samples", Role::InOut)}, multiply,
               [=](const Blocks& b, uint32_t n) { for (uint32_t i = 0; i < n; ++i) b.at<T>(0)[i] = mulX86(factor, b.at<T>(0)[i]); },
               kCounts});
    }
}

TEST(IntegerWidth, NarrowingWrapsAndWideningSignExtendsForEveryCountStartAndFence)
{
    sweep({"int32 to int16", {block<int32_t>("source", Role::In), block<int16_t>("destination", Role::Out)},
           [](const Blocks& b, uint32_t n) { qxcalcConvertInt32ToInt16(b.at<int32_t>(0), b.at<int16_t>(1), n); },
           [](const Blocks& b, uint32_t n) { for (uint32_t i = 0; i < n; ++i) b.at<int16_t>(1)[i] = static_cast<int16_t>(b.at<int32_t>(0)[i] & 0xFFFF); },
           kCounts});
    sweep({"int16 to int32", {block<int16_t>("source", Role::In), block<int32_t>("destination", Role::Out)},
           [](const Blocks& b, uint32_t n) { qxcalcConvertInt16ToInt32(b.at<int16_t>(0), b.at<int32_t>(1), n); },
           [](const Blocks& b, uint32_t n) { for (uint32_t i = 0; i < n; ++i) b.at<int32_t>(1)[i] = b.at<int16_t>(0)[i]; },
           kCounts});
}

TEST(IntegerWidth, NarrowingExamplesOnBothPaths)
{
    alignas(16) const int32_t in[12] = {70000, -40000, 32767, 32768, -32768, -32769, 70000, -40000, 32767, 32768, -32768, -32769};
    const int16_t want[6] = {4464, 25536, 32767, -32768, -32768, 32767};
    for (const uint32_t n : {6u, 12u}) {
        int16_t out[12];
        qxcalcConvertInt32ToInt16(in, out, n);
        for (uint32_t i = 0; i < n; ++i) ASSERT_EQ(out[i], want[i % 6]) << n << " " << i;
    }
}

}  // namespace
