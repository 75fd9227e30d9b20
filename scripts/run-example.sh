#!/usr/bin/env bash
# Builds the library and the example host program for Linux x86-64 (with the
# engine recording it generates) and runs the demo on that recording; options
# are passed on (see build/linux-x64/examples/qxcalc-demo --help).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/ensure-packages.sh cmake make g++ pkg-config libsndfile1-dev libpng-dev
cmake --preset linux-x64 -DQXCALC_BUILD_TESTS=OFF >/dev/null
cmake --build --preset linux-x64 --target qxcalc-demo -j"$(nproc)"
output=build/linux-x64/demo-output
build/linux-x64/examples/qxcalc-demo --output-dir "$output" "$@"
echo "pictures and the resampled WAV are in $(pwd)/$output"
