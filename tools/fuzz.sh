#!/usr/bin/env bash
# Builds the fuzz targets with clang, ASan and UBSan in build/fuzz and runs the formatter's target
# for a bounded time: fuzz.sh [seconds] [extra libFuzzer options]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"; shift || true
dir=build/fuzz
CC=clang CXX=clang++ cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DSARVIK_FUZZ=ON -DSARVIK_TESTS=OFF -DSARVIK_SANITIZE=address \
    -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link >/dev/null
cmake --build "$dir" --target FormatFuzz
corpus="$dir/corpus/FormatFuzz"
mkdir -p "$corpus"
"$dir/tests/fuzz/FormatFuzz" -max_total_time="$seconds" -max_len=1024 -artifact_prefix="$dir/" "$@" "$corpus"
