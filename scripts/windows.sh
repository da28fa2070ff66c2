#!/usr/bin/env bash
# Builds the library for Windows, as a DLL with an import library and a module definition file, and qex.exe. Runs the
# tests of both and the examples under wine. Everything is in build/windows, wine's settings included. The tool for this
# machine, with which qex.exe is compared, is that of build/release, or else in build/windows_peer. Ends with a line of
# results.
#
# usage: scripts/windows.sh [product]     product: what users get, without the unit tests of the library
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

case $* in
  '') targets=(all) tests=() ;;
  product)
    targets=(qex qex_static qex_tool qex_abi_test qex_abi_header_c qex_abi_header_cpp qex_failing_reader
             qex_example_make_request qex_example_verify_reply qex_example_read_token)
    tests=(-R '^(abi|house|examples|tool)(\.|$)')
    ;;
  *) sed -n '7s/^# //p' "$0" >&2; exit 2 ;;
esac
scripts/setup.sh windows || exit 1
jobs=$(nproc)
build=$PWD/build/windows

peer=$PWD/build/release
folders=(api asn1 ber crypto tool)
if [ ! -x "$peer/tool/qex" ] || [ -n "$(find "${folders[@]}" -newer "$peer/tool/qex" -name '*.[ch]*' -print -quit)" ]; then
  peer=$PWD/build/windows_peer
  cmake -S . -B "$peer" -DCMAKE_BUILD_TYPE=Release -DQEX_BY_FOLDER=ON -DQEX_BUILD_TESTS=OFF -DQEX_BUILD_DOCS=OFF \
    -DQEX_BUILD_EXAMPLES=OFF -DQEX_BUILD_BENCH=OFF -DQEX_INSTALL=OFF || exit 1
  cmake --build "$peer" -j "$jobs" --target qex_tool || exit 1
fi

cmake --preset windows -DQEX_PEER="$peer/tool/qex" || exit 1
wine=$(sed -n 's/^QEX_WINE:[A-Z]*=//p' "$build/CMakeCache.txt")
if [ ! -x "$wine" ]; then
  echo "windows: wine64 was not found, so nothing can be run; install it and configure again" >&2
  exit 1
fi

# The first program that runs starts the services of Windows, which keep its output open until the last program has
# ended. This one takes that part, and waits.
export WINEPREFIX=$build/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
mkdir -p "$WINEPREFIX"
exec 3> >(exec env -u DISPLAY "$wine" cmd > "$build/wine.log" 2>&1)
waiting=$!
trap 'exec 3>&-; wait "$waiting"' EXIT

cmake --build --preset windows -j "$jobs" --target "${targets[@]}" || exit 1
verdict=passed
ctest --preset windows -j "$jobs" --no-tests=error "${tests[@]}" || verdict=FAILED

# An entry of ctest is a test suite; its log has the number of tests in it, and those skipped.
said=$build/Testing/Temporary/LastTest.log
tests=$(sed -n 's/^\[=*\] \([0-9]*\) tests\{0,1\} from .* ran.*/\1/p' "$said" | awk '{ n += $1 } END { print n + 0 }')
echo
echo "windows: $verdict, $tests unit tests, of them $(grep -c ': Skipped' "$said") skipped, in $SECONDS s"
[ "$verdict" = passed ]
