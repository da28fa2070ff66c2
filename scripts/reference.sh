#!/usr/bin/env bash
# Makes the reference of qex.h and qex.hpp with Doxygen, in build/reference/html. What is not documented, or documented
# wrongly, is an error.
#
# usage: scripts/reference.sh
set -euo pipefail
cd "$(dirname "$0")/.."

command -v doxygen >/dev/null || scripts/setup.sh reference
if ! command -v doxygen >/dev/null; then
  echo "reference: doxygen is not installed; it is the package that scripts/setup.sh reference adds" >&2
  exit 1
fi

rm -rf build/reference
mkdir -p build/reference
# Doxygen does not see whether its filter fails.
python3 -B docs/reference/filter.py api/qex.h > build/reference/qex.h
doxygen docs/Doxyfile
echo "reference: build/reference/html/index.html"
