#!/usr/bin/env bash
# Installs the build into a fresh prefix, then builds and runs a small C host
# against it twice: through the CMake package and through pkg-config.
# Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix/usr" >/dev/null
cmake -S "$source/tests/consumer" -B "$prefix/consumer" -DCMAKE_PREFIX_PATH="$prefix/usr" >/dev/null
cmake --build "$prefix/consumer" >/dev/null
pc=$(find "$prefix/usr" -name qxcalc-avx.pc)
libdir=$(dirname "$(dirname "$pc")")
LD_LIBRARY_PATH="$libdir" "$prefix/consumer/consumer" && echo "CMake package: ok"
export PKG_CONFIG_PATH=$(dirname "$pc")
cc "$source/tests/consumer/consumer.c" $(pkg-config --cflags --libs qxcalc-avx) \
   -Wl,-rpath,"$(pkg-config --variable=libdir qxcalc-avx)" -o "$prefix/pc-consumer"
"$prefix/pc-consumer" && echo "pkg-config: ok"
ls "$libdir" | grep libqxcalc-
