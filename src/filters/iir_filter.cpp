// qxcalcIIRFilter_{double,float}: pushes one sample through the caller's
// cascade of IIR sections and returns the last section's output. Both compute
// in double; the float member widens its sample first and rounds the result
// at the end. A sectionCount below 1 returns the sample untouched and reads
// nothing else. The caller guarantees a valid record, sectionCount gains and
// a 16-byte aligned sections array long enough for the cascade.
//
// Each block keeps its history pair (x, y) beside its coefficient pair (b, a),
// so a history move is one two-lane copy and (b*x, a*y) one two-lane multiply;
// the newest pair is stored in one piece too, so that the next sample's move
// reads it straight from the store.
// Every section has its newest block last and passes its output on as the
// next section's input. Two section kinds, chosen by coefficientCount:
// - general (any other value than 3): order + 1 blocks (one when order <= 0);
//   the history shift and the running sum acc + (b*x - a*y) go oldest block
//   first, and the output keeps a NaN while it is held within +/-1e10;
// - second-order (3): three blocks, the b*x and a*y products summed
//   separately before their difference; a NaN output becomes +1e10.
// The two kinds round differently on the same coefficients; both are kept.

#include "qxcalc.h"
#include "simd/aligned.h"
#include "simd/ordered.h"
#include "simd/registers.h"
#include "simd/walk.h"

namespace qx::filters {
namespace {

using simd::addInOrder;
using simd::mulInOrder;

constexpr int32_t kSecondOrderBlockCount = 3;
constexpr double kOutputLimit = 1e10;

QX_INLINE __m128d historyOf(const IIRBlock& block) { return simd::loadAlignedDouble2(&block.x); }
QX_INLINE void setHistory(IIRBlock& block, __m128d xy) { simd::storeAligned(&block.x, xy); }

// Moves the history pair of `from` into `to` and returns (b*x, a*y) of `to`.
QX_INLINE __m128d shiftAndWeigh(IIRBlock& to, const IIRBlock& from)
{
    const __m128d xy = historyOf(from);
    setHistory(to, xy);
    return mulInOrder(simd::loadAlignedDouble2(&to.b), xy);
}

QX_INLINE double firstMinusSecond(__m128d pair)
{
    return _mm_cvtsd_f64(pair) - _mm_cvtsd_f64(_mm_unpackhi_pd(pair, pair));
}

// Outputs beyond the limit are held at it; NaN passes (the comparisons fail).
QX_INLINE double limitKeepingNaN(double y)
{
    return y > kOutputLimit ? kOutputLimit : (-kOutputLimit > y ? -kOutputLimit : y);
}

// Outputs beyond the limit are held at it; NaN fails the first test and
// becomes the upper limit.
QX_INLINE double limitNaNToUpper(double y)
{
    const double belowUpper = y < kOutputLimit ? y : kOutputLimit;
    return belowUpper > -kOutputLimit ? belowUpper : -kOutputLimit;
}

// General section with blocks B0..BN: each Bk takes the history of Bk+1 and
// adds its weighted difference to the sum at once (Bk+1 is read before it is
// overwritten, so BN's old history reaches BN-1), then BN takes the new input.
// The walk is unrolled by eight and keeps the oldest-first order of the sum.
QX_INLINE double generalSection(IIRBlock* blocks, uint32_t newest, double u, double gain)
{
    double acc = 0.0;
    simd::forEachInOrder<8>(newest, [&](uint32_t k) {
        acc = addInOrder(acc, firstMinusSecond(shiftAndWeigh(blocks[k], blocks[k + 1])));
    });
    IIRBlock& last = blocks[newest];
    const double x = mulInOrder(u, gain);
    const double y = limitKeepingNaN(addInOrder(mulInOrder(x, last.b), acc));
    setHistory(last, _mm_setr_pd(x, y));
    return y;
}

QX_INLINE double secondOrderSection(IIRBlock* blocks, double u, double gain)
{
    const __m128d weighted0 = shiftAndWeigh(blocks[0], blocks[1]);
    const __m128d weighted1 = shiftAndWeigh(blocks[1], blocks[2]);
    IIRBlock& last = blocks[2];
    const double x = mulInOrder(u, gain);
    // (b0*x0 + b1*x1, a0*y0 + a1*y1)
    const __m128d sums = addInOrder(weighted0, weighted1);
    const double y = limitNaNToUpper(addInOrder(mulInOrder(last.b, x), firstMinusSecond(sums)));
    setHistory(last, _mm_setr_pd(x, y));
    return y;
}

// The general cascade, out of line so that the second-order one keeps the
// export's frame small; its result comes back through memory, as a double
// returned from a call on 32-bit builds would travel through the x87 stack.
QX_OUT_OF_LINE void generalCascade(const IIRFilter& filter, int32_t sectionCount, double& u)
{
    const double* gains = filter.gains;
    IIRBlock* blocks = filter.sections;
    const uint32_t newest = filter.order > 0 ? static_cast<uint32_t>(filter.order) : 0;
    double v = u;
    for (int32_t s = 0; s < sectionCount; ++s, blocks += newest + 1) v = generalSection(blocks, newest, v, gains[s]);
    u = v;
}

QX_INLINE double filterThroughSections(const IIRFilter& filter, int32_t sectionCount, double u)
{
    if (filter.coefficientCount != kSecondOrderBlockCount) {
        double y = u;
        generalCascade(filter, sectionCount, y);
        return y;
    }
    const double* gains = filter.gains;
    IIRBlock* blocks = filter.sections;
    for (int32_t s = 0; s < sectionCount; ++s, blocks += kSecondOrderBlockCount)
        u = secondOrderSection(blocks, u, gains[s]);
    return u;
}

template <class T>
T iirFilter(IIRFilter* filter, T sample)
{
    const int32_t sectionCount = filter->sectionCount;
    if (sectionCount < 1) return sample;
    return static_cast<T>(filterThroughSections(*filter, sectionCount, sample));
}

}  // namespace
}  // namespace qx::filters

extern "C" {

double QXCALC_CALL qxcalcIIRFilter_double(IIRFilter* filter, double sample)
{
    return qx::filters::iirFilter(filter, sample);
}

float QXCALC_CALL qxcalcIIRFilter_float(IIRFilter* filter, float sample)
{
    return qx::filters::iirFilter(filter, sample);
}

}  // extern "C"
