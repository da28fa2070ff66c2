#!/usr/bin/env bash
# Runs the fuzz targets, as many at a time as there are cores and each for the same time, and prints a table: inputs
# run, inputs a second, edges covered, and how many findings were kept.
#
# usage: scripts/fuzz.sh SECONDS [TARGET...]     default: all targets
#
# Corpora grow in build/fuzz-corpus from run to run; the checked-in seeds are added to them. Findings
# are kept in build/fuzz-findings: run a target with such a file as its argument to see it again.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

if ! [[ ${1:-} =~ ^[1-9][0-9]*$ ]]; then
  sed -n '2,8s/^# \{0,1\}//p' "$0" >&2
  exit 2
fi
seconds=$1
shift
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for folder in fuzz/corpus/*/; do targets+=("$(basename "$folder")"); done
fi

build=$(mktemp)
trap 'rm -f "$build"' EXIT
if ! { cmake --preset fuzz && cmake --build --preset fuzz -j "$(nproc)"; } > "$build" 2>&1; then
  tail -n 40 "$build" >&2
  exit 1
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export seconds
printf '%-16s %10s %8s %8s %8s %6s\n' target inputs per-s edges corpus found

# run TARGET prints its row of the table.
run() {
  local target=$1 status=0 program=build/fuzz/fuzz/fuzz_$1 corpus=build/fuzz-corpus/$1 findings=build/fuzz-findings/$1
  if ! [ -x "$program" ]; then
    echo "$target: no such target" >&2
    return 1
  fi
  mkdir -p "$corpus" "$findings"
  local options=(-max_total_time="$seconds" -max_len=8192 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1
                 -artifact_prefix="$findings/")
  if [ -f "fuzz/dictionaries/$target.dict" ]; then options+=(-dict="fuzz/dictionaries/$target.dict"); fi
  local log=$findings/log.txt inputs rate edges found
  "$program" "${options[@]}" "$corpus" "fuzz/corpus/$target" > "$log" 2>&1 || status=1
  inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  edges=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
  found=$(find "$findings" -type f ! -name log.txt | wc -l)
  printf '%-16s %10s %8s %8s %8s %6s\n' "$target" "${inputs:-?}" "${rate:-?}" "${edges:-?}" \
    "$(find "$corpus" -type f | wc -l)" "$found"
  grep '^left out' "$log"
  return $status
}
export -f run
printf '%s\0' "${targets[@]}" | xargs -0 -P "$(nproc)" -I '{}' bash -c 'run {}' || exit 1
