#!/usr/bin/env bash
# Puts small faults into the sources of one folder of the library, one at a time, and tells which of them the tests
# do not see (docs/reliability.md, "Mutation").
#
# usage: scripts/mutate.sh FOLDER|FILE [N] [--seed S] [--near] [--again] [--list]
#   FOLDER   ber, asn1, api or crypto; or a source or header of one of them
#   N        how many faults, chosen by the seed (default: 150; 0: all)
#   --seed   another choice (default: 1)
#   --near   the tests of the folder alone; without it those of api follow
#   --again  of the chosen faults only those that survived the last run, or that it did not come to
#   --list   print the chosen faults and stop
set -euo pipefail
cd "$(dirname "$0")/.."
exec python3 scripts/mutate.py "$@"
