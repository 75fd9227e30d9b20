// qxcalcMultiplyVectorByScalar_{float,double}: samples[i] = factor *
// samples[i] in place for i < count, one rounded multiplication each, with
// factor as the first operand (of two NaNs, the factor's payload survives).
// No accumulation, so every path gives the same bits. count 0 touches
// nothing.
//
// float: up to 8 samples one at a time; longer blocks one at a time up to
//   the first 32-byte boundary, then aligned vectors of eight unrolled by
//   eight, then the rest one at a time.
// double: up to 3 samples one at a time; longer blocks in unaligned vectors
//   of four unrolled by eight, then up to 3 one at a time.

#include "qxcalc.h"
#include "simd/lanes.h"
#include "simd/ordered.h"
#include "simd/store.h"
#include "simd/walk.h"

namespace qx::convert {
namespace {

template <class T>
struct MultiplyPlan;
template <>
struct MultiplyPlan<float> {
    static constexpr uint32_t oneByOneUpTo = 8;
    static constexpr std::size_t bodyAlignment = 32;  // aligned loads and stores
};
template <>
struct MultiplyPlan<double> {
    static constexpr uint32_t oneByOneUpTo = 3;
    static constexpr std::size_t bodyAlignment = sizeof(double);  // no peel: unaligned loads and stores
};

template <class T>
void multiplyOneByOne(T* samples, uint32_t n, T factor)
{
    for (uint32_t i = 0; i < n; ++i) samples[i] = simd::mulInOrder(factor, samples[i]);
}

template <class T>
void multiplyVectorByScalar(T* samples, uint32_t count, T factor)
{
    using L = simd::Lanes<T>;
    using Plan = MultiplyPlan<T>;
    constexpr bool aligned = Plan::bodyAlignment == L::alignment;
    if (count <= Plan::oneByOneUpTo) return multiplyOneByOne(samples, count, factor);

    const auto factors = L::broadcast(factor);
    simd::walkPeelStepsRest<8, Plan::bodyAlignment, L::width>(
        samples, count, [&](uint32_t i, uint32_t n) { multiplyOneByOne(samples + i, n, factor); },
        [&](std::size_t i) {
            T* p = samples + i;
            simd::storeVector<aligned>(p, simd::mulInOrder(factors, aligned ? L::loadAssumedAligned(p) : L::loadu(p)));
        });
}

}  // namespace
}  // namespace qx::convert

extern "C" {

void QXCALC_CALL qxcalcMultiplyVectorByScalar_float(float* samples, uint32_t count, float factor)
{
    qx::convert::multiplyVectorByScalar(samples, count, factor);
}

void QXCALC_CALL qxcalcMultiplyVectorByScalar_double(double* samples, uint32_t count, double factor)
{
    qx::convert::multiplyVectorByScalar(samples, count, factor);
}

}  // extern "C"
