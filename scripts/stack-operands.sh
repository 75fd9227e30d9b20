#!/usr/bin/env bash
# Lists the stack-memory operands (esp-relative, and ebp-relative where ebp is
# the frame pointer) inside the innermost loops of every function of the
# library's own code in the 32-bit DLL. A loop is the address range from a
# backward jump's target to the jump; an innermost loop holds no other. Inside
# a kernel's innermost loop every such operand is a spill or a reload: zero is
# the aim (src/simd/registers.h names the ways the kernels get there).
#
# Usage: stack-operands.sh [DLL]              the listing, for review
#        stack-operands.sh --limits [DLL]     each function's total, as a limits file
#        stack-operands.sh --check FILE [DLL] fails when a function's total exceeds its limit in FILE
#                                             (0 for a function not in it), or a function in FILE has
#                                             no loop left
# A function is named without its parameters, return type, anonymous
# namespaces and compiler clone suffixes, and its clones' loops count together.
# The DLL defaults to build/win32-dll/qxcalc-avx.dll.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=list limits=
case ${1:-} in
    --limits) mode=limits; shift ;;
    --check) mode=check limits=$2; shift 2 ;;
esac
dll=${1:-build/win32-dll/qxcalc-avx.dll}
[ -f "$dll" ] || { echo "no $dll: build the win32-dll preset first" >&2; exit 1; }
listing=$(i686-w64-mingw32-objdump -d -C --no-show-raw-insn "$dll" | awk '
function flush(   i, j, inner, n, total) {
    if (name == "" || name !~ /qx/) { loops = 0; return }
    total = 0
    for (i = 1; i <= loops; i++) {
        inner = 1
        for (j = 1; j <= loops; j++)
            if (j != i && from[j] >= from[i] && to[j] <= to[i] && (from[j] != from[i] || to[j] != to[i])) inner = 0
        if (!inner) continue
        n = 0
        for (k = 1; k <= count; k++) {
            if (addr[k] < from[i] || addr[k] > to[i] || text[k] ~ /\tlea/) continue
            if (text[k] ~ /\(%esp[,)]/ || (framed && text[k] ~ /\(%ebp[,)]/)) { hits[++n] = text[k] }
        }
        printf "%s  loop %x-%x: %d\n", name, from[i], to[i], n
        for (k = 1; k <= n; k++) print "    " hits[k]
        total += n
    }
    grand += total
    loops = 0
}
function hex(s,   v, c, i) {
    v = 0
    for (i = 1; i <= length(s); i++) { c = index("0123456789abcdef", substr(s, i, 1)); v = v * 16 + c - 1 }
    return v
}
/^[0-9a-f]+ <.*>:$/ { flush(); name = $0; sub(/^[0-9a-f]+ </, "", name); sub(/>:$/, "", name); count = 0; framed = 0; next }
/^ *[0-9a-f]+:\t/ {
    a = $1; sub(/:$/, "", a)
    addr[++count] = hex(a); text[count] = $0
    if ($0 ~ /\tmov +%esp,%ebp/) framed = 1
    if ($0 ~ /\tj[a-z]+ +[0-9a-f]+ </) {
        t = $0; sub(/^.*\tj[a-z]+ +/, "", t); sub(/ <.*$/, "", t)
        if (hex(t) <= addr[count]) { loops++; from[loops] = hex(t); to[loops] = addr[count] }
    }
}
END { flush(); printf "stack operands in innermost loops: %d\n", grand }
')
if [ "$mode" = list ]; then
    echo "$listing"
    exit 0
fi
# Each function's total: "count name" per line, by name.
totals=$(awk '
/  loop [0-9a-f]+-[0-9a-f]+: [0-9]+$/ {
    n = $NF
    s = $0
    sub(/  loop [0-9a-f]+-[0-9a-f]+: [0-9]+$/, "", s)
    gsub(/ \[clone [^]]*\]/, "", s)
    gsub(/\(anonymous namespace\)::/, "", s)
    # The name ends at the first "(" outside template arguments; a return type ends at the last space before it.
    depth = 0
    start = 1
    for (i = 1; i <= length(s); i++) {
        c = substr(s, i, 1)
        if (c == "<") depth++
        else if (c == ">") depth--
        else if (depth == 0 && c == " ") start = i + 1
        else if (depth == 0 && c == "(") break
    }
    total[substr(s, start, i - start)] += n
}
END { for (f in total) print total[f], f }' <<<"$listing" | LC_ALL=C sort -k2)
if [ "$mode" = limits ]; then
    echo "# Stack operands allowed in the innermost loops of each function of the 32-bit DLL; 0 for any other."
    echo "# Written by scripts/stack-operands.sh --limits; lower a row when a function improves."
    awk '$1 > 0' <<<"$totals"
    exit 0
fi
awk '
FNR == NR { if ($0 !~ /^#/ && NF > 1) { n = $1; sub(/^[0-9]+ /, ""); limit[$0] = n; seen[$0] = 0 } next }
{
    n = $1
    sub(/^[0-9]+ /, "")
    seen[$0] = 1
    allowed = ($0 in limit) ? limit[$0] : 0
    if (n > allowed) { printf "FAIL: %s: %d stack operands in innermost loops, limit %d\n", $0, n, allowed; bad = 1 }
    else if (n < allowed) printf "note: %s: %d stack operands, limit %d (the limit can come down)\n", $0, n, allowed
    functions++
}
END {
    for (f in seen) if (!seen[f]) { printf "FAIL: %s: no innermost loop found\n", f; bad = 1 }
    printf "%d functions with loops checked\n", functions
    if (bad) print "scripts/stack-operands.sh DLL lists the operands, loop by loop"
    exit bad
}' "$limits" - <<<"$totals"
