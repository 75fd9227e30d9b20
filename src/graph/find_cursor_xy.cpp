// qxcalcFindCursorXY: the drawn pixel of a 32-bit bitmap nearest to a cursor,
// reported as its colour, x and row. The host snaps its cursor onto a plotted
// curve with it.
//
// Row r starts r * (stride / 4) pixels below `pixels` in memory (stride in
// bytes, divided toward zero), so with a positive stride a bitmap stored
// bottom-up is scanned from its top row. Pixels of the five ignored colours
// (0x000000, 0x010000, 0x808080, 0x848284 and the caller's ignoredColour)
// do not count. The distance is dx^2 + dy^2 in single precision; the outputs
// are written whenever a strictly nearer pixel turns up, so they keep their
// entry values when none qualifies. height <= 0 returns at once; width <= 0
// scans nothing.
//
// Each row is searched in two parts:
// - The first 4 * (width / 4) pixels in groups of four, one pixel per lane.
//   Every lane keeps its own best pixel (a later pixel wins a tie); after
//   the row, lanes 0, 1, 2, 3 are merged into the overall best in that
//   order. The x differences are formed as two 64-bit lanes, so lanes 1
//   and 3 borrow from lanes 0 and 2: when cursorX is below (unsigned) the x
//   of lane 0 or 2, dx of lane 1 or 3 is one lower than the true difference.
//   dy^2 is an integer product converted to float.
// - The last width mod 4 pixels one at a time, whose x is their index within
//   that tail (exact when width < 4), with dy^2 formed in single precision.

#include <cstdint>
#include <limits>

#include "qxcalc.h"
#include "simd/lanes.h"

namespace qx::graph {
namespace {

// The ignored colours besides the caller's own.
constexpr uint32_t kFixedIgnored[4] = {0x000000, 0x010000, 0x808080, 0x848284};
constexpr float kFarthest = std::numeric_limits<float>::max();

QX_INLINE int32_t wrappingSub(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

QX_INLINE int32_t wrappingSquare(int32_t a)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(a));
}

// The nearest pixel so far; the caller's outputs always hold it.
struct OverallBest {
    uint32_t* colour;
    int32_t* x;
    int32_t* y;
    float distance = kFarthest;

    QX_INLINE void offer(float d, uint32_t pixel, int32_t px, int32_t py)
    {
        if (!(distance > d)) return;
        distance = d;
        *colour = pixel;
        *x = px;
        *y = py;
    }
};

// The four lane bests of one row's groups, each lane the nearest of the
// pixels at its position within the groups (the later one on a tie).
//
// The lanes start afresh on each row, which reports what lanes carried over
// all rows would: after every merge the overall best is at most each lane's
// distance, so a carried lane can only win a later merge with a pixel of that
// later row, which a fresh lane takes as well. Fresh lanes all lie in the
// current row, so they need no register for their row.
struct LaneBests {
    __m128 distance = _mm_set1_ps(kFarthest);
    __m128i colour = _mm_setzero_si128();
    __m128i x = _mm_setzero_si128();

    QX_INLINE void mergeInto(OverallBest& best, int32_t r) const
    {
        alignas(16) float d[4];
        alignas(16) int32_t c[4], px[4];
        _mm_store_ps(d, distance);
        _mm_store_si128(reinterpret_cast<__m128i*>(c), colour);
        _mm_store_si128(reinterpret_cast<__m128i*>(px), x);
        for (int j = 0; j < 4; ++j) best.offer(d[j], static_cast<uint32_t>(c[j]), px[j], r);
    }
};

QX_INLINE __m128i blendInt(__m128i keep, __m128i take, __m128 mask)
{
    return _mm_castps_si128(_mm_blendv_ps(_mm_castsi128_ps(keep), _mm_castsi128_ps(take), mask));
}

// All-ones in the lanes whose pixel has one of the ignored colours; 0x000000
// and 0x010000 are the words that are zero outside bit 16.
QX_INLINE __m128i ignoredLanes(__m128i p, __m128i ignoredColour)
{
    const __m128i blackish = _mm_and_si128(p, _mm_set1_epi32(static_cast<int32_t>(~uint32_t{0x010000})));
    __m128i ignored = _mm_or_si128(_mm_cmpeq_epi32(p, ignoredColour), _mm_cmpeq_epi32(blackish, _mm_setzero_si128()));
    ignored = _mm_or_si128(ignored, _mm_cmpeq_epi32(p, _mm_set1_epi32(static_cast<int32_t>(kFixedIgnored[2]))));
    return _mm_or_si128(ignored, _mm_cmpeq_epi32(p, _mm_set1_epi32(static_cast<int32_t>(kFixedIgnored[3]))));
}

QX_INLINE bool isIgnored(uint32_t p, uint32_t ignoredColour)
{
    bool ignored = p == ignoredColour;
    for (const uint32_t colour : kFixedIgnored) ignored |= p == colour;
    return ignored;
}

// The lane bests of the groups of four pixels of one row. The cursor's column
// stands in both halves of each 64-bit lane, so one 64-bit subtraction gives
// dx of lanes 0 and 1 (2 and 3) with the borrow of the lower lane. A group's
// x lanes are formed only when it has a pixel to score, which leaves the
// skip of background groups one register short of eight.
LaneBests searchGroups(const uint32_t* row, int32_t groups, int32_t cursorX, int32_t dy, uint32_t ignoredColour)
{
    LaneBests lanes;
    const __m128i background = _mm_set1_epi32(static_cast<int32_t>(ignoredColour));
    const __m128i cursor = _mm_set1_epi32(cursorX);
    const __m128 dySquared = _mm_set1_ps(static_cast<float>(wrappingSquare(dy)));
    for (int32_t g = 0; g < groups; ++g) {
        const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row) + g);
        const __m128i ignored = ignoredLanes(p, background);
        if (_mm_movemask_ps(_mm_castsi128_ps(ignored)) == 0xF) continue;
        const __m128i x = _mm_add_epi32(_mm_set1_epi32(4 * g), _mm_setr_epi32(0, 1, 2, 3));
        const __m128 dx = _mm_cvtepi32_ps(_mm_sub_epi64(cursor, x));
        // Ignored lanes become all-ones, a NaN that no lane best accepts.
        const __m128 d = _mm_or_ps(_mm_add_ps(_mm_mul_ps(dx, dx), dySquared), _mm_castsi128_ps(ignored));
        const __m128 take = _mm_cmp_ps(d, lanes.distance, _CMP_LE_OQ);
        lanes.distance = _mm_blendv_ps(lanes.distance, d, take);
        lanes.colour = blendInt(lanes.colour, p, take);
        lanes.x = blendInt(lanes.x, x, take);
    }
    return lanes;
}

// The last pixels of row r, scored with their index i within the tail as x.
void searchTail(const uint32_t* tail, int32_t count, int32_t r, int32_t cursorX, int32_t dy,
                uint32_t ignoredColour, OverallBest& best)
{
    const float fdy = static_cast<float>(dy);
    for (int32_t i = 0; i < count; ++i) {
        if (isIgnored(tail[i], ignoredColour)) continue;
        const float fdx = static_cast<float>(wrappingSub(cursorX, i));
        best.offer(fdx * fdx + fdy * fdy, tail[i], i, r);
    }
}

void findCursor(const uint32_t* pixels, int32_t stride, int32_t width, int32_t height, int32_t cursorX,
                int32_t cursorY, uint32_t* foundColour, int32_t* foundX, int32_t* foundY, uint32_t ignoredColour)
{
    if (height <= 0) return;
    OverallBest best{foundColour, foundX, foundY};
    const int32_t groups = width > 0 ? width / 4 : 0;
    const int32_t tail = width > 0 ? width % 4 : 0;
    const ptrdiff_t rowStep = -static_cast<ptrdiff_t>(stride / 4);
    for (int32_t r = 0; r < height; ++r) {
        const uint32_t* row = pixels + r * rowStep;
        const int32_t dy = wrappingSub(cursorY, r);
        searchGroups(row, groups, cursorX, dy, ignoredColour).mergeInto(best, r);
        searchTail(row + 4 * groups, tail, r, cursorX, dy, ignoredColour, best);
    }
}

}  // namespace
}  // namespace qx::graph

extern "C" void QXCALC_CALL qxcalcFindCursorXY(const uint32_t* pixels, int32_t stride, int32_t width,
                                               int32_t height, int32_t cursorX, int32_t cursorY,
                                               uint32_t* foundColour, int32_t* foundX, int32_t* foundY,
                                               uint32_t ignoredColour)
{
    qx::graph::findCursor(pixels, stride, width, height, cursorX, cursorY, foundColour, foundX, foundY,
                          ignoredColour);
}
