"""Every place that states the version of the project states the same one.

usage: version_test.py SOURCE_FOLDER
"""

import re
import sys
import unittest


class VersionTest(unittest.TestCase):
    root = ""

    def find(self, path, pattern):
        with open(f"{self.root}/{path}", encoding="utf-8") as file:
            found = re.search(pattern, file.read(), re.MULTILINE)
        self.assertIsNotNone(found, f"{path} states no version")
        return found[1]

    def test_HeaderAndPackagesStateTheVersionOfTheProject(self):
        project = self.find("CMakeLists.txt", r"^project\(qex VERSION ([\d.]+)")
        header = [self.find("api/qex.h", rf"^#define QEX_VERSION_{part} (\d+)$") for part in ("MAJOR", "MINOR", "PATCH")]
        self.assertEqual(".".join(header), project)
        self.assertEqual(self.find("bindings/python/qex/_version.py", r'^VERSION = "(.*)"$'), project)
        self.assertEqual(self.find("debian/changelog", r"\Aqex \(([\d.]+)\)"), project)
        for crate in ("qex", "qex-sys"):
            self.assertEqual(self.find(f"bindings/rust/{crate}/Cargo.toml", r'^version = "(.*)"$'), project)
        self.assertEqual(self.find("bindings/go/README.md", r"-require=\S+@v([\d.]+) "), project)
        self.assertEqual(self.find("README.md", r"qex-([\d.]+)-linux"), project)


if __name__ == "__main__":
    VersionTest.root = sys.argv.pop(1)
    unittest.main()
