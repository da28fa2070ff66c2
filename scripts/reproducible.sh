#!/usr/bin/env bash
# Builds the libraries, shared and static, from two copies of the sources, in folders whose paths have different
# lengths, and compares the files octet by octet, without a compiler cache.
#
# usage: scripts/reproducible.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
export CCACHE_DISABLE=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# build FOLDER leaves the library in FOLDER/build.
build() {
  mkdir -p "$1"
  cp -r CMakeLists.txt cmake api asn1 ber crypto ground "$1"
  cmake -S "$1" -B "$1/build" -G Ninja -DCMAKE_BUILD_TYPE=Release > "$1/log" &&
    cmake --build "$1/build" -j "$(nproc)" --target qex qex_static >> "$1/log" || { cat "$1/log" >&2; return 1; }
}
first=$work/one
second=$work/a-folder-with-a-longer-name/and-one-below-it
build "$first"
build "$second"

cmp "$first"/build/libqex.so.1.*.* "$second"/build/libqex.so.1.*.*
cmp "$first"/build/libqex.a "$second"/build/libqex.a
printf 'reproducible: two builds give the same %d octets, SHA-256 %.16s...\n' \
  "$(stat -c %s "$first"/build/libqex.so.1.*.*)" "$(sha256sum "$first"/build/libqex.so.1.*.* | cut -d ' ' -f 1)"
