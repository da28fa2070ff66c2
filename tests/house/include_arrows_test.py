"""Includes point downwards: api -> asn1 -> ber and api -> crypto, and nothing points back.

usage: include_arrows_test.py SOURCE_FOLDER

Every #include of a file that lies in the tree is looked at. Library files name what they
include by its path from the root. Programs around the library see api/qex.h and nothing
else of it, except tool/worker/inspect, which looks inside messages.
"""

import os
import re
import sys
import unittest

LAYERS = ("api", "asn1", "ber", "crypto")
PUBLIC_HEADER = "api/qex.h"

# What each folder may include of the library: folders end in a slash, the rest are patterns
# of files. The first row that a file's path begins with counts; other folders (unit tests,
# benchmarks, fuzz targets) see everything.
ALLOWED = (
    ("api/", (r"api/", r"asn1/", r"ber/", r"crypto/")),
    ("asn1/", (r"asn1/", r"ber/")),
    ("ber/", (r"ber/",)),
    ("crypto/", (r"crypto/",)),
    # The tables of texts are the one thing of api/ beside the public header.
    ("tool/worker/inspect/", (r"api/qex\.h$", r"api/\w*text\w*\.h$", r"asn1/", r"ber/")),
    ("tool/", (r"api/qex\.h$",)),
    ("examples/", (r"api/qex\.h$",)),
    ("tests/abi/", (r"api/qex\.h$",)),
)
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
SOURCE = re.compile(r"\.(c|cc|cpp|h|hpp|inc)$")


def read_tree(root):
    """The sources of the tree by their path from the root; build folders are left out."""
    sources = {}
    for folder, folders, files in os.walk(root):
        here = os.path.relpath(folder, root).replace(os.sep, "/")
        if here == ".":
            folders[:] = [f for f in folders if not f.startswith((".", "build", "out"))]
        for name in files:
            if SOURCE.search(name):
                with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as file:
                    sources[name if here == "." else f"{here}/{name}"] = file.read()
    return sources


def find_target(sources, includer, name):
    """The file of the tree that an include of `name` means, or None for one from outside."""
    beside = os.path.normpath(os.path.join(os.path.dirname(includer), name)).replace(os.sep, "/")
    for candidate in (name, beside, os.path.normpath(name).replace(os.sep, "/")):
        if candidate in sources:
            return candidate
    return PUBLIC_HEADER if name == "qex.h" else None


def broken_arrows(sources):
    """One line for every include that breaks a rule."""
    found = []
    for path, text in sorted(sources.items()):
        allowed = next((rules for start, rules in ALLOWED if path.startswith(start)), None)
        in_library = path.startswith(tuple(layer + "/" for layer in LAYERS))
        for match in INCLUDE.finditer(text):
            quoted, angled = match.groups()
            name = quoted or angled
            target = find_target(sources, path, name)
            if target is None:
                if quoted and in_library:
                    found.append(f'{path}: "{name}" is no file of the tree')
                continue
            if in_library and name != target:
                found.append(f'{path}: "{name}" is not the path from the root, {target}')
            if in_library and not target.startswith(tuple(layer + "/" for layer in LAYERS)):
                found.append(f"{path}: the library includes {target}")
            elif target.startswith(tuple(layer + "/" for layer in LAYERS)) and allowed is not None:
                if not any(re.match(rule, target) for rule in allowed):
                    found.append(f"{path}: may not include {target}")
    return found


class RulesTest(unittest.TestCase):
    """The rules on small made-up trees, so that the check itself is known to bite."""

    TREE = {
        "api/qex.h": "", "api/frame.h": "", "api/result_texts.h": "", "asn1/codec.h": "",
        "ber/buffer.h": "", "crypto/rsa.h": "", "tool/options.h": "", "tests/support/hex.h": "",
    }

    def broken_by(self, path, include):
        return broken_arrows({**self.TREE, path: f"// text\n  # include {include}\n"})

    def test_DownwardIncludesAreAllowed(self):
        for path, include in (("api/a.cpp", '"asn1/codec.h"'), ("api/a.cpp", '"crypto/rsa.h"'),
                              ("api/a.cpp", '"ber/buffer.h"'), ("asn1/a.cpp", '"ber/buffer.h"'),
                              ("ber/a.cpp", "<cstdint>"), ("tool/a.cpp", '"api/qex.h"'),
                              ("tool/a.cpp", '"tool/options.h"'), ("tool/a.cpp", '"options.h"'),
                              ("tool/worker/inspect/a.cpp", '"asn1/codec.h"'),
                              ("tool/worker/inspect/a.cpp", '"api/result_texts.h"'),
                              ("examples/a.c", "<qex.h>"), ("tests/abi/a.c", '"qex.h"'),
                              ("tests/api/a.cpp", '"crypto/rsa.h"'), ("fuzz/a.cpp", '"ber/buffer.h"')):
            with self.subTest(path=path, include=include):
                self.assertEqual(self.broken_by(path, include), [])

    def test_EveryOtherArrowIsBroken(self):
        for path, include in (("asn1/a.cpp", '"api/frame.h"'), ("asn1/a.cpp", '"crypto/rsa.h"'),
                              ("asn1/a.h", "<api/qex.h>"), ("ber/a.cpp", '"asn1/codec.h"'),
                              ("ber/a.cpp", '"crypto/rsa.h"'), ("ber/a.cpp", '"../crypto/rsa.h"'),
                              ("crypto/a.cpp", '"ber/buffer.h"'), ("crypto/a.cpp", '"api/qex.h"'),
                              ("crypto/a.cpp", "<qex.h>"), ("api/a.cpp", '"tool/options.h"'),
                              ("ber/a.cpp", '"tests/support/hex.h"'), ("tool/a.cpp", '"asn1/codec.h"'),
                              ("tool/a.cpp", '"api/frame.h"'), ("tool/worker/inspect/a.cpp", '"crypto/rsa.h"'),
                              ("tool/worker/inspect/a.cpp", '"api/frame.h"'), ("examples/a.c", '"ber/buffer.h"'),
                              ("examples/b/a.c", '"../../ber/buffer.h"'), ("tests/abi/a.c", '"api/frame.h"')):
            with self.subTest(path=path, include=include):
                self.assertNotEqual(self.broken_by(path, include), [])

    def test_LibraryFilesIncludeByThePathFromTheRoot(self):
        self.assertNotEqual(self.broken_by("api/a.cpp", '"frame.h"'), [])
        self.assertNotEqual(self.broken_by("api/a.cpp", '"api/missing.h"'), [])


class TreeTest(unittest.TestCase):
    root = "."

    def test_IncludesPointDownwards(self):
        sources = read_tree(self.root)
        self.assertIn(PUBLIC_HEADER, sources, "this is not the root of the tree")
        self.assertEqual("\n".join(broken_arrows(sources)), "")


if __name__ == "__main__":
    TreeTest.root = sys.argv.pop(1)
    unittest.main()
