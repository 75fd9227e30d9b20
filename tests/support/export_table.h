// Every export called once with small valid arguments pointing into a Scratch record: the 32-bit words a
// __stdcall host pushes for the call, and the same call made by the compiler.
#pragma once

#include <bit>
#include <cstring>
#include <functional>
#include <tuple>
#include <type_traits>
#include <vector>

#include "qxcalc.hpp"

namespace qxtest {

enum class Result : uint32_t { Integer = 0, Float = 1, Double = 2 };

// An argument as the host pushes it: a pointer, 32-bit integer or float in one word, a double or 64-bit integer in two.
struct Arg {
    std::vector<uint32_t> w;
    Arg(const void* p) : w{static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p))} {}
    Arg(uint32_t v) : w{v} {}
    Arg(uint64_t v) : w{static_cast<uint32_t>(v), static_cast<uint32_t>(v >> 32)} {}
    Arg(float v) : w{std::bit_cast<uint32_t>(v)} {}
    Arg(double v) : Arg(std::bit_cast<uint64_t>(v)) {}
};

// The words, what comes back, and the call made directly (storing a float, double or status result).
struct Invocation {
    std::vector<uint32_t> words;
    Result result;
    std::function<void(unsigned char* returned)> direct;
};

template <class F, class... A>
Invocation invoke(F fn, A... a)
{
    using R = decltype(fn(a...));
    const auto result = static_cast<Result>(std::is_same_v<R, float> + 2 * std::is_same_v<R, double>);
    Invocation inv{{}, result, nullptr};
    for (const Arg& arg : {Arg(a)...}) inv.words.insert(inv.words.end(), arg.w.begin(), arg.w.end());
    inv.direct = [=](unsigned char* returned) {
        if constexpr (std::is_arithmetic_v<R>) {
            const R r = fn(a...);
            std::memcpy(returned, &r, sizeof r);
        } else {
            fn(a...);
        }
    };
    return inv;
}

// Buffers the calls point into (counts keep each call valid and small); the members before `iir` hold no pointers.
struct Scratch {
    alignas(32) double d[64] = {};
    alignas(32) float f[64] = {};
    alignas(32) int32_t i32[64] = {};
    alignas(32) int16_t i16[64] = {};
    alignas(32) uint32_t u32[64] = {};
    double sum = 0, sumOfSquares = 0;
    PinkFilterState pink = {};
    IIRFilter iir = {};
    ChannelScaleParams_double channelDouble = {i16, d, 1.0, 0.0, 9, QxcalcRawInt16};  // int16 samples scaled into d
    ChannelScaleParams_float channelFloat = {i16, f, 1.0f, 0.0f, 9, QxcalcRawInt16};
    GraphMapping graph = {};
    CHSInterpolator* handle = nullptr;
    float* output = nullptr;
    ChannelScaleParams_double* channel(double) { return &channelDouble; }
    ChannelScaleParams_float* channel(float) { return &channelFloat; }
};

// The calls of the families with an export per sample type, through the C++ layer's table of them.
template <class T>
struct TypedCalls {
    using Exports = qxcalc::Exports<T>;
    using OtherWidth = TypedCalls<std::conditional_t<sizeof(T) == 2, int32_t, int16_t>>;  // convertWidth's destination
    static T* x(Scratch& s) { return std::get<T*>(std::tuple(s.d, s.f, s.i32, s.i16)); }  // the block of T samples
    static Invocation getMinMax(Scratch& s) { return invoke(Exports::getMinMax, x(s), 9u, &x(s)[40], &x(s)[41]); }
    static Invocation getMinMaxAveRMS(Scratch& s)
    {
        const qxcalc::StatisticsOffset<T> offset = 0.5;
        return invoke(Exports::getMinMaxAveRMS, x(s), 9u, &x(s)[40], &x(s)[41], &s.sum, &s.sumOfSquares, offset);
    }
    static Invocation multiply(Scratch& s) { return invoke(Exports::multiplyVectorByScalar, x(s), 9u, T(1)); }
    static Invocation iirFilter(Scratch& s) { return invoke(Exports::iirFilter, &s.iir, T(2)); }
    static Invocation caCalcFilter(Scratch& s) { return invoke(Exports::caCalcFilter, &x(s)[20], 9u, &s.f[32], 1u); }
    static Invocation convertWidth(Scratch& s) { return invoke(Exports::convertWidth, x(s), OtherWidth::x(s), 9u); }
    static Invocation caConvertInplace(Scratch& s) { return invoke(Exports::caConvertInplace, s.d, 9u); }
    static Invocation scale(Scratch& s) { return invoke(Exports::channelGetScaledValuesAtPos, s.channel(T())); }
    static Invocation scaleAligned(Scratch& s)
    {
        return invoke(Exports::channelGetScaledValuesAtPosAlignedOutput, s.channel(T()));
    }
};

// Each export by its name, with the argument bytes of the host's table; the call takes the Scratch.
struct ExportRow {
    const char* name;
    uint32_t argBytes;
    std::function<Invocation(Scratch&)> call;
};

inline std::vector<ExportRow> exportTable()
{
    return {
        {"qxcalcGetVersion", 16, [](auto& s) { return invoke(qxcalcGetVersion, s.i32, &s.i32[1], 10u, &s.i32[2]); }},
        {"qxcalcGetMinMax_double", 16, TypedCalls<double>::getMinMax},
        {"qxcalcGetMinMax_float", 16, TypedCalls<float>::getMinMax},
        {"qxcalcGetMinMax_int16_t", 16, TypedCalls<int16_t>::getMinMax},
        {"qxcalcGetMinMax_int32_t", 16, TypedCalls<int32_t>::getMinMax},
        {"qxcalcGetMinMaxAveRMS_double", 32, TypedCalls<double>::getMinMaxAveRMS},
        {"qxcalcGetMinMaxAveRMS_float", 28, TypedCalls<float>::getMinMaxAveRMS},
        {"qxcalcGetMinMaxAveRMS_int16_t", 28, TypedCalls<int16_t>::getMinMaxAveRMS},
        {"qxcalcGetMinMaxAveRMS_int32_t", 32, TypedCalls<int32_t>::getMinMaxAveRMS},
        {"qxcalcMoveAndGetMinMaxAveRMS_int16_t", 36,
         [](auto& s) {
             return invoke(qxcalcMoveAndGetMinMaxAveRMS_int16_t, &s.i16[32], s.i16, 9u, &s.i16[50], &s.i16[51], &s.sum,
                           &s.sumOfSquares, 0.5f, 2u);
         }},
        {"qxcalcConvertInt16ToInt32", 12, TypedCalls<int16_t>::convertWidth},
        {"qxcalcConvertInt32ToInt16", 12, TypedCalls<int32_t>::convertWidth},
        {"qxcalcMultiplyVectorByScalar_double", 16, TypedCalls<double>::multiply},
        {"qxcalcMultiplyVectorByScalar_float", 12, TypedCalls<float>::multiply},
        {"qxcalcChannelGetScaledValuesAtPos_double", 4, TypedCalls<double>::scale},
        {"qxcalcChannelGetScaledValuesAtPos_double_aligned_output", 4, TypedCalls<double>::scaleAligned},
        {"qxcalcChannelGetScaledValuesAtPos_float", 4, TypedCalls<float>::scale},
        {"qxcalcChannelGetScaledValuesAtPos_float_aligned_output", 4, TypedCalls<float>::scaleAligned},
        {"qxcalcIIRFilter_double", 12, TypedCalls<double>::iirFilter},
        {"qxcalcIIRFilter_float", 8, TypedCalls<float>::iirFilter},
        {"qxcalcPinkFilter_double", 12, [](auto& s) { return invoke(qxcalcPinkFilter_double, &s.pink, 1.0); }},
        {"qxcalcFIRFilter_float", 16, [](auto& s) { return invoke(qxcalcFIRFilter_float, s.f, &s.f[32], 9u, 3u); }},
        {"qxcalcCACalcAveFilter_double", 16,
         [](auto& s) { return invoke(qxcalcCACalcAveFilter_double, s.d, &s.d[32], 3u, 9u); }},
        {"qxcalcCACalcAveFilter_double_scalar", 16,
         [](auto& s) { return invoke(qxcalcCACalcAveFilter_double_scalar, s.d, &s.d[32], 3u, 9u); }},
        {"qxcalcCACalcFilter_float", 16, TypedCalls<float>::caCalcFilter},
        {"qxcalcCACalcFilter_int16_t", 16, TypedCalls<int16_t>::caCalcFilter},
        {"qxcalcCACalcFilter_int32_t", 16, TypedCalls<int32_t>::caCalcFilter},
        {"qxcalcCAPV_lin", 28, [](auto& s) { return invoke(qxcalcCAPV_lin, s.f, 9u, s.i32, 0u, 100u, 1.0f, 0.0f); }},
        {"qxcalcCAPV_log", 32,
         [](auto& s) { return invoke(qxcalcCAPV_log, s.f, 9u, s.i32, 0u, 100u, 1.0f, 0.0f, 1.0f); }},
        {"qxCalcCACopyRawDataToChannels", 28,
         [](auto& s) { return invoke(qxCalcCACopyRawDataToChannels, s.f, &s.f[32], 0u, 9u, 0.0f, &s.f[50], s.u32); }},
        {"qxcalcCADoubleArrToSingleArrInplace", 8, TypedCalls<double>::caConvertInplace},
        {"qxcalcCASingleArrToDoubleArrInplace", 8, TypedCalls<float>::caConvertInplace},
        {"qxCalcCAOverallPressure", 28,
         [](auto& s) { return invoke(qxCalcCAOverallPressure, s.f, &s.f[16], 0u, 9u, uint64_t{1}, &s.f[50]); }},
        {"qxCalcCARunningVal", 36,
         [](auto& s) {
             return invoke(qxCalcCARunningVal, s.f, &s.f[16], &s.f[32], &s.f[48], 0u, 8u, uint64_t{1}, 4u);
         }},
        {"qxcalcGetXYValGraph2D", 4,
         [](auto& s) {
             s.graph.pointsLeft = 1;
             s.graph.right = s.graph.bottom = 100;
             s.graph.xMax = s.graph.yMax = s.graph.yScale = 1.0;
             s.graph.ySamples = s.d;
             s.graph.xPixelsOut = s.i32;
             s.graph.yPixelsOut = &s.i32[4];
             s.graph.pointCountOut = s.u32;
             return invoke(qxcalcGetXYValGraph2D, &s.graph);
         }},
        {"qxcalcFindCursorXY", 40,
         [](auto& s) {
             return invoke(qxcalcFindCursorXY, &s.u32[4], 16u, 4u, 2u, 1u, 1u, &s.u32[40], &s.i32[40], &s.i32[41], 0u);
         }},
        {"qxcalcCHSInterpolator_Create", 8,
         [](auto& s) { return invoke(qxcalcCHSInterpolator_Create, &s.handle, nullptr); }},
        {"qxcalcCHSInterpolator_Destroy", 4, [](auto&) { return invoke(qxcalcCHSInterpolator_Destroy, nullptr); }},
        {"qxcalcCHSInterpolator_InterpolateValues", 20,
         [](auto& s) { return invoke(qxcalcCHSInterpolator_InterpolateValues, nullptr, s.f, 4u, &s.output, s.u32); }},
        {"qxcalcCHSInterpolator_Reset", 4, [](auto&) { return invoke(qxcalcCHSInterpolator_Reset, nullptr); }},
        {"qxcalcCHSInterpolator_Stop", 12,
         [](auto& s) { return invoke(qxcalcCHSInterpolator_Stop, nullptr, &s.output, s.u32); }},
    };
}

}  // namespace qxtest
