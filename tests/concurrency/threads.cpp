// Threads calling every export on their own buffers, and driving their own
// interpolators, get the bytes that the same rounds gave on one thread: the
// library keeps no state that calls share. Built with ThreadSanitizer by the
// linux-x64-tsan preset.
#include <cstddef>
#include <cstdio>
#include <random>
#include <thread>
#include <vector>

#include "support/export_table.h"

using namespace qxtest;

namespace {

constexpr uint32_t kThreads = 4, kRounds = 40;

// Every export in table order on a scratch filled from `seed`, then an
// interpolator's whole life; every byte they produced.
std::vector<unsigned char> round(uint32_t seed)
{
    Scratch s;
    std::mt19937 rng(seed);
    for (double& v : s.d) v = std::uniform_real_distribution<double>(-100, 100)(rng);
    for (float& v : s.f) v = std::uniform_real_distribution<float>(-100, 100)(rng);
    for (int32_t& v : s.i32) v = static_cast<int32_t>(rng());
    for (int16_t& v : s.i16) v = static_cast<int16_t>(rng());
    for (uint32_t& v : s.u32) v = rng();
    std::vector<unsigned char> bytes;
    const auto keep = [&](const void* p, std::size_t n) { bytes.insert(bytes.end(), static_cast<const unsigned char*>(p), static_cast<const unsigned char*>(p) + n); };
    for (const ExportRow& row : exportTable()) {
        unsigned char returned[8] = {};
        row.call(s).direct(returned);
        keep(returned, sizeof returned);
    }
    keep(&s, offsetof(Scratch, iir));
    const CHSInterpolatorParams params{44100.0 + seed, 48000.0, 32};
    CHSInterpolator* h = nullptr;
    float* out = nullptr;
    uint32_t n = 0;
    qxcalcCHSInterpolator_Create(&h, &params);
    for (uint32_t k = 0; k < 6; ++k)
        if (qxcalcCHSInterpolator_InterpolateValues(h, s.f + 10 * k, 1 + (seed + k) % 10, &out, &n) == StatusOk) keep(out, 4 * n);
    if (qxcalcCHSInterpolator_Stop(h, &out, &n) == StatusOk) keep(out, 4 * n);
    qxcalcCHSInterpolator_Destroy(h);
    return bytes;
}

}  // namespace

int main()
{
    std::vector<std::vector<unsigned char>> alone;
    for (uint32_t r = 0; r < kRounds; ++r) alone.push_back(round(r));
    std::vector<uint32_t> failed(kThreads);
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (uint32_t r = 0; r < kRounds; ++r) failed[t] += round((r + 7 * t) % kRounds) != alone[(r + 7 * t) % kRounds];
        });
    uint32_t bad = 0;
    for (uint32_t t = 0; t < kThreads; ++t) threads[t].join(), bad += failed[t];
    std::printf("threads: %u passed, %u failed\n", kThreads * kRounds - bad, bad);
    return bad != 0;
}
