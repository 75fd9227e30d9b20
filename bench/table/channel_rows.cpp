// Scaled channel values: raw samples of one format in, float or double values
// out (scale 1, offset 0, so that the peers' plain conversions do the same job).
// The size is the raw block's; the rate counts raw bytes read and values written.
#include "harness.h"
#include "qxcalc.hpp"

#ifdef QXCALC_BENCH_PEERS
#include <volk/volk.h>
#endif

namespace qxbench {
namespace {

template <class Raw, class Out>
__attribute__((noipa)) void plainScale(const Raw* raw, Out* out, uint32_t n, Out scale, Out offset)
{
    for (uint32_t i = 0; i < n; ++i) out[i] = static_cast<Out>(raw[i]) * scale + offset;
}

// The VOLK kernel converting Raw to Out, where VOLK has one.
template <class Raw, class Out>
std::vector<Peer> peers([[maybe_unused]] const Block<Raw>& raw, [[maybe_unused]] const Block<Out>& out)
{
#ifdef QXCALC_BENCH_PEERS
    const uint32_t n = raw.n;
    if constexpr (std::is_same_v<Raw, int16_t> && std::is_same_v<Out, float>)
        return {{"VOLK 16i_s32f_convert_32f", [=] { volk_16i_s32f_convert_32f(out.data(), raw.data(), 1.0f, n); }}};
    if constexpr (std::is_same_v<Raw, int32_t> && std::is_same_v<Out, float>)
        return {{"VOLK 32i_s32f_convert_32f", [=] { volk_32i_s32f_convert_32f(out.data(), raw.data(), 1.0f, n); }}};
    if constexpr (std::is_same_v<Raw, float> && std::is_same_v<Out, double>)
        return {{"VOLK 32f_convert_64f", [=] { volk_32f_convert_64f(out.data(), raw.data(), n); }}};
    if constexpr (std::is_same_v<Raw, double> && std::is_same_v<Out, float>)
        return {{"VOLK 64f_convert_32f", [=] { volk_64f_convert_32f(out.data(), raw.data(), n); }}};
    if constexpr (std::is_same_v<Raw, float> && std::is_same_v<Out, float>)
        return {{"VOLK s32f_multiply_32f", [=] { volk_32f_s32f_multiply_32f(out.data(), raw.data(), 1.0f, n); }}};
#endif
    return {};
}

template <class Raw, class Out, bool aligned = false, bool inPlace = false>
Row channelRow(const char* job)
{
    return {2, job, Unit::Bytes, [](std::size_t bytes) {
                const Block<Raw> raw = blockOfBytes<Raw>(bytes);
                const Block<Out> out = inPlace ? Block<Out>{std::reinterpret_pointer_cast<Out[]>(raw.values), raw.n}
                                               : block<Out>(raw.n);
                using Exports = qxcalc::Exports<Out>;
                constexpr auto code = static_cast<uint32_t>(qxcalc::rawSampleTypeOf<Raw>());
                Case c;
                c.work = static_cast<double>(bytes + raw.n * sizeof(Out));
                c.ours = [=] {
                    const typename Exports::ChannelScaleParams p{raw.data(), out.data(), 1, 0,
                                                                 static_cast<int32_t>(raw.n), code};
                    if constexpr (aligned) Exports::channelGetScaledValuesAtPosAlignedOutput(&p);
                    else Exports::channelGetScaledValuesAtPos(&p);
                };
                c.scalar = [=] { plainScale<Raw, Out>(raw.data(), out.data(), raw.n, 1, 0); };
                c.peers = peers(raw, out);
                c.input = raw.data(), c.inputBytes = bytes, c.writesBlock = true;
                return c;
            }};
}

const Rows rows({
    channelRow<int16_t, float>("ChannelGetScaledValuesAtPos_float, Int16"),
    channelRow<int16_t, float, true>("ChannelGetScaledValuesAtPos_float_aligned_output, Int16"),
    channelRow<int32_t, float>("ChannelGetScaledValuesAtPos_float, Int32"),
    channelRow<float, float, false, true>("ChannelGetScaledValuesAtPos_float, Float in place"),
    channelRow<double, float>("ChannelGetScaledValuesAtPos_float, Double"),
    channelRow<int64_t, float>("ChannelGetScaledValuesAtPos_float, Int64"),
    channelRow<int16_t, double>("ChannelGetScaledValuesAtPos_double, Int16"),
    channelRow<int16_t, double, true>("ChannelGetScaledValuesAtPos_double_aligned_output, Int16"),
    channelRow<float, double>("ChannelGetScaledValuesAtPos_double, Float"),
    channelRow<int64_t, double>("ChannelGetScaledValuesAtPos_double, Int64"),
});

}  // namespace
}  // namespace qxbench
