// qxcalcGetMinMaxAveRMS_*: both paths of every member against the scalar
// models over every count up to 10,000 and every start, fenced by
// inaccessible pages; then the behaviours a host relies on, stated plainly.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "qxcalc.h"
#include "support/bits.h"
#include "support/guarded.h"
#include "support/stats_model.h"

using namespace qxtest;

namespace {

template <class T>
void callStats(const T* p, uint32_t n, StatsState<T>& s, OffsetOf<T> offset)
{
    if constexpr (std::is_same_v<T, float>) qxcalcGetMinMaxAveRMS_float(p, n, &s.lo, &s.hi, &s.sum, &s.squares, offset);
    else if constexpr (std::is_same_v<T, double>) qxcalcGetMinMaxAveRMS_double(p, n, &s.lo, &s.hi, &s.sum, &s.squares, offset);
    else if constexpr (std::is_same_v<T, int16_t>) qxcalcGetMinMaxAveRMS_int16_t(p, n, &s.lo, &s.hi, &s.sum, &s.squares, offset);
    else qxcalcGetMinMaxAveRMS_int32_t(p, n, &s.lo, &s.hi, &s.sum, &s.squares, offset);
}

template <class T>
bool sameState(const StatsState<T>& a, const StatsState<T>& b)
{
    return bitsOf(a.lo) == bitsOf(b.lo) && bitsOf(a.hi) == bitsOf(b.hi) && bitsOf(a.sum) == bitsOf(b.sum) &&
           bitsOf(a.squares) == bitsOf(b.squares);
}

template <class T>
::testing::AssertionResult describe(const StatsState<T>& got, const StatsState<T>& want)
{
    if (sameState(got, want)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "min " << +got.lo << " want " << +want.lo << ", max " << +got.hi
                                         << " want " << +want.hi << ", sum " << got.sum << " want " << want.sum
                                         << ", squares " << got.squares << " want " << want.squares;
}

template <class T>
class StatsTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double, int16_t, int32_t>;
TYPED_TEST_SUITE(StatsTest, SampleTypes);

TYPED_TEST(StatsTest, EveryCountAndStartMatchesTheModelWithoutStrayAccess)
{
    using T = TypeParam;
    constexpr uint32_t kMaxCount = 10000;
    constexpr unsigned kStarts = StatsGeometry<T>::alignment / sizeof(T);
    const auto offset = static_cast<OffsetOf<T>>(-0.3);  // not exact in binary: shows the offset's precision
    GuardedArena arena(kMaxCount * sizeof(T) + 64);
    for (const bool specials : {false, true}) {
        // The leading fence is exercised over the short and medium counts.
        sweepFencedBlocks(arena, randomSamples<T>(kMaxCount, specials ? 11 : 5, specials), kMaxCount, kStarts,
                          specials ? 0 : 1500, std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(),
                          [&](T* block, uint32_t n, unsigned start, bool atEnd) {
                              const StatsState<T> incoming{T(-5), T(5), 1234.5, 0.25};
                              StatsState<T> got = incoming, want = incoming;
                              const bool clean = runWithoutFault([&] { callStats(block, n, got, offset); });
                              modelMinMaxAveRms(block, n, offset, want);
                              if (clean && arena.poisonIntact() && sameState(got, want)) return true;
                              ADD_FAILURE() << "count " << n << ", start offset " << start
                                            << (atEnd ? ", end" : ", start") << " fence, specials " << specials
                                            << (clean ? "" : ": faulted") << "; " << describe(got, want).message();
                              return false;
                          });
    }
}

TYPED_TEST(StatsTest, CountZeroWritesNothing)
{
    using T = TypeParam;
    const T sample[1] = {T(3)};
    StatsState<T> s{T(-9), T(9), doubleFromBits(0x7FF8000000000123), -0.0};
    callStats(sample, 0, s, OffsetOf<T>(1));
    EXPECT_EQ(s.lo, T(-9));
    EXPECT_EQ(s.hi, T(9));
    EXPECT_EQ(bitsOf(s.sum), 0x7FF8000000000123u);
    EXPECT_TRUE(std::signbit(s.squares));
}

TYPED_TEST(StatsTest, ShortBlocksContinueMinMaxLongBlocksReplaceThem)
{
    using T = TypeParam;
    constexpr uint32_t L = StatsGeometry<T>::lanes;
    const std::vector<T> data = {T(10), T(20), T(30), T(40), T(15), T(25), T(35), T(45), T(12)};
    StatsState<T> s{T(-100), T(100), 0, 0};
    callStats(data.data(), L - 1, s, OffsetOf<T>(0));
    EXPECT_EQ(s.lo, T(-100));
    EXPECT_EQ(s.hi, T(100));
    callStats(data.data(), L, s, OffsetOf<T>(0));
    T lo = data[0], hi = data[0];
    for (uint32_t i = 0; i < L; ++i) lo = std::min(lo, data[i]), hi = std::max(hi, data[i]);
    EXPECT_EQ(s.lo, lo);
    EXPECT_EQ(s.hi, hi);
}

// Integer samples with offset 0 have exact sums whatever the association, so
// feeding a signal in one call or in uneven pieces gives identical totals.
TYPED_TEST(StatsTest, IntegerValuedSignalFedInPiecesGivesTheSameTotals)
{
    using T = TypeParam;
    const std::vector<T> data = randomSamples<T>(5000, 17, false);
    std::vector<T> whole(data.size());
    for (std::size_t i = 0; i < data.size(); ++i) whole[i] = static_cast<T>(static_cast<int>(data[i]) % 2000);
    StatsState<T> once{T(0), T(0), 0, 0}, pieces = once;
    callStats(whole.data(), 5000, once, OffsetOf<T>(0));
    uint32_t at = 0;
    for (const uint32_t piece : {9u, 3u, 1000u, 17u, 2500u, 1471u}) {
        callStats(whole.data() + at, piece, pieces, OffsetOf<T>(0));
        at += piece;
    }
    ASSERT_EQ(at, 5000u);
    EXPECT_EQ(once.sum, pieces.sum);
    EXPECT_EQ(once.squares, pieces.squares);
}

TEST(StatsInt32, ExtremeSamplesSumExactly)
{
    alignas(16) const int32_t v[6] = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX, -1};
    StatsState<int32_t> s{0, 0, 0, 0};
    qxcalcGetMinMaxAveRMS_int32_t(v, 6, &s.lo, &s.hi, &s.sum, &s.squares, 0.0);
    EXPECT_EQ(s.sum, 3.0 * INT32_MAX + 2.0 * INT32_MIN - 1.0);
    EXPECT_EQ(s.lo, INT32_MIN);
    EXPECT_EQ(s.hi, INT32_MAX);
}

TEST(StatsInt16, ShortBlocksAddTheOffsetInSinglePrecision)
{
    // 3 + 0.1f is rounded to float on the one-at-a-time path; the vector
    // lanes add the widened offset in double.
    alignas(16) const int16_t v[8] = {3, 3, 3, 3, 3, 3, 3, 3};
    const float offset = 0.1f;
    const double single = static_cast<float>(3.0f + offset);
    const double wide = 3.0 + static_cast<double>(offset);
    ASSERT_NE(single, wide);
    StatsState<int16_t> s{0, 0, 0, 0};
    qxcalcGetMinMaxAveRMS_int16_t(v, 1, &s.lo, &s.hi, &s.sum, &s.squares, offset);
    EXPECT_EQ(s.squares, single * single);
    s = {0, 0, 0, 0};
    qxcalcGetMinMaxAveRMS_int16_t(v, 8, &s.lo, &s.hi, &s.sum, &s.squares, offset);
    const double q = wide * wide;  // eight equal lanes reduce exactly to 8q
    EXPECT_EQ(s.squares, 8 * q);
    EXPECT_NE(s.squares, 8 * single * single);
}

TEST(StatsFloat, InfiniteSampleUnderAMaskedLaneTurnsTheSumsIntoNaN)
{
    // Start 4 bytes past a 32-byte boundary: the head mask keeps 7 samples
    // and zeroes the lane of sample 7, which the aligned body adds again.
    alignas(32) float storage[24] = {};
    float* block = storage + 1;
    for (int i = 0; i < 16; ++i) block[i] = 1.0f;
    block[7] = std::numeric_limits<float>::infinity();
    StatsState<float> s{0, 0, 0, 0};
    qxcalcGetMinMaxAveRMS_float(block, 16, &s.lo, &s.hi, &s.sum, &s.squares, 0.0f);
    EXPECT_TRUE(std::isnan(s.sum));
    EXPECT_TRUE(std::isnan(s.squares));
    EXPECT_EQ(s.hi, std::numeric_limits<float>::infinity());
    // Aligned start, whole vectors only: no masked lane, a plain infinity.
    s = {0, 0, 0, 0};
    storage[7] = std::numeric_limits<float>::infinity();
    qxcalcGetMinMaxAveRMS_float(storage, 16, &s.lo, &s.hi, &s.sum, &s.squares, 0.0f);
    EXPECT_EQ(s.sum, std::numeric_limits<float>::infinity());
}

TEST(StatsDouble, TwoNaNPayloadsMeetInTheCallersOrder)
{
    // The incoming sum's NaN is the first operand of every addition into it.
    const double incoming = doubleFromBits(0x7FF8000000000AAA);
    const double sample = doubleFromBits(0x7FF8000000000BBB);
    for (const uint32_t n : {1u, 3u, 4u, 9u}) {
        alignas(32) double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        v[n - 1] = sample;
        StatsState<double> s{0, 0, incoming, 0};
        qxcalcGetMinMaxAveRMS_double(v, n, &s.lo, &s.hi, &s.sum, &s.squares, 0.0);
        if (n < 4) EXPECT_EQ(bitsOf(s.sum), bitsOf(incoming)) << n;
        else EXPECT_EQ(bitsOf(s.sum), bitsOf(n == 4 ? sample : incoming)) << n;
    }
}

}  // namespace

namespace {

// Negative-zero samples into a negative-zero sum: the one-at-a-time path
// keeps -0 (-0 + -0); the vector lanes start at +0, so the reduced +0 added
// to the caller's -0 gives +0.
TYPED_TEST(StatsTest, NegativeZeroSumsFollowThePath)
{
    using T = TypeParam;
    if constexpr (std::is_floating_point_v<T>) {
        constexpr uint32_t L = StatsGeometry<T>::lanes;
        alignas(32) T v[2 * L];
        for (T& x : v) x = -T(0);
        for (const uint32_t n : {L - 1, L, 2 * L - 1}) {
            StatsState<T> s{T(0), T(0), -0.0, -0.0};
            callStats(v, n, s, -OffsetOf<T>(0));
            EXPECT_EQ(std::signbit(s.sum), n < L) << n;
            EXPECT_EQ(std::signbit(s.squares), false) << n;  // (-0)^2 is +0
        }
    }
}

}  // namespace
