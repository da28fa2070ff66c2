#!/usr/bin/env bash
# Builds the Python package as a wheel that holds a library, without any download.
#
# usage: scripts/wheel.sh LIBRARY [FOLDER]     LIBRARY: a libqex.so that is built; FOLDER: default build/wheel
set -euo pipefail
if [ $# -lt 1 ] || [ ! -f "$1" ]; then
  echo "usage: scripts/wheel.sh LIBRARY [FOLDER]" >&2
  [ $# -eq 0 ] || echo "wheel: $1: no such file; build it with: cmake --build --preset release --target qex" >&2
  exit 2
fi
library=$(realpath "$1")
folder=$(realpath -m "${2:-$(dirname "$0")/../build/wheel}")
cd "$(dirname "$0")/.."

# The first Python that has what a wheel is built with; another one may come before Debian's in PATH.
builds() { "$1" -c 'import setuptools, pip, wheel' 2>/dev/null; }
python=
for candidate in python3 /usr/bin/python3; do
  if builds "$candidate"; then python=$candidate; break; fi
done
if [ -z "$python" ]; then
  scripts/setup.sh bindings
  python=/usr/bin/python3
fi

# The build writes next to the sources.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r bindings/python "$work/python"
cp LICENSE "$work/python/"
find "$work" -name __pycache__ -prune -exec rm -r {} +
mkdir -p "$folder"
QEX_WHEEL_LIBRARY=$library SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-1767225600} "$python" -m pip --disable-pip-version-check \
  --no-cache-dir wheel -q --no-build-isolation --no-index --no-deps --wheel-dir "$folder" "$work/python"
ls "$folder"/qex-*.whl
