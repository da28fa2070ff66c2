#!/usr/bin/env bash
# Times the tool against other ways to the same answers, as ratios within one run: one token against
# `openssl ts -verify`; many tokens against a loop of that, and against a C program that makes the same calls in
# process (bench/tool/in_process.c); a file of 3 GiB in memory against `openssl dgst`. Measures the installed tool:
# the one in the build folder searches more places for its libraries. Other work on the machine distorts the ratios,
# most for programs of several processes.
#
# usage: scripts/bench-tool.sh [NUMBER OF TOKENS]      10000 without one
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-10000}

scripts/setup.sh bench
scripts/release.sh qex qex_tool qex_in_process
work=$(mktemp -d)
authority=
trap '[ -z "$authority" ] || kill "$authority"; rm -rf "$work"' EXIT
cmake --install build/release --prefix "$work/installed" >"$work/install.log"
qex=$work/installed/bin/qex
in_process=$PWD/build/release/bench/qex_in_process
python3 -B bench/tool/tokens.py "$work" "$count"

python3 -B tests/authority/authority.py --ready "$work/ready" --dir "$work/authority" --end-with-parent &
authority=$!
cd "$work"
unset QEX_VERIFY_ESSCERTIDV2
cat >loop.sh <<'END'
while read -r name; do
  openssl ts -verify -data "$name" -in "$name.tsr" -CAfile root.pem >/dev/null 2>&1 || exit 1
done <list
END

echo "one token:"
hyperfine -N --warmup 20 --runs 300 --export-json one.json \
  "$qex verify many/00000 --ca-file root.pem" \
  "openssl ts -verify -data many/00000 -in many/00000.tsr -CAfile root.pem" 2>/dev/null | grep -E 'Benchmark|Time|Range'
echo "$count tokens:"
hyperfine --warmup 1 --runs 5 --export-json many.json \
  "$qex verify --dir many --ca-file root.pem" \
  "$qex verify --jobs - --ca-file root.pem <jobs" \
  "$in_process root.pem $(nproc) <list" 2>/dev/null | grep -E 'Benchmark|Time|Range'
hyperfine --runs 1 --export-json loop.json "bash loop.sh" 2>/dev/null | grep -E 'Benchmark|Time'

echo "a file of 3 GiB:"
truncate -s 3G large
cat large >/dev/null
while [ ! -e ready ]; do sleep 0.1; done
url=$(sed 's/.*"url": "\([^"]*\)".*/\1/' ready)
hyperfine -N --warmup 1 --runs 7 --export-json large.json "$qex digest large" \
  "$qex stamp large --tsa $url --force" "openssl dgst -sha256 large" 2>/dev/null | grep -E 'Benchmark|Time'

python3 - "$count" <<'END'
import json, sys
def times(name):
    return [result["median"] for result in json.load(open(name))["results"]]
def work(name):
    return [result["user"] + result["system"] for result in json.load(open(name))["results"]]
digest, stamp, dgst = times("large.json")
digest_work, stamp_work, dgst_work = work("large.json")
(qex, openssl), (folder, jobs, direct), (loop,) = times("one.json"), times("many.json"), times("loop.json")
print(f"\none token:  qex takes {qex / openssl:.2f} of the time of openssl ts -verify (1.00 or less is wanted)")
for name, time in (("--dir", folder), ("--jobs -", jobs)):
    print(f"{sys.argv[1]} tokens, {name}:  {time / loop:.3f} of the time of a loop of openssl ts -verify (0.100 or less is wanted), "
          f"{direct / time:.2f} of the speed of the same calls in process (0.50 or more is wanted)")
print(f"a file of 3 GiB:  qex digest takes {digest / dgst:.2f} and qex stamp {stamp / dgst:.2f} of the time of openssl dgst "
      f"(1.05 or less is wanted), and {digest_work / dgst_work:.2f} and {stamp_work / dgst_work:.2f} of its processor time")
END
