#!/usr/bin/env bash
# Builds the log benchmark in the i386 (product) and native trees, runs each in a private /mnt (the
# log server's paths are absolute) and prints each cost as a ratio against its reference from the
# same run.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(mktemp)
trap 'rm -f "$out"' EXIT
for kind in i386 native; do
    bash tools/build.sh "$kind" SysLogBench >/dev/null
    BENCH="build/$kind/bench/SysLogBench" unshare -m sh -c 'mount --make-rprivate / &&
        mount -t tmpfs sarvik-bench /mnt && mkdir -p /mnt/APPS/data/log /mnt/APPS/data/orx &&
        exec "$BENCH" --benchmark_format=json --benchmark_repetitions=3 \
            --benchmark_report_aggregates_only=true' >"$out"
    echo "== $kind"
    python3 - "$out" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["benchmarks"]
def median(name, key="cpu_time"):
    for r in runs:
        if r["run_name"] == name and r.get("aggregate_name") == "median":
            return r[key]
    raise SystemExit("missing " + name)
caller = median("BM_CorvaneSourceLogMessage")
spd = median("BM_SpdlogAsyncLog")
ring = median("BM_RingBufferPushPop")
deque = median("BM_DequePushPop")
rate = median("BM_WorkerSustainedRate/iterations:1", "messages_per_second")
ceiling = median("BM_WorkerSustainedRate/iterations:1", "ceiling_per_second")
print(f"caller LogMessage / spdlog async: {caller:.1f} ns / {spd:.1f} ns = {caller / spd:.2f} (goal <= 1.00)")
print(f"ring push+pop / deque push+pop:   {ring:.1f} ns / {deque:.1f} ns = {ring / deque:.2f}")
print(f"worker rate / design ceiling:     {rate:.0f} / {ceiling:.0f} messages per second = {rate / ceiling:.2f}")
PY
done
