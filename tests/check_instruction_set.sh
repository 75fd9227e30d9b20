#!/usr/bin/env bash
# Disassembles the library and checks the instruction set it relies on: AVX and nothing beyond it (no FMA, no
# 256-bit integer AVX2 forms, no AVX-512), every SSE-register instruction VEX-encoded, and no x87 arithmetic (x87
# only moves values: float results, 64-bit integer conversions); and in the aligned-output kernels, every vector
# store to memory an aligned move.
# Usage: check_instruction_set.sh OBJDUMP LIBRARY
set -uo pipefail
objdump=$1 library=$2
listing=$("$objdump" -d --no-show-raw-insn "$library") || exit 1
# The x64 mingw-w64 runtime's exit tables (built for plain x86-64; run at load and unload, never by an export).
listing=$(awk '/>:$/ { skip = /<_(initialize|execute)_onexit_table>:$/ } !skip' <<<"$listing")
fail=0
flag() {  # flag WHAT: offending lines on standard input
    local hits
    hits=$(head -5)
    if [ -n "$hits" ]; then printf 'FAIL: %s:\n%s\n' "$1" "$hits"; fail=1; fi
}
tab=$'\t'
flag "fused multiply-add" < <(grep -E "${tab}vf(n?m(add|sub)|madd|msub)" <<<"$listing")
flag "AVX-512 registers" < <(grep -E '%zmm|%k[0-7]\b' <<<"$listing")
# AVX itself has only these vp* forms on 256-bit registers.
flag "AVX2 integer, broadcast or gather forms" < <(
    grep -E "${tab}vp[a-z0-9]* .*%ymm|${tab}(vpbroadcast|vgather|vpermd|vpermq|vinserti128|vextracti128|vperm2i128|vpmaskmov)|${tab}vbroadcasts[sd] +%xmm" <<<"$listing" |
        grep -vE "${tab}(vperm2f128|vpermilps|vpermilpd|vptest) ")
flag "legacy (non-VEX) SSE encodings" < <(grep -E "${tab}[a-uw-z][a-z0-9]* .*%xmm" <<<"$listing")
flag "x87 arithmetic" < <(grep -E "${tab}f(add|sub|subr|mul|div|divr|sqrt|sin|cos|prem|scale|ptan|patan|yl2x)[a-z]*[ ${tab}]" <<<"$listing")
aligned=$("$objdump" -d -C --no-show-raw-insn "$library" | awk '/>:$/ { keep = /_aligned_output|scaleSteps<true/ } keep')
flag "unaligned vector stores in the aligned-output kernels" < <(
    grep -E "${tab}(vmovup[sd]|vmovdqu|vmov[lh]p[sd]|vextractf128) .*%[xy]mm[0-9]+,[^%]*\(" <<<"$aligned" |
        grep -vE '\(%[er](sp|bp)[,)]')  # the function's own stack frame
grep -qE "${tab}vmovap[sd] +%ymm" <<<"$aligned" || { echo "FAIL: no aligned stores found in the aligned-output kernels"; fail=1; }
echo "$(grep -c "$tab" <<<"$listing") instruction lines checked"
exit $fail
