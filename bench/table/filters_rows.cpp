// Filters, one call per sample as a host streams a channel through them: a
// cascade of four second-order IIR sections and the pink-noise bank in
// samples per second over a block of the row's size, and the FIR dot product
// over a ring of the row's size in multiply-accumulates per second (one
// output per run, the ring's oldest position advancing by one each time).
#include "harness.h"
#include "qxcalc.hpp"

#ifdef QXCALC_BENCH_PEERS
#include <liquid/liquid.h>
#include <volk/volk.h>
#endif

namespace qxbench {
namespace {

// Four equal low-pass sections: y = g (0.2 x0 + 0.4 x1 + 0.2 x2) - (-1.1 y1 + 0.3 y2).
constexpr double kGain = 0.25, kB[3] = {0.2, 0.4, 0.2}, kA[3] = {1, -1.1, 0.3};
constexpr int kSections = 4;

struct Cascade {
    alignas(16) IIRBlock blocks[3 * kSections] = {};
    double gains[kSections] = {kGain, kGain, kGain, kGain};
    IIRFilter filter{3, kSections, 2, 0, gains, blocks};
    Cascade()
    {
        for (int s = 0; s < kSections; ++s) {
            for (int k = 0; k < 3; ++k) blocks[3 * s + k] = {0, 0, kB[2 - k], kA[2 - k]};
        }
    }
};

// The plain loop: each section's direct form, clamped as the library clamps.
struct PlainHistory {
    double h[kSections][4] = {};  // x1, x2, y1, y2 of each section
};

__attribute__((noipa)) double plainIir(PlainHistory& history, double u)
{
    for (auto& h : history.h) {
        const double x = u * kGain;
        const double y = kB[0] * x + kB[1] * h[0] + kB[2] * h[1] - (kA[1] * h[2] + kA[2] * h[3]);
        h[1] = h[0], h[0] = x, h[3] = h[2];
        h[2] = u = y < 1e10 ? (y > -1e10 ? y : -1e10) : 1e10;
    }
    return u;
}

__attribute__((noipa)) double plainPink(double (&s)[8], double white)
{
    static constexpr double a[8] = {0.99886, 0.99332, 0.969, 0.8665, 0.55, -0.7616, 0, 0};
    static constexpr double k[8] = {0.0555179, 0.0750759, 0.153852, 0.3104856, 0.5329522, -0.016898, 0.115926, 0.5362};
    double sum = 0;
    for (int i = 0; i < 8; ++i) sum += s[i] = s[i] * a[i] + 0.2 * white * k[i];
    return sum;
}

__attribute__((noipa)) float plainFir(const float* history, const float* taps, int32_t length, int32_t position)
{
    float sum = 0;
    for (int32_t k = 0; k < length - position; ++k) sum += taps[k] * history[position + k];
    for (int32_t k = length - position; k < length; ++k) sum += taps[k] * history[k - (length - position)];
    return sum;
}

// Every sample of the block through `filter`, one call each. The sample goes
// through a vector register first, as a host compiled for SSE2 passes it: on
// i386, gcc would otherwise push a double from memory as two 4-byte words,
// which the callee's 8-byte load cannot take from the store buffer (about 3x
// the cost of the whole pink-noise call).
template <class T, class Filter>
Run eachSample(const Block<T>& x, Filter filter)
{
    return [=]() mutable {
        for (uint32_t i = 0; i < x.n; ++i) {
            T u = x[i];
            asm("" : "+x"(u));
            keep(filter(u));
        }
    };
}

// With no sections the filter returns the sample: that row times the call
// alone, the part of the cascade's time that is the calling convention's.
template <class T>
Row iirRow(const char* job, int32_t sections = kSections)
{
    return {3, job, Unit::Samples, [=](std::size_t bytes) {
                const Block<T> x = blockOfBytes<T>(bytes);
                const auto cascade = make64<Cascade>();
                cascade->filter.sectionCount = sections;
                Case c;
                c.work = x.n;
                c.ours = eachSample(x, [=](T u) { return qxcalc::Exports<T>::iirFilter(&cascade->filter, u); });
                if (sections == 0) return c;
                c.scalar = eachSample(x, [history = make64<PlainHistory>()](T u) { return plainIir(*history, u); });
#ifdef QXCALC_BENCH_PEERS
                float b[3 * kSections], a[3 * kSections];
                for (int i = 0; i < 3 * kSections; ++i) b[i] = static_cast<float>(kB[i % 3] * kGain), a[i] = static_cast<float>(kA[i % 3]);
                const std::shared_ptr<iirfilt_rrrf_s> q(iirfilt_rrrf_create_sos(b, a, kSections), iirfilt_rrrf_destroy);
                c.peers = {{"liquid iirfilt_rrrf (float)", eachSample(x, [=](T u) {
                                float y;
                                iirfilt_rrrf_execute(q.get(), static_cast<float>(u), &y);
                                return y;
                            })}};
#endif
                return c;
            }};
}

Row pinkRow()
{
    return {3, "PinkFilter_double", Unit::Samples, [](std::size_t bytes) {
                const Block<double> x = blockOfBytes<double>(bytes);
                Case c;
                c.work = x.n;
                c.ours = eachSample(x, [state = make64<PinkFilterState>()](double u) {
                    return qxcalcPinkFilter_double(state.get(), u);
                });
                c.scalar = eachSample(x, [state = make64<PinkFilterState>()](double u) {
                    return plainPink(state->s, u);
                });
                return c;
            }};
}

Row firRow()
{
    return {3, "FIRFilter_float", Unit::Macs, [](std::size_t bytes) {
                const Block<float> history = blockOfBytes<float>(bytes), taps = blockOfBytes<float>(bytes, 2);
                const auto length = static_cast<int32_t>(history.n);
                const auto position = std::make_shared<int32_t>(0);
                auto fir = [=](auto dot) {
                    return [=] {
                        keep(dot(*position));
                        *position = *position + 1 == length ? 0 : *position + 1;
                    };
                };
                Case c;
                c.work = length;
                c.ours = fir([=](int32_t p) { return qxcalcFIRFilter_float(history.data(), taps.data(), length, p); });
                c.scalar = fir([=](int32_t p) { return plainFir(history.data(), taps.data(), length, p); });
#ifdef QXCALC_BENCH_PEERS
                const std::shared_ptr<firfilt_rrrf_s> q(firfilt_rrrf_create(taps.data(), history.n), firfilt_rrrf_destroy);
                c.peers = {{"VOLK x2_dot_prod_32f, two calls", fir([=](int32_t p) {
                                float older, newer;
                                volk_32f_x2_dot_prod_32f(&older, history.data() + p, taps.data(), history.n - p);
                                volk_32f_x2_dot_prod_32f(&newer, history.data(), taps.data() + (length - p), p);
                                return older + newer;
                            })},
                           {"liquid firfilt_rrrf", fir([=](int32_t p) {
                                float y;
                                firfilt_rrrf_push(q.get(), history[p]);
                                firfilt_rrrf_execute(q.get(), &y);
                                return y;
                            })}};
#endif
                c.input = history.data(), c.inputBytes = bytes, c.bytesPerWork = 8;
                return c;
            }};
}

const Rows rows({
    iirRow<double>("IIRFilter_double, 4 second-order sections"),
    iirRow<float>("IIRFilter_float, 4 second-order sections"),
    iirRow<double>("IIRFilter_double, no sections: the call alone", 0),
    pinkRow(),
    firRow(),
});

}  // namespace
}  // namespace qxbench
