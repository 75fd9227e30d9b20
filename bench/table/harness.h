// The benchmark table's rows and what they share. One row is one export (or
// one way of calling it) of one family; for every block size it makes a Case:
// the buffers, our call, and on the 64-bit build the same job done by the
// peer libraries and by the plain loop a host author would write, all on the
// same buffers. The one timing loop (harness.cpp) times every variant alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#ifdef _WIN32
#include <malloc.h>
#endif
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace qxbench {

using Run = std::function<void()>;

// What a row's rate counts: bytes read + written (GB/s), samples (MS/s) or
// multiply-accumulates (GMAC/s).
enum class Unit { Bytes, Samples, Macs };

struct Peer {
    std::string name;
    Run run;
};

struct Case {
    double work = 0;      // units of the row per run
    Run ours;
    Run scalar;           // the plain loop; may be empty
    std::vector<Peer> peers;
    // Restores an in-place buffer before every run of every variant; its own
    // time is measured apart and subtracted.
    Run restore;
    // The block the job reads, for the streaming-read and memcpy references,
    // and whether the job writes a block (memcpy is then its bandwidth bound).
    const void* input = nullptr;
    std::size_t inputBytes = 0;
    bool writesBlock = false;
    // Bytes of the block read per unit of work, where the unit is not bytes:
    // the references are then shown in the row's unit (a FIR MAC reads 4 bytes
    // of the ring and 4 of the taps, so a read of n ring bytes stands for n / 8).
    double bytesPerWork = 1;
};

struct Row {
    int family;           // index into kFamilies: the table's order
    std::string job;
    Unit unit;
    std::function<Case(std::size_t bytes)> make;
};

extern const char* const kFamilies[];

// Adds rows at start-up; each family's file holds one registrar.
struct Rows {
    explicit Rows(std::vector<Row> rows);
};
std::vector<Row>& allRows();

// Where a case's next block starts within its 4 KiB page. The blocks of one
// case sit at different offsets (multiples of 64), the same on every build, so
// that the builds' loads and stores meet the same page-offset collisions
// instead of whatever each allocator happens to give. The harness starts
// every case at the first offset.
std::size_t nextBlockOffset();

// A block of n values placed at nextBlockOffset(), shared by the lambdas of a
// case, filled with small random values exact in every sample type: integers
// in [-10000, 10000) for integer types, eighths in [-1250, 1250) for float
// types.
template <class T>
struct Block {
    std::shared_ptr<T[]> values;
    uint32_t n = 0;
    T* data() const { return values.get(); }
    T& operator[](std::size_t i) const { return values[i]; }
};

// Aligned storage, released by alignedFree (the Windows runtime keeps aligned blocks apart).
inline void* alignedAlloc(std::size_t alignment, std::size_t bytes)
{
#ifdef _WIN32
    return _aligned_malloc(bytes, alignment);
#else
    return std::aligned_alloc(alignment, bytes);
#endif
}

inline void alignedFree(void* p)
{
#ifdef _WIN32
    _aligned_free(p);
#else
    std::free(p);
#endif
}

template <class T>
Block<T> block(std::size_t n, unsigned seed = 1)
{
    const std::size_t offset = nextBlockOffset();
    char* page = static_cast<char*>(alignedAlloc(4096, (n * sizeof(T) + offset + 4095) / 4096 * 4096 + 4096));
    Block<T> b{std::shared_ptr<T[]>(reinterpret_cast<T*>(page + offset), [page](T*) { alignedFree(page); }),
               static_cast<uint32_t>(n)};
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < n; ++i) {
        const int v = static_cast<int>(rng() % 20000) - 10000;
        b[i] = static_cast<T>(static_cast<T>(0.5) == 0 ? v : v / 8.0);
    }
    return b;
}

// A block sized in bytes.
template <class T>
Block<T> blockOfBytes(std::size_t bytes, unsigned seed = 1)
{
    return block<T>(bytes / sizeof(T), seed);
}

// A value-initialised T on a 64-byte boundary: records whose vectors would
// otherwise straddle cache lines or not, depending on where the allocator
// happens to put them on each build.
template <class T>
std::shared_ptr<T> make64()
{
    void* p = alignedAlloc(64, (sizeof(T) + 63) / 64 * 64);
    return std::shared_ptr<T>(new (p) T(), [](T* t) {
        t->~T();
        alignedFree(t);
    });
}

// Keeps a result alive without a store the compiler could drop.
template <class T>
inline void keep(const T& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace qxbench
