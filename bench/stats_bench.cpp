// Block statistics against two references in one run: the memory bandwidth
// of a plain vector read of the same block (the ceiling for a one-pass
// kernel), and the standard library's minmax_element / accumulate.
// Throughput is reported as bytes per second of samples read, so the ratios
// can be read straight off the table.
#include <benchmark/benchmark.h>
#include <immintrin.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "qxcalc.h"

namespace {

template <class T>
std::vector<T> block(std::size_t n)
{
    std::mt19937 rng(1);
    std::vector<T> v(n);
    for (auto& x : v) x = static_cast<T>(static_cast<int>(rng() % 20000) - 10000);
    return v;
}

void setBytes(benchmark::State& state, std::size_t bytes)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

// Reads every byte once with 256-bit loads: the bandwidth reference.
void ReadBandwidth(benchmark::State& state)
{
    const auto v = block<float>(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        __m256 acc = _mm256_setzero_ps();
        for (std::size_t i = 0; i + 8 <= v.size(); i += 8) acc = _mm256_or_ps(acc, _mm256_loadu_ps(&v[i]));
        benchmark::DoNotOptimize(acc);
    }
    setBytes(state, v.size() * sizeof(float));
}

void MinMaxFloat(benchmark::State& state)
{
    const auto v = block<float>(static_cast<std::size_t>(state.range(0)));
    float lo, hi;
    for (auto _ : state) {
        qxcalcGetMinMax_float(v.data(), static_cast<uint32_t>(v.size()), &lo, &hi);
        benchmark::DoNotOptimize(lo);
    }
    setBytes(state, v.size() * sizeof(float));
}

void StdMinMaxElementFloat(benchmark::State& state)
{
    const auto v = block<float>(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(std::minmax_element(v.begin(), v.end()));
    setBytes(state, v.size() * sizeof(float));
}

void MinMaxInt16(benchmark::State& state)
{
    const auto v = block<int16_t>(static_cast<std::size_t>(state.range(0)));
    int16_t lo, hi;
    for (auto _ : state) {
        qxcalcGetMinMax_int16_t(v.data(), static_cast<uint32_t>(v.size()), &lo, &hi);
        benchmark::DoNotOptimize(lo);
    }
    setBytes(state, v.size() * sizeof(int16_t));
}

void StatsFloat(benchmark::State& state)
{
    const auto v = block<float>(static_cast<std::size_t>(state.range(0)));
    float lo, hi;
    double sum = 0, squares = 0;
    for (auto _ : state) {
        qxcalcGetMinMaxAveRMS_float(v.data(), static_cast<uint32_t>(v.size()), &lo, &hi, &sum, &squares, 0.5f);
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state, v.size() * sizeof(float));
}

void StdAccumulateSquaresFloat(benchmark::State& state)
{
    const auto v = block<float>(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const double s = std::accumulate(v.begin(), v.end(), 0.0, [](double a, float x) {
            const double d = static_cast<double>(x) + 0.5;
            return a + d * d;
        });
        benchmark::DoNotOptimize(s);
    }
    setBytes(state, v.size() * sizeof(float));
}

void StatsInt16(benchmark::State& state)
{
    const auto v = block<int16_t>(static_cast<std::size_t>(state.range(0)));
    int16_t lo, hi;
    double sum = 0, squares = 0;
    for (auto _ : state) {
        qxcalcGetMinMaxAveRMS_int16_t(v.data(), static_cast<uint32_t>(v.size()), &lo, &hi, &sum, &squares, 0.5f);
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state, v.size() * sizeof(int16_t));
}

void MoveInt16(benchmark::State& state)
{
    const int stride = static_cast<int>(state.range(1));
    const auto n = static_cast<std::size_t>(state.range(0));
    const auto v = block<int16_t>(n * static_cast<std::size_t>(stride));
    std::vector<int16_t> out(n);
    int16_t lo, hi;
    double sum = 0, squares = 0;
    for (auto _ : state) {
        qxcalcMoveAndGetMinMaxAveRMS_int16_t(out.data(), v.data(), static_cast<uint32_t>(n), &lo, &hi, &sum, &squares,
                                             0.0f, stride);
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state, n * sizeof(int16_t));
}

constexpr int64_t kInCache = 16 << 10, kInMemory = 16 << 20;

}  // namespace

BENCHMARK(ReadBandwidth)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(MinMaxFloat)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(StdMinMaxElementFloat)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(MinMaxInt16)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(StatsFloat)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(StdAccumulateSquaresFloat)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(StatsInt16)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(MoveInt16)->Args({kInMemory, 1})->Args({kInMemory, 4});
