#!/usr/bin/env bash
# From nothing to a verified time-stamp: builds the library and the tool, starts an authority on this
# machine, stamps README.md, verifies and shows the token and the timing metrics that the authority states
# in it, and sees a changed file refused.
# Everything but the build happens in a temporary folder, which goes at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release
cmake --build --preset release -j "$(nproc)" --target qex_tool
qex=$PWD/build/release/tool/qex

# The authority is on the loopback interface: no proxy, and no setting of the user's, takes part.
unset http_proxy https_proxy all_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY QEX_TSA_URL QEX_VERIFY_ESSCERTIDV2
export no_proxy='*' NO_PROXY='*'

work=$(mktemp -d)
authority=
finish() {
  [ -z "$authority" ] || { kill "$authority" 2>/dev/null && wait "$authority"; } || true
  rm -rf "$work"
}
trap finish EXIT

# step COMMAND... prints the command as a reader would type it, then runs it.
step() {
  local shown="${*//$qex/qex}"
  printf '\n$ %s\n' "${shown//$work/\$WORK}"
  "$@"
}

python3 -B tests/authority/authority.py --end-with-parent --tac --dir "$work/authority" --ready "$work/ready.json" &
authority=$!
for _ in $(seq 200); do
  [ ! -e "$work/ready.json" ] || break
  kill -0 "$authority" 2>/dev/null || { echo "demo: the authority did not start" >&2; exit 1; }
  sleep 0.1
done
[ -e "$work/ready.json" ] || { echo "demo: the authority was not ready within 20 seconds" >&2; exit 1; }
answer() { python3 -c 'import json, sys; print(json.load(open(sys.argv[1]))[sys.argv[2]])' "$work/ready.json" "$1"; }
url=$(answer url)
certificate=$(answer tsa)

document=$work/README.md
stamps=$work/stamps
mkdir "$stamps"
cp README.md "$document"

step "$qex" stamp README.md --tsa "$url" -o "$stamps"
# The stamp lies beside the document, where it is looked for.
mv "$stamps"/README.md.ts[rq] "$work"
step "$qex" verify "$document" --tsa-cert "$certificate"
step "$qex" show "$document.tsr"
step "$qex" tac check "$document.tsr"
step "$qex" tac show "$document.tsr"

echo "one more line" >> "$document"
status=0
step "$qex" verify "$document" --tsa-cert "$certificate" || status=$?
if [ "$status" -ne 1 ]; then
  echo "demo: a changed file was to be refused with exit status 1, not $status" >&2
  exit 1
fi
printf '\nThe changed file was refused with exit status 1, as it should be.\n'
