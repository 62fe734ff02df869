#!/usr/bin/env bash
# Builds and runs every test: the i386 product build (unit tests and the release binary in the
# simulated server), the native ASan+UBSan build and the native ThreadSanitizer build.
set -uo pipefail
cd "$(dirname "$0")/.."
bash tools/deps.sh
mkdir -p build
status=0
total_pass=0
total_fail=0

# run_suite KIND "TARGETS" [ctest args]: builds TARGETS (all when empty), then runs ctest.
run_suite() {
    local kind="$1"; shift
    local targets="$1"; shift
    echo "=== $kind: build"
    # shellcheck disable=SC2086
    if ! bash tools/build.sh "$kind" $targets; then
        echo "=== $kind: build FAILED"
        status=1
        total_fail=$((total_fail + 1))
        return
    fi
    echo "=== $kind: tests"
    local log="build/$kind/ctest.log"
    ctest --test-dir "build/$kind" --output-on-failure -j "$(nproc)" --timeout 600 "$@" 2>&1 | tee "$log"
    local rc=${PIPESTATUS[0]}
    [ "$rc" -eq 0 ] || status=1
    local line
    line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1)
    if [ -n "$line" ]; then
        local failed all
        failed=$(echo "$line" | sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\1/')
        all=$(echo "$line" | sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\2/')
        total_pass=$((total_pass + all - failed))
        total_fail=$((total_fail + failed))
    elif [ "$rc" -ne 0 ]; then
        total_fail=$((total_fail + 1))
    fi
}

# Every tracked C and C++ file in the committed format; the files that drift are listed.
echo "=== format: check"
if bash tools/format.sh --check > build/format.log 2>&1; then
    tail -n 1 build/format.log
    total_pass=$((total_pass + 1))
else
    cat build/format.log
    echo "=== format: FAILED (bash tools/format.sh FILE... formats them)"
    status=1
    total_fail=$((total_fail + 1))
fi

run_suite i386 ""
run_suite asan "" -LE '^(no-asan|sim|scenario|startup|release)$'
run_suite tsan "syslog_tests platform_tests" -L '^(syslog|platform)$'

# The formatter's fuzz target (clang, ASan+UBSan): a short seeded run, so it keeps building and
# its invariants keep holding; longer runs: bash tools/fuzz.sh SECONDS.
echo "=== fuzz: formatter"
rm -rf build/fuzz/corpus
if bash tools/fuzz.sh 30 -seed=1 -runs=500000 > build/fuzz.log 2>&1; then
    tail -n 1 build/fuzz.log
    total_pass=$((total_pass + 1))
else
    tail -n 40 build/fuzz.log
    echo "=== fuzz: FAILED"
    status=1
    total_fail=$((total_fail + 1))
fi

echo "=== summary (format, i386, asan, tsan, fuzz)"
echo "total: ${total_pass} passed, ${total_fail} failed"
exit $status
