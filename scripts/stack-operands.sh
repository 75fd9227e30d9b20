#!/usr/bin/env bash
# Review aid: lists the stack-memory operands (esp-relative, and ebp-relative
# where ebp is the frame pointer) inside the innermost loops of every function
# of the library's own code in the 32-bit DLL. A loop is the address range
# from a backward jump's target to the jump; an innermost loop holds no other.
# Inside a kernel's innermost loop every such operand is a spill or a reload:
# zero is the aim. Not a test: the benchmark notes quote it where a row lags.
# Usage: stack-operands.sh [DLL] (default build/win32-dll/qxcalc-avx.dll)
set -euo pipefail
cd "$(dirname "$0")/.."
dll=${1:-build/win32-dll/qxcalc-avx.dll}
[ -f "$dll" ] || { echo "no $dll: build the win32-dll preset first" >&2; exit 1; }
i686-w64-mingw32-objdump -d -C --no-show-raw-insn "$dll" | awk '
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
'
