"""The installed tree works for a program that finds it by CMake or by pkg-config, shared and static.

usage: install_test.py SOURCE_FOLDER BUILD_FOLDER CMAKE GENERATOR C_COMPILER CXX_COMPILER [PKG_CONFIG]

The tree is installed to one place and moved to another first: no file in it may contain the original path.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

# C and C++. The second also uses what the library has copies of: exceptions and inline functions of the C++ runtime.
PROGRAM = """\
#include <qex.h>
#include <stdio.h>
#ifdef __cplusplus
#include <map>
#include <stdexcept>
#include <string>
#include <vector>
static void check() {
  std::map<std::string, std::vector<int>> lists;
  lists["a"].push_back(1);
  try {
    lists.at("a").at(1) = 2;
  } catch (const std::out_of_range&) {
    return;
  }
  std::abort();
}
#else
static void check(void) {}
#endif
int main(void) {
  uint8_t digest[32];
  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  check();
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
project(consumer LANGUAGES %(languages)s)
find_package(qex %(asked)s)
add_executable(shared main.%(suffix)s)
target_link_libraries(shared PRIVATE qex::qex)
add_executable(static main.%(suffix)s)
target_link_libraries(static PRIVATE qex::qex_static)
"""

# A static program without a call of the library has about 0.7 MB.
LARGEST_STATIC = 1_100_000


def run(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


class InstallTest(unittest.TestCase):
    source = build = cmake = generator = compiler = cxx_compiler = pkg_config = ""

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="qex-install-")
        first, cls.prefix = (os.path.join(cls.scratch.name, name) for name in ("first", "moved"))
        run(cls.cmake, "--install", cls.build, "--prefix", first)
        os.rename(first, cls.prefix)
        cls.lib = next(folder for folder, _, files in os.walk(cls.prefix) if "libqex.so" in files)
        with open(os.path.join(cls.source, "cmake", "qex.map"), encoding="utf-8") as file:
            cls.exports = re.findall(r"^ *(QEX_\w+);", file.read(), re.MULTILINE)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def consumer(self, name, program=PROGRAM):
        folder = os.path.join(self.scratch.name, name)
        os.mkdir(folder)
        for suffix in ("c", "cpp"):
            with open(os.path.join(folder, "main." + suffix), "w", encoding="utf-8") as file:
                file.write(program)
        return folder

    def configure(self, name, languages="C", asked="1.0 REQUIRED", prefix=None):
        """Writes a project, configures it in its folder `build` and returns the folder and what CMake answered."""
        folder = self.consumer(name)
        with open(os.path.join(folder, "CMakeLists.txt"), "w", encoding="ascii") as file:
            file.write(PROJECT % {"languages": languages, "asked": asked,
                                  "suffix": "cpp" if languages == "CXX" else "c"})
        configured = subprocess.run(
            [self.cmake, "-G", self.generator, "-S", folder, "-B", folder + "/build",
             f"-DCMAKE_PREFIX_PATH={prefix or self.prefix}", f"-DCMAKE_C_COMPILER={self.compiler}",
             f"-DCMAKE_CXX_COMPILER={self.cxx_compiler}"], capture_output=True, text=True, check=False)
        return folder + "/build", configured

    def pkg_config_flags(self, *options):
        if not self.pkg_config:
            self.skipTest("pkg-config is not installed")
        environment = {**os.environ, "PKG_CONFIG_PATH": os.path.join(self.lib, "pkgconfig")}
        return run(self.pkg_config, "--cflags", "--libs", *options, "qex", env=environment).split()

    def test_CMakeFindsIt(self):
        for languages in ("C", "CXX"):
            build, configured = self.configure("by-cmake-" + languages, languages, "1.0 REQUIRED COMPONENTS shared static")
            self.assertEqual(configured.returncode, 0, configured.stderr)
            run(self.cmake, "--build", build)
            for kind in ("shared", "static"):
                with self.subTest(languages=languages, kind=kind):
                    self.assertEqual(run(f"{build}/{kind}"), SHA256_OF_ABC)
                    os.rename(self.lib + "/libqex.so.1", self.lib + "/away")
                    alone = subprocess.run([f"{build}/{kind}"], capture_output=True, check=False)
                    os.rename(self.lib + "/away", self.lib + "/libqex.so.1")
                    self.assertEqual(alone.returncode == 0, kind == "static", "the program has the other kind")

    def test_CMakeRefusesAnotherMajorVersion(self):
        _, configured = self.configure("another-version", asked="2.0 REQUIRED")
        self.assertNotEqual(configured.returncode, 0)
        self.assertIn("version: 1.0.0", configured.stderr)

    def test_CMakeNamesAComponentThatIsNotThere(self):
        _, configured = self.configure("no-component", asked="1.0 REQUIRED COMPONENTS shared dynamic")
        self.assertNotEqual(configured.returncode, 0)
        self.assertIn("no component dynamic", " ".join(configured.stderr.split()))

    def test_TheStaticLibraryAloneIsEnough(self):
        prefix = os.path.join(self.scratch.name, "static-alone")
        shutil.copytree(self.prefix, prefix, symlinks=True)
        for folder, _, files in os.walk(prefix):
            for file in files:
                if file.startswith(("libqex.so", "qexShared")):
                    os.remove(os.path.join(folder, file))
        build, configured = self.configure("static-only", prefix=prefix)
        self.assertEqual(configured.returncode, 0, configured.stderr)
        run(self.cmake, "--build", build)
        self.assertEqual(run(f"{build}/shared"), SHA256_OF_ABC)

    def test_PkgConfigFindsIt(self):
        flags = self.pkg_config_flags()
        folder = self.consumer("by-pkg-config")
        run(self.compiler, "-std=c99", "main.c", "-o", "consumer", *flags, cwd=folder)
        self.assertEqual(run(folder + "/consumer", env={**os.environ, "LD_LIBRARY_PATH": self.lib}),
                         SHA256_OF_ABC)

    def test_FoldersMayBeAbsolute(self):
        # qex.pc had its own folder before them, and the tool looked for its library there.
        if not self.pkg_config:
            self.skipTest("pkg-config is not installed")
        place, its = (os.path.join(self.scratch.name, name) for name in ("absolute", "its"))
        run(self.cmake, "-G", self.generator, "-S", self.source, "-B", place, f"-DCMAKE_C_COMPILER={self.compiler}",
            f"-DCMAKE_CXX_COMPILER={self.cxx_compiler}", f"-DCMAKE_INSTALL_LIBDIR={its}/lib",
            f"-DCMAKE_INSTALL_INCLUDEDIR={its}/include", "-DQEX_BUILD_TESTS=OFF", "-DQEX_BUILD_BENCH=OFF")
        flags = run(self.pkg_config, "--cflags", "--libs", "qex", env={**os.environ, "PKG_CONFIG_PATH": place}).split()
        self.assertEqual(flags, [f"-I{its}/include", f"-L{its}/lib", "-lqex"])
        if os.path.exists(place + "/tool/cmake_install.cmake"):
            with open(place + "/tool/cmake_install.cmake", encoding="utf-8") as file:
                paths = re.findall(r'^ +(?:NEW_)?RPATH "(.*)"\)?$', file.read(), re.MULTILINE)
            self.assertEqual(set(paths), {its + "/lib"})

    def test_ToolLooksForItsLibraryBesideItAlone(self):
        # An empty entry is the folder in which it is started. CMake ends the path of the tool that it builds with one,
        # so that it can tell the path when it writes the installed one over it.
        tool, readelf = os.path.join(self.prefix, "bin", "qex"), shutil.which("readelf")
        if not os.path.exists(tool) or readelf is None:
            self.skipTest("no tool, or no readelf")
        paths = re.findall(r"\(R(?:UN)?PATH\).*\[(.*)\]", run(readelf, "-dW", tool, env={**os.environ, "LC_ALL": "C"}))
        self.assertEqual(paths, ["$ORIGIN/" + os.path.relpath(self.lib, os.path.dirname(tool))])

    def test_PkgConfigLinksAStaticProgram(self):
        flags = self.pkg_config_flags("--static")
        # On Windows the header would declare the functions as those of the DLL.
        self.assertIn("-DQEX_STATIC", flags)
        self.assertNotIn("-DQEX_STATIC", self.pkg_config_flags())
        with open(os.path.join(self.source, "README.md"), encoding="utf-8") as file:
            example = re.search(r"^```c\n(.*?)^```", file.read(), re.MULTILINE | re.DOTALL)[1]
        folder = self.consumer("static-by-pkg-config", example)
        run(self.compiler, "-std=c99", "-s", "-static", "main.c", "-o", "consumer", *flags, cwd=folder)
        samples = os.path.join(self.source, "tests", "data", "samples")
        with open(folder + "/data", "wb") as file:
            file.write(b"the data to be stamped\n")
        answer = run(folder + "/consumer", folder + "/data", samples + "/reply_sha256_v2_cert.der",
                     samples + "/certificate_tsa.der")
        self.assertIn("code 0, stamped at ", answer)
        self.assertLess(os.path.getsize(folder + "/consumer"), LARGEST_STATIC)

    def test_TheStaticLibraryHasNoGlobalNameButTheExports(self):
        if not shutil.which("nm"):
            self.skipTest("nm is not installed")
        lines = run("nm", "-g", "--defined-only", os.path.join(self.lib, "libqex.a")).splitlines()
        names = [line.split()[-1] for line in lines if re.match(r"[0-9a-f]+ ", line)]
        self.assertEqual(sorted(names), sorted(self.exports))

    def test_OnlyPublicHeadersAreInstalled(self):
        headers = {file: folder for folder, _, files in os.walk(self.prefix) for file in files
                   if re.search(r"\.h(pp)?$", file) and not folder.endswith("doc/qex/examples")}
        self.assertEqual(sorted(headers), ["qex.h", "qex.hpp"])
        self.assertEqual(len(set(headers.values())), 1, "qex.hpp finds qex.h beside it")

    def test_NoFileNamesTheFirstPlace(self):
        for folder, _, files in os.walk(self.prefix):
            for file in files:
                with open(os.path.join(folder, file), "rb") as installed:
                    self.assertNotIn(os.path.join(self.scratch.name, "first").encode(), installed.read(), file)

    def test_ComponentsDivideTheTree(self):
        def installed(prefix, *options):
            run(self.cmake, "--install", self.build, "--prefix", prefix, *options)
            return sorted(os.path.relpath(os.path.join(folder, file), prefix)
                          for folder, _, files in os.walk(prefix) for file in files)

        whole = installed(os.path.join(self.scratch.name, "whole"))
        parts = {part: installed(os.path.join(self.scratch.name, part), "--component", part)
                 for part in ("runtime", "development", "tool", "documentation")}
        self.assertEqual(sorted(sum(parts.values(), [])), whole)
        self.assertEqual([os.path.basename(file) for file in parts["runtime"]], ["libqex.so.1", "libqex.so.1.0.0"])
        self.assertIn("include/qex.h", parts["development"])
        # It was named, and empty.
        for file in ("LICENSE", "README.md", "docs/qex.md", "docs/qex.schema.json", "docs/exchange.svg", "examples/read_token.c"):
            self.assertIn("share/doc/qex/" + file, parts["documentation"])
        self.assertEqual([file for file in parts["documentation"] if "CMakeLists" in file or "/man/" in file], [])

    def test_PagesAndCompletionsAreInTheirPlaces(self):
        if not os.path.exists(os.path.join(self.build, "docs", "man", "made")):
            self.skipTest("the manual pages were not made")
        share = os.path.join(self.prefix, "share")
        for page in ("man3/libqex.3", *(f"man3/{name}.3" for name in self.exports)):
            self.assertTrue(os.path.exists(f"{share}/man/{page}"), page)
        if os.path.exists(os.path.join(self.prefix, "bin", "qex")):
            for file in ("man/man1/qex.1", "man/man1/qex-verify.1", "bash-completion/completions/qex",
                         "zsh/site-functions/_qex", "fish/vendor_completions.d/qex.fish"):
                self.assertTrue(os.path.exists(f"{share}/{file}"), file)

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
    (InstallTest.source, InstallTest.build, InstallTest.cmake, InstallTest.generator, InstallTest.compiler,
     InstallTest.cxx_compiler) = arguments[:6]
    InstallTest.pkg_config = arguments[6] if len(arguments) > 6 else ""
    unittest.main()
