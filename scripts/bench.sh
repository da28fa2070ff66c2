#!/usr/bin/env bash
# Measures libqex beside other libraries, in one process (bench/peers/), prints a line for each row and writes
# docs/performance.md and docs/performance.svg. Keeps the messages that it makes in build/bench.
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
scripts/release.sh qex_peers
kept=build/bench
mkdir -p "$kept"

# The messages are made once: keys of DSA take their time.
material=$kept/material
if [ ! "$material/made" -nt bench/peers/make_material.py ]; then
  python3 -B bench/peers/make_material.py "$material"
fi

build/release/bench/peers/qex_peers "$material" --json "$kept/peers.json" ${arguments[@]+"${arguments[@]}"}
[ "$document" = no ] ||
  python3 -B scripts/bench_report.py "$kept/peers.json" build/release/libqex.so docs/performance.md docs/performance.svg
