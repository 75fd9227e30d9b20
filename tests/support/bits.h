// Bit-level helpers: results are compared bit for bit, and special values are built from bit patterns (a float
// returned through x87 would lose a signalling NaN's payload).
#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

namespace qxtest {

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 8, uint64_t, std::conditional_t<sizeof(T) == 4, uint32_t, uint16_t>>;

template <class T>
BitsOf<T> bitsOf(T v)
{
    return std::bit_cast<BitsOf<T>>(v);
}

inline float floatFromBits(uint32_t b) { return std::bit_cast<float>(b); }
inline double doubleFromBits(uint64_t b) { return std::bit_cast<double>(b); }

// NaNs with distinct (non-zero) payloads, so that which operand survives shows: quiet, or with the quiet bit clear.
// Where a quiet NaN meets a signalling one, x86 keeps the first operand's payload and AArch64 the signalling one's.
template <class T>
T nanWithPayload(unsigned payload, bool signalling = false)
{
    if constexpr (sizeof(T) == 4) return floatFromBits((signalling ? 0x7F800000u : 0x7FC00000u) | (payload & 0x3FFFFF));
    else return doubleFromBits((signalling ? 0x7FF0000000000000ull : 0x7FF8000000000000ull) | payload);
}

// Random samples. Plain: finite floats within +-1e6, integers within +-30000 (so the type's extremes can serve
// as poison). With specials: floats sprinkled with NaNs of varying payload (the negative ones signalling),
// infinities and zeros, each of both signs; integers over their full range, sprinkled with the type's extremes.
template <class T>
std::vector<T> randomSamples(std::size_t n, uint32_t seed, bool specials)
{
    std::mt19937 rng(seed);
    std::vector<T> v(n);
    for (std::size_t i = 0; i < n; ++i) {
        if constexpr (std::is_floating_point_v<T>) {
            v[i] = static_cast<T>(std::uniform_real_distribution<double>(-1e6, 1e6)(rng));
            if (specials && rng() % 16 == 0) {  // a NaN, a zero or an infinity; odd kinds negative
                const unsigned kind = rng() % 6;
                const T magnitude = kind < 2 ? nanWithPayload<T>(static_cast<unsigned>(rng() % 1000 + 1), kind == 1)
                                             : kind < 4 ? T(0) : std::numeric_limits<T>::infinity();
                v[i] = kind % 2 ? -magnitude : magnitude;
            }
        } else {
            v[i] = specials ? static_cast<T>(rng()) : static_cast<T>(static_cast<int>(rng() % 60001) - 30000);
            if (specials && rng() % 16 == 0)
                v[i] = rng() % 2 ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
        }
    }
    return v;
}

}  // namespace qxtest
