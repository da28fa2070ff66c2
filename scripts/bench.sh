#!/usr/bin/env bash
# Measures libqex beside other libraries, in one process (bench/peers/), prints a line for each row and writes
# docs/performance.md and docs/performance.svg. Builds in build/bench.
#
# usage: scripts/bench.sh [--once] [--only TEXT] [--seconds N]
#   --once     compares the results of every row, measures nothing and writes no document
#   --only     the rows whose group or name contains TEXT; writes no document
#   --seconds  processor time for each way of a row, by default 0.4
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
  sed -n '5,8s/^# \{0,1\}//p' "$0" >&2
  exit 2
}

document=yes
arguments=()
while [ $# -gt 0 ]; do
  case $1 in
    --once) arguments+=("$1"); document=no ;;
    --only) [ $# -ge 2 ] || usage; arguments+=("$1" "$2"); document=no; shift ;;
    --seconds) [ $# -ge 2 ] || usage; arguments+=("$1" "$2"); shift ;;
    *) usage ;;
  esac
  shift
done

scripts/setup.sh bench
build=build/bench
mkdir -p "$build"
# Warnings are no errors here, as the peers' headers may cause some.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$build.log" 2>&1 || { cat "$build.log" >&2; exit 1; }
cmake --build "$build" --target qex_peers

# The messages are made once: keys of DSA take their time.
material=$build/material
if [ ! "$material/made" -nt bench/peers/make_material.py ]; then
  python3 -B bench/peers/make_material.py "$material"
fi

"$build/bench/peers/qex_peers" "$material" --json "$build/peers.json" ${arguments[@]+"${arguments[@]}"}
[ "$document" = no ] ||
  python3 -B scripts/bench_report.py "$build/peers.json" "$build/libqex.so" docs/performance.md docs/performance.svg
