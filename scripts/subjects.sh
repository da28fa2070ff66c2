#!/usr/bin/env bash
# Checks the subjects of commits: an area and a colon, then what the change does as an imperative, in at most 72
# characters without a full stop.
#
# usage: scripts/subjects.sh [RANGE]     default: the commits since the rule began
set -euo pipefail
cd "$(dirname "$0")/.."

# When the rule began: a date, since a rebase changes names of commits.
range=${1-}
log=(git log --no-merges --format='%h %s')
if [ -n "$range" ]; then log+=("$range"); else log+=(--since=2026-11-22T10:35:00Z); fi

"${log[@]}" | python3 -c '
import re, sys
# Words that end like a past tense or a participle, and are imperatives.
IMPERATIVES = {"bring", "embed", "exceed", "feed", "need", "proceed", "seed", "shed", "speed", "spring", "string", "wed"}
count = failed = 0
for line in sys.stdin:
    commit, subject = line.rstrip("\n").split(" ", 1)
    count += 1
    faults = []
    if len(subject) > 72:
        faults.append(f"{len(subject)} characters, more than 72")
    if subject.endswith("."):
        faults.append("a full stop at the end")
    parts = re.fullmatch(r"([a-z0-9][a-z0-9_./, -]*): (\S+).*", subject)
    if not parts:
        faults.append("no area in lower case, followed by a colon and a space")
    else:
        word = parts[2].lower().rstrip(",:;")
        ends = re.search(r"(ed|ing)$", word) and word not in IMPERATIVES
        if ends or word in {"adds", "changes", "fixes", "makes", "removes", "updates"}:
            faults.append(f"no imperative after the area: {parts[2]}")
    if faults:
        failed += 1
        print(f"{commit} {subject}\n  " + "\n  ".join(faults))
print(f"subjects: {count} commits, " + (f"{failed} with findings" if failed else "no finding"))
sys.exit(1 if failed else 0)
'
