#!/usr/bin/env bash
# Builds all four targets (Linux x86-64, Linux i386 __stdcall, Windows
# 32-bit and x64 DLLs) and runs every test: the GoogleTest suites on both
# Linux targets and on the x64 DLL under Wine, the instruction-set checks, the DLL's export/import tables, and
# the Python module's tests (pytest, on the x86-64 build). Then the x86-64
# suite under AddressSanitizer and UndefinedBehaviorSanitizer, the threads
# test under ThreadSanitizer, and a minute of each libFuzzer target.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/ensure-packages.sh cmake make g++ g++-multilib g++-mingw-w64-i686 \
    binutils-mingw-w64-i686 libgtest-dev valgrind libsndfile1-dev libpng-dev pkg-config \
    pybind11-dev python3-dev python3-numpy python3-pytest clang libclang-rt-14-dev \
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64
# The interpreter that Debian's numpy and pytest belong to.
python=/usr/bin/python3
status=0 passed=0 failed=0
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for preset in linux-x64 linux-i386 win32-dll win64-dll linux-x64-asan linux-x64-tsan linux-x64-fuzz; do
    echo "=== $preset"
    cmake --preset "$preset" -DQXCALC_BUILD_TESTS=ON -DPython3_EXECUTABLE="$python" >/dev/null
    cmake --build --preset "$preset" -j"$(nproc)"
    ctest --preset "$preset" -j"$(nproc)" 2>&1 | tee "$log" || status=1
    summary=$(sed -n 's/.*tests passed, \([0-9]*\) tests failed out of \([0-9]*\).*/\1 \2/p' "$log")
    [ -n "$summary" ] || { status=1; continue; }
    read -r bad total <<<"$summary"
    passed=$((passed + total - bad)) failed=$((failed + bad))
done
echo "=== python"
PYTHONPATH=build/linux-x64/python "$python" -m pytest -q python/tests 2>&1 | tee "$log" || status=1
summary=$(tail -n 1 "$log")
[[ $summary =~ (passed|failed|error) ]] || status=1
count() { grep -o "[0-9]* $1" <<<"$summary" | cut -d' ' -f1 || echo 0; }
passed=$((passed + $(count passed))) failed=$((failed + $(count failed) + $(count error)))
echo "all targets: $passed passed, $failed failed"
[ "$failed" -eq 0 ] || status=1
exit $status
