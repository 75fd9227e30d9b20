// Graph and cursor helpers: a curve of float samples mapped to pixels four
// points a call, as a host draws it (points per second), and the cursor
// search over a bitmap 512 pixels wide (bytes read per second).
#include <cmath>

#include "harness.h"
#include "qxcalc.h"

namespace qxbench {
namespace {

// x from the index over 0 .. n, y over -1250 .. 1250 (or 1e-3 .. 1250 on a
// logarithmic axis), into a plot of 1000 x 500 pixels.
GraphMapping mappingOf(uint32_t n, bool logarithmic)
{
    GraphMapping m{};
    m.ySampleType = 5;
    m.yAxisType = logarithmic ? 1 : 0;
    m.right = 1000, m.top = 0, m.bottom = 500;
    m.xScale = 1, m.yScale = 1;
    m.xMin = 0, m.xMax = n;
    m.yMin = -1250, m.yMax = 1250, m.yLogMin = -3, m.yLogMax = std::log10(1250.0);
    return m;
}

__attribute__((noipa)) void plainMap(const float* y, uint32_t n, const GraphMapping& m, int32_t* px, int32_t* py)
{
    const double width = m.right - m.left, height = m.bottom - m.top;
    for (uint32_t i = 0; i < n; ++i) {
        const double u = (i - m.xMin) / (m.xMax - m.xMin);
        const double v = m.yAxisType == 1 ? (std::log10(std::max<double>(y[i], 1e-9)) - m.yLogMin) / (m.yLogMax - m.yLogMin)
                                          : (y[i] - m.yMin) / (m.yMax - m.yMin);
        px[i] = static_cast<int32_t>(std::lrint(m.left + width * u));
        py[i] = static_cast<int32_t>(std::lrint(m.bottom - height * v));
    }
}

Row mapRow(const char* job, bool logarithmic)
{
    return {5, job, Unit::Samples, [=](std::size_t bytes) {
                const Block<float> y = blockOfBytes<float>(bytes);
                const Block<int32_t> px = block<int32_t>(y.n), py = block<int32_t>(y.n);
                const auto m = std::make_shared<GraphMapping>(mappingOf(y.n, logarithmic));
                const auto points = std::make_shared<uint32_t>();
                Case c;
                c.work = y.n;
                c.ours = [=] {
                    for (uint32_t i = 0; i + 4 <= y.n; i += 4) {
                        m->pointsLeft = y.n - i, m->index = i, m->ySamples = y.data() + i;
                        m->xPixelsOut = px.data() + i, m->yPixelsOut = py.data() + i, m->pointCountOut = points.get();
                        qxcalcGetXYValGraph2D(m.get());
                    }
                };
                c.scalar = [=] { plainMap(y.data(), y.n, *m, px.data(), py.data()); };
                return c;
            }};
}

constexpr int32_t kWidth = 512;

__attribute__((noipa)) void plainCursor(const uint32_t* pixels, int32_t width, int32_t height, int32_t cx, int32_t cy,
                                        uint32_t ignored)
{
    float best = INFINITY;
    int32_t bx = -1, by = -1;
    for (int32_t r = 0; r < height; ++r) {
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t p = pixels[x - std::ptrdiff_t{r} * width];
            if (p == 0 || p == 0x010000 || p == 0x808080 || p == 0x848284 || p == ignored) continue;
            const float d = static_cast<float>((x - cx) * (x - cx) + (r - cy) * (r - cy));
            if (d < best) best = d, bx = x, by = r;
        }
    }
    keep(bx), keep(by);
}

// A bitmap stored bottom-up, mostly background with every 16th pixel drawn;
// the search starts from its top row, the last in memory, and walks down.
Row cursorRow()
{
    return {5, "FindCursorXY, 512 pixels wide", Unit::Bytes, [](std::size_t bytes) {
                const Block<uint32_t> pixels = blockOfBytes<uint32_t>(bytes);
                for (uint32_t i = 0; i < pixels.n; ++i) pixels[i] = i % 16 ? 0 : 0x00ff00 + i % 7;
                const int32_t height = static_cast<int32_t>(pixels.n / kWidth);
                const std::ptrdiff_t top = std::ptrdiff_t{height - 1} * kWidth;
                Case c;
                c.work = static_cast<double>(bytes);
                c.ours = [=] {
                    uint32_t colour = 0;
                    int32_t x = -1, y = -1;
                    qxcalcFindCursorXY(pixels.data() + top, 4 * kWidth, kWidth, height, kWidth / 2, height / 2, &colour, &x, &y,
                                       0xffffff);
                    keep(x + y);
                };
                c.scalar = [=] { plainCursor(pixels.data() + top, kWidth, height, kWidth / 2, height / 2, 0xffffff); };
                c.input = pixels.data(), c.inputBytes = bytes;
                return c;
            }};
}

const Rows rows({
    mapRow("GetXYValGraph2D, 4 points a call, linear axes", false),
    mapRow("GetXYValGraph2D, 4 points a call, logarithmic y", true),
    cursorRow(),
});

}  // namespace
}  // namespace qxbench
