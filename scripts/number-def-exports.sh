#!/usr/bin/env bash
# Sorts the export lines of the DLL's module-definition file in ascending
# byte order of the names and numbers them 1..N. Run it after adding exports.
set -euo pipefail
def=${1:-"$(dirname "$0")/../src/frame/qxcalc-avx.def"}
export LC_ALL=C
header=$(sed '/^EXPORTS/q' "$def")
exports=$(sed '1,/^EXPORTS/d' "$def" | sed 's/ @[0-9]*[[:space:]]*$//' | grep -v '^[[:space:]]*$' |
          sort -t= -k1,1 | awk '{ printf "    %s = %s @%d\n", $1, $3, NR }')
printf '%s\n%s\n' "$header" "$exports" > "$def"
