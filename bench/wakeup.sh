#!/usr/bin/env bash
# Wake-up of the simulated Q5K at real speed: wall time of BoardWakeUp(3) against its floor,
# the first timer calibration (2000 ms) + the reset pulse (130 ms) + the time the board took
# to answer each command (from the protocol trace). Prints the ratio wall / floor.
#   bench/wakeup.sh [BUILD_DIR]     (default build/i386)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/i386}"
sim="$build/sim/sarvik-sim"
[ -x "$sim" ] || sim="$(find "$build" -name sarvik-sim -type f -perm -u+x | head -n 1)"
probe="$build/tests/sim-probe"
if [ ! -x "$sim" ] || [ ! -x "$probe" ]; then
    echo "wakeup.sh: build the i386 tree first (bash tools/build.sh i386)" >&2
    exit 2
fi
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
"$sim" --board Q5K --speed 1 --trace "$work/trace" --syslog "$work/syslog" -- "$probe" toolbox wakeup 3 >"$work/out"
python3 - "$work/out" "$work/trace" <<'PY'
import json, sys
out = dict(word.split("=", 1) for word in open(sys.argv[1]).read().split() if "=" in word)
if out["0.result"] != "0":
    sys.exit("wakeup.sh: wake-up failed with code %s" % out["0.result"])
commands_ms = 0.0
for line in open(sys.argv[2]):
    event = json.loads(line)
    if event.get("ev") == "cmd" and event.get("done_us") is not None:
        commands_ms += (event["done_us"] - event["t_us"]) / 1000.0
floor_ms = 2000 + 130 + commands_ms
wall_ms = int(out["0.us"]) // 1000
print("wakeup Q5K: wall %d ms, floor %.1f ms (calibration 2000 + reset 130 + commands %.1f), ratio %.3f"
      % (wall_ms, floor_ms, commands_ms, wall_ms / floor_ms))
PY
