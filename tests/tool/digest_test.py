"""qex digest: lines of the sum tools, and lists of them that are checked."""

import json
import os
import subprocess
import unittest

import support
from support import ToolTest, run, run_json

SUM_TOOLS = (("sha256", "sha256sum"), ("sha384", "sha384sum"), ("sha512", "sha512sum"),
             ("sha224", "sha224sum"), ("sha1", "sha1sum"), ("md5", "md5sum"))


def sum_of(tool, *arguments):
    return subprocess.run([tool, *arguments], capture_output=True, check=True).stdout


class PrintTest(ToolTest):
    def odd_names(self):
        names = [self.path(name) for name in ("back\\slash", "line\nfeed", "carriage\rreturn", "bracket) = (", " * blanks ")]
        for name in names:
            self.write(name, name.encode())
        return [self.document, *names]

    def test_LinesAreThoseOfTheSumTools(self):
        files = self.odd_names()
        for name, tool in SUM_TOOLS:
            for tag in ((), ("--tag",)):
                with self.subTest(hash=name, tag=tag):
                    expected = sum_of(tool, *tag, *files)
                    self.assertEqual(run("digest", "--hash", name, *tag, *files, check=0).stdout, expected)
                    self.write(self.path("list"), expected)
                    checked = run("digest", "--hash", name, "--check", self.path("list"), check=0)
                    self.assertEqual(checked.stdout.count(b": OK\n"), len(files))

    def test_ANameThatIsNotUtf8IsWrittenUnchanged(self):
        name = os.fsencode(self.folder) + b"/latin\xe9"
        self.write(name, b"x")
        self.assertEqual(run("digest", name, check=0).stdout, sum_of("sha256sum", name))

    def test_StandardInputIsDigested(self):
        # The digest of "abc" is that of FIPS 180-4's example.
        digest = b"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
        self.assertEqual(run("digest", "-", stdin=b"abc", check=0).stdout, digest + b"  -\n")
        self.assertEqual(run("digest", "--tag", stdin=b"abc", check=0).stdout, b"SHA256 (-) = " + digest + b"\n")

    def test_ALongFileIsReadInPieces(self):
        self.write(self.path("long"), b"\0\1\2" * 400001)
        expected = sum_of("sha512sum", self.path("long"))
        self.assertEqual(run("digest", "--hash", "sha512", self.path("long"), check=0).stdout, expected)

    def test_OtherFilesAreDigestedAllTheSame(self):
        done = run("digest", self.path("missing"), self.document)
        self.assert_error(done, 3, "missing")
        self.assertEqual(done.stdout.count(b"\n"), 1)
        documents = [json.loads(line) for line in
                     run("digest", "--json", self.path("missing"), self.document).stdout.splitlines()]
        self.assertEqual([d["exit"] for d in documents], [3, 0])

    def test_AFolderIsNotAFile(self):
        done = run("digest", self.folder)
        self.assert_error(done, 3, "Is a directory", "name a file, not a folder")
        self.assertEqual(done.stdout, b"")

    def test_AnUnknownAlgorithmIsNamedStatus7(self):
        self.assert_error(run("digest", "--hash", "sha0", self.document), 7, "sha0")


class CheckTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.digest = sum_of("sha256sum", self.document)[:64].decode()

    def check(self, text, *more):
        """Checks a list of that text."""
        self.write(self.path("list"), text if isinstance(text, bytes) else text.encode())
        return run("digest", "--check", self.path("list"), *more)

    def test_AChangedFileIsStatus1AndAMissingOne3(self):
        changed = self.check(f"{'0' * 64}  {self.document}\n")
        self.assert_error(changed, 1, "report.txt: differs")
        self.assertEqual(changed.stdout.decode(), f"{self.document}: FAILED\n")
        missing = self.check(f"{self.digest}  {self.path('gone.txt')}\n")
        self.assert_error(missing, 3, "gone.txt")
        self.assertEqual(missing.stdout.decode(), f"{self.path('gone.txt')}: FAILED open or read\n")

    def test_EveryFormThatSha256sumReadsIsRead(self):
        other = self.path("a (1) b")
        self.write(other, self.read(self.document))
        for line in (f"{self.digest}  {self.document}", f"{self.digest} *{self.document}",
                     f"{self.digest.upper()}  {self.document}", f" \t{self.digest}  {self.document}",
                     f"{self.digest}  {self.document}\r", f"\\{self.digest}  {self.document}",
                     f"SHA256 ({self.document}) = {self.digest}", f"SHA256({self.document})= {self.digest}",
                     f"SHA256 ({other}) = {self.digest}", f"{self.digest}  {other}"):
            with self.subTest(line=line):
                self.write(self.path("list"), line.encode() + b"\n")
                subprocess.run(["sha256sum", "--status", "--strict", "-c", self.path("list")], check=True)
                done = self.check(line + "\n")
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                self.assertTrue(done.stdout.endswith(b": OK\n"))

    def test_ALastLineWithoutLineFeedIsRead(self):
        self.assertEqual(self.check(f"{self.digest}  {self.document}").returncode, 0)

    def test_TheOutputOfTheOpensslCommandIsRead(self):
        for name in ("sha256", "sha512", "sha1", "md5", "sha3-256"):
            with self.subTest(hash=name):
                done = self.check(support.openssl("dgst", "-" + name, self.document))
                self.assertEqual((done.returncode, done.stderr), (0, b""))
        # So does its version 3.2 and later.
        self.assertEqual(self.check(f"SHA2-256({self.document})= {self.digest}\n").returncode, 0)

    def test_ATaggedLineNamesItsAlgorithm(self):
        lines = b"".join(sum_of(tool, "--tag", self.document) for _, tool in SUM_TOOLS)
        done = self.check(lines)
        self.assertEqual((done.returncode, done.stdout.count(b": OK\n")), (0, len(SUM_TOOLS)))

    def test_ALineThatCannotBeReadIsStatus4AfterAllOthers(self):
        good = f"{self.digest}  {self.document}\n"
        for line in ("", "text", self.digest, f"{self.digest} ", f"{self.digest}  ", f"{self.digest}x {self.document}",
                     f"{self.digest} {self.document}", f"{self.digest[:-1]}  {self.document}",
                     f"{self.digest}00  {self.document}", f"0x{self.digest[2:]}  {self.document}",
                     f"\\{self.digest}  a\\b", f"\\{self.digest}  a\\", f"{self.digest}  a\0b",
                     f"SHA256 ({self.document}) = ", f"SHA256 ({self.document}) = {self.digest} ",
                     f"SHA256 ({self.document}) {self.digest}", f"SHA256 () = {self.digest}",
                     f"SHA512 ({self.document}) = {self.digest}", f"SHA0 ({self.document}) = {self.digest}",
                     f"SHA256 )( = {self.digest}"):
            with self.subTest(line=line):
                done = self.check(f"{line}\n{good}")
                self.assert_error(done, 4, "list: line 1 cannot be read")
                self.assertEqual(done.stdout.decode(), f"{self.document}: OK\n")

    def test_LinesThatCannotBeReadAreCounted(self):
        good = f"{self.digest}  {self.document}\n"
        self.assert_error(self.check(f"{good}one\ntwo\n{good}three\n"), 4,
                          "list: 3 lines cannot be read, the first is line 2")

    def test_CommentsArePassedOver(self):
        done = self.check(f"# made by hand\n{self.digest}  {self.document}\n#\n")
        self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_AListWithoutLinesIsStatus4(self):
        for text in ("", "\n", "# a comment\n", "no digest here\n"):
            with self.subTest(text=text):
                self.assert_error(self.check(text), 4, "no line is a line of a sha256 digest", "--hash")

    def test_AListOfAnotherAlgorithmIsStatus4(self):
        self.assert_error(self.check(sum_of("sha512sum", self.document)), 4, "--hash")

    def test_ADifferenceIsGraverThanAnUnreadableLine(self):
        for lines in ((f"{'0' * 64}  {self.document}", "text", f"{self.digest}  {self.path('gone')}"),
                      (f"{self.digest}  {self.path('gone')}", "text", f"{'0' * 64}  {self.document}")):
            with self.subTest(lines=lines):
                self.assertEqual(self.check("\n".join(lines)).returncode, 1)
        self.assertEqual(self.check(f"text\n{self.digest}  {self.path('gone')}\n").returncode, 4)

    def test_SeveralListsAreCheckedAndMissingOnesNamed(self):
        self.write(self.path("one"), f"{self.digest}  {self.document}\n".encode())
        self.write(self.path("two"), f"{'0' * 64}  {self.document}\n".encode())
        both = run("digest", "--check", self.path("one"), "--check", self.path("two"))
        self.assert_error(both, 1)
        self.assertEqual(both.stdout.decode().splitlines(), [f"{self.document}: OK", f"{self.document}: FAILED"])
        missing = run("digest", "--check", self.path("none"), self.path("one"))
        self.assert_error(missing, 3, "none: cannot be opened")
        self.assertEqual(missing.stdout.count(b": OK\n"), 1)

    def test_AListThatIsAFolderIsStatus3(self):
        self.assert_error(run("digest", "--check", self.folder), 3, "Is a directory")

    def test_AListFromStandardInputIsRead(self):
        done = run("digest", "--check", "-", stdin=f"{self.digest}  {self.document}\n".encode())
        self.assertEqual(done.returncode, 0)

    def test_ANameInAListCannotLookLikeLines(self):
        name = self.path("x\nreport.txt: OK")
        done = self.check(f"\\{self.digest}  {name.replace(chr(10), chr(92) + 'n')}\n")
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stdout.count(b"\n"), 1)

    def test_APipeInAListIsNotOpened(self):
        os.mkfifo(self.path("pipe"))
        self.assert_error(self.check(f"{self.digest}  {self.path('pipe')}\n"), 3, "pipe: is a pipe")
        self.assert_error(self.check(f"{self.digest}  /dev/zero\n"), 3, "/dev/zero: is a pipe, socket or device")

    def test_QuietLeavesTheFailures(self):
        done = self.check(f"{self.digest}  {self.document}\n{'0' * 64}  {self.document}\n", "-q")
        self.assertEqual((done.returncode, done.stdout.decode()), (1, f"{self.document}: FAILED\n"))

    def test_EachLineAndEachListIsADocument(self):
        done = self.check(f"{self.digest}  {self.document}\ntext\n{'0' * 64}  {self.document}\n", "--json")
        good, bad, whole = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual((done.returncode, good["exit"], bad["exit"], whole["exit"]), (1, 0, 1, 1))
        self.assertEqual((good["subject"], good["expected"]), (self.document, self.digest))
        self.assertEqual((whole["subject"], whole["entries"], whole["unreadable_lines"]), (self.path("list"), 2, 1))
        self.assertEqual(whole["first_unreadable_line"], 2)
        missing = run_json("digest", "--check", self.path("none"), check=3)
        self.assertEqual(missing["subject"], self.path("none"))

    def test_CheckTakesNoTagAndNoFiles(self):
        self.assert_error(run("digest", "--tag", "--check", self.document), 2, "--tag")
        self.assert_error(run("digest", self.document, "--check", self.document), 2, "--check")


if __name__ == "__main__":
    support.main()
