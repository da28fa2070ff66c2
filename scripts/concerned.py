#!/usr/bin/env python3
"""Steps of check.sh that read sources one by one read all of them in 'all' alone. scripts/read_whole.txt has the commit
at which each last did that and found nothing; in CI it reads what has changed since.

usage: git ls-files '*.cpp' | scripts/concerned.py STEP [FILE...]
           prints those of the names that have changed, or a header that they include at any depth; what is not
           committed counts too. All have changed when a FILE has, which says how they are read.
       scripts/concerned.py --read STEP
           records that STEP has read all sources as they are in the last commit
"""
import fcntl
import functools
import os
import re
import subprocess
import sys

RECORD = "scripts/read_whole.txt"


def git(*arguments):
    return subprocess.run(["git", *arguments], capture_output=True, text=True, check=True).stdout.splitlines()


def recorded():
    with open(RECORD, encoding="ascii") as file:
        return dict(line.split() for line in file)


def record(step):
    changed = [name for name in git("diff", "--name-only", "HEAD") if name != RECORD]
    if changed:
        print(f"{step}: not recorded, since {changed[0]} has changed since the last commit")
        return
    with open(__file__, encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)  # several steps run side by side
        steps = {**recorded(), step: git("rev-parse", "HEAD")[0]}
        with open(RECORD, "w", encoding="ascii") as file:
            file.writelines(f"{name} {commit}\n" for name, commit in sorted(steps.items()))


def changed_since(step):
    """Names of files; None when the commit is not known here."""
    try:
        changed = git("diff", "--name-only", recorded()[step])
    except (KeyError, subprocess.CalledProcessError):
        return None
    return {*changed, *git("ls-files", "--others", "--exclude-standard")}


@functools.cache
def included(name):
    with open(name, encoding="utf-8") as file:
        direct = re.findall(r'^#include "(.*)"', file.read(), re.MULTILINE)
    return [path for path in direct if os.path.isfile(path)]


def concerned(name, changed):
    seen, waiting = set(), [name]
    while waiting:
        path = waiting.pop()
        if path not in seen:
            seen.add(path)
            waiting += included(path)
    return not changed.isdisjoint(seen)


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--read":
        record(sys.argv[2])
        return
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    step, *all_concerned = sys.argv[1:]
    changed = changed_since(step)
    everything = changed is None or not changed.isdisjoint(all_concerned)
    for name in sys.stdin.read().splitlines():
        if everything or concerned(name, changed):
            print(name)


main()
