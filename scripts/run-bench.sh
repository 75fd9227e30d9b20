#!/usr/bin/env bash
# Builds and runs the Google Benchmark programs (Linux x86-64). Extra
# arguments go to the benchmark program (e.g. --benchmark_filter=Stats).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/ensure-packages.sh cmake make g++ libbenchmark-dev
cmake --preset linux-x64 -DQXCALC_BUILD_BENCH=ON >/dev/null
cmake --build --preset linux-x64 --target qxcalc_bench -j"$(nproc)"
build/linux-x64/bench/qxcalc_bench "$@"
