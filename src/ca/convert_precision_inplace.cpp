// In-place precision conversion of a buffer the caller sized for count
// doubles (8 * count bytes):
//
// qxcalcCADoubleArrToSingleArrInplace narrows count doubles to count floats
// at the buffer's start, in the current rounding mode (values out of float
// range become infinities); the bytes after the floats keep their contents.
// It runs front to back, which is safe because every float lands at or
// before the double it came from: blocks of four doubles become four floats
// with one aligned 16-byte store, then the count mod 4 last ones one at a
// time. The caller guarantees a 16-byte aligned buffer when count >= 4.
//
// qxcalcCASingleArrToDoubleArrInplace widens count floats to count doubles
// (exactly) and returns the buffer. It runs back to front, because every
// double lands at or after the float it came from: first the count mod 8
// last floats one at a time from the top, then blocks of eight floats from
// the highest block down, each loaded whole before its two aligned 32-byte
// stores (upper four doubles, then lower four), since the lowest block's
// doubles overwrite its own floats. The caller guarantees a 32-byte aligned
// buffer when count >= 8.

#include <cstring>

#include "qxcalc.h"
#include "simd/aligned.h"
#include "simd/walk.h"
#include "simd/widen.h"

namespace qx::ca {
namespace {

// Element i of the buffer read or written as T. Narrowing and widening view
// the same bytes as both types, so single elements go through memcpy.
template <class T>
QX_INLINE T elementAt(const void* data, uint32_t i)
{
    T v;
    std::memcpy(&v, static_cast<const T*>(data) + i, sizeof(T));
    return v;
}

template <class T>
QX_INLINE void setElement(void* data, uint32_t i, T v)
{
    std::memcpy(static_cast<T*>(data) + i, &v, sizeof(T));
}

constexpr unsigned kNarrowBlock = 4;  // doubles per 256-bit load
constexpr unsigned kWidenBlock = 8;   // floats per 256-bit load

void narrowInPlace(void* data, uint32_t count)
{
    const auto* doubles = static_cast<const double*>(data);
    auto* floats = static_cast<float*>(data);
    const uint32_t blocks = count / kNarrowBlock;
    simd::forEachInOrder<8>(blocks, [&](std::size_t k) {
        const std::size_t i = k * kNarrowBlock;
        simd::storeAligned(floats + i, _mm256_cvtpd_ps(_mm256_loadu_pd(doubles + i)));
    });
    const uint32_t done = blocks * kNarrowBlock;
    for (uint32_t j = 0; j < count % kNarrowBlock; ++j)
        setElement(data, done + j, static_cast<float>(elementAt<double>(data, done + j)));
}

double* widenInPlace(void* data, uint32_t count)
{
    const auto* floats = static_cast<const float*>(data);
    auto* doubles = static_cast<double*>(data);
    const uint32_t blocks = count / kWidenBlock;
    for (uint32_t j = count % kWidenBlock; j > 0; --j) {
        const uint32_t i = blocks * kWidenBlock + j - 1;
        setElement(data, i, static_cast<double>(elementAt<float>(data, i)));
    }
    simd::forEachInReverse<4>(blocks, [&](std::size_t k) {
        const std::size_t i = k * kWidenBlock;
        const __m256 eight = simd::loadAlignedFloat8(floats + i);
        simd::storeAligned(doubles + i + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(eight, 1)));
        simd::storeAligned(doubles + i, _mm256_cvtps_pd(_mm256_castps256_ps128(eight)));
    });
    return doubles;
}

}  // namespace
}  // namespace qx::ca

extern "C" {

void QXCALC_CALL qxcalcCADoubleArrToSingleArrInplace(void* data, uint32_t count)
{
    qx::ca::narrowInPlace(data, count);
}

double* QXCALC_CALL qxcalcCASingleArrToDoubleArrInplace(void* data, uint32_t count)
{
    return qx::ca::widenInPlace(data, count);
}

}  // extern "C"
