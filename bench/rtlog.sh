#!/usr/bin/env bash
# Caller's cost of one CRealTimeLog::Log line against spdlog's asynchronous logger, measured in the
# same run, in the i386 (product) and native builds; prints the ratio of the medians (below 1: the
# real-time log is cheaper for the caller).
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(mktemp)
trap 'rm -f "$out"' EXIT
for kind in i386 native; do
    bash tools/build.sh "$kind" RealTimeLogBench >/dev/null
    "build/$kind/bench/RealTimeLogBench" --benchmark_repetitions="${REPETITIONS:-9}" \
        --benchmark_report_aggregates_only=true --benchmark_format=json >"$out"
    python3 - "$out" "$kind" <<'PY'
import json, sys
runs = {b["run_name"].split("/")[0]: b for b in json.load(open(sys.argv[1]))["benchmarks"]
        if b.get("aggregate_name") == "median"}
per_line = {name: run["real_time"] / 500 for name, run in runs.items()}
print(f"== {sys.argv[2]}")
for name, ns in sorted(per_line.items()):
    print(f"{name:12s} {ns:8.1f} ns per line (median)")
print(f"ratio CRealTimeLog::Log / spdlog async: {per_line['RealTimeLog'] / per_line['SpdlogAsync']:.2f}")
PY
done
