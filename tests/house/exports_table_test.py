"""docs/exports.md has a row for every export, and the tests that it names are there; bench/ calls every export
on an input that is built to hurt.

usage: exports_table_test.py SOURCE_FOLDER
"""

import glob
import os
import re
import sys
import unittest


class ExportsTableTest(unittest.TestCase):
    root = ""

    @classmethod
    def setUpClass(cls):
        with open(f"{cls.root}/cmake/qex.map", encoding="utf-8") as file:
            cls.exports = set(re.findall(r"\b(QEX_\w+);", file.read()))
        with open(f"{cls.root}/docs/exports.md", encoding="utf-8") as file:
            cls.rows = [line for line in file if line.startswith("| `QEX_")]

    def test_EveryExportHasOneRow(self):
        named = [name for row in self.rows for name in re.findall(r"`(QEX_\w+)`", row)]
        self.assertEqual(sorted(named), sorted(self.exports))

    def test_TheTestsNamedAreThere(self):
        for row in self.rows:
            paths = re.findall(r"`(\w+(?:/\w+)+\.\w+)`", row)
            self.assertTrue(paths, row)
            for path in paths:
                self.assertTrue(os.path.exists(f"{self.root}/tests/{path}"), path)

    def test_EveryExportHasAHostileInput(self):
        called = set()
        for path in glob.glob(f"{self.root}/bench/hostile_*.cpp"):
            with open(path, encoding="utf-8") as file:
                called |= set(re.findall(r"\bQEX_\w+", file.read()))
        self.assertEqual(self.exports - called, set())


if __name__ == "__main__":
    ExportsTableTest.root = sys.argv.pop(1)
    unittest.main()
