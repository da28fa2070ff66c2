"""Inside another project libqex is a library and nothing else: it sets nothing for its parent.

usage: subproject_test.py SOURCE_FOLDER CMAKE GENERATOR C_COMPILER CXX_COMPILER [LAUNCHER]
"""

import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

PROGRAM = """\
#include <qex.h>
#include <stdio.h>
int main(void) { return QEX_GetLastAsnError() == 0 && puts("runs") >= 0 ? 0 : 1; }
"""

PROJECT = """\
cmake_minimum_required(VERSION 3.22)
project(parent LANGUAGES C)
%s
add_executable(parent main.c)
target_link_libraries(parent PRIVATE qex::qex)
add_executable(parent_static main.c)
target_link_libraries(parent_static PRIVATE qex::qex_static)
"""
SHARED_ALONE = PROJECT[:PROJECT.index("add_executable(parent_static")]

FETCH = """\
include(FetchContent)
FetchContent_Declare(qex SOURCE_DIR "%s")
FetchContent_MakeAvailable(qex)
"""


class SubprojectTest(unittest.TestCase):
    source = cmake = generator = compiler = cxx_compiler = launcher = ""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="qex-subproject-")
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name
        self.build = self.folder + "/build"

    def run_(self, *command):
        # Flags of the environment would look like those that the library leaks.
        environment = {k: v for k, v in os.environ.items() if not re.fullmatch(r"(C|CXX|CPP|LD)FLAGS", k)}
        ran = subprocess.run(command, capture_output=True, text=True, check=False, env=environment)
        self.assertEqual(ran.returncode, 0, ran.stdout + ran.stderr)
        return ran.stdout

    def configure(self, inclusion, *settings, project=PROJECT):
        with open(self.folder + "/main.c", "w", encoding="ascii") as file:
            file.write(PROGRAM)
        with open(self.folder + "/CMakeLists.txt", "w", encoding="utf-8") as file:
            file.write(project % inclusion)
        self.run_(self.cmake, "-G", self.generator, "-S", self.folder, "-B", self.build,
                  f"-DCMAKE_C_COMPILER={self.compiler}", f"-DCMAKE_CXX_COMPILER={self.cxx_compiler}",
                  f"-DCMAKE_CXX_COMPILER_LAUNCHER={self.launcher}", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", *settings)

    def files(self, *endings):
        return [os.path.join(folder, file) for folder, _, files in os.walk(self.build) for file in files
                if file.endswith(endings)]

    def build_and_run(self):
        self.run_(self.cmake, "--build", self.build, "--parallel", "2")
        for program in ("parent", "parent_static"):
            self.assertEqual(self.run_(f"{self.build}/{program}"), "runs\n")

    def commands(self):
        with open(self.build + "/compile_commands.json", encoding="utf-8") as file:
            return json.load(file)

    def check_nothing_is_forced(self):
        with open(self.build + "/CMakeCache.txt", encoding="utf-8") as file:
            cache = dict(re.findall(r"^([\w-]+):\w+=(.*)$", file.read(), re.MULTILINE))
        self.assertEqual(cache["CMAKE_BUILD_TYPE"], "")
        self.assertNotIn("BUILD_TESTING", cache)
        self.assertEqual(self.files("CTestTestfile.cmake"), [])
        for command in self.commands():
            inside = os.path.relpath(command["file"], self.source)
            if command["file"] == self.folder + "/main.c":
                options = {word for word in shlex.split(command["command"])[1:] if word.startswith("-")}
                # What using the header takes; a program that is linked statically says so.
                needed = {f"-I{self.source}/api", f"-I{self.source}/include", "-DQEX_STATIC"}
                self.assertEqual(options - needed, {"-o", "-c"})
            else:
                self.assertRegex(inside, r"^(api|asn1|ber|crypto|cmake)/")
        self.run_(self.cmake, "--install", self.build, "--prefix", self.folder + "/installed")
        self.assertFalse(os.path.exists(self.folder + "/installed"), "the parent did not ask to install the library")

    def test_FetchContent(self):
        self.configure(FETCH % self.source)
        self.build_and_run()
        self.check_nothing_is_forced()
        self.assertEqual(len(self.files("libqex.so.1")), 1)
        # An installation needs the static library too, which only programs of the parent had built.
        for library in self.files("libqex.a"):
            os.remove(library)
        self.configure(FETCH % self.source, "-DQEX_INSTALL=ON", project=SHARED_ALONE)
        self.run_(self.cmake, "--build", self.build, "--parallel", "2")
        self.run_(self.cmake, "--install", self.build, "--prefix", self.build + "/installed")
        self.assertEqual(len([file for file in self.files("libqex.a") if "/installed/" in file]), 1)

    def test_AddSubdirectory(self):
        self.configure(f'add_subdirectory("{self.source}" qex)', "-DBUILD_SHARED_LIBS=OFF")
        self.check_nothing_is_forced()
        self.assertNotIn("-Dqex_EXPORTS", " ".join(command["command"] for command in self.commands()))

    def test_TheParentMayJoinItsSources(self):
        # Those of the library were joined too, and did not compile.
        self.configure(f'add_subdirectory("{self.source}" qex)', "-DCMAKE_UNITY_BUILD=ON")
        joined = [command["file"] for command in self.commands() if "/Unity/" in command["file"]]
        self.assertNotEqual(joined, [])
        self.assertEqual([file for file in joined if "/qex_objects.dir/" in file], [])

    def test_TheParentMayAskForMore(self):
        self.configure(f'set(QEX_INSTALL ON)\nset(QEX_BUILD_EXAMPLES ON)\nadd_subdirectory("{self.source}" qex)')
        self.assertIn("make_request.c", [os.path.basename(command["file"]) for command in self.commands()])
        self.assertTrue(os.path.exists(self.build + "/qex/qexConfig.cmake"))


if __name__ == "__main__":
    arguments, sys.argv[1:] = sys.argv[1:7], sys.argv[7:]
    (SubprojectTest.source, SubprojectTest.cmake, SubprojectTest.generator, SubprojectTest.compiler,
     SubprojectTest.cxx_compiler) = arguments[:5]
    SubprojectTest.launcher = arguments[5] if len(arguments) > 5 else ""
    unittest.main()
