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

# run_stage NAME COMMAND...: one more pass, or one more failure, in the total.
run_stage() {
    local name="$1"; shift
    echo "=== $name"
    if "$@"; then
        total_pass=$((total_pass + 1))
    else
        echo "=== $name: FAILED"
        status=1
        total_fail=$((total_fail + 1))
    fi
}

# The i386 formatter against the x86_64 one (ASan build) on the same values and the fuzz corpus
# that the run above left: the i386 floating-point unit must not change a single digit.
run_stage "differential: formatter, i386 against x86_64" bash tools/formatdiff.sh \
    build/i386/tests/fuzz/FormatReplay build/asan/tests/fuzz/FormatReplay build/fuzz/corpus/FormatFuzz

# The Debian package as it ships: lintian finds no error and no warning in it.
lint_package() {
    cpack --config build/i386/CPackConfig.cmake -B build/lintian > build/lintian.log 2>&1 &&
        lintian --fail-on error,warning build/lintian/sarvik_*_i386.deb &&
        echo "lintian: $(basename build/lintian/sarvik_*_i386.deb) clean"
}
run_stage "lintian: Debian package" lint_package

# Every tracked C and C++ file in the committed format; the files that drift are listed
# (bash tools/format.sh FILE... formats them).
run_stage "format: check" bash tools/format.sh --check

# Non-blank lines of the tracked sources under the given folders.
source_lines() {
    git ls-files -- "$@" | grep -E '\.(c|cc|cpp|h|hpp|py|sh)$' | tr '\n' '\0' | xargs -0 cat | grep -cv '^[[:space:]]*$'
}
test_lines=$(source_lines tests)
code_lines=$(source_lines Libs source sim bench tools)

echo "=== summary (i386, asan, tsan, fuzz, differential, lintian, format)"
awk -v t="$test_lines" -v c="$code_lines" 'BEGIN { printf "test/code lines: %d / %d = %.2f\n", t, c, t / c }'
echo "total: ${total_pass} passed, ${total_fail} failed"
exit $status
