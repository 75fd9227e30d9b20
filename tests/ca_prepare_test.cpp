// Cycle-data preparation swept against models: the copy with maximum search (special data bring ties and NaNs,
// count 0 finds nothing) and the in-place conversions (every legal start, the bytes after).
#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "qxcalc.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

const float kStart = floatFromBits(0x00800000);  // smallest positive normal float

// Ranges above 7 keep per-lane maxima with float indices (base advanced by 8.0 per block), offer
// the lanes in lane order, then the rest one at a time counted from the float base truncated.
void modelCopy(const float* raw, float* channel, uint32_t first, uint32_t n, float offset, float* maxValue,
               uint32_t* maxIndex)
{
    std::pair<float, uint32_t> best{kStart, 0xFFFFFFFFu};  // none found
    std::pair<float, float> lane[8];                       // a lane's maximum and its index
    float base = float(first >> 16) * 65536.0f + float(first & 0xFFFF);
    const auto offer = [&](float v, uint32_t i) { if (v > best.first) best = {v, i}; };
    const auto copy = [&](uint32_t i) { return channel[i] = raw[i] - offset; };
    uint32_t k = 0;
    for (; n > 7 && k + 8 <= n; k += 8, base += 8.0f)
        for (int l = 0; l < 8; ++l)
            if (const float v = copy(k + l); k == 0 || v > lane[l].first) lane[l] = {v, base + float(l)};
    for (int l = 0; k > 0 && l < 8; ++l) offer(lane[l].first, uint32_t(int32_t(lane[l].second)));
    for (uint32_t j = 0; k + j < n; ++j) offer(copy(k + j), k > 0 ? uint32_t(int64_t(base)) + j : first + j);
    *maxValue = best.first;
    *maxIndex = best.second;
}

// Raw pointer such that raw[first] is p[0] (large first indices, small buffers).
const float* rawFor(const float* p, uint32_t first)
{
    return reinterpret_cast<const float*>(uintptr_t(p) - 4 * uintptr_t(first));
}

TEST(CACopyRawDataToChannels, MatchesTheModelForEveryCountStartFenceAndLargeFirstIndex)
{
    for (const uint32_t first : {0u, 16777200u, 40000001u, 134217741u})  // exact, crossing 2^24, steps of 4, of 16
        sweep({"CopyRawDataToChannels from " + std::to_string(first),
               {block<float>("raw", Role::In), block<float>("channel", Role::Out),
                scalar<float>("max", Role::Out, 77.0f), scalar<uint32_t>("index", Role::Out, 77)},
               [=](const Blocks& b, uint32_t n) {
                   qxCalcCACopyRawDataToChannels(rawFor(b.at<float>(0), first), b.at<float>(1), first, first + n,
                                                 0.25f, b.at<float>(2), b.at<uint32_t>(3));
               },
               [=](const Blocks& b, uint32_t n) {
                   modelCopy(b.at<float>(0), b.at<float>(1), first, n, 0.25f, b.at<float>(2), b.at<uint32_t>(3));
               },
               countsAround({8}, 0, 300, {1000, 4099})});
}

// Element-wise conversion of the n values at data's start (16-byte aligned from 4 doubles, 32-byte aligned
// from 8 floats); bytes after them are kept.
TEST(CAPrecisionInplace, MatchesElementwiseConversionForEveryCountAndLegalStart)
{
    const auto inPlace = [](auto from, auto to, auto convert, unsigned align, std::vector<uint32_t> counts) {
        using From = decltype(from);
        using To = decltype(to);
        const std::size_t widening = std::max(sizeof(To) / sizeof(From), std::size_t{1});
        sweep({std::to_string(sizeof(From)) + " to " + std::to_string(sizeof(To)) + " bytes in place",
               {block<From>("data", Role::InOut, align, [=](uint32_t n) { return n * widening; })},
               [=](const Blocks& b, uint32_t n) { convert(b.p[0], n); },
               [](const Blocks& b, uint32_t n) {  // byte copies: a double may sit at a 4-byte boundary
                   std::vector<From> v(n + 1);
                   std::memcpy(v.data(), b.p[0], n * sizeof(From));
                   for (uint32_t i = 0; i < n; ++i) {
                       const To t = static_cast<To>(v[i]);
                       std::memcpy(b.p[0] + i * sizeof(To), &t, sizeof(To));
                   }
               },
               counts});
    };
    const auto widen = [](void* data, uint32_t n) {
        EXPECT_EQ(static_cast<void*>(qxcalcCASingleArrToDoubleArrInplace(data, n)), data);
    };
    inPlace(0.0, 0.0f, qxcalcCADoubleArrToSingleArrInplace, 16, countsAround({}, 4));
    inPlace(0.0, 0.0f, qxcalcCADoubleArrToSingleArrInplace, 8, {0, 1, 2, 3});
    inPlace(0.0f, 0.0, widen, 32, countsAround({}, 8));
    inPlace(0.0f, 0.0, widen, 4, {0, 1, 2, 3, 4, 5, 6, 7});
}

}  // namespace
