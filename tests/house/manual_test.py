"""The manual pages: they are without warnings, name the options of the tool and the functions and codes of qex.h, are
found under the name of each function, and their C examples work.

usage: manual_test.py SOURCE_FOLDER MANUAL_FOLDER LIBQEX_SO COMPILER GROFF [QEX]

Options are taken from the text of the help, functions and codes from cmake/qex.map and qex.h, each by a short pattern of
this test's own.
"""

import functools
import glob
import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = MANUAL = LIBRARY = COMPILER = GROFF = QEX = ""
NO_NAMES = {**os.environ, "LC_ALL": "C.UTF-8", "MANPAGER": "cat", "MANWIDTH": "80"}


def read(*path):
    with open(os.path.join(*path), encoding="utf-8") as file:
        return file.read()


@functools.lru_cache(maxsize=None)
def rendered(page):
    """A page as text of 80 columns, without backspaces and escapes."""
    return subprocess.run([GROFF, "-t", "-man", "-Tascii", "-P-cbou", "-rLL=78n", page], check=True, capture_output=True,
                          text=True, cwd=MANUAL).stdout


def part(text, title):
    """The lines of a section."""
    found = re.search(rf"^{re.escape(title)}\n(.*?)(?=^\S|\Z)", text, flags=re.M | re.S)
    return found[1] if found else ""


def one_line(text):
    return " ".join(text.split())


def pages(number):
    return sorted(glob.glob(f"{MANUAL}/man{number}/*.{number}"))


def families():
    """The pages of section 3 that are no links."""
    return [page for page in pages(3) if not read(page).startswith(".so ")]


class EveryPageTest(unittest.TestCase):
    def test_PagesAreWithoutWarnings(self):
        for page in pages(1) + pages(3):
            with self.subTest(page=page):
                done = subprocess.run([GROFF, "-t", "-man", "-ww", "-z", "-Tutf8", "-Kutf8", page], check=False,
                                      capture_output=True, text=True, cwd=MANUAL)
                self.assertEqual((done.returncode, done.stderr), (0, ""))

    @unittest.skipUnless(shutil.which("man"), "man is not installed")
    def test_ManShowsThemWithoutWarnings(self):
        for page in pages(1) + families():
            with self.subTest(page=page):
                done = subprocess.run(["man", "--warnings", "-l", page], check=False, capture_output=True, text=True, env=NO_NAMES)
                self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_NoLineIsWiderThanATerminal(self):
        for page in pages(1) + families():
            with self.subTest(page=page):
                self.assertEqual([line for line in rendered(page).splitlines() if len(line) > 80], [])

    def test_NoMarkupIsLeft(self):
        for page in pages(1) + families():
            with self.subTest(page=page):
                text = rendered(page)
                text = text.replace(part(text, "EXAMPLES"), "")
                self.assertEqual(re.findall(r".*(?:`|\*\*|\]\(|\\).*", text), [])

    def test_ReferencesLeadToPages(self):
        for page in pages(1) + families():
            for name, number in re.findall(r"\b((?:lib)?qex[\w-]*)\((\d)\)", rendered(page)):
                with self.subTest(page=page, to=name):
                    self.assertTrue(os.path.exists(f"{MANUAL}/man{number}/{name}.{number}"))


class ToolTest(unittest.TestCase):
    def setUp(self):
        if not QEX:
            self.skipTest("the tool is not built")

    @staticmethod
    def help(*arguments):
        text = subprocess.run([QEX, "help", *arguments], check=True, capture_output=True, text=True).stdout
        parts = re.split(r"^(\w[\w ]*):$", text, flags=re.M)
        return dict(zip(parts[1::2], parts[2::2]))

    @staticmethod
    def names(rows, indent):
        """The terms of a list, without what explains them."""
        return re.findall(rf"(?m)^ {{{indent}}}(\S.*?)(?:  .*)?$", rows)

    def test_EachPageHasTheOptionsAndStatusesOfItsCommand(self):
        commands = self.names(self.help()["commands"], 2)
        self.assertEqual([os.path.basename(page) for page in pages(1)],
                         sorted(["qex.1"] + [f"qex-{command}.1" for command in commands]))
        for command in commands:
            text = rendered(f"{MANUAL}/man1/qex-{command}.1")
            parts = self.help(command)
            for title, rows in parts.items():
                with self.subTest(command=command, section=title):
                    if title == "examples":
                        for line in re.findall(r"(?m)^  (\S.*)$", rows):
                            self.assertIn(line, one_line(part(text, "EXAMPLES")))
                    elif title == "options of every command":
                        for option in re.findall(r"--[\w-]+", " ".join(self.names(rows, 2))):
                            self.assertIn(option, part(text, title.upper()))
                    else:
                        self.assertEqual(self.names(part(text, title.upper()), 7), self.names(rows, 2))
                        self.assertEqual(one_line(part(text, title.upper())), one_line(rows))

    def test_EverySectionOfTheDocumentIsOnAPage(self):
        text = one_line(" ".join(map(rendered, pages(1))))
        # The page has the statuses from the tool.
        sections = re.findall(r"^###? (.*)\n((?:.|\n)*?)(?=^##|\Z)", read(SOURCE, "docs", "qex.md"), flags=re.M)
        for title, body in sections:
            first = next((part for part in body.split("\n\n") if re.match(r"\s*[\w`]", part) and "```" not in part), "")
            plain = one_line(re.sub(r"`|\*\*|\[([^]]*)\]\([^)]*\)", r"\1", first))
            with self.subTest(section=title):
                self.assertTrue(plain[:40] in text or title == "Exit status", plain)

    def test_TheFirstPageHasTheCommandsAndTheOptionsOfAll(self):
        text = rendered(f"{MANUAL}/man1/qex.1")
        parts = self.help()
        self.assertEqual(self.names(part(text, "COMMANDS"), 7), [f"qex-{name}(1)" for name in self.names(parts["commands"], 2)])
        common = "options of every command"
        self.assertEqual(one_line(part(text, common.upper())), one_line(parts[common].split("\n\n")[0]))
        self.assertEqual(self.names(part(text, "EXIT STATUS"), 7), "0 1 2 3 4 5 6 7 8 70".split())


class LibraryTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.header = read(SOURCE, "api", "qex.h")
        cls.exports = re.findall(r"\b(QEX_\w+);", read(SOURCE, "cmake", "qex.map"))

    def test_EveryFunctionHasAPageWithItsCodes(self):
        for name in self.exports:
            with self.subTest(function=name):
                target = re.fullmatch(r"\.so man3/([\w-]+\.3)\n", read(MANUAL, "man3", name + ".3"))
                text = rendered(f"{MANUAL}/man3/{target[1]}")
                self.assertRegex(part(text, "SYNOPSIS"), rf"\b{name}\(")
                self.assertRegex(part(text, "DESCRIPTION"), rf"(?m)^   {name}$")
                described = re.search(rf"(?m)^   {name}\n(.*?)(?=^   \S|\Z)", part(text, "DESCRIPTION"), flags=re.S)[1]
                declared = re.search(rf"/\*((?:(?!\*/).)*)\*/\s*QEX_EXPORT[^;/]*\b{name}\(", self.header, flags=re.S)
                for code in set(re.findall(r"QEX_(?:OK|E_\w+)", declared[1] if declared else "")):
                    self.assertRegex(described, rf"\b{code}\b")

    def test_EveryRecordStandsWhereAFunctionTakesIt(self):
        for name in re.findall(r"^\} (QEX_\w+);", self.header, flags=re.M):
            takers = [page for page in families() if re.search(rf"\b{name}\*", part(rendered(page), "SYNOPSIS"))]
            for page in takers:
                fields = re.search(rf"typedef struct {name} \{{(.*?)^\}} {name};", self.header, flags=re.M | re.S)[1]
                for field in re.findall(r"(?m)^  (\w+ \w+(?:\[\d+\])?);", fields):
                    with self.subTest(record=name, field=field, page=page):
                        self.assertRegex(part(rendered(page), "RECORDS"), rf"(?m)^       {re.escape(field)}$")

    def test_NothingPointsToAnotherPlaceOfTheHeader(self):
        # "The output-buffer rule above" is on another page.
        for page in families():
            with self.subTest(page=page):
                self.assertNotRegex(one_line(part(rendered(page), "DESCRIPTION")), "rule above|values below|, below|comment says")

    def test_EveryCodeIsExplained(self):
        text = part(rendered(f"{MANUAL}/man3/libqex-errors.3"), "RESULT CODES")
        codes = re.findall(r"^  (QEX_(?:OK|E_\w+)) = (-?\d+)", self.header, flags=re.M)
        self.assertEqual(re.findall(r"(?m)^       (QEX_\w+) \((-?\d+)\)$", text), codes)

    @unittest.skipUnless(shutil.which("man"), "man is not installed")
    def test_ManFindsEachFunction(self):
        for name in self.exports:
            with self.subTest(function=name):
                done = subprocess.run(["man", "-M", MANUAL, "3", name], check=False, capture_output=True, text=True, env=NO_NAMES)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertIn(name + "(", done.stdout)


class ExampleTest(unittest.TestCase):
    """The samples are those of tests/data/make_samples.sh."""

    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory(prefix="qex-manual-")
        self.addCleanup(self.scratch.cleanup)

    def program(self, name):
        """The example of a page, as its section shows it, compiled."""
        page = "libqex" if name == "libqex" else "libqex-" + name
        lines = part(rendered(f"{MANUAL}/man3/{page}.3"), "EXAMPLES").splitlines()
        source = "\n".join(line[11:] for line in lines)
        path = os.path.join(self.scratch.name, name)
        with open(path + ".c", "w", encoding="utf-8") as file:
            file.write(source + "\n")
        folder = os.path.dirname(LIBRARY)
        subprocess.run([COMPILER, "-std=c99", "-pedantic", "-Wall", "-Wextra", "-Wconversion", "-Werror", "-I",
                        os.path.join(SOURCE, "api"), path + ".c", "-o", path, "-L", folder, "-lqex", f"-Wl,-rpath,{folder}"],
                       check=True)
        return path

    def run_example(self, name, data, *arguments, check=0):
        done = subprocess.run([self.program(name), *arguments], input=data, capture_output=True, check=False, timeout=60)
        self.assertEqual(done.returncode, check, done.stderr)
        return done.stdout

    @staticmethod
    def sample(name):
        with open(os.path.join(SOURCE, "tests", "data", "samples", name), "rb") as file:
            return file.read()

    def test_Digests(self):
        data = bytes(range(256)) * 40
        self.assertEqual(self.run_example("digests", data).decode(), hashlib.sha256(data).hexdigest() + "\n")

    def test_Requests(self):
        request = self.run_example("requests", b"abc")
        # RFC 3161, 2.4.1, as DER: version 1, the imprint, certReq.
        imprint = bytes.fromhex("300b0609608648016503040201") + b"\x04\x20" + hashlib.sha256(b"abc").digest()
        body = b"\x02\x01\x01" + b"\x30" + bytes([len(imprint)]) + imprint + b"\x01\x01\xff"
        self.assertEqual(request, b"\x30" + bytes([len(body)]) + body)

    def test_TokensFromReplyToTime(self):
        token = self.run_example("responses", self.sample("reply_sha256_v2_cert.der"))
        self.assertIn(token, self.sample("reply_sha256_v2_cert.der"))
        text = self.run_example("tokens", token).decode()
        # What openssl asn1parse shows of the sample.
        self.assertIn("policy 1.3.6.1.4.1.32473.1, ", text)
        self.assertRegex(text, r"^time \d{14}(\.\d+)?Z, ")
        folder = os.path.join(SOURCE, "tests", "data", "samples")
        self.run_example("verification", token, os.path.join(folder, "certificate_tsa.der"))
        self.run_example("verification", token, os.path.join(folder, "certificate_root.der"), check=1)
        self.run_example("verification", token, check=2)
        # It has no attribute certificates: nothing changes, and none is found.
        self.assertEqual(self.run_example("rewriting", token), token)
        self.run_example("tac", token, check=1)

    def test_TimeAttributeCertificates(self):
        with open(os.path.join(SOURCE, "tests", "data", "bouncycastle", "token_rsa2048_sha256_v2_tac.der"), "rb") as file:
            token = file.read()
        # As tests/data/bouncycastle/Samples.java states them.
        self.assertEqual(self.run_example("tac", token),
                         b"offset -0.250000 s, delay 1.500000 s, valid until 20250101000000Z\n")
        self.assertLess(len(self.run_example("rewriting", token)), len(token))

    def test_ARefusedReply(self):
        self.assertEqual(self.run_example("responses", self.sample("reply_rejected.der"), check=1), b"")

    def test_Errors(self):
        self.assertRegex(self.run_example("errors", b""), rb"^code -6, ASN\.1 error -\d+\n$")

    def test_TheWholeWay(self):
        folder = os.path.join(SOURCE, "tests", "data", "samples")
        for data, certificate, code in ((b"the data to be stamped\n", "tsa", 0), (b"other", "tsa", 1),
                                        (b"the data to be stamped\n", "root", 1), (b"other", "none", 2)):
            path = os.path.join(self.scratch.name, "data")
            with open(path, "wb") as file:
                file.write(data)
            with self.subTest(data=data, certificate=certificate):
                self.run_example("libqex", b"", path, os.path.join(folder, "reply_sha256_v2_cert.der"),
                                 os.path.join(folder, f"certificate_{certificate}.der"), check=code)

    def test_EveryPageHasAnExample(self):
        for page in pages(1) + families():
            self.assertTrue(part(rendered(page), "EXAMPLES"), page)


if __name__ == "__main__":
    SOURCE, MANUAL, LIBRARY, COMPILER, GROFF = sys.argv[1:6]
    QEX = sys.argv[6] if len(sys.argv) > 6 else ""
    del sys.argv[1:]
    unittest.main()
