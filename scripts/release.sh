#!/usr/bin/env bash
# Builds targets of the preset release, in build/release. Steps of scripts/check.sh that run side by side share the
# folder, so one waits for the other. Prints nothing unless it fails.
#
# usage: scripts/release.sh [TARGET...]     default: all
set -euo pipefail
cd "$(dirname "$0")/.."

mkdir -p build
exec 9> build/release.lock
flock 9
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# A build folder that exists keeps its settings; in a new one everything is compiled, by folder for speed.
settings=()
[ -e build/release ] || settings=(-DQEX_BY_FOLDER=ON)
{ cmake --preset release "${settings[@]}" && cmake --build --preset release -j "$(nproc)" ${1+--target "$@"}; } \
  > "$log" 2>&1 || { tail -n 60 "$log" >&2; exit 1; }
