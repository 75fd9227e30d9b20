#include "plot.h"

#include <cmath>
#include <cstdlib>

#include <png.h>

#include "qxcalc.h"

namespace demo {
namespace {

// A 5x7 font: each glyph is seven rows of five bits, the top row first.
struct Glyph {
    char c;
    uint8_t rows[7];
};
constexpr Glyph kFont[] = {
    {'0', {14, 17, 19, 21, 25, 17, 14}}, {'1', {4, 12, 4, 4, 4, 4, 14}},    {'2', {14, 17, 1, 2, 4, 8, 31}},
    {'3', {31, 2, 4, 2, 1, 17, 14}},     {'4', {2, 6, 10, 18, 31, 2, 2}},   {'5', {31, 16, 30, 1, 1, 17, 14}},
    {'6', {6, 8, 16, 30, 17, 17, 14}},   {'7', {31, 1, 2, 4, 8, 8, 8}},     {'8', {14, 17, 17, 14, 17, 17, 14}},
    {'9', {14, 17, 17, 15, 1, 2, 12}},   {'.', {0, 0, 0, 0, 0, 12, 12}},    {'-', {0, 0, 0, 31, 0, 0, 0}},
    {'(', {2, 4, 8, 8, 8, 4, 2}},        {')', {8, 4, 2, 2, 2, 4, 8}},      {'/', {1, 1, 2, 4, 8, 16, 16}},
    {'A', {14, 17, 17, 31, 17, 17, 17}}, {'B', {30, 17, 17, 30, 17, 17, 30}}, {'C', {14, 17, 16, 16, 16, 17, 14}},
    {'D', {28, 18, 17, 17, 17, 18, 28}}, {'E', {31, 16, 16, 30, 16, 16, 31}}, {'G', {14, 17, 16, 23, 17, 17, 15}},
    {'H', {17, 17, 17, 31, 17, 17, 17}}, {'I', {14, 4, 4, 4, 4, 4, 14}},    {'K', {17, 18, 20, 24, 20, 18, 17}},
    {'L', {16, 16, 16, 16, 16, 16, 31}}, {'M', {17, 27, 21, 21, 17, 17, 17}}, {'N', {17, 17, 25, 21, 19, 17, 17}},
    {'O', {14, 17, 17, 17, 17, 17, 14}}, {'P', {30, 17, 17, 30, 16, 16, 16}}, {'R', {30, 17, 17, 30, 20, 18, 17}},
    {'S', {15, 16, 16, 14, 1, 1, 30}},   {'T', {31, 4, 4, 4, 4, 4, 4}},     {'U', {17, 17, 17, 17, 17, 17, 14}},
    {'V', {17, 17, 17, 17, 17, 10, 4}},  {'Y', {17, 17, 10, 4, 4, 4, 4}},
};

int textWidth(const std::string& s, int size) { return static_cast<int>(s.size()) * 6 * size - size; }

} // namespace

void Bitmap::set(int x, int y, uint32_t colour)
{
    if (x >= 0 && x < width && y >= 0 && y < height) pixels[static_cast<size_t>(y) * width + x] = colour;
}

void Bitmap::line(int x0, int y0, int x1, int y1, uint32_t colour)
{
    const int dx = std::abs(x1 - x0), dy = -std::abs(y1 - y0), sx = x0 < x1 ? 1 : -1, sy = y0 < y1 ? 1 : -1;
    for (int error = dx + dy;;) {
        set(x0, y0, colour);
        if (x0 == x1 && y0 == y1) return;
        const int twice = 2 * error;
        if (twice >= dy) error += dy, x0 += sx;
        if (twice <= dx) error += dx, y0 += sy;
    }
}

void Bitmap::text(int x, int y, const std::string& s, uint32_t colour, int size)
{
    for (char c : s) {
        for (const Glyph& glyph : kFont)
            if (glyph.c == c)
                for (int row = 0; row < 7 * size; ++row)
                    for (int column = 0; column < 5 * size; ++column)
                        if (glyph.rows[row / size] >> (4 - column / size) & 1) set(x + column, y + row, colour);
        x += 6 * size;
    }
}

bool Bitmap::writePng(const std::string& path) const
{
    std::vector<uint8_t> rgb;
    rgb.reserve(pixels.size() * 3);
    for (uint32_t p : pixels) rgb.insert(rgb.end(), {uint8_t(p >> 16), uint8_t(p >> 8), uint8_t(p)});
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr) != 0;
}

std::vector<Point> Plot::map(const double* xValues, double xStep, const float* ys, uint32_t n) const
{
    std::vector<Point> points(n + 3);
    std::vector<int32_t> xs(4), yPixels(4);
    GraphMapping m{};
    m.xSource = xValues ? 1 : 2;
    m.ySampleType = QxcalcRawFloat;
    m.xAxisType = 0;
    m.yAxisType = yLog ? 1 : 0;
    m.left = static_cast<int16_t>(left), m.top = static_cast<int16_t>(top);
    m.right = static_cast<int16_t>(right), m.bottom = static_cast<int16_t>(bottom);
    m.xScale = xStep, m.xOffset = 0;
    m.yScale = 1, m.yOffset = 0;
    m.xMin = xMin, m.xMax = xMax;
    m.yMin = yMin, m.yMax = yMax;
    if (yLog) m.yLogMin = std::log10(yMin), m.yLogMax = std::log10(yMax);
    m.xValues = xValues;
    m.xPixelsOut = xs.data(), m.yPixelsOut = yPixels.data();
    uint32_t mapped = 0;
    m.pointCountOut = &mapped;
    for (uint32_t i = 0; i < n; i += mapped) {
        m.pointsLeft = n - i, m.index = i, m.ySamples = ys + i;
        qxcalcGetXYValGraph2D(&m);
        for (uint32_t k = 0; k < mapped; ++k) points[i + k] = {xs[k], yPixels[k]};
    }
    points.resize(n);
    return points;
}

void Plot::drawAxes(Bitmap& bitmap, const std::vector<int32_t>& xTicks, const std::vector<std::string>& xLabels,
                    const std::vector<int32_t>& yTicks, const std::vector<std::string>& yLabels,
                    const std::string& xTitle, const std::string& yTitle, const std::string& title) const
{
    for (size_t k = 0; k < xTicks.size(); ++k) {
        for (int y = top; y < bottom; y += 4) bitmap.set(xTicks[k], y, kGrid);
        bitmap.line(xTicks[k], bottom, xTicks[k], bottom + 6, kInk);
        bitmap.text(xTicks[k] - textWidth(xLabels[k], 2) / 2, bottom + 12, xLabels[k], kInk);
    }
    for (size_t k = 0; k < yTicks.size(); ++k) {
        for (int x = left; x < right; x += 4) bitmap.set(x, yTicks[k], kGrid);
        bitmap.line(left - 6, yTicks[k], left, yTicks[k], kInk);
        bitmap.text(left - 12 - textWidth(yLabels[k], 2), yTicks[k] - 7, yLabels[k], kInk);
    }
    bitmap.line(left, top, right, top, kFrame), bitmap.line(right, top, right, bottom, kFrame);
    bitmap.line(left, bottom, right, bottom, kFrame), bitmap.line(left, top, left, bottom, kFrame);
    bitmap.text((left + right - textWidth(xTitle, 2)) / 2, bottom + 36, xTitle, kInk);
    bitmap.text(8, top - 34, yTitle, kInk);
    bitmap.text((left + right - textWidth(title, 3)) / 2, 12, title, kInk, 3);
}

void drawCurve(Bitmap& bitmap, const std::vector<Point>& points, uint32_t colour)
{
    for (size_t i = 1; i < points.size(); ++i)
        for (int d = 0; d < 2; ++d) // two pixels wide
            bitmap.line(points[i - 1].x + d, points[i - 1].y, points[i].x + d, points[i].y, colour);
}

Point snapAndMarkCursor(Bitmap& bitmap, Point near, const std::string& label)
{
    uint32_t colour = kBackground;
    Point found = near;
    qxcalcFindCursorXY(bitmap.pixels.data(), -4 * bitmap.width, bitmap.width, bitmap.height, near.x, near.y, &colour,
                       &found.x, &found.y, kBackground);
    for (int d = -12; d <= 12; ++d)
        if (std::abs(d) > 3) bitmap.set(found.x + d, found.y, kCursor), bitmap.set(found.x, found.y + d, kCursor);
    for (int a = 0; a < 64; ++a) // a ring of radius 6 around the snapped pixel
        bitmap.set(found.x + static_cast<int>(std::lround(6 * std::cos(a * 0.0982))),
                   found.y + static_cast<int>(std::lround(6 * std::sin(a * 0.0982))), kCursor);
    bitmap.text(found.x + 12, found.y - 24, label, kCursor);
    return found;
}

} // namespace demo
