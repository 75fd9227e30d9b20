// The CHS interpolator object and the pieces its exports share.
//
// Input samples go into a power-of-two ring: input sample k (counted from 0
// since Create or the last Reset) sits in slot k AND indexMask. Output sample j
// lies at position j / ratio on the input sample axis; the integer part picks
// the ring segment, the fraction t the place within it.
#pragma once

#include <cstdint>

#include "qxcalc.h"
#include "simd/convert.h"

struct CHSInterpolator {
    double inputRate;
    double outputRate;
    uint32_t bufferLength;    // as requested; not read after Create
    float* ring;              // ringLength samples
    uint32_t ringLength;      // the length every operation uses
    uint64_t samplesWritten;  // input samples accepted in this stream
    float* output;            // outputCapacity + 1 samples (see Create)
    uint64_t samplesProduced; // output samples delivered in this stream
    double ratio;             // outputRate / inputRate: outputs per input sample
    uint32_t outputCapacity;  // (bufferLength + 1) * ratio, truncated to int32
    float edgePoints[4];      // points last gathered at the ring's seam
    uint8_t stopped;          // 1 after Stop, until Reset
    uint64_t indexMask;       // ringLength - 1
};

namespace qx::chs {

// Fewer samples than this give no computable output position yet.
constexpr uint64_t kSamplesBeforeFirstOutput = 2;

// Truncation toward zero to signed 32 bits. NaN and out-of-range values give
// INT32_MIN, as the processor's truncating conversion does.
inline int32_t truncateToInt32(double value)
{
    if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(value);
}

// Low 32 bits of a value truncated toward zero to unsigned 64 bits. NaN and
// out-of-range values (reachable only with absurd rates) give 0, the low word
// of the processor's "integer indefinite" result. Values below 2^31 (every
// position of a stream shorter than 2^31 samples) take the 32-bit truncation
// directly, a single SSE instruction even in 32-bit code, where the 64-bit
// one goes through the x87 unit and memory.
inline uint32_t lowWordOfTruncation(double value)
{
    if (value >= 0.0 && value < 2147483648.0) return static_cast<uint32_t>(static_cast<int32_t>(value));
    if (!(value >= 0.0 && value < 18446744073709551616.0)) return 0;
    return static_cast<uint32_t>(static_cast<uint64_t>(value));
}

// Computes every output that the samples written so far allow, from
// samplesProduced on, into `output`; advances samplesProduced and hands out
// the buffer and the count.
void produceOutputs(CHSInterpolator& interpolator, float** outputOut, uint32_t* outputCountOut);

}  // namespace qx::chs
