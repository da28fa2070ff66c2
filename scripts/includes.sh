#!/usr/bin/env bash
# Compiles sources of tool and tests by themselves, as far as errors show, so that one that relies on another's
# includes fails: where a whole folder is compiled as one, the sources before it hide that.
#
# usage: scripts/includes.sh [COMMITS]     default: all; COMMITS: only sources that so many last commits changed, or a
# header that they include at any depth
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/includes
cmake --preset release -B "$build" > /dev/null

# A line for each source: its folder and its command.
commands=$(python3 - "$build/compile_commands.json" "$PWD" "${1-}" <<'PY'
import functools, json, os, re, shlex, subprocess, sys

def git(*arguments):
    return subprocess.run(["git", *arguments], capture_output=True, text=True, check=True).stdout.split()

commands, root, commits = sys.argv[1:]
changed = None
if commits:
    changed = {*git("log", f"-{commits}", "--format=", "--name-only"), *git("diff", "--name-only", "HEAD"),
               *git("ls-files", "--others", "--exclude-standard")}

@functools.cache
def included(name):
    with open(name, encoding="utf-8") as file:
        direct = re.findall(r'^#include "(.*)"', file.read(), re.MULTILINE)
    return [path for path in direct if os.path.isfile(path)]

def concerned(name):
    seen, waiting = set(), [name]
    while waiting:
        path = waiting.pop()
        if path not in seen:
            seen.add(path)
            waiting += included(path)
    return changed is None or not changed.isdisjoint(seen)

with open(commands, encoding="utf-8") as file:
    for entry in json.load(file):
        name = os.path.relpath(entry["file"], root)
        if name.startswith(("tool/", "tests/")) and name.endswith(".cpp") and concerned(name):
            command = re.sub(r" -o \S+", " -fsyntax-only -w", entry["command"])
            print(f"cd {shlex.quote(entry['directory'])} && {command}")
PY
)
[ -n "$commands" ] || { echo "includes: no source has changed"; exit 0; }
tr '\n' '\0' <<< "$commands" | xargs -0 -P "$(nproc)" -I '{}' bash -c '[ -z "$1" ] || eval "$1"' - '{}'
echo "includes: $(wc -l <<< "$commands") sources compile by themselves"
