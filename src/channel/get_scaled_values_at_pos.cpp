// qxcalcChannelGetScaledValuesAtPos_{double,float}[_aligned_output]: count
// raw samples from params->rawData, of the format params->sampleType, into
// output[i] = sample * scale + offset (see channel/scale_values.h for the
// arithmetic and the paths).
//
// The caller guarantees valid buffers of count samples and count values,
// naturally aligned, not overlapping unless they are the very same buffer
// with samples of the output's own type (in place); the _aligned_output
// forms also get a 32-byte aligned output. A code above 8, or count <= 0,
// writes nothing. The record is read once and never written.

#include <type_traits>

#include "channel/scale_values.h"
#include "qxcalc.h"

namespace qx::channel {
namespace {

template <class Out, Output output, class Params>
void getScaledValuesAtPos(const Params* params)
{
    const uint32_t type = params->sampleType;
    const int32_t count = params->count;
    const Out scale = params->scale, offset = params->offset;
    const void* raw = params->rawData;
    Out* out = params->output;
    if (type > QxcalcRawUInt32 || count <= 0) return;

    auto scaleAs = [&]<class Raw>(std::type_identity<Raw>) {
        using W = Work<Raw, Out>;
        scaleValues<Raw, Out, output>(static_cast<const Raw*>(raw), out, static_cast<uint32_t>(count),
                                      Scaling<W>{static_cast<W>(scale), static_cast<W>(offset)});
    };
    switch (type) {
    case QxcalcRawUInt8: return scaleAs(std::type_identity<uint8_t>{});
    case QxcalcRawInt8: return scaleAs(std::type_identity<int8_t>{});
    case QxcalcRawInt16: return scaleAs(std::type_identity<int16_t>{});
    case QxcalcRawUInt16: return scaleAs(std::type_identity<uint16_t>{});
    case QxcalcRawInt32: return scaleAs(std::type_identity<int32_t>{});
    case QxcalcRawFloat: return scaleAs(std::type_identity<float>{});
    case QxcalcRawInt64: return scaleAs(std::type_identity<int64_t>{});
    case QxcalcRawDouble: return scaleAs(std::type_identity<double>{});
    default: return scaleAs(std::type_identity<uint32_t>{});
    }
}

}  // namespace
}  // namespace qx::channel

extern "C" {

using qx::channel::Output;

void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_double(const ChannelScaleParams_double* params)
{
    qx::channel::getScaledValuesAtPos<double, Output::Natural>(params);
}

void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_double_aligned_output(const ChannelScaleParams_double* params)
{
    qx::channel::getScaledValuesAtPos<double, Output::Aligned32>(params);
}

void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_float(const ChannelScaleParams_float* params)
{
    qx::channel::getScaledValuesAtPos<float, Output::Natural>(params);
}

void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_float_aligned_output(const ChannelScaleParams_float* params)
{
    qx::channel::getScaledValuesAtPos<float, Output::Aligned32>(params);
}

}  // extern "C"
