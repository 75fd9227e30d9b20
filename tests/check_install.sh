#!/usr/bin/env bash
# Installs the build into a fresh prefix, then builds and runs a small C host
# against it twice: through the CMake package and through pkg-config. Then the
# library alone, configured for /usr as a distribution installs it (Debian's
# multiarch library directory, lib/x86_64-linux-gnu), staged with DESTDIR and
# used through pkg-config from where it landed.
# Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
consume_with_pkg_config() {  # consume_with_pkg_config ROOT
    local pc
    pc=$(find "$1" -name qxcalc-avx.pc)
    export PKG_CONFIG_PATH=$(dirname "$pc")
    cc "$source/tests/consumer/consumer.c" $(pkg-config --cflags --libs qxcalc-avx) \
       -Wl,-rpath,"$(pkg-config --variable=libdir qxcalc-avx)" -o "$prefix/pc-consumer"
    "$prefix/pc-consumer" && echo "pkg-config in $(pkg-config --variable=libdir qxcalc-avx): ok"
}
cmake --install "$build" --prefix "$prefix/usr" >/dev/null
cmake -S "$source/tests/consumer" -B "$prefix/consumer" -DCMAKE_PREFIX_PATH="$prefix/usr" >/dev/null
cmake --build "$prefix/consumer" >/dev/null
libdir=$(dirname "$(find "$prefix/usr" -name 'libqxcalc-*.so')")
LD_LIBRARY_PATH="$libdir" "$prefix/consumer/consumer" && echo "CMake package: ok"
consume_with_pkg_config "$prefix/usr"
ls "$libdir" | grep libqxcalc-

isa=$(sed -n 's/^QXCALC_ISA:STRING=//p' "$build/CMakeCache.txt")
cmake -S "$source" -B "$prefix/distro-build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
      -DCMAKE_INSTALL_LIBDIR=lib/x86_64-linux-gnu -DQXCALC_ISA="$isa" -DQXCALC_BUILD_TESTS=OFF \
      -DQXCALC_BUILD_EXAMPLES=OFF -DQXCALC_BUILD_PYTHON=OFF >/dev/null
cmake --build "$prefix/distro-build" --target qxcalc-avx -j2 >/dev/null
DESTDIR="$prefix/distro" cmake --install "$prefix/distro-build" >/dev/null
consume_with_pkg_config "$prefix/distro"
