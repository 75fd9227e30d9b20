// The C++ layer: wrappers give their exports' bytes (arguments in order), format codes follow the element type,
// statuses are error codes, the interpolator owner moves, running statistics span blocks of both paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>
#include <vector>

#include "qxcalc.hpp"

namespace {

template <class T>
std::string bytes(const std::vector<T>& v) { return {reinterpret_cast<const char*>(v.data()), v.size() * sizeof(T)}; }
std::vector<float> values(std::span<const float> s) { return {s.begin(), s.end()}; }
// Irregular values, so that any two arguments traded change the result.
std::vector<float> irregular(std::size_t n, float step = 0.7f)
{
    std::vector<float> v(n);
    for (std::size_t i = 0; i < n; ++i) v[i] = 40.0f * std::sin(step * i) + 0.37f * i - 3.0f;
    return v;
}

TEST(CppLayer, BlockWrappersGiveTheBytesOfTheirExports)
{
    const std::vector<float> x = irregular(40), taps = irregular(80, 1.9f);
    const std::vector<double> xd(x.begin(), x.end());  // C call, then the C++ one, then both outputs compared
    std::vector<double> c(40), cpp(40), cs(40), cpps(40);
    qxcalcCACalcAveFilter_double(xd.data(), c.data(), 5, 40);
    qxcalc::caCalcAveFilter(xd, cpp, 5);
    qxcalcCACalcAveFilter_double_scalar(xd.data(), cs.data(), 7, 40);
    qxcalc::caCalcAveFilterScalar(xd, cpps, 7);
    EXPECT_EQ(bytes(c) + bytes(cs), bytes(cpp) + bytes(cpps));
    EXPECT_EQ(qxcalcCACalcFilter_float(&x[39], 40, taps.data(), 2), qxcalc::caCalcFilter(x, taps, 2));
    EXPECT_EQ(qxcalcFIRFilter_float(x.data(), taps.data(), 40, 3), qxcalc::firFilter(x, std::span(taps).first(40), 3));
    std::vector<int32_t> pc(80), pcpp(80);
    qxcalcCAPV_lin(x.data(), 40, pc.data(), -20, 25, 1.5f, 2.0f);
    qxcalc::caPVLin(x, pcpp, -20, 25, 1.5f, 2.0f);
    qxcalcCAPV_log(x.data(), 40, &pc[40], -20, 900, 300.0f, 7.0f, 3.0f);
    qxcalc::caPVLog(x, std::span(pcpp).last(40), -20, 900, 300.0f, 7.0f, 3.0f);
    EXPECT_EQ(pc, pcpp);
    std::vector<float> fc(30), fcpp(30), gc(40), gcpp(40);
    qxcalc::Peak peak;
    qxCalcCACopyRawDataToChannels(x.data(), fc.data(), 5, 35, 1.5f, &peak.value, &peak.index);
    const qxcalc::Peak peakCpp = qxcalc::caCopyRawDataToChannels(x, 5, fcpp, 1.5f);
    EXPECT_EQ(std::tuple(bytes(fc), peak.value, peak.index), std::tuple(bytes(fcpp), peakCpp.value, peakCpp.index));
    fc = fcpp = taps;
    float maxC = 0;
    qxCalcCAOverallPressure(x.data(), fc.data(), 0, 37, 3, &maxC);
    EXPECT_EQ(maxC, qxcalc::caOverallPressure(x, std::span(fcpp).first(37), 3));
    EXPECT_EQ(bytes(fc), bytes(fcpp));
    qxCalcCARunningVal(x.data(), &taps[40], fc.data(), gc.data(), 0, 38, 5, 3);
    qxcalc::caRunningVal(x, std::span(taps).last(40), std::span(fcpp).first(39), gcpp, 5, 3);
    EXPECT_EQ(bytes(fc) + bytes(gc), bytes(fcpp) + bytes(gcpp));
    std::vector<int16_t> raw(48), mc(12), mcpp(12);
    for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<int16_t>(x[i % 40] * 100);
    int16_t m[4] = {};  // min, max of the C call, then of the C++ one; likewise the sums
    double s[4] = {1, 2, 1, 2};
    qxcalcMoveAndGetMinMaxAveRMS_int16_t(mc.data(), raw.data(), 12, &m[0], &m[1], &s[0], &s[1], 0.5f, 3);
    qxcalc::moveAndGetMinMaxAveRMS(mcpp, raw, m[2], m[3], s[2], s[3], 0.5f, 3);
    EXPECT_EQ(std::tuple(mc, m[0], m[1], s[0], s[1]), std::tuple(mcpp, m[2], m[3], s[2], s[3]));
    std::vector<float> f = {1, 2, 3, 4};
    qxcalc::multiplyVectorByScalar(std::span(f).first(3), 2.5f);
    EXPECT_EQ(f, (std::vector<float>{2.5f, 5, 7.5f, 4}));
}

// -1 in each format (255 as uint8_t, 65535 as uint16_t, ...); read as another format, or with scale and offset
// traded, it changes. Statuses are error codes, each with a text of its own, and an unknown one reads as its number.
TEST(CppLayer, RawFormatFollowsTheElementTypeAndStatusesAreErrorCodes)
{
    const auto readsAsItself = [](auto minusOne) {
        double out = 0;
        float outFloat = 0;
        qxcalc::channelGetScaledValuesAtPos(std::span(&minusOne, 1), std::span(&out, 1), 1.0, 0.0);
        qxcalc::channelGetScaledValuesAtPos(std::span(&minusOne, 1), std::span(&outFloat, 1), 1.0f, 0.0f);
        EXPECT_EQ(std::pair(out, outFloat), std::pair(double(minusOne), float(minusOne)))
            << sizeof(minusOne) << " bytes";
    };
    std::apply([&](auto... minusOne) { (readsAsItself(minusOne), ...); },
               std::tuple{uint8_t(-1), int8_t(-1), int16_t(-1), uint16_t(-1), int32_t(-1), -1.0f, int64_t(-1), -1.0,
                          uint32_t(-1)});
    std::error_code error;
    EXPECT_TRUE(!qxcalc::Interpolator::create(1.0, 1.0, 6, error) && error == qxcalc::Status::badBufferSize);
    EXPECT_FALSE(qxcalc::Interpolator::create(0.0, 1.0, 8, error));
    EXPECT_EQ(error, std::error_code(QxcalcStatusInvalidArgument, qxcalc::statusCategory()));
    std::set<std::string> texts;
    for (int code = 0; code < 5; ++code) texts.insert(qxcalc::statusCategory().message(code));
    const auto unknown = [](const std::string& t) { return t.find("unknown") != t.npos; };
    EXPECT_TRUE(texts.size() == 5 && std::none_of(texts.begin(), texts.end(), unknown));
    EXPECT_EQ(qxcalc::statusCategory().message(5), "unknown qxcalc status 5");
}

// Named for the CHS lifecycle suite, run under valgrind too: a leaked or twice destroyed interpolator fails.
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
