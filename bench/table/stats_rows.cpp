// Block statistics: minimum and maximum, and the same with the sums; the
// block is read once and nothing is written but the results.
#include "harness.h"
#include "qxcalc.hpp"

#ifdef QXCALC_BENCH_PEERS
#include <volk/volk.h>
#endif

namespace qxbench {
namespace {

// The plain loops: one running minimum, maximum and pair of double sums.
template <class T>
__attribute__((noipa)) void plainMinMax(const T* x, uint32_t n, T* lo, T* hi)
{
    T a = x[0], b = x[0];
    for (uint32_t i = 1; i < n; ++i) {
        a = x[i] < a ? x[i] : a;
        b = x[i] > b ? x[i] : b;
    }
    *lo = a, *hi = b;
}

template <class T>
__attribute__((noipa)) void plainStats(const T* x, uint32_t n, T* lo, T* hi, double* sum, double* squares,
                                          double offset)
{
    plainMinMax(x, n, lo, hi);
    double s = *sum, q = *squares;
    for (uint32_t i = 0; i < n; ++i) {
        const double v = static_cast<double>(x[i]);
        s += v;
        q += (v + offset) * (v + offset);
    }
    *sum = s, *squares = q;
}

__attribute__((noipa)) void plainMoveAndStats(int16_t* to, const int16_t* from, uint32_t n, int32_t stride)
{
    int16_t lo = from[0], hi = from[0];
    double sum = 0, squares = 0;
    for (uint32_t i = 0; i < n; ++i) {
        const int16_t v = from[std::size_t{i} * static_cast<uint32_t>(stride)];
        to[i] = v;
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
        sum += v;
        squares += static_cast<double>(v) * v;
    }
    keep(lo + hi + sum + squares);
}

// A host with VOLK: one pass for each extreme's index, one for mean and deviation.
std::vector<Peer> floatPeers([[maybe_unused]] const Block<float>& x, [[maybe_unused]] bool sums)
{
#ifdef QXCALC_BENCH_PEERS
    return {{sums ? "VOLK index_min, index_max, stddev_and_mean" : "VOLK index_min, index_max", [=] {
                 uint32_t lo, hi;
                 volk_32f_index_min_32u(&lo, x.data(), x.n);
                 volk_32f_index_max_32u(&hi, x.data(), x.n);
                 keep(x[lo] + x[hi]);
                 if (sums) {
                     float deviation, mean;
                     volk_32f_stddev_and_mean_32f_x2(&deviation, &mean, x.data(), x.n);
                     keep(deviation + mean);
                 }
             }}};
#else
    return {};
#endif
}

template <class T>
Row minMaxRow(const char* job)
{
    return {0, job, Unit::Bytes, [](std::size_t bytes) {
                const Block<T> x = blockOfBytes<T>(bytes);
                Case c;
                c.work = static_cast<double>(bytes);
                c.ours = [=] {
                    T lo, hi;
                    qxcalc::Exports<T>::getMinMax(x.data(), x.n, &lo, &hi);
                    keep(lo + hi);
                };
                c.scalar = [=] {
                    T lo, hi;
                    plainMinMax(x.data(), x.n, &lo, &hi);
                    keep(lo + hi);
                };
                if constexpr (std::is_same_v<T, float>) c.peers = floatPeers(x, false);
                c.input = x.data(), c.inputBytes = bytes;
                return c;
            }};
}

template <class T>
Row statsRow(const char* job)
{
    return {0, job, Unit::Bytes, [](std::size_t bytes) {
                const Block<T> x = blockOfBytes<T>(bytes);
                Case c;
                c.work = static_cast<double>(bytes);
                auto timed = [=](auto stats) {
                    return [=] {
                        T lo, hi;
                        double sum = 0, squares = 0;
                        stats(x.data(), x.n, &lo, &hi, &sum, &squares, qxcalc::StatisticsOffset<T>{0});
                        keep(sum + squares);
                    };
                };
                c.ours = timed([](auto... a) { qxcalc::Exports<T>::getMinMaxAveRMS(a...); });
                c.scalar = timed([](auto... a) { plainStats(a...); });
                if constexpr (std::is_same_v<T, float>) c.peers = floatPeers(x, true);
                c.input = x.data(), c.inputBytes = bytes;
                return c;
            }};
}

// The move reads count samples (every stride-th) and writes count: the size
// is the destination's, and the rate counts the samples' bytes both ways.
Row moveRow(const char* job, int32_t stride)
{
    return {0, job, Unit::Bytes, [=](std::size_t bytes) {
                const uint32_t n = static_cast<uint32_t>(bytes / sizeof(int16_t));
                const Block<int16_t> source = block<int16_t>(std::size_t{n} * static_cast<uint32_t>(stride));
                const Block<int16_t> destination = block<int16_t>(n);
                Case c;
                c.work = 2.0 * static_cast<double>(bytes);
                c.ours = [=] {
                    int16_t lo, hi;
                    double sum = 0, squares = 0;
                    qxcalcMoveAndGetMinMaxAveRMS_int16_t(destination.data(), source.data(), n, &lo, &hi, &sum, &squares,
                                                         0.0f, stride);
                    keep(sum + squares);
                };
                c.scalar = [=] { plainMoveAndStats(destination.data(), source.data(), n, stride); };
                c.input = source.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

const Rows rows({
    minMaxRow<int16_t>("GetMinMax_int16_t"),
    minMaxRow<int32_t>("GetMinMax_int32_t"),
    minMaxRow<float>("GetMinMax_float"),
    minMaxRow<double>("GetMinMax_double"),
    statsRow<int16_t>("GetMinMaxAveRMS_int16_t"),
    statsRow<int32_t>("GetMinMaxAveRMS_int32_t"),
    statsRow<float>("GetMinMaxAveRMS_float"),
    statsRow<double>("GetMinMaxAveRMS_double"),
    moveRow("MoveAndGetMinMaxAveRMS_int16_t, stride 1", 1),
    moveRow("MoveAndGetMinMaxAveRMS_int16_t, stride 4", 4),
});

}  // namespace
}  // namespace qxbench
