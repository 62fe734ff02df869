#!/usr/bin/env bash
# Configures and builds one tree: build.sh i386|asan|tsan|native [TARGET...] (default: all)
set -euo pipefail
cd "$(dirname "$0")/.."
kind="$1"; shift
dir="build/$kind"
args=(-G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo)
# A compiler cache, where the machine has one, makes rebuilds in several checkouts cheap.
if command -v ccache >/dev/null; then
    export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
    args+=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
case "$kind" in
    i386)
        # The toolchain is read only when the tree is first configured.
        [ -f "$dir/CMakeCache.txt" ] || args+=(-DCMAKE_TOOLCHAIN_FILE=cmake/i386.cmake)
        args+=(-DSARVIK_WERROR=ON -DSARVIK_BENCH=ON) ;;
    asan)   args+=(-DSARVIK_SANITIZE=address) ;;
    tsan)   args+=(-DSARVIK_SANITIZE=thread) ;;
    native) args+=(-DSARVIK_BENCH=ON) ;;
    *) echo "build.sh: unknown build '$kind'" >&2; exit 2 ;;
esac
cmake -S . -B "$dir" "${args[@]}" >/dev/null
targets=()
for t in "$@"; do targets+=(--target "$t"); done
cmake --build "$dir" -j "$(nproc)" "${targets[@]}"
