#!/usr/bin/env bash
# clang-tidy 14 over the sources that the preset release builds; any finding fails, and so does a source that relies
# on another's includes: nothing is precompiled here. .clang-tidy lists the checks, tests/.clang-tidy and
# fuzz/.clang-tidy the differences there.
#
# usage: scripts/tidy.sh [--recent [SECONDS] | FILE...]     default: all of the library, the tool, examples, tests and
# fuzz targets; --recent: those that the last forty commits changed, or a header that they include at any depth, the
# latest changes first; after SECONDS no further one is begun, and the number of those left is printed
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
build=build/tidy
cmake --preset release -B "$build" > /dev/null

order=all
export deadline=
if [ "${1-}" = --recent ]; then
  order=recent
  [ $# -lt 2 ] || deadline=$(($(date +%s) + $2))
  set --
fi

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
  # A separate assignment: the script ends if its command fails.
  listed=$(python3 - "$build/compile_commands.json" "$PWD" "$order" <<'PY'
import functools, json, os, re, subprocess, sys

COMMITS = 40
FOLDERS = ("tool/", "tests/", "api/", "asn1/", "ber/", "crypto/", "ground/", "examples/", "fuzz/")

def git(*arguments):
    return subprocess.run(["git", *arguments], capture_output=True, text=True, check=True).stdout

with open(sys.argv[1], encoding="utf-8") as file:
    names = {os.path.relpath(entry["file"], sys.argv[2]) for entry in json.load(file)}
names = sorted((name for name in names if name.startswith(FOLDERS)),
               key=lambda name: ([name.startswith(folder) for folder in FOLDERS].index(True), name))
if sys.argv[3] == "all":
    print(*names, sep="\n")
    sys.exit()

# By file the number of commits since it changed; what is not committed yet comes first.
age = dict.fromkeys(git("diff", "--name-only", "HEAD").split(), 0)
age |= dict.fromkeys(git("ls-files", "--others", "--exclude-standard").split(), 0)
for since, commit in enumerate(git("log", f"-{COMMITS}", "--format=%x00", "--name-only").split("\0")):
    for name in commit.split():
        age.setdefault(name, since)

@functools.cache
def included(name):
    with open(name, encoding="utf-8") as file:
        direct = re.findall(r'^#include "(.*)"', file.read(), re.MULTILINE)
    return [path for path in direct if os.path.isfile(path)]

def age_of(name):
    seen, waiting = set(), [name]
    while waiting:
        path = waiting.pop()
        if path not in seen:
            seen.add(path)
            waiting += included(path)
    return min(age.get(path, COMMITS + 1) for path in seen | {".clang-tidy"})

ages = {name: age_of(name) for name in names}
print(*sorted((name for name in names if ages[name] <= COMMITS), key=ages.get), sep="\n")
PY
  )
  if [ -z "$listed" ]; then
    echo "tidy: no source has changed"
    exit 0
  fi
  mapfile -t files <<< "$listed"
fi

export left
left=$(mktemp)
trap 'rm -f "$left"' EXIT

# Standard error gets only the number of findings in third-party headers. The output of one file stays in one piece.
check() {
  local said status=0
  if [ -n "$deadline" ] && [ "$(date +%s)" -ge "$deadline" ]; then
    echo "$2" >> "$left"
    return 0
  fi
  said=$(clang-tidy-14 -p "$1" --quiet --warnings-as-errors='*' "$2" 2> /dev/null) || status=1
  [ "$status" -eq 0 ] && [ -z "$said" ] && return 0
  printf '%s: findings\n%s\n' "$2" "$said"
  return 1
}
export -f check
status=0
printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -I '{}' bash -c "check $build '{}'" || status=1
unread=$(wc -l < "$left")
[ "$status" -ne 0 ] || echo "tidy: $((${#files[@]} - unread)) files, no finding"
[ "$unread" -eq 0 ] || echo "tidy: no time for $unread further files, from $(head -n 1 "$left") on"
exit "$status"
