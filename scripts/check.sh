#!/usr/bin/env bash
# What is looked for beyond scripts/test.sh: sanitizers that need clang, valgrind, static analysis, and
# whether two builds give the same library. Goes on after a failure and closes with a table.
#
# usage: scripts/check.sh [STEP...]     default: all, in the order of the list below
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

steps=(format reproducible)
jobs=$(nproc)

step_format() {  # the format of the sources
  scripts/format.sh
}

step_reproducible() {  # two builds in different folders give the same library
  scripts/reproducible.sh
}

usage() {
  sed -n '2,5s/^# \{0,1\}//p' "$0"
  echo
  sed -n 's/^step_\(\w*\)() {  # \(.*\)/\1\t\2/p' "$0" | expand -t 16
}

chosen=("$@")
[ ${#chosen[@]} -gt 0 ] || chosen=("${steps[@]}")
for step in "${chosen[@]}"; do
  if ! declare -F "step_$step" >/dev/null; then
    usage >&2
    exit 2
  fi
done

scripts/setup.sh check fuzz format || exit 1

status=0
table=
for step in "${chosen[@]}"; do
  echo
  echo "== $step"
  started=$SECONDS
  # Not as a condition: there the first command that fails would not end the step.
  (set -e; "step_$step")
  if [ $? -eq 0 ]; then verdict=passed; else verdict=FAILED status=1; fi
  table+=$(printf '%-14s %-6s %6d s' "$step" "$verdict" $((SECONDS - started)))$'\n'
done
echo
printf '%s' "$table"
exit $status
