// The CHS interpolator: a stream of the row's size fed in blocks of 1024
// samples, in input samples per second; each run starts a new stream.
#include "harness.h"
#include "qxcalc.h"

#ifdef QXCALC_BENCH_PEERS
#include <samplerate.h>
#endif

namespace qxbench {
namespace {

constexpr uint32_t kBlock = 1024, kRing = 4096;

// The plain Catmull-Rom loop of a host: the last three samples of the previous
// block ahead of the new one, one output every 1/ratio input samples.
struct PlainCatmullRom {
    double step;
    double position = 1;  // of the next output, in `window` (window[1] is the first real sample)
    std::vector<float> window = std::vector<float>(3 + kBlock);
    std::vector<float> out = std::vector<float>(2 * kBlock + 8);
    uint32_t filled = 1;  // window[0] stands in for the first sample's predecessor

    __attribute__((noipa)) uint32_t feed(const float* x, uint32_t n)
    {
        std::copy(x, x + n, window.begin() + filled);
        const uint32_t end = filled + n;
        uint32_t produced = 0;
        for (; position + 2 < end; position += step) {
            const auto i = static_cast<uint32_t>(position);
            const float t = static_cast<float>(position - i);
            const float p0 = window[i - 1], p1 = window[i], p2 = window[i + 1], p3 = window[i + 2];
            out[produced++] = 0.5f * (2 * p1 + (p2 - p0) * t + (2 * p0 - 5 * p1 + 4 * p2 - p3) * t * t +
                                      (3 * (p1 - p2) + p3 - p0) * t * t * t);
        }
        const uint32_t keepFrom = end - 3;
        std::copy(window.begin() + keepFrom, window.begin() + end, window.begin());
        position -= keepFrom, filled = 3;
        return produced;
    }
};

Row chsRow(const char* job, double inputRate, double outputRate)
{
    return {6, job, Unit::Samples, [=](std::size_t bytes) {
                const Block<float> x = blockOfBytes<float>(bytes);
                CHSInterpolator* handle = nullptr;
                const CHSInterpolatorParams params{inputRate, outputRate, kRing};
                qxcalcCHSInterpolator_Create(&handle, &params);
                const std::shared_ptr<CHSInterpolator> interpolator(handle, qxcalcCHSInterpolator_Destroy);
                auto stream = [=](auto feed) {
                    return [=] {
                        for (uint32_t i = 0; i + kBlock <= x.n; i += kBlock) feed(x.data() + i);
                    };
                };
                Case c;
                c.work = x.n;
                c.ours = [=, run = stream([=](const float* block) {
                              float* out;
                              uint32_t count;
                              qxcalcCHSInterpolator_InterpolateValues(interpolator.get(), block, kBlock, &out, &count);
                              keep(count);
                          })] {
                    qxcalcCHSInterpolator_Reset(interpolator.get());
                    run();
                };
                c.scalar = [=] {
                    auto plain = std::make_shared<PlainCatmullRom>(PlainCatmullRom{inputRate / outputRate});
                    stream([=](const float* block) { keep(plain->feed(block, kBlock)); })();
                };
#ifdef QXCALC_BENCH_PEERS
                int error;
                const std::shared_ptr<SRC_STATE> src(src_new(SRC_LINEAR, 1, &error), src_delete);
                const auto out = std::make_shared<std::vector<float>>(4 * kBlock);
                c.peers = {{"libsamplerate SRC_LINEAR", [=, run = stream([=](const float* block) {
                                SRC_DATA d{block, out->data(), kBlock, 4 * kBlock, 0, 0, 0, outputRate / inputRate};
                                src_process(src.get(), &d);
                                keep(d.output_frames_gen);
                            })] {
                                src_reset(src.get());
                                run();
                            }}};
#endif
                return c;
            }};
}

const Rows rows({
    chsRow("CHSInterpolator 44.1k->48k, 1024-sample blocks", 44100, 48000),
    chsRow("CHSInterpolator 48k->44.1k, 1024-sample blocks", 48000, 44100),
});

}  // namespace
}  // namespace qxbench
