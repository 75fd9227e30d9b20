#!/usr/bin/env bash
# Prints the benchmark table (markdown): every export family's jobs at 16 KiB,
# 256 KiB and 64 MiB on five release builds side by side (linux-x64,
# linux-i386, the Windows DLL's own code loaded into an i386 process by
# the project's PE loader, tools/dll_loader, linux-x64-sse2, the build for
# processors without AVX, and the x64 DLL's program under Wine), with the x64
# build next to a streaming read and a memcpy of the same block, the peer
# libraries doing the same job (VOLK, liquid-dsp, libsamplerate) and the plain
# loop a host would write.
# Every job runs in ROUNDS rounds (default 3) on the five builds in turn and
# every cell keeps its best round, so that a burst of other work on a shared
# machine does not land in one build's column only. Builds go to build/bench/; the
# runs' raw lines stay there (*.tsv). Extra arguments go to every run (e.g.
# --match Stats).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/ensure-packages.sh cmake make g++ g++-multilib g++-mingw-w64-i686 binutils-mingw-w64-i686 \
    libvolk2-dev libliquid-dev libsamplerate0-dev >&2
scripts/ensure-packages.sh g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64 >&2
out=build/bench
configure() {  # configure DIR [CMAKE ARGS...]
    local dir=$1
    shift
    cmake -S . -B "$out/$dir" --no-warn-unused-cli -DCMAKE_BUILD_TYPE=Release -DQXCALC_BUILD_TESTS=OFF -DQXCALC_BUILD_EXAMPLES=OFF \
        "$@" >/dev/null
}
build() { cmake --build "$out/$1" --target "$2" -j"$(nproc)" >/dev/null; }

configure x64 -DQXCALC_BUILD_BENCH=ON
configure x64-sse2 -DQXCALC_BUILD_BENCH=ON -DQXCALC_ISA=sse2
configure i386 --toolchain cmake/linux-i386.cmake -DQXCALC_BUILD_BENCH=ON
configure dll --toolchain cmake/mingw-i686.cmake
build dll qxcalc-avx
configure dll-bench --toolchain cmake/linux-i386.cmake -DQXCALC_BUILD_BENCH=ON \
    -DQXCALC_DLL_UNDER_TEST="$PWD/$out/dll/qxcalc-avx.dll"
configure win64 --toolchain cmake/mingw-x86_64.cmake -DQXCALC_BUILD_BENCH=ON
for dir in x64 x64-sse2 i386 dll-bench win64; do build $dir qxcalc_table; done

# The x64 DLL's program runs under Wine, kernels natively. The first start
# makes the prefix; then one Wine server stays for all the runs (a Wine process
# then starts in a few milliseconds instead of seconds).
export WINEPREFIX=$PWD/$out/win64/wine WINEDEBUG=-all
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
win64() { "$wine" "$out/win64/qxcalc_table.exe" "$@"; }
server=$(dirname "$wine")/wineserver
win64 --list >/dev/null 2>&1
"$server" -w
"$server" -p
trap '"$server" -k' EXIT

# Job by job, each round runs the job on the five builds back to back, so
# that a slow spell of the machine lands on one round of one job, not on one
# build's column.
x64=$out/x64/bench/qxcalc_table i386=$out/i386/bench/qxcalc_table dll=$out/dll-bench/bench/qxcalc_table
sse2=$out/x64-sse2/bench/qxcalc_table
rounds=$(seq "${ROUNDS:-3}")
files=()
for round in $rounds; do
    files+=("$out/x64-$round.tsv" "$out/i386-$round.tsv" "$out/dll-$round.tsv" "$out/sse2-$round.tsv"
            "$out/win64-$round.tsv")
    : >"$out/x64-$round.tsv" >"$out/i386-$round.tsv" >"$out/dll-$round.tsv" >"$out/sse2-$round.tsv"
    : >"$out/win64-$round.tsv"
done
{
    echo "# load before the runs: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) cores"
    "$x64" --header
} >"$out/x64-1.tsv"
"$x64" --list "$@" | while IFS= read -r job; do
    for round in $rounds; do
        "$x64" --job "$job" "$@" >>"$out/x64-$round.tsv"
        "$i386" --ours-only --job "$job" "$@" >>"$out/i386-$round.tsv"
        "$dll" --ours-only --job "$job" "$@" >>"$out/dll-$round.tsv"
        "$sse2" --ours-only --job "$job" "$@" >>"$out/sse2-$round.tsv"
        win64 --ours-only --job "$job" "$@" >>"$out/win64-$round.tsv"
    done
done
echo "# load after the runs: $(cut -d' ' -f1-3 /proc/loadavg)" >>"$out/x64-1.tsv"
awk -f bench/table/join.awk "${files[@]}"
