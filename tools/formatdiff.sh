#!/usr/bin/env bash
# Runs the formatter of the i386 build and of an x86_64 build over the same values and fails when
# their outputs differ in any byte: every power of ten from 1e-308 to 1e308 with its two
# neighbours and 10000 seeded doubles in floating-point patterns, then every input of a fuzz corpus.
#   formatdiff.sh I386_FORMATREPLAY X86_64_FORMATREPLAY [CORPUS_DIRECTORY]
set -uo pipefail
i386="$1" x86_64="$2" corpus="${3:-}"
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT
status=0
compare() { # compare WHAT ARGS...
    local what="$1"; shift
    if ! "$i386" "$@" > "$out/i386" || ! "$x86_64" "$@" > "$out/x86_64"; then
        echo "formatdiff: $what: a replay failed"; status=1; return
    fi
    local lines; lines=$(wc -l < "$out/i386")
    if [ "$lines" -eq 0 ]; then
        echo "formatdiff: $what: nothing replayed"; status=1
    elif cmp -s "$out/i386" "$out/x86_64"; then
        echo "formatdiff: $what: $lines outputs agree"
    else
        echo "formatdiff: $what: i386 (<) and x86_64 (>) differ:"
        diff "$out/i386" "$out/x86_64" | head -n 20
        status=1
    fi
}
compare "powers of ten and seeded values" --values
if [ -n "$corpus" ]; then
    compare "fuzz corpus $corpus" "$corpus"
fi
exit $status
