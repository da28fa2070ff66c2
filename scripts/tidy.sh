#!/usr/bin/env bash
# clang-tidy 14 over all sources that the preset release builds; any finding fails. .clang-tidy lists the checks, those
# in tests/, fuzz/ and bench/ the differences there. The C++ sources of a folder are read as one, since most of the time
# goes into the headers that they include.
#
# usage: scripts/tidy.sh [--changed | FILE...]     default: all of the library, the tool, examples, tests, benchmarks
# and fuzz targets; --changed: the folders with a source that changed since all were read (scripts/concerned.py), or a
# header that it includes; FILE: these alone, each by itself
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
export build=build/tidy
cmake --preset release -B "$build" > /dev/null

concerned=$(git ls-files --cached --others --exclude-standard '*.c' '*.cpp')
if [ "${1-}" = --changed ]; then
  concerned=$(scripts/concerned.py tidy .clang-tidy {tests,fuzz,bench}/.clang-tidy scripts/tidy.sh <<< "$concerned")
  shift
fi

# plan writes a compile_commands.json to the folder $1 whose sources represent the files that follow, or the
# folders of $concerned, and prints their paths, those that take longest first.
plan() {
  python3 - "$build/compile_commands.json" "$PWD" "$concerned" "$@" <<'PY'
import json, os, sys
from collections import defaultdict

FOLDERS = ("tool/", "tests/", "api/", "asn1/", "ber/", "crypto/", "ground/", "examples/", "fuzz/", "bench/")
commands, root, concerned, target, *chosen = sys.argv[1:]
concerned = set(concerned.split())
with open(commands, encoding="utf-8") as file:
    entries = {os.path.relpath(entry["file"], root): entry for entry in json.load(file)}

groups = defaultdict(list)
for name in sorted(entries):
    if chosen and name not in chosen or not name.startswith(FOLDERS):
        continue
    # Each example and fuzz target is a program of its own; the algorithms of crypto/ share names, as do the benchmarks,
    # and the units of tests/hpp/ must not see each other.
    alone = chosen or name.endswith(".c") or name.startswith(("crypto/", "examples/", "fuzz/", "bench/", "tests/hpp/"))
    groups[name if alone else os.path.dirname(name)].append(name)
if missing := set(chosen) - set(entries):
    sys.exit(f"tidy: not built by the preset release: {' '.join(sorted(missing))}")

groups = {group: names for group, names in groups.items() if chosen or not concerned.isdisjoint(names)}

planned = []
for group, names in groups.items():
    source = os.path.join(root, names[0])
    if group not in names:
        # Outside its folder it is not among the files that it includes.
        source = os.path.join(root, target, group, "all.cpp")
        os.makedirs(os.path.dirname(source), exist_ok=True)
        with open(source, "w", encoding="utf-8") as file:
            file.writelines(f'#include "{os.path.join(root, name)}"\n' for name in names)
    entry = entries[names[0]]
    # An option of GNU's compiler alone.
    command = entry["command"].replace(entry["file"], source).replace(" -fno-gnu-unique", "")
    planned.append({"directory": entry["directory"], "command": command, "file": source})
os.makedirs(target, exist_ok=True)
with open(os.path.join(target, "compile_commands.json"), "w", encoding="utf-8") as file:
    json.dump(planned, file)
size = {entry["file"]: sum(os.path.getsize(name) for name in names) for entry, names in zip(planned, groups.values())}
print(*sorted(size, key=size.get, reverse=True), sep="\n")
PY
}

# check SOURCE: standard error gets only the number of findings in third-party headers. The output for one source
# stays in one piece.
check() {
  local said status=0 name=${1#"$PWD"/} settings=.clang-tidy
  name=${name#"$build"/folders/}
  case $name in tests/* | fuzz/* | bench/*) settings=${name%%/*}/.clang-tidy ;; esac
  said=$(clang-tidy-14 -p "$build/folders" --quiet --warnings-as-errors='*' --config-file="$settings" "$1" 2> /dev/null) ||
    status=1
  [ "$status" -eq 0 ] && [ -z "$said" ] && return 0
  printf '%s: findings\n%s\n' "$name" "$said"
  return 1
}
export -f check

planned=$(plan "$build/folders" "$@")
xargs -r -P "$(nproc)" -I '{}' bash -c "check '{}'" <<< "$planned"
echo "tidy: $(grep -c . <<< "$planned") folders and files read, no finding"
