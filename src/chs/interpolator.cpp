// qxcalcCHSInterpolator_{Create,Destroy,InterpolateValues,Reset,Stop}: the
// streaming float sample-rate converter, seen from the host.
//
// Create takes the two rates and the ring length; InterpolateValues appends a
// block to the ring and returns every output it makes computable; Stop repeats
// the newest sample once so that the outputs up to the real last sample come
// out; Reset starts a new stream in the same buffers; Destroy frees it all.
// Each function checks its arguments in a fixed order and returns the first
// failing check's status, having changed nothing. Memory is taken only in
// Create; allocation failures are not reported (no status code exists for
// them).

#include <cstdlib>
#include <cstring>

#include "chs/interpolator.h"

namespace {

using qx::chs::produceOutputs;

// A ring needs at least two slots: the seam reads the slot after the last.
constexpr uint32_t kMinimumRingLength = 2;

// Bytes for `count` floats, saturated so that an absurd request fails in the
// allocator instead of wrapping round to a small block.
std::size_t floatBytes(uint64_t count)
{
    constexpr uint64_t kLimit = static_cast<uint64_t>(SIZE_MAX) / sizeof(float);
    return count > kLimit ? SIZE_MAX : static_cast<std::size_t>(count) * sizeof(float);
}

bool isPowerOfTwoRing(uint32_t length)
{
    return length >= kMinimumRingLength && (length & (length - 1)) == 0;
}

// Appends a block at the ring's write position, wrapping to slot 0 at the
// end. Blocks are at most ringLength - 2 samples, so they wrap at most once.
void appendToRing(CHSInterpolator& s, const float* samples, uint32_t count)
{
    const uint32_t start = static_cast<uint32_t>(s.samplesWritten & s.indexMask);
    const uint32_t roomToEnd = s.ringLength - start;
    const uint32_t beforeWrap = count < roomToEnd ? count : roomToEnd;
    std::memcpy(s.ring + start, samples, floatBytes(beforeWrap));
    std::memcpy(s.ring, samples + beforeWrap, floatBytes(count - beforeWrap));
    s.samplesWritten += count;
}

}  // namespace

extern "C" QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Create(CHSInterpolator** handleOut,
                                                               const CHSInterpolatorParams* params)
{
    if (params == nullptr) return QxcalcStatusInvalidArgument;
    // Ordered comparisons: a NaN rate is not refused.
    if (0.0 >= params->inputRate) return QxcalcStatusInvalidArgument;
    if (0.0 >= params->outputRate) return QxcalcStatusInvalidArgument;
    if (!isPowerOfTwoRing(params->bufferLength)) return QxcalcStatusBadBufferSize;

    // Zero-filled: counters at 0, running state.
    auto* s = static_cast<CHSInterpolator*>(std::calloc(1, sizeof(CHSInterpolator)));
    *handleOut = s;
    s->ratio = params->outputRate / params->inputRate;
    s->inputRate = params->inputRate;
    s->outputRate = params->outputRate;
    s->bufferLength = params->bufferLength;
    s->ringLength = params->bufferLength;

    // The ring starts zero-filled, so slots that a call with a ratio below 1
    // reads ahead of the newest sample hold zeros, not garbage, on the
    // stream's first pass.
    s->ring = static_cast<float*>(std::calloc(s->ringLength, sizeof(float)));
    const double capacity = static_cast<double>(s->bufferLength + 1u) * s->ratio;
    s->outputCapacity = static_cast<uint32_t>(qx::chs::truncateToInt32(capacity));
    // One element more than outputCapacity: with ratios below one third a
    // call can be due one output beyond it.
    s->output = static_cast<float*>(std::malloc(floatBytes(uint64_t{s->outputCapacity} + 1)));
    s->indexMask = s->bufferLength - 1u;
    return QxcalcStatusOk;
}

extern "C" QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Destroy(CHSInterpolator* handle)
{
    if (handle == nullptr) return QxcalcStatusInvalidArgument;
    std::free(handle->ring);
    std::free(handle->output);
    std::free(handle);
    return QxcalcStatusOk;
}

extern "C" QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_InterpolateValues(
    CHSInterpolator* handle, const float* samples, uint32_t count, float** outputOut,
    uint32_t* outputCountOut)
{
    if (count == 0 || handle == nullptr) return QxcalcStatusInvalidArgument;
    // Unsigned: a two-slot ring takes no block at all.
    if (count > handle->ringLength - 2u) return QxcalcStatusTooManyValues;
    if (handle->stopped) return QxcalcStatusStopped;
    appendToRing(*handle, samples, count);
    produceOutputs(*handle, outputOut, outputCountOut);
    return QxcalcStatusOk;
}

extern "C" QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Stop(CHSInterpolator* handle,
                                                             float** outputOut,
                                                             uint32_t* outputCountOut)
{
    if (handle == nullptr) return QxcalcStatusInvalidArgument;
    if (handle->stopped) return QxcalcStatusStopped;
    if (handle->ringLength == kMinimumRingLength) {
        // Nothing was ever accepted into a two-slot ring: only the state changes.
        handle->stopped = 1;
        return QxcalcStatusOk;
    }
    const uint64_t written = handle->samplesWritten;
    const float newest = handle->ring[(written - 1) & handle->indexMask];
    // The repeated newest sample makes the outputs up to the real last sample
    // due, which would otherwise wait for two further samples.
    handle->ring[written & handle->indexMask] = newest;
    handle->samplesWritten = written + 1;
    produceOutputs(*handle, outputOut, outputCountOut);
    handle->stopped = 1;
    return QxcalcStatusOk;
}

extern "C" QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Reset(CHSInterpolator* handle)
{
    if (handle == nullptr) return QxcalcStatusInvalidArgument;
    // Rates, buffers and the ring's contents stay; the stream starts over.
    handle->samplesWritten = 0;
    handle->samplesProduced = 0;
    handle->stopped = 0;
    return QxcalcStatusOk;
}
