// Threads calling every export on their own buffers, and driving their own
// interpolators, get the bytes the same rounds gave on one thread: the library
// keeps no state that calls share. The linux-x64-tsan preset adds ThreadSanitizer.
#include <cstdio>
#include <random>
#include <thread>

#include "support/export_table.h"

using namespace qxtest;

// Every export in table order on a scratch filled from `seed`, then an interpolator's whole life; all their bytes.
std::vector<unsigned char> oneRound(uint32_t seed)
{
    Scratch s;
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < 64; ++i) {
        s.d[i] = rng() % 2001 / 10.0 - 100;
        s.f[i] = rng() % 2001 / 10.0f - 100;
        s.i32[i] = rng();
        s.i16[i] = rng();
        s.u32[i] = rng();
    }
    std::vector<unsigned char> bytes;
    const auto keep = [&](const void* p, std::size_t n) {
        const auto* from = static_cast<const unsigned char*>(p);
        bytes.insert(bytes.end(), from, from + n);
    };
    for (const ExportRow& row : exportTable()) {
        unsigned char returned[8] = {};
        row.call(s).direct(returned);
        keep(returned, 8);
    }
    keep(&s, offsetof(Scratch, iir));
    const CHSInterpolatorParams params{44100.0 + seed, 48000.0, 32};
    uint32_t n;
    qxcalcCHSInterpolator_Create(&s.handle, &params);
    for (uint32_t k = 0; k < 6; ++k) {
        const uint32_t count = 1 + (seed + k) % 10;
        if (qxcalcCHSInterpolator_InterpolateValues(s.handle, s.f + 10 * k, count, &s.output, &n) == QxcalcStatusOk)
            keep(s.output, 4 * n);
    }
    if (qxcalcCHSInterpolator_Stop(s.handle, &s.output, &n) == QxcalcStatusOk) keep(s.output, 4 * n);
    qxcalcCHSInterpolator_Destroy(s.handle);
    return bytes;
}

int main()
{
    constexpr uint32_t kThreads = 4, kRounds = 40;
    std::vector<std::vector<unsigned char>> alone;
    for (uint32_t r = 0; r < kRounds; ++r) alone.push_back(oneRound(r));
    uint32_t failed[kThreads] = {}, bad = 0;
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (uint32_t r = 0; r < kRounds; ++r) {
                const uint32_t round = (r + 7 * t) % kRounds;  // each thread starts at its own round
                failed[t] += oneRound(round) != alone[round];
            }
        });
    for (uint32_t t = 0; t < kThreads; ++t) {
        threads[t].join();
        bad += failed[t];
    }
    std::printf("threads: %u passed, %u failed\n", kThreads * kRounds - bad, bad);
    return bad != 0;
}
