"""Installed targets are hardened: the shared library and the tool, as readelf sees them.

usage: hardening_test.py COMPILER READELF LIBQEX_SO LIBQEX_CORE_A [QEX OBJECT...]

COMPILER names the start files that were linked. OBJECTs are those of QEX; without them the tool was not
built.
"""

import os
import re
import subprocess
import sys
import unittest

X86 = ("Advanced Micro Devices X86-64", "Intel 80386")
ENDBR = {"Advanced Micro Devices X86-64": bytes.fromhex("f30f1efa"), "Intel 80386": bytes.fromhex("f30f1efb")}


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True, env={**os.environ, "LC_ALL": "C"}).stdout


def marked_for_control_flow(notes):
    """Whether `readelf -n` shows both marks: indirect branch tracking and shadow stack."""
    marks = re.search(r"x86 feature: (.*)", notes)
    return marks is not None and {"IBT", "SHSTK"} <= set(marks[1].replace(" ", "").split(","))


class Image:
    """A linked file."""

    def __init__(self, readelf, path):
        self.path = path
        header = output_of(readelf, "-hW", path)
        self.kind = re.search(r"Type:\s+(\w+)", header)[1]
        self.machine = re.search(r"Machine:\s+(.*)", header)[1]
        segments = output_of(readelf, "-lW", path)
        # Name, offset, two addresses, two sizes, then the flags.
        self.flags_of_segment = {match[1]: match[2].replace(" ", "") for match in re.finditer(
            r"^\s+(\w+)(?:\s+0x[0-9a-f]+){5}\s([RWE ]{3})\s", segments, re.MULTILINE)}
        self.dynamic = {}
        for match in re.finditer(r"^\s*0x[0-9a-f]+ \((\w+)\)\s+(.*)$", output_of(readelf, "-dW", path), re.MULTILINE):
            self.dynamic.setdefault(match[1], []).append(match[2])
        self.notes = output_of(readelf, "-nW", path)
        rows = [row.split() for row in output_of(readelf, "--dyn-syms", "-W", path).splitlines()]
        symbols = [row for row in rows if len(row) >= 8 and row[0].rstrip(":").isdigit()]
        self.needed = {row[7].split("@")[0] for row in symbols if row[6] == "UND"}
        self.functions = {row[7].split("@")[0]: int(row[1], 16) for row in symbols
                          if row[6] != "UND" and row[3] == "FUNC"}

    def has_flag(self, name):
        words = [word for tag in ("FLAGS", "FLAGS_1") for value in self.dynamic.get(tag, []) for word in value.split()]
        return name in words


class HardeningTest(unittest.TestCase):
    compiler = readelf = library_path = core_path = tool_path = ""
    tool_objects = ()

    @classmethod
    def setUpClass(cls):
        cls.library = Image(cls.readelf, cls.library_path)
        cls.images = [cls.library]
        if cls.tool_path:
            cls.tool = Image(cls.readelf, cls.tool_path)
            cls.images.append(cls.tool)

    def test_EverySymbolIsResolvedAtTheStart(self):
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertTrue(image.has_flag("BIND_NOW") or "BIND_NOW" in image.dynamic, image.dynamic.get("FLAGS"))
                self.assertTrue(image.has_flag("NOW"), image.dynamic.get("FLAGS_1"))

    def test_RelocationTablesAreReadOnly(self):
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertEqual(image.flags_of_segment.get("GNU_RELRO"), "R")

    def test_StackHoldsNoCode(self):
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertEqual(image.flags_of_segment.get("GNU_STACK"), "RW")

    def test_NothingIsWritableAndExecutable(self):
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertIn("LOAD", image.flags_of_segment)
                for name, flags in image.flags_of_segment.items():
                    self.assertFalse({"W", "E"} <= set(flags), name)

    def test_CodeIsNotChangedWhenItIsLoaded(self):
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertEqual(image.kind, "DYN")
                self.assertIsNone(image.dynamic.get("TEXTREL"))
                self.assertFalse(image.has_flag("TEXTREL"))

    def test_LibraryNamesNoFolders(self):
        self.assertIsNone(self.library.dynamic.get("RPATH"))
        self.assertIsNone(self.library.dynamic.get("RUNPATH"))

    def test_LibraryNeedsTheLanguagesOwnLibrariesAlone(self):
        own = r"(libc|libm|ld\d*|ld-linux[\w-]*|libstdc\+\+|libgcc_s|lib[atu]b?san)\.so[.\d]*"
        for value in self.library.dynamic.get("NEEDED", []):
            self.assertRegex(value, rf"\[{own}\]")

    def test_ToolIsLoadedAnywhere(self):
        if not self.tool_path:
            self.skipTest("the tool was not built")
        self.assertTrue(self.tool.has_flag("PIE"), self.tool.dynamic.get("FLAGS_1"))

    def test_StackIsGuarded(self):
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertIn("__stack_chk_fail", image.needed)

    def test_FortifiedFunctionsAreCalled(self):
        # The guard of the stack apart, checking functions are called __NAME_chk.
        for image in self.images:
            with self.subTest(image=image.path):
                self.assertNotEqual([name for name in image.needed if re.fullmatch(r"__\w+_chk", name)], [])

    def test_EveryObjectIsMadeForControlFlowProtection(self):
        if self.library.machine not in X86:
            self.skipTest("x86 alone has it")
        self.assert_marked(self.core_path)

    def test_EveryObjectOfTheToolIsMadeForControlFlowProtection(self):
        if not self.tool_path:
            self.skipTest("the tool was not built")
        if self.tool.machine not in X86:
            self.skipTest("x86 alone has it")
        self.assert_marked(*self.tool_objects)

    def assert_marked(self, *files):
        """Files of objects: every object in them is marked."""
        # Given a file twice, readelf names each one that it reads.
        notes = output_of(self.readelf, "-nW", *files, files[0])
        objects = re.split(r"^File: ", notes, flags=re.MULTILINE)[1:]
        self.assertGreater(len(objects), len(files))
        self.assertEqual([one.split("\n")[0] for one in objects if not marked_for_control_flow(one)], [])

    def test_ExportsMayBeCalledIndirectly(self):
        if self.library.machine not in X86:
            self.skipTest("x86 alone has it")
        with open(self.library_path, "rb") as file:
            image = file.read()
        places = self.offsets_of_code()
        self.assertNotEqual(self.library.functions, {})
        for name, address in self.library.functions.items():
            start = places(address)
            self.assertEqual(image[start:start + 4], ENDBR[self.library.machine], name)

    def offsets_of_code(self):
        """A function from an address of the library's code to its place in the file."""
        segments = [[int(word, 16) for word in match[1].split()] for match in re.finditer(
            r"^\s+LOAD((?:\s+0x[0-9a-f]+){5})\s+R E", output_of(self.readelf, "-lW", self.library_path), re.MULTILINE)]
        self.assertEqual(len(segments), 1)
        offset, address, _, size, _ = segments[0]

        def place(of):
            self.assertTrue(address <= of < address + size)
            return of - address + offset
        return place

    def test_LibraryIsMarkedWhereItsStartFilesAre(self):
        # The linker marks its output only when all inputs are marked, and the start files belong to the C
        # library and the compiler. Debian 12 does not mark its crti.o.
        if self.library.machine not in X86:
            self.skipTest("x86 alone has it")
        files = [output_of(self.compiler, f"-print-file-name={name}").strip()
                 for name in ("crti.o", "crtbeginS.o", "crtendS.o", "crtn.o")]
        wanted = all(marked_for_control_flow(output_of(self.readelf, "-nW", path)) for path in files)
        self.assertEqual(marked_for_control_flow(self.library.notes), wanted)


if __name__ == "__main__":
    HardeningTest.compiler, HardeningTest.readelf, HardeningTest.library_path, HardeningTest.core_path = sys.argv[1:5]
    HardeningTest.tool_path = sys.argv[5] if len(sys.argv) > 5 else ""
    HardeningTest.tool_objects = sys.argv[6:]
    del sys.argv[1:]
    unittest.main()
