#!/usr/bin/env bash
# Checks that C and C++ sources are in the project's format.
#
# usage: scripts/format.sh [--fix]     --fix rewrites those that are not
set -euo pipefail
cd "$(dirname "$0")/.."

# Other versions of clang-format break lines differently.
pinned=14
formatter=clang-format-$pinned
command -v "$formatter" >/dev/null || scripts/setup.sh format
command -v "$formatter" >/dev/null || formatter=clang-format
if ! "$formatter" --version | grep -q "version $pinned\."; then
  echo "format: clang-format $pinned is needed, here is: $("$formatter" --version)" >&2
  exit 1
fi

mode=(--dry-run -Werror)
[ "${1:-}" != --fix ] || mode=(-i)
git ls-files -z --cached --others --exclude-standard '*.h' '*.hpp' '*.c' '*.cpp' | xargs -0 -r "$formatter" "${mode[@]}"
