// qxcalcMoveAndGetMinMaxAveRMS_int16_t: the three paths against a scalar
// model for strides -3..9, short and long blocks, every start offset of
// source and destination, with both buffers fenced by inaccessible pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "qxcalc.h"
#include "support/bits.h"
#include "support/guarded.h"
#include "support/stats_model.h"

using namespace qxtest;

namespace {

using State = StatsState<int16_t>;

void callMove(int16_t* dst, const int16_t* src, uint32_t n, State& s, float offset, int32_t stride)
{
    qxcalcMoveAndGetMinMaxAveRMS_int16_t(dst, src, n, &s.lo, &s.hi, &s.sum, &s.squares, offset, stride);
}

void runningOne(int16_t x, float offset, State& s)
{
    s.lo = std::min(s.lo, x);
    s.hi = std::max(s.hi, x);
    scalarSums(&x, 1, offset, s);
}

// The model: one at a time below 8 samples; a contiguous read for strides
// <= 1 (aligned on the source, incoming min/max ignored); gathered groups of
// eight for strides >= 2 (aligned on the destination, incoming min/max kept).
// The samples go to dst; `placed` is the address the call writes to, which
// decides the strided path's alignment.
void modelMove(int16_t* dst, const int16_t* placed, const int16_t* src, uint32_t n, State& s, float offset,
               int32_t stride)
{
    if (n == 0) return;
    if (n < 8) {
        for (uint32_t i = 0; i < n; ++i) runningOne(dst[i] = src[static_cast<ptrdiff_t>(i) * stride], offset, s);
        return;
    }
    LaneSums lanes;
    if (stride <= 1) {
        const uint32_t peel = peelOf<16>(src);
        scalarSums(src, peel, offset, s);
        uint32_t i = peel;
        for (; i + 8 <= n; i += 8) lanes.addPlain(src + i, offset, 8);
        lanes.reduceInto(s.sum, s.squares);
        scalarSums(src + i, n - i, offset, s);
        std::copy(src, src + n, dst);
        s.lo = *std::min_element(src, src + n);
        s.hi = *std::max_element(src, src + n);
        return;
    }
    const uint32_t head = std::min(peelOf<16>(placed), n);
    for (uint32_t i = 0; i < head; ++i) runningOne(dst[i] = src[static_cast<ptrdiff_t>(i) * stride], offset, s);
    uint32_t i = head;
    for (; i + 8 <= n; i += 8) {
        for (uint32_t j = i; j < i + 8; ++j) {
            dst[j] = src[static_cast<ptrdiff_t>(j) * stride];
            s.lo = std::min(s.lo, dst[j]);
            s.hi = std::max(s.hi, dst[j]);
        }
        lanes.addPlain(dst + i, offset, 8);
    }
    lanes.reduceInto(s.sum, s.squares);
    for (; i < n; ++i) runningOne(dst[i] = src[static_cast<ptrdiff_t>(i) * stride], offset, s);
}

// Lowest and highest source index the call may read.
std::pair<ptrdiff_t, ptrdiff_t> sourceReach(uint32_t n, int32_t stride)
{
    if (n >= 8 && stride <= 1) return {0, n - 1};
    const ptrdiff_t last = static_cast<ptrdiff_t>(n - 1) * stride;
    return {std::min<ptrdiff_t>(0, last), std::max<ptrdiff_t>(0, last)};
}

TEST(MoveAndStats, EveryPathStrideAndStartMatchesTheModelWithoutStrayAccess)
{
    std::vector<uint32_t> counts;
    for (uint32_t n = 1; n <= 80; ++n) counts.push_back(n);
    for (uint32_t n : {255u, 256u, 1000u, 4099u}) counts.push_back(n);
    const std::vector<int16_t> data = randomSamples<int16_t>(10 * 4099, 23, false);
    GuardedArena sourceArena(10 * 4099 * 2 + 64), destinationArena(4099 * 2 + 64);
    const float offset = -0.3f;
    for (int32_t stride = -3; stride <= 9; ++stride) {
        for (const uint32_t n : counts) {
            const auto [low, high] = sourceReach(n, stride);
            const auto span = static_cast<size_t>(high - low + 1);
            for (unsigned srcStart = 0; srcStart < 8; ++srcStart) {
                for (unsigned dstStart = 0; dstStart < 8; ++dstStart) {
                    const bool atEnd = (srcStart + dstStart) % 2 == 0;
                    const unsigned spanMisalign = static_cast<unsigned>(((srcStart + low) * 2 % 32 + 32) % 32);
                    int16_t* spanFirst = atEnd ? sourceArena.placeAgainstEnd<int16_t>(span, spanMisalign)
                                               : sourceArena.placeAgainstStart<int16_t>(spanMisalign);
                    std::memcpy(spanFirst, data.data(), span * 2);
                    sourceArena.poisonAround<int16_t>(spanFirst, span * 2, INT16_MIN, INT16_MAX);
                    int16_t* dst = atEnd ? destinationArena.placeAgainstStart<int16_t>(dstStart * 2)
                                         : destinationArena.placeAgainstEnd<int16_t>(n, dstStart * 2);
                    destinationArena.poisonAround<int16_t>(dst, n * 2, 0x5A5A, 0x0F0F);
                    const int16_t* src = spanFirst - low;

                    State got{-5, 5, 1234.5, 0.25}, want = got;
                    std::vector<int16_t> expected(n);
                    modelMove(expected.data(), dst, src, n, want, offset, stride);
                    const bool clean = runWithoutFault([&] { callMove(dst, src, n, got, offset, stride); });
                    const bool same = got.lo == want.lo && got.hi == want.hi && bitsOf(got.sum) == bitsOf(want.sum) &&
                                      bitsOf(got.squares) == bitsOf(want.squares) &&
                                      std::equal(expected.begin(), expected.end(), dst);
                    if (!clean || !same || !sourceArena.poisonIntact() || !destinationArena.poisonIntact())
                        FAIL() << "stride " << stride << ", count " << n << ", source start " << srcStart
                               << ", destination start " << dstStart << (clean ? "" : ": faulted")
                               << (destinationArena.poisonIntact() ? "" : ": wrote outside the destination")
                               << "; min " << got.lo << " want " << want.lo << ", max " << got.hi << " want "
                               << want.hi << ", sum " << got.sum << " want " << want.sum << ", squares "
                               << got.squares << " want " << want.squares;
                }
            }
        }
    }
}

TEST(MoveAndStats, IncomingMinimumIsIgnoredWhenContiguousAndKeptWhenStrided)
{
    alignas(16) int16_t source[32];
    for (int i = 0; i < 32; ++i) source[i] = static_cast<int16_t>(100 + i);
    alignas(16) int16_t destination[16];
    State s{-32768, 32767, 0, 0};
    callMove(destination, source, 16, s, 0.0f, 1);
    EXPECT_EQ(s.lo, 100);
    EXPECT_EQ(s.hi, 115);
    s = {-32768, 32767, 0, 0};
    callMove(destination, source, 16, s, 0.0f, 2);
    EXPECT_EQ(s.lo, -32768);
    EXPECT_EQ(s.hi, 32767);
    s = {-32768, 32767, 0, 0};
    callMove(destination, source, 3, s, 0.0f, 3);  // one at a time: running values
    EXPECT_EQ(s.lo, -32768);
    EXPECT_EQ(destination[2], 106);
}

TEST(MoveAndStats, StrideZeroRepeatsOnShortBlocksAndReadsContiguouslyOnLongOnes)
{
    int16_t source[16];
    for (int i = 0; i < 16; ++i) source[i] = static_cast<int16_t>(i + 1);
    int16_t destination[16] = {};
    State s{0, 0, 0, 0};
    callMove(destination, source, 5, s, 0.0f, 0);
    EXPECT_EQ(std::count(destination, destination + 5, int16_t{1}), 5);
    EXPECT_EQ(s.sum, 5.0);
    s = {0, 0, 0, 0};
    callMove(destination, source, 16, s, 0.0f, 0);
    EXPECT_TRUE(std::equal(source, source + 16, destination));
    EXPECT_EQ(s.sum, 136.0);
}

TEST(MoveAndStats, ExtractsOneChannelOfFourInterleaved)
{
    constexpr int kFrames = 1000;
    std::vector<int16_t> interleaved(4 * kFrames);
    for (int f = 0; f < kFrames; ++f)
        for (int c = 0; c < 4; ++c) interleaved[4 * f + c] = static_cast<int16_t>(c * 10000 + f - 500);
    std::vector<int16_t> channel(kFrames);
    State s{0, 0, 0, 0};
    callMove(channel.data(), interleaved.data() + 1, kFrames, s, 0.0f, 4);
    for (int f = 0; f < kFrames; ++f) ASSERT_EQ(channel[f], 10000 + f - 500) << f;
    EXPECT_EQ(s.lo, 0);  // the incoming 0 takes part on the strided path
    EXPECT_EQ(s.hi, 10499);
    double sum = 0;
    for (int f = 0; f < kFrames; ++f) sum += 10000 + f - 500;
    EXPECT_EQ(s.sum, sum);
}

}  // namespace
