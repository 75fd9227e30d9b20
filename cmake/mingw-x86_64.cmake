# 64-bit Windows DLL, cross-built with mingw-w64. The posix thread model: the
# test suites' GoogleTest needs std::mutex, which GCC 12's win32 model lacks.
# The compiler's runtime is linked in statically and the library starts no
# threads, so the DLL still imports system DLLs only (the export check reads it).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(QXCALC_OBJDUMP x86_64-w64-mingw32-objdump CACHE STRING "objdump that reads PE files")
