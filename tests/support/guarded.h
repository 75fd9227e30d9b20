// Blocks placed against inaccessible pages, so that any access outside a
// kernel's allowed range either faults or disturbs poisoned bytes.
//
// A block whose end sits exactly on the fence page ends on a 32-byte
// boundary, which never provokes a wrong extra vector load; so a block is
// placed with its start at a chosen offset from a 32-byte boundary and 0..31
// bytes of accessible slack before the fence. The slack (and an apron on the
// other side) is poisoned: a kernel that reads it changes its result, one that
// writes it is caught by poisonIntact().
#pragma once

#include <cstddef>
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

    // A block of `bytes` starting `misalign` bytes past a 32-byte boundary:
    // ending less than 32 bytes before the trailing fence, or starting right
    // after the leading fence plus `misalign`.
    std::byte* placeAgainstEnd(std::size_t bytes, unsigned misalign) const;
    std::byte* placeAgainstStart(unsigned misalign) const { return begin_ + misalign % 32; }

    // Fills the accessible bytes within `apron` bytes before and after the
    // block with the element patterns a, b, a, b, ... and keeps a copy.
    void poisonAround(const std::byte* block, std::size_t bytes, const void* a, const void* b,
                      std::size_t elementBytes, std::size_t apron = 64);
    bool poisonIntact() const;

private:
    std::byte* mapping_ = nullptr;
    std::size_t mappingBytes_ = 0;
    std::byte* begin_ = nullptr;
    std::byte* end_ = nullptr;
    struct Region {
        std::byte* start;
        std::vector<std::byte> copy;
    };
    std::vector<Region> regions_;
};

// Runs `call`; returns false when it touched an inaccessible page (the fault
// is caught and turned into a result instead of ending the test program).
bool runWithoutFault(const std::function<void()>& call);

}  // namespace qxtest
