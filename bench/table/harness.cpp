// Runs every row at every size and prints one tab-separated line per timed
// variant: family, job, size, unit, variant, rate. scripts/bench.sh joins the
// lines of the three builds into the markdown table.
//
// Timing: thread CPU time, so time spent descheduled on a shared machine does
// not count; each sample repeats the run until it lasts at least 2 ms, and
// the median of the samples is kept. The first run is untimed (page faults,
// cold caches). --ours-only skips the references, peers and plain loops (the
// 32-bit builds); --match TEXT keeps the jobs whose name contains TEXT, --job
// NAME the one job of that name. --list prints the jobs' names, --header the
// machine and the peers' kernels, as "#" lines.
#include "harness.h"

#include <immintrin.h>
#include <time.h>
#ifdef _WIN32
#include <windows.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qxbench {

const char* const kFamilies[] = {"Minimum and maximum, sums", "Scaling and integer width",
                                 "Scaled channel values",     "Filters",
                                 "Cycle analysis",           "Graph and cursor",
                                 "CHS interpolator"};

std::vector<Row>& allRows()
{
    static std::vector<Row> rows;
    return rows;
}

Rows::Rows(std::vector<Row> rows)
{
    for (auto& row : rows) allRows().push_back(std::move(row));
}

void printPeerKernels();  // peers.cpp, on builds with the peer libraries

namespace {
std::size_t blocksOfCase = 0;
}

std::size_t nextBlockOffset()
{
    return blocksOfCase++ * 17 * 64 % 4096;
}

namespace {

constexpr std::size_t kSizes[] = {16 << 10, 256 << 10, 64 << 20};
constexpr double kMinSampleSeconds = 2e-3;
constexpr int kSamples = 5;

double threadSeconds()
{
#ifdef _WIN32
    // Under Wine on Linux the program is a Linux thread, and Wine counts a thread's CPU time only in 10 ms
    // steps: the Linux kernel's own count (clock_gettime, CLOCK_THREAD_CPUTIME_ID) is asked for directly.
    // On Windows itself, the wall clock.
    static const bool underWine = GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
    if (underWine) {
        int64_t t[2];  // the kernel's timespec
        long result;
        asm volatile("syscall" : "=a"(result) : "0"(228L), "D"(3L), "S"(t) : "rcx", "r11", "memory");
        return static_cast<double>(t[0]) + static_cast<double>(t[1]) * 1e-9;
    }
    LARGE_INTEGER t, perSecond;
    QueryPerformanceCounter(&t);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(t.QuadPart) / static_cast<double>(perSecond.QuadPart);
#else
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
#endif
}

// Seconds of `reps` runs, each preceded by `before` (may be empty).
double timeReps(const Run& run, const Run& before, long reps)
{
    const double start = threadSeconds();
    for (long r = 0; r < reps; ++r) {
        if (before) before();
        run();
    }
    return threadSeconds() - start;
}

// Seconds of one run: the median of kSamples samples, each `reps` runs long
// (reps doubled until a sample lasts kMinSampleSeconds). With a restore step,
// each sample times the restores alone right after the restores with the runs
// and keeps the difference, so that both halves see the same machine.
double secondsPerRun(const Run& run, const Run& restore)
{
    const Run nothing = [] {};
    if (restore) restore();
    run();
    long reps = 1;
    while (timeReps(run, restore, reps) < kMinSampleSeconds) reps *= 2;
    std::vector<double> samples;
    for (int s = 0; s < kSamples; ++s) {
        double seconds = timeReps(run, restore, reps);
        if (restore) seconds -= timeReps(nothing, restore, reps);
        samples.push_back(seconds / static_cast<double>(reps));
    }
    std::nth_element(samples.begin(), samples.begin() + kSamples / 2, samples.end());
    return samples[kSamples / 2];
}

// Reads every byte once with 256-bit loads into `chains` independent chains.
// In cache four chains read fastest; from memory one chain (fewer loads in
// flight) reads up to a tenth faster on some machines: the reference is the
// faster of the two. Built for AVX in every x86 build: the builds without
// AVX run their own jobs only (--ours-only), never this reference.
template <int chains>
__attribute__((noipa, target("avx"))) void streamRead(const void* data, std::size_t bytes)
{
    const auto* p = static_cast<const float*>(data);
    __m256 acc[chains];
    for (auto& a : acc) a = _mm256_setzero_ps();
    for (std::size_t i = 0; i + 8 * chains <= bytes / sizeof(float); i += 8 * chains) {
        for (int k = 0; k < chains; ++k) acc[k] = _mm256_or_ps(acc[k], _mm256_load_ps(p + i + 8 * k));
    }
    for (int k = 1; k < chains; ++k) acc[0] = _mm256_or_ps(acc[0], acc[k]);
    keep(acc[0]);
}

double streamReadSeconds(const void* data, std::size_t bytes)
{
    return std::min(secondsPerRun([&] { streamRead<1>(data, bytes); }, nullptr),
                    secondsPerRun([&] { streamRead<4>(data, bytes); }, nullptr));
}

double rateOf(Unit unit, double work, double seconds)
{
    return work / seconds / (unit == Unit::Samples ? 1e6 : 1e9);
}

const char* unitName(Unit unit)
{
    return unit == Unit::Bytes ? "GB/s" : unit == Unit::Samples ? "MS/s" : "GMAC/s";
}

void printCpu()
{
    char line[256];
    FILE* f = std::fopen("/proc/cpuinfo", "r");
    while (f && std::fgets(line, sizeof line, f)) {
        if (std::strncmp(line, "model name", 10) == 0) {
            std::printf("# cpu: %s", std::strchr(line, ':') + 2);
            break;
        }
    }
    if (f) std::fclose(f);
}

}  // namespace
}  // namespace qxbench

int main(int argc, char** argv)
{
    using namespace qxbench;
    bool oursOnly = false, list = false;
    const char* match = "";
    const char* job = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--ours-only") == 0) oursOnly = true;
        else if (std::strcmp(argv[i], "--list") == 0) list = true;
        else if (std::strcmp(argv[i], "--match") == 0 && i + 1 < argc) match = argv[++i];
        else if (std::strcmp(argv[i], "--job") == 0 && i + 1 < argc) job = argv[++i];
        else if (std::strcmp(argv[i], "--header") == 0) {
            printCpu();
#ifdef QXCALC_BENCH_PEERS
            printPeerKernels();
#endif
            return 0;
        }
    }
    std::stable_sort(allRows().begin(), allRows().end(), [](const Row& a, const Row& b) { return a.family < b.family; });
    for (const Row& row : allRows()) {
        if (row.job.find(match) == std::string::npos || (job && row.job != job)) continue;
        if (list) {
            std::printf("%s\n", row.job.c_str());
            continue;
        }
        for (const std::size_t bytes : kSizes) {
            blocksOfCase = 0;
            const Case c = row.make(bytes);
            auto print = [&](const std::string& variant, Unit unit, double work, double seconds) {
                std::printf("%s\t%s\t%zu\t%s\t%s\t%.4g\n", kFamilies[row.family], row.job.c_str(), bytes, unitName(unit),
                            variant.c_str(), rateOf(unit, work, seconds));
                std::fflush(stdout);
            };
            print("ours", row.unit, c.work, secondsPerRun(c.ours, c.restore));
            if (oursOnly) continue;
            if (c.input) {
                const std::size_t n = c.inputBytes;
                // The bound of a job that writes a block is the copy, else the read.
                const std::string read = c.writesBlock ? "read" : "bound:read";
                const std::string copied = c.writesBlock ? "bound:memcpy" : "memcpy";
                const double units = static_cast<double>(n) / c.bytesPerWork;
                print(read, row.unit, units, streamReadSeconds(c.input, n));
                const Block<double> copy = blockOfBytes<double>(n);
                print(copied, row.unit, 2.0 * units, secondsPerRun([&] {
                          std::memcpy(copy.data(), c.input, n);
                          keep(copy[0]);
                      }, nullptr));
            }
            if (c.scalar) print("scalar", row.unit, c.work, secondsPerRun(c.scalar, c.restore));
            for (const Peer& peer : c.peers) print("peer:" + peer.name, row.unit, c.work, secondsPerRun(peer.run, c.restore));
        }
    }
}
