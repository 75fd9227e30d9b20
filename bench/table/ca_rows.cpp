// Cycle analysis: raw cycle data into a channel with the offset removed and
// the maximum found, and the in-place precision conversions. A conversion
// changes its own buffer, so before every run the buffer gets its starting
// contents back by a memcpy whose own time is subtracted.
#include <cstring>

#include "harness.h"
#include "qxcalc.h"

#ifdef QXCALC_BENCH_PEERS
#include <volk/volk.h>
#endif

namespace qxbench {
namespace {

constexpr float kSmallestNormal = 1.17549435e-38f;

__attribute__((noinline)) void plainCopyRaw(const float* raw, float* channel, uint32_t n, float offset)
{
    float best = kSmallestNormal;
    uint32_t at = 0xFFFFFFFF;
    for (uint32_t i = 0; i < n; ++i) {
        channel[i] = raw[i] - offset;
        if (channel[i] > best) best = channel[i], at = i;
    }
    keep(best), keep(at);
}

// Element i of the buffer read as From and written as To: front to back when
// narrowing, back to front when widening (memcpy: the two types alias).
template <class From, class To>
__attribute__((noinline)) void plainInPlace(void* data, uint32_t n)
{
    auto* bytes = static_cast<unsigned char*>(data);
    for (uint32_t k = 0; k < n; ++k) {
        const uint32_t i = sizeof(To) < sizeof(From) ? k : n - 1 - k;
        From from;
        std::memcpy(&from, bytes + i * sizeof(From), sizeof from);
        const To to = static_cast<To>(from);
        std::memcpy(bytes + i * sizeof(To), &to, sizeof to);
    }
}

Row copyRawRow()
{
    return {4, "CACopyRawDataToChannels", Unit::Bytes, [](std::size_t bytes) {
                const Block<float> raw = blockOfBytes<float>(bytes), channel = blockOfBytes<float>(bytes);
                Case c;
                c.work = 2.0 * static_cast<double>(bytes);
                c.ours = [=] {
                    float best;
                    uint32_t at;
                    qxCalcCACopyRawDataToChannels(raw.data(), channel.data(), 0, raw.n, 0.5f, &best, &at);
                    keep(at);
                };
                c.scalar = [=] { plainCopyRaw(raw.data(), channel.data(), raw.n, 0.5f); };
#ifdef QXCALC_BENCH_PEERS
                c.peers = {{"VOLK s32f_add_32f, index_max_32u", [=] {
                                uint32_t at;
                                volk_32f_s32f_add_32f(channel.data(), raw.data(), -0.5f, raw.n);
                                volk_32f_index_max_32u(&at, channel.data(), raw.n);
                                keep(at);
                            }}};
#endif
                c.input = raw.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

// From: the type the conversion reads; the buffer holds n values of the wider type.
template <class From, class To>
Row inPlaceRow(const char* job)
{
    return {4, job, Unit::Bytes, [](std::size_t bytes) {
                const uint32_t n = static_cast<uint32_t>(bytes / sizeof(From));
                const Block<double> buffer = block<double>(n), start = block<double>(n);
                if constexpr (sizeof(From) == 4) qxcalcCADoubleArrToSingleArrInplace(start.data(), n);
                Case c;
                c.work = static_cast<double>(n * (sizeof(From) + sizeof(To)));
                c.restore = [=] { std::memcpy(buffer.data(), start.data(), bytes); };
                c.scalar = [=] { plainInPlace<From, To>(buffer.data(), n); };
                if constexpr (sizeof(From) == 8) c.ours = [=] { qxcalcCADoubleArrToSingleArrInplace(buffer.data(), n); };
                else c.ours = [=] { keep(qxcalcCASingleArrToDoubleArrInplace(buffer.data(), n)); };
#ifdef QXCALC_BENCH_PEERS
                const auto* from = reinterpret_cast<const From*>(buffer.data());
                const Block<To> out = block<To>(n);
                if constexpr (sizeof(From) == 8)
                    c.peers = {{"VOLK 64f_convert_32f (out of place)", [=] { volk_64f_convert_32f(out.data(), from, n); }}};
                else
                    c.peers = {{"VOLK 32f_convert_64f (out of place)", [=] { volk_32f_convert_64f(out.data(), from, n); }}};
#endif
                c.input = buffer.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

const Rows rows({
    copyRawRow(),
    inPlaceRow<double, float>("CADoubleArrToSingleArrInplace"),
    inPlaceRow<float, double>("CASingleArrToDoubleArrInplace"),
});

}  // namespace
}  // namespace qxbench
