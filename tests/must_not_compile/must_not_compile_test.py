"""A wrong declaration of an ASN.1 type does not compile, and the compiler says why.

usage: must_not_compile_test.py SOURCE_FOLDER COMPILER [OPTION...]

The first line of each source here is the message that has to appear among the errors; control.cpp compiles.
"""

import os
import re
import subprocess
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
FIRST_LINE = re.compile(r"// error: (.+)")


def compile_errors(compiler, path):
    """What the compiler says to the source at `path`; empty if it takes it."""
    done = subprocess.run(compiler + ["-std=c++20", "-fsyntax-only", path], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False,
                          env={**os.environ, "LC_ALL": "C"})
    return done.stdout or "refused without a word" if done.returncode else ""


class MustNotCompileTest(unittest.TestCase):
    compiler = []

    def test_TheControlCompiles(self):
        self.assertEqual(compile_errors(self.compiler, os.path.join(HERE, "control.cpp")), "")

    def test_EveryWrongDeclarationIsRefusedWithItsMessage(self):
        cases = sorted(name for name in os.listdir(HERE) if name.endswith(".cpp") and name != "control.cpp")
        self.assertGreater(len(cases), 25)
        for name in cases:
            path = os.path.join(HERE, name)
            with self.subTest(name), open(path, encoding="utf-8") as source:
                message = FIRST_LINE.fullmatch(source.readline().rstrip("\n"))
                self.assertIsNotNone(message, "the first line holds no message")
                # The message is in the file's own first line, too, which a compiler may show.
                said = compile_errors(self.compiler, path).replace(message.group(0), "")
                self.assertIn(message.group(1), said or "it compiles")


if __name__ == "__main__":
    root, *MustNotCompileTest.compiler = sys.argv[1:]
    MustNotCompileTest.compiler.append("-I" + root)
    unittest.main(argv=sys.argv[:1])
