// Blocks placed against inaccessible pages, so that any access outside a kernel's allowed range either faults or
// disturbs poisoned bytes. A block ends 0..31 bytes before the trailing fence page (one ending on it would end on
// a 32-byte boundary and never provoke a wrong extra vector load), or starts just after the leading one; the bytes
// around it are poisoned.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace qxtest {

class GuardedArena {
public:
    // At least `bytes` accessible bytes, whole pages, between inaccessible ones.
    explicit GuardedArena(std::size_t bytes);
    ~GuardedArena();
    GuardedArena(const GuardedArena&) = delete;
    GuardedArena& operator=(const GuardedArena&) = delete;

    // A block of `bytes` starting `misalign` bytes past a 32-byte boundary: ending less than 32 bytes before the
    // trailing fence, or starting right after the leading fence plus `misalign`.
    std::byte* placeAgainstEnd(std::size_t bytes, unsigned misalign) const;
    std::byte* placeAgainstStart(unsigned misalign) const { return begin_ + misalign % 32; }

    // The accessible bytes within `apron` bytes of the block get the element
    // patterns a, b, a, b, ...; poisonIntact() tells whether they were written.
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

// Runs `call`; false when it touched an inaccessible page (caught, not fatal).
bool runWithoutFault(const std::function<void()>& call);

}  // namespace qxtest
