// libFuzzer target: an interpolator's life (creation with any rates and ring
// length, blocks of any size and bits, Stop, Reset) against the model, status
// by status and bit by bit; a refused call must leave the outputs untouched.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstring>

#include "support/chs_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const double inputRate = in.ConsumeIntegralInRange(-1, 192000);
    const double outputRate = std::round(std::abs(inputRate) * in.ConsumeFloatingPointInRange(1.0 / 16, 16.0));
    const uint32_t length = in.ConsumeBool() ? 1u << in.ConsumeIntegralInRange(0, 12) : in.ConsumeIntegralInRange(0u, 5000u);
    const CHSInterpolatorParams params{inputRate, outputRate, length};
    CHSInterpolator* h = nullptr;
    const QxcalcStatus created = qxcalcCHSInterpolator_Create(&h, &params);
    if (created != (inputRate <= 0 || outputRate <= 0 ? StatusInvalidArgument : length < 2 || (length & (length - 1)) ? StatusBadBufferSize : StatusOk))
        __builtin_trap();
    if (created != StatusOk) return h == nullptr ? 0 : (__builtin_trap(), 0);
    qxtest::chs::Model model(inputRate, outputRate, length);
    std::vector<float> samples, want;
    float* out;
    uint32_t n;
    const auto agree = [&](QxcalcStatus got, QxcalcStatus expected, bool delivered) {
        if (got != expected || model.exceededCapacity()) __builtin_trap();
        if (got != StatusOk || !delivered) return out == nullptr && n == 0xA5A5A5A5u ? void() : __builtin_trap();
        if (n != want.size() || (n > 0 && std::memcmp(out, want.data(), 4 * n) != 0)) __builtin_trap();
    };
    while (in.remaining_bytes() > 0) {
        out = nullptr, n = 0xA5A5A5A5u;
        const int action = in.ConsumeIntegralInRange(0, 15);
        bool delivered = true;
        if (action == 0) {
            const QxcalcStatus got = qxcalcCHSInterpolator_Stop(h, &out, &n);
            agree(got, model.stop(want, delivered), delivered);
        } else if (action == 1) {
            if (qxcalcCHSInterpolator_Reset(h) != StatusOk) __builtin_trap();
            model.reset();
        } else {
            const uint32_t count = in.ConsumeIntegralInRange(0u, length);
            samples.assign(count, 0.0f);
            if (count > 0) in.ConsumeData(samples.data(), 4 * count);
            const QxcalcStatus got = qxcalcCHSInterpolator_InterpolateValues(h, samples.data(), count, &out, &n);
            agree(got, model.feed(samples.data(), count, want), true);
        }
    }
    return qxcalcCHSInterpolator_Destroy(h) == StatusOk ? 0 : (__builtin_trap(), 0);
}
