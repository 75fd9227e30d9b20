// Pictures of the demo: a 32-bit bitmap (0x00RRGGBB, row 0 at the top), a
// plot frame with ticks and labels, curves mapped to pixels by the library's
// graph helper, and a cursor snapped to the drawn curve by its cursor search.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

// Colours the library's cursor search skips (black, dark grey) draw the
// frame, ticks and text; white is the background and passed as ignored too.
constexpr uint32_t kBackground = 0xFFFFFF, kFrame = 0x808080, kGrid = 0x848284, kInk = 0x000000;
constexpr uint32_t kCurve = 0x1F4FBF, kCursor = 0xD01010;

struct Bitmap {
    int width, height; // width a multiple of 4: the cursor search then counts every x from the row start
    std::vector<uint32_t> pixels;
    Bitmap(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w) * h, kBackground) {}
    void set(int x, int y, uint32_t colour);
    void line(int x0, int y0, int x1, int y1, uint32_t colour);
    void text(int x, int y, const std::string& s, uint32_t colour, int size = 2); // letters, digits, ().-/
    bool writePng(const std::string& path) const;
};

struct Point {
    int32_t x, y;
};

// One plot: the pixel rectangle and the ranges of its axes. A logarithmic
// y axis takes yMin/yMax as values (> 0) and shows decades.
struct Plot {
    int left, top, right, bottom;
    double xMin, xMax, yMin, yMax;
    bool yLog;
    // Pixels of n points: x from xValues (or index * xStep when null), y from ys.
    std::vector<Point> map(const double* xValues, double xStep, const float* ys, uint32_t n) const;
    // The frame, the ticks at the given axis positions (pixels) and their labels, the titles.
    void drawAxes(Bitmap& bitmap, const std::vector<int32_t>& xTicks, const std::vector<std::string>& xLabels,
                  const std::vector<int32_t>& yTicks, const std::vector<std::string>& yLabels,
                  const std::string& xTitle, const std::string& yTitle, const std::string& title) const;
};

void drawCurve(Bitmap& bitmap, const std::vector<Point>& points, uint32_t colour);

// Snaps a cursor at `near` to the nearest drawn pixel and marks it; returns the pixel found
// (`near` itself when nothing is drawn).
Point snapAndMarkCursor(Bitmap& bitmap, Point near, const std::string& label);

} // namespace demo
