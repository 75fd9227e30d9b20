#!/usr/bin/env bash
# Reads the DLL's export and import tables and checks the binary interface a host links against: plain
# (undecorated) names, every name declared in the public header, ordinal base 1 and ordinals 1..N in ascending byte
# order of the names, all 41 exports, imports from Windows system DLLs only, and on x64 unwind data for each
# export, with every callee-saved register a function writes saved in it.
# Usage: check_dll_exports.sh OBJDUMP DLL HEADER
set -euo pipefail
objdump=$1 dll=$2 header=$3
export LC_ALL=C
fail=0
complain() { echo "FAIL: $*"; fail=1; }

table=$("$objdump" -p "$dll")

base=$(sed -n 's/^Ordinal Base[[:space:]]*\([0-9][0-9]*\).*/\1/p' <<<"$table")
[ "$base" = 1 ] || complain "ordinal base is '$base', not 1"

# "[   k] name" rows of the name pointer table: k is the ordinal minus the base.
rows=$(sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' <<<"$table" |
    sed -n 's/^[[:space:]]*\[ *\([0-9]*\)\] \(.*\)$/\1 \2/p')
[ -n "$rows" ] || complain "no exported names found"
names=$(cut -d' ' -f2 <<<"$rows")
declared=$(grep -o 'QXCALC_CALL q[xX][cC]alc[A-Za-z0-9_]*' "$header" | cut -d' ' -f2 | sort -u)

grep -q '@' <<<"$names" && complain "decorated export names: $(grep '@' <<<"$names" | tr '\n' ' ')"
[ "$names" = "$(sort <<<"$names")" ] || complain "export names are not in ascending byte order"
expected=1
while read -r index name; do
    ordinal=$((index + ${base:-0}))
    [ "$ordinal" = "$expected" ] || complain "$name has ordinal $ordinal, expected $expected"
    grep -qx "$name" <<<"$declared" || complain "$name is exported but not declared in the header"
    expected=$((expected + 1))
done <<<"$rows"
exported=$(wc -l <<<"$names")
declaredCount=$(wc -l <<<"$declared")
[ "$declaredCount" = 41 ] || complain "the header declares $declaredCount exports, not 41"
[ "$exported" = 41 ] || complain "the DLL exports $exported names, not 41"
echo "exports: $exported of $declaredCount declared"

# x64: exception dispatch and debuggers walk each export's frame through its function table (.pdata) entry.
if grep -q 'file format pei-x86-64' <<<"$table"; then
    imageBase=$((16#$(sed -n 's/^ImageBase[[:space:]]*//p' <<<"$table")))
    begins=$(sed -n '/^The Function Table/,/^$/s/^ [0-9a-f]*:[[:space:]]*\([0-9a-f]*\) .*/\1/p' <<<"$table")
    for rva in $(sed -n 's/.*\] \([0-9a-f]*\) Export RVA$/\1/p' <<<"$table"); do
        address=$(printf '%016x' $((imageBase + 16#$rva)))
        grep -qx "$address" <<<"$begins" || complain "no unwind data for the export at $rva"
    done
    # Every function saves in its unwind data each callee-saved register it writes (rbx, rbp, rdi, rsi, r12-r15,
    # xmm6-xmm15): the host's values survive every call, and an unwind restores them.
    unsaved=$({ cat <<<"$table"; "$objdump" -d --no-show-raw-insn "$dll"; } | awk '
        function hex16(s) { s = sprintf("%16s", s); gsub(/ /, "0", s); return s }
        /^ [0-9a-f]+ \(rva: [0-9a-f]+\): [0-9a-f]+ - [0-9a-f]+$/ { n++; begin[n] = $4; end[n] = $6; next }
        n && /^\t  pc\+0x[0-9a-f]+: (push|save) / { saved[n, $3] = 1; next }
        /^ +[0-9a-f]+:\t/ {
            sub(/ *[#<].*$/, "")
            reg = $NF
            if ($2 ~ /^(cmp|test|v?u?comis|v?ptest|bt|push|call|j)/ || reg !~ /%[a-z0-9]+$/) next
            sub(/.*%/, "", reg)
            if (reg ~ /^[xy]mm([6-9]|1[0-5])$/) reg = "xmm" substr(reg, 4)
            else if (reg ~ /^r1[2-5][dwb]?$/) reg = substr(reg, 1, 3)
            else if (reg ~ /^[re]?(bx|bp|di|si)$|^(bl|bh|bpl|dil|sil)$/)
                reg = reg ~ /b[xlh]$/ ? "rbx" : reg ~ /bp/ ? "rbp" : reg ~ /di/ ? "rdi" : "rsi"
            else next
            addr = hex16(substr($1, 1, length($1) - 1))
            for (f = 1; f <= n && !(begin[f] <= addr && addr < end[f]); f++);
            if (!saved[f, reg]) print
        }')
    [ -z "$unsaved" ] || complain "callee-saved registers written but not saved:"$'\n'"$(head -5 <<<"$unsaved")"
fi

imports=$(sed -n 's/^[[:space:]]*DLL Name: //p' <<<"$table")
echo "imports:" $imports
system='^(kernel32|user32|advapi32|ntdll|msvcrt|ucrtbase|api-ms-win-[a-z0-9-]*)\.dll$'
others=$(grep -viE "$system" <<<"$imports" || true)
[ -z "$others" ] || complain "imports non-system DLLs:" $others

exit $fail
