#!/usr/bin/env bash
# Checks the subjects of commits: an area and a colon, then what the change does as an imperative, in at most 72
# characters without a full stop.
#
# usage: scripts/subjects.sh [RANGE]     default: the commits since the one that brought this check
set -euo pipefail
cd "$(dirname "$0")/.."

# The parent of the first commit to check. A clone may be too shallow to have it: then all that it has are checked.
start=b04e653897d8bc10d68692caf95bfa6e0986a58f
range=${1-}
if [ -z "$range" ]; then
  range=HEAD
  ! git merge-base --is-ancestor "$start" HEAD 2> /dev/null || range=$start..HEAD
fi

git log --no-merges --format='%h %s' "$range" | python3 -c '
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
