// qxcalcConvertInt32ToInt16: destination[i] = the low 16 bits of source[i]
// for i < count: values wrap modulo 2^16 and never saturate (70000 becomes
// 4464, -40000 becomes 25536), on every path. count 0 touches nothing;
// overlapping buffers are not supported.
//
// Up to 8 values one at a time. Longer blocks: one at a time until the
// source is 16-byte aligned, then steps of eight (two aligned loads of four,
// each lane masked to its low 16 bits so that the unsigned-saturating pack
// keeps them unchanged, one unaligned store) unrolled by four, then the rest
// one at a time.

#include "qxcalc.h"
#include "simd/isa.h"
#include "simd/walk.h"

namespace qx::convert {
namespace {

constexpr uint32_t kOneByOneUpTo = 8;
constexpr uint32_t kStep = 8;

void narrowOneByOne(const int32_t* source, int16_t* destination, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i) destination[i] = static_cast<int16_t>(source[i]);
}

QX_INLINE __m128i low16Of(const int32_t* alignedFour, __m128i lowHalves)
{
    return _mm_and_si128(_mm_load_si128(reinterpret_cast<const __m128i*>(alignedFour)), lowHalves);
}

void convertInt32ToInt16(const int32_t* source, int16_t* destination, uint32_t count)
{
    if (count <= kOneByOneUpTo) return narrowOneByOne(source, destination, count);

    const __m128i lowHalves = _mm_set1_epi32(0xFFFF);
    simd::walkPeelStepsRest<4, 16, kStep>(
        source, count, [&](uint32_t i, uint32_t n) { narrowOneByOne(source + i, destination + i, n); },
        [&](std::size_t i) {
            const __m128i packed = _mm_packus_epi32(low16Of(source + i, lowHalves), low16Of(source + i + 4, lowHalves));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + i), packed);
        });
}

}  // namespace
}  // namespace qx::convert

extern "C" void QXCALC_CALL qxcalcConvertInt32ToInt16(const int32_t* source, int16_t* destination, uint32_t count)
{
    qx::convert::convertInt32ToInt16(source, destination, count);
}
