#!/usr/bin/env python3
"""Writes the declarations of the bindings from bindings/interface.json.

usage: scripts/bindings.py [--check]     --check writes nothing and fails when a file is not what it would be
"""

import argparse
import os
import sys

sys.dont_write_bytecode = True
BINDINGS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "bindings")
sys.path.insert(0, BINDINGS)
from generate import go, model, python, rust, rust_sys  # noqa: E402

# Each has PATH, below bindings/, and write(interface), which returns the text of that file.
LANGUAGES = (python, go, rust_sys, rust)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true", help="write nothing; fail when a file is not current")
    check = parser.parse_args().check
    interface = model.load(os.path.join(BINDINGS, "interface.json"))
    status = 0
    for language in LANGUAGES:
        path = os.path.join(BINDINGS, language.PATH)
        text = language.write(interface)
        try:
            with open(path, encoding="utf-8") as file:
                if file.read() == text:
                    continue
        except FileNotFoundError:
            pass
        if check:
            print(f"bindings: bindings/{language.PATH} is not current; run scripts/bindings.py", file=sys.stderr)
            status = 1
        else:
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)
            print(f"bindings: wrote bindings/{language.PATH}")
    return status


if __name__ == "__main__":
    try:
        sys.exit(main())
    except model.DescriptionError as error:
        sys.exit(f"bindings: interface.json: {error}")
