#include "pe_loader.h"

#include <asm/ldt.h>
#include <strings.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <utility>
#include <iterator>
#include <vector>

#define STDCALL __attribute__((stdcall))

namespace qxtest {
namespace {

[[noreturn]] void fail(const std::string& why)
{
    std::fprintf(stderr, "PE loader: %s\n", why.c_str());
    std::abort();
}

// ---- Stand-ins for the system and C-runtime functions the runtime imports.
// Tests call the DLL from one thread, so the locks have nothing to exclude.

STDCALL void criticalSection(void*) {}
STDCALL void sleepFor(uint32_t ms) { usleep(ms * 1000); }
STDCALL uint32_t noError() { return 0; }
STDCALL void* noModule(const char*) { return nullptr; }
STDCALL void* noProcedure(void*, const char*) { return nullptr; }
STDCALL int freeLibrary(void*) { return 1; }
STDCALL void* noTlsValue(uint32_t) { return nullptr; }
// The runtime's relocation fix-up asks for a page's protection and makes it
// writable; every page is simply reported and made read-write-execute.
STDCALL std::size_t queryPage(const void* at, uint32_t* info, std::size_t)
{
    const uintptr_t page = reinterpret_cast<uintptr_t>(at) & ~uintptr_t{4095};
    const uint32_t region[7] = {uint32_t(page), uint32_t(page), 0x40, 4096, 0x1000, 0x40, 0x1000000};
    std::memcpy(info, region, sizeof region);
    return sizeof region;
}
STDCALL int protectPages(void* at, std::size_t bytes, uint32_t, uint32_t* old)
{
    const uintptr_t page = reinterpret_cast<uintptr_t>(at) & ~uintptr_t{4095};
    *old = 0x40;
    return mprotect(reinterpret_cast<void*>(page), bytes + (reinterpret_cast<uintptr_t>(at) - page),
                    PROT_READ | PROT_WRITE | PROT_EXEC) == 0;
}

void initTerm(void (**first)(), void (**last)())
{
    for (; first < last; ++first)
        if (*first) (*first)();
}
void runtimeLock(int) {}
[[noreturn]] void runtimeExit(int code) { fail("runtime error " + std::to_string(code)); }
unsigned char runtimeStreams[512];  // the runtime's FILE array; its streams all go to stderr here
std::size_t writeStream(const void* p, std::size_t size, std::size_t n, void*) { return std::fwrite(p, size, n, stderr); }
int printStream(void*, const char* format, va_list args) { return std::vfprintf(stderr, format, args); }

// Stand-ins by name, for KERNEL32.dll (__stdcall) and msvcrt.dll (cdecl).
// A function's static, so that loading from another file's static
// initializer finds the table filled.
void* standInFor(const char* name)
{
    static const std::pair<const char*, void*> kStandIns[] = {
        {"InitializeCriticalSection", (void*)&criticalSection}, {"EnterCriticalSection", (void*)&criticalSection},
        {"LeaveCriticalSection", (void*)&criticalSection},      {"DeleteCriticalSection", (void*)&criticalSection},
        {"Sleep", (void*)&sleepFor},          {"GetLastError", (void*)&noError},      {"GetModuleHandleA", (void*)&noModule},
        {"LoadLibraryA", (void*)&noModule},   {"GetProcAddress", (void*)&noProcedure}, {"FreeLibrary", (void*)&freeLibrary},
        {"TlsGetValue", (void*)&noTlsValue},  {"VirtualQuery", (void*)&queryPage},     {"VirtualProtect", (void*)&protectPages},
        {"malloc", (void*)&std::malloc},      {"calloc", (void*)&std::calloc},         {"realloc", (void*)&std::realloc},
        {"free", (void*)&std::free},          {"memcpy", (void*)&std::memcpy},         {"memset", (void*)&std::memset},
        {"strlen", (void*)&std::strlen},      {"strncmp", (void*)&std::strncmp},       {"abort", (void*)&std::abort},
        {"_initterm", (void*)&initTerm},      {"_lock", (void*)&runtimeLock},          {"_unlock", (void*)&runtimeLock},
        {"_amsg_exit", (void*)&runtimeExit},  {"_iob", (void*)runtimeStreams},         {"fwrite", (void*)&writeStream},
        {"vfprintf", (void*)&printStream},
    };
    for (const auto& [standInName, standIn] : kStandIns)
        if (std::strcmp(standInName, name) == 0) return standIn;
    return nullptr;
}

[[noreturn]] void missingImport(const char* name) { fail("called an import without a stand-in: " + std::string(name)); }

// An import without a stand-in: `push name; mov eax, missingImport; call eax`.
void* stubFor(const std::string& dll, const char* name)
{
    static std::byte* page = nullptr;
    static std::size_t used = 4096;
    if (used + 12 > 4096) {
        page = static_cast<std::byte*>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        used = 0;
    }
    const char* label = strdup((dll + "!" + name).c_str());
    std::byte* stub = page + used;
    const uint32_t text = uint32_t(reinterpret_cast<uintptr_t>(label));
    const uint32_t target = uint32_t(reinterpret_cast<uintptr_t>(&missingImport));
    const unsigned char code[12] = {0x68, 0, 0, 0, 0, 0xB8, 0, 0, 0, 0, 0xFF, 0xD0};
    std::memcpy(stub, code, 12);
    std::memcpy(stub + 1, &text, 4);
    std::memcpy(stub + 6, &target, 4);
    used += 12;
    return stub;
}

// The thread block the runtime reads through %fs: 0x00 exception list,
// 0x04/0x08 stack bounds, 0x18 itself, 0x2C the TLS slot array, 0x30 the
// process block.
struct ThreadBlock {
    uint32_t words[1024];
    void* tlsSlots[64];
    uint32_t processBlock[256];
};

ThreadBlock& installThreadBlock()
{
    static ThreadBlock* block = [] {
        auto* b = static_cast<ThreadBlock*>(std::calloc(1, sizeof(ThreadBlock)));
        int onStack;
        b->words[0] = 0xFFFFFFFF;
        b->words[1] = uint32_t(reinterpret_cast<uintptr_t>(&onStack));
        b->words[2] = b->words[1] - (1u << 20);
        b->words[0x18 / 4] = uint32_t(reinterpret_cast<uintptr_t>(b));
        b->words[0x2C / 4] = uint32_t(reinterpret_cast<uintptr_t>(b->tlsSlots));
        b->words[0x30 / 4] = uint32_t(reinterpret_cast<uintptr_t>(b->processBlock));
        user_desc segment{};
        segment.entry_number = ~0u;
        segment.base_addr = uint32_t(reinterpret_cast<uintptr_t>(b));
        segment.limit = sizeof(ThreadBlock) - 1;
        segment.seg_32bit = 1;
        segment.useable = 1;
        if (syscall(SYS_set_thread_area, &segment) != 0) fail("set_thread_area failed");
        const uint16_t selector = uint16_t(segment.entry_number << 3 | 3);
        asm volatile("movw %0, %%fs" : : "r"(selector));
        return b;
    }();
    return *block;
}

uint16_t u16(const std::byte* p) { uint16_t v; std::memcpy(&v, p, 2); return v; }
uint32_t u32(const std::byte* p) { uint32_t v; std::memcpy(&v, p, 4); return v; }

}  // namespace

PeImage::PeImage(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const auto* file = reinterpret_cast<const std::byte*>(raw.data());
    if (raw.size() < 0x40 || raw[0] != 'M' || raw[1] != 'Z') fail("not a PE file: " + path);
    const std::byte* nt = file + u32(file + 0x3C);
    const std::byte* optional = nt + 24;
    if (u32(nt) != 0x4550 || u16(optional) != 0x10B) fail("not a 32-bit PE image: " + path);
    const uint32_t imageBase = u32(optional + 28);
    size_ = u32(optional + 56);
    const std::byte* sections = optional + u16(nt + 20);
    const unsigned sectionCount = u16(nt + 6);
    const auto directory = [&](int k) { return std::pair{u32(optional + 96 + 8 * k), u32(optional + 100 + 8 * k)}; };

    base_ = static_cast<std::byte*>(mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (base_ == MAP_FAILED) fail("cannot map " + path);
    std::memcpy(base_, file, u32(optional + 60));
    for (unsigned s = 0; s < sectionCount; ++s) {
        const std::byte* h = sections + 40 * s;
        std::memcpy(base_ + u32(h + 12), file + u32(h + 20), std::min(u32(h + 16), u32(h + 8) ? u32(h + 8) : u32(h + 16)));
    }

    // Base relocations: 32-bit absolute addresses move with the image.
    const uint32_t delta = uint32_t(reinterpret_cast<uintptr_t>(base_)) - imageBase;
    for (auto [at, left] = directory(5); left >= 8;) {
        const uint32_t page = u32(base_ + at), blockBytes = u32(base_ + at + 4);
        for (uint32_t e = 8; e < blockBytes; e += 2) {
            const uint16_t entry = u16(base_ + at + e);
            if (entry >> 12 == 3) {
                std::byte* target = base_ + page + (entry & 0xFFF);
                const uint32_t moved = u32(target) + delta;
                std::memcpy(target, &moved, 4);
            } else if (entry >> 12 != 0) fail("unsupported relocation type " + std::to_string(entry >> 12));
        }
        at += blockBytes, left -= blockBytes;
    }

    // Imports, bound by name.
    for (uint32_t d = directory(1).first; u32(base_ + d + 12) != 0; d += 20) {
        const std::string dll = reinterpret_cast<const char*>(base_ + u32(base_ + d + 12));
        const uint32_t lookup = u32(base_ + d) ? u32(base_ + d) : u32(base_ + d + 16);
        for (uint32_t k = 0; u32(base_ + lookup + 4 * k) != 0; ++k) {
            const uint32_t entry = u32(base_ + lookup + 4 * k);
            if (entry & 0x80000000u) fail(dll + " imported by ordinal");
            const char* name = reinterpret_cast<const char*>(base_ + entry + 2);
            const bool system = strcasecmp(dll.c_str(), "kernel32.dll") == 0 || strcasecmp(dll.c_str(), "msvcrt.dll") == 0;
            void* address = system ? standInFor(name) : nullptr;
            if (!address) address = stubFor(dll, name);
            const uint32_t value = uint32_t(reinterpret_cast<uintptr_t>(address));
            std::memcpy(base_ + u32(base_ + d + 16) + 4 * k, &value, 4);
        }
    }

    // Implicit TLS: one block for the loading thread, in slot 0.
    ThreadBlock& thread = installThreadBlock();
    if (const uint32_t tls = directory(9).first) {
        const uint32_t start = u32(base_ + tls), end = u32(base_ + tls + 4), zeroFill = u32(base_ + tls + 16);
        auto* block = static_cast<std::byte*>(std::calloc(1, end - start + zeroFill + 16));
        std::memcpy(block, reinterpret_cast<const void*>(uintptr_t{start}), end - start);
        thread.tlsSlots[0] = block;
        std::memset(reinterpret_cast<void*>(uintptr_t{u32(base_ + tls + 8)}), 0, 4);
    }

    // Each section's own protection.
    for (unsigned s = 0; s < sectionCount; ++s) {
        const std::byte* h = sections + 40 * s;
        const uint32_t flags = u32(h + 36), bytes = std::max(u32(h + 8), u32(h + 16));
        const int protection = (flags & 0x20000000 ? PROT_EXEC : 0) | (flags & 0x40000000 ? PROT_READ : 0) |
                               (flags & 0x80000000 ? PROT_WRITE : 0);
        if (bytes) mprotect(base_ + u32(h + 12), (bytes + 4095) & ~4095u, protection);
    }
    notify(1);
}

PeImage::~PeImage()
{
    notify(0);
    munmap(base_, size_);
}

void PeImage::notify(uint32_t reason) const
{
    using Callback = STDCALL int (*)(void*, uint32_t, void*);
    const std::byte* optional = base_ + u32(base_ + 0x3C) + 24;
    if (const uint32_t tls = u32(optional + 96 + 8 * 9))
        for (uint32_t at = u32(base_ + tls + 12); at && u32(reinterpret_cast<const std::byte*>(uintptr_t{at})); at += 4)
            reinterpret_cast<Callback>(uintptr_t{u32(reinterpret_cast<const std::byte*>(uintptr_t{at}))})(base_, reason, nullptr);
    if (const uint32_t entry = u32(optional + 16))
        if (!reinterpret_cast<Callback>(base_ + entry)(base_, reason, nullptr) && reason == 1) fail("the DLL refused to load");
}

void* PeImage::exportNamed(const char* name) const
{
    const std::byte* optional = base_ + u32(base_ + 0x3C) + 24;
    const std::byte* exports = base_ + u32(optional + 96);
    const uint32_t names = u32(exports + 24), functions = u32(exports + 28), nameTable = u32(exports + 32),
                   ordinals = u32(exports + 36);
    for (uint32_t i = 0; i < names; ++i)
        if (std::strcmp(reinterpret_cast<const char*>(base_ + u32(base_ + nameTable + 4 * i)), name) == 0)
            return base_ + u32(base_ + functions + 4 * u16(base_ + ordinals + 2 * i));
    return nullptr;
}

}  // namespace qxtest
