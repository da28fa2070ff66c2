#!/usr/bin/env bash
# Opens the reports of `qex show --html` in headless Chromium: nothing overflows on narrow and wide screens, light, dark
# and on paper, nothing is loaded, and names are read aloud. With FOLDER, screenshots and PDF stay there to be looked at.
#
# usage: scripts/browser.sh [FOLDER]
set -euo pipefail
folder=()
[ $# -eq 0 ] || folder=("$(realpath -m "$1")")
cd "$(dirname "$0")/.."

scripts/setup.sh browser
scripts/release.sh qex_tool
python3 -B tests/browser/browser_test.py build/release/tool/qex "${folder[@]}"
