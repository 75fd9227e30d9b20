// The C++ layer: the interpolator owner moves and reports statuses as error codes, a ring sized for the largest
// block, running statistics over blocks of both paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "qxcalc.hpp"

namespace {

std::vector<float> values(std::span<const float> s) { return {s.begin(), s.end()}; }
std::vector<float> irregular(std::size_t n, float step = 0.7f)
{
    std::vector<float> v(n);
    for (std::size_t i = 0; i < n; ++i) v[i] = 40.0f * std::sin(step * i) + 0.37f * i - 3.0f;
    return v;
}

TEST(CHSLayerLifecycle, OwnerMovesAndReportsEveryStatus)
{
    std::error_code error = qxcalc::Status::stopped;
    qxcalc::Interpolator a = qxcalc::Interpolator::create(2.0, 2.0, 8, error), other;
    ASSERT_FALSE(error);
    other = qxcalc::Interpolator::create(1.0, 3.0, 16, error);
    CHSInterpolator* const handle = a.handle();
    qxcalc::Interpolator b(std::move(a));
    EXPECT_EQ(a.interpolate(std::vector<float>{1}).error, qxcalc::Status::invalidArgument);
    other = std::move(b);
    EXPECT_FALSE(a || b);
    EXPECT_EQ(other.handle(), handle);
    const std::vector<float> x = irregular(7);
    EXPECT_EQ(other.interpolate(x).error, qxcalc::Status::tooManyValues);  // at most 8 - 2
    const auto fed = other.interpolate(std::span(x).first(4));  // equal rates: the samples come back
    EXPECT_FALSE(fed.error);
    EXPECT_EQ(values(fed.output), values(std::span(x).first(3)));
    EXPECT_EQ(values(other.stop().output), values(std::span(x).subspan(3, 1)));
    EXPECT_EQ(other.stop().error, qxcalc::Status::stopped);
    EXPECT_FALSE(other.reset());
    EXPECT_EQ(other.interpolate(std::span(x).first(2)).output.size(), 1u);
}

// A ring sized for blocks of 62 (128, not 64, where a block of 62 would overwrite a point still to be read).
TEST(CppLayer, InterpolatorSizedForItsLargestBlockGivesTheOutputsOfSmallBlocks)
{
    const std::vector<float> x = irregular(2000, 0.05f);
    const auto resample = [&](std::size_t block) {
        std::error_code error;
        qxcalc::Interpolator chs = qxcalc::Interpolator::createForBlocks(48000.0, 44100.0, 62, error);
        std::vector<float> y;
        for (std::size_t done = 0; done < x.size(); done += block) {
            const auto fed = chs.interpolate(std::span(x).subspan(done, std::min(block, x.size() - done)));
            y.insert(y.end(), fed.output.begin(), fed.output.end());
        }
        return y;
    };
    EXPECT_EQ(resample(62), resample(5));
}

// Each sample type: a short block with the lowest sample, one long enough for the vector path, a short one with the
// highest.
TEST(CppLayer, RunningStatisticsFormAverageAndRmsOverBlocksOfBothPaths)
{
    const auto check = [](auto zero) {
        using T = decltype(zero);
        const std::vector<T> first = {-20, 2, 3}, middle = {3, -7, 5, 1, 9, -2, 4, 8, -6, 2, 7}, last = {30, 0};
        const auto own = qxcalc::getMinMax(std::span<const T>(middle));
        EXPECT_EQ(std::pair(own.min, own.max), std::pair(T(-7), T(9)));
        qxcalc::RunningStatistics<T> stats(1);
        for (const auto* block : {&first, &middle, &last}) stats.add(*block);
        EXPECT_EQ(std::tuple(stats.count(), stats.minimum(), stats.maximum()), std::tuple(16u, T(-20), T(30)));
        EXPECT_EQ(std::pair(stats.sum(), stats.sumOfSquares()), std::pair(39.0, 1745.0));  // squares of sample + 1
        EXPECT_EQ(std::pair(stats.average(), stats.rms()), std::pair(39.0 / 16, std::sqrt(1745.0 / 16)))
            << sizeof(T) << " bytes";
    };
    check(0.0f);
    check(0.0);
    check(int16_t{});
    check(int32_t{});
}

}  // namespace
