// qxcalcCAPV_lin, qxcalcCAPV_log: float values to int32_t positions on the
// axis of a pressure-volume plot, clamped to [minValue, maxValue]:
//   linear:      v = scale * x + offset
//   logarithmic: v = fastLog10(max(x / reference, ~1.0e-9)) * scale + offset
// count 0 writes nothing; input and output hold count elements each.
//
// The two paths round and clamp differently, and both are kept:
// - under eight values, one at a time: v goes to double, 0.5 is subtracted
//   below zero and added otherwise, and the sum is truncated (halves round away
//   from zero); the result is raised to minValue, then lowered to maxValue (so
//   maxValue wins when minValue > maxValue);
// - eight lanes: v is converted in the caller's rounding mode (ties to even by
//   default), then lowered to maxValue and raised to minValue (minValue wins).
// Out-of-range values and NaN become -2147483648 before clamping on both paths.
// The logarithmic floor catches NaN ratios too on the lane path (a maximum
// whose second operand wins), never one at a time (a comparison that fails).

#include <bit>

#include "simd/fast_log10.h"
#include "qxcalc.h"
#include "simd/walk.h"

namespace qx::ca {
namespace {

using L = simd::Lanes<float>;

// Smallest ratio the logarithmic axis shows: nine decades below the reference.
constexpr double kRatioFloorTest = 1.0e-9;
constexpr float kRatioFloor = std::bit_cast<float>(0x3089705Fu);  // 9.9999997e-10

// Halves away from zero, truncated; out of range and NaN give INT32_MIN.
QX_INLINE int32_t roundHalfAwayFromZero(float v)
{
    const double d = v;
    return _mm_cvttsd_si32(_mm_set_sd(d < 0.0 ? d - 0.5 : d + 0.5));
}

QX_INLINE int32_t clampMinFirst(int32_t r, int32_t minValue, int32_t maxValue)
{
    if (r <= minValue) r = minValue;
    if (r >= maxValue) r = maxValue;
    return r;
}

// Eight positions in the caller's rounding mode, clamped maximum first; the
// integer clamps are 128 bits wide.
struct LaneRange {
    __m128i minValue, maxValue;

    QX_INLINE __m128i clamp(__m128i r) const { return _mm_max_epi32(_mm_min_epi32(r, maxValue), minValue); }
    QX_INLINE void store(int32_t* out, __m256 v) const
    {
        const __m256i r = _mm256_cvtps_epi32(v);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), clamp(_mm256_castsi256_si128(r)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4), clamp(_mm256_extractf128_si256(r, 1)));
    }
};

struct LinearAxis {
    float scale, offset;

    QX_INLINE float position(float x) const { return scale * x + offset; }
    QX_INLINE __m256 positions(__m256 x) const
    {
        return _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(scale), x), _mm256_set1_ps(offset));
    }
};

struct LogarithmicAxis {
    float scale, offset, reference;

    QX_INLINE float position(float x) const
    {
        float q = x / reference;
        if (static_cast<double>(q) < kRatioFloorTest) q = kRatioFloor;
        return simd::fastLog10(q) * scale + offset;
    }
    QX_INLINE __m256 positions(__m256 x) const
    {
        const __m256 q = _mm256_max_ps(_mm256_div_ps(x, _mm256_set1_ps(reference)), _mm256_set1_ps(kRatioFloor));
        return _mm256_add_ps(_mm256_mul_ps(simd::fastLog10Lanes(q), _mm256_set1_ps(scale)), _mm256_set1_ps(offset));
    }
};

// Blocks of eight: the first eight values (unaligned), the aligned body from
// the first 32-byte boundary after input, BodyUnroll blocks a round, and the
// last eight values when some remain. Overlapping values are computed twice
// with the same result.
template <unsigned BodyUnroll, class Axis>
void mapToAxis(const float* input, uint32_t count, int32_t* output, int32_t minValue, int32_t maxValue,
               const Axis& axis)
{
    if (count == 0) return;
    if (count < L::width) {
        for (uint32_t i = 0; i < count; ++i)
            output[i] = clampMinFirst(roundHalfAwayFromZero(axis.position(input[i])), minValue, maxValue);
        return;
    }
    const LaneRange range{_mm_set1_epi32(minValue), _mm_set1_epi32(maxValue)};
    range.store(output, axis.positions(L::loadu(input)));
    const uint32_t head = simd::overlappedHead<L::alignment, L::width>(input);
    const uint32_t vectors = (count - head) / L::width;
    simd::forEachInOrder<BodyUnroll>(vectors, [&](std::size_t k) {
        const std::size_t i = head + k * L::width;
        range.store(output + i, axis.positions(L::loadAssumedAligned(input + i)));
    });
    if (head + vectors * L::width < count) {
        const uint32_t last = count - L::width;
        range.store(output + last, axis.positions(L::loadu(input + last)));
    }
}

}  // namespace
}  // namespace qx::ca

extern "C" {

void QXCALC_CALL qxcalcCAPV_lin(const float* input, uint32_t count, int32_t* output, int32_t minValue,
                                int32_t maxValue, float scale, float offset)
{
    qx::ca::mapToAxis<2>(input, count, output, minValue, maxValue, qx::ca::LinearAxis{scale, offset});
}

void QXCALC_CALL qxcalcCAPV_log(const float* input, uint32_t count, int32_t* output, int32_t minValue,
                                int32_t maxValue, float scale, float offset, float reference)
{
    qx::ca::mapToAxis<1>(input, count, output, minValue, maxValue, qx::ca::LogarithmicAxis{scale, offset, reference});
}

}  // extern "C"
