#!/usr/bin/env bash
# Runs the example of an archive that several machines check (examples/archive), with scheduler and workers on this one.
# Prints the rates of one and two workers, which nothing compares.
#
# usage: scripts/archive.sh [TEST...]     TEST: tests of tests/archive/archive_test.py; all of them by default
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh archive
scripts/release.sh qex qex_tool
python3 -B tests/archive/archive_test.py build/release/libqex.so build/release/tool/qex "$@"
