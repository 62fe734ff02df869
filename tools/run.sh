#!/usr/bin/env bash
# Builds the i386 release binary and the simulated server, then runs Sarvik against the
# simulated server's default unit. Arguments are passed to Sarvik (e.g. --json).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/deps.sh >/dev/null
bash tools/build.sh i386 >/dev/null
if [ -x build/i386/sim/host/sarvik-sim ]; then
    exec build/i386/sim/host/sarvik-sim -- build/i386/source/Sarvik "$@"
fi
exec build/i386/source/Sarvik "$@"
