#!/usr/bin/env bash
# Line and branch coverage of the library's four folders under the whole test suite. Exclusion markers in the
# sources are ignored: every line that gcovr counts as code counts.
#
# usage: scripts/coverage.sh [--missing]     --missing also lists the lines that no test reached
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/coverage
scripts/setup.sh coverage
cmake --preset coverage
cmake --build --preset coverage -j "$(nproc)"
find "$build" -name '*.gcda' -delete
ctest --preset coverage -j "$(nproc)"

# Name gcov: gcovr may guess the wrong compiler from the objects.
gcov=gcov
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' "$build/CMakeCache.txt")
case $compiler in *clang*) gcov="llvm-cov gcov" ;; esac

gcovr --root . --gcov-executable "$gcov" --no-markers --exclude-throw-branches -j "$(nproc)" \
  --filter '(api|asn1|ber|crypto)/' --json "$build/coverage.json" "$build"

python3 - "$build/coverage.json" "$@" <<'PY'
import json, sys
with open(sys.argv[1], encoding="utf-8") as file:
    files = json.load(file)["files"]
folders = {name: [0, 0, 0, 0] for name in ("api", "asn1", "ber", "crypto")}
for entry in sorted(files, key=lambda e: e["file"]):
    lines = {}     # several instances of a template may share one line
    branches = {}  # by line and place in it
    for line in entry["lines"]:
        if line["gcovr/noncode"]:
            continue
        lines[line["line_number"]] = lines.get(line["line_number"], 0) + line["count"]
        for place, branch in enumerate(line["branches"]):
            key = (line["line_number"], place)
            branches[key] = branches.get(key, 0) + branch["count"]
    missed = sorted(number for number, count in lines.items() if count == 0)
    folder = folders[entry["file"].split("/")[0]]
    folder[0] += len(lines) - len(missed)
    folder[1] += len(lines)
    folder[2] += sum(1 for count in branches.values() if count != 0)
    folder[3] += len(branches)
    if missed and "--missing" in sys.argv:
        print(f"{entry['file']}: {', '.join(map(str, missed))}")
print()
def share(hit, whole):
    return f"{100 * hit / whole:6.2f} %" if whole else "     -  "
for name, counts in [*folders.items(), ("all", [sum(c) for c in zip(*folders.values())])]:
    hit, all_lines, taken, all_branches = counts
    print(f"{name + ('/' if name != 'all' else ''):8} lines {share(hit, all_lines)} of {all_lines:5}"
          f"   branches {share(taken, all_branches)} of {all_branches:5}")
PY
