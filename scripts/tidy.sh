#!/usr/bin/env bash
# clang-tidy 14 over the sources that the preset release builds; any finding fails. .clang-tidy says what is
# looked for, tests/.clang-tidy and fuzz/.clang-tidy what is different there.
#
# usage: scripts/tidy.sh [FILE...]     default: all of the library, the tool, examples, tests and fuzz targets
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh check
build=build/release
cmake --preset release > /dev/null

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
  mapfile -t files < <(python3 - "$build/compile_commands.json" "$PWD" <<'PY'
import json, os, sys
with open(sys.argv[1], encoding="utf-8") as file:
    names = {os.path.relpath(entry["file"], sys.argv[2]) for entry in json.load(file)}
for folder in ("tool", "tests", "api", "asn1", "ber", "crypto", "examples", "fuzz"):
    for name in sorted(names):
        if name.startswith(folder + "/"):
            print(name)
PY
  )
fi

# What goes to the standard error is how many findings lie in other makers' headers. What one file gives
# comes out in one piece.
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
