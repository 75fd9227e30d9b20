// qxcalcConvertInt16ToInt32: destination[i] = source[i], sign-extended, for
// i < count. count 0 touches nothing; overlapping buffers are not supported.
//
// Up to 8 values one at a time. Longer blocks: one at a time until the
// destination is 16-byte aligned, then steps of four (one sign-extending
// widening load, one aligned store) unrolled by eight, then the rest one at
// a time.

#include "qxcalc.h"
#include "simd/convert.h"
#include "simd/walk.h"

namespace qx::convert {
namespace {

constexpr uint32_t kOneByOneUpTo = 8;
constexpr uint32_t kStep = 4;

void widenOneByOne(const int16_t* source, int32_t* destination, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i) destination[i] = source[i];
}

void convertInt16ToInt32(const int16_t* source, int32_t* destination, uint32_t count)
{
    if (count <= kOneByOneUpTo) return widenOneByOne(source, destination, count);

    simd::walkPeelStepsRest<8, 16, kStep>(
        destination, count, [&](uint32_t i, uint32_t n) { widenOneByOne(source + i, destination + i, n); },
        [&](std::size_t i) {
            _mm_store_si128(reinterpret_cast<__m128i*>(destination + i), simd::int32x4From(source + i));
        });
}

}  // namespace
}  // namespace qx::convert

extern "C" void QXCALC_CALL qxcalcConvertInt16ToInt32(const int16_t* source, int32_t* destination, uint32_t count)
{
    qx::convert::convertInt16ToInt32(source, destination, count);
}
