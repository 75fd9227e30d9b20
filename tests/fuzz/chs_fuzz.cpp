// libFuzzer target: an interpolator's life (any rates within 1/16..16 of each other, any ring, blocks of any
// size and bits, Stop, Reset) against the model, status by status and bit by bit; a refused call must leave the
// outputs untouched.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstring>

#include "support/chs_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const double inputRate = in.ConsumeIntegralInRange(16, 192000);
    const double outputRate = std::round(inputRate * in.ConsumeFloatingPointInRange(1.0 / 16, 16.0));
    const CHSInterpolatorParams params{inputRate, outputRate, 2u << in.ConsumeIntegralInRange(0, 11)};
    const uint32_t length = params.bufferLength;
    CHSInterpolator* h = nullptr;
    if (qxcalcCHSInterpolator_Create(&h, &params) != QxcalcStatusOk) __builtin_trap();
    qxtest::chs::Model model(inputRate, outputRate, length);
    std::vector<float> samples, want;
    while (in.remaining_bytes() > 0) {
        float* out = nullptr;
        uint32_t n = 0xA5A5A5A5u;
        const uint32_t action = in.ConsumeIntegralInRange(0, 15);
        const uint32_t count = in.ConsumeIntegralInRange(0u, length);
        bool delivered = true;
        QxcalcStatus got, expected;
        if (action == 0) {
            got = qxcalcCHSInterpolator_Stop(h, &out, &n);
            expected = model.stop(want, delivered);
        } else if (action == 1) {
            got = qxcalcCHSInterpolator_Reset(h);
            expected = QxcalcStatusOk;
            delivered = false;
            model.reset();
        } else {
            samples.assign(count + 1, 0.0f);
            in.ConsumeData(samples.data(), 4 * count);
            got = qxcalcCHSInterpolator_InterpolateValues(h, samples.data(), count, &out, &n);
            expected = model.feed(samples.data(), count, want);
        }
        if (got != expected || model.exceededCapacity()) __builtin_trap();
        if (got != QxcalcStatusOk || !delivered) {
            if (out != nullptr || n != 0xA5A5A5A5u) __builtin_trap();  // outputs written
        } else if (n != want.size() || (n > 0 && std::memcmp(out, want.data(), 4 * n) != 0)) {
            __builtin_trap();
        }
    }
    if (qxcalcCHSInterpolator_Destroy(h) != QxcalcStatusOk) __builtin_trap();
    return 0;
}
