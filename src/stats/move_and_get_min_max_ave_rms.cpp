// qxcalcMoveAndGetMinMaxAveRMS_int16_t: copies sample i = source[i * stride]
// to destination[i] for i < count and, in the same pass, gathers the
// statistics of qxcalcGetMinMaxAveRMS_int16_t. count 0 touches nothing.
//
// Three paths:
// - one at a time (count < 8): the stride applies exactly (0 repeats the
//   first sample, a negative stride walks backwards); running min/max;
// - contiguous (count >= 8, stride <= 1): the source is read as if stride
//   were 1; aligned source vectors, unaligned destination stores; the
//   incoming min/max are ignored, as in the plain statistics;
// - strided (count >= 8, stride >= 2): eight samples gathered per vector and
//   stored aligned to the destination; the incoming min/max take part.

#include <cstddef>
#include <cstring>

#include "qxcalc.h"
#include "simd/registers.h"
#include "stats/int16_body.h"
#include "stats/minmax.h"
#include "stats/sums.h"

namespace qx::stats {
namespace {

using L16 = simd::Lanes<int16_t>;

struct MoveStats {
    int16_t* minValue;
    int16_t* maxValue;
    RunningSums sums;
    float offset;
};

// Copies and adds samples one at a time, continuing the running min/max.
void moveOneByOne(int16_t* destination, const int16_t* source, uint32_t count, std::ptrdiff_t stride,
                  MoveStats& stats)
{
    int16_t lo = *stats.minValue, hi = *stats.maxValue;
    for (uint32_t i = 0; i < count; ++i) {
        const int16_t x = source[static_cast<std::ptrdiff_t>(i) * stride];
        destination[i] = x;
        foldRunning(x, lo, hi);
        stats.sums.add(x, offsetSample(x, stats.offset));
    }
    *stats.minValue = lo;
    *stats.maxValue = hi;
}

// Copies and adds samples one at a time without touching min/max (they are
// covered by the overlapping head and tail vectors).
void moveSumsOnly(int16_t* destination, const int16_t* source, uint32_t count, RunningSums& sums, float offset)
{
    std::memcpy(destination, source, count * sizeof(int16_t));
    addSamplesOneByOne(sums, source, count, offset);
}

void moveContiguous(int16_t* destination, const int16_t* source, uint32_t count, MoveStats& stats)
{
    auto minMax = MinMaxVectors<int16_t>::seededWith(L16::loadu(source));
    SumLanes lanes;
    const auto body = simd::alignedBody<L16::alignment, L16::width>(source, count);

    moveSumsOnly(destination, source, body.peel, stats.sums, stats.offset);
    addInt16Body<true>(body.first, body.vectors, destination + body.peel, minMax, lanes, stats.offset);
    lanes.addTo(stats.sums);
    minMax.fold(L16::loadu(source + count - L16::width));
    const uint32_t done = body.peel + body.vectors * L16::width;
    moveSumsOnly(destination + done, source + done, count - done, stats.sums, stats.offset);
    minMax.store(stats.minValue, stats.maxValue);
}

// Eight samples from p on, stride apart; p moves past them. Stepping one
// pointer keeps the 32-bit build's few address registers free.
QX_INLINE __m128i gatherEight(const int16_t*& p, std::ptrdiff_t stride)
{
    __m128i v = _mm_cvtsi32_si128(static_cast<uint16_t>(*p));
    v = _mm_insert_epi16(v, *(p += stride), 1);
    v = _mm_insert_epi16(v, *(p += stride), 2);
    v = _mm_insert_epi16(v, *(p += stride), 3);
    v = _mm_insert_epi16(v, *(p += stride), 4);
    v = _mm_insert_epi16(v, *(p += stride), 5);
    v = _mm_insert_epi16(v, *(p += stride), 6);
    v = _mm_insert_epi16(v, *(p += stride), 7);
    p += stride;
    return v;
}

// `groups` groups of eight samples gathered from p on and stored to the
// aligned destination. With kSeparateMinMax the minimum and maximum are taken
// afterwards from the stored vectors.
QX_OUT_OF_LINE void gatherGroups(int16_t* destination, const int16_t* p, uint32_t groups, std::ptrdiff_t stride,
                                 MinMaxVectors<int16_t>& minMax, SumLanes& lanes, float offset)
{
    MinMaxVectors<int16_t> m = minMax;
    SumLanes l = lanes;
    const __m256d offsets = _mm256_set1_pd(offset);
    simd::forEachInOrder<2>(groups, [&](std::size_t k) {
        const __m128i v = gatherEight(p, stride);
        _mm_store_si128(reinterpret_cast<__m128i*>(destination + k * L16::width), v);
        if constexpr (!simd::kSeparateMinMax) m.fold(v);
        l.add(simd::widenInt16x8(v), offsets);
    });
    if constexpr (simd::kSeparateMinMax)
        for (uint32_t k = 0; k < groups; ++k) m.fold(L16::loadAssumedAligned(destination + k * L16::width));
    minMax = m;
    lanes = l;
}

void moveStrided(int16_t* destination, const int16_t* source, uint32_t count, std::ptrdiff_t stride,
                 MoveStats& stats)
{
    // Alignment is taken on the destination, which receives aligned stores.
    const auto body = simd::alignedBody<L16::alignment, L16::width>(destination, count);
    const uint32_t head = body.peel;
    moveOneByOne(destination, source, head, stride, stats);

    auto minMax = MinMaxVectors<int16_t>{_mm_set1_epi16(*stats.minValue), _mm_set1_epi16(*stats.maxValue)};
    SumLanes lanes;
    const uint32_t groups = body.vectors;
    gatherGroups(destination + head, source + static_cast<std::ptrdiff_t>(head) * stride, groups, stride, minMax, lanes,
                 stats.offset);
    lanes.addTo(stats.sums);
    minMax.store(stats.minValue, stats.maxValue);

    const uint32_t done = head + groups * L16::width;
    moveOneByOne(destination + done, source + static_cast<std::ptrdiff_t>(done) * stride, count - done, stride, stats);
}

}  // namespace
}  // namespace qx::stats

extern "C" void QXCALC_CALL qxcalcMoveAndGetMinMaxAveRMS_int16_t(int16_t* destination, const int16_t* source,
                                                                 uint32_t count, int16_t* minValue,
                                                                 int16_t* maxValue, double* sum,
                                                                 double* sumOfSquares, float offset,
                                                                 int32_t stride)
{
    using namespace qx::stats;
    if (count == 0) return;
    MoveStats stats{minValue, maxValue, RunningSums{sum, sumOfSquares}, offset};
    if (count < L16::width) moveOneByOne(destination, source, count, stride, stats);
    else if (stride <= 1) moveContiguous(destination, source, count, stats);
    else moveStrided(destination, source, count, stride, stats);
    stats.sums.store();
}
