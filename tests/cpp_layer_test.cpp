// The C++ layer: each wrapper gives the bytes of its export called on the same
// data (arguments reach it in order), format codes follow the element type,
// status codes read as error codes, the interpolator owner moves, running
// statistics form average and RMS over blocks of both paths.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "qxcalc.hpp"

namespace {

template <class T>
std::vector<unsigned char> bytes(const std::vector<T>& v)
{
    std::vector<unsigned char> b(v.size() * sizeof(T));
    std::memcpy(b.data(), v.data(), b.size());
    return b;
}
// Irregular values, so that any two arguments traded change the result.
std::vector<float> irregular(std::size_t n)
{
    std::vector<float> v(n);
    for (std::size_t i = 0; i < n; ++i) v[i] = 40.0f * std::sin(0.7f * i) + 0.37f * i - 3.0f;
    return v;
}

TEST(CppLayer, BlockWrappersGiveTheBytesOfTheirExports)
{
    const std::vector<float> x = irregular(40), taps = irregular(80);
    const std::vector<double> xd(x.begin(), x.end());
    std::vector<double> c(40), cpp(40);
    qxcalcCACalcAveFilter_double(xd.data(), c.data(), 5, 40), qxcalc::caCalcAveFilter(xd, cpp, 5);
    EXPECT_EQ(bytes(c), bytes(cpp));
    qxcalcCACalcAveFilter_double_scalar(xd.data(), c.data(), 7, 40), qxcalc::caCalcAveFilterScalar(xd, cpp, 7);
    EXPECT_EQ(bytes(c), bytes(cpp));
    EXPECT_EQ(std::bit_cast<uint32_t>(qxcalcCACalcFilter_float(&x[39], 40, taps.data(), 2)),
              std::bit_cast<uint32_t>(qxcalc::caCalcFilter(x, taps, 2)));
    EXPECT_EQ(std::bit_cast<uint32_t>(qxcalcFIRFilter_float(x.data(), taps.data(), 40, 3)),
              std::bit_cast<uint32_t>(qxcalc::firFilter(x, std::span(taps).first(40), 3)));

    std::vector<int32_t> pc(40), pcpp(40);
    qxcalcCAPV_lin(x.data(), 40, pc.data(), -20, 25, 1.5f, 2.0f), qxcalc::caPVLin(x, pcpp, -20, 25, 1.5f, 2.0f);
    EXPECT_EQ(pc, pcpp);
    qxcalcCAPV_log(x.data(), 40, pc.data(), -20, 900, 300.0f, 7.0f, 3.0f);
    qxcalc::caPVLog(x, pcpp, -20, 900, 300.0f, 7.0f, 3.0f);
    EXPECT_EQ(pc, pcpp);

    std::vector<float> fc(30), fcpp(30), gc(40), gcpp(40);
    qxcalc::Peak peak{};
    qxCalcCACopyRawDataToChannels(x.data(), fc.data(), 5, 35, 1.5f, &peak.value, &peak.index);
    const qxcalc::Peak peakCpp = qxcalc::caCopyRawDataToChannels(x, 5, fcpp, 1.5f);
    EXPECT_EQ(bytes(fc), bytes(fcpp));
    EXPECT_EQ(peak.index, peakCpp.index);
    EXPECT_EQ(peak.value, peakCpp.value);
    fc = fcpp = taps;
    float maxC = 0;
    qxCalcCAOverallPressure(x.data(), fc.data(), 0, 37, 3, &maxC);
    EXPECT_EQ(maxC, qxcalc::caOverallPressure(x, std::span(fcpp).first(37), 3));
    EXPECT_EQ(bytes(fc), bytes(fcpp));
    qxCalcCARunningVal(x.data(), &taps[40], fc.data(), gc.data(), 0, 38, 5, 3);
    qxcalc::caRunningVal(x, std::span(taps).last(40), std::span(fcpp).first(39), gcpp, 5, 3);
    EXPECT_EQ(bytes(fc), bytes(fcpp));
    EXPECT_EQ(bytes(gc), bytes(gcpp));

    std::vector<int16_t> raw(48), mc(12), mcpp(12);
    for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<int16_t>(x[i % 40] * 100);
    int16_t m[4] = {};
    double s[4] = {1, 2, 1, 2};
    qxcalcMoveAndGetMinMaxAveRMS_int16_t(mc.data(), raw.data(), 12, &m[0], &m[1], &s[0], &s[1], 0.5f, 3);
    qxcalc::moveAndGetMinMaxAveRMS(mcpp, raw, m[2], m[3], s[2], s[3], 0.5f, 3);
    EXPECT_EQ(mc, mcpp);
    EXPECT_EQ(std::vector<int16_t>(m, m + 2), std::vector<int16_t>(m + 2, m + 4));
    EXPECT_EQ(s[0], s[2]);
    EXPECT_EQ(s[1], s[3]);

    std::vector<float> f(40);
    fcpp = f;
    const ChannelScaleParams_float params{raw.data(), f.data(), 0.25f, -7.0f, 40, Int16};
    qxcalcChannelGetScaledValuesAtPos_float(&params);
    qxcalc::channelGetScaledValuesAtPos(std::span(raw).first(40), std::span(fcpp), 0.25f, -7.0f);
    EXPECT_EQ(bytes(f), bytes(fcpp));
    qxcalc::multiplyVectorByScalar(std::span(f).first(3), 2.5f);
    EXPECT_EQ(f[0], fcpp[0] * 2.5f);
    EXPECT_EQ(f[3], fcpp[3]);
}

template <class... Raw>
void expectEachFormatReadAsItsType()
{
    ([] {
        // -1 in the format: 255 as uint8_t, 65535 as uint16_t; read as any other format it changes.
        const Raw minusOne[1] = {static_cast<Raw>(-1)};
        double out = 0;
        qxcalc::channelGetScaledValuesAtPos(std::span(minusOne), std::span(&out, 1), 1.0, 0.0);
        EXPECT_EQ(out, static_cast<double>(minusOne[0])) << sizeof(Raw) << "-byte format";
    }(), ...);
}

TEST(CppLayer, RawFormatFollowsTheElementType)
{
    expectEachFormatReadAsItsType<uint8_t, int8_t, int16_t, uint16_t, int32_t, float, int64_t, double, uint32_t>();
}

TEST(CppLayer, StatusCodesAreErrorCodesWithTheirOwnText)
{
    using qxcalc::Status;
    EXPECT_FALSE(std::error_code(Status::ok));
    std::error_code error;
    EXPECT_FALSE(qxcalc::Interpolator::create(1.0, 1.0, 6, error));
    EXPECT_EQ(error, Status::badBufferSize);
    EXPECT_FALSE(qxcalc::Interpolator::create(0.0, 1.0, 8, error));
    EXPECT_EQ(error, std::error_code(StatusInvalidArgument, qxcalc::statusCategory()));
    std::vector<std::string> texts;
    for (int code = 0; code <= 5; ++code) texts.push_back(qxcalc::statusCategory().message(code));
    for (int a = 0; a < 6; ++a) {
        EXPECT_EQ(texts[a].find("unknown") == std::string::npos, a < 5) << texts[a];
        for (int b = a + 1; b < 6; ++b) EXPECT_NE(texts[a], texts[b]);
    }
    EXPECT_NE(texts[5].find('5'), std::string::npos);
    EXPECT_STREQ(std::error_code(Status::stopped).category().name(), "qxcalc");
}

// Named for the CHS lifecycle suite, which also runs under valgrind: a leaked
// or twice destroyed interpolator fails there.
TEST(CHSLayerLifecycle, OwnerMovesAndReportsEveryStatus)
{
    std::error_code error = qxcalc::Status::stopped;
    qxcalc::Interpolator a = qxcalc::Interpolator::create(2.0, 2.0, 8, error), other;
    ASSERT_FALSE(error);
    other = qxcalc::Interpolator::create(1.0, 3.0, 16, error);
    CHSInterpolator* const handle = a.handle();
    qxcalc::Interpolator b(std::move(a));
    EXPECT_FALSE(a);
    EXPECT_EQ(b.handle(), handle);
    EXPECT_EQ(a.interpolate(std::vector<float>{1}).error, qxcalc::Status::invalidArgument);
    other = std::move(b);
    EXPECT_EQ(other.handle(), handle);
    EXPECT_FALSE(b);

    const std::vector<float> x = irregular(7);
    EXPECT_EQ(other.interpolate(x).error, qxcalc::Status::tooManyValues);  // at most 8 - 2
    const auto fed = other.interpolate(std::span(x).first(4));  // equal rates: the samples come back
    EXPECT_FALSE(fed.error);
    EXPECT_EQ(std::vector<float>(fed.output.begin(), fed.output.end()), std::vector<float>(x.begin(), x.begin() + 3));
    const auto last = other.stop();
    EXPECT_EQ(std::vector<float>(last.output.begin(), last.output.end()), std::vector<float>{x[3]});
    EXPECT_EQ(other.stop().error, qxcalc::Status::stopped);
    EXPECT_FALSE(other.reset());
    EXPECT_EQ(other.interpolate(std::span(x).first(2)).output.size(), 1u);
}

template <class T>
class CppLayerStatistics : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double, int16_t, int32_t>;
TYPED_TEST_SUITE(CppLayerStatistics, SampleTypes);

// A short block with the lowest sample, one long enough for the vector path,
// a short one with the highest; offset 1, sums exact.
TYPED_TEST(CppLayerStatistics, AverageAndRmsOverBlocksOfBothPaths)
{
    using T = TypeParam;
    const std::vector<T> first = {-20, 2, 3}, middle = {3, -7, 5, 1, 9, -2, 4, 8, -6, 2, 7}, last = {30, 0};
    const auto own = qxcalc::getMinMax(std::span<const T>(middle));
    EXPECT_EQ(own.min, T(-7));
    EXPECT_EQ(own.max, T(9));
    qxcalc::RunningStatistics<T> stats(1);
    for (const auto* block : {&first, &middle, &last}) stats.add(*block);
    EXPECT_EQ(stats.count(), 16u);
    EXPECT_EQ(stats.minimum(), T(-20));
    EXPECT_EQ(stats.maximum(), T(30));
    EXPECT_EQ(stats.sum(), 39.0);
    EXPECT_EQ(stats.sumOfSquares(), 1745.0);  // of sample + 1
    EXPECT_EQ(stats.average(), 39.0 / 16);
    EXPECT_EQ(stats.rms(), std::sqrt(1745.0 / 16));
}

} // namespace
