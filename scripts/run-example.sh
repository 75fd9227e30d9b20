#!/usr/bin/env bash
# Builds the library for Linux x86-64 and runs the example host program on
# the bundled sample block.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/ensure-packages.sh cmake make g++
cmake --preset linux-x64 -DQXCALC_BUILD_TESTS=OFF >/dev/null
cmake --build --preset linux-x64 --target host_demo -j"$(nproc)"
build/linux-x64/examples/host_demo "$@"
