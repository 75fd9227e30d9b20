// What every export promises its caller beyond its results: it leaves the floating-point controls (rounding,
// exception masks, flush-to-zero, denormals-are-zero; on x86 also the x87 control word) as the caller set them,
// under any such settings; input it refuses writes nothing; and on i386, called through a plain stack of 32-bit
// words misaligned by 0, 4, 8 and 12 bytes, it pops exactly its argument bytes.
#include <gtest/gtest.h>

#include <array>
#include <cfenv>
#include <cstdlib>

#include "support/export_table.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

using namespace qxtest;

namespace {

// The floating-point controls, read or set together: on x86 the SSE control/status register and the x87 control
// word; on AArch64 the FPCR (its status flags live apart, in the FPSR), where one bit flushes inputs and results
// to zero together and exception traps may be unsupported (then they read back as masked).
struct Controls {
#if defined(__x86_64__) || defined(__i386__)
    uint32_t mxcsr;
    uint16_t cw;
    static Controls read()
    {
        Controls c{_mm_getcsr(), 0};
        asm volatile("fnstcw %0" : "=m"(c.cw));
        return c;
    }
    void set() const
    {
        _mm_setcsr(mxcsr);
        asm volatile("fldcw %0" : : "m"(cw));
    }
    // Rounding `mode` (0 nearest, 1 down, 2 up, 3 toward zero), flush-to-zero and denormals-are-zero, the denormal
    // and divide-by-zero exceptions unmasked; x87: 53-bit precision.
    static Controls of(uint32_t mode, bool flush, bool unmasked)
    {
        const uint32_t csr = (0x1F80u | mode << 13 | (flush ? 0x8040u : 0)) & ~(unmasked ? 0x0300u : 0);
        return {csr, static_cast<uint16_t>(0x027F | mode << 10)};
    }
    // Equal but for the sticky exception flags.
    bool operator==(const Controls& o) const { return (mxcsr & ~0x3Fu) == o.mxcsr && cw == o.cw; }
#else
    uint64_t fpcr;
    static Controls read()
    {
        Controls c;
        asm volatile("mrs %0, fpcr" : "=r"(c.fpcr));
        return c;
    }
    void set() const { asm volatile("msr fpcr, %0" : : "r"(fpcr)); }
    static Controls of(uint32_t mode, bool flush, bool unmasked)
    {
        const uint64_t rmode[4] = {0, 2, 1, 3};  // nearest, toward minus and plus infinity, toward zero
        return {rmode[mode] << 22 | (flush ? 1u << 24 : 0) | (unmasked ? 0x8200u : 0)};
    }
    bool operator==(const Controls& o) const { return fpcr == o.fpcr; }
#endif
};

// QXTEST_ROUNDING=1, 2 or 3 runs the whole program rounding down, up or toward zero, so that every sweep compares
// its export with its model in that mode too.
struct RoundingFromEnvironment : ::testing::Environment {
    void SetUp() override
    {
        const uint32_t mode = std::getenv("QXTEST_ROUNDING") ? std::atoi(std::getenv("QXTEST_ROUNDING")) & 3 : 0;
        std::fesetround(std::array{FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}[mode]);
    }
};
[[maybe_unused]] const auto* const kRounding = ::testing::AddGlobalTestEnvironment(new RoundingFromEnvironment);

TEST(FloatingPointEnvironment, EveryExportKeepsTheCallersControlSettings)
{
    ASSERT_EQ(exportTable().size(), 41u);
    for (const ExportRow& row : exportTable())
        for (uint32_t mode = 0; mode < 4; ++mode)
            for (const bool flush : {false, true})
                for (const bool unmasked : {false, true}) {
                    Scratch s;
                    unsigned char returned[8];
                    const Invocation inv = row.call(s);
                    const Controls saved = Controls::read();
                    Controls::of(mode, flush, unmasked).set();
                    const Controls caller = Controls::read();
                    inv.direct(returned);
                    const Controls after = Controls::read();
                    saved.set();
                    EXPECT_TRUE(after == caller) << row.name << " changed the floating-point controls beyond their "
                                                 << "sticky flags, rounding " << mode << ", flush " << flush
                                                 << ", unmasked " << unmasked;
                }
}

// Fewer than one IIR section passes the sample through; a cursor search over no rows, or rows of no pixels, reads
// no pixel and keeps its outputs.
TEST(RefusedInput, ReadsAndWritesNothing)
{
    for (const int32_t sections : {0, -1, INT32_MIN}) {
        IIRFilter f{3, sections, 2, 0, nullptr, nullptr};
        EXPECT_TRUE(qxcalcIIRFilter_float(&f, 1.5f) == 1.5f && qxcalcIIRFilter_double(&f, -2.5) == -2.5) << sections;
    }
    const uint32_t pixel = 1;
    uint32_t colour = 7;
    int32_t x = 8;
    int32_t y = 9;
    for (const auto& [width, height] : {std::pair{4, 0}, {4, -1}, {4, INT32_MIN}, {-1, 2}, {-4, 2}, {INT32_MIN, 2}}) {
        qxcalcFindCursorXY(height > 0 ? &pixel : nullptr, 0, width, height, 0, 0, &colour, &x, &y, 0);
        EXPECT_TRUE(colour == 7 && x == 8 && y == 9) << width << " x " << height;
    }
}

#if QXCALC_TEST_STDCALL_ABI
#include <dlfcn.h>

extern "C" void qxtestCallStdcall(const void* function, const uint32_t* words, uint32_t wordCount,
                                  uint32_t stackAdjust, uint32_t resultKind, void* result, int32_t* drift);

TEST(StdcallAbi, EveryExportPopsItsArgumentsAtAnyStackAlignment)
{
    for (const ExportRow& row : exportTable()) {
        void* function = dlsym(RTLD_DEFAULT, row.name);
        ASSERT_NE(function, nullptr) << row.name << " is not exported";
        for (uint32_t misalign = 0; misalign < 16; misalign += 4) {
            Scratch scratch;
            const Invocation inv = row.call(scratch);
            ASSERT_EQ(inv.words.size() * 4, row.argBytes) << row.name << ": argument list of the test";
            const auto count = static_cast<uint32_t>(inv.words.size());
            const uint32_t adjust = (64 - misalign - 4 * count % 16) % 16;
            alignas(8) unsigned char result[8] = {};
            int32_t drift = -1;
            const auto kind = static_cast<uint32_t>(inv.result);
            qxtestCallStdcall(function, inv.words.data(), count, adjust, kind, result, &drift);
            EXPECT_EQ(drift, 0) << row.name << " with the stack misaligned by " << misalign;
        }
    }
}

#endif  // QXCALC_TEST_STDCALL_ABI

}  // namespace
