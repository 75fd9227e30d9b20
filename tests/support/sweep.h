// The conformance sweep: one export's test is a row naming its buffers (role, element type, required alignment,
// how many elements a count touches), how to call the export and how to call its scalar model. The engine runs
// every count, every legal start offset of each swept buffer, each buffer against its trailing and its leading
// fence with poisoned slack, and each data set; it compares every byte of every buffer, inputs included, with the
// model's (which works on copies at the export's page offsets) and fails on a fault or a touched poison byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "support/bits.h"

namespace qxtest {

enum class Role { In, Out, InOut };
enum class DataSet { Plain, Specials };  // specials: NaNs, infinities, signed zeros; integers over their full range

struct BlockSpec {
    std::string name;
    Role role;
    std::size_t elementBytes;
    std::function<std::size_t(uint32_t count)> elements;  // elements the call may touch
    unsigned alignment;                                   // required start alignment, bytes
    bool swept;   // every legal start offset and both fences; else one fixed placement
    void (*fill)(std::byte* to, std::size_t elements, DataSet, uint32_t seed);
    std::byte poison[2][8];  // alternating element patterns around the buffer
    std::function<void(std::byte*)> incoming;  // fixed incoming contents instead of a data set
};

template <class T>
void fillSamples(std::byte* to, std::size_t n, DataSet set, uint32_t seed)
{
    const std::vector<T> v = randomSamples<T>(n, seed, set == DataSet::Specials);
    std::memcpy(to, v.data(), n * sizeof(T));
}

// A buffer of `elements(count)` samples of T (by default `count` of them).
template <class T>
BlockSpec block(std::string name, Role role, unsigned alignment = sizeof(T),
                std::function<std::size_t(uint32_t)> elements = nullptr)
{
    BlockSpec b{std::move(name), role, sizeof(T), std::move(elements), alignment, true, &fillSamples<T>, {}, nullptr};
    if (!b.elements) b.elements = [](uint32_t n) { return std::size_t{n}; };
    const T lo = std::numeric_limits<T>::lowest(), hi = std::numeric_limits<T>::max();
    std::memcpy(b.poison[0], &lo, sizeof(T));
    std::memcpy(b.poison[1], &hi, sizeof(T));
    return b;
}

// The block at one fixed placement instead of every start offset and both fences.
inline BlockSpec fixedPlace(BlockSpec b)
{
    b.swept = false;
    return b;
}

// One value the export reads and/or writes (a running minimum, a sum).
template <class T>
BlockSpec scalar(std::string name, Role role, T incoming)
{
    BlockSpec b = fixedPlace(block<T>(std::move(name), role, sizeof(T), [](uint32_t) { return std::size_t{1}; }));
    b.incoming = [incoming](std::byte* to) { std::memcpy(to, &incoming, sizeof(T)); };
    return b;
}

// The buffers of one call, in the row's order.
struct Blocks {
    std::vector<std::byte*> p;
    template <class T>
    T* at(std::size_t i) const
    {
        return reinterpret_cast<T*>(p[i]);
    }
};

struct SweepRow {
    std::string name;
    std::vector<BlockSpec> blocks;
    std::function<void(const Blocks&, uint32_t count)> call, model;
    std::vector<uint32_t> counts;
    std::vector<DataSet> dataSets = {DataSet::Plain, DataSet::Specials};
};

// QXTEST_SWEEP=sparse, for emulated runs: fewer counts (see countsAround), each buffer's every start offset but
// not every combination of them, shorter interpolator streams.
bool sparseSweep();

// first..denseUpTo (sparser under QXTEST_SWEEP=sparse), every count within 64 of each threshold, and `large`.
std::vector<uint32_t> countsAround(std::initializer_list<uint32_t> thresholds, uint32_t first = 0,
                                   uint32_t denseUpTo = 300,
                                   std::initializer_list<uint32_t> large = {1000, 4099, 10000});

// "" when `elements` elements agree bit for bit, else the first that differs.
std::string firstDifference(const std::string& name, const void* got, const void* want, std::size_t elements,
                            std::size_t elementBytes);

// Runs the row's sweep; the first difference fails the current test with the
// row, count, data set and placements named.
void sweep(const SweepRow& row);

}  // namespace qxtest
