// libFuzzer target: channel-scaling records (any format code, count, scale and offset bits; float or double,
// plain or aligned output; in place where the formats allow) against the rule for one sample. Buffers end where
// the record says, so AddressSanitizer sees any access past them; a refused record leaves the output as it was.
#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

#include "qxcalc.hpp"
#include "support/channel_model.h"

namespace {

// `bytes` bytes, `misalign` bytes past a 64-byte boundary, ending where their allocation ends.
std::shared_ptr<std::byte> exact(std::size_t misalign, std::size_t bytes)
{
    auto* base = static_cast<std::byte*>(operator new(misalign + bytes, std::align_val_t{64}));
    return {base + misalign, [base](std::byte*) { operator delete(base, std::align_val_t{64}); }};
}

template <class Out>
void run(FuzzedDataProvider& in, uint32_t code, int32_t count)
{
    using Bits = std::conditional_t<sizeof(Out) == 4, uint32_t, uint64_t>;
    static constexpr std::size_t kRawBytes[] = {1, 1, 2, 2, 4, 4, 8, 8, 4};
    const std::size_t size = code < 9 ? kRawBytes[code] : 1, n = count > 0 ? count : 0;
    const bool inPlace = (code == QxcalcRawFloat || code == QxcalcRawDouble) && size == sizeof(Out) && in.ConsumeBool(), toAligned = in.ConsumeBool();
    const Out scale = std::bit_cast<Out>(in.ConsumeIntegral<Bits>()), offset = std::bit_cast<Out>(in.ConsumeIntegral<Bits>());
    const auto out = exact(toAligned ? 0 : sizeof(Out) * in.ConsumeIntegralInRange(0, 7), n * sizeof(Out));
    const auto rawStore = exact(size * in.ConsumeIntegralInRange<std::size_t>(0, 64 / size - 1), inPlace ? 0 : n * size);
    std::byte* raw = inPlace ? out.get() : rawStore.get();
    std::memset(out.get(), 0xA5, n * sizeof(Out)), std::memset(raw, 0, n * size), in.ConsumeData(raw, n * size);
    std::vector<std::byte> want(out.get(), out.get() + n * sizeof(Out));
    const auto model = [&]<class Raw>(Raw x) {
        for (std::size_t i = 0; i < n; ++i) {
            std::memcpy(&x, raw + i * sizeof x, sizeof x);
            const Out y = qxtest::scaledValue(x, scale, offset);
            std::memcpy(&want[i * sizeof y], &y, sizeof y);
        }
    };
    const auto modelCode = [&](auto... raw) {
        ((static_cast<uint32_t>(qxcalc::rawSampleTypeOf<decltype(raw)>()) == code ? model(raw) : void()), ...);
    };
    std::apply(modelCode, std::tuple<uint8_t, int8_t, int16_t, uint16_t, int32_t, float, int64_t, double, uint32_t>{});
    using Exports = qxcalc::Exports<Out>;
    const typename Exports::ChannelScaleParams p{raw, reinterpret_cast<Out*>(out.get()), scale, offset, count, code};
    (toAligned ? Exports::channelGetScaledValuesAtPosAlignedOutput : Exports::channelGetScaledValuesAtPos)(&p);
    if (n > 0 && std::memcmp(out.get(), want.data(), want.size()) != 0) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const uint32_t code = in.ConsumeBool() ? in.ConsumeIntegralInRange(0u, 8u) : in.ConsumeIntegral<uint32_t>();
    const int32_t count = in.ConsumeIntegralInRange(-2, 700);
    if (in.ConsumeBool()) run<float>(in, code, count);
    else run<double>(in, code, count);
    return 0;
}
