"""The shared library exports what the version script and the symbols file of its package list, and the header declares.

usage: exports_test.py SOURCE_FOLDER LIBQEX_SO NM
"""

import re
import subprocess
import sys
import unittest


class ExportsTest(unittest.TestCase):
    root = library = nm = ""

    @classmethod
    def setUpClass(cls):
        with open(f"{cls.root}/cmake/qex.map", encoding="utf-8") as file:
            script = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)
        # NODE { global: names; local: *; } PARENT; where only the first node hides the rest.
        cls.node_of = {}
        cls.nodes = []
        rest = script
        while match := re.match(r"\s*([\w.]+)\s*{\s*global:([^:}]*?)(local:\s*\*;\s*)?}\s*([\w.]*)\s*;", rest):
            node, names, hides, parent = match.groups()
            if bool(hides) != (not cls.nodes) or parent != (cls.nodes[-1] if cls.nodes else ""):
                raise AssertionError(f"qex.map: node {node} does not continue the one before")
            cls.nodes.append(node)
            cls.node_of.update((name.strip(), node) for name in names.split(";") if name.strip())
            rest = rest[match.end():]
        if rest.strip() or not cls.nodes:
            raise AssertionError(f"qex.map cannot be read from here on: {rest.strip()[:60]}")

        with open(f"{cls.root}/api/qex.h", encoding="utf-8") as file:
            header = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)
        cls.declared = re.findall(r"^QEX_EXPORT\b[^;{}]*?\b(QEX_\w+)\(", header, re.MULTILINE)

        table = subprocess.run([cls.nm, "-D", "--defined-only", cls.library],
                               capture_output=True, text=True, check=True).stdout
        cls.symbols = [row.split() for row in table.splitlines()]

    def test_VersionScriptAndHeaderAgree(self):
        self.assertEqual(sorted(self.node_of), sorted(self.declared))

    def test_LibraryDefinesTheListedFunctionsUnderTheirNodesAndNothingElse(self):
        wanted = [f"A {node}" for node in self.nodes]
        wanted += [f"T {name}@@{node}" for name, node in self.node_of.items()]
        # Some nm print a node's own symbol as NODE, others as NODE@@NODE.
        found = [f"{kind} {name.split('@@')[0] if kind == 'A' else name}" for _, kind, name in self.symbols]
        self.assertEqual(sorted(found), sorted(wanted))

    def test_TheSymbolsFileOfDebianHasTheExports(self):
        with open(f"{self.root}/debian/libqex1.symbols", encoding="utf-8") as file:
            listed = re.findall(r"^ (\w+@QEX_[\d.]+) [\d.]+$", file.read(), re.MULTILINE)
        self.assertEqual(sorted(listed), sorted(f"{name}@{node}" for name, node in self.node_of.items()))

    def test_BothUpdatesOfTheSha512FamilyAreOneEntry(self):
        address = {name.split("@@")[0]: value for value, _, name in self.symbols}
        self.assertEqual(address["QEX_SHA384_Update"], address["QEX_SHA512_Update"])


if __name__ == "__main__":
    ExportsTest.root, ExportsTest.library, ExportsTest.nm = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main()
