// Graph helpers swept against scalar models: random mapping records on both paths, the cursor search in bitmaps.
#include <gtest/gtest.h>

#include <random>

#include "qxcalc.h"
#include "support/ca_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

std::size_t pointsOf(uint32_t pointsLeft) { return pointsLeft >= 4 ? 4 : 1; }

// Pixel x and y of point k at the record's position, on the path that pointsLeft selects.
void mapPointModel(const GraphMapping& m, uint32_t k)
{
    const bool four = m.pointsLeft >= 4;
    const auto log = [four](double v) { return four ? fastLog10LanesModel(static_cast<float>(v)) : fastLog10Model(static_cast<float>(v)); };
    const auto along = [](double v, double start, double end, double empty) { return end - start == 0 ? empty : (v - start) / (end - start); };
    const auto limit = [](double u) { return u <= 1e6 ? std::max(u, -1e6) : 1e6; };
    // Linear (0) or logarithmic (1) axis position, each path with its own logarithm domain; `other` on other axes.
    const auto position = [&](uint8_t axis, double w, double min, double max, double logMin, double logMax, double other) {
        const double lw = (four ? w > logMin : w > 0) ? log(w) : logMin;
        return axis == 0 ? limit(along(w, min, max, min)) : axis == 1 ? limit(along(lw, logMin, logMax, logMin)) : other;
    };
    const double index = four ? static_cast<int32_t>(m.index + k) : static_cast<double>(m.index);
    const double x = m.xSource == 0 ? index : m.xSource == 1 ? m.xValues[m.index + k] : m.xSource == 2 ? index * m.xScale + m.xOffset
                   : four ? 0.0 : m.xMin;
    const double y = (m.ySampleType == 5 ? static_cast<const float*>(m.ySamples)[k] : static_cast<const double*>(m.ySamples)[k]) * m.yScale + m.yOffset;
    const double db = !(y > (four ? 1e-9 : 0.0)) ? -400.0 : four ? 20.0 * log(y / m.dbReference) : 20.0f * log(y / m.dbReference);
    const double u = position(m.xAxisType, x, m.xMin, m.xMax, m.xLogMin, m.xLogMax, limit(x));
    const double v = position(m.yAxisType, y, m.yMin, m.yMax, m.yLogMin, m.yLogMax, !four && m.yMax - m.yMin == 0 ? 0.0 : limit(along(db, m.yMin, m.yMax, m.yMin)));
    const auto pixel = [four](int32_t from, int32_t span, double t, int sign) {  // one point: + 0.5 truncated to int32 (INT32_MIN out of range), the sum wraps
        const double r = span * t, low = std::floor(r);  // four points: half to even whatever the rounding mode
        if (four) return static_cast<int32_t>(std::clamp(from + sign * (r - low > 0.5 || (r - low == 0.5 && std::fmod(low, 2.0) != 0) ? low + 1 : low), -32768.0, 32767.0));
        const double up = span * t + 0.5;
        return std::clamp(static_cast<int32_t>(from + sign * static_cast<uint32_t>(std::fabs(up) < 0x1p31 ? static_cast<int32_t>(up) : INT32_MIN)), -32768, 32767);
    };
    m.xPixelsOut[k] = pixel(m.left, m.right - m.left, u, 1), m.yPixelsOut[k] = pixel(m.bottom, m.bottom - m.top, v, -1);
    *m.pointCountOut = static_cast<uint32_t>(pointsOf(m.pointsLeft));
}

// Axes wide, empty, and narrow around typical logarithms (one ulp moves pixels). One record in eight maps y = 7 (and
// x = 7) onto axes starting at either path's logarithm or decibels of 7, where the two paths' forms differ.
GraphMapping randomRecord(std::mt19937& rng)
{
    const auto pick = [&](std::initializer_list<double> v) { return v.begin()[rng() % v.size()]; };
    const auto axis = [&](double& start, double& end, std::initializer_list<double> starts, std::initializer_list<double> spans) { start = pick(starts), end = rng() % 5 ? start + pick(spans) : start; };
    GraphMapping m{};
    m.xSource = rng() % 4, m.ySampleType = rng() % 2 ? 5 : 7, m.xAxisType = rng() % 3, m.yAxisType = rng() % 3;
    m.index = m.xSource == 1 ? rng() % 4 : rng() % 2 ? rng() % 1000 : rng();
    for (int16_t* p : {&m.left, &m.top, &m.right, &m.bottom}) *p = static_cast<int16_t>(rng() % 3 ? rng() % 2000 : rng());
    m.xScale = pick({0.5, -3.25, 1e-3}), m.xOffset = pick({0.0, 10.5, -1e5}), m.dbReference = pick({1.0, 1e-3, 2e-5});
    m.yScale = pick({1.0, 1e-6, -2.5, 1e-15, -1e-15}), m.yOffset = pick({0.0, 3.5, -1e-9});
    axis(m.xMin, m.xMax, {0.0, -100.0, 1e3}, {1e3, 1.0, 5e5}), axis(m.xLogMin, m.xLogMax, {-3.0, 0.0, 5.9}, {2.0, 6.0, 1e-4});
    axis(m.yMin, m.yMax, {-120.0, 1e-9, 150.0}, {140.0, 1e-6, 1e-3}), axis(m.yLogMin, m.yLogMax, {-12.0, -9.0, 5.9}, {6.0, 12.0, 1e-4});
    if (const float log7 = rng() % 2 ? fastLog10Model(7.0f) : fastLog10LanesModel(7.0f); rng() % 8 == 0) {
        m.xSource = 3, m.xMin = 7, m.xAxisType = 1, m.xLogMin = m.yLogMin = log7, m.xLogMax = m.yLogMax = log7 + 1e-9, m.yScale = 0, m.yOffset = 7;
        m.yAxisType = 1 + rng() % 2, m.dbReference = 1, m.yMin = rng() % 2 ? 20.0 * log7 : 20.0f * log7, m.yMax = m.yMin + 1e-9;
    }
    return m;
}

TEST(GetXYValGraph2D, RandomRecordsMatchTheModelOnBothPaths)
{
    std::mt19937 rng(5);
    for (int r = 0; r < 400 && !HasFailure(); ++r) {
        const GraphMapping record = randomRecord(rng);
        const auto bind = [record](const Blocks& b, uint32_t n) {
            GraphMapping m = record;
            m.pointsLeft = n, m.ySamples = b.p[0], m.xValues = b.at<double>(1), m.xPixelsOut = b.at<int32_t>(2), m.yPixelsOut = b.at<int32_t>(3);
            return m.pointCountOut = b.at<uint32_t>(4), m;
        };
        const auto pixels = [](const char* name) { BlockSpec b = block<int32_t>(name, Role::Out, 4, pointsOf); return b.swept = false, b; };
        sweep({"GetXYValGraph2D record " + std::to_string(r),
               {record.ySampleType == 5 ? block<float>("ySamples", Role::In, 4, pointsOf) : block<double>("ySamples", Role::In, 8, pointsOf),
                block<double>("xValues", Role::In, 8, [&](uint32_t n) { return record.xSource == 1 ? record.index + pointsOf(n) : 1; }),
                pixels("xPixels"), pixels("yPixels"), scalar<uint32_t>("pointCount", Role::Out, 77)},
               [=](const Blocks& b, uint32_t n) { const GraphMapping m = bind(b, n); qxcalcGetXYValGraph2D(&m); },
               [=](const Blocks& b, uint32_t n) { for (uint32_t k = 0; k < pointsOf(n); ++k) mapPointModel(bind(b, n), k); }, {0, 1, 3, 4, 5, 9}});
    }
}

constexpr uint32_t kBackground = 0x00FFFFFF;

// Lane bests carried over all rows and merged after each row; then the row's tail.
void findCursorModel(const uint32_t* pixels, int32_t stride, int32_t width, int32_t height, int32_t cursorX, int32_t cursorY,
                     uint32_t* colour, int32_t* foundX, int32_t* foundY, uint32_t ignoredColour)
{
    const auto drawn = [&](uint32_t p) { return p != 0 && p != 0x010000 && p != 0x808080 && p != 0x848284 && p != ignoredColour; };
    const auto wrap = [](int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); };
    struct Found { float d; uint32_t colour; int32_t x, y; } best{std::numeric_limits<float>::max(), *colour, *foundX, *foundY};
    Found lane[4] = {best, best, best, best};
    const int32_t grouped = width > 0 ? width / 4 * 4 : 0;
    for (int32_t r = 0; r < height; ++r) {
        const uint32_t* row = pixels - static_cast<ptrdiff_t>(r) * (stride / 4);
        const int32_t dy = wrap(int64_t{cursorY} - r);
        for (int32_t x = 0; x < grouped; ++x) {
            // Lanes 1 and 3 borrow from lanes 0 and 2 when the cursor is below their x (unsigned); dy^2 is an int32 product.
            const auto borrow = static_cast<int64_t>(x % 2 && static_cast<uint32_t>(cursorX) < static_cast<uint32_t>(x - 1));
            const float dx = static_cast<float>(wrap(int64_t{cursorX} - x - borrow)), d = dx * dx + static_cast<float>(wrap(int64_t{dy} * dy));
            if (drawn(row[x]) && d <= lane[x % 4].d) lane[x % 4] = {d, row[x], x, r};
        }
        for (const Found& l : lane) best = best.d > l.d ? l : best;
        for (int32_t i = 0; grouped + i < width; ++i) {
            const float dx = static_cast<float>(wrap(int64_t{cursorX} - i)), fdy = static_cast<float>(dy), d = dx * dx + fdy * fdy;
            if (drawn(row[grouped + i]) && best.d > d) best = {d, row[grouped + i], i, r};
        }
    }
    *colour = best.colour, *foundX = best.x, *foundY = best.y;
}

TEST(FindCursorXY, TopDownAndBottomUpBitmapsMatchTheModel)
{
    constexpr int32_t kRows = 3, pad = 3;  // n pixels wide, n + 3 apart; the stride's 3 extra bytes are dropped toward zero
    for (const bool bottomUp : {false, true})
        for (const auto& [cx, cy] : {std::pair{-3, 1}, {-2, 4}, {1000, -1}, {INT32_MIN, 2}, {-2, 50001}}) {  // -2: the middle column
            BlockSpec bitmap = block<uint32_t>("pixels", Role::In, 4, [=](uint32_t n) { return (kRows - 1) * (n + pad) + n; });
            bitmap.fill = [](std::byte* to, std::size_t n, DataSet set, uint32_t seed) {  // ignored, near-ignored and drawn pixels in background (plain) or dense
                constexpr uint32_t kinds[] = {0, 0x010000, 0x808080, 0x848284, kBackground, 0x010001, 0x808081, 0xFF010000};
                std::mt19937 rng(seed);
                for (std::size_t i = 0; i < n; ++i) reinterpret_cast<uint32_t*>(to)[i] = rng() % 6 ? (set == DataSet::Plain ? kBackground : rng()) : kinds[rng() % 8];
            };
            const auto with = [=, cx = cx, cy = cy](auto find) { return [=](const Blocks& b, uint32_t n) {
                const int32_t stride = 4 * static_cast<int32_t>(n + pad) + 3, column = cx == -2 ? static_cast<int32_t>(n / 2) : cx;
                find(b.at<uint32_t>(0) + (bottomUp ? (kRows - 1) * (n + pad) : 0), bottomUp ? stride : -stride, static_cast<int32_t>(n), kRows,
                     column, cy, b.at<uint32_t>(1), b.at<int32_t>(2), b.at<int32_t>(3), kBackground);
            }; };
            sweep({"FindCursorXY bottom-up " + std::to_string(bottomUp) + " cursor " + std::to_string(cx) + "," + std::to_string(cy),
                   {bitmap, scalar<uint32_t>("colour", Role::InOut, 0xC0FFEE), scalar<int32_t>("x", Role::InOut, -77), scalar<int32_t>("y", Role::InOut, -88)},
                   with(qxcalcFindCursorXY), with(findCursorModel), countsAround({}, 0, 300, {1000})});
        }
}

}  // namespace
