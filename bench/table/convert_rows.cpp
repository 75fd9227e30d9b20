// Vector times scalar in place, and int32 <-> int16: a block read and a
// block written; the rate counts both.
#include "harness.h"
#include "qxcalc.hpp"

#ifdef QXCALC_BENCH_PEERS
#include <volk/volk.h>
#endif

namespace qxbench {
namespace {

template <class T>
__attribute__((noipa)) void plainMultiply(T* x, uint32_t n, T factor)
{
    for (uint32_t i = 0; i < n; ++i) x[i] = factor * x[i];
}

template <class From, class To>
__attribute__((noipa)) void plainConvert(const From* from, To* to, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i) to[i] = static_cast<To>(from[i]);
}

// By 1: the block keeps its values from run to run.
template <class T>
Row multiplyRow(const char* job)
{
    return {1, job, Unit::Bytes, [](std::size_t bytes) {
                const Block<T> x = blockOfBytes<T>(bytes);
                Case c;
                c.work = 2.0 * static_cast<double>(bytes);
                c.ours = [=] { qxcalc::Exports<T>::multiplyVectorByScalar(x.data(), x.n, T{1}); };
                c.scalar = [=] { plainMultiply(x.data(), x.n, T{1}); };
#ifdef QXCALC_BENCH_PEERS
                if constexpr (std::is_same_v<T, float>)
                    c.peers = {{"VOLK s32f_multiply_32f", [=] { volk_32f_s32f_multiply_32f(x.data(), x.data(), 1.0f, x.n); }}};
#endif
                c.input = x.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

template <class From, class To>
Row convertRow(const char* job)
{
    return {1, job, Unit::Bytes, [](std::size_t bytes) {
                const Block<From> from = blockOfBytes<From>(bytes);
                const Block<To> to = block<To>(from.n);
                Case c;
                c.work = static_cast<double>(bytes + from.n * sizeof(To));
                c.ours = [=] { qxcalc::Exports<From>::convertWidth(from.data(), to.data(), from.n); };
                c.scalar = [=] { plainConvert(from.data(), to.data(), from.n); };
                c.input = from.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

const Rows rows({
    multiplyRow<float>("MultiplyVectorByScalar_float"),
    multiplyRow<double>("MultiplyVectorByScalar_double"),
    convertRow<int32_t, int16_t>("ConvertInt32ToInt16"),
    convertRow<int16_t, int32_t>("ConvertInt16ToInt32"),
});

}  // namespace
}  // namespace qxbench
