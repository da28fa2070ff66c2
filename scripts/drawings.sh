#!/usr/bin/env bash
# Draws docs/*.svg from docs/*.dot with Graphviz. The test house.drawings fails until that has been done.
#
# usage: scripts/drawings.sh
set -euo pipefail
cd "$(dirname "$0")/.."

for source in docs/*.dot; do
  dot -Tsvg "$source" -o "${source%.dot}.svg"
done
