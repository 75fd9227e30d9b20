// libFuzzer target: channel-scaling records (any format code, count, scale and offset bits; float or double,
// plain or aligned output; in place where the formats allow) against the rule for one sample. Buffers end where
// the record says, so AddressSanitizer sees any access past them; a refused record leaves the output as it was.
#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cstring>
#include <memory>
#include <vector>

#include "qxcalc.h"
#include "support/channel_model.h"

namespace {

// `bytes` bytes, `misalign` bytes past a 64-byte boundary, ending where their allocation ends.
std::shared_ptr<std::byte> exact(std::size_t misalign, std::size_t bytes)
{
    auto* base = static_cast<std::byte*>(operator new(misalign + bytes, std::align_val_t{64}));
    return {base + misalign, [base](std::byte*) { operator delete(base, std::align_val_t{64}); }};
}

template <class Out, class Params, class F>
void run(FuzzedDataProvider& in, uint32_t code, int32_t count, F plain, F aligned)
{
    using Bits = std::conditional_t<sizeof(Out) == 4, uint32_t, uint64_t>;
    static constexpr std::size_t kRawBytes[] = {1, 1, 2, 2, 4, 4, 8, 8, 4};
    const std::size_t size = code < 9 ? kRawBytes[code] : 1, n = count > 0 ? count : 0;
    const bool floating = code == QxcalcRawFloat || code == QxcalcRawDouble;
    const bool inPlace = floating && size == sizeof(Out) && in.ConsumeBool();
    const bool toAligned = in.ConsumeBool();
    const Out scale = std::bit_cast<Out>(in.ConsumeIntegral<Bits>());
    const Out offset = std::bit_cast<Out>(in.ConsumeIntegral<Bits>());
    const auto out = exact(toAligned ? 0 : sizeof(Out) * in.ConsumeIntegralInRange(0, 7), n * sizeof(Out));
    const std::size_t rawMisalign = size * in.ConsumeIntegralInRange<std::size_t>(0, 64 / size - 1);
    const auto rawStore = exact(rawMisalign, inPlace ? 0 : n * size);
    std::byte* raw = inPlace ? out.get() : rawStore.get();
    std::memset(out.get(), 0xA5, n * sizeof(Out));
    std::memset(raw, 0, n * size);
    in.ConsumeData(raw, n * size);
    std::vector<std::byte> want(out.get(), out.get() + n * sizeof(Out));
    const auto model = [&]<class Raw>(Raw x) {
        for (std::size_t i = 0; i < n; ++i) {
            std::memcpy(&x, raw + i * sizeof x, sizeof x);
            const Out y = qxtest::scaledValue(x, scale, offset);
            std::memcpy(&want[i * sizeof y], &y, sizeof y);
        }
    };
    switch (code) {
    case QxcalcRawUInt8: model(uint8_t{}); break;
    case QxcalcRawInt8: model(int8_t{}); break;
    case QxcalcRawInt16: model(int16_t{}); break;
    case QxcalcRawUInt16: model(uint16_t{}); break;
    case QxcalcRawInt32: model(int32_t{}); break;
    case QxcalcRawFloat: model(float{}); break;
    case QxcalcRawInt64: model(int64_t{}); break;
    case QxcalcRawDouble: model(double{}); break;
    case QxcalcRawUInt32: model(uint32_t{}); break;
    }
    const Params p{raw, reinterpret_cast<Out*>(out.get()), scale, offset, count, code};
    (toAligned ? aligned : plain)(&p);
    if (n > 0 && std::memcmp(out.get(), want.data(), want.size()) != 0) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const uint32_t code = in.ConsumeBool() ? in.ConsumeIntegralInRange(0u, 8u) : in.ConsumeIntegral<uint32_t>();
    const int32_t count = in.ConsumeIntegralInRange(-2, 700);
    if (in.ConsumeBool())
        run<float, ChannelScaleParams_float>(in, code, count, qxcalcChannelGetScaledValuesAtPos_float,
                                             qxcalcChannelGetScaledValuesAtPos_float_aligned_output);
    else
        run<double, ChannelScaleParams_double>(in, code, count, qxcalcChannelGetScaledValuesAtPos_double,
                                               qxcalcChannelGetScaledValuesAtPos_double_aligned_output);
    return 0;
}
