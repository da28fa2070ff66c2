#!/usr/bin/env bash
# Builds library and tests with other compilers, runtimes and options than the presets, each in build/toolchains,
# and runs the tests of the library. Ends with a line for each variant.
#
#   libcxx   clang with libc++ in place of libstdc++
#   debug    g++ without optimization, with the preconditions of ground/
#   plain_c  callers in C that no exception could pass through: without tables to unwind their stack
#   musl     a C program on the static library with musl in place of glibc; tells why it does not link
#
# -m32 is the preset i386 (scripts/platforms.sh).
#
# usage: scripts/toolchains.sh [VARIANT...]     default: all
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

variants=("$@")
[ ${#variants[@]} -gt 0 ] || variants=(libcxx debug plain_c musl)
jobs=$(nproc)
folder=build/toolchains
closing=()
failed=0

# built_and_tested NAME TARGETS TESTS SETTING... configures and builds TARGETS, and runs the TESTS.
built_and_tested() {
  local name=$1 targets=$2 tests=$3 begun=$SECONDS verdict=passed
  shift 3
  # Words of TARGETS are apart.
  # shellcheck disable=SC2086
  if ! cmake -S . -B "$folder/$name" -G Ninja -DQEX_WERROR=ON -DQEX_BY_FOLDER=ON -DQEX_BUILD_TOOL=OFF \
      -DQEX_BUILD_BENCH=OFF "$@" || ! cmake --build "$folder/$name" -j "$jobs" --target $targets; then
    verdict="FAILED to build"
  elif ! ctest --test-dir "$folder/$name" -j "$jobs" --output-on-failure --no-tests=error -R "$tests"; then
    verdict=FAILED
  fi
  [ "$verdict" = passed ] || failed=1
  closing+=("$name: $verdict in $((SECONDS - begun)) s")
}

suite="qex qex_abi_test qex_crypto_test qex_ber_test qex_asn1_test qex_api_test"
suite_tests='^(abi|(crypto|ber|asn1|api)\..*)$'
examples="qex_example_stamp qex_example_stamp_file qex_example_make_request qex_example_verify_reply qex_example_read_token"

variant_libcxx() {
  # The package of GoogleTest is built with libstdc++. libc++ 14 takes the counts of std::rotl as unsigned, not as the
  # standard has them, which is a warning here.
  built_and_tested libcxx "$suite" "$suite_tests" -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER=clang \
    -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-stdlib=libc++ -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    -DQEX_WERROR=OFF
}

variant_debug() {
  built_and_tested debug "$suite" "$suite_tests" -DCMAKE_BUILD_TYPE=Debug
}

variant_plain_c() {
  built_and_tested plain_c "qex qex_static qex_abi_test $examples" '^(abi|examples)$' -DCMAKE_BUILD_TYPE=Release \
    "-DCMAKE_C_FLAGS=-fno-exceptions -fno-unwind-tables -fno-asynchronous-unwind-tables"
}

variant_musl() {
  local library=$folder/plain_c/libqex.a program=$folder/musl
  [ -e "$library" ] || variant_plain_c
  local runtime
  runtime=$(for name in libstdc++.a libgcc_eh.a libgcc.a; do c++ -print-file-name=$name; done)
  # shellcheck disable=SC2086
  if musl-gcc -std=c99 -Iapi tests/abi/abi_test.c "$library" $runtime -static -o "$program" 2> "$program.log"; then
    if "$program"; then closing+=("musl: passed"); else closing+=("musl: FAILED"); failed=1; fi
  else
    closing+=("musl: does not link; the C++ runtime of this system takes from glibc $(
      sed -n "s/.*undefined reference to .\([a-z_0-9]*\)'.*/\1/p" "$program.log" | sort -u | paste -sd' ')")
  fi
}

for variant in "${variants[@]}"; do
  if ! declare -F "variant_$variant" > /dev/null; then
    echo "toolchains: unknown variant '$variant' (libcxx, debug, plain_c, musl)" >&2
    exit 2
  fi
done
scripts/setup.sh toolchains || exit 1
mkdir -p "$folder"
for variant in "${variants[@]}"; do
  echo "== $variant"
  "variant_$variant"
done

echo
printf '%s\n' "${closing[@]}"
exit $failed
