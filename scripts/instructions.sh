#!/usr/bin/env bash
# Counts the instructions of single calls with callgrind, and their allocations, and compares them with
# bench/instructions.txt. A count that is more than 3 % above the file's fails, unless the file says why. Counts vary
# with nothing but compiler, C library and the processor that callgrind emulates; where these are not the file's,
# nothing is compared.
#
# callgrind's processor has no SHA and no AVX-512 instructions: forms of routines that need them are not counted.
#
# usage: scripts/instructions.sh [--update]
#   --update  writes counts that fell. One that grew keeps its old value and gets a third column, the new count; a fourth
#             one must say why before the script passes.
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -eq 0 ] || [ "$*" = --update ] || { sed -n '9,11s/^# \{0,1\}//p' "$0" >&2; exit 2; }
scripts/setup.sh bench
scripts/release.sh qex_instructions
program=build/release/bench/qex_instructions
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

{
  valgrind -q --tool=none "$program" | grep ':'
  for name in $("$program" | grep -v ':'); do
    QEX_VERIFY_ESSCERTIDV2=1 valgrind -q --tool=callgrind --toggle-collect=counted --callgrind-out-file="$work/$name" \
      "$program" tests/data/bouncycastle "$name" >"$work/allocations" 2>"$work/log" || { cat "$work/log" >&2; exit 1; }
    echo "$name $(sed -n 's/^totals: //p' "$work/$name")"
    echo "$name.allocations $(cat "$work/allocations")"
  done
} >"$work/counts"

python3 -B scripts/instructions.py bench/instructions.txt "$work/counts" "$@"
