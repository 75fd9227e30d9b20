// Conversions and channel scaling next to memcpy: every benchmark writes the
// same number of bytes as the memcpy of its size (256 KiB stays in cache,
// 64 MiB goes to memory), and throughput is reported as bytes written per
// second, so the ratio to memcpy reads straight off the table.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

#include "qxcalc.h"

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

// n values of T on a 64-byte boundary, small random integers (exact in every format).
template <class T>
std::unique_ptr<T[], FreeDeleter> buffer(std::size_t n)
{
    std::unique_ptr<T[], FreeDeleter> p(static_cast<T*>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64)));
    std::mt19937 rng(1);
    for (std::size_t i = 0; i < n; ++i) p[i] = static_cast<T>(rng() % 100);
    return p;
}

void setBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void Memcpy(benchmark::State& state)
{
    const auto bytes = static_cast<std::size_t>(state.range(0));
    auto from = buffer<char>(bytes), to = buffer<char>(bytes);
    for (auto _ : state) {
        std::memcpy(to.get(), from.get(), bytes);
        benchmark::ClobberMemory();
    }
    setBytes(state);
}

template <class T>
void MultiplyVectorByScalar(benchmark::State& state)
{
    const auto n = static_cast<uint32_t>(state.range(0) / sizeof(T));
    auto v = buffer<T>(n);
    for (auto _ : state) {
        if constexpr (sizeof(T) == 4) qxcalcMultiplyVectorByScalar_float(v.get(), n, 1.0f);
        else qxcalcMultiplyVectorByScalar_double(v.get(), n, 1.0);
        benchmark::ClobberMemory();
    }
    setBytes(state);
}

template <class From, class To>
void ConvertInteger(benchmark::State& state)
{
    const auto n = static_cast<uint32_t>(state.range(0) / sizeof(To));
    auto from = buffer<From>(n);
    auto to = buffer<To>(n);
    for (auto _ : state) {
        if constexpr (sizeof(From) == 4) qxcalcConvertInt32ToInt16(from.get(), to.get(), n);
        else qxcalcConvertInt16ToInt32(from.get(), to.get(), n);
        benchmark::ClobberMemory();
    }
    setBytes(state);
}

// Scaled channel values of one raw format; the output starts on a 64-byte
// boundary, so plain and aligned-output forms see the same buffers.
template <class Raw, uint32_t code, class Out, bool aligned, bool inPlace = false>
void ChannelScaledValues(benchmark::State& state)
{
    const auto n = static_cast<int32_t>(state.range(0) / sizeof(Out));
    auto raw = buffer<Raw>(static_cast<std::size_t>(n));
    auto out = buffer<Out>(static_cast<std::size_t>(n));
    Out* to = inPlace ? reinterpret_cast<Out*>(raw.get()) : out.get();
    for (auto _ : state) {
        if constexpr (sizeof(Out) == 4) {
            const ChannelScaleParams_float p{raw.get(), to, 1.0f, 0.0f, n, code};
            (aligned ? qxcalcChannelGetScaledValuesAtPos_float_aligned_output : qxcalcChannelGetScaledValuesAtPos_float)(&p);
        } else {
            const ChannelScaleParams_double p{raw.get(), to, 1.0, 0.0, n, code};
            (aligned ? qxcalcChannelGetScaledValuesAtPos_double_aligned_output : qxcalcChannelGetScaledValuesAtPos_double)(&p);
        }
        benchmark::ClobberMemory();
    }
    setBytes(state);
}

constexpr int64_t kInCache = 256 << 10, kInMemory = 64 << 20;

}  // namespace

#define QX_SIZES ->Arg(kInCache)->Arg(kInMemory)
BENCHMARK(Memcpy) QX_SIZES;
BENCHMARK_TEMPLATE(MultiplyVectorByScalar, float) QX_SIZES;
BENCHMARK_TEMPLATE(MultiplyVectorByScalar, double) QX_SIZES;
BENCHMARK_TEMPLATE(ConvertInteger, int32_t, int16_t) QX_SIZES;
BENCHMARK_TEMPLATE(ConvertInteger, int16_t, int32_t) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, uint8_t, UInt8, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int16_t, Int16, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int16_t, Int16, float, true) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int32_t, Int32, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, uint32_t, UInt32, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, float, Float, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, float, Float, float, false, true) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, double, Double, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int64_t, Int64, float, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int16_t, Int16, double, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int16_t, Int16, double, true) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, uint32_t, UInt32, double, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, double, Double, double, false) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, double, Double, double, false, true) QX_SIZES;
BENCHMARK_TEMPLATE(ChannelScaledValues, int64_t, Int64, double, false) QX_SIZES;
