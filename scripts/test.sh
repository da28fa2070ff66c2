#!/usr/bin/env bash
# The whole test: sets up, builds and tests the release and the sanitizer preset. Ends with the output of the
# tests that failed and the last lines of ctest for each preset.
#
# usage: scripts/test.sh [PRESET...]     default: release asan
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release asan)
jobs=$(nproc)
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

scripts/setup.sh sanitize docs bindings || exit 1

failed=()
for preset in "${presets[@]}"; do
  echo "== $preset: build"
  # A build folder that exists keeps its settings; in a new one everything is compiled, by folder for speed.
  settings=()
  [ -e "build/$preset" ] || settings=(-DQEX_BY_FOLDER=ALL)
  if ! cmake --preset "$preset" "${settings[@]}" || ! cmake --build --preset "$preset" -j "$jobs"; then
    echo "the build failed" > "$logs/$preset"
    failed+=("$preset")
    continue
  fi
  echo "== $preset: tests"
  # More tests than cores: those of the tool mostly wait for servers and children.
  ctest --preset "$preset" -j "$((jobs + 2))" 2>&1 | tee "$logs/$preset"
  [ "${PIPESTATUS[0]}" -eq 0 ] || failed+=("$preset")
done

if [ ${#failed[@]} -gt 0 ]; then
  verdict="FAILED: ${failed[*]}"
else
  verdict="passed: ${presets[*]}"
fi
echo
echo "== $verdict"
for preset in "${presets[@]}"; do
  echo
  echo "== $preset"
  # The output of failed tests: from the line that reports the failure to the next line of ctest.
  awk '/\*\*\*/ { p = 1; print; next }
       /^ *(Start|[0-9]+\/[0-9]+ Test) / || /tests passed,/ { p = 0 }
       p' "$logs/$preset" | head -n 200
  # From ctest's count of the tests on, or the end of the log where there is none.
  sed -n '/tests passed,/,$p' "$logs/$preset" | grep . || tail -n 3 "$logs/$preset"
done
[ ${#failed[@]} -eq 0 ]
