// Running sums of the statistics family: the caller's double-precision sum
// and sum of squares, fed one sample at a time (short blocks, ragged ends) or
// through four double lanes S0..S3 and Q0..Q3 (vector bodies) that are
// reduced once per call as ((S0 + S2) + (S1 + S3)) + *sum.
#pragma once

#include <cstdint>

#include "simd/ordered.h"
#include "simd/reduce.h"
#include "simd/widen.h"

namespace qx::stats {

// The caller's accumulators, read once and written back once.
struct RunningSums {
    double* sumOut;
    double* squaresOut;
    double sum = *sumOut;
    double squares = *squaresOut;

    // One sample x whose offset-corrected value is d.
    QX_INLINE void add(double x, double d)
    {
        sum = simd::addInOrder(sum, x);
        squares = simd::addInOrder(squares, d * d);
    }
    QX_INLINE void store() const
    {
        *sumOut = sum;
        *squaresOut = squares;
    }
};

// Offset-corrected values of single samples, per sample type: the float and
// int16_t members add the offset in single precision, the others in double.
QX_INLINE double offsetSample(float x, float offset) { return simd::addInOrder(x, offset); }
QX_INLINE double offsetSample(int16_t x, float offset) { return simd::addInOrder(static_cast<float>(x), offset); }
QX_INLINE double offsetSample(double x, double offset) { return simd::addInOrder(offset, x); }
QX_INLINE double offsetSample(int32_t x, double offset) { return simd::addInOrder(offset, static_cast<double>(x)); }

template <class T, class Offset>
QX_INLINE void addSamplesOneByOne(RunningSums& sums, const T* p, uint32_t n, Offset offset)
{
    for (uint32_t i = 0; i < n; ++i) sums.add(static_cast<double>(p[i]), offsetSample(p[i], offset));
}

// Four double lanes of sums and of squares, starting at zero. In the vector
// lanes the offset-corrected value is always x + offset in double.
struct SumLanes {
    __m256d s = _mm256_setzero_pd();
    __m256d q = _mm256_setzero_pd();

    // S_k <- S_k + x_k, Q_k <- Q_k + d_k^2 with d = x + offset.
    QX_INLINE void add(__m256d x, __m256d offset)
    {
        const __m256d d = simd::addInOrder(x, offset);
        s = simd::addInOrder(s, x);
        q = simd::addInOrder(q, _mm256_mul_pd(d, d));
    }
    // Eight samples as two groups: S_k <- (S_k + x_k) + x_(k+4), likewise Q.
    // The offsets may differ per lane (the masked ends of float blocks).
    QX_INLINE void add(simd::DoubleQuads x, simd::DoubleQuads offset)
    {
        const __m256d dLow = simd::addInOrder(x.low, offset.low);
        const __m256d dHigh = simd::addInOrder(x.high, offset.high);
        s = simd::addInOrder(simd::addInOrder(s, x.low), x.high);
        q = simd::addInOrder(simd::addInOrder(q, _mm256_mul_pd(dLow, dLow)), _mm256_mul_pd(dHigh, dHigh));
    }
    QX_INLINE void add(simd::DoubleQuads x, __m256d offset) { add(x, simd::DoubleQuads{offset, offset}); }
    QX_INLINE void addTo(RunningSums& sums) const
    {
        sums.sum = simd::addInOrder(simd::sumLanesHalving(s), sums.sum);
        sums.squares = simd::addInOrder(simd::sumLanesHalving(q), sums.squares);
    }
};

}  // namespace qx::stats
