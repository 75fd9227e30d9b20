// qxcalcGetXYValGraph2D: maps the data point(s) at the record's current
// position to pixel coordinates of an XY graph's plot area. The caller's
// GraphMapping names the point source, the axes and the plot rectangle, and
// where the pixels and their count go; nothing is checked. With pointsLeft
// >= 4 four points are mapped, else one. Only the points mapped are read:
// xValues[index ..] when xSource is 1, one or four samples at ySamples.
//
// Each point goes through the same steps: its x (from the index, the x array
// or the scaled index) and y (sample * yScale + yOffset); their positions u, v
// along the axes, 0 at the axis start and 1 at its end, on a linear, base-10
// logarithmic (axis ends in logarithm units) or, for y, decibel axis; both
// limited to -1e6 .. 1e6; then the pixels left + (right - left) * u and
// bottom - (bottom - top) * v, rounded and limited to -32768 .. 32767.
//
// The one-point and four-point paths differ on purpose, and both are kept:
//
//   step                   one point                   four points
//   x of another xSource   xMin                        0
//   index as a number      unsigned                    signed, index + k
//   logarithm domain       x > 0, y > 0                x > xLogMin, y > yLogMin
//   decibel domain         y > 0                       y > 1e-9
//   20 * log (decibels)    in single precision         in double
//   zero decibel range     v = 0, not limited          v = yMin, limited
//   pixel rounding         +0.5, truncated to int32    half to even, in double
//   pixel limit            on the integer              in double
//
// The logarithm is the library's fast base-10 logarithm of the value rounded
// to float: the one-value form on one point, the four-lane form on four.

#include <algorithm>
#include <cstdint>

#include "simd/fast_log10.h"
#include "qxcalc.h"
#include "simd/lanes.h"
#include "simd/select.h"

namespace qx::graph {
namespace {

enum : uint8_t { kXFromIndex = 0, kXFromArray = 1, kXFromScaledIndex = 2 };
enum : uint8_t { kLinearAxis = 0, kLogarithmicAxis = 1 };  // x: others unnormalised; y: others decibels
constexpr uint8_t kFloatSamples = 5;

constexpr double kPositionLimit = 1e6;
constexpr int32_t kPixelLow = -32768;
constexpr int32_t kPixelHigh = 32767;
constexpr double kDecibelsOfNothing = -400.0;
constexpr float kDecibelFactorFloat = 20.0f;
constexpr double kDecibelFactor = 20.0;
constexpr double kDecibelLaneDomainStart = 1e-9;

// ---- One point ---------------------------------------------------------------

double logOf(double v) { return simd::fastLog10(static_cast<float>(v)); }

// (value - start) / (end - start), or `whenEmpty` on an axis of zero length.
double along(double value, double start, double end, double whenEmpty)
{
    const double range = end - start;
    return range == 0 ? whenEmpty : (value - start) / range;
}

// -1e6 .. 1e6; NaN becomes 1e6.
double limited(double u) { return u <= kPositionLimit ? std::max(u, -kPositionLimit) : kPositionLimit; }

// (span * t + 0.5) truncated toward zero to int32 (out of range: INT32_MIN).
int32_t truncatedHalfUp(int32_t span, double t)
{
    return _mm_cvttsd_si32(_mm_set_sd(static_cast<double>(span) * t + 0.5));
}

int32_t limitedPixel(uint32_t wrapped) { return std::clamp(static_cast<int32_t>(wrapped), kPixelLow, kPixelHigh); }

double xOfOnePoint(const GraphMapping& m)
{
    switch (m.xSource) {
    case kXFromArray: return m.xValues[m.index];
    case kXFromIndex: return m.index;
    case kXFromScaledIndex: return static_cast<double>(m.index) * m.xScale + m.xOffset;
    default: return m.xMin;
    }
}

double uOfOnePoint(const GraphMapping& m, double x)
{
    switch (m.xAxisType) {
    case kLinearAxis: return limited(along(x, m.xMin, m.xMax, m.xMin));
    case kLogarithmicAxis: return limited(along(x > 0 ? logOf(x) : m.xLogMin, m.xLogMin, m.xLogMax, m.xLogMin));
    default: return limited(x);
    }
}

double vOfOnePoint(const GraphMapping& m, double y)
{
    switch (m.yAxisType) {
    case kLinearAxis: return limited(along(y, m.yMin, m.yMax, m.yMin));
    case kLogarithmicAxis: return limited(along(y > 0 ? logOf(y) : m.yLogMin, m.yLogMin, m.yLogMax, m.yLogMin));
    default: {
        const double db = y > 0 ? kDecibelFactorFloat * simd::fastLog10(static_cast<float>(y / m.dbReference))
                                : kDecibelsOfNothing;
        return m.yMax - m.yMin == 0 ? 0.0 : limited(along(db, m.yMin, m.yMax, 0.0));
    }
    }
}

void mapOnePoint(const GraphMapping& m)
{
    const double sample = m.ySampleType == kFloatSamples ? *static_cast<const float*>(m.ySamples)
                                                         : *static_cast<const double*>(m.ySamples);
    const double u = uOfOnePoint(m, xOfOnePoint(m));
    const double v = vOfOnePoint(m, sample * m.yScale + m.yOffset);
    *m.xPixelsOut =
        limitedPixel(static_cast<uint32_t>(truncatedHalfUp(m.right - m.left, u)) + static_cast<uint32_t>(m.left));
    *m.yPixelsOut =
        limitedPixel(static_cast<uint32_t>(m.bottom) - static_cast<uint32_t>(truncatedHalfUp(m.bottom - m.top, v)));
    *m.pointCountOut = 1;
}

// ---- Four points, one per double lane ----------------------------------------
// Every lane runs every step; conditions choose per lane by mask.

using Quad = __m256d;

QX_INLINE Quad all(double v) { return _mm256_set1_pd(v); }
QX_INLINE Quad above(Quad v, double start) { return _mm256_cmp_pd(v, all(start), _CMP_GT_OQ); }

QX_INLINE Quad logOfLanes(Quad v) { return _mm256_cvtps_pd(simd::fastLog10x4(_mm256_cvtpd_ps(v))); }

QX_INLINE Quad alongLanes(Quad value, double start, double end, double whenEmpty)
{
    const Quad range = all(end - start);
    const Quad u = _mm256_div_pd(_mm256_sub_pd(value, all(start)), range);
    const Quad empty = _mm256_cmp_pd(range, _mm256_setzero_pd(), _CMP_EQ_OQ);
    return simd::selectWhere(empty, u, all(whenEmpty));
}

// Minimum first (a NaN lane takes the 1e6), then maximum.
QX_INLINE Quad limitedLanes(Quad u)
{
    return _mm256_max_pd(_mm256_min_pd(u, all(kPositionLimit)), all(-kPositionLimit));
}

// span * t rounded half to even, in double.
QX_INLINE Quad roundedLanes(int32_t span, Quad t)
{
    return _mm256_round_pd(_mm256_mul_pd(all(span), t), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
}

QX_INLINE void storePixels(int32_t* out, Quad p)
{
    p = _mm256_max_pd(_mm256_min_pd(p, all(kPixelHigh)), all(kPixelLow));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_cvtpd_epi32(p));
}

Quad xOfFourPoints(const GraphMapping& m)
{
    const Quad index = _mm256_cvtepi32_pd(
        _mm_add_epi32(_mm_set1_epi32(static_cast<int32_t>(m.index)), _mm_setr_epi32(0, 1, 2, 3)));
    switch (m.xSource) {
    case kXFromArray: return _mm256_loadu_pd(m.xValues + m.index);
    case kXFromIndex: return index;
    case kXFromScaledIndex: return _mm256_add_pd(_mm256_mul_pd(index, all(m.xScale)), all(m.xOffset));
    default: return _mm256_setzero_pd();
    }
}

// Four positions along a linear or a logarithmic axis, the same for x and y.
Quad alongAxis(bool logarithmic, Quad value, double min, double max, double logMin, double logMax)
{
    if (!logarithmic) return limitedLanes(alongLanes(value, min, max, min));
    const Quad inDomain = above(value, logMin);
    const Quad logValue = simd::selectWhere(inDomain, all(logMin), logOfLanes(value));
    return limitedLanes(alongLanes(logValue, logMin, logMax, logMin));
}

Quad uOfFourPoints(const GraphMapping& m, Quad x)
{
    if (m.xAxisType != kLinearAxis && m.xAxisType != kLogarithmicAxis) return limitedLanes(x);
    return alongAxis(m.xAxisType == kLogarithmicAxis, x, m.xMin, m.xMax, m.xLogMin, m.xLogMax);
}

Quad vOfFourPoints(const GraphMapping& m, Quad y)
{
    switch (m.yAxisType) {
    case kLinearAxis:
    case kLogarithmicAxis: return alongAxis(m.yAxisType == kLogarithmicAxis, y, m.yMin, m.yMax, m.yLogMin, m.yLogMax);
    default: {
        const Quad db = _mm256_mul_pd(all(kDecibelFactor), logOfLanes(_mm256_div_pd(y, all(m.dbReference))));
        const Quad inDomain = above(y, kDecibelLaneDomainStart);
        const Quad dbOrNothing = simd::selectWhere(inDomain, all(kDecibelsOfNothing), db);
        return limitedLanes(alongLanes(dbOrNothing, m.yMin, m.yMax, m.yMin));
    }
    }
}

void mapFourPoints(const GraphMapping& m)
{
    const Quad samples = m.ySampleType == kFloatSamples
                             ? _mm256_cvtps_pd(_mm_loadu_ps(static_cast<const float*>(m.ySamples)))
                             : _mm256_loadu_pd(static_cast<const double*>(m.ySamples));
    const Quad u = uOfFourPoints(m, xOfFourPoints(m));
    const Quad v = vOfFourPoints(m, _mm256_add_pd(_mm256_mul_pd(samples, all(m.yScale)), all(m.yOffset)));
    storePixels(m.xPixelsOut, _mm256_add_pd(roundedLanes(m.right - m.left, u), all(m.left)));
    storePixels(m.yPixelsOut, _mm256_sub_pd(all(m.bottom), roundedLanes(m.bottom - m.top, v)));
    *m.pointCountOut = 4;
}

}  // namespace
}  // namespace qx::graph

extern "C" void QXCALC_CALL qxcalcGetXYValGraph2D(const GraphMapping* mapping)
{
    if (mapping->pointsLeft >= 4) qx::graph::mapFourPoints(*mapping);
    else qx::graph::mapOnePoint(*mapping);
}
