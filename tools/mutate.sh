#!/usr/bin/env bash
# Mutation run: plants each fault of tools/mutants.txt (or only the ids given) in a scratch
# checkout of HEAD, builds the i386 kind there and runs its tests. A fault is caught when some
# test fails, survived when all pass, invalid when its text is not found or the build fails.
# Usage: tools/mutate.sh [ID...]   (exit status 1 when any survived or was invalid)
set -uo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"
list="$repo/tools/mutants.txt"
apply="$repo/tools/mutate.py"
ids=("$@")
[ ${#ids[@]} -gt 0 ] || mapfile -t ids < <(python3 "$apply" ids "$list")

scratch="$(mktemp -d)"
tree="$scratch/tree"
cleanup() {
    git -C "$repo" worktree remove --force "$tree" >/dev/null 2>&1
    rm -rf "$scratch"
}
trap cleanup EXIT
trap 'exit 130' INT TERM
git -C "$repo" worktree add --detach "$tree" HEAD >/dev/null 2>&1 || { echo "mutate: no scratch tree" >&2; exit 2; }

build() { (cd "$tree" && bash tools/build.sh i386) > "$scratch/build.log" 2>&1; }
# Prints the first failing test's name; status 0 when every test passed.
run_tests() {
    ctest --test-dir "$tree/build/i386" -j2 --timeout 180 --stop-on-failure > "$scratch/ctest.log" 2>&1 && return 0
    local first
    first=$(grep -m1 -E 'Test +#[0-9]+: .*\*\*\*' "$scratch/ctest.log" | sed -E 's/.*Test +#[0-9]+: ([^ ]+) .*/\1/')
    echo "${first:-(ctest failed)}"
    return 1
}

start=$(date +%s)
if ! build || ! run_tests > /dev/null; then
    echo "mutate: the unmutated tree does not build or pass its tests" >&2
    tail -n 30 "$scratch/build.log" "$scratch/ctest.log" >&2
    exit 2
fi
results=()
caught=0 survived=0 invalid=0
for id in "${ids[@]}"; do
    t0=$(date +%s)
    if ! file=$(python3 "$apply" apply "$list" "$id" "$tree" 2> "$scratch/apply.log"); then
        result="invalid  $(cat "$scratch/apply.log")"
        invalid=$((invalid + 1))
    elif ! build; then
        result="invalid  build failed: $(grep -m1 -E 'error:' "$scratch/build.log")"
        invalid=$((invalid + 1))
    elif first=$(run_tests); then
        result="survived"
        survived=$((survived + 1))
    else
        result="caught   $first"
        caught=$((caught + 1))
    fi
    [ -z "${file:-}" ] || git -C "$tree" checkout -- "$file"
    file=""
    results+=("$(printf '%-6s %s' "$id" "$result")")
    printf '%-6s %s (%ds)\n' "$id" "$result" $(($(date +%s) - t0))
done
echo "---"
printf '%s\n' "${results[@]}"
echo "mutants: $caught caught, $survived survived, $invalid invalid ($(($(date +%s) - start)) s)"
[ $((survived + invalid)) -eq 0 ]
