#!/usr/bin/env bash
# Builds every target and runs every test on it: Linux x86-64, Linux i386
# (__stdcall), the Windows 32-bit DLL (its own code through the project's PE
# loader) and the Windows x64 DLL (its suites under Wine), each with the
# GoogleTest suites, the rounding-mode runs and the binary checks (instruction
# set, exports, no state); the same for the builds for processors without AVX
# (linux-x64-sse2, whose suite also runs under qemu-x86_64 on a processor
# model without AVX, and win32-dll-sse2) and for 64-bit ARM (linux-arm64: a
# clang cross build whose suites run under qemu-aarch64 with sparse sweeps).
# Then the x86-64 suite under AddressSanitizer and UndefinedBehaviorSanitizer,
# and the Python package's tests (pytest, on the package pip installs).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/ensure-packages.sh cmake make g++ g++-multilib g++-mingw-w64-i686 \
    binutils-mingw-w64-i686 libsimde-dev qemu-user libgtest-dev libsndfile1-dev libpng-dev pkg-config \
    pybind11-dev python3-dev python3-numpy python3-pytest clang libclang-rt-14-dev \
    python3-pip python3-setuptools python3-wheel python3-venv \
    libc6-dev-arm64-cross libstdc++-12-dev-arm64-cross libgcc-12-dev-arm64-cross binutils-aarch64-linux-gnu \
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64
# The interpreter that Debian's numpy and pytest belong to.
python=/usr/bin/python3
status=0 passed=0 failed=0
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for preset in linux-x64 linux-i386 win32-dll win64-dll linux-x64-sse2 win32-dll-sse2 linux-arm64 \
              linux-x64-asan; do
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
# The package as a user installs it (pip, into a fresh virtual environment
# that sees Debian's numpy and pytest), tested from outside the source tree.
venv=$(mktemp -d)
trap 'rm -f "$log"; rm -rf "$venv"' EXIT
"$python" -m venv --system-site-packages "$venv"
if "$venv/bin/python" -m pip install -q --no-build-isolation --no-index --no-cache-dir . >"$log" 2>&1; then
    (cd "$venv" && bin/python -m pytest -q -p no:cacheprovider "$OLDPWD/python/tests") 2>&1 | tee "$log" || status=1
else
    cat "$log"
    echo "1 failed (pip install)" >"$log"
fi
summary=$(tail -n 1 "$log")
[[ $summary =~ (passed|failed|error) ]] || status=1
count() { grep -o "[0-9]* $1" <<<"$summary" | cut -d' ' -f1 || echo 0; }
passed=$((passed + $(count passed))) failed=$((failed + $(count failed) + $(count error)))
echo "all targets: $passed passed, $failed failed"
[ "$failed" -eq 0 ] || status=1
exit $status
