#!/usr/bin/env bash
# The library keeps no state of its own: every symbol in its writable data and
# thread-local sections belongs to the start-up code of the toolchain (named
# below). Reads the symbol table of an ELF shared library or of the DLL (the
# DLL's import address table, filled by the loader, is left out).
# Usage: check_no_state.sh OBJDUMP LIBRARY
set -euo pipefail
objdump=$1 library=$2
sections=$("$objdump" -h "$library" | awk '/^ *[0-9]+ / { n = $2; i = $1 + 1; getline; if (/ALLOC/ && !/READONLY/ && n != ".idata") print i, n }')
# ELF rows: "ADDR FLAGS SECTION<tab>SIZE NAME"; COFF rows: "[k](sec S)...(scl C) (nx N) VALUE NAME".
symbols=$("$objdump" -t "$library" | awk -v list="$sections" '
    BEGIN { n = split(list, rows, "\n"); for (k = 1; k <= n; ++k) { split(rows[k], f, " "); byIndex[f[1]] = f[2]; byName[f[2]] = 1 } }
    $NF ~ /^\./ || /\(scl 103\)/ { next }
    match($0, /\(sec +[0-9]+\)/) { s = substr($0, RSTART + 5, RLENGTH - 6) + 0; if (s in byIndex) print byIndex[s], $NF; next }
    split($0, t, "\t") == 2 { m = split(t[1], l, " "); if (l[m] in byName) print l[m], $NF }')
toolchain=" _DYNAMIC _GLOBAL_OFFSET_TABLE_ __TMC_END__ __dso_handle __do_global_dtors_aux_fini_array_entry
    __frame_dummy_init_array_entry completed.0
    __CRT_MT ___crt_xc_end__ ___crt_xc_start__ ___crt_xi_end__ ___crt_xi_start__ ___crt_xl_start__ ___crt_xp_end__
    ___crt_xp_start__ ___crt_xt_end__ ___crt_xt_start__ ___mingw_app_type ___mingw_initltsdrot_force
    ___mingw_initltsdyn_force ___mingw_initltssuo_force ___mingw_module_is_dll ___mingwthr_cs ___mingwthr_cs_init
    ___native_dllmain_reason ___native_startup_lock ___native_startup_state ___native_vcclrit_reason ___proc_attached
    ___tls_end__ ___tls_start__ ___xc_a ___xc_z ___xd_a ___xd_z ___xi_a ___xi_z ___xl_a ___xl_c ___xl_d ___xl_z
    __bss_end__ __bss_start__ __data_end__ __data_start__ __tls_end __tls_index __tls_start _atexit_table
    _deregister_frame_fn _hmod_libgcc _initialized _key_dtor_list _maxSections _obj _p.0 _pcinit _the_secs _was_init.0
    __imp___initialize_onexit_table __imp____acrt_iob_func __imp___execute_onexit_table __imp___register_onexit_function "
fail=0
[ -n "$symbols" ] || { echo "FAIL: no symbols in writable sections read (a stripped library?)"; fail=1; }
while read -r section name; do
    [[ $toolchain == *[[:space:]]"$name"[[:space:]]* ]] || { echo "FAIL: $name in $section is state of the library's own"; fail=1; }
done <<<"$symbols"
echo "$(wc -l <<<"$symbols") symbols in writable sections: $(cut -d' ' -f1 <<<"$symbols" | sort -u | tr '\n' ' ')"
exit $fail
