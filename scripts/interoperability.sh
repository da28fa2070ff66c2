#!/usr/bin/env bash
# Writes the tables of docs/interoperability.md anew, with the tool of the release preset.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/release.sh qex_tool
if python3 -B tests/tool/interoperability_test.py --update build/release/tool/qex - - - 2> /dev/null; then
  echo "docs/interoperability.md was current"
else
  # The first run writes, the second one says whether that was all that it found.
  python3 -B tests/tool/interoperability_test.py build/release/tool/qex - - -
fi
