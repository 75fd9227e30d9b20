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
    static constexpr bool alignedBody = true;
};
template <>
struct MultiplyPlan<double> {
    static constexpr uint32_t oneByOneUpTo = 3;
    static constexpr bool alignedBody = false;
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
    if (count <= Plan::oneByOneUpTo) return multiplyOneByOne(samples, count, factor);

    const uint32_t peel = Plan::alignedBody ? simd::alignedBody<L::alignment, L::width>(samples, count).peel : 0;
    multiplyOneByOne(samples, peel, factor);
    T* body = samples + peel;
    const uint32_t vectors = (count - peel) / L::width;
    const auto factors = L::broadcast(factor);
    simd::forEachInOrder<8>(vectors, [&](uint32_t k) {
        T* p = body + k * L::width;
        const auto v = Plan::alignedBody ? L::load(p) : L::loadu(p);
        simd::storeVector<Plan::alignedBody>(p, simd::mulInOrder(factors, v));
    });
    const uint32_t done = peel + vectors * L::width;
    multiplyOneByOne(samples + done, count - done, factor);
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
