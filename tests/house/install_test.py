"""The installed tree works for a program that finds it by CMake or by pkg-config.

usage: install_test.py SOURCE_FOLDER BUILD_FOLDER CMAKE GENERATOR COMPILER [PKG_CONFIG]

The tree is installed to one place and moved to another first: no file in it may contain the original path.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM = """\
#include <qex.h>
#include <stdio.h>
int main(void) {
  uint8_t digest[32];
  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  QEX_SHA256_Update(context, (const uint8_t*)"abc", 3);
  QEX_SHA256_Final(context, digest);
  for (int i = 0; i < 32; ++i) printf("%02x", digest[i]);
  return 0;
}
"""
# FIPS 180-4, the example of one block.
SHA256_OF_ABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"

PROJECT = """\
cmake_minimum_required(VERSION 3.22)
project(consumer LANGUAGES C)
find_package(qex 1.0 REQUIRED)
add_executable(consumer main.c)
target_link_libraries(consumer PRIVATE qex::qex)
"""


def run(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


class InstallTest(unittest.TestCase):
    source = build = cmake = generator = compiler = pkg_config = ""

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="qex-install-")
        first, cls.prefix = (os.path.join(cls.scratch.name, name) for name in ("first", "moved"))
        run(cls.cmake, "--install", cls.build, "--prefix", first)
        os.rename(first, cls.prefix)
        cls.lib = next(folder for folder, _, files in os.walk(cls.prefix) if "libqex.so" in files)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def consumer(self, name):
        folder = os.path.join(self.scratch.name, name)
        os.mkdir(folder)
        with open(os.path.join(folder, "main.c"), "w", encoding="ascii") as file:
            file.write(PROGRAM)
        return folder

    def test_CMakeFindsIt(self):
        folder = self.consumer("by-cmake")
        with open(os.path.join(folder, "CMakeLists.txt"), "w", encoding="ascii") as file:
            file.write(PROJECT)
        run(self.cmake, "-G", self.generator, "-S", folder, "-B", folder + "/build",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_C_COMPILER={self.compiler}")
        run(self.cmake, "--build", folder + "/build")
        self.assertEqual(run(folder + "/build/consumer"), SHA256_OF_ABC)

    def test_PkgConfigFindsIt(self):
        if not self.pkg_config:
            self.skipTest("pkg-config is not installed")
        folder = self.consumer("by-pkg-config")
        environment = {**os.environ, "PKG_CONFIG_PATH": os.path.join(self.lib, "pkgconfig")}
        flags = run(self.pkg_config, "--cflags", "--libs", "qex", env=environment).split()
        run(self.compiler, "-std=c99", "main.c", "-o", "consumer", *flags, cwd=folder)
        self.assertEqual(run(folder + "/consumer", env={**os.environ, "LD_LIBRARY_PATH": self.lib}),
                         SHA256_OF_ABC)

    def test_OnlyThePublicHeaderIsInstalled(self):
        headers = [file for _, _, files in os.walk(self.prefix) for file in files if file.endswith(".h")]
        self.assertEqual(headers, ["qex.h"])

    def test_TheInstalledToolFindsItsLibrary(self):
        tool = os.path.join(self.prefix, "bin", "qex")
        if not os.path.exists(tool):
            self.skipTest("the tool was not built")
        environment = {k: v for k, v in os.environ.items() if k != "LD_LIBRARY_PATH"}
        self.assertIn("1.0", run(tool, "version", env=environment))

    def test_TheInstalledToolNamesNoOtherFolder(self):
        tool = os.path.join(self.prefix, "bin", "qex")
        if not os.path.exists(tool):
            self.skipTest("the tool was not built")
        if not shutil.which("readelf"):
            self.skipTest("readelf is not installed")
        dynamic = run("readelf", "-dW", tool, env={**os.environ, "LC_ALL": "C"})
        folders = re.findall(r"\((?:RPATH|RUNPATH)\)\s+Library (?:rpath|runpath): \[(.*)\]", dynamic)
        self.assertEqual(folders, ["$ORIGIN/" + os.path.relpath(self.lib, os.path.join(self.prefix, "bin"))])


if __name__ == "__main__":
    arguments = sys.argv[1:]
    del sys.argv[1:]
    InstallTest.source, InstallTest.build, InstallTest.cmake, InstallTest.generator, InstallTest.compiler = (
        arguments[:5])
    InstallTest.pkg_config = arguments[5] if len(arguments) > 5 else ""
    unittest.main()
