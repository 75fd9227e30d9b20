// The one place that chooses how the intrinsics are implemented. With AVX the
// compiler's own intrinsics are used. Without it (x86-64 and i386 at SSE2,
// AArch64) the same names come from SIMDe's AVX layer, which builds every
// 256-bit operation from two 128-bit halves (SSE2 or NEON) and keeps x86's
// results: NaN operand order of min and max, 0x80000000 for conversions out
// of range, rounding in the current mode. None of SIMDe's SIMDE_FAST_* options
// may be set: each trades one of those results for speed.
//
// QX_ISA_AVX, QX_ISA_SSE2 and QX_ISA_NEON name the instruction set; the few
// helpers written in assembly (ordered.h, aligned.h, select.h) have one form
// per instruction set with the same effect.
#pragma once

#if defined(__AVX__)
#define QX_ISA_AVX 1
#include <immintrin.h>
#else
#if defined(__x86_64__) || defined(__i386__)
#define QX_ISA_SSE2 1
#elif defined(__aarch64__)
#define QX_ISA_NEON 1
#else
#error "qxcalc builds for x86 (AVX or SSE2) and AArch64 only"
#endif
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx.h>
#ifndef _MM_FROUND_NO_EXC
#define _MM_FROUND_NO_EXC SIMDE_MM_FROUND_NO_EXC
#endif
#if defined(SIMDE_FAST_MATH) || defined(SIMDE_FAST_NANS) || defined(SIMDE_FAST_CONVERSION_RANGE) || \
    defined(SIMDE_FAST_ROUND_MODE) || defined(SIMDE_FAST_ROUND_TIES) || defined(SIMDE_FAST_EXCEPTIONS)
#error "a SIMDE_FAST_* option would change results"
#endif
#endif

#if !defined(QX_ISA_AVX) && !defined(QX_ISA_SSE2)
#include <cfenv>
#endif

#if !defined(QX_ISA_AVX)
#include "simd/portable.h"
#endif

namespace qx::simd {

// Whether the caller's SSE arithmetic (on AArch64: the FPCR) rounds to nearest.
inline bool roundsToNearest()
{
#if defined(QX_ISA_AVX) || defined(QX_ISA_SSE2)
    return (_mm_getcsr() & _MM_ROUND_MASK) == _MM_ROUND_NEAREST;
#else
    return std::fegetround() == FE_TONEAREST;
#endif
}

}  // namespace qx::simd
