// Vector scaling, integer width and scaled channel values swept against loops of their rules; then worked values.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "qxcalc.hpp"
#include "support/channel_model.h"
#include "support/lane_model.h"
#include "support/sweep.h"

using namespace qxtest;
using qxcalc::Exports;

namespace {

const std::vector<uint32_t> kCounts = countsAround({}, 0, 300, {1000, 10007});

template <class Out>
void scaleChannel(const void* raw, Out* out, int32_t count, Out scale, Out offset, uint32_t code, bool aligned)
{
    const typename Exports<Out>::ChannelScaleParams p{raw, out, scale, offset, count, code};
    (aligned ? Exports<Out>::channelGetScaledValuesAtPosAlignedOutput : Exports<Out>::channelGetScaledValuesAtPos)(&p);
}

// int64 samples of either sign a hair off the float ties of every magnitude, where rounding through double first would
// round the other way; mostly below 2^51, so that vectors of eight fall on either side of it, and some zeros.
void fillInt64(std::byte* to, std::size_t n, DataSet, uint32_t seed)
{
    std::mt19937_64 rng(seed);
    for (int64_t* p = reinterpret_cast<int64_t*>(to); n-- > 0;) {
        const unsigned s = rng() % 4 ? rng() % 26 : rng() % 38;
        const int64_t high = static_cast<int64_t>(rng() >> 40) << (s + 1);
        const int64_t x = high + (int64_t{1} << s) + static_cast<int64_t>(rng() % 3) - 1;
        *p++ = rng() % 16 == 0 ? 0 : rng() % 2 ? x : -x;
    }
}

template <class Raw, class Out>
void sweepChannel(bool aligned, bool inPlace, Out scale = Out(0.37), Out offset = Out(-1300.2))
{
    const auto code = static_cast<uint32_t>(qxcalc::rawSampleTypeOf<Raw>());
    const unsigned outAlign = aligned ? 32 : sizeof(Out);
    const Role rawRole = inPlace ? Role::InOut : Role::In;
    std::vector<BlockSpec> blocks{block<Raw>("raw", rawRole, inPlace ? outAlign : sizeof(Raw))};
    if (std::is_same_v<Raw, int64_t>) blocks[0].fill = fillInt64;
    if (!inPlace) blocks.push_back(block<Out>("output", Role::Out, outAlign));
    // f on the raw samples and the output (in place: the raw samples again).
    const auto on = [](auto f) {
        return [=](const Blocks& b, uint32_t n) { f(b.at<Raw>(0), b.at<Out>(b.p.size() - 1), n); };
    };
    const std::string name = std::to_string(sizeof(Out)) + "-byte output from code " + std::to_string(code) +
                             (aligned ? ", aligned" : "") + (inPlace ? ", in place" : "") +
                             (scale != scale ? ", NaN scale" : "");
    sweep({name, blocks,
           on([=](const Raw* raw, Out* out, uint32_t n) {
               const auto alignment = aligned ? qxcalc::OutputAlignment::aligned32 : qxcalc::OutputAlignment::any;
               qxcalc::channelGetScaledValuesAtPos(std::span(raw, n), std::span(out, n), scale, offset, alignment);
           }),
           on([=](const Raw* raw, Out* out, uint32_t n) {
               for (uint32_t i = 0; i < n; ++i) out[i] = scaledValue(raw[i], scale, offset);
           }),
           kCounts});
}

template <class Raw>
class ChannelTest : public ::testing::Test {};
using RawFormats = ::testing::Types<uint8_t, int8_t, int16_t, uint16_t, int32_t, float, int64_t, double, uint32_t>;
TYPED_TEST_SUITE(ChannelTest, RawFormats);

TYPED_TEST(ChannelTest, EveryOutputKindFollowsTheRuleForEveryCountStartAndFence)
{
    using Raw = TypeParam;
    for (const bool aligned : {false, true}) {
        sweepChannel<Raw, float>(aligned, false);
        sweepChannel<Raw, double>(aligned, false);
        // NaN payloads meet in the order sample, scale, offset (a signalling one)
        sweepChannel<Raw, float>(aligned, false, nanWithPayload<float>(0xA), nanWithPayload<float>(0xB, true));
        sweepChannel<Raw, double>(aligned, false, nanWithPayload<double>(0xA), nanWithPayload<double>(0xB, true));
        if constexpr (std::is_floating_point_v<Raw>) sweepChannel<Raw, Raw>(aligned, true);
        if constexpr (std::is_same_v<Raw, int64_t>) {  // a zero sample scales to +0 in every rounding mode
            sweepChannel<Raw, float>(aligned, false, 0.37f, 0.0f);
            sweepChannel<Raw, double>(aligned, false, 0.37, 0.0);
        }
    }
}

TEST(ChannelWorkedValues, BadCallsWriteNothing)
{
    alignas(32) const uint32_t raw[16] = {1, 2, 3};
    const std::pair<int32_t, uint32_t> refused[] = {
        {-1, QxcalcRawFloat}, {INT32_MIN, QxcalcRawInt16}, {16, 9u}, {16, 0xFFFFFFFFu}};
    for (const auto& [count, code] : refused)
        for (const bool aligned : {false, true}) {
            alignas(32) float out[16] = {};
            alignas(32) double wide[16] = {};
            scaleChannel<float>(raw, out, count, 1.0f, 5.0f, code, aligned);
            scaleChannel<double>(raw, wide, count, 1.0, 5.0, code, aligned);
            EXPECT_EQ(std::count(out, out + 16, 0.0f), 16) << count << " " << code;
            EXPECT_EQ(std::count(wide, wide + 16, 0.0), 16) << count << " " << code;
        }
}

TEST(VectorArithmetic, ScalingWrappingAndSignExtensionForEveryCountStartFenceAndFactor)
{
    // 0: inf becomes NaN, -5 becomes -0; NaN: the factor's payload wins.
    const auto scaleBy = [](auto factor) {
        using T = decltype(factor);
        sweep({"multiply by " + std::to_string(factor), {block<T>("samples", Role::InOut)},
               [=](const Blocks& b, uint32_t n) { qxcalc::multiplyVectorByScalar({b.at<T>(0), n}, factor); },
               [=](const Blocks& b, uint32_t n) {
                   for (uint32_t i = 0; i < n; ++i) b.at<T>(0)[i] = mulX86(factor, b.at<T>(0)[i]);
               },
               kCounts});
    };
    for (const float factor : {1.7f, 0.0f, nanWithPayload<float>(0x2A)}) {
        scaleBy(factor);
        scaleBy(double{factor});
    }
    // Narrowing keeps the low 16 bits.
    const auto width = [](auto convert, auto from, auto to) {
        using From = decltype(from);
        using To = decltype(to);
        sweep({std::to_string(sizeof(From)) + " to " + std::to_string(sizeof(To)) + " bytes",
               {block<From>("source", Role::In), block<To>("destination", Role::Out)},
               [=](const Blocks& b, uint32_t n) { convert({b.at<From>(0), n}, {b.at<To>(1), n}); },
               [](const Blocks& b, uint32_t n) { std::copy_n(b.at<From>(0), n, b.at<To>(1)); }, kCounts});
    };
    width(qxcalc::convertInt32ToInt16, int32_t{}, int16_t{});
    width(qxcalc::convertInt16ToInt32, int16_t{}, int32_t{});
}

}  // namespace
