#!/usr/bin/env python3
"""Reads names of sources, and prints those that the last commits changed, or a header that they include at any depth.
What is not committed yet counts as changed; so does everything when the file changes that says how all is checked.

usage: git ls-files '*.cpp' | scripts/concerned.py COMMITS [FILE...]     FILE: concerns all sources
"""
import functools
import os
import re
import subprocess
import sys


def git(*arguments):
    return subprocess.run(["git", *arguments], capture_output=True, text=True, check=True).stdout.splitlines()


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
    if len(sys.argv) < 2 or not sys.argv[1].isdigit():
        sys.exit(__doc__)
    commits, *all_concerned = sys.argv[1:]
    changed = {*git("log", f"-{commits}", "--format=", "--name-only"), *git("diff", "--name-only", "HEAD"),
               *git("ls-files", "--others", "--exclude-standard")}
    everything = not changed.isdisjoint(all_concerned)
    for name in sys.stdin.read().splitlines():
        if everything or concerned(name, changed):
            print(name)


main()
