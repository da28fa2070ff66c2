#!/usr/bin/env bash
# Runs the fuzz targets one after another, each for the same time, and prints a table: inputs run, inputs a
# second, edges covered, and how many findings were kept.
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
failed=0
table=$(printf '%-16s %10s %8s %8s %8s %6s' target inputs per-s edges corpus found)
echo "$table"
for target in "${targets[@]}"; do
  program=build/fuzz/fuzz/fuzz_$target
  if ! [ -x "$program" ]; then
    echo "$target: no such target" >&2
    failed=1
    continue
  fi
  corpus=build/fuzz-corpus/$target
  findings=build/fuzz-findings/$target
  mkdir -p "$corpus" "$findings"
  options=(-max_total_time="$seconds" -max_len=8192 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1
           -artifact_prefix="$findings/")
  if [ -f "fuzz/dictionaries/$target.dict" ]; then options+=(-dict="fuzz/dictionaries/$target.dict"); fi
  log=$findings/log.txt
  "$program" "${options[@]}" "$corpus" "fuzz/corpus/$target" > "$log" 2>&1 || failed=1
  inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  edges=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
  found=$(find "$findings" -type f ! -name log.txt | wc -l)
  printf '%-16s %10s %8s %8s %8s %6s\n' "$target" "${inputs:-?}" "${rate:-?}" "${edges:-?}" \
    "$(find "$corpus" -type f | wc -l)" "$found"
  grep '^left out' "$log"
done
exit $failed
