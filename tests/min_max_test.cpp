// qxcalcGetMinMax_*: both paths against the scalar models, over every count
// up to 10,000 and every start offset, against both fences; then the NaN,
// signed-zero and integer-extreme rules stated as plain expectations.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "qxcalc.h"
#include "support/bits.h"
#include "support/guarded.h"
#include "support/lane_model.h"

using namespace qxtest;

namespace {

template <class T>
void callMinMax(const T* p, uint32_t n, T* lo, T* hi)
{
    if constexpr (std::is_same_v<T, float>) qxcalcGetMinMax_float(p, n, lo, hi);
    else if constexpr (std::is_same_v<T, double>) qxcalcGetMinMax_double(p, n, lo, hi);
    else if constexpr (std::is_same_v<T, int16_t>) qxcalcGetMinMax_int16_t(p, n, lo, hi);
    else qxcalcGetMinMax_int32_t(p, n, lo, hi);
}

template <class T>
MinMax<T> expectedMinMax(const T* p, uint32_t n)
{
    if (n >= StatsGeometry<T>::lanes) return vectorMinMax(p, n);
    MinMax<T> m{p[0], p[0]};
    runningMinMax(p + 1, n - 1, m);
    return m;
}

// Values that change the minimum or the maximum of any plain data set.
template <class T>
T lowPoison()
{
    return std::numeric_limits<T>::has_infinity ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::lowest();
}
template <class T>
T highPoison()
{
    return std::numeric_limits<T>::has_infinity ? std::numeric_limits<T>::infinity() : std::numeric_limits<T>::max();
}

template <class T>
MinMax<T> minMaxOf(const std::vector<T>& values)
{
    MinMax<T> r{};
    callMinMax(values.data(), static_cast<uint32_t>(values.size()), &r.lo, &r.hi);
    return r;
}

template <class T>
class GetMinMaxTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double, int16_t, int32_t>;
TYPED_TEST_SUITE(GetMinMaxTest, SampleTypes);

TYPED_TEST(GetMinMaxTest, EveryCountAndStartMatchesTheModelWithoutStrayAccess)
{
    using T = TypeParam;
    constexpr uint32_t kMaxCount = 10000;
    constexpr unsigned kStarts = StatsGeometry<T>::alignment / sizeof(T);
    GuardedArena arena(kMaxCount * sizeof(T) + 64);
    for (const bool specials : {false, true}) {
        // The fences are covered by the plain data.
        sweepFencedBlocks(arena, randomSamples<T>(kMaxCount, specials ? 7 : 3, specials), kMaxCount, kStarts,
                          specials ? 0 : kMaxCount, lowPoison<T>(), highPoison<T>(),
                          [&](T* block, uint32_t n, unsigned start, bool atEnd) {
                              MinMax<T> got{};
                              const bool clean = runWithoutFault([&] { callMinMax(block, n, &got.lo, &got.hi); });
                              const MinMax<T> want = expectedMinMax(block, n);
                              if (clean && arena.poisonIntact() && bitsOf(got.lo) == bitsOf(want.lo) &&
                                  bitsOf(got.hi) == bitsOf(want.hi))
                                  return true;
                              ADD_FAILURE() << "count " << n << ", start offset " << start
                                            << (atEnd ? ", end" : ", start") << " fence, specials " << specials
                                            << (clean ? "" : ": faulted") << "; min " << +got.lo << " want "
                                            << +want.lo << ", max " << +got.hi << " want " << +want.hi;
                              return false;
                          });
    }
}

TYPED_TEST(GetMinMaxTest, TypeExtremesAreReportedExactlyOnBothPaths)
{
    using T = TypeParam;
    const T lo = std::numeric_limits<T>::lowest(), hi = std::numeric_limits<T>::max();
    for (const uint32_t n : {2u, 7u, 8u, 9u, 100u}) {
        for (uint32_t at = 0; at + 1 < n; at += n / 2 + 1) {
            std::vector<T> v(n, T(1));
            v[at] = hi;
            v[n - 1 - at] = lo;
            const MinMax<T> r = minMaxOf(v);
            EXPECT_EQ(r.lo, lo) << "count " << n;
            EXPECT_EQ(r.hi, hi) << "count " << n;
        }
    }
}

template <class T>
class GetMinMaxFloatTest : public ::testing::Test {};
using FloatTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GetMinMaxFloatTest, FloatTypes);

TYPED_TEST(GetMinMaxFloatTest, ShortBlockKeepsLeadingNaNAndSkipsLaterOnes)
{
    using T = TypeParam;
    const T nan = nanWithPayload<T>(5);
    for (uint32_t n = 2; n < StatsGeometry<T>::lanes; ++n) {
        std::vector<T> v(n, T(3));
        v[0] = nan;
        MinMax<T> r = minMaxOf(v);
        EXPECT_EQ(bitsOf(r.lo), bitsOf(nan)) << n;
        EXPECT_EQ(bitsOf(r.hi), bitsOf(nan)) << n;
        v[0] = T(3);
        v[n - 1] = nan;
        r = minMaxOf(v);
        EXPECT_EQ(r.lo, T(3)) << n;
        EXPECT_EQ(r.hi, T(3)) << n;
    }
}

TYPED_TEST(GetMinMaxFloatTest, VectorPathReportsNaNExactlyWhenLastSampleIsNaN)
{
    using T = TypeParam;
    constexpr uint32_t L = StatsGeometry<T>::lanes;
    alignas(32) T v[4 * L];
    for (uint32_t n = L; n <= 4 * L; ++n) {
        for (uint32_t i = 0; i < n; ++i) v[i] = T(i % 5);
        v[n - 1] = nanWithPayload<T>(9);
        MinMax<T> r{};
        callMinMax(v, n, &r.lo, &r.hi);
        EXPECT_EQ(bitsOf(r.lo), bitsOf(v[n - 1])) << n;
        EXPECT_EQ(bitsOf(r.hi), bitsOf(v[n - 1])) << n;
    }
}

TYPED_TEST(GetMinMaxFloatTest, VectorPathNaNDropsEarlierValuesOfItsLane)
{
    using T = TypeParam;
    constexpr uint32_t L = StatsGeometry<T>::lanes;
    alignas(32) T v[2 * L];
    for (uint32_t i = 0; i < 2 * L; ++i) v[i] = T(1 + i % 3);
    v[0] = T(-100);  // lane 0, replaced by the NaN below and then by v[L + 0] again
    v[L] = nanWithPayload<T>(1);
    MinMax<T> r{};
    callMinMax(v, 2 * L, &r.lo, &r.hi);
    EXPECT_EQ(r.lo, T(1));
    EXPECT_EQ(r.hi, T(3));
}

TYPED_TEST(GetMinMaxFloatTest, SignedZeroTiesFollowThePath)
{
    using T = TypeParam;
    constexpr uint32_t L = StatsGeometry<T>::lanes;
    // One at a time: the earlier zero stays.
    MinMax<T> r = minMaxOf(std::vector<T>{T(0), -T(0)});
    EXPECT_FALSE(std::signbit(r.lo));
    EXPECT_FALSE(std::signbit(r.hi));
    // Vector lanes: the later zero wins a tie.
    alignas(32) T v[2 * L];
    for (uint32_t i = 0; i < 2 * L; ++i) v[i] = i < L ? T(0) : -T(0);
    callMinMax(v, 2 * L, &r.lo, &r.hi);
    EXPECT_TRUE(std::signbit(r.lo));
    EXPECT_TRUE(std::signbit(r.hi));
    for (uint32_t i = 0; i < 2 * L; ++i) v[i] = i < L ? -T(0) : T(0);
    callMinMax(v, 2 * L, &r.lo, &r.hi);
    EXPECT_FALSE(std::signbit(r.lo));
    EXPECT_FALSE(std::signbit(r.hi));
}

TEST(GetVersion, ReportsOnePointFortyFourAndComparesLevelWithNine)
{
    for (const auto& [level, above] : {std::pair{9, 0}, {10, 1}, {-1, 0}, {std::numeric_limits<int32_t>::min(), 0}}) {
        int32_t major = -1, minor = -1, levelAboveNine = -1;
        qxcalcGetVersion(&major, &minor, level, &levelAboveNine);
        EXPECT_EQ(major, 1);
        EXPECT_EQ(minor, 44);
        EXPECT_EQ(levelAboveNine, above) << level;
    }
}

}  // namespace
