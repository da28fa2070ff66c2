#!/usr/bin/env bash
# The slow checks, to run after scripts/test.sh: ThreadSanitizer, valgrind, static analysis, reproducible builds.
# Goes on after a failure; ends with the last lines of each step that failed, and a table.
#
# usage: scripts/check.sh [all | STEP...]     default: the steps of CI; all: also those that take too long for CI
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

steps=(format cppcheck tidy one_definition reproducible threads valgrind platforms fuzz)
jobs=$(nproc)

step_format() {  # the format of the sources
  scripts/format.sh
}

step_cppcheck() {  # cppcheck over all sources; a list with reasons suppresses false positives
  git ls-files -z --cached --others --exclude-standard '*.c' '*.cpp' |
    xargs -0 cppcheck -q -j "$jobs" --error-exitcode=1 --std=c++20 --library=posix --library=googletest -I . \
      --enable=warning,performance,portability --suppressions-list=scripts/cppcheck_suppressions.txt
}

step_one_definition() {  # no name has two definitions in library or tool, as the linker sees them together
  cmake --preset release -B build/one_definition -DCMAKE_CXX_FLAGS='-flto=auto -Wodr -Wlto-type-mismatch -Werror' &&
    cmake --build build/one_definition -j "$jobs" --target qex qex_tool
}

step_reproducible() {  # two builds in different folders give the same library
  scripts/reproducible.sh
}

step_tidy() {  # clang-tidy over the sources that changed lately
  scripts/tidy.sh --recent
}

step_tidy_all() {  # clang-tidy over all sources, which takes twenty minutes; in 'all'
  scripts/tidy.sh
}

step_threads() {  # ThreadSanitizer, eight threads over all exports
  scripts/test.sh tsan
}

step_valgrind() {  # the test programs under valgrind
  scripts/valgrind.sh
}

step_platforms() {  # the suite of the library on 32-bit, ARM and big-endian machines
  scripts/platforms.sh
}

step_fuzz() {  # ten seconds for each fuzz target
  scripts/fuzz.sh 10
}

usage() {
  sed -n '2,5s/^# \{0,1\}//p' "$0"
  echo
  sed -n 's/^step_\(\w*\)() {  # \(.*\)/\1\t\2/p' "$0" | expand -t 16
}

chosen=("$@")
[ ${#chosen[@]} -gt 0 ] || chosen=("${steps[@]}")
[ "${chosen[*]}" != all ] || chosen=("${steps[@]/#tidy/tidy_all}")
for step in "${chosen[@]}"; do
  if ! declare -F "step_$step" >/dev/null; then
    usage >&2
    exit 2
  fi
done

scripts/setup.sh check fuzz format || exit 1

logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
status=0
table=
failed=()
for step in "${chosen[@]}"; do
  echo
  echo "== $step"
  started=$SECONDS
  # Not inside a condition: set -e has no effect there.
  (set -e; "step_$step") 2>&1 | tee "$logs/$step"
  if [ "${PIPESTATUS[0]}" -eq 0 ]; then verdict=passed; else verdict=FAILED status=1 failed+=("$step"); fi
  table+=$(printf '%-14s %-6s %6d s' "$step" "$verdict" $((SECONDS - started)))$'\n'
done
for step in "${failed[@]}"; do
  echo
  echo "== $step: failed"
  tail -n 60 "$logs/$step"
done
echo
printf '%s' "$table"
exit $status
