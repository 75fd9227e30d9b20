#!/usr/bin/env bash
# The library keeps no state of its own: every symbol of its writable, zero-initialised and thread-local data
# belongs to the toolchain's start-up code (named below). Reads the symbol table of the ELF library or the DLL.
# Usage: check_no_state.sh NM LIBRARY
set -euo pipefail
symbols=$("$1" "$2" | awk '$2 ~ /^[bBdD]$/ && $3 !~ /^\./ { print $3 }')
fail=0
[ -n "$symbols" ] || { echo "FAIL: no data symbols read (a stripped library?)"; fail=1; }
for name in $symbols; do
    case $name in  # GNU ld and crtstuff; the mingw-w64 runtime and libgcc of the DLL
    _DYNAMIC | _GLOBAL_OFFSET_TABLE_ | __TMC_END__ | __dso_handle | __*_array_entry | completed.0) ;;
    __CRT_MT | ___crt_x?_*__ | ___mingw* | ___native_* | ___proc_attached | ___tls_* | __tls_* | ___x?_?) ;;
    __bss_* | __data_* | __imp_* | _atexit_table | _deregister_frame_fn | _hmod_libgcc | _initialized) ;;
    _key_dtor_list | _maxSections | _obj | _p.0 | _pcinit | _the_secs | _was_init.0) ;;
    _CRT_MT | __mingw* | __native_* | __proc_attached | __x?_? | _tls_* | atexit_table | initialized | key_dtor_list) ;;
    maxSections | p.0 | pcinit | the_secs | was_init.0) ;;  # the x64 runtime's names lack the leading underscore
    *) echo "FAIL: $name is data of the library's own"; fail=1 ;;
    esac
done
echo "$(wc -w <<<"$symbols") data symbols read"
exit $fail
