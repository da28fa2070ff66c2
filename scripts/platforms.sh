#!/usr/bin/env bash
# Builds the library and its tests for other machines and runs them here: i386 as it is, the others under
# qemu. Ends with a line for each: the kind of library built, and the results of its tests.
#
# usage: scripts/platforms.sh [PLATFORM[:PART]...]     default: i386 aarch64 s390x; PART: the tests of one program alone,
# such as crypto
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

platforms=("$@")
[ ${#platforms[@]} -gt 0 ] || platforms=(i386 aarch64 s390x)
jobs=$(nproc)
log=$(mktemp)
trap 'rm -f "$log"' EXIT

scripts/setup.sh platforms || exit 1

# built_for prints the class, byte order and machine of a file, from its ELF header.
built_for() {
  readelf -h "$1" | awk -F': +' '
    /Class:/ { class = $2 }
    /Data:/ { order = $2 ~ /big/ ? "big-endian" : "little-endian" }
    /Machine:/ { machine = $2 }
    END { print class ", " order ", " machine }'
}

failed=0
closing=()
for platform in "${platforms[@]}"; do
  begun=$SECONDS
  targets=() tests=()
  unset part
  if [[ $platform = *:* ]]; then
    part=${platform#*:}
    platform=${platform%%:*}
    targets=(--target qex "qex_${part}_test") tests=(-R "^$part\.")
  fi
  echo "== $platform: build"
  if ! cmake --preset "$platform" || ! cmake --build --preset "$platform" -j "$jobs" "${targets[@]}"; then
    closing+=("$platform: FAILED to build")
    failed=1
    continue
  fi
  built=$((SECONDS - begun))
  echo "== $platform: tests"
  ctest --preset "$platform" -j "$jobs" --no-tests=error "${tests[@]}" 2>&1 | tee "$log"
  verdict=passed
  if [ "${PIPESTATUS[0]}" -ne 0 ]; then
    verdict=FAILED
    failed=1
  fi
  counts=$(sed -n 's/.*tests passed, \([0-9]* tests\{0,1\} failed out of [0-9]*\).*/\1/p' "$log")
  # An entry of ctest is a test suite; its log has the number of tests in it, and those skipped.
  said=build/$platform/Testing/Temporary/LastTest.log
  tests=$(sed -n 's/^\[=*\] \([0-9]*\) tests\{0,1\} from .* ran.*/\1/p' "$said" | awk '{ n += $1 } END { print n + 0 }')
  skipped=$(grep -c ': Skipped$' "$said")
  closing+=("$platform${part+ ($part)}: $verdict, ${counts:-no count}, in them $tests unit tests, $skipped skipped ($(built_for "build/$platform/libqex.so")); built in $built s, tested in $((SECONDS - begun - built)) s")
  # The place and reason of each skipped test.
  while read -r reason; do closing+=("  $reason"); done < <(
    sed -n '/: Skipped$/{s/.*\/tests\//tests\//;N;s/\n/, /;p}' "$said")
done

echo
printf '%s\n' "${closing[@]}"
exit $failed
