#include "support/guarded.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#ifdef _WIN32
#include <windows.h>
#else
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace qxtest {

GuardedArena::GuardedArena(std::size_t bytes)
{
#ifdef _WIN32
    const std::size_t page = 4096;  // x86 Windows
    const std::size_t usable = (bytes + page - 1) / page * page;
    mappingBytes_ = usable + 2 * page;
    void* m = VirtualAlloc(nullptr, mappingBytes_, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
    DWORD was;
    if (!m || !VirtualProtect(static_cast<std::byte*>(m) + page, usable, PAGE_READWRITE, &was)) std::abort();
#else
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = (bytes + page - 1) / page * page;
    mappingBytes_ = usable + 2 * page;
    void* m = mmap(nullptr, mappingBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED || mprotect(static_cast<std::byte*>(m) + page, usable, PROT_READ | PROT_WRITE) != 0)
        std::abort();
#endif
    mapping_ = static_cast<std::byte*>(m);
    begin_ = mapping_ + page;
    end_ = begin_ + usable;
}

#ifdef _WIN32
GuardedArena::~GuardedArena() { VirtualFree(mapping_, 0, MEM_RELEASE); }
#else
GuardedArena::~GuardedArena() { munmap(mapping_, mappingBytes_); }
#endif

std::byte* GuardedArena::placeAgainstEnd(std::size_t bytes, unsigned misalign) const
{
    const std::size_t slack = (64 * 32 - bytes % 32 - misalign % 32) % 32;
    return end_ - slack - bytes;
}

void GuardedArena::poisonAround(const std::byte* block, std::size_t bytes, const void* a, const void* b,
                                std::size_t elementBytes, std::size_t apron)
{
    std::byte* const start = const_cast<std::byte*>(block);
    std::byte* const end = start + bytes;
    std::byte* lo = start - begin_ < static_cast<std::ptrdiff_t>(apron) ? begin_ : start - apron;
    std::byte* hi = end_ - end < static_cast<std::ptrdiff_t>(apron) ? end_ : end + apron;
    regions_.clear();
    for (auto [from, to] : {std::pair{lo, start}, {end, hi}}) {
        std::size_t i = 0;
        for (std::byte* p = from; p + elementBytes <= to; p += elementBytes, ++i)
            std::memcpy(p, i % 2 ? b : a, elementBytes);
        regions_.push_back({from, std::vector<std::byte>(from, to)});
    }
}

bool GuardedArena::poisonIntact() const
{
    for (const Region& r : regions_)
        if (!r.copy.empty() && std::memcmp(r.start, r.copy.data(), r.copy.size()) != 0) return false;
    return true;
}

// The way back into runWithoutFault() from a fault: on Windows the compiler's own jump buffer, which a handler
// that redirects the faulting context can use; elsewhere the signal-safe one (AArch64 has no __builtin_longjmp).
#ifdef _WIN32
#define QXTEST_SET_RETURN(buffer) __builtin_setjmp(buffer)
#define QXTEST_RETURN(buffer) __builtin_longjmp(buffer, 1)
using JumpBuffer = void* [5];
#else
#define QXTEST_SET_RETURN(buffer) sigsetjmp(buffer, 1)
#define QXTEST_RETURN(buffer) siglongjmp(buffer, 1)
using JumpBuffer = sigjmp_buf;
#endif

namespace {
// The jump buffer, and whether `call` is running.
thread_local JumpBuffer activeJump;
thread_local bool active = false;

[[noreturn]] void escape()
{
    active = false;
    QXTEST_RETURN(activeJump);
}

#ifdef _WIN32
// An access violation resumes in escape(), on the stack below the faulting frame; other exceptions go on.
LONG CALLBACK onFault(EXCEPTION_POINTERS* e)
{
    if (!active || e->ExceptionRecord->ExceptionCode != EXCEPTION_ACCESS_VIOLATION) return EXCEPTION_CONTINUE_SEARCH;
    e->ContextRecord->Rsp = ((e->ContextRecord->Rsp - 256) & ~DWORD64{15}) - 8;  // as if escape() had been called
    e->ContextRecord->Rip = reinterpret_cast<DWORD64>(&escape);
    return EXCEPTION_CONTINUE_EXECUTION;
}

bool installHandler() { return AddVectoredExceptionHandler(1, onFault) != nullptr; }
#else
void onFault(int)
{
    if (!active) std::abort();
    escape();
}

bool installHandler()
{
    struct sigaction action {};
    action.sa_handler = onFault;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_NODEFER;
    return sigaction(SIGSEGV, &action, nullptr) == 0 && sigaction(SIGBUS, &action, nullptr) == 0;
}
#endif
}  // namespace

bool runWithoutFault(const std::function<void()>& call)
{
    [[maybe_unused]] static const bool installed = installHandler();
    if (QXTEST_SET_RETURN(activeJump) != 0) return false;
    active = true;
    call();
    active = false;
    return true;
}

}  // namespace qxtest
