#!/usr/bin/env bash
# Builds the formatter benchmark in the i386 (product) and native trees, runs each and prints one
# line per pattern: the time of CString::Format divided by glibc's snprintf and by stb_sprintf's
# (below 1: faster).
set -euo pipefail
cd "$(dirname "$0")/.."
for kind in i386 native; do
    bash tools/build.sh "$kind" FormatBench >/dev/null
    echo "== $kind"
    "build/$kind/bench/FormatBench" --benchmark_format=csv --benchmark_repetitions="${REPETITIONS:-5}" \
        --benchmark_report_aggregates_only=true "$@" 2>/dev/null |
        awk -F, '
            $1 ~ /_median"?$/ {
                name = $1; gsub(/"/, "", name); sub(/_median$/, "", name)
                split(name, part, "/"); time[part[1], part[2]] = $4
                if (!(part[1] in seen)) { seen[part[1]] = 1; order[++n] = part[1] }
            }
            END {
                for (i = 1; i <= n; ++i) {
                    p = order[i]
                    printf "%s: %.2f vs glibc, %.2f vs stb  (sarvik %.1f ns, glibc %.1f ns, stb %.1f ns)\n", p,
                        time[p, "sarvik"] / time[p, "glibc"], time[p, "sarvik"] / time[p, "stb"],
                        time[p, "sarvik"], time[p, "glibc"], time[p, "stb"]
                }
            }'
done
