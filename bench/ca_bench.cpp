// Cycle analysis next to a streaming read of the same bytes: the axis
// positions (float in, int32_t out) and the CA filters (one output over the
// whole block, stride 1, so a coefficient table as long as the block is read
// too). Throughput counts the bytes of the input samples, at a size that stays
// in cache (256 KiB) and one that streams from memory (64 MiB).
#include <benchmark/benchmark.h>
#include <immintrin.h>

#include <cstdint>
#include <random>
#include <vector>

#include "qxcalc.h"

namespace {

template <class T>
std::vector<T> samplesOfBytes(int64_t bytes)
{
    std::mt19937 rng(2);
    std::vector<T> v(static_cast<std::size_t>(bytes) / sizeof(T));
    for (auto& x : v) x = static_cast<T>(static_cast<int>(rng() % 20000) + 1);
    return v;
}

void countBytes(benchmark::State& state) { state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0)); }

void StreamingRead(benchmark::State& state)
{
    const auto v = samplesOfBytes<float>(state.range(0));
    for (auto _ : state) {
        __m256 acc = _mm256_setzero_ps();
        for (std::size_t i = 0; i + 8 <= v.size(); i += 8) acc = _mm256_or_ps(acc, _mm256_loadu_ps(&v[i]));
        benchmark::DoNotOptimize(acc);
    }
    countBytes(state);
}

template <bool Logarithmic>
void AxisPositions(benchmark::State& state)
{
    const auto in = samplesOfBytes<float>(state.range(0));
    std::vector<int32_t> out(in.size());
    const auto n = static_cast<uint32_t>(in.size());
    for (auto _ : state) {
        if (Logarithmic) qxcalcCAPV_log(in.data(), n, out.data(), -100000, 100000, 1000.0f, 10.0f, 5000.0f);
        else qxcalcCAPV_lin(in.data(), n, out.data(), -100000, 100000, 3.5f, 10.0f);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

template <class T>
void CAFilter(benchmark::State& state)
{
    const auto samples = samplesOfBytes<T>(state.range(0));
    const auto coefficients = samplesOfBytes<float>(static_cast<int64_t>(samples.size() * sizeof(float)));
    const auto n = static_cast<uint32_t>(samples.size());
    const T* newest = samples.data() + n - 1;
    for (auto _ : state) {
        float r;
        if constexpr (sizeof(T) == 2) r = qxcalcCACalcFilter_int16_t(newest, n, coefficients.data(), 1);
        else if constexpr (std::is_same_v<T, float>) r = qxcalcCACalcFilter_float(newest, n, coefficients.data(), 1);
        else r = qxcalcCACalcFilter_int32_t(newest, n, coefficients.data(), 1);
        benchmark::DoNotOptimize(r);
    }
    countBytes(state);
}

constexpr int64_t kInCache = 256 << 10, kInMemory = 64 << 20;

}  // namespace

BENCHMARK(StreamingRead)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(AxisPositions<false>)->Name("CAPV_lin")->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(AxisPositions<true>)->Name("CAPV_log")->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(CAFilter<float>)->Name("CACalcFilter_float")->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(CAFilter<int16_t>)->Name("CACalcFilter_int16_t")->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(CAFilter<int32_t>)->Name("CACalcFilter_int32_t")->Arg(kInCache)->Arg(kInMemory);
