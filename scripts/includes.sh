#!/usr/bin/env bash
# Compiles sources of tool and tests by themselves, as far as errors show, so that one that relies on another's
# includes fails: where a whole folder is compiled as one, the sources before it hide that.
#
# usage: scripts/includes.sh [--changed]     default: all; --changed: only sources that changed since all were read
# (scripts/concerned.py), or a header that they include at any depth
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/includes
cmake --preset release -B "$build" > /dev/null

sources=$(git ls-files --cached --others --exclude-standard 'tool/*.cpp' 'tests/*.cpp')
[ $# -eq 0 ] || sources=$(scripts/concerned.py includes scripts/includes.sh <<< "$sources")

# A line for each source: its folder and its command.
commands=$(python3 - "$build/compile_commands.json" "$PWD" "$sources" <<'PY'
import json, os, re, shlex, sys

commands, root, sources = sys.argv[1:]
chosen = set(sources.split())
with open(commands, encoding="utf-8") as file:
    for entry in json.load(file):
        if os.path.relpath(entry["file"], root) in chosen:
            command = re.sub(r" -o \S+", " -fsyntax-only -w", entry["command"])
            print(f"cd {shlex.quote(entry['directory'])} && {command}")
PY
)
[ -n "$commands" ] || { echo "includes: no source has changed"; exit 0; }
tr '\n' '\0' <<< "$commands" | xargs -0 -P "$(nproc)" -I '{}' bash -c '[ -z "$1" ] || eval "$1"' - '{}'
echo "includes: $(wc -l <<< "$commands") sources compile by themselves"
