# 64-bit ARM Linux build on an x86-64 host: clang for aarch64-linux-gnu against
# Debian's cross C and C++ libraries (libc6-dev-arm64-cross,
# libstdc++-12-dev-arm64-cross, libgcc-12-dev-arm64-cross) and binutils
# (binutils-aarch64-linux-gnu). Programs run through qemu-aarch64.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triple aarch64-linux-gnu)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_ASM_COMPILER clang)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_ASM_COMPILER_TARGET ${triple})
set(CMAKE_LIBRARY_ARCHITECTURE ${triple})
set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
foreach(tool AR RANLIB NM OBJDUMP OBJCOPY STRIP READELF)
  string(TOLOWER ${tool} name)
  set(CMAKE_${tool} /usr/bin/${triple}-${name} CACHE FILEPATH "")
endforeach()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/${triple})
# pkg-config finds only ARM64 libraries (the example host's libsndfile and
# libpng are x86-64 here, so it is skipped).
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triple}/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
