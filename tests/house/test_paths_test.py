"""The test of a source of the library is found by its path: that of ber/tag_length.cpp, and of tag_length.h, is
tests/ber/tag_length_test.cpp. The exceptions have a row here, with the test that covers them.

usage: test_paths_test.py SOURCE_FOLDER
"""

import glob
import os
import sys
import unittest

FOLDERS = ("ground", "ber", "asn1", "api", "crypto")

# The forms of a routine have one test, which runs each of them on a processor that can; kernels of a form are
# tested where the form is; a header of declarations alone has no behaviour of its own.
TESTED_ELSEWHERE = {
    "api/qex.h": "tests/api/layout_test.cpp",                      # its functions: docs/exports.md names their tests
    "asn1/type.h": "tests/asn1/codec_test.cpp",                    # descriptors, as the engine sees them
    "crypto/bignum/adx.h": "tests/crypto/bignum/power_adx_test.cpp",
    "crypto/bignum/digits.h": "tests/crypto/bignum/words_test.cpp",
    "crypto/bignum/ifma.h": "tests/crypto/bignum/power_ifma_test.cpp",
    "crypto/bignum/internal.h": "tests/crypto/bignum/bignum_test.cpp",
    "crypto/bignum/power_forms.h": "tests/crypto/bignum/power_test.cpp",
    "crypto/bignum/power_steps.h": "tests/crypto/bignum/power_portable_test.cpp",
    "crypto/digest/sha1_arm.cpp": "tests/crypto/digest/forms_test.cpp",
    "crypto/digest/sha256_arm.cpp": "tests/crypto/digest/forms_test.cpp",
    "crypto/digest/sha512_arm.cpp": "tests/crypto/digest/forms_test.cpp",
    "crypto/digest/sha512_x86.h": "tests/crypto/digest/sha512_avx2_test.cpp",
    "crypto/digest/sha_x86.h": "tests/crypto/digest/sha1_x86_test.cpp",
    "crypto/prime/random_source.h": "tests/crypto/prime/bigprime_test.cpp",
}


class TestPathsTest(unittest.TestCase):
    root = ""

    def setUp(self):
        paths = [path for folder in FOLDERS for path in glob.glob(f"{self.root}/{folder}/**/*.*", recursive=True)]
        self.sources = {os.path.relpath(path, self.root) for path in paths if path.endswith((".cpp", ".h"))}
        self.assertGreater(len(self.sources), 120)

    def by_path(self, source):
        return os.path.exists(f"{self.root}/tests/{os.path.splitext(source)[0]}_test.cpp")

    def test_EverySourceHasATestByItsPath(self):
        without = {source for source in self.sources if not self.by_path(source)}
        self.assertEqual(sorted(without - TESTED_ELSEWHERE.keys()), [])

    def test_EveryExceptionIsOne(self):
        for source, test in TESTED_ELSEWHERE.items():
            self.assertIn(source, self.sources)
            self.assertFalse(self.by_path(source), f"{source} has a test by its path")
            self.assertTrue(os.path.exists(f"{self.root}/{test}"), test)


if __name__ == "__main__":
    TestPathsTest.root = sys.argv.pop(1)
    unittest.main()
