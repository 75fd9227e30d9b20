// A minimal loader for the 32-bit Windows DLL inside an i386 Linux process,
// so that the test suites run the DLL's own machine code: sections mapped with
// their protections, base relocations applied, imports bound by name (the C
// runtime's cdecl functions to the C library, the system's __stdcall
// functions to small stand-ins, anything else to a stub that names itself and
// aborts), a thread block reachable through %fs for the runtime's start-up
// code, TLS callbacks and the entry point run for process attach, and again
// for detach when the image is unloaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qxtest {

class PeImage {
public:
    explicit PeImage(const std::string& path);  // aborts with a message when the file cannot be loaded
    ~PeImage();
    PeImage(const PeImage&) = delete;
    PeImage& operator=(const PeImage&) = delete;

    // The exported function or datum of that name, or nullptr.
    void* exportNamed(const char* name) const;

private:
    std::byte* base_ = nullptr;
    std::size_t size_ = 0;
    void notify(uint32_t reason) const;  // TLS callbacks, then the entry point
};

}  // namespace qxtest
