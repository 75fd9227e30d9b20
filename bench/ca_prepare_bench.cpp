// Cycle-data preparation against memcpy of the same bytes, in cache (256 KiB)
// and in memory (64 MiB). Throughput is bytes per second of the buffer the
// function works through: the raw samples of the copy, the whole in-place
// buffer (count doubles) of the conversions.
//
// An in-place conversion changes its own input, so each timed conversion is
// followed by the opposite conversion with the clock paused; the values are
// exact in float, so the buffer returns to its starting contents.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

#include "qxcalc.h"

namespace {

struct Free {
    void operator()(void* p) const { std::free(p); }
};
using Buffer = std::unique_ptr<std::byte, Free>;

Buffer aligned(std::size_t bytes) { return Buffer(static_cast<std::byte*>(std::aligned_alloc(64, bytes))); }

// Floats with few significant bits, so that narrowing and widening are exact.
Buffer floats(std::size_t bytes)
{
    Buffer b = aligned(bytes);
    std::mt19937 rng(1);
    auto* f = reinterpret_cast<float*>(b.get());
    for (std::size_t i = 0; i < bytes / sizeof(float); ++i) f[i] = static_cast<float>(static_cast<int>(rng() % 20000) - 10000) / 8;
    return b;
}

void setBytes(benchmark::State& state, std::size_t bytes)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

void Memcpy(benchmark::State& state)
{
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const Buffer from = floats(bytes), to = aligned(bytes);
    for (auto _ : state) {
        std::memcpy(to.get(), from.get(), bytes);
        benchmark::ClobberMemory();
    }
    setBytes(state, bytes);
}

void CopyRawDataToChannels(benchmark::State& state)
{
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const Buffer raw = floats(bytes), channel = aligned(bytes);
    const auto count = static_cast<uint32_t>(bytes / sizeof(float));
    float maxValue;
    uint32_t maxIndex;
    for (auto _ : state) {
        qxCalcCACopyRawDataToChannels(reinterpret_cast<const float*>(raw.get()), reinterpret_cast<float*>(channel.get()), 0,
                                      count, 0.5f, &maxValue, &maxIndex);
        benchmark::DoNotOptimize(maxIndex);
    }
    setBytes(state, bytes);
}

using Conversion = void (*)(void* data, uint32_t count);
void narrow(void* data, uint32_t count) { qxcalcCADoubleArrToSingleArrInplace(data, count); }
void widen(void* data, uint32_t count) { qxcalcCASingleArrToDoubleArrInplace(data, count); }

// Times `timed` on a buffer of count doubles; `undo` restores it untimed.
void InPlace(benchmark::State& state, Conversion timed, Conversion undo)
{
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const Buffer data = floats(bytes);
    const auto count = static_cast<uint32_t>(bytes / sizeof(double));
    if (timed == narrow) widen(data.get(), count);
    for (auto _ : state) {
        timed(data.get(), count);
        state.PauseTiming();
        undo(data.get(), count);
        state.ResumeTiming();
    }
    setBytes(state, bytes);
}

constexpr int64_t kInCache = 256 << 10, kInMemory = 64 << 20;

}  // namespace

BENCHMARK(Memcpy)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK(CopyRawDataToChannels)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK_CAPTURE(InPlace, DoubleArrToSingleArr, narrow, widen)->Arg(kInCache)->Arg(kInMemory);
BENCHMARK_CAPTURE(InPlace, SingleArrToDoubleArr, widen, narrow)->Arg(kInCache)->Arg(kInMemory);
