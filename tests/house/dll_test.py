"""The library for Windows: what it exports and needs, where it may be loaded, and the files by which others link it.

usage: dll_test.py SOURCE_FOLDER LIBQEX_DLL IMPORT_LIBRARY DEFINITION OBJDUMP NM [PROGRAM...]

PROGRAMs are linked with the import library.
"""

import re
import subprocess
import sys
import unittest

# Parts of every Windows since version 7.
SYSTEM = {"KERNEL32.dll", "ADVAPI32.dll", "msvcrt.dll"}
HIGH_ENTROPY_VA, DYNAMIC_BASE, NX_COMPAT = 0x20, 0x40, 0x100


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


class DllTest(unittest.TestCase):
    root = library = import_library = definition = objdump = nm = ""
    programs = ()

    @classmethod
    def setUpClass(cls):
        with open(f"{cls.root}/cmake/qex.map", encoding="utf-8") as file:
            cls.wanted = sorted(re.findall(r"^\s+(QEX_\w+);", file.read(), re.MULTILINE))
        cls.headers = output_of(cls.objdump, "-p", cls.library)

    def needed_by(self, path):
        return set(re.findall(r"^\s*DLL Name: (.*)$", output_of(self.objdump, "-p", path), re.MULTILINE))

    def test_DllExportsTheListedFunctionsAndNothingElse(self):
        table = self.headers[self.headers.index("[Ordinal/Name Pointer] Table"):]
        self.assertEqual(sorted(re.findall(r"^\s*\[ *\d+\] (\S+)$", table, re.MULTILINE)), self.wanted)

    def test_BothUpdatesOfTheSha512FamilyAreOneEntry(self):
        addresses = re.findall(r"^\s*\[ *\d+\] \+base\[ *\d+\] ([0-9a-f]+) Export RVA$", self.headers, re.MULTILINE)
        # Both tables are in the order of the names, for which ordinals were given.
        address = dict(zip(self.wanted, addresses, strict=True))
        self.assertEqual(address["QEX_SHA384_Update"], address["QEX_SHA512_Update"])
        self.assertEqual(len(set(addresses)), len(addresses) - 1)

    def test_DefinitionAndImportLibraryHaveTheSameNames(self):
        with open(self.definition, encoding="utf-8") as file:
            lines = file.read().splitlines()
        self.assertEqual(lines[:2], ["LIBRARY libqex.dll", "EXPORTS"])
        self.assertEqual(sorted(line.strip() for line in lines[2:]), self.wanted)
        symbols = output_of(self.nm, "--defined-only", self.import_library)
        self.assertEqual(sorted(re.findall(r" I __imp_(\w+)$", symbols, re.MULTILINE)), self.wanted)

    def test_DllNeedsTheSystemAlone(self):
        self.assertLessEqual(self.needed_by(self.library), SYSTEM)

    def test_ProgramsNeedTheDllAndTheSystem(self):
        for program in self.programs:
            with self.subTest(program):
                needed = self.needed_by(program)
                self.assertIn("libqex.dll", needed)
                self.assertLessEqual(needed, SYSTEM | {"libqex.dll"})

    def test_DllIsLoadedAnywhereAndItsDataHoldNoCode(self):
        flags = int(re.search(r"^DllCharacteristics\s+([0-9a-f]+)", self.headers, re.MULTILINE)[1], 16)
        self.assertEqual(flags & (HIGH_ENTROPY_VA | DYNAMIC_BASE | NX_COMPAT), HIGH_ENTROPY_VA | DYNAMIC_BASE | NX_COMPAT)
        sections = re.findall(r"^ *\d+ (\.\S+) +(.*)$", output_of(self.objdump, "-hw", self.library), re.MULTILINE)
        self.assertIn(".reloc", [name for name, _ in sections])
        for name, row in sections:
            if "CODE" in row:
                self.assertIn("READONLY", row, name)

    def test_DllHasItsEntryPoint(self):
        self.assertNotRegex(self.headers, r"AddressOfEntryPoint\s+0+$")
        self.assertRegex(output_of(self.nm, self.library), r" T DllMain\n")

    def test_DllDoesNotHoldTheTimeOfItsBuild(self):
        self.assertRegex(self.headers, r"Time/Date\s+(Thu Jan +1 00:00:00 1970|0+)\b")


if __name__ == "__main__":
    (DllTest.root, DllTest.library, DllTest.import_library, DllTest.definition, DllTest.objdump,
     DllTest.nm) = sys.argv[1:7]
    DllTest.programs = sys.argv[7:]
    del sys.argv[1:]
    unittest.main()
