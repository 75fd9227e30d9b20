// Graph helpers: random mapping records and bitmaps swept against the scalar
// models (every point count, start offset and fence), then the worked cases
// a host sees directly.
#include <gtest/gtest.h>

#include <random>

#include "qxcalc.h"
#include "support/graph_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

std::size_t pointsOf(uint32_t pointsLeft) { return pointsLeft >= 4 ? 4 : 1; }

BlockSpec fixed(BlockSpec b)  // one placement, against its end fence
{
    b.swept = false;
    return b;
}

GraphMapping randomRecord(uint32_t seed)
{
    std::mt19937 rng(seed);
    const auto pick = [&](std::initializer_list<double> v) { return v.begin()[rng() % v.size()]; };
    const auto end = [&](double start, std::initializer_list<double> span) { return rng() % 5 ? start + pick(span) : start; };
    GraphMapping m{};
    m.xSource = rng() % 4, m.ySampleType = rng() % 2 ? 5 : 7, m.xAxisType = rng() % 3, m.yAxisType = rng() % 3;
    m.index = m.xSource == 1 ? rng() % 4 : rng() % 2 ? rng() % 1000 : rng();
    for (int16_t* p : {&m.left, &m.top, &m.right, &m.bottom}) *p = static_cast<int16_t>(rng() % 3 ? rng() % 2000 : rng());
    m.xScale = pick({0.5, -3.25, 1e-3}), m.xOffset = pick({0.0, 10.5, -1e5});
    m.yScale = pick({1.0, 1e-6, -2.5, 1e-15}), m.yOffset = pick({0.0, 3.5, -1e-9});
    // Axes wide and narrow; the narrow ones around typical logarithms show
    // a one-unit difference in the last place of the logarithm.
    m.xMin = pick({0.0, -100.0, 1e3}), m.xMax = end(m.xMin, {1e3, 1.0, 5e5});
    m.xLogMin = pick({-3.0, 0.0, 5.9}), m.xLogMax = end(m.xLogMin, {2.0, 6.0, 1e-4});
    m.yMin = pick({-120.0, 1e-9, 150.0}), m.yMax = end(m.yMin, {140.0, 1e-6, 1e-3});
    m.yLogMin = pick({-12.0, -9.0, 5.9}), m.yLogMax = end(m.yLogMin, {6.0, 12.0, 1e-4});
    m.dbReference = pick({1.0, 1e-3, 2e-5});
    return m;
}

TEST(GetXYValGraph2D, RandomRecordsMatchTheModelOnBothPaths)
{
    for (uint32_t seed = 0; seed < 400; ++seed) {
        const GraphMapping record = randomRecord(seed);
        const bool floats = record.ySampleType == 5;
        const auto readsX = [&](uint32_t n) { return record.xSource == 1 ? record.index + pointsOf(n) : 1; };
        const auto bind = [&](const Blocks& b, uint32_t n) {
            GraphMapping m = record;
            m.pointsLeft = n, m.ySamples = b.p[0], m.xValues = b.at<double>(1);
            m.xPixelsOut = b.at<int32_t>(2), m.yPixelsOut = b.at<int32_t>(3), m.pointCountOut = b.at<uint32_t>(4);
            return m;
        };
        sweep({"GetXYValGraph2D record " + std::to_string(seed),
               {floats ? block<float>("ySamples", Role::In, 4, pointsOf) : block<double>("ySamples", Role::In, 8, pointsOf),
                block<double>("xValues", Role::In, 8, readsX), fixed(block<int32_t>("xPixels", Role::Out, 4, pointsOf)),
                fixed(block<int32_t>("yPixels", Role::Out, 4, pointsOf)), scalar<uint32_t>("pointCount", Role::Out, 77)},
               [&](const Blocks& b, uint32_t n) {
                   const GraphMapping m = bind(b, n);
                   qxcalcGetXYValGraph2D(&m);
               },
               [&](const Blocks& b, uint32_t n) {
                   const GraphMapping m = bind(b, n);
                   for (uint32_t k = 0; k < pointsOf(n); ++k) {
                       const PixelXY p = mapPointModel(m, k, n >= 4);
                       m.xPixelsOut[k] = p.x, m.yPixelsOut[k] = p.y;
                   }
                   *m.pointCountOut = static_cast<uint32_t>(pointsOf(n));
               },
               {0, 1, 3, 4, 5, 9}});
        if (HasFailure()) return;
    }
}

TEST(GetXYValGraph2D, PathsRoundTestDomainsAndTreatZeroRangesTheirOwnWay)
{
    EXPECT_NEAR(fastLog10Model(10.0f, false), 1.0000156f, 1e-7);  // the model's logarithm, at the contract's values
    EXPECT_NEAR(fastLog10Model(0.5f, true), -0.30103001f, 1e-7);
    EXPECT_NEAR(fastLog10Model(0.0f, false), -38.2308f, 1e-4);

    alignas(32) double xs[4] = {0.5, 0.5, 0.5, 0.5}, ys[4] = {0, 5e-10, 0, 5e-10};
    int32_t px[4], py[4];
    uint32_t count = 0;
    GraphMapping m{};
    m.xSource = 1, m.xValues = xs, m.right = 5, m.xMax = 1;  // (right - left) * u = 2.5
    m.yAxisType = 2, m.dbReference = 1, m.yScale = 1, m.yMin = -500, m.top = 20, m.bottom = 220;  // dB: -400 at v = 0.2
    m.xPixelsOut = px, m.yPixelsOut = py, m.pointCountOut = &count;
    const auto map = [&](uint32_t pointsLeft, uint32_t index) {
        m.pointsLeft = pointsLeft, m.index = index, m.ySamples = ys + index;
        qxcalcGetXYValGraph2D(&m);
    };
    map(3, 0);
    EXPECT_TRUE(count == 1 && px[0] == 3 && py[0] == 180);
    map(3, 1);  // 5e-10 is inside the one-point domain: about -186 dB
    EXPECT_EQ(py[0], 220 - 126);
    map(4, 0);
    EXPECT_TRUE(count == 4 && px[0] == 2 && py[0] == 180 && py[1] == 180);
    // Four-point decibels are 20 * log formed in double: on an axis starting
    // exactly there, y = 10 lands at v = 0.
    std::fill(ys, ys + 4, 10.0);
    m.yMin = 20.0 * fastLog10Model(10.0f, true), m.yMax = m.yMin + 1e-9;
    map(4, 0);
    EXPECT_EQ(py[2], 220);

    m.xMin = m.xMax = 0.25, m.right = 100, m.yMax = m.yMin = 0.5;  // zero ranges: u = xMin; v = 0, or yMin on four
    map(1, 0);
    EXPECT_TRUE(px[0] == 25 && py[0] == 220);
    map(4, 0);
    EXPECT_TRUE(px[3] == 25 && py[3] == 120);
    m.xMin = m.xMax = -5e6;  // limited to -1e6, then to the pixel range
    map(1, 0);
    EXPECT_EQ(px[0], -32768);
    map(4, 0);
    EXPECT_EQ(px[0], -32768);
}

// Mostly ignored colours with a few drawn pixels (plain), or every ignored
// colour densely mixed with drawn and near-ignored ones (specials).
constexpr uint32_t kBackground = 0x00FFFFFF;
void fillBitmap(std::byte* to, std::size_t n, DataSet set, uint32_t seed)
{
    constexpr uint32_t kinds[] = {0, 0x010000, 0x808080, 0x848284, kBackground, 0x010001, 0x808081, 0xFF010000};
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < n; ++i) {
        uint32_t p = kinds[rng() % 5];
        if (rng() % (set == DataSet::Plain ? 40 : 2) == 0) p = rng() % 2 ? kinds[5 + rng() % 3] : static_cast<uint32_t>(rng());
        std::memcpy(to + 4 * i, &p, 4);
    }
}

TEST(FindCursorXY, TopDownAndBottomUpBitmapsMatchTheModel)
{
    constexpr int32_t kRows = 3;
    for (const bool bottomUp : {false, true})
        for (const int32_t pad : {0, 3})
            for (const auto& [cx, cy] : {std::pair{-3, 1}, {1, 4}, {1000, -1}, {INT32_MIN, 2}, {-1, 0}, {1, 50001}}) {
                // Rows of n pixels, pad pixels apart; the stride's 3 extra bytes are dropped toward zero.
                BlockSpec bitmap = block<uint32_t>("pixels", Role::In, 4, [=](uint32_t n) { return (kRows - 1) * (n + pad) + n; });
                bitmap.fill = fillBitmap;
                const auto args = [=](const Blocks& b, uint32_t n) {
                    const int32_t stride = 4 * static_cast<int32_t>(n + pad) + 3;
                    return std::pair{b.at<uint32_t>(0) + (bottomUp ? (kRows - 1) * (n + pad) : 0), bottomUp ? stride : -stride};
                };
                const auto cursorX = [cx](uint32_t n) { return cx == 1 ? static_cast<int32_t>(n / 2) : cx; };
                sweep({"FindCursorXY " + std::string(bottomUp ? "bottom-up" : "top-down") + " pad " + std::to_string(pad) + " cursor " + std::to_string(cx) + "," + std::to_string(cy),
                       {bitmap, scalar<uint32_t>("colour", Role::InOut, 0xC0FFEE), scalar<int32_t>("x", Role::InOut, -77), scalar<int32_t>("y", Role::InOut, -88)},
                       [=](const Blocks& b, uint32_t n) {
                           const auto [pixels, stride] = args(b, n);
                           qxcalcFindCursorXY(pixels, stride, n, kRows, cursorX(n), cy, b.at<uint32_t>(1), b.at<int32_t>(2), b.at<int32_t>(3), kBackground);
                       },
                       [=](const Blocks& b, uint32_t n) {
                           const auto [pixels, stride] = args(b, n);
                           FoundPixel f{*b.at<uint32_t>(1), *b.at<int32_t>(2), *b.at<int32_t>(3)};
                           findCursorModel(pixels, stride, n, kRows, cursorX(n), cy, kBackground, f);
                           *b.at<uint32_t>(1) = f.colour, *b.at<int32_t>(2) = f.x, *b.at<int32_t>(3) = f.y;
                       },
                       countsAround({}, 0, 40, {101, 1000})});
                if (HasFailure()) return;
            }
}

TEST(FindCursorXY, WorkedCases)
{
    uint32_t bitmap[3][8];
    std::fill_n(&bitmap[0][0], 24, kBackground);
    FoundPixel f{1, 2, 3};
    const auto find = [&](int32_t width, int32_t height, int32_t cx, int32_t cy) {
        qxcalcFindCursorXY(&bitmap[0][0], -32, width, height, cx, cy, &f.colour, &f.x, &f.y, kBackground);
    };
    bitmap[0][5] = 0x010000;  // ignored; its neighbour in colour is not
    find(6, 3, 0, 0);
    EXPECT_TRUE(f.colour == 1 && f.x == 2 && f.y == 3);
    bitmap[1][4] = 0x010001;  // in the tail of a 6-wide row: reported at x 0
    find(6, 3, 4, 1);
    EXPECT_TRUE(f.colour == 0x010001 && f.x == 0 && f.y == 1);
    f = {1, 2, 3};
    for (const auto& [w, h] : {std::pair{6, 0}, {6, -1}, {0, 3}, {-5, 3}}) find(w, h, 4, 1);
    EXPECT_TRUE(f.colour == 1 && f.x == 2 && f.y == 3);
    bitmap[0][2] = 7, bitmap[2][2] = 8;  // equal distances in rows 0 and 2: row 0 wins
    find(4, 3, 2, 1);
    EXPECT_TRUE(f.colour == 7 && f.x == 2 && f.y == 0);
    // Cursor at (0, -3): pixel (5, 0) sits in lane 1 right of lane 0's x and
    // scores 6^2 + 3^2 = 45 instead of 34, so (4, 2) at 41 wins.
    std::fill_n(&bitmap[0][0], 24, kBackground);
    bitmap[0][5] = 5, bitmap[2][4] = 9;
    find(8, 3, 0, -3);
    EXPECT_TRUE(f.colour == 9 && f.x == 4 && f.y == 2);
}

}  // namespace
