#include "support/guarded.h"

#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace qxtest {

GuardedArena::GuardedArena(std::size_t bytes)
{
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = (bytes + page - 1) / page * page;
    mappingBytes_ = usable + 2 * page;
    void* m = mmap(nullptr, mappingBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) std::abort();
    mapping_ = static_cast<std::byte*>(m);
    begin_ = mapping_ + page;
    end_ = begin_ + usable;
    if (mprotect(begin_, usable, PROT_READ | PROT_WRITE) != 0) std::abort();
}

GuardedArena::~GuardedArena() { munmap(mapping_, mappingBytes_); }

std::byte* GuardedArena::placeAgainstEnd(std::size_t bytes, unsigned misalign) const
{
    const std::size_t slack = (64 * 32 - bytes % 32 - misalign % 32) % 32;
    return end_ - slack - bytes;
}

void GuardedArena::poisonAround(const std::byte* block, std::size_t bytes, const void* a, const void* b,
                                std::size_t elementBytes, std::size_t apron)
{
    std::byte* lo = block - begin_ < static_cast<std::ptrdiff_t>(apron) ? begin_ : const_cast<std::byte*>(block) - apron;
    std::byte* hi = end_ - (block + bytes) < static_cast<std::ptrdiff_t>(apron) ? end_ : const_cast<std::byte*>(block) + bytes + apron;
    regions_.clear();
    for (auto [from, to] : {std::pair{lo, const_cast<std::byte*>(block)}, {const_cast<std::byte*>(block) + bytes, hi}}) {
        std::size_t i = 0;
        for (std::byte* p = from; p + elementBytes <= to; p += elementBytes, ++i) std::memcpy(p, i % 2 ? b : a, elementBytes);
        regions_.push_back({from, std::vector<std::byte>(from, to)});
    }
}

bool GuardedArena::poisonIntact() const
{
    for (const Region& r : regions_)
        if (!r.copy.empty() && std::memcmp(r.start, r.copy.data(), r.copy.size()) != 0) return false;
    return true;
}

namespace {
thread_local sigjmp_buf* activeJump = nullptr;

void onFault(int)
{
    if (activeJump) siglongjmp(*activeJump, 1);
    std::abort();
}

}  // namespace

bool runWithoutFault(const std::function<void()>& call)
{
    [[maybe_unused]] static const bool installed = [] {
        struct sigaction action {};
        action.sa_handler = onFault;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_NODEFER;
        sigaction(SIGSEGV, &action, nullptr);
        sigaction(SIGBUS, &action, nullptr);
        return true;
    }();
    sigjmp_buf jump;
    if (sigsetjmp(jump, 1) != 0) {
        activeJump = nullptr;
        return false;
    }
    activeJump = &jump;
    call();
    activeJump = nullptr;
    return true;
}

}  // namespace qxtest
