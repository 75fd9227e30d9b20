// Blocks placed against inaccessible pages, so that any access outside a
// kernel's allowed range either faults or disturbs poisoned bytes.
//
// A block whose end sits exactly on the fence page is 32-byte aligned at its
// end, which never provokes a wrong extra vector load; so blocks are placed
// with their start at a chosen offset from a 32-byte boundary and 0..31 bytes
// of accessible slack before the fence. The slack (and an apron on the other
// side) is poisoned; a kernel that reads it changes its result, one that
// writes it is caught by poisonIntact().
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

namespace qxtest {

class GuardedArena {
public:
    // An accessible region of at least `bytes` bytes, whole pages, with an
    // inaccessible page on each side.
    explicit GuardedArena(std::size_t bytes);
    ~GuardedArena();
    GuardedArena(const GuardedArena&) = delete;
    GuardedArena& operator=(const GuardedArena&) = delete;

    std::byte* begin() const { return begin_; }
    std::byte* end() const { return end_; }

    // Block of `count` elements starting `misalignBytes` past a 32-byte
    // boundary, ending less than 32 bytes before the trailing fence page.
    template <class T>
    T* placeAgainstEnd(std::size_t count, unsigned misalignBytes)
    {
        const std::size_t bytes = count * sizeof(T);
        const std::size_t slack = (64 * 32 - bytes % 32 - misalignBytes % 32) % 32;
        return reinterpret_cast<T*>(end_ - slack - bytes);
    }

    // Block starting `misalignBytes` after the leading fence page.
    template <class T>
    T* placeAgainstStart(unsigned misalignBytes)
    {
        return reinterpret_cast<T*>(begin_ + misalignBytes);
    }

    // Fills the accessible bytes within `apron` bytes before and after the
    // block with the values a, b, a, b, ... (element-sized steps) and keeps a
    // copy for poisonIntact().
    template <class T>
    void poisonAround(const void* block, std::size_t blockBytes, T a, T b, std::size_t apron = 64)
    {
        auto* first = static_cast<const std::byte*>(block);
        const std::byte* lo = first - apron < begin_ ? begin_ : first - apron;
        const std::byte* hi = first + blockBytes + apron > end_ ? end_ : first + blockBytes + apron;
        regions_.clear();
        fillAlternating(lo, first, a, b);
        fillAlternating(first + blockBytes, hi, a, b);
    }
    bool poisonIntact() const;

private:
    struct Region {
        std::byte* start;
        std::vector<std::byte> copy;
    };
    template <class T>
    void fillAlternating(const std::byte* from, const std::byte* to, T a, T b)
    {
        auto* p = const_cast<std::byte*>(from);
        for (std::size_t i = 0; p + sizeof(T) <= to; p += sizeof(T), ++i) std::memcpy(p, i % 2 ? &b : &a, sizeof(T));
        regions_.push_back({const_cast<std::byte*>(from), std::vector<std::byte>(from, to)});
    }

    std::byte* mapping_ = nullptr;
    std::size_t mappingBytes_ = 0;
    std::byte* begin_ = nullptr;
    std::byte* end_ = nullptr;
    std::vector<Region> regions_;
};

// Runs `call`; returns false when it touched an inaccessible page (the fault
// is caught and turned into a result instead of ending the test program).
bool runWithoutFault(const std::function<void()>& call);

// Copies the first n samples of `source`, for n = 1 .. maxCount, to every
// start offset 0 .. starts-1 (in elements past a 32-byte boundary): against
// the trailing fence, and for n <= leadingUpTo also against the leading one;
// poisons around each copy with a, b, a, ... and calls
// visit(block, n, start, againstEnd), which returns false to end the sweep.
template <class T, class Visit>
void sweepFencedBlocks(GuardedArena& arena, const std::vector<T>& source, uint32_t maxCount, unsigned starts,
                       uint32_t leadingUpTo, T a, T b, Visit visit)
{
    for (uint32_t n = 1; n <= maxCount; ++n) {
        for (unsigned start = 0; start < starts; ++start) {
            for (const bool againstEnd : {true, false}) {
                if (!againstEnd && n > leadingUpTo) continue;
                T* block = againstEnd ? arena.placeAgainstEnd<T>(n, start * sizeof(T))
                                      : arena.placeAgainstStart<T>(start * sizeof(T));
                std::memcpy(block, source.data(), n * sizeof(T));
                arena.poisonAround(block, n * sizeof(T), a, b);
                if (!visit(block, n, start, againstEnd)) return;
            }
        }
    }
}

}  // namespace qxtest
