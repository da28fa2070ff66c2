#!/usr/bin/env bash
# clang-tidy 14 over the sources that the preset release builds; any finding fails. .clang-tidy lists
# the checks, tests/.clang-tidy and fuzz/.clang-tidy the differences there.
#
# usage: scripts/tidy.sh [--recent | FILE...]     default: all of the library, the tool, examples, tests and fuzz
# targets; --recent: those of them that changed in the last forty commits, or include a header that did
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
build=build/release
cmake --preset release > /dev/null

recent=
if [ "${1-}" = --recent ]; then
  recent=$(git rev-parse -q --verify HEAD~40) || recent=  # of a shorter history everything is recent
  shift
fi

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
  # A separate assignment: the script ends if its command fails.
  listed=$(python3 - "$build/compile_commands.json" "$PWD" "$recent" <<'PY'
import json, os, re, subprocess, sys
with open(sys.argv[1], encoding="utf-8") as file:
    names = {os.path.relpath(entry["file"], sys.argv[2]) for entry in json.load(file)}
changed = None
if sys.argv[3]:
    listed = subprocess.run(["git", "diff", "--name-only", sys.argv[3]], capture_output=True, text=True, check=True)
    changed = set(listed.stdout.split())

def is_meant(name):
    if changed is None or name in changed or ".clang-tidy" in changed:
        return True
    with open(name, encoding="utf-8") as file:
        return any(header in changed for header in re.findall(r'#include "(.*)"', file.read()))

for folder in ("tool", "tests", "api", "asn1", "ber", "crypto", "examples", "fuzz"):
    for name in sorted(names):
        if name.startswith(folder + "/") and is_meant(name):
            print(name)
PY
  )
  if [ -z "$listed" ]; then
    echo "tidy: no source has changed"
    exit 0
  fi
  mapfile -t files <<< "$listed"
fi

# Standard error gets only the number of findings in third-party headers. The output of one file stays in one piece.
check() {
  local said status=0
  said=$(clang-tidy-14 -p "$1" --quiet --warnings-as-errors='*' "$2" 2> /dev/null) || status=1
  [ "$status" -eq 0 ] && [ -z "$said" ] && return 0
  printf '%s: findings\n%s\n' "$2" "$said"
  return 1
}
export -f check
printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -I '{}' bash -c "check $build '{}'" || exit 1
echo "tidy: ${#files[@]} files, no finding"
