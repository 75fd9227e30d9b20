// Block statistics: every export swept against the models, then what the sweeps cannot reach.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "qxcalc.hpp"
#include "support/stats_model.h"
#include "support/sweep.h"

using namespace qxtest;
using qxcalc::Exports;

namespace {

// Blocks of zeros: -0 only (plain data), or zeros of both signs with `one` here and there and a rare signalling NaN
// (special values). Which zero or NaN comes out shows the order in which the samples met.
template <class T, int one>
void fillZeros(std::byte* to, std::size_t n, DataSet set, uint32_t seed)
{
    std::mt19937 rng(seed);
    for (T* p = reinterpret_cast<T*>(to); n-- > 0; ++p) {
        const unsigned r = set == DataSet::Plain ? 0 : rng() % 256;
        *p = r < 128 ? -T(0) : r < 240 ? T(0) : r < 255 ? T(one) : T(0);
        if constexpr (std::is_floating_point_v<T>) *p = r < 255 ? *p : nanWithPayload<T>(rng() % 1000 + 1, true);
    }
}

// The call's buffers followed by the running state (min, max, sum, squares), which f sees as a StatsState.
// Blocks of zeros meet a +0 minimum and maximum and a sum and sum of squares of -0, or a NaN sum (special values).
template <class T>
std::vector<BlockSpec> withState(std::vector<BlockSpec> b, bool zeros = false)
{
    b.push_back(scalar<T>("min", Role::InOut, T(zeros ? 0 : -5)));
    b.push_back(scalar<T>("max", Role::InOut, T(zeros ? 0 : 5)));
    b.push_back(scalar<double>("sum", Role::InOut, 1234.5));
    b.push_back(scalar<double>("squares", Role::InOut, zeros ? -0.0 : 0.25));
    if (!zeros) return b;
    BlockSpec& sum = b[b.size() - 2];
    sum.incoming = nullptr;
    sum.fill = [](std::byte* to, std::size_t, DataSet set, uint32_t) {
        const double v = set == DataSet::Plain ? -0.0 : nanWithPayload<double>(0xAAA);
        std::memcpy(to, &v, sizeof v);
    };
    return b;
}
template <class T, class F>
std::function<void(const Blocks&, uint32_t)> onState(std::size_t first, F f)
{
    return [=](const Blocks& b, uint32_t n) {
        StatsState<T> s{*b.at<T>(first), *b.at<T>(first + 1), *b.at<double>(first + 2), *b.at<double>(first + 3)};
        f(b, n, s);
        *b.at<T>(first) = s.lo;
        *b.at<T>(first + 1) = s.hi;
        *b.at<double>(first + 2) = s.sum;
        *b.at<double>(first + 3) = s.squares;
    };
}

template <class T>
class StatsTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double, int16_t, int32_t>;
TYPED_TEST_SUITE(StatsTest, SampleTypes);

TYPED_TEST(StatsTest, MinMaxMatchesTheModelForEveryCountStartAndFence)
{
    using T = TypeParam;
    constexpr uint32_t L = StatsGeometry<T>::lanes;
    for (const int zeros : {0, 1, -1}) {  // random samples, then zeros with a 1 or a -1 here and there
        BlockSpec samples = block<T>("samples", Role::In);
        if (zeros) samples.fill = zeros > 0 ? fillZeros<T, 1> : fillZeros<T, -1>;
        sweep({"GetMinMax" + (zeros ? " of zeros and " + std::to_string(zeros) : ""),
               {samples, scalar<T>("min", Role::Out, T(77)), scalar<T>("max", Role::Out, T(77))},
               [](const Blocks& b, uint32_t n) { Exports<T>::getMinMax(b.at<T>(0), n, b.at<T>(1), b.at<T>(2)); },
               [](const Blocks& b, uint32_t n) {
                   T* const p = b.at<T>(0);
                   if (n >= L) return vectorMinMax(p, n, *b.at<T>(1), *b.at<T>(2));
                   *b.at<T>(1) = *b.at<T>(2) = p[0];
                   runningMinMax(p + 1, n - 1, *b.at<T>(1), *b.at<T>(2));
               },
               countsAround({L}, 1)});
    }
}

// -0.3 is inexact and shows the offset's precision; int16_t adds whole quarters (exact squares) and a near miss.
template <class T>
std::vector<OffsetOf<T>> offsetsFor()
{
    if constexpr (std::is_same_v<T, int16_t>) return {-0.3f, 0.0f, -7.0f, 0.5f, 0.25f, 0.1f};
    return {static_cast<OffsetOf<T>>(-0.3)};
}

TYPED_TEST(StatsTest, MinMaxAveRmsMatchesTheModelForEveryCountStartAndFence)
{
    using T = TypeParam;
    const auto row = [](OffsetOf<T> offset, bool zeros) {
        BlockSpec samples = block<T>("samples", Role::In);
        if (zeros) samples.fill = fillZeros<T, 0>;
        sweep({"GetMinMaxAveRMS offset " + std::to_string(offset) + (zeros ? ", zeros" : ""),
               withState<T>({samples}, zeros),
               onState<T>(1, [=](const Blocks& b, uint32_t n, auto& s) {
                   qxcalc::getMinMaxAveRMS<T>({b.at<T>(0), n}, s.lo, s.hi, s.sum, s.squares, offset);
               }),
               onState<T>(1, [=](const Blocks& b, uint32_t n, auto& s) {
                   modelMinMaxAveRms(b.at<T>(0), n, offset, s);
               }),
               countsAround({StatsGeometry<T>::lanes})});
    };
    for (const auto offset : offsetsFor<T>()) row(offset, false);
    row(-OffsetOf<T>(0), true);
}

// Lowest source index the move may read, and how many: the contiguous path reads forward for strides up to 1.
std::pair<ptrdiff_t, std::size_t> sourceReach(uint32_t n, int32_t stride)
{
    if (n == 0) return {0, 0};
    const ptrdiff_t last =
        n >= 8 && stride <= 1 ? static_cast<ptrdiff_t>(n) - 1 : static_cast<ptrdiff_t>(n - 1) * stride;
    return {std::min<ptrdiff_t>(0, last), static_cast<std::size_t>(last < 0 ? -last : last) + 1};
}

TEST(MoveAndStats, EveryPathStrideAndStartMatchesTheModel)
{
    for (int32_t stride = -3; stride <= 9; ++stride)
        for (const float offset : stride == 1 ? offsetsFor<int16_t>() : std::vector<float>{-0.3f}) {
            const auto reach = [=](uint32_t n) { return sourceReach(n, stride).second; };
            const auto blocks = withState<int16_t>(
                {block<int16_t>("source", Role::In, 2, reach), block<int16_t>("destination", Role::Out)});
            const auto source = [=](const Blocks& b, uint32_t n) {
                return b.at<int16_t>(0) - sourceReach(n, stride).first;
            };
            sweep({"MoveAndGetMinMaxAveRMS stride " + std::to_string(stride) + " offset " + std::to_string(offset),
                   blocks,
                   onState<int16_t>(2, [=](const Blocks& b, uint32_t n, auto& s) {
                       qxcalcMoveAndGetMinMaxAveRMS_int16_t(b.at<int16_t>(1), source(b, n), n, &s.lo, &s.hi, &s.sum,
                                                            &s.squares, offset, stride);
                   }),
                   onState<int16_t>(2, [=](const Blocks& b, uint32_t n, auto& s) {
                       modelMove(b.at<int16_t>(1), source(b, n), n, s, offset, stride);
                   }),
                   countsAround({8}, 0, stride == 1 ? 300 : 80, {1000, 4099}), {DataSet::Specials}});
        }
}

// Full-scale int16_t blocks whose sum of squares leaves the exact range inside one call, offsets on both
// sides of the certified range; plain statistics and the move.
TEST(StatsInt16, SquaresGrowingPastExactnessInsideOneCallMatchTheModel)
{
    const uint32_t n = (1u << 21) + 5;
    std::vector<int16_t> v = randomSamples<int16_t>(n + 1, 5, false), out(n);
    for (uint32_t i = 0; i <= n; ++i) v[i] = i % 3 ? static_cast<int16_t>(32767 - i % 5) : i % 2 ? v[i] : -32768;
    for (const float offset : {0.0f, 32767.75f, -32768.0f, 32768.25f, 0.5f}) {
        StatsState<int16_t> got{0, 0, 1.5, 2.5}, moved = got, want = got;
        qxcalcGetMinMaxAveRMS_int16_t(v.data() + 1, n, &got.lo, &got.hi, &got.sum, &got.squares, offset);
        qxcalcMoveAndGetMinMaxAveRMS_int16_t(out.data(), v.data() + 1, n, &moved.lo, &moved.hi, &moved.sum,
                                             &moved.squares, offset, 1);
        modelMinMaxAveRms(v.data() + 1, n, offset, want);
        EXPECT_TRUE(got.lo == want.lo && got.hi == want.hi && bitsOf(got.sum) == bitsOf(want.sum)) << offset;
        EXPECT_EQ(bitsOf(got.squares), bitsOf(want.squares)) << offset;
        EXPECT_EQ(bitsOf(moved.squares), bitsOf(want.squares)) << offset;
        EXPECT_TRUE(std::equal(out.begin(), out.end(), v.begin() + 1)) << offset;
    }
}

}  // namespace
