// The CHS interpolator: random call sequences against the model, status by
// status and bit by bit, then the status paths the sequences do not reach.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "qxcalc.h"
#include "support/bits.h"
#include "support/chs_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

using Handle = std::unique_ptr<CHSInterpolator, decltype(&qxcalcCHSInterpolator_Destroy)>;

Handle create(double inputRate, double outputRate, uint32_t length)
{
    const CHSInterpolatorParams params{inputRate, outputRate, length};
    CHSInterpolator* h = nullptr;
    EXPECT_EQ(qxcalcCHSInterpolator_Create(&h, &params), QxcalcStatusOk);
    return Handle(h, &qxcalcCHSInterpolator_Destroy);
}

// A call's outputs, preset to sentinels so that untouched outputs show.
float gSentinelSample;
struct Result {
    QxcalcStatus status;
    float* output = &gSentinelSample;
    uint32_t count = 0xA5A5A5A5u;
    bool untouched() const { return output == &gSentinelSample && count == 0xA5A5A5A5u; }
};
// InterpolateValues with `count` samples, or Stop without samples.
Result call(CHSInterpolator* h, const float* samples = nullptr, uint32_t count = 0)
{
    Result r;
    r.status = samples ? qxcalcCHSInterpolator_InterpolateValues(h, samples, count, &r.output, &r.count)
                       : qxcalcCHSInterpolator_Stop(h, &r.output, &r.count);
    return r;
}

::testing::AssertionResult agrees(const Result& got, QxcalcStatus status, bool delivered,
                                  const std::vector<float>& want, float*& buffer)
{
    if (got.status != status) return ::testing::AssertionFailure() << "status " << got.status << ", want " << status;
    if (status != QxcalcStatusOk || !delivered)
        return got.untouched() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "outputs written";
    if (buffer == nullptr) buffer = got.output;
    if (got.output != buffer) return ::testing::AssertionFailure() << "output buffer moved";
    if (got.count != want.size())
        return ::testing::AssertionFailure() << "count " << got.count << ", want " << want.size();
    const std::string difference = firstDifference("output", got.output, want.data(), got.count, sizeof(float));
    return difference.empty() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << difference;
}

// Plain samples within +-1e6; wild ones also NaNs (quiet and signalling, either sign), infinities, signed zeros
// and any bits. Handed over as bits: a float returned through x87 on i386 would lose its signalling NaNs.
uint32_t randomSampleBits(std::mt19937& rng, bool wild)
{
    static constexpr uint32_t kSpecials[] = {0x7FC00001, 0xFFC00123, 0x7F800005, 0xFF800777,
                                             0x7F800000, 0xFF800000, 0x00000000, 0x80000000};
    if (wild && rng() % 8 == 0) return rng() % 2 ? static_cast<uint32_t>(rng()) : kSpecials[rng() % 8];
    return bitsOf(static_cast<float>(std::uniform_real_distribution<double>(-1e6, 1e6)(rng)));
}

// Feeds `samples` in total; `controls` interleaves Stop, Reset and refused calls.
void runAgainstModel(double in, double out, uint32_t length, uint64_t samples, bool controls, bool wild, uint32_t seed)
{
    if (sparseSweep()) samples /= 8;
    SCOPED_TRACE(::testing::Message() << "rates " << in << " -> " << out << ", ring " << length << ", seed " << seed);
    Handle lib = create(in, out, length);
    chs::Model model(in, out, length);
    std::mt19937 rng(seed);
    std::vector<float> block(length), want;
    float* buffer = nullptr;
    const uint32_t maxBlock = length - 2;
    bool delivered = true;
    for (uint64_t fed = 0, step = 0; fed < samples; ++step) {
        const uint32_t roll = rng() % 1000;
        if (controls && roll < 4) {
            const Result got = call(lib.get());
            const QxcalcStatus status = model.stop(want, delivered);
            ASSERT_TRUE(agrees(got, status, delivered, want, buffer)) << "Stop, call " << step;
        } else if (controls && (roll < 8 || (model.stopped() && roll >= 12 && roll < 300))) {
            ASSERT_EQ(qxcalcCHSInterpolator_Reset(lib.get()), QxcalcStatusOk);
            model.reset();
        } else {
            uint32_t count = 1 + rng() % (rng() % 4 ? maxBlock : std::min(maxBlock, 3u));
            if (controls && roll < 12) count = roll % 2 ? 0 : maxBlock + 1 + rng() % 3;
            for (uint32_t k = 0; k < count && k < block.size(); ++k)
                block[k] = std::bit_cast<float>(randomSampleBits(rng, wild));
            const Result got = call(lib.get(), block.data(), count);
            const QxcalcStatus status = model.feed(block.data(), count, want);
            ASSERT_TRUE(agrees(got, status, true, want, buffer)) << "InterpolateValues(" << count << "), call " << step;
            if (status == QxcalcStatusOk) fed += count;
        }
    }
    const QxcalcStatus status = model.stop(want, delivered);
    ASSERT_TRUE(agrees(call(lib.get()), status, delivered, want, buffer)) << "final Stop";
    EXPECT_FALSE(model.exceededCapacity()) << "a call produced more than the output buffer's capacity + 1";
}

TEST(CHSInterpolator, RandomCallSequencesMatchTheModel)
{
    uint32_t seed = 1;
    for (const auto& [in, out] : {std::array<double, 2>{1, 1}, {7, 1}, {10, 3}, {10, 27}, {1, 11}, {3, 1}, {1, 3},
                                  {5, 1}, {2, 1}, {1, 2}, {48000, 44100}, {44100, 48000}})
        for (const uint32_t length : {4u, 8u, 16u, 64u, 1024u})
            for (const bool wild : {false, true}) runAgainstModel(in, out, length, 60000, true, wild, seed++);
    std::mt19937 rng(99);  // random rate pairs within 1/16 .. 16
    for (int k = 0; k < 100; ++k) {
        const double in = 1000 + rng() % 100000, out = in * (1.0 / 16 + (rng() % 10000) * (16 - 1.0 / 16) / 10000);
        runAgainstModel(in, std::round(out), 4u << rng() % 8, 20000, true, k % 2 == 1, seed++);
    }
    seed = 500;  // million-sample streams wrap the ring many times
    for (const auto& [in, out] : {std::array<double, 2>{10, 27}, {7, 1}, {1, 11}, {44100, 48000}})
        runAgainstModel(in, out, 65536, 1100000, false, false, seed++);
    runAgainstModel(10, 3, 4, 1000000, false, true, seed++);
}

// What the sequences do not reach: creation (params, then rates, then the ring length), null handles, and a
// ring of 2, which takes no block at all and whose Stop only marks it stopped.
TEST(CHSInterpolator, CreateAndCallsRefuseInOrderAndChangeNothing)
{
    CHSInterpolator* const sentinel = reinterpret_cast<CHSInterpolator*>(&gSentinelSample);
    const auto status = [&](double in, double out, uint32_t length, bool withParams = true) {
        const CHSInterpolatorParams params{in, out, length};
        CHSInterpolator* h = sentinel;
        const QxcalcStatus s = qxcalcCHSInterpolator_Create(&h, withParams ? &params : nullptr);
        if (s != QxcalcStatusOk) EXPECT_EQ(h, sentinel) << "handle written on failure";
        else EXPECT_EQ(qxcalcCHSInterpolator_Destroy(h), QxcalcStatusOk);
        return s;
    };
    EXPECT_EQ(status(1, 1, 8, false), QxcalcStatusInvalidArgument);
    const double nan = doubleFromBits(0x7FF8000000000001ull), inf = doubleFromBits(0x7FF0000000000000ull);
    for (const double rate : {0.0, -0.0, -1.0, -inf, nan}) {  // a NaN rate is taken
        EXPECT_EQ(status(rate, 1, 8), rate == rate ? QxcalcStatusInvalidArgument : QxcalcStatusOk) << rate;
        EXPECT_EQ(status(1, rate, 8), rate == rate ? QxcalcStatusInvalidArgument : QxcalcStatusOk) << rate;
        EXPECT_EQ(status(rate, 1, 3), rate == rate ? QxcalcStatusInvalidArgument : QxcalcStatusBadBufferSize)
            << "rates first";
    }
    for (const uint32_t bad : {0u, 1u, 3u, 6u, 0x80000001u, 0xFFFFFFFFu})
        EXPECT_EQ(status(1, 1, bad), QxcalcStatusBadBufferSize) << bad;
    EXPECT_EQ(status(1, 1, 2), QxcalcStatusOk);
    const float samples[1] = {1};
    EXPECT_EQ(qxcalcCHSInterpolator_Destroy(nullptr), QxcalcStatusInvalidArgument);
    EXPECT_EQ(qxcalcCHSInterpolator_Reset(nullptr), QxcalcStatusInvalidArgument);
    EXPECT_EQ(call(nullptr).status, QxcalcStatusInvalidArgument);
    EXPECT_EQ(call(nullptr, samples, 1).status, QxcalcStatusInvalidArgument);
    Handle two = create(1, 1, 2);
    EXPECT_EQ(call(two.get(), samples, 1).status, QxcalcStatusTooManyValues);
    const Result r = call(two.get());
    EXPECT_TRUE(r.status == QxcalcStatusOk && r.untouched());
    EXPECT_EQ(call(two.get()).status, QxcalcStatusStopped);
}

}  // namespace
