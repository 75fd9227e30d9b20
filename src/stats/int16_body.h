// The aligned body of the int16_t statistics (and of the contiguous move):
// every vector folded into the minimum and maximum and into the four double
// lanes S_k <- (S_k + x_k) + x_(k+4), Q_k <- (Q_k + d_k^2) + d_(k+4)^2 with
// d = x + offset in double.
//
// Those lanes are one dependent chain of double additions each, so the body
// would run at the speed of a chain rather than of the memory. But an
// addition whose operands and result are exact does not round, and then the
// order of the additions cannot show. The samples are integers, so the lane
// sums are always exact; with an offset of whole quarters (0, integers,
// halves, quarters; |offset| <= 2^15) every d and d^2 is exact too, in units
// of 1/4 and 1/16, and so is every partial sum of squares as long as the
// lane's total stays below 2^53 sixteenths. Such a body is summed in integer
// lanes, chunk by chunk, and each chunk is certified from its exact totals
// before it is taken; the lanes then receive the exact values, which are the
// ordered chain's own bits. The first chunk that cannot be certified, and
// everything after it, runs by the ordered chain from the state reached so
// far. Certification also needs round-to-nearest: under another rounding mode
// an exact zero sum would be -0 in the ordered chain.
#pragma once

#include <cmath>
#include <cstdint>

#include "simd/convert.h"
#include "simd/registers.h"
#include "stats/minmax.h"
#include "stats/sums.h"

namespace qx::stats {

namespace int16body {

using L16 = simd::Lanes<int16_t>;

// Vectors per certified chunk: keeps the chunk's integer lane sums and the
// certification arithmetic far from overflow.
constexpr uint32_t kChunkVectors = 4096;

// Sixteenths below this make every partial sum of squares exact.
constexpr int64_t kExactSixteenths = int64_t{1} << 53;

// Whether the offset is a whole number of quarters within +/-2^15 (and the
// rounding is to nearest); if so, `quarters` receives 4 * offset.
inline bool certifiable(float offset, int32_t& quarters)
{
    if (!simd::roundsToNearest()) return false;
    const float q = offset * 4.0f;
    if (!(std::fabs(q) <= 131072.0f) || q != std::trunc(q)) return false;
    quarters = static_cast<int32_t>(q);
    return true;
}

// Exact per-lane totals of a run of vectors: lane k holds samples k and k + 4
// of every vector. Sums of squares are kept as sixteenths of (x + offset)^2,
// i.e. (4x + quarters)^2.
struct ExactLanes {
    int64_t sum[4] = {};
    int64_t sixteenths[4] = {};
};

// One chunk in integer lanes: samples paired per lane (x_k, x_(k+4)) by one
// byte shuffle, then multiply-add gives x_k + x_(k+4) and x_k^2 + x_(k+4)^2.
// The squares (up to 2^31, unsigned) are added as 64-bit pairs (low lane +
// 2^32 * high lane) and the high lanes once more on their own, which recovers
// both lanes exactly at the end without widening every vector. Seven vector
// registers live (the shuffle pattern and the ones can be memory operands).
template <bool Copy>
QX_OUT_OF_LINE ExactLanes chunkTotals(const int16_t* p, uint32_t vectors, int16_t* out, MinMaxVectors<int16_t>& minMax,
                                      int32_t quarters)
{
    const __m128i ones = _mm_set1_epi16(1);
    __m128i sums = _mm_setzero_si128(), squaresWide = sums, squaresHigh = sums;
    __m128i lo = minMax.lo, hi = minMax.hi;
    for (const int16_t* end = p + vectors * L16::width; p != end; p += L16::width) {
        const __m128i v = L16::loadAssumedAligned(p);
        if constexpr (Copy) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), v);
            out += L16::width;
        }
        lo = _mm_min_epi16(lo, v);
        hi = _mm_max_epi16(hi, v);
        const __m128i paired = simd::pairedFourApart(v);  // x_k, x_(k+4)
        sums = _mm_add_epi32(sums, _mm_madd_epi16(paired, ones));
        const __m128i squares = _mm_madd_epi16(paired, paired);
        squaresWide = _mm_add_epi64(squaresWide, squares);
        squaresHigh = _mm_add_epi64(squaresHigh, _mm_srli_epi64(squares, 32));
    }
    minMax.lo = lo, minMax.hi = hi;

    alignas(16) int32_t s[4];
    alignas(16) uint64_t wide[2], high[2];
    _mm_store_si128(reinterpret_cast<__m128i*>(s), sums);
    _mm_store_si128(reinterpret_cast<__m128i*>(wide), squaresWide);
    _mm_store_si128(reinterpret_cast<__m128i*>(high), squaresHigh);
    const int64_t squares[4] = {static_cast<int64_t>(wide[0] - (high[0] << 32)), static_cast<int64_t>(high[0]),
                                static_cast<int64_t>(wide[1] - (high[1] << 32)), static_cast<int64_t>(high[1])};
    // (4x + q)^2 summed over the lane's 2 * vectors samples.
    const int64_t q = quarters, n = 2 * int64_t{vectors};
    ExactLanes t;
    for (int k = 0; k < 4; ++k) {
        t.sum[k] = s[k];
        t.sixteenths[k] = 16 * squares[k] + 8 * q * s[k] + n * q * q;
    }
    return t;
}

// The ordered chain over vectors [k, vectors). With kSeparateMinMax the
// minimum and maximum of each chunk come from a pass of their own before its
// sums.
template <bool Copy>
QX_OUT_OF_LINE void inOrderFrom(uint32_t k, const int16_t* first, uint32_t vectors, int16_t* out,
                                MinMaxVectors<int16_t>& minMax, SumLanes& lanes, float offset)
{
    const __m256d offsets = _mm256_set1_pd(offset);
    MinMaxVectors<int16_t> m = minMax;
    SumLanes l = lanes;
    for (; k < vectors; k += kChunkVectors) {
        const uint32_t n = vectors - k < kChunkVectors ? vectors - k : kChunkVectors;
        const int16_t* p = first + k * L16::width;
        if constexpr (simd::kSeparateMinMax)
            for (uint32_t j = 0; j < n; ++j) m.fold(L16::loadAssumedAligned(p + j * L16::width));
        simd::forEachInOrder<2>(n, [&](std::size_t j) {
            const __m128i v = L16::loadAssumedAligned(p + j * L16::width);
            if constexpr (Copy) _mm_storeu_si128(reinterpret_cast<__m128i*>(out + (k + j) * L16::width), v);
            if constexpr (!simd::kSeparateMinMax) m.fold(v);
            l.add(simd::widenInt16x8(v), offsets);
        });
    }
    minMax = m;
    lanes = l;
}

inline __m256d asDoubles(const int64_t (&v)[4], double scale)
{
    return _mm256_setr_pd(simd::fromInt64<double>(v[0]) * scale, simd::fromInt64<double>(v[1]) * scale,
                          simd::fromInt64<double>(v[2]) * scale, simd::fromInt64<double>(v[3]) * scale);
}

}  // namespace int16body

// Folds `vectors` aligned vectors from `first` into minMax and into lanes
// (which start at zero), copying each to `out` (unaligned) when Copy is set.
template <bool Copy>
inline void addInt16Body(const int16_t* first, uint32_t vectors, int16_t* out, MinMaxVectors<int16_t>& minMax,
                         SumLanes& lanes, float offset)
{
    using namespace int16body;
    int32_t quarters;
    if (!certifiable(offset, quarters)) return inOrderFrom<Copy>(0, first, vectors, out, minMax, lanes, offset);

    ExactLanes total;
    for (uint32_t k = 0; k < vectors; k += kChunkVectors) {
        const uint32_t n = vectors - k < kChunkVectors ? vectors - k : kChunkVectors;
        int16_t* chunkOut = Copy ? out + k * L16::width : nullptr;
        const ExactLanes chunk = chunkTotals<Copy>(first + k * L16::width, n, chunkOut, minMax, quarters);
        bool exact = true;
        for (int j = 0; j < 4; ++j) exact &= total.sixteenths[j] + chunk.sixteenths[j] < kExactSixteenths;
        if (!exact) {
            // Copies and min/max of this chunk are simply redone.
            lanes.s = asDoubles(total.sum, 1.0);
            lanes.q = asDoubles(total.sixteenths, 1.0 / 16);
            return inOrderFrom<Copy>(k, first, vectors, out, minMax, lanes, offset);
        }
        for (int j = 0; j < 4; ++j) total.sum[j] += chunk.sum[j], total.sixteenths[j] += chunk.sixteenths[j];
    }
    lanes.s = asDoubles(total.sum, 1.0);
    lanes.q = asDoubles(total.sixteenths, 1.0 / 16);
}

}  // namespace qx::stats
