#!/usr/bin/env bash
# Runs the test programs of the preset release and the seeds of the fuzz targets under valgrind, in a few
# processes instead of one per test. An error or a lost block fails. The tool runs under the sanitizers only.
#
# usage: scripts/valgrind.sh [PROGRAM...]     default: api_exhaustive api crypto asn1 ber, those of tests/
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

programs=("$@")
[ ${#programs[@]} -gt 0 ] || programs=(api_exhaustive api crypto asn1 ber)

scripts/setup.sh check || exit 1
export build=build/release
# shellcheck disable=SC2046  # words
scripts/release.sh $(printf 'qex_%s_test ' "${programs[@]}" interop abi) fuzz_targets || exit 1

# Half a gigabyte through a digest and the primes of DSA take minutes here, and only repeat the loops that other tests
# run.
export left_out='*.UpdateOfMoreThanTwoToThe29Octets:DsaParams.SeedsGiveTheParametersOfOtherImplementations'
echo "left out: $left_out; tests of powers, depth and failing allocations take a part of their cases"

export logs samples=$build/tests/interop/samples
logs=$(mktemp -d)
trap 'rm -rf "$logs" "$samples"' EXIT
python3 -B tests/interop/make_samples.py "$samples" || exit 1

# check NAME COMMAND... prints a line, and the whole output if the command fails.
check() {
  local log=$logs/$1 started=$SECONDS verdict=passed
  valgrind -q --error-exitcode=99 --leak-check=full --num-callers=30 "${@:2}" > "$log" 2>&1 || verdict=FAILED
  # A filter that matches no test is a mistake.
  ! grep -qE '^\[=+\] 0 tests' "$log" || verdict=FAILED
  printf '%-24s %s, %d s: %s\n' "$1" "$verdict" $((SECONDS - started)) \
    "$(grep -E '^\[=+\] .* ran|files, ' "$log" | tail -n 1)"
  [ "$verdict" = passed ] || { cat "$log"; return 1; }
}

# part KIND NAME [NUMBER] [TESTS] runs one process: a program, tests of a program under a value of the switch
# QEX_VERIFY_ESSCERTIDV2, a share of the tests of a program, or the seeds of a target.
part() {
  case $1 in
    program) check "$2" "$build/tests/$2/qex_$2_test" ;;
    switched) QEX_VERIFY_ESSCERTIDV2=$3 check "$2.$3" "$build/tests/$2/qex_$2_test" --gtest_brief=1 "--gtest_filter=$4" ;;
    some) GTEST_TOTAL_SHARDS=8 GTEST_SHARD_INDEX=$3 \
      check "$2.$3" "$build/tests/qex_$2_test" --gtest_brief=1 "--gtest_filter=-$left_out" ;;
    seeds) check "seeds.$2" "$build/fuzz/fuzz_$2" "fuzz/corpus/$2" ;;
  esac
}
export -f check part

# The longest first.
{
  for program in "${programs[@]}"; do printf "some $program %d\n" {0..7}; done
  echo 'switched interop 0 *'
  echo 'switched interop 1 Verification.*:DamagedToken.*'
  echo 'program abi'
  for corpus in fuzz/corpus/*/; do echo "seeds $(basename "$corpus")"; done
} | xargs -P "$(nproc)" -I '{}' bash -c 'set -f; part {}'
