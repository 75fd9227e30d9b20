// The CHS interpolator's step routine: every output sample that the input
// written so far allows, by Catmull-Rom cubic interpolation over the ring.
//
// With W samples written and P outputs delivered, the outputs P .. E - 1 are
// computed, E = (W - 2) * ratio + 1 truncated: output j is due once its
// position j / ratio lies less than one output step beyond sample W - 2. With
// ratios of at least 1 every position then stays within the written samples;
// below 1 the last positions of a call may pass the newest sample, and their
// later points come from slots not yet written in this pass of the ring.
//
// Each output interpolates between p1 = ring[idx] and p2 (the next slot) with
// the neighbours p0 and p3 shaping the tangents. The arithmetic order is fixed
// and every multiply and add is rounded on its own, so results are bit-exact.
// The additions keep their written operand order: where both operands are NaN
// the first one's payload comes out.

#include "chs/interpolator.h"
#include "simd/ordered.h"

namespace qx::chs {
namespace {

using simd::addInOrder;
using simd::mulInOrder;

struct Points {
    float p0, p1, p2, p3;
};

struct Coefficients {
    float c0, c1, c2, c3;
};

// Catmull-Rom weights, one row per coefficient, applied to p0, p1, p2, p3.
// The curve passes through p1 at t = 0 and p2 at t = 1 with tangents
// (p2 - p0) / 2 and (p3 - p1) / 2; the common factor 1/2 is applied last.
constexpr float kWeights[4][4] = {
    {0.0f, 2.0f, 0.0f, 0.0f},
    {-1.0f, 0.0f, 1.0f, 0.0f},
    {2.0f, -5.0f, 4.0f, -1.0f},
    {-1.0f, 3.0f, -3.0f, 1.0f},
};

// The four points of the segment starting at ring slot idx. Inside the ring
// they are four neighbouring slots; at the seam (idx 0 and the last two
// slots) the neighbours wrap round the ring's ends, and the points gathered
// there are kept in edgePoints.
Points gatherPoints(CHSInterpolator& s, uint32_t idx)
{
    const float* ring = s.ring;
    const uint32_t length = s.ringLength;
    if (idx != 0 && idx < length - 2) return {ring[idx - 1], ring[idx], ring[idx + 1], ring[idx + 2]};

    Points p;
    if (idx == 0) {
        // Until the ring has been filled once in this stream its last slot
        // holds no sample of the stream: the first sample stands in for its
        // own predecessor.
        p.p0 = s.samplesWritten >= length ? ring[length - 1] : ring[0];
    } else {
        p.p0 = ring[idx - 1];
    }
    p.p1 = ring[idx];
    p.p2 = idx < length - 1 ? ring[idx + 1] : ring[0];
    p.p3 = idx < length - 2 ? ring[idx + 2] : ring[idx + 2 - length];
    s.edgePoints[0] = p.p0;
    s.edgePoints[1] = p.p1;
    s.edgePoints[2] = p.p2;
    s.edgePoints[3] = p.p3;
    return p;
}

// Every weight is applied as a multiply, zeros included: a non-finite point
// makes every coefficient non-finite instead of dropping out of some. The
// multiplies are pinned as written; left to the compiler, -5 * p could become
// -(5 * p), which rounds the other way when the caller rounds up or down.
float weightedSum(const float (&w)[4], const Points& p)
{
    return addInOrder(addInOrder(mulInOrder(w[0], p.p0), mulInOrder(w[1], p.p1)),
                      addInOrder(mulInOrder(w[2], p.p2), mulInOrder(w[3], p.p3)));
}

Coefficients coefficientsOf(const Points& p)
{
    return {weightedSum(kWeights[0], p), weightedSum(kWeights[1], p), weightedSum(kWeights[2], p),
            weightedSum(kWeights[3], p)};
}

float evaluate(const Coefficients& c, float t)
{
    const float t2 = t * t;
    const float t3 = t * t2;
    return 0.5f * addInOrder(addInOrder(c.c0 * 1.0f, c.c1 * t), addInOrder(c.c2 * t2, c.c3 * t3));
}

// Number of outputs due now. Fewer than two samples place no output yet
// (W - 2 would wrap round).
uint32_t outputsDue(const CHSInterpolator& s)
{
    const uint64_t written = s.samplesWritten;
    if (written < kSamplesBeforeFirstOutput) return 0;
    const double end = simd::fromUint64<double>(written - 2) * s.ratio + 1.0;
    return lowWordOfTruncation(end) - static_cast<uint32_t>(s.samplesProduced);
}

// The segment cache of one call: consecutive outputs in the same segment
// share its coefficients; the first output of each call gathers afresh.
struct SegmentCache {
    CHSInterpolator& s;
    bool valid = false;
    uint32_t segment = 0;
    Coefficients c{};

    QX_INLINE const Coefficients& of(uint32_t idx)
    {
        if (!valid || idx != segment) {
            c = coefficientsOf(gatherPoints(s, idx));
            segment = idx;
            valid = true;
        }
        return c;
    }
};

// Outputs [from, count) one at a time, any position.
void outputsOneByOne(CHSInterpolator& s, SegmentCache& cache, uint32_t from, uint32_t count, double start)
{
    const double ratio = s.ratio;
    const uint32_t mask = static_cast<uint32_t>(s.indexMask);
    for (uint32_t i = from; i < count; ++i) {
        // Two separate quotients, then their sum: the position of output
        // P + i, formed exactly so and not as (P + i) / ratio.
        const double pos = static_cast<double>(i) / ratio + start;
        const uint32_t idx = lowWordOfTruncation(pos) & mask;
        const float t = static_cast<float>(pos - static_cast<double>(truncateToInt32(pos)));
        s.output[i] = evaluate(cache.of(idx), t);
    }
}

// Coefficients of the `count` segments from ring slot `first` on, none at
// the seam (so every point is a neighbouring slot): eight segments at a time
// in float lanes, each lane doing exactly the arithmetic of weightedSum
// (weights of 0 and -1 applied as multiplies), then turned into one record of
// four per segment; the last few one at a time.
void coefficientsOfRun(const float* ring, uint32_t first, uint32_t count, Coefficients* out)
{
    uint32_t j = 0;
    for (; j + 8 <= count; j += 8) {
        const float* p = ring + first + j;
        const __m256 p0 = _mm256_loadu_ps(p - 1), p1 = _mm256_loadu_ps(p), p2 = _mm256_loadu_ps(p + 1),
                     p3 = _mm256_loadu_ps(p + 2);
        const auto weighted = [](__m256 p, float w) { return mulInOrder(_mm256_set1_ps(w), p); };  // as weightedSum
        __m256 c[4];
        for (int k = 0; k < 4; ++k) {
            const float* w = kWeights[k];
            c[k] = addInOrder(addInOrder(weighted(p0, w[0]), weighted(p1, w[1])),
                              addInOrder(weighted(p2, w[2]), weighted(p3, w[3])));
        }
        const __m256 t0 = _mm256_unpacklo_ps(c[0], c[1]), t1 = _mm256_unpackhi_ps(c[0], c[1]);
        const __m256 t2 = _mm256_unpacklo_ps(c[2], c[3]), t3 = _mm256_unpackhi_ps(c[2], c[3]);
        const __m256 r0 = _mm256_shuffle_ps(t0, t2, 0x44), r1 = _mm256_shuffle_ps(t0, t2, 0xEE);  // segments 0|4, 1|5
        const __m256 r2 = _mm256_shuffle_ps(t1, t3, 0x44), r3 = _mm256_shuffle_ps(t1, t3, 0xEE);  // segments 2|6, 3|7
        float* to = &out[j].c0;
        _mm256_storeu_ps(to, _mm256_permute2f128_ps(r0, r1, 0x20));
        _mm256_storeu_ps(to + 8, _mm256_permute2f128_ps(r2, r3, 0x20));
        _mm256_storeu_ps(to + 16, _mm256_permute2f128_ps(r0, r1, 0x31));
        _mm256_storeu_ps(to + 24, _mm256_permute2f128_ps(r2, r3, 0x31));
    }
    for (; j < count; ++j) {
        const float* p = ring + first + j;
        out[j] = coefficientsOf({p[-1], p[0], p[1], p[2]});
    }
}

// Outputs [from, end) four at a time: positions, segments and fractions in
// double lanes, the polynomial in float lanes, each lane doing exactly the
// arithmetic of one output above. `coefficients(whole, c)` gives the four
// outputs' coefficient records from the truncated positions. Every position
// must lie in [0, 2^31), where both truncations are the 32-bit one.
template <class Lookup>
QX_INLINE void outputsByFours(float* output, uint32_t from, uint32_t end, double ratio, double start,
                              Lookup coefficients)
{
    __m256d index = _mm256_add_pd(_mm256_setr_pd(0.0, 1.0, 2.0, 3.0), _mm256_set1_pd(static_cast<double>(from)));
    for (uint32_t i = from; i < end; i += 4) {
        const __m256d pos = addInOrder(_mm256_div_pd(index, _mm256_set1_pd(ratio)), _mm256_set1_pd(start));
        const __m128i whole = _mm256_cvttpd_epi32(pos);
        const __m128 t = _mm256_cvtpd_ps(_mm256_sub_pd(pos, _mm256_cvtepi32_pd(whole)));
        __m128 c[4];
        coefficients(whole, c);
        _MM_TRANSPOSE4_PS(c[0], c[1], c[2], c[3]);  // now c[k] holds coefficient k of the four outputs
        const __m128 t2 = _mm_mul_ps(t, t);
        const __m128 t3 = _mm_mul_ps(t, t2);
        const __m128 low = addInOrder(_mm_mul_ps(c[0], _mm_set1_ps(1.0f)), _mm_mul_ps(c[1], t));
        const __m128 high = addInOrder(_mm_mul_ps(c[2], t2), _mm_mul_ps(c[3], t3));
        _mm_storeu_ps(output + i, _mm_mul_ps(_mm_set1_ps(0.5f), addInOrder(low, high)));
        index = _mm256_add_pd(index, _mm256_set1_pd(4.0));
    }
}

// Outputs [0, n), n a multiple of 4, in batches of kBatchOutputs. A batch
// whose segments form one run of at most kBatchSegments slots clear of the
// seam (ratios above about 1/2) takes its coefficients from
// coefficientsOfRun; any other batch takes them from the segment cache, as
// one output at a time would.
constexpr uint32_t kBatchOutputs = 64, kBatchSegments = 128;

void outputsInBatches(CHSInterpolator& s, SegmentCache& cache, uint32_t n, double start)
{
    alignas(32) Coefficients run[kBatchSegments];
    const uint32_t mask = static_cast<uint32_t>(s.indexMask);
    for (uint32_t b = 0; b < n; b += kBatchOutputs) {
        const uint32_t end = n - b < kBatchOutputs ? n : b + kBatchOutputs;
        const int32_t first = truncateToInt32(static_cast<double>(b) / s.ratio + start);
        const int32_t last = truncateToInt32(static_cast<double>(end - 1) / s.ratio + start);
        const uint32_t slot = static_cast<uint32_t>(first) & mask;
        const uint32_t span = static_cast<uint32_t>(last - first) + 1;
        if (span <= kBatchSegments && slot != 0 && slot + span <= s.ringLength - 2) {
            coefficientsOfRun(s.ring, slot, span, run);
            outputsByFours(s.output, b, end, s.ratio, start, [&run, first](__m128i whole, __m128* c) {
                const __m128i at = _mm_sub_epi32(whole, _mm_set1_epi32(first));
                c[0] = _mm_load_ps(&run[_mm_cvtsi128_si32(at)].c0);
                c[1] = _mm_load_ps(&run[_mm_extract_epi32(at, 1)].c0);
                c[2] = _mm_load_ps(&run[_mm_extract_epi32(at, 2)].c0);
                c[3] = _mm_load_ps(&run[_mm_extract_epi32(at, 3)].c0);
            });
        } else {
            outputsByFours(s.output, b, end, s.ratio, start, [&cache, mask](__m128i whole, __m128* c) {
                const __m128i at = _mm_and_si128(whole, _mm_set1_epi32(static_cast<int32_t>(mask)));
                c[0] = _mm_loadu_ps(&cache.of(static_cast<uint32_t>(_mm_cvtsi128_si32(at))).c0);
                c[1] = _mm_loadu_ps(&cache.of(static_cast<uint32_t>(_mm_extract_epi32(at, 1))).c0);
                c[2] = _mm_loadu_ps(&cache.of(static_cast<uint32_t>(_mm_extract_epi32(at, 2))).c0);
                c[3] = _mm_loadu_ps(&cache.of(static_cast<uint32_t>(_mm_extract_epi32(at, 3))).c0);
            });
        }
    }
}

}  // namespace

void produceOutputs(CHSInterpolator& s, float** outputOut, uint32_t* outputCountOut)
{
    const uint32_t count = outputsDue(s);
    const double start = simd::fromUint64<double>(s.samplesProduced) / s.ratio;
    SegmentCache cache{s};

    // Positions grow with i; when the first is not negative and the last is
    // below 2^31 (any stream shorter than 2^31 samples), all lie in between.
    uint32_t byFours = 0;
    if (count >= 4 && start >= 0.0 && static_cast<double>(count - 1) / s.ratio + start < 2147483648.0)
        byFours = count & ~3u;
    outputsInBatches(s, cache, byFours, start);
    outputsOneByOne(s, cache, byFours, count, start);

    s.samplesProduced += count;
    *outputOut = s.output;
    *outputCountOut = count;
}

}  // namespace qx::chs
