// Scalar models of the graph helpers, written from the library's contract:
// the fast logarithm with its two scalings, one point of either mapping path
// (the path's differences named where they apply), and the cursor search with
// its lane bests carried over all rows.
#pragma once

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>

#include "qxcalc.h"

namespace qxtest {

// log2|v| by the cubic in the mantissa, divided by log2(10) in double (one
// value) or in float (lanes).
inline float fastLog10Model(float v, bool lanes)
{
    const uint32_t b = std::bit_cast<uint32_t>(v);
    const float m = std::bit_cast<float>((b & 0x007FFFFFu) | 0x3F800000u);
    const float e = static_cast<float>(static_cast<int>((b >> 23) & 0xFF) - 127);
    float p = m * std::bit_cast<float>(0xBDDBA835u) + std::bit_cast<float>(0x3F3030C0u);
    p = p * m - std::bit_cast<float>(0x3FE0D411u);
    p = p * m + std::bit_cast<float>(0x402786EEu);
    const float r = e + (m - 1.0f) * p;
    if (lanes) return r / std::bit_cast<float>(0x40549A78u);
    return static_cast<float>(r / std::bit_cast<double>(0x400A934F0A294EAEull));
}

struct PixelXY {
    int32_t x, y;
};

// Point k of the record's position as the one-point (four = false) or the
// four-point path maps it.
inline PixelXY mapPointModel(const GraphMapping& m, uint32_t k, bool four)
{
    const auto log = [four](double v) { return static_cast<double>(fastLog10Model(static_cast<float>(v), four)); };
    const auto along = [](double v, double start, double end, double empty) { return end - start == 0 ? empty : (v - start) / (end - start); };
    const auto limit = [](double u) { return u <= 1e6 ? std::max(u, -1e6) : 1e6; };
    const double index = four ? static_cast<int32_t>(m.index + k) : static_cast<double>(m.index);
    double x = four ? 0.0 : m.xMin;
    if (m.xSource == 0) x = index;
    if (m.xSource == 1) x = m.xValues[m.index + k];
    if (m.xSource == 2) x = index * m.xScale + m.xOffset;
    double u = x;
    if (m.xAxisType == 0) u = along(x, m.xMin, m.xMax, m.xMin);
    if (m.xAxisType == 1) u = along((four ? x > m.xLogMin : x > 0) ? log(x) : m.xLogMin, m.xLogMin, m.xLogMax, m.xLogMin);
    u = limit(u);

    const double y = (m.ySampleType == 5 ? static_cast<const float*>(m.ySamples)[k] : static_cast<const double*>(m.ySamples)[k]) * m.yScale + m.yOffset;
    double v;
    if (m.yAxisType == 0) v = limit(along(y, m.yMin, m.yMax, m.yMin));
    else if (m.yAxisType == 1) v = limit(along((four ? y > m.yLogMin : y > 0) ? log(y) : m.yLogMin, m.yLogMin, m.yLogMax, m.yLogMin));
    else {
        const float l = fastLog10Model(static_cast<float>(y / m.dbReference), four);
        const double db = !(y > (four ? 1e-9 : 0.0)) ? -400.0 : four ? 20.0 * l : static_cast<double>(20.0f * l);
        v = !four && m.yMax - m.yMin == 0 ? 0.0 : limit(along(db, m.yMin, m.yMax, m.yMin));
    }

    if (four) {
        const auto px = [](double p) { return static_cast<int32_t>(std::clamp(p, -32768.0, 32767.0)); };
        return {px(std::nearbyint((m.right - m.left) * u) + m.left), px(m.bottom - std::nearbyint((m.bottom - m.top) * v))};
    }
    // Truncation to int32 gives INT32_MIN out of range; the pixel offset wraps.
    const auto trunc32 = [](double t) { return std::fabs(t) < 2147483648.0 ? static_cast<int32_t>(t) : INT32_MIN; };
    const auto px = [](uint32_t p) { return std::clamp(static_cast<int32_t>(p), -32768, 32767); };
    return {px(static_cast<uint32_t>(trunc32((m.right - m.left) * u + 0.5)) + static_cast<uint32_t>(m.left)),
            px(static_cast<uint32_t>(m.bottom) - static_cast<uint32_t>(trunc32((m.bottom - m.top) * v + 0.5)))};
}

struct FoundPixel {
    uint32_t colour;
    int32_t x, y;
};

inline void findCursorModel(const uint32_t* pixels, int32_t stride, int32_t width, int32_t height, int32_t cursorX,
                            int32_t cursorY, uint32_t ignoredColour, FoundPixel& out)
{
    const auto drawn = [&](uint32_t p) { return p != 0 && p != 0x010000 && p != 0x808080 && p != 0x848284 && p != ignoredColour; };
    const auto sub = [](int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); };
    float best = FLT_MAX, lane[4] = {FLT_MAX, FLT_MAX, FLT_MAX, FLT_MAX};
    FoundPixel at[4] = {out, out, out, out};
    const int32_t grouped = width > 0 ? width / 4 * 4 : 0;
    for (int32_t r = 0; r < height; ++r) {
        const uint32_t* row = pixels - static_cast<ptrdiff_t>(r) * (stride / 4);
        const int32_t dy = sub(cursorY, r);
        for (int32_t x = 0; x < grouped; ++x) {
            // Lanes 1 and 3 borrow from lanes 0 and 2 when the cursor is below their x (unsigned).
            const int32_t dx = sub(sub(cursorX, x), x % 2 && static_cast<uint32_t>(cursorX) < static_cast<uint32_t>(x - 1));
            const float d = static_cast<float>(dx) * static_cast<float>(dx) + static_cast<float>(static_cast<int32_t>(static_cast<uint32_t>(dy) * static_cast<uint32_t>(dy)));
            if (drawn(row[x]) && d <= lane[x % 4]) lane[x % 4] = d, at[x % 4] = {row[x], x, r};
        }
        for (int j = 0; j < 4; ++j)
            if (best > lane[j]) best = lane[j], out = at[j];
        for (int32_t i = 0; grouped + i < width; ++i) {
            const float dx = static_cast<float>(sub(cursorX, i)), fdy = static_cast<float>(dy), d = dx * dx + fdy * fdy;
            if (drawn(row[grouped + i]) && best > d) best = d, out = {row[grouped + i], i, r};
        }
    }
}

}  // namespace qxtest
