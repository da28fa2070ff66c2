#!/usr/bin/env bash
# The slow checks, to run after scripts/test.sh: ThreadSanitizer, valgrind, static analysis, reproducible builds.
# Goes on after a failure; ends with the last lines of each step that failed, and a table. Two steps run at a time,
# since each has parts that one core does; a step's output appears when it ends, or at once if it runs alone.
#
# usage: scripts/check.sh [all | STEP...]     default: the steps of CI; all: also those that take too long for CI
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

steps=(format subjects reference platforms windows valgrind tidy cppcheck one_definition includes threads reproducible packages abi bench browser archive fuzz)
jobs=$(nproc)

step_format() {  # the format of the sources
  scripts/format.sh
}

step_subjects() {  # the subjects of commits
  scripts/subjects.sh
}

step_reference() {  # the reference of qex.h and qex.hpp: all of it is documented
  scripts/reference.sh
}

# cppcheck_reads FILTER...: over the sources that pass the filter; a list with reasons suppresses false positives.
cppcheck_reads() {
  local sources
  sources=$(git ls-files --cached --others --exclude-standard '*.c' '*.cpp' | "$@") || return 1
  [ -n "$sources" ] || { echo "cppcheck: no source has changed"; return 0; }
  tr '\n' '\0' <<< "$sources" |
    xargs -0 cppcheck -q -j "$jobs" --error-exitcode=1 --std=c++20 --library=posix --library=googletest -I . \
      --enable=warning,performance,portability --suppressions-list=scripts/cppcheck_suppressions.txt &&
    echo "cppcheck: $(grep -c . <<< "$sources") sources, no finding"
}

step_cppcheck() {  # cppcheck over the sources that changed since it read all
  cppcheck_reads scripts/concerned.py cppcheck scripts/cppcheck_suppressions.txt
}

step_cppcheck_all() {  # cppcheck over all sources; in 'all'
  cppcheck_reads cat && scripts/concerned.py --read cppcheck
}

step_one_definition() {  # no name has two definitions in library or tool, as the linker sees them together
  # Types are compared whatever the optimization.
  cmake --preset release -B build/one_definition -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-DNDEBUG \
    -DQEX_BUILD_TESTS=OFF -DQEX_BUILD_BENCH=OFF -DQEX_BUILD_EXAMPLES=OFF -DQEX_BUILD_DOCS=OFF \
    -DQEX_BY_FOLDER=ALL -DCMAKE_CXX_FLAGS='-flto=auto -Wodr -Wlto-type-mismatch -Werror' &&
    cmake --build build/one_definition -j "$jobs" --target qex qex_tool
}

step_reproducible() {  # two builds in different folders give the same library
  scripts/reproducible.sh
}

step_tidy() {  # clang-tidy over the folders that changed since it read all
  scripts/tidy.sh --changed
}

step_tidy_all() {  # clang-tidy over all sources; in 'all'
  scripts/tidy.sh && scripts/concerned.py --read tidy
}

step_includes() {  # sources that changed since all were read compile by themselves
  scripts/includes.sh --changed
}

step_includes_all() {  # all sources of tool and tests compile by themselves; in 'all'
  scripts/includes.sh && scripts/concerned.py --read includes
}

step_threads() {  # ThreadSanitizer, eight threads over all exports
  scripts/test.sh tsan
}

step_valgrind() {  # the test programs under valgrind, except the exhaustive one
  scripts/valgrind.sh api crypto asn1 ber
}

step_valgrind_all() {  # the test programs under valgrind; in 'all'
  scripts/valgrind.sh
}

step_platforms() {  # the suite of the library on 32-bit and big-endian machines, the kernels of ARM
  # The rest of what aarch64 has, s390x has too (char without a sign) or this machine (64 bits, little-endian).
  scripts/platforms.sh i386 s390x aarch64:crypto
}

step_platforms_all() {  # the suite of the library on 32-bit, ARM and big-endian machines; in 'all'
  scripts/platforms.sh
}

step_abi() {  # the binary interface of the library is the recorded one
  scripts/abi.sh
}

step_packages() {  # the Debian packages build, and lintian finds nothing
  scripts/packages.sh
}

step_packages_all() {  # the packages in a clean root: a program built, a file stamped; in 'all'
  scripts/packages.sh --root
}

step_archives() {  # the archives of a release: the sources build without git, the others work elsewhere; in 'all'
  scripts/archives.sh
}

step_windows() {  # the DLL, the C examples and qex.exe under wine
  scripts/windows.sh product
}

step_windows_all() {  # the same, and the suite of the library; in 'all'
  scripts/windows.sh
}

step_toolchains() {  # the suite with libc++ and unoptimized, callers in C without exceptions; in 'all'
  scripts/toolchains.sh
}

step_bench() {  # results beside those of other libraries, and counts of instructions; no times
  scripts/bench.sh --once
  scripts/instructions.sh
}

step_browser() {  # reports in headless Chromium
  scripts/browser.sh
}

step_archive() {  # an archive that several processes check, one of which is killed
  scripts/archive.sh
}

step_fuzz() {  # five seconds for each fuzz target
  scripts/fuzz.sh 5
}

step_fuzz_all() {  # a minute for each fuzz target; in 'all'
  scripts/fuzz.sh 60
}

usage() {
  sed -n '2,6s/^# \{0,1\}//p' "$0"
  echo
  sed -n 's/^step_\(\w*\)() {  # \(.*\)/\1\t\2/p' "$0" | expand -t 16
}

chosen=("$@")
[ ${#chosen[@]} -gt 0 ] || chosen=("${steps[@]}")
if [ "${chosen[*]}" = all ]; then
  chosen=()
  for step in "${steps[@]}"; do
    # The step that does more takes the place of the one in CI.
    if declare -F "step_${step}_all" >/dev/null; then step+=_all; fi
    chosen+=("$step")
  done
  chosen+=(archives toolchains)
fi
for step in "${chosen[@]}"; do
  if ! declare -F "step_$step" >/dev/null; then
    usage >&2
    exit 2
  fi
done

# Installed before steps run side by side, since two of them cannot install at a time.
declare -A needs=(
  [platforms]=platforms [platforms_all]=platforms [windows]=windows [windows_all]=windows [toolchains]=toolchains [bench]=bench [abi]=abi [reference]=reference
  [browser]=browser [archive]=archive [packages]=package [packages_all]=package [archives]='package platforms'
)
purposes=(check fuzz format)
for step in "${chosen[@]}"; do
  # shellcheck disable=SC2206  # words
  purposes+=(${needs[$step]-})
done

logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

# keep FILE copies the standard input to FILE, and lets it be seen where only one step runs.
keep() {
  if [ ${#chosen[@]} -eq 1 ]; then tee "$1"; else cat > "$1"; fi
}

# run_step NAME leaves the output of the step in $logs/NAME and its line of the table in $logs/NAME.row.
run_step() {
  local started=$SECONDS verdict=passed TIMEFORMAT='%U %S'
  # Not inside a condition: set -e has no effect there.
  { time (set -e; "step_$1") 2>&1 | keep "$logs/$1"; [ "${PIPESTATUS[0]}" -eq 0 ] || verdict=FAILED; } 2> "$logs/$1.cpu"
  printf '%-14s %-6s %6d s %6.0f s\n' "$1" "$verdict" $((SECONDS - started)) \
    "$(awk '{ print $1 + $2 }' "$logs/$1.cpu")" > "$logs/$1.row"
  [ ${#chosen[@]} -eq 1 ] || { printf '\n== %s\n' "$1"; cat "$logs/$1" "$logs/$1.row"; } | flock "$logs" cat
}

# Packages are unpacked by one core. Meanwhile the other one does a step that needs none of them.
early=one_definition
if [ ${#chosen[@]} -gt 1 ] && [[ " ${chosen[*]} " = *" $early "* ]]; then
  scripts/setup.sh || exit 1
  run_step "$early" &
else
  early=
fi
scripts/setup.sh "${purposes[@]}" || exit 1

for step in "${chosen[@]}"; do
  [ "$step" != "$early" ] || continue
  # The time of fuzzing is fixed: only a machine of its own gives it the usual number of inputs.
  [[ $step != fuzz* ]] || wait
  while [ "$(jobs -rp | wc -l)" -ge 2 ]; do wait -n; done
  run_step "$step" &
done
wait

status=0
for step in "${chosen[@]}"; do
  grep -q ' passed ' "$logs/$step.row" && continue
  status=1
  echo
  echo "== $step: failed"
  tail -n 60 "$logs/$step"
done
echo
for step in "${chosen[@]}"; do cat "$logs/$step.row"; done
exit $status
