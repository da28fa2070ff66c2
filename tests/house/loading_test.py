"""Loading libqex.so runs none of its own code: nothing is computed, and nothing allocated, before the first call.
What the C++ runtime inside it does remains.

usage: loading_test.py READELF NM LIBQEX_SO LIBQEX_CORE_A [ALLOCATIONS_AT_LOAD]

ALLOCATIONS_AT_LOAD is a program that loads a library and prints where that allocates; without it this is not tested.
"""

import bisect
import os
import re
import subprocess
import sys
import unittest

# The compiler's start files, and constructors of the runtime's sources; those of the library end in .cpp.
OF_THE_RUNTIME = re.compile(r"frame_dummy$|init_have_lse_atomics$|_GLOBAL__sub_I_\w+\.cc$")


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True, env={**os.environ, "LC_ALL": "C"}).stdout


class LoadingTest(unittest.TestCase):
    readelf = nm = library = core = program = ""

    @classmethod
    def setUpClass(cls):
        rows = [row.split() for row in output_of(cls.nm, cls.library).splitlines()]
        cls.symbols = sorted((int(row[0], 16), row[2]) for row in rows if len(row) == 3 and row[1] in "tTwWi")

    def symbol_at(self, address):
        """The name of the function that an address lies in."""
        place = bisect.bisect(self.symbols, (address, "\x7f")) - 1
        return self.symbols[place][1] if place >= 0 else hex(address)

    def test_NoObjectHasConstructors(self):
        sections = re.findall(r"^\s*\[ *\d+\] (\.(?:pre)?init_array\S*|\.ctors\S*)", output_of(self.readelf, "-SW", self.core),
                              re.MULTILINE)
        self.assertEqual(sections, [])

    def test_ConstructorsAreTheRuntimes(self):
        place = re.search(r"\.init_array\s+INIT_ARRAY\s+([0-9a-f]+) [0-9a-f]+ ([0-9a-f]+)",
                          output_of(self.readelf, "-SW", self.library))
        start, size = int(place[1], 16), int(place[2], 16)
        entries = []
        for match in re.finditer(r"^([0-9a-f]+)\s+[0-9a-f]+\s+R_\w+_RELATIVE\s+([0-9a-f]+)$",
                                 output_of(self.readelf, "-rW", self.library), re.MULTILINE):
            if start <= int(match[1], 16) < start + size:
                entries.append(self.symbol_at(int(match[2], 16)))
        if not entries:
            self.skipTest("this machine's relocations have no addends")
        self.assertEqual([entry for entry in entries if not OF_THE_RUNTIME.match(entry)], [])

    def test_NothingIsAllocated(self):
        if not self.program:
            self.skipTest("the runtime is not inside the library, or the library cannot be loaded here")
        # The address after a call, so one less is in the function.
        places = [self.symbol_at(int(line, 16) - 1) for line in output_of(self.program, self.library).split()]
        self.assertEqual([place for place in places if not OF_THE_RUNTIME.match(place)], [])


if __name__ == "__main__":
    LoadingTest.program = sys.argv[5] if len(sys.argv) > 5 else ""
    LoadingTest.readelf, LoadingTest.nm, LoadingTest.library, LoadingTest.core = sys.argv[1:5]
    del sys.argv[1:]
    unittest.main()
