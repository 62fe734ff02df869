#!/usr/bin/env python3
"""Reads tools/mutants.txt and plants one mutant in a tree; used by tools/mutate.sh.

    mutate.py ids LIST            prints the ids, one a line
    mutate.py apply LIST ID ROOT  replaces the mutant's text in ROOT/FILE and prints FILE;
                                  exit 3 when the text does not occur exactly once
"""
import sys

FIELDS = ("id", "what", "file", "from", "to")


def parse(path):
    mutants, block, last = [], {}, None
    for number, line in enumerate(open(path, encoding="utf-8").read().split("\n"), 1):
        if line.startswith("#"):
            continue
        if not line.strip():
            if block:
                mutants.append(block)
            block, last = {}, None
        elif line.startswith("+") and last:
            block[last] += "\n" + line[2:]
        else:
            key, sep, value = line.partition(":")
            if not sep or key not in FIELDS:
                sys.exit(f"{path}:{number}: expected one of {', '.join(FIELDS)}")
            block[key], last = value[1:] if value.startswith(" ") else value, key
    if block:
        mutants.append(block)
    for mutant in mutants:
        missing = [key for key in FIELDS if key not in mutant]
        if missing:
            sys.exit(f"{path}: mutant {mutant.get('id', '?')} lacks {', '.join(missing)}")
    return mutants


def main():
    mutants = parse(sys.argv[2])
    if sys.argv[1] == "ids":
        print("\n".join(m["id"] for m in mutants))
        return 0
    wanted = [m for m in mutants if m["id"] == sys.argv[3]]
    if len(wanted) != 1:
        print(f"no single mutant {sys.argv[3]}", file=sys.stderr)
        return 3
    mutant = wanted[0]
    path = f"{sys.argv[4]}/{mutant['file']}"
    try:
        text = open(path, encoding="utf-8").read()
    except OSError as error:
        print(error, file=sys.stderr)
        return 3
    count = text.count(mutant["from"])
    if count != 1:
        print(f"{mutant['id']}: text occurs {count} times in {mutant['file']}", file=sys.stderr)
        return 3
    open(path, "w", encoding="utf-8").write(text.replace(mutant["from"], mutant["to"]))
    print(mutant["file"])
    return 0


if __name__ == "__main__":
    sys.exit(main())
