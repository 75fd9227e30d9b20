// Runs the test suites against the Windows DLL's own code: every export the
// DLL's module-definition file lists becomes, in this program, a one-jump
// trampoline through a slot that is filled from the DLL's export table when
// the DLL is loaded at start-up. Callers see the DLL's behaviour exactly,
// including how it pops its arguments. The thread runs with the x87 control
// word a Windows thread starts with (0x27f: 53-bit precision).
#include <cstdio>
#include <cstdlib>

#include "pe_loader.h"

extern "C" {
void* qxdllSlots[64];
}

#define QX_EXPORT(k, name) \
    asm(".text\n.globl " #name "\n.type " #name ", @function\n" #name ":\n\tjmp *qxdllSlots+4*" #k "\n");
#include "dll_exports.inc"
#undef QX_EXPORT

namespace {

const char* const kNames[] = {
#define QX_EXPORT(k, name) #name,
#include "dll_exports.inc"
#undef QX_EXPORT
};

// QXCALC_DLL in the environment names another copy of the DLL to test.
const char* dllPath()
{
    const char* path = std::getenv("QXCALC_DLL");
    return path ? path : QXCALC_DLL_UNDER_TEST;
}

struct DllBinding {
    qxtest::PeImage image{dllPath()};
    DllBinding()
    {
        const unsigned short windowsControlWord = 0x27f;
        asm volatile("fldcw %0" : : "m"(windowsControlWord));
        for (unsigned k = 0; k < sizeof kNames / sizeof kNames[0]; ++k) {
            qxdllSlots[k] = image.exportNamed(kNames[k]);
            if (!qxdllSlots[k]) std::fprintf(stderr, "the DLL does not export %s\n", kNames[k]), std::abort();
        }
    }
} binding;

}  // namespace
