// Every export called once with small valid arguments pointing into a Scratch record: the 32-bit words a
// __stdcall host pushes for the call, and the same call made by the compiler.
#pragma once

#include <bit>
#include <cstring>
#include <functional>
#include <type_traits>
#include <vector>

#include "qxcalc.h"

namespace qxtest {

enum class Result : uint32_t { Integer = 0, Float = 1, Double = 2 };

// One argument as the host pushes it: a pointer or 32-bit integer in one word, a float in one, a double or
// 64-bit integer in two (low word first).
struct Arg {
    std::vector<uint32_t> w;
    Arg(const void* p) : w{static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p))} {}
    Arg(uint32_t v) : w{v} {}
    Arg(uint64_t v) : w{static_cast<uint32_t>(v), static_cast<uint32_t>(v >> 32)} {}
    Arg(float v) : w{std::bit_cast<uint32_t>(v)} {}
    Arg(double v) : Arg(std::bit_cast<uint64_t>(v)) {}
};

// The words, what comes back, and the call made directly (storing a float, double or status result).
struct Invocation { std::vector<uint32_t> words; Result result; std::function<void(unsigned char* returned)> direct; };

template <class F, class... A>
Invocation invoke(F fn, A... a)
{
    using R = decltype(fn(a...));
    Invocation inv{{}, std::is_same_v<R, float> ? Result::Float : std::is_same_v<R, double> ? Result::Double : Result::Integer, nullptr};
    for (const Arg& arg : {Arg(a)...}) inv.words.insert(inv.words.end(), arg.w.begin(), arg.w.end());
    inv.direct = [=](unsigned char* returned) {
        if constexpr (std::is_arithmetic_v<R>) { const R r = fn(a...); std::memcpy(returned, &r, sizeof r); }
        else fn(a...);
    };
    return inv;
}

// Buffers every call may point into; counts are chosen so that each call is valid and small. The members
// before `iir` hold no pointers.
struct Scratch {
    alignas(32) double d[64] = {};
    alignas(32) float f[64] = {};
    alignas(32) int32_t i32[64] = {};
    alignas(32) int16_t i16[64] = {};
    alignas(32) uint32_t u32[64] = {};
    double sum = 0, sumOfSquares = 0;
    PinkFilterState pink = {};
    IIRFilter iir = {};
    ChannelScaleParams_double channelDouble = {};
    ChannelScaleParams_float channelFloat = {};
    GraphMapping graph = {};
    CHSInterpolator* handle = nullptr;
    float* output = nullptr;
};

struct ExportRow { const char* name; uint32_t argBytes; std::function<Invocation(Scratch&)> call; };  // bytes: the host's table

inline std::vector<ExportRow> exportTable()
{
    return {
        {"qxcalcGetVersion", 16, [](Scratch& s) { return invoke(qxcalcGetVersion, &s.i32[0], &s.i32[1], 10u, &s.i32[2]); }},
        {"qxcalcGetMinMax_double", 16, [](Scratch& s) { return invoke(qxcalcGetMinMax_double, s.d, 9u, &s.d[40], &s.d[41]); }},
        {"qxcalcGetMinMax_float", 16, [](Scratch& s) { return invoke(qxcalcGetMinMax_float, s.f, 9u, &s.f[40], &s.f[41]); }},
        {"qxcalcGetMinMax_int16_t", 16, [](Scratch& s) { return invoke(qxcalcGetMinMax_int16_t, s.i16, 9u, &s.i16[40], &s.i16[41]); }},
        {"qxcalcGetMinMax_int32_t", 16, [](Scratch& s) { return invoke(qxcalcGetMinMax_int32_t, s.i32, 9u, &s.i32[40], &s.i32[41]); }},
        {"qxcalcGetMinMaxAveRMS_double", 32, [](Scratch& s) { return invoke(qxcalcGetMinMaxAveRMS_double, s.d, 9u, &s.d[40], &s.d[41], &s.sum, &s.sumOfSquares, 0.5); }},
        {"qxcalcGetMinMaxAveRMS_float", 28, [](Scratch& s) { return invoke(qxcalcGetMinMaxAveRMS_float, s.f, 9u, &s.f[40], &s.f[41], &s.sum, &s.sumOfSquares, 0.5f); }},
        {"qxcalcGetMinMaxAveRMS_int16_t", 28, [](Scratch& s) { return invoke(qxcalcGetMinMaxAveRMS_int16_t, s.i16, 9u, &s.i16[40], &s.i16[41], &s.sum, &s.sumOfSquares, 0.5f); }},
        {"qxcalcGetMinMaxAveRMS_int32_t", 32, [](Scratch& s) { return invoke(qxcalcGetMinMaxAveRMS_int32_t, s.i32, 9u, &s.i32[40], &s.i32[41], &s.sum, &s.sumOfSquares, 0.5); }},
        {"qxcalcMoveAndGetMinMaxAveRMS_int16_t", 36, [](Scratch& s) { return invoke(qxcalcMoveAndGetMinMaxAveRMS_int16_t, &s.i16[32], s.i16, 9u, &s.i16[50], &s.i16[51], &s.sum, &s.sumOfSquares, 0.5f, 2u); }},
        {"qxcalcConvertInt16ToInt32", 12, [](Scratch& s) { return invoke(qxcalcConvertInt16ToInt32, s.i16, s.i32, 9u); }},
        {"qxcalcConvertInt32ToInt16", 12, [](Scratch& s) { return invoke(qxcalcConvertInt32ToInt16, s.i32, s.i16, 9u); }},
        {"qxcalcMultiplyVectorByScalar_double", 16, [](Scratch& s) { return invoke(qxcalcMultiplyVectorByScalar_double, s.d, 9u, 1.0); }},
        {"qxcalcMultiplyVectorByScalar_float", 12, [](Scratch& s) { return invoke(qxcalcMultiplyVectorByScalar_float, s.f, 9u, 1.0f); }},
        {"qxcalcChannelGetScaledValuesAtPos_double", 4, [](Scratch& s) { s.channelDouble = {s.i16, s.d, 1.0, 0.0, 9, QxcalcRawInt16}; return invoke(qxcalcChannelGetScaledValuesAtPos_double, &s.channelDouble); }},
        {"qxcalcChannelGetScaledValuesAtPos_double_aligned_output", 4, [](Scratch& s) { s.channelDouble = {s.i16, s.d, 1.0, 0.0, 9, QxcalcRawInt16}; return invoke(qxcalcChannelGetScaledValuesAtPos_double_aligned_output, &s.channelDouble); }},
        {"qxcalcChannelGetScaledValuesAtPos_float", 4, [](Scratch& s) { s.channelFloat = {s.i16, s.f, 1.0f, 0.0f, 9, QxcalcRawInt16}; return invoke(qxcalcChannelGetScaledValuesAtPos_float, &s.channelFloat); }},
        {"qxcalcChannelGetScaledValuesAtPos_float_aligned_output", 4, [](Scratch& s) { s.channelFloat = {s.i16, s.f, 1.0f, 0.0f, 9, QxcalcRawInt16}; return invoke(qxcalcChannelGetScaledValuesAtPos_float_aligned_output, &s.channelFloat); }},
        {"qxcalcIIRFilter_double", 12, [](Scratch& s) { s.iir = {}; return invoke(qxcalcIIRFilter_double, &s.iir, 2.0); }},
        {"qxcalcIIRFilter_float", 8, [](Scratch& s) { s.iir = {}; return invoke(qxcalcIIRFilter_float, &s.iir, 2.0f); }},
        {"qxcalcPinkFilter_double", 12, [](Scratch& s) { return invoke(qxcalcPinkFilter_double, &s.pink, 1.0); }},
        {"qxcalcFIRFilter_float", 16, [](Scratch& s) { return invoke(qxcalcFIRFilter_float, s.f, &s.f[32], 9u, 3u); }},
        {"qxcalcCACalcAveFilter_double", 16, [](Scratch& s) { return invoke(qxcalcCACalcAveFilter_double, s.d, &s.d[32], 3u, 9u); }},
        {"qxcalcCACalcAveFilter_double_scalar", 16, [](Scratch& s) { return invoke(qxcalcCACalcAveFilter_double_scalar, s.d, &s.d[32], 3u, 9u); }},
        {"qxcalcCACalcFilter_float", 16, [](Scratch& s) { return invoke(qxcalcCACalcFilter_float, &s.f[20], 9u, &s.f[32], 1u); }},
        {"qxcalcCACalcFilter_int16_t", 16, [](Scratch& s) { return invoke(qxcalcCACalcFilter_int16_t, &s.i16[20], 9u, &s.f[32], 1u); }},
        {"qxcalcCACalcFilter_int32_t", 16, [](Scratch& s) { return invoke(qxcalcCACalcFilter_int32_t, &s.i32[20], 9u, &s.f[32], 1u); }},
        {"qxcalcCAPV_lin", 28, [](Scratch& s) { return invoke(qxcalcCAPV_lin, s.f, 9u, s.i32, 0u, 100u, 1.0f, 0.0f); }},
        {"qxcalcCAPV_log", 32, [](Scratch& s) { return invoke(qxcalcCAPV_log, s.f, 9u, s.i32, 0u, 100u, 1.0f, 0.0f, 1.0f); }},
        {"qxCalcCACopyRawDataToChannels", 28, [](Scratch& s) { return invoke(qxCalcCACopyRawDataToChannels, s.f, &s.f[32], 0u, 9u, 0.0f, &s.f[50], s.u32); }},
        {"qxcalcCADoubleArrToSingleArrInplace", 8, [](Scratch& s) { return invoke(qxcalcCADoubleArrToSingleArrInplace, s.d, 9u); }},
        {"qxcalcCASingleArrToDoubleArrInplace", 8, [](Scratch& s) { return invoke(qxcalcCASingleArrToDoubleArrInplace, s.d, 9u); }},
        {"qxCalcCAOverallPressure", 28, [](Scratch& s) { return invoke(qxCalcCAOverallPressure, s.f, &s.f[16], 0u, 9u, uint64_t{1}, &s.f[50]); }},
        {"qxCalcCARunningVal", 36, [](Scratch& s) { return invoke(qxCalcCARunningVal, s.f, &s.f[16], &s.f[32], &s.f[48], 0u, 8u, uint64_t{1}, 4u); }},
        {"qxcalcGetXYValGraph2D", 4, [](Scratch& s) {
             s.graph = {};
             s.graph.pointsLeft = 1, s.graph.right = s.graph.bottom = 100, s.graph.xMax = s.graph.yMax = s.graph.yScale = 1.0;
             s.graph.ySamples = s.d, s.graph.xPixelsOut = s.i32, s.graph.yPixelsOut = &s.i32[4], s.graph.pointCountOut = s.u32;
             return invoke(qxcalcGetXYValGraph2D, &s.graph); }},
        {"qxcalcFindCursorXY", 40, [](Scratch& s) { return invoke(qxcalcFindCursorXY, &s.u32[4], 16u, 4u, 2u, 1u, 1u, &s.u32[40], &s.i32[40], &s.i32[41], 0u); }},
        {"qxcalcCHSInterpolator_Create", 8, [](Scratch& s) { return invoke(qxcalcCHSInterpolator_Create, &s.handle, nullptr); }},
        {"qxcalcCHSInterpolator_Destroy", 4, [](Scratch&) { return invoke(qxcalcCHSInterpolator_Destroy, nullptr); }},
        {"qxcalcCHSInterpolator_InterpolateValues", 20, [](Scratch& s) { return invoke(qxcalcCHSInterpolator_InterpolateValues, nullptr, s.f, 4u, &s.output, s.u32); }},
        {"qxcalcCHSInterpolator_Reset", 4, [](Scratch&) { return invoke(qxcalcCHSInterpolator_Reset, nullptr); }},
        {"qxcalcCHSInterpolator_Stop", 12, [](Scratch& s) { return invoke(qxcalcCHSInterpolator_Stop, nullptr, &s.output, s.u32); }},
    };
}

}  // namespace qxtest
