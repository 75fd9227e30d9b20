#!/usr/bin/env bash
# Disassembles the library and checks the instruction set it relies on. The avx build: AVX and nothing beyond it
# (no FMA, no 256-bit integer AVX2 forms, no AVX-512), every SSE-register instruction VEX-encoded. The sse2 build:
# no VEX or EVEX encoding at all and nothing past SSE2 (no SSE3, SSSE3 or SSE4). Both: no x87 arithmetic (x87 only
# moves values: float results, 64-bit integer conversions); and in the aligned-output kernels, every vector store
# to memory an aligned move. The neon build (AArch64): no fused multiply-add.
# Usage: check_instruction_set.sh OBJDUMP LIBRARY [avx|sse2|neon]
set -uo pipefail
objdump=$1 library=$2 isa=${3:-avx}
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
# AArch64 has its own fused forms: none of fmadd, fmsub, fnmadd, fnmsub, fmla or fmls may appear.
if [ "$isa" = neon ]; then
    flag "fused multiply-add" < <(grep -E "${tab}(fn?m(add|sub)|fml[as])" <<<"$listing")
    echo "$(grep -c "$tab" <<<"$listing") instruction lines checked"
    exit $fail
fi
if [ "$isa" = sse2 ]; then
    # Every VEX or EVEX vector instruction is spelled v... (verr and verw are older), and so are the wider and
    # mask registers; the VEX-encoded integer instructions (BMI) have names of their own.
    flag "VEX or EVEX encodings" < <(
        grep -E "${tab}v[a-z0-9]*([ ${tab}]|$)|%[yz]mm|%k[0-7]\b|${tab}(andn|bextr|blsi|blsmsk|blsr|bzhi|mulx|\
pdep|pext|rorx|sarx|shlx|shrx) " <<<"$listing" | grep -vE "${tab}ver[rw] ")
    flag "SSE3, SSSE3 or SSE4 instructions" < <(
        grep -E "${tab}((hadd|hsub|addsub)p[sd]|movddup|movs[hl]dup|lddqu|pshufb|palignr|pabs[bwd]|psign[bwd]|\
pmaddubsw|pmulhrsw|ph(add|sub)[a-z]*|blendv?p[sd]|pblend[a-z]*|round[ps][sd]|dpp[sd]|ptest|pm(in|ax)(s[bd]|u[wd])|\
pmull?d|pmuldq|pextr[bdq]|pinsr[bdq]|pmov[sz]x[a-z]*|packusdw|pcmp(eq|gt)q|extractps|insertps|movntdqa|mpsadbw|\
phminposuw|pcmp[ei]str[im]|popcnt|crc32[a-z]*) " <<<"$listing")
    vex="" aligned_register=xmm
else
    flag "fused multiply-add" < <(grep -E "${tab}vf(n?m(add|sub)|madd|msub)" <<<"$listing")
    flag "AVX-512 registers" < <(grep -E '%zmm|%k[0-7]\b' <<<"$listing")
    # AVX itself has only these vp* forms on 256-bit registers.
    flag "AVX2 integer, broadcast or gather forms" < <(
        grep -E "${tab}vp[a-z0-9]* .*%ymm|${tab}(vpbroadcast|vgather|vpermd|vpermq|vinserti128|vextracti128|\
vperm2i128|vpmaskmov)|${tab}vbroadcasts[sd] +%xmm" <<<"$listing" |
            grep -vE "${tab}(vperm2f128|vpermilps|vpermilpd|vptest) ")
    flag "legacy (non-VEX) SSE encodings" < <(grep -E "${tab}[a-uw-z][a-z0-9]* .*%xmm" <<<"$listing")
    vex=v aligned_register=ymm
fi
flag "x87 arithmetic" < <(
    grep -E "${tab}f(add|sub|subr|mul|div|divr|sqrt|sin|cos|prem|scale|ptan|patan|yl2x)[a-z]*[ ${tab}]" <<<"$listing")
aligned=$("$objdump" -d -C --no-show-raw-insn "$library" |
    awk '/>:$/ { keep = /_aligned_output|scaleSteps<true/ } keep')
flag "unaligned vector stores in the aligned-output kernels" < <(
    grep -E "${tab}${vex}(movup[sd]|movdqu|mov[lh]p[sd]|extractf128) .*%[xy]mm[0-9]+,[^%]*\(" <<<"$aligned" |
        grep -vE '\(%[er](sp|bp)[,)]')  # the function's own stack frame
if ! grep -qE "${tab}${vex}movap[sd] +%${aligned_register}" <<<"$aligned"; then
    echo "FAIL: no aligned stores found in the aligned-output kernels"
    fail=1
fi
echo "$(grep -c "$tab" <<<"$listing") instruction lines checked"
exit $fail
