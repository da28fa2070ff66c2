#!/usr/bin/env bash
# From nothing to a verified time-stamp: builds the library and the tool, starts an authority on this machine, stamps
# README.md, verifies it by the authority's chain, shows the token and the authority's timing metrics, verifies a token
# under an elliptic-curve key, and checks that a changed file is refused.
# Everything but the build happens in a temporary folder, which is removed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
scripts/release.sh qex_tool
qex=$PWD/build/release/tool/qex

# The authority is on the loopback interface: use no proxy and none of the user's settings.
unset http_proxy https_proxy all_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY QEX_TSA_URL QEX_VERIFY_ESSCERTIDV2
export no_proxy='*' NO_PROXY='*'

work=$(mktemp -d)
authorities=()
finish() {
  for authority in "${authorities[@]}"; do
    { kill "$authority" 2>/dev/null && wait "$authority"; } || true
  done
  rm -rf "$work"
}
trap finish EXIT

# step COMMAND... prints the command as a reader would type it, then runs it.
step() {
  local shown="${*//$qex/qex}"
  printf '\n$ %s\n' "${shown//$work/\$WORK}"
  "$@"
}

# start NAME OPTION... starts an authority, and waits until it is ready.
start() {
  local name=$1
  shift
  python3 -B tests/authority/authority.py --end-with-parent --dir "$work/$name" --ready "$work/$name.json" "$@" &
  authorities+=($!)
  for _ in $(seq 200); do
    [ ! -e "$work/$name.json" ] || return 0
    kill -0 "${authorities[-1]}" 2>/dev/null || { echo "demo: the authority did not start" >&2; exit 1; }
    sleep 0.1
  done
  echo "demo: the authority was not ready within 20 seconds" >&2
  exit 1
}
answer() { python3 -c 'import json, sys; print(json.load(open(sys.argv[1]))[sys.argv[2]])' "$work/$1.json" "$2"; }

start authority --tac
start elliptic --key ec
roots=$(answer authority ca)

document=$work/README.md
stamps=$work/stamps
mkdir "$stamps"
cp README.md "$document"

step "$qex" stamp README.md --tsa "$(answer authority url)" --ca-file "$roots" -o "$stamps"
# `qex verify` looks for the stamp next to the document.
mv "$stamps"/README.md.ts[rq] "$work"
step "$qex" verify "$document" --ca-file "$roots"
step "$qex" show "$document.tsr"
step "$qex" tac check "$document.tsr"
step "$qex" tac show "$document.tsr"

printf '\nThe library has no elliptic curves: such a token is the strict reader'"'"'s alone.\n'
echo "a letter" > "$work/letter"
step "$qex" stamp "$work/letter" --tsa "$(answer elliptic url)" -q
step "$qex" verify "$work/letter" --ca-file "$(answer elliptic ca)"

echo "one more line" >> "$document"
status=0
step "$qex" verify "$document" --ca-file "$roots" || status=$?
if [ "$status" -ne 1 ]; then
  echo "demo: a changed file was to be refused with exit status 1, not $status" >&2
  exit 1
fi
printf '\nThe changed file was refused with exit status 1, as it should be.\n'
