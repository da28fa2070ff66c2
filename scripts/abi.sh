#!/usr/bin/env bash
# Compares the binary interface of the shared library with tests/abi/libqex.abi: the exports with their parameters, and
# the records of api/qex.h, member by member. Types of the internals are left out.
#
# usage: scripts/abi.sh [--update]     --update: write the file; it then has what a deliberate addition brings
set -euo pipefail
cd "$(dirname "$0")/.."

update=
case ${1-} in
  '') ;;
  --update) update=yes ;;
  *) sed -n '2,5s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
scripts/setup.sh abi

recorded=tests/abi/libqex.abi
build=build/abi
# The interface comes from debug information, and is the same however the code is optimized.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQEX_BY_FOLDER=ALL -DQEX_BUILD_TOOL=OFF -DQEX_BUILD_DOCS=OFF \
  -DQEX_BUILD_EXAMPLES=OFF -DQEX_BUILD_TESTS=OFF -DQEX_BUILD_BENCH=OFF > /dev/null
cmake --build "$build" -j "$(nproc)" --target qex > "$build/log" || { tail -n 40 "$build/log" >&2; exit 1; }

# Types that qex.h does not define are private.
mkdir -p "$build/public"
cp api/qex.h "$build/public"
abidw --exported-interfaces-only --headers-dir "$build/public" --drop-private-types --type-id-style hash --no-architecture \
  --no-elf-needed --no-corpus-path --no-comp-dir-path --no-show-locs --out-file "$build/libqex.abi" "$build/libqex.so"
if [ -n "$update" ]; then
  cp "$build/libqex.abi" "$recorded"
  echo "abi: $recorded is written; git diff shows what has changed"
  exit 0
fi

status=0
abidiff "$recorded" "$build/libqex.abi" || status=$?
if [ "$status" -ne 0 ]; then
  echo "abi: the interface is not that of $recorded (abidiff: $status)" >&2
  echo "abi: compiled programs depend on it; only additions may be recorded, by scripts/abi.sh --update" >&2
  exit 1
fi
printf 'abi: %d exports and %d records are those of %s\n' "$(grep -c '<elf-symbol ' "$recorded")" \
  "$(grep -c '<class-decl .* size-in-bits=' "$recorded")" "$recorded"
