// The i386 binary interface of every export: called through a plain
// stack of 32-bit words with the stack misaligned by 0, 4, 8 and 12 bytes,
// each export must pop exactly its argument bytes, return its float/double
// on the x87 stack, and leave the SSE control bits and the x87 control word
// as the caller set them. The argument sizes are the host's table.
#include <gtest/gtest.h>

#if QXCALC_TEST_STDCALL_ABI

#include <dlfcn.h>
#include <xmmintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "qxcalc.h"

extern "C" void qxtestCallStdcall(const void* function, const uint32_t* words, uint32_t wordCount,
                                  uint32_t stackAdjust, uint32_t resultKind, void* result, int32_t* drift);

namespace {

enum class Result : uint32_t { Integer = 0, Float = 1, Double = 2 };

// One argument as the host pushes it: a pointer or 32-bit integer in one
// word, a float in one, a double in two (low word first).
struct Arg {
    std::vector<uint32_t> w;
    Arg(const void* p) : w{static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p))} {}
    Arg(uint32_t v) : w{v} {}
    Arg(float v) : w{std::bit_cast<uint32_t>(v)} {}
    Arg(double v) : w{static_cast<uint32_t>(std::bit_cast<uint64_t>(v)), static_cast<uint32_t>(std::bit_cast<uint64_t>(v) >> 32)} {}
};
using Words = std::vector<uint32_t>;
Words args(std::initializer_list<Arg> list)
{
    Words words;
    for (const Arg& a : list) words.insert(words.end(), a.w.begin(), a.w.end());
    return words;
}

// Buffers every call may point into; counts are chosen so that each call is
// valid and small.
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
    CHSInterpolatorParams chsParams = {48000.0, 44100.0, 64};
    void* pointerOut = nullptr;
};

struct ExportRow {
    const char* name;
    uint32_t argBytes;
    Result result;
    std::function<Words(Scratch&)> args;
};

std::vector<ExportRow> exportTable()
{
    return {
        {"qxcalcGetVersion", 16, Result::Integer, [](Scratch& s) { return args({&s.i32[0], &s.i32[1], 10u, &s.i32[2]}); }},
        {"qxcalcGetMinMax_double", 16, Result::Integer, [](Scratch& s) { return args({s.d, 9u, &s.d[40], &s.d[41]}); }},
        {"qxcalcGetMinMax_float", 16, Result::Integer, [](Scratch& s) { return args({s.f, 9u, &s.f[40], &s.f[41]}); }},
        {"qxcalcGetMinMax_int16_t", 16, Result::Integer, [](Scratch& s) { return args({s.i16, 9u, &s.i16[40], &s.i16[41]}); }},
        {"qxcalcGetMinMax_int32_t", 16, Result::Integer, [](Scratch& s) { return args({s.i32, 9u, &s.i32[40], &s.i32[41]}); }},
        {"qxcalcGetMinMaxAveRMS_double", 32, Result::Integer, [](Scratch& s) { return args({s.d, 9u, &s.d[40], &s.d[41], &s.sum, &s.sumOfSquares, 0.5}); }},
        {"qxcalcGetMinMaxAveRMS_float", 28, Result::Integer, [](Scratch& s) { return args({s.f, 9u, &s.f[40], &s.f[41], &s.sum, &s.sumOfSquares, 0.5f}); }},
        {"qxcalcGetMinMaxAveRMS_int16_t", 28, Result::Integer, [](Scratch& s) { return args({s.i16, 9u, &s.i16[40], &s.i16[41], &s.sum, &s.sumOfSquares, 0.5f}); }},
        {"qxcalcGetMinMaxAveRMS_int32_t", 32, Result::Integer, [](Scratch& s) { return args({s.i32, 9u, &s.i32[40], &s.i32[41], &s.sum, &s.sumOfSquares, 0.5}); }},
        {"qxcalcMoveAndGetMinMaxAveRMS_int16_t", 36, Result::Integer, [](Scratch& s) { return args({&s.i16[32], s.i16, 9u, &s.i16[50], &s.i16[51], &s.sum, &s.sumOfSquares, 0.5f, 2u}); }},
        {"qxcalcConvertInt16ToInt32", 12, Result::Integer, [](Scratch& s) { return args({s.i16, s.i32, 9u}); }},
        {"qxcalcConvertInt32ToInt16", 12, Result::Integer, [](Scratch& s) { return args({s.i32, s.i16, 9u}); }},
        {"qxcalcMultiplyVectorByScalar_double", 16, Result::Integer, [](Scratch& s) { return args({s.d, 9u, 1.0}); }},
        {"qxcalcMultiplyVectorByScalar_float", 12, Result::Integer, [](Scratch& s) { return args({s.f, 9u, 1.0f}); }},
        {"qxcalcChannelGetScaledValuesAtPos_double", 4, Result::Integer, [](Scratch& s) { s.channelDouble = {s.i16, s.d, 1.0, 0.0, 9, Int16}; return args({&s.channelDouble}); }},
        {"qxcalcChannelGetScaledValuesAtPos_double_aligned_output", 4, Result::Integer, [](Scratch& s) { s.channelDouble = {s.i16, s.d, 1.0, 0.0, 9, Int16}; return args({&s.channelDouble}); }},
        {"qxcalcChannelGetScaledValuesAtPos_float", 4, Result::Integer, [](Scratch& s) { s.channelFloat = {s.i16, s.f, 1.0f, 0.0f, 9, Int16}; return args({&s.channelFloat}); }},
        {"qxcalcChannelGetScaledValuesAtPos_float_aligned_output", 4, Result::Integer, [](Scratch& s) { s.channelFloat = {s.i16, s.f, 1.0f, 0.0f, 9, Int16}; return args({&s.channelFloat}); }},
        {"qxcalcIIRFilter_double", 12, Result::Double, [](Scratch& s) { s.iir = {}; return args({&s.iir, 2.0}); }},
        {"qxcalcIIRFilter_float", 8, Result::Float, [](Scratch& s) { s.iir = {}; return args({&s.iir, 2.0f}); }},
        {"qxcalcPinkFilter_double", 12, Result::Double, [](Scratch& s) { return args({&s.pink, 1.0}); }},
        {"qxcalcFIRFilter_float", 16, Result::Float, [](Scratch& s) { return args({s.f, &s.f[32], 9u, 3u}); }},
        {"qxcalcCACalcAveFilter_double", 16, Result::Integer, [](Scratch& s) { return args({s.d, &s.d[32], 3u, 9u}); }},
        {"qxcalcCACalcAveFilter_double_scalar", 16, Result::Integer, [](Scratch& s) { return args({s.d, &s.d[32], 3u, 9u}); }},
        {"qxcalcCACalcFilter_float", 16, Result::Float, [](Scratch& s) { return args({&s.f[20], 9u, &s.f[32], 1u}); }},
        {"qxcalcCACalcFilter_int16_t", 16, Result::Float, [](Scratch& s) { return args({&s.i16[20], 9u, &s.f[32], 1u}); }},
        {"qxcalcCACalcFilter_int32_t", 16, Result::Float, [](Scratch& s) { return args({&s.i32[20], 9u, &s.f[32], 1u}); }},
        {"qxcalcCAPV_lin", 28, Result::Integer, [](Scratch& s) { return args({s.f, 9u, s.i32, 0u, 100u, 1.0f, 0.0f}); }},
        {"qxcalcCAPV_log", 32, Result::Integer, [](Scratch& s) { return args({s.f, 9u, s.i32, 0u, 100u, 1.0f, 0.0f, 1.0f}); }},
        {"qxCalcCACopyRawDataToChannels", 28, Result::Integer, [](Scratch& s) { return args({s.f, &s.f[32], 0u, 9u, 0.0f, &s.f[50], s.u32}); }},
        {"qxcalcCADoubleArrToSingleArrInplace", 8, Result::Integer, [](Scratch& s) { return args({s.d, 9u}); }},
        {"qxcalcCASingleArrToDoubleArrInplace", 8, Result::Integer, [](Scratch& s) { return args({s.d, 9u}); }},
        {"qxCalcCAOverallPressure", 28, Result::Integer, [](Scratch& s) { return args({s.f, &s.f[16], 0u, 9u, 1u, 0u, &s.f[50]}); }},
        {"qxCalcCARunningVal", 36, Result::Integer, [](Scratch& s) { return args({s.f, &s.f[16], &s.f[32], &s.f[48], 0u, 8u, 1u, 0u, 4u}); }},
        {"qxcalcGetXYValGraph2D", 4, Result::Integer, [](Scratch& s) {
             s.graph = {};
             s.graph.pointsLeft = 1;
             s.graph.right = 100;
             s.graph.bottom = 100;
             s.graph.xMax = s.graph.yMax = s.graph.yScale = 1.0;
             s.graph.ySamples = s.d;
             s.graph.xPixelsOut = s.i32;
             s.graph.yPixelsOut = &s.i32[4];
             s.graph.pointCountOut = s.u32;
             return args({&s.graph});
         }},
        {"qxcalcFindCursorXY", 40, Result::Integer, [](Scratch& s) { return args({&s.u32[4], 16u, 4u, 2u, 1u, 1u, &s.u32[40], &s.i32[40], &s.i32[41], 0u}); }},
        {"qxcalcCHSInterpolator_Create", 8, Result::Integer, [](Scratch& s) { return args({&s.pointerOut, nullptr}); }},
        {"qxcalcCHSInterpolator_Destroy", 4, Result::Integer, [](Scratch&) { return args({nullptr}); }},
        {"qxcalcCHSInterpolator_InterpolateValues", 20, Result::Integer, [](Scratch& s) { return args({nullptr, s.f, 4u, &s.pointerOut, s.u32}); }},
        {"qxcalcCHSInterpolator_Reset", 4, Result::Integer, [](Scratch&) { return args({nullptr}); }},
        {"qxcalcCHSInterpolator_Stop", 12, Result::Integer, [](Scratch& s) { return args({nullptr, &s.pointerOut, s.u32}); }},
    };
}

uint16_t x87ControlWord()
{
    uint16_t cw;
    asm volatile("fnstcw %0" : "=m"(cw));
    return cw;
}

void setX87ControlWord(uint16_t cw) { asm volatile("fldcw %0" : : "m"(cw)); }

constexpr uint32_t kMxcsrControlBits = ~0x3Fu;  // everything but the sticky exception flags

TEST(StdcallAbi, TableListsFortyOneExports) { EXPECT_EQ(exportTable().size(), 41u); }

TEST(StdcallAbi, EveryExportPopsItsArgumentsAtAnyStackAlignment)
{
    for (const ExportRow& row : exportTable()) {
        void* function = dlsym(RTLD_DEFAULT, row.name);
        if (!function) {
            ADD_FAILURE() << row.name << " is not exported";
            continue;
        }
        for (uint32_t misalign = 0; misalign < 16; misalign += 4) {
            Scratch scratch;
            const Words words = row.args(scratch);
            ASSERT_EQ(words.size() * 4, row.argBytes) << row.name << ": argument list of the test";
            const auto count = static_cast<uint32_t>(words.size());
            const uint32_t adjust = (64 - misalign - 4 * count % 16) % 16;
            // A caller's unusual but valid control settings: round toward
            // zero with flush-to-zero in SSE, 53-bit precision on x87.
            const uint32_t callerMxcsr = (_mm_getcsr() & ~0x6000u) | 0x6000u | 0x8000u;
            const uint16_t callerCw = static_cast<uint16_t>((x87ControlWord() & ~0x0300u) | 0x0200u);
            const uint32_t savedMxcsr = _mm_getcsr();
            const uint16_t savedCw = x87ControlWord();
            _mm_setcsr(callerMxcsr);
            setX87ControlWord(callerCw);
            alignas(8) unsigned char result[8] = {};
            int32_t drift = -1;
            qxtestCallStdcall(function, words.data(), count, adjust, static_cast<uint32_t>(row.result), result, &drift);
            const uint32_t mxcsrAfter = _mm_getcsr();
            const uint16_t cwAfter = x87ControlWord();
            _mm_setcsr(savedMxcsr);
            setX87ControlWord(savedCw);
            EXPECT_EQ(drift, 0) << row.name << " with the stack misaligned by " << misalign;
            EXPECT_EQ(mxcsrAfter & kMxcsrControlBits, callerMxcsr & kMxcsrControlBits) << row.name;
            EXPECT_EQ(cwAfter, callerCw) << row.name;
        }
    }
}

}  // namespace

#endif  // QXCALC_TEST_STDCALL_ABI
