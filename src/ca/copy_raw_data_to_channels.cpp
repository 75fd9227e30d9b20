// qxCalcCACopyRawDataToChannels: channel[i - first] = raw[i] - offset for
// every raw index first <= i < end, and in the same pass the largest of these
// values and its raw index. The caller guarantees raw[first .. end-1]
// readable and channel[0 .. end-first-1] writable; end - first is taken in
// unsigned 32-bit arithmetic, so an end below first is read as a wrapped
// (huge) length unless it wraps to 7 or less.
//
// The search starts from kMaximumSearchStart and index kNoMaximumIndex, and
// a value replaces the maximum only when strictly greater (never a NaN).
//
// Up to 7 values run one at a time: of equal maxima the lowest index wins.
// Longer ranges run in eight float lanes, each with its own maximum and its
// index carried as a float; the lanes are then offered to the running search
// in lane order, so equal maxima in different lanes resolve to the lowest
// lane, not the lowest index, and indices are exact only below 2^24. The
// count mod 8 values after the last whole block run one at a time, their
// indices counted from the float block position truncated back to an integer.

#include "qxcalc.h"
#include "ca/maximum_search.h"
#include "simd/convert.h"
#include "simd/lanes.h"
#include "simd/select.h"
#include "simd/walk.h"

namespace qx::ca {
namespace {

using L = simd::Lanes<float>;

constexpr uint32_t kShortRange = 7;  // ranges up to this length run one at a time

// A block position carried as a float back to an index: truncated through a
// 64-bit integer, so a float that rounded up to 2^32 comes back as 0 rather
// than as an out-of-range conversion.
QX_INLINE uint32_t uint32FromFloatTruncating(float f)
{
    return static_cast<uint32_t>(static_cast<int64_t>(f));
}

struct Largest {
    float value = kMaximumSearchStart;
    uint32_t index = kNoMaximumIndex;

    QX_INLINE void offer(float v, uint32_t i)
    {
        if (v > value) {
            value = v;
            index = i;
        }
    }
};

// count values from raw[0] on, reported as indices firstIndex, firstIndex + 1, ...
QX_INLINE void copyOneByOne(const float* raw, float* channel, uint32_t count, float offset, uint32_t firstIndex,
                            Largest& largest)
{
    for (uint32_t k = 0; k < count; ++k) {
        const float v = raw[k] - offset;
        channel[k] = v;
        largest.offer(v, firstIndex + k);
    }
}

// Per-lane maxima and their indices as floats. A lane takes a new value only
// when it is strictly greater (ordered comparison: never a NaN).
struct LaneMaxima {
    __m256 values, indices;

    QX_INLINE void fold(__m256 v, __m256 vIndices)
    {
        const __m256 greater = _mm256_cmp_ps(v, values, _CMP_GT_OQ);
        values = simd::selectWhere(greater, values, v);
        indices = simd::selectWhere(greater, indices, vIndices);
    }

    // Lanes 0 to 7 in order; indices rounded to integers as the vector
    // conversion does.
    QX_INLINE void offerTo(Largest& largest) const
    {
        alignas(32) float laneValues[8];
        alignas(32) int32_t laneIndices[8];
        _mm256_store_ps(laneValues, values);
        _mm256_store_si256(reinterpret_cast<__m256i*>(laneIndices), _mm256_cvtps_epi32(indices));
        for (unsigned lane = 0; lane < L::width; ++lane)
            largest.offer(laneValues[lane], static_cast<uint32_t>(laneIndices[lane]));
    }
};

void copyByVectors(const float* raw, float* channel, uint32_t count, float offset, uint32_t first,
                   Largest& largest)
{
    const __m256 offsets = _mm256_set1_ps(offset);
    const __m256 laneSteps = _mm256_setr_ps(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256 blockStep = _mm256_set1_ps(8.0f);
    auto correctedAt = [&](uint32_t position) {
        const __m256 v = _mm256_sub_ps(L::loadu(raw + position), offsets);
        _mm256_storeu_ps(channel + position, v);
        return v;
    };

    // Every lane of `bases` holds the float index of the current block's
    // first value; it advances by 8.0 per block in single precision.
    __m256 bases = _mm256_set1_ps(simd::floatFromUint32(first));
    LaneMaxima lanes{correctedAt(0), _mm256_add_ps(bases, laneSteps)};
    const uint32_t blocks = count / L::width;
    simd::forEachInOrder<4>(blocks - 1, [&](std::size_t k) {
        const __m256 v = correctedAt((k + 1) * L::width);
        bases = _mm256_add_ps(bases, blockStep);
        lanes.fold(v, _mm256_add_ps(bases, laneSteps));
    });
    lanes.offerTo(largest);

    const uint32_t done = blocks * L::width;
    const uint32_t restIndex = uint32FromFloatTruncating(_mm256_cvtss_f32(bases) + 8.0f);
    copyOneByOne(raw + done, channel + done, count - done, offset, restIndex, largest);
}

void copyRawDataToChannels(const float* raw, float* channel, uint32_t first, uint32_t end, float offset,
                           float* maxValue, uint32_t* maxIndex)
{
    Largest largest;
    const uint32_t count = end - first;
    if (count > kShortRange) copyByVectors(raw + first, channel, count, offset, first, largest);
    else if (end > first) copyOneByOne(raw + first, channel, count, offset, first, largest);
    *maxValue = largest.value;
    *maxIndex = largest.index;
}

}  // namespace
}  // namespace qx::ca

extern "C" void QXCALC_CALL qxCalcCACopyRawDataToChannels(const float* raw, float* channel, uint32_t first,
                                                         uint32_t end, float offset, float* maxValue,
                                                         uint32_t* maxIndex)
{
    qx::ca::copyRawDataToChannels(raw, channel, first, end, offset, maxValue, maxIndex);
}
