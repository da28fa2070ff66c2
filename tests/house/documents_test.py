"""The documents: every link, path, preset, target, option and test filter in them exists.

usage: documents_test.py SOURCE_FOLDER
"""

import fnmatch
import glob
import json
import os
import re
import sys
import unittest

# Folders of the tree, as paths in the documents begin.
FOLDERS = r"(?:api|asn1|ber|bench|bindings|cmake|crypto|debian|docs|examples|fuzz|ground|include|scripts|tests|tool)"
# Options are looked for where programs of the tree declare them; these belong to other programs.
FOREIGN_OPTIONS = re.compile(r"--(benchmark|gtest)_\w+|--(build|preset|install|component|target|static|end-with-parent|cflags|libs|nthreads)$")


def heading_anchor(heading):
    """The fragment under which a heading is linked."""
    return re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-")


class DocumentsTest(unittest.TestCase):
    root = ""

    @classmethod
    def setUpClass(cls):
        names = ["tests/unreachable.md"]
        for pattern in ("*.md", "docs/*.md", "bindings/*/README.md"):
            names += glob.glob(pattern, root_dir=cls.root)
        cls.texts = {}
        for name in sorted(names):
            with open(f"{cls.root}/{name}", encoding="utf-8") as file:
                cls.texts[name] = file.read()

    def test_LinksLeadToFilesAndHeadings(self):
        for name, text in self.texts.items():
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                if re.match(r"\w+:", target):
                    continue
                path, _, fragment = target.partition("#")
                path = os.path.normpath(os.path.join(os.path.dirname(name), path)) if path else name
                with self.subTest(document=name, link=target):
                    self.assertTrue(os.path.exists(f"{self.root}/{path}"))
                    if fragment:
                        self.assertIn(fragment, map(heading_anchor, re.findall(r"^#+ (.*)", self.texts[path], re.MULTILINE)))

    def test_PathsNamedAreThere(self):
        for name, text in self.texts.items():
            for path in re.findall(rf"(?<![\w/.-]){FOLDERS}/[\w./*-]*\w", text.replace("TARGET", "*")):
                with self.subTest(document=name, path=path):
                    # Some tables name tests by their path below tests/.
                    self.assertTrue(any(glob.glob(f"{self.root}/{start}{path}*") for start in ("", "tests/")))

    def test_PresetsNamedAreDefined(self):
        with open(f"{self.root}/CMakePresets.json", encoding="utf-8") as file:
            presets = {preset["name"] for preset in json.load(file)["configurePresets"]}
        for name, text in self.texts.items():
            for preset in re.findall(r"--preset (\w+)", text):
                with self.subTest(document=name):
                    self.assertIn(preset, presets)

    def read_all(self, *patterns):
        text = ""
        for pattern in patterns:
            for path in glob.glob(pattern, root_dir=self.root, recursive=True):
                with open(f"{self.root}/{path}", encoding="utf-8") as file:
                    text += file.read()
        return text

    def test_TargetsNamedAreDefined(self):
        defined = set(re.findall(r"\w+", self.read_all("*/CMakeLists.txt", "*/*/CMakeLists.txt", "CMakeLists.txt")))
        for name, text in self.texts.items():
            for targets in re.findall(r"--target((?: \w+)+)", text):
                with self.subTest(document=name):
                    self.assertEqual(set(targets.split()) - defined, set())

    def test_OptionsOfTheBuildAreListed(self):
        build = self.read_all("CMakeLists.txt", "docs/CMakeLists.txt")
        declared = re.findall(r"^option\((QEX_\w+)", build, re.MULTILINE) + re.findall(r"^set\((QEX_\w+) .* CACHE STRING", build, re.MULTILINE)
        listed = re.findall(r"`(QEX_[A-Z_]+)`", "\n".join(re.findall(r"^\| `QEX_.*", self.texts["CONTRIBUTING.md"], re.MULTILINE)))
        self.assertEqual(sorted(listed), sorted(declared))

    def test_FiltersNamedSelectTests(self):
        tests = [".".join(pair) for pair in re.findall(r"^TEST(?:_F|_P)?\((\w+), *(\w+)\)",
                                                       self.read_all("tests/**/*.cpp"), re.MULTILINE)]
        for name, text in self.texts.items():
            for pattern in re.findall(r"--gtest_filter='([^']+)'", text):
                for part in pattern.split(":"):
                    with self.subTest(document=name, filter=part):
                        self.assertTrue(fnmatch.filter(tests, part))

    def test_OptionsNamedAreRead(self):
        sources = self.read_all("tool/**/*.cpp", "bench/*.cpp", "scripts/*.sh", "examples/**/*.py")
        for name, text in self.texts.items():
            for option in sorted(set(re.findall(r"(?<![\w-])--[a-z][\w-]*\w", text))):
                if not FOREIGN_OPTIONS.match(option):
                    with self.subTest(document=name):
                        self.assertTrue(re.search(re.escape(option) + r"\b", sources), f"nothing reads {option}")


if __name__ == "__main__":
    DocumentsTest.root = sys.argv.pop(1)
    unittest.main()
