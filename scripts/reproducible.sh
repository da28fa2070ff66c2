#!/usr/bin/env bash
# Builds the libraries, shared and static, a second time from a copy of the sources, in a folder whose path has another
# length and without a compiler cache, and compares the files octet by octet with those of the preset release.
#
# usage: scripts/reproducible.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

first=build/release
scripts/release.sh qex qex_static

copy=$work/a-folder-with-a-longer-name/and-one-below-it
second=$copy/build
mkdir -p "$copy"
cp -r CMakeLists.txt cmake api asn1 ber crypto ground "$copy"
export CCACHE_DISABLE=1
{ cmake -S "$copy" -B "$second" -G Ninja -DCMAKE_BUILD_TYPE=Release &&
  cmake --build "$second" -j "$(nproc)" --target qex qex_static; } > "$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }

cmp "$first"/libqex.so.1.*.* "$second"/libqex.so.1.*.*
cmp "$first"/libqex.a "$second"/libqex.a
printf 'reproducible: two builds give the same %d octets, SHA-256 %.16s...\n' \
  "$(stat -c %s "$first"/libqex.so.1.*.*)" "$(sha256sum "$first"/libqex.so.1.*.* | cut -d ' ' -f 1)"
