// Graph helpers swept against scalar models: random mapping records on both paths, the cursor search in bitmaps.
#include <gtest/gtest.h>

#include <random>

#include "qxcalc.h"
#include "support/ca_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

std::size_t pointsOf(uint32_t pointsLeft) { return pointsLeft >= 4 ? 4 : 1; }

// The pixel `t` of the way from `from` over `span` pixels (sign -1: upward). Four points: half to even whatever the
// rounding mode, then clamped. One point: + 0.5 truncated to int32 (INT32_MIN out of range), the sum wrapping.
int32_t pixelModel(bool four, int32_t from, int32_t span, double t, int sign)
{
    const double r = span * t;
    if (four) {
        const double low = std::floor(r);
        const bool up = r - low > 0.5 || (r - low == 0.5 && std::fmod(low, 2.0) != 0);
        return static_cast<int32_t>(std::clamp(from + sign * (up ? low + 1 : low), -32768.0, 32767.0));
    }
    const double rounded = r + 0.5;
    const int32_t whole = std::fabs(rounded) < 0x1p31 ? static_cast<int32_t>(rounded) : INT32_MIN;
    return std::clamp(static_cast<int32_t>(from + sign * static_cast<uint32_t>(whole)), -32768, 32767);
}

// Pixel x and y of point k at the record's position, on the path that pointsLeft selects.
void mapPointModel(const GraphMapping& m, uint32_t k)
{
    const bool four = m.pointsLeft >= 4;
    const auto log = [four](double v) {
        const float x = static_cast<float>(v);
        return four ? fastLog10LanesModel(x) : fastLog10Model(x);
    };
    const auto along = [](double v, double start, double end, double empty) {
        return end - start == 0 ? empty : (v - start) / (end - start);
    };
    const auto limit = [](double u) { return u <= 1e6 ? std::max(u, -1e6) : 1e6; };
    // Linear (0) or logarithmic (1) axis position, each path with its own logarithm domain; `other` on other axes.
    const auto position = [&](uint8_t axis, double w, double min, double max, double logMin, double logMax,
                              double other) {
        const double lw = (four ? w > logMin : w > 0) ? log(w) : logMin;
        if (axis == 0) return limit(along(w, min, max, min));
        if (axis == 1) return limit(along(lw, logMin, logMax, logMin));
        return other;
    };
    const double index = four ? static_cast<int32_t>(m.index + k) : static_cast<double>(m.index);
    const double x = m.xSource == 0   ? index
                     : m.xSource == 1 ? m.xValues[m.index + k]
                     : m.xSource == 2 ? index * m.xScale + m.xOffset
                     : four           ? 0.0
                                      : m.xMin;
    const double sample = m.ySampleType == 5 ? static_cast<const float*>(m.ySamples)[k]
                                             : static_cast<const double*>(m.ySamples)[k];
    const double y = sample * m.yScale + m.yOffset;
    double db = -400.0;  // at or below each path's floor
    if (y > (four ? 1e-9 : 0.0)) db = four ? 20.0 * log(y / m.dbReference) : 20.0f * log(y / m.dbReference);
    const double dbAlong = !four && m.yMax - m.yMin == 0 ? 0.0 : limit(along(db, m.yMin, m.yMax, m.yMin));
    const double u = position(m.xAxisType, x, m.xMin, m.xMax, m.xLogMin, m.xLogMax, limit(x));
    const double v = position(m.yAxisType, y, m.yMin, m.yMax, m.yLogMin, m.yLogMax, dbAlong);
    m.xPixelsOut[k] = pixelModel(four, m.left, m.right - m.left, u, 1);
    m.yPixelsOut[k] = pixelModel(four, m.bottom, m.bottom - m.top, v, -1);
    *m.pointCountOut = static_cast<uint32_t>(pointsOf(m.pointsLeft));
}

// Axes wide, empty, and narrow around typical logarithms (one ulp moves pixels). One record in eight maps y = 7 (and
// x = 7) onto axes starting at either path's logarithm or decibels of 7, where the two paths' forms differ.
GraphMapping randomRecord(std::mt19937& rng)
{
    const auto pick = [&](std::initializer_list<double> v) { return v.begin()[rng() % v.size()]; };
    // From one of `starts`, one of `spans` wide or (one in five) empty.
    const auto axis = [&](double& start, double& end, std::initializer_list<double> starts,
                          std::initializer_list<double> spans) {
        start = pick(starts);
        end = rng() % 5 ? start + pick(spans) : start;
    };
    GraphMapping m{};
    m.xSource = rng() % 4;
    m.ySampleType = rng() % 2 ? 5 : 7;
    m.xAxisType = rng() % 3;
    m.yAxisType = rng() % 3;
    m.index = m.xSource == 1 ? rng() % 4 : rng() % 2 ? rng() % 1000 : rng();
    for (int16_t* p : {&m.left, &m.top, &m.right, &m.bottom})
        *p = static_cast<int16_t>(rng() % 3 ? rng() % 2000 : rng());
    m.xScale = pick({0.5, -3.25, 1e-3});
    m.xOffset = pick({0.0, 10.5, -1e5});
    m.dbReference = pick({1.0, 1e-3, 2e-5});
    m.yScale = pick({1.0, 1e-6, -2.5, 1e-15, -1e-15});
    m.yOffset = pick({0.0, 3.5, -1e-9});
    axis(m.xMin, m.xMax, {0.0, -100.0, 1e3}, {1e3, 1.0, 5e5});
    axis(m.xLogMin, m.xLogMax, {-3.0, 0.0, 5.9}, {2.0, 6.0, 1e-4});
    axis(m.yMin, m.yMax, {-120.0, 1e-9, 150.0}, {140.0, 1e-6, 1e-3});
    axis(m.yLogMin, m.yLogMax, {-12.0, -9.0, 5.9}, {6.0, 12.0, 1e-4});
    const float log7 = rng() % 2 ? fastLog10Model(7.0f) : fastLog10LanesModel(7.0f);
    if (rng() % 8 != 0) return m;
    m.xSource = 3;
    m.xMin = 7;
    m.xAxisType = 1;
    m.xLogMin = m.yLogMin = log7;
    m.xLogMax = m.yLogMax = log7 + 1e-9;
    m.yScale = 0;
    m.yOffset = 7;
    m.yAxisType = 1 + rng() % 2;
    m.dbReference = 1;
    m.yMin = rng() % 2 ? 20.0 * log7 : 20.0f * log7;
    m.yMax = m.yMin + 1e-9;
    return m;
}

TEST(GetXYValGraph2D, RandomRecordsMatchTheModelOnBothPaths)
{
    std::mt19937 rng(5);
    for (int r = 0; r < 400 && !HasFailure(); ++r) {
        const GraphMapping record = randomRecord(rng);
        const auto bind = [record](const Blocks& b, uint32_t n) {
            GraphMapping m = record;
            m.pointsLeft = n;
            m.ySamples = b.p[0];
            m.xValues = b.at<double>(1);
            m.xPixelsOut = b.at<int32_t>(2);
            m.yPixelsOut = b.at<int32_t>(3);
            m.pointCountOut = b.at<uint32_t>(4);
            return m;
        };
        const BlockSpec samples = record.ySampleType == 5 ? block<float>("ySamples", Role::In, 4, pointsOf)
                                                          : block<double>("ySamples", Role::In, 8, pointsOf);
        const auto xValues = [&](uint32_t n) { return record.xSource == 1 ? record.index + pointsOf(n) : 1; };
        sweep({"GetXYValGraph2D record " + std::to_string(r),
               {samples, block<double>("xValues", Role::In, 8, xValues),
                fixedPlace(block<int32_t>("xPixels", Role::Out, 4, pointsOf)),
                fixedPlace(block<int32_t>("yPixels", Role::Out, 4, pointsOf)),
                scalar<uint32_t>("pointCount", Role::Out, 77)},
               [=](const Blocks& b, uint32_t n) {
                   const GraphMapping m = bind(b, n);
                   qxcalcGetXYValGraph2D(&m);
               },
               [=](const Blocks& b, uint32_t n) {
                   for (uint32_t k = 0; k < pointsOf(n); ++k) mapPointModel(bind(b, n), k);
               },
               {0, 1, 3, 4, 5, 9}});
    }
}

constexpr uint32_t kBackground = 0x00FFFFFF;

// Lane bests carried over all rows and merged after each row; then the row's tail.
void findCursorModel(const uint32_t* pixels, int32_t stride, int32_t width, int32_t height, int32_t cursorX,
                     int32_t cursorY, uint32_t* colour, int32_t* foundX, int32_t* foundY, uint32_t ignoredColour)
{
    const auto drawn = [&](uint32_t p) {
        return p != 0 && p != 0x010000 && p != 0x808080 && p != 0x848284 && p != ignoredColour;
    };
    const auto wrap = [](int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); };
    struct Found {
        float d;
        uint32_t colour;
        int32_t x, y;
    };
    Found best{std::numeric_limits<float>::max(), *colour, *foundX, *foundY};
    Found lane[4] = {best, best, best, best};
    const int32_t grouped = width > 0 ? width / 4 * 4 : 0;
    for (int32_t r = 0; r < height; ++r) {
        const uint32_t* row = pixels - static_cast<ptrdiff_t>(r) * (stride / 4);
        const int32_t dy = wrap(int64_t{cursorY} - r);
        for (int32_t x = 0; x < grouped; ++x) {
            // Lanes 1 and 3 borrow from lanes 0 and 2 when the cursor is below their x (unsigned); dy^2 is an
            // int32 product.
            const bool borrow = x % 2 && static_cast<uint32_t>(cursorX) < static_cast<uint32_t>(x - 1);
            const float dx = static_cast<float>(wrap(int64_t{cursorX} - x - borrow));
            const float d = dx * dx + static_cast<float>(wrap(int64_t{dy} * dy));
            if (drawn(row[x]) && d <= lane[x % 4].d) lane[x % 4] = {d, row[x], x, r};
        }
        for (const Found& l : lane) best = best.d > l.d ? l : best;
        for (int32_t i = 0; grouped + i < width; ++i) {
            const float dx = static_cast<float>(wrap(int64_t{cursorX} - i));
            const float fdy = static_cast<float>(dy);
            const float d = dx * dx + fdy * fdy;
            if (drawn(row[grouped + i]) && best.d > d) best = {d, row[grouped + i], i, r};
        }
    }
    *colour = best.colour;
    *foundX = best.x;
    *foundY = best.y;
}

// Ignored, near-ignored and drawn pixels on the background (plain data) or on any colour (special values).
void fillBitmap(std::byte* to, std::size_t n, DataSet set, uint32_t seed)
{
    constexpr uint32_t kinds[] = {0, 0x010000, 0x808080, 0x848284, kBackground, 0x010001, 0x808081, 0xFF010000};
    std::mt19937 rng(seed);
    auto* pixels = reinterpret_cast<uint32_t*>(to);
    for (std::size_t i = 0; i < n; ++i)
        pixels[i] = rng() % 6 ? (set == DataSet::Plain ? kBackground : rng()) : kinds[rng() % 8];
}

TEST(FindCursorXY, TopDownAndBottomUpBitmapsMatchTheModel)
{
    // Rows of n pixels, n + 3 apart; the stride's 3 extra bytes are dropped toward zero.
    constexpr int32_t kRows = 3, pad = 3;
    for (const bool bottomUp : {false, true})
        for (const auto& [cx, cy] : {std::pair{-3, 1}, {-2, 4}, {1000, -1}, {INT32_MIN, 2}, {-2, 50001}}) {
            const auto pixels = [](uint32_t n) { return (kRows - 1) * (n + pad) + n; };
            BlockSpec bitmap = block<uint32_t>("pixels", Role::In, 4, pixels);
            bitmap.fill = fillBitmap;
            // The export or the model on the call's bitmap, its first row at the top or at the bottom.
            const auto with = [=, cx = cx, cy = cy](auto find) {
                return [=](const Blocks& b, uint32_t n) {
                    const int32_t stride = 4 * static_cast<int32_t>(n + pad) + 3;
                    const int32_t column = cx == -2 ? static_cast<int32_t>(n / 2) : cx;  // -2: the middle column
                    const uint32_t* firstRow = b.at<uint32_t>(0) + (bottomUp ? (kRows - 1) * (n + pad) : 0);
                    find(firstRow, bottomUp ? stride : -stride, static_cast<int32_t>(n), kRows, column, cy,
                         b.at<uint32_t>(1), b.at<int32_t>(2), b.at<int32_t>(3), kBackground);
                };
            };
            const std::string name = "FindCursorXY bottom-up " + std::to_string(bottomUp) + " cursor " +
                                     std::to_string(cx) + "," + std::to_string(cy);
            sweep({name,
                   {bitmap, scalar<uint32_t>("colour", Role::InOut, 0xC0FFEE), scalar<int32_t>("x", Role::InOut, -77),
                    scalar<int32_t>("y", Role::InOut, -88)},
                   with(qxcalcFindCursorXY), with(findCursorModel), countsAround({}, 0, 300, {1000})});
        }
}

}  // namespace
