"""The shared library exports what the version script lists and the header declares.

usage: exports_test.py SOURCE_FOLDER LIBQEX_SO NM
"""

import re
import subprocess
import sys
import unittest

VERSION_NODE = "QEX_1.0"


class ExportsTest(unittest.TestCase):
    root = library = nm = ""

    @classmethod
    def setUpClass(cls):
        with open(f"{cls.root}/cmake/qex.map", encoding="utf-8") as file:
            script = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)
        node = re.fullmatch(rf"\s*{re.escape(VERSION_NODE)}\s*{{\s*global:(.*?)local:\s*\*;\s*}};\s*",
                            script, re.DOTALL)
        if node is None:
            raise AssertionError("qex.map is not one node of exports that hides all the rest")
        cls.listed = sorted(name.strip() for name in node[1].split(";") if name.strip())

        with open(f"{cls.root}/api/qex.h", encoding="utf-8") as file:
            header = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)
        cls.declared = sorted(re.findall(r"^QEX_EXPORT\b[^;{}]*?\b(QEX_\w+)\(", header, re.MULTILINE))

        table = subprocess.run([cls.nm, "-D", "--defined-only", cls.library],
                               capture_output=True, text=True, check=True).stdout
        cls.symbols = [row.split()[-2:] for row in table.splitlines()]

    def test_VersionScriptAndHeaderAgree(self):
        self.assertEqual(self.listed, self.declared)

    def test_LibraryDefinesTheListedFunctionsAndNothingElse(self):
        # Newer versions of nm print the version behind the name: NAME@@NODE.
        exported = sorted(name.split("@")[0] for kind, name in self.symbols if name != VERSION_NODE)
        self.assertEqual(exported, self.listed)

    def test_ExportsAreFunctionsUnderTheVersionNode(self):
        for kind, name in self.symbols:
            with self.subTest(name=name):
                if name == VERSION_NODE:
                    self.assertEqual(kind, "A")
                else:
                    self.assertEqual(kind, "T")
                    self.assertEqual((name + f"@@{VERSION_NODE}").split("@@")[1], VERSION_NODE)
        self.assertIn(["A", VERSION_NODE], self.symbols)

    def test_BothUpdatesOfTheSha512FamilyAreOneEntry(self):
        table = subprocess.run([self.nm, "-D", "--defined-only", self.library],
                               capture_output=True, text=True, check=True).stdout
        entry = {row.split()[-1].split("@")[0]: row.split()[0] for row in table.splitlines()}
        self.assertEqual(entry["QEX_SHA384_Update"], entry["QEX_SHA512_Update"])


if __name__ == "__main__":
    ExportsTest.root, ExportsTest.library, ExportsTest.nm = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main()
