#!/usr/bin/env bash
# Formats C and C++ sources with the committed .clang-format.
#   format.sh [FILE...]          formats the files given, or those changed against main
#   format.sh --check [FILE...]  lists the files (all tracked ones by default) that drift; fails if any
set -euo pipefail
cd "$(dirname "$0")/.."
check=0
if [ "${1:-}" = "--check" ]; then
    check=1
    shift
fi
files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    if [ $check -eq 1 ]; then
        mapfile -t files < <(git ls-files '*.cpp' '*.h' '*.c')
    else
        base=$(git merge-base HEAD main 2>/dev/null || echo HEAD)
        mapfile -t files < <({ git diff --name-only --diff-filter=d "$base"; git ls-files --others --exclude-standard; } |
            grep -E '\.(cpp|h|c)$' | sort -u)
    fi
fi
[ ${#files[@]} -gt 0 ] || exit 0
if [ $check -eq 0 ]; then
    clang-format -i "${files[@]}"
    exit 0
fi
drift=0
for f in "${files[@]}"; do
    if ! clang-format --dry-run --Werror "$f" >/dev/null 2>&1; then
        echo "format: $f drifts from .clang-format"
        drift=$((drift + 1))
    fi
done
echo "format: ${#files[@]} files checked, $drift drift"
[ $drift -eq 0 ]
