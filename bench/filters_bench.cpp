// Filters against a plain scalar loop of the same job: the FIR dot product over
// a ring (multiply-accumulates per second), a cascade of four second-order IIR
// sections and the pink-noise bank (samples per second), one call per sample.
// The plain loops are kept out of line so that both sides pay a call.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "qxcalc.h"

namespace {

std::vector<float> noise(std::size_t n)
{
    std::mt19937 rng(1);
    std::vector<float> v(n);
    for (auto& x : v) x = std::uniform_real_distribution<float>(-1, 1)(rng);
    return v;
}

void setRate(benchmark::State& state, const char* name, double perIteration)
{
    state.counters[name] = benchmark::Counter(static_cast<double>(state.iterations()) * perIteration,
                                              benchmark::Counter::kIsRate);
}

// One output per ring position, as a host advancing its ring would call.
template <class Fir>
void runFir(benchmark::State& state, Fir fir)
{
    const auto length = static_cast<int32_t>(state.range(0));
    const std::vector<float> history = noise(length), taps = noise(length + 1);
    int32_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(fir(history.data(), taps.data() + 1, length, position));
        position = position + 1 == length ? 0 : position + 1;
    }
    setRate(state, "MAC/s", static_cast<double>(length));
}

__attribute__((noinline)) float scalarFir(const float* history, const float* taps, int32_t length, int32_t position)
{
    float sum = 0;
    for (int32_t k = 0; k < length - position; ++k) sum += taps[k] * history[position + k];
    for (int32_t k = length - position; k < length; ++k) sum += taps[k] * history[k - (length - position)];
    return sum;
}

void FirFilter(benchmark::State& state) { runFir(state, qxcalcFIRFilter_float); }
void ScalarFir(benchmark::State& state) { runFir(state, scalarFir); }

// Four second-order sections: a gentle low-pass, the same for each section.
struct Cascade {
    alignas(16) IIRBlock blocks[12] = {};
    double gains[4] = {0.25, 0.25, 0.25, 0.25};
    IIRFilter filter{3, 4, 2, 0, gains, blocks};
    Cascade()
    {
        for (int s = 0; s < 4; ++s) {
            blocks[3 * s] = {0, 0, 0.2, 0.3};
            blocks[3 * s + 1] = {0, 0, 0.4, -1.1};
            blocks[3 * s + 2] = {0, 0, 0.2, 0};
        }
    }
};

__attribute__((noinline)) double scalarIir(IIRFilter* f, double u)
{
    for (int s = 0; s < f->sectionCount; ++s) {
        IIRBlock* b = f->sections + 3 * s;
        b[0].x = b[1].x, b[0].y = b[1].y, b[1].x = b[2].x, b[1].y = b[2].y;
        b[2].x = u * f->gains[s];
        const double y = b[2].b * b[2].x + ((b[0].b * b[0].x + b[1].b * b[1].x) - (b[0].a * b[0].y + b[1].a * b[1].y));
        b[2].y = u = y < 1e10 ? (y > -1e10 ? y : -1e10) : 1e10;
    }
    return u;
}

template <class Iir>
void runIir(benchmark::State& state, Iir iir)
{
    Cascade cascade;
    const std::vector<float> in = noise(4096);
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(iir(&cascade.filter, in[i++ & 4095]));
    setRate(state, "samples/s", 1);
}

void IirFourSecondOrderSections(benchmark::State& state) { runIir(state, qxcalcIIRFilter_double); }
void ScalarIirFourSecondOrderSections(benchmark::State& state) { runIir(state, scalarIir); }

__attribute__((noinline)) double scalarPink(PinkFilterState* state, double white)
{
    static constexpr double a[8] = {0.99886, 0.99332, 0.969, 0.8665, 0.55, -0.7616, 0, 0};
    static constexpr double k[8] = {0.0555179, 0.0750759, 0.153852, 0.3104856, 0.5329522, -0.016898, 0.115926, 0.5362};
    double* s = state->s;
    for (int i = 0; i < 8; ++i) s[i] = s[i] * a[i] + 0.2 * white * k[i];
    return ((s[2] + s[6]) + (s[0] + s[4])) + ((s[3] + s[7]) + (s[1] + s[5]));
}

template <class Pink>
void runPink(benchmark::State& state, Pink pink)
{
    PinkFilterState pinkState{};
    const std::vector<float> in = noise(4096);
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(pink(&pinkState, in[i++ & 4095]));
    setRate(state, "samples/s", 1);
}

void PinkFilter(benchmark::State& state) { runPink(state, qxcalcPinkFilter_double); }
void ScalarPinkFilter(benchmark::State& state) { runPink(state, scalarPink); }

}  // namespace

BENCHMARK(FirFilter)->Arg(256)->Arg(1024);
BENCHMARK(ScalarFir)->Arg(256)->Arg(1024);
BENCHMARK(IirFourSecondOrderSections);
BENCHMARK(ScalarIirFourSecondOrderSections);
BENCHMARK(PinkFilter);
BENCHMARK(ScalarPinkFilter);
