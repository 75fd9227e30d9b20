# Joins the lines of the benchmark table's program into one markdown table.
# Arguments: the runs' files in rounds of five builds (linux-x64, linux-i386,
# DLL, linux-x64-sse2, win64); each cell keeps the best rate of its rounds, so that a round slowed
# by other work on the machine does not count. The first file's "#" lines
# (machine, load, peer kernels) come first, as a list.
BEGIN { FS = "\t" }
FNR == 1 { file++; build = (file - 1) % 5 + 1 }
/^#/ { if (file == 1) print "- " substr($0, 3); next }
function best(old, new) { return old == "" || new + 0 > old + 0 ? new : old }
{
    key = $2 SUBSEP $3
    if (build == 1 && !(key in unit)) { order[++rows] = key; family[key] = $1; job[key] = $2; size[key] = $3; unit[key] = $4 }
    variant = $5
    if (variant == "ours") { rate[key, build] = best(rate[key, build], $6); next }
    if (build != 1) next
    if (variant ~ /^bound:/) { variant = substr(variant, 7); bound[key] = best(bound[key], $6); boundName[key] = variant }
    if (variant == "read" || variant == "memcpy" || variant == "scalar") { ref[key, variant] = best(ref[key, variant], $6); next }
    if (variant ~ /^peer:/ && $6 + 0 > peer[key] + 0) { peer[key] = $6; peerName[key] = substr(variant, 6) }
}
function num(x) { return x == "" ? "-" : sprintf("%.3g", x) }
function ratio(a, b) { return (a == "" || b == "" || b + 0 == 0) ? "-" : sprintf("%.2f", a / b) }
function sizeName(bytes) { return bytes >= 1048576 ? bytes / 1048576 " MiB" : bytes / 1024 " KiB" }
function cell(key, name) { v = num(ref[key, name]); return boundName[key] == name ? "**" v "**" : v }
END {
    print ""
    print "| job | size | unit | x64 | i386 | DLL | SSE2 | win64 | i386/x64 | DLL/x64 | SSE2/x64 | win64/x64 | read | memcpy | x64/bound | best peer | peer | x64/peer | plain loop | x64/plain |"
    print "|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|"
    for (r = 1; r <= rows; r++) {
        k = order[r]
        if (family[k] != lastFamily) { print "| **" family[k] "** |||||||||||||||||||"; lastFamily = family[k] }
        x64 = rate[k, 1]
        printf "| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n",
            job[k], sizeName(size[k]), unit[k], num(x64), num(rate[k, 2]), num(rate[k, 3]), num(rate[k, 4]),
            num(rate[k, 5]), ratio(rate[k, 2], x64), ratio(rate[k, 3], x64), ratio(rate[k, 4], x64),
            ratio(rate[k, 5], x64), cell(k, "read"), cell(k, "memcpy"), ratio(x64, bound[k]),
            (k in peerName) ? peerName[k] : "-", num(peer[k]), ratio(x64, peer[k]), num(ref[k, "scalar"]),
            ratio(x64, ref[k, "scalar"])
    }
}
