"""Manifests: one token for many files, written and checked; and stamps of many files at once."""

import hashlib
import json
import os
import re
import socket
import subprocess
import unittest

import support
from support import ToolTest, environment, run, run_json

SHA256SUM_LINE = re.compile(rb"\\?[0-9a-f]{64}  .+")


class StampedFolderTest(ToolTest):
    """An authority for the whole class."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = support.Authority(os.path.join(cls.class_folder, "keys"))
        cls.addClassCleanup(cls.server.__exit__)

    def stamp(self, *arguments, check=None, **more):
        return run("stamp", *arguments, "--tsa", self.server.url, "--retry", "0", check=check, **more)

    def verify(self, *arguments, check=None, **more):
        return run("verify", *arguments, "--tsa-cert", self.server.tsa, check=check, **more)

    def fill(self, *names, folder="files"):
        for name in names:
            path = os.path.join(os.fsencode(self.folder), os.fsencode(folder), os.fsencode(name))
            os.makedirs(os.path.dirname(path), exist_ok=True)
            self.write(path, b"content of " + os.fsencode(name))
        return self.path(folder)


class ManifestTest(StampedFolderTest):
    NAMES = ("a", "b", "sub/c", "sub/with blank", "sub/back\\slash", "line\nfeed", b"no utf-8 \xff")

    def setUp(self):
        super().setUp()
        self.files = self.fill(*self.NAMES)
        self.list = self.path("files/all.sha256")

    def made(self):
        self.stamp("--manifest", self.list, "--dir", self.files, check=0)

    def check(self, *arguments, check=None):
        documents = [json.loads(line) for line in
                     self.verify("--manifest", self.list, *arguments, "--json", check=check).stdout.splitlines()]
        return documents[:-1], documents[-1]["summary"]

    def test_TheListIsOneThatSha256sumChecks(self):
        self.made()
        lines = self.read(self.list).splitlines()
        self.assertEqual(len(lines), len(self.NAMES))
        for line in lines:
            self.assertRegex(line, SHA256SUM_LINE)
        done = subprocess.run(["sha256sum", "--strict", "-c", "all.sha256"], cwd=self.files, capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(done.stdout.splitlines()), len(self.NAMES))
        self.verify(self.list, check=0)  # the list is a stamped file as any other

    def test_ListsOfSha256sumAreReadToo(self):
        made = subprocess.run("sha256sum -b a b sub/* > all.sha256; sha512sum a >> all.sha256", shell=True, cwd=self.files, check=True)
        self.assertEqual(made.returncode, 0)
        self.stamp(self.list, check=0)
        self.assertTrue(self.verify("--manifest", self.list, check=0).stdout.endswith(b"7 files: 7 pass, 0 fail\n"))

    def test_EverythingPassesAndEachFileHasALine(self):
        self.made()
        lines = self.verify("--manifest", self.list, "--dir", self.files, check=0).stdout.decode().splitlines()
        self.assertRegex(lines[0], rf"^pass  {re.escape(self.list)}   \d{{4}}-")
        self.assertEqual(len(lines), len(self.NAMES) + 2)
        self.assertIn(f"pass  {self.files}/a   as in the list", lines)
        self.assertEqual(lines[-1], "8 files: 8 pass, 0 fail")

    def test_ChangedMissingAndAdditionalFilesAreNamed(self):
        self.made()
        self.write(self.path("files/a"), b"changed")
        os.remove(self.path("files/b"))
        self.fill("sub/new")
        self.fill("a.tsr")
        documents, summary = self.check("--dir", self.files, check=1)
        failed = {os.path.relpath(document["subject"], self.files): (document["exit"], document["error"])
                  for document in documents if document["exit"] != 0}
        self.assertEqual({name: status for name, (status, _) in failed.items()}, {"a": 1, "b": 3, "sub/new": 1, "a.tsr": 1})
        self.assertIn("differs from the list", failed["a"][1])
        self.assertIn("No such file", failed["b"][1])
        self.assertIn("not in the list", failed["sub/new"][1])
        self.assertEqual((summary["subjects"], summary["passed"], summary["failed"]), (10, 6, 4))
        # Without --dir no other files are sought.
        self.assertEqual(self.check(check=1)[1]["failed"], 2)
        os.remove(self.path("files/a"))
        self.assertEqual(self.check(check=3)[1]["failed"], 2)

    def test_OtherThanFilesAreAdditionalToo(self):
        # Only files were looked for, so that a link to a folder of other programs went unseen.
        self.fill("x", folder="elsewhere")
        self.made()
        os.symlink(self.path("elsewhere"), self.path("files/sub/to a folder"))
        os.symlink("nowhere", self.path("files/to nothing"))
        os.symlink("circle", self.path("files/circle"))
        os.symlink("a", self.path("files/to a file"))
        os.mkfifo(self.path("files/fifo"))  # nobody writes to it: opening it would wait
        with socket.socket(socket.AF_UNIX) as unix:
            unix.bind(self.path("files/socket"))
        os.mkdir(self.path("files/empty folder"))
        documents, summary = self.check("--dir", self.files, check=1)
        failed = {os.path.relpath(document["subject"], self.files): document for document in documents if document["exit"] != 0}
        self.assertEqual(sorted(failed), ["circle", "fifo", "socket", "sub/to a folder", "to a file", "to nothing"])
        for document in failed.values():
            self.assertEqual(document["exit"], 1)
            self.assertIn("not in the list", document["error"])
        self.assertEqual((summary["passed"], summary["failed"]), (8, 6))

    def test_AListedNameThatIsNotAFileHasOneLine(self):
        os.symlink("nowhere", self.path("files/link"))
        os.mkfifo(self.path("files/fifo"))
        self.write(self.list, b"0" * 64 + b"  link\n" + b"0" * 64 + b"  fifo\n")
        self.stamp(self.list, check=0)
        documents, _ = self.check("--dir", self.files, check=1)
        self.assertEqual([os.path.basename(document["subject"]) for document in documents if document["exit"] == 3], ["link", "fifo"])
        self.assertEqual(len(documents), 3 + len(self.NAMES))

    def test_AWeakDigestDoesNotCount(self):
        # A tagged line names its own algorithm, and MD5 passed as any other.
        content = self.read(self.path("files/a"))
        for name in ("md5", "sha1"):
            with self.subTest(name=name):
                digest = hashlib.new(name, content, usedforsecurity=False).hexdigest()
                strong = hashlib.sha256(content).hexdigest()
                self.write(self.list, f"{name.upper()} (a) = {digest}\nSHA256 (a) = {strong}\n".encode())
                self.stamp(self.list, "--force", check=0)
                documents, summary = self.check(check=1)
                self.assertEqual([document["exit"] for document in documents], [0, 1, 0])
                self.assertIn(f"weak digest of it, {name}", documents[1]["error"])
                self.assertIn("--allow-weak", documents[1]["hint"])
                self.assertEqual(summary["reasons"], {"digest": 1})
                self.check("--allow-weak", check=0)
                self.write(self.list, f"{name.upper()} (b) = {digest}\n".encode())
                self.stamp(self.list, "--force", check=0)
                self.assertIn("differs", self.check("--allow-weak", check=1)[0][1]["error"])

    def test_ARemovedWorkingFolderIsStatus3(self):
        # The error of resolving a relative name was ignored, which ended in exit status 70.
        self.made()
        gone = 'mkdir "$1" && cd "$1" && rmdir "$1" && shift && exec "$@"'
        for arguments in (("stamp", "--manifest", "x.sha256", self.path("files/a"), "--tsa", self.server.url),
                          ("verify", "--manifest", "x.sha256", "--tsa-cert", self.server.tsa),
                          ("verify", "--manifest", "../files/all.sha256", "--dir", self.files, "--tsa-cert", self.server.tsa)):
            with self.subTest(arguments=arguments):
                done = subprocess.run(["sh", "-c", gone, "-", self.path("gone"), support.QEX, *arguments], env=environment(),
                                      capture_output=True, check=False)
                self.assert_error(done, 3, arguments[2], "No such file")

    def test_WithoutAGoodTokenNothingIsAPass(self):
        self.made()
        line = self.read(self.list).splitlines(keepends=True)[0]
        self.write(self.list, self.read(self.list) + line)
        documents, summary = self.check(check=1)
        self.assertEqual((documents[0]["subject"], documents[0]["exit"], documents[0]["sub_indication"]), (self.list, 1, "HASH_FAILURE"))
        self.assertEqual((summary["failed"], summary["reasons"]), (1, {"imprint": 1}))
        self.assertEqual(run("verify", "--manifest", self.list).returncode, 1)
        os.remove(self.list + ".tsr")
        self.assertEqual(self.check(check=3)[0][0]["exit"], 3)

    def test_WithoutTrustTheListIsNotChecked(self):
        self.made()
        done = run("verify", "--manifest", self.list, check=2)
        self.assertTrue(done.stdout.startswith(f"skip  {self.list}   consistent in itself, authority not checked\n".encode()))

    def test_AListWithLinesThatAreNoneFails(self):
        self.write(self.list, b"# a comment\n" + b"0" * 64 + b"  a\nnot a line\n" + b"0" * 63 + b"  b\n")
        self.stamp(self.list, check=0)
        documents, _ = self.check(check=1)
        self.assertEqual([document["exit"] for document in documents], [0, 4, 1])
        self.assertIn("line 3", documents[1]["error"])
        self.write(self.path("empty.sha256"), b"")
        self.stamp(self.path("empty.sha256"), check=0)
        self.assertIn(b"names no file", self.verify("--manifest", self.path("empty.sha256"), check=4).stdout)

    def test_SpecialFilesOfAListAreNotOpened(self):
        os.mkfifo(self.path("files/fifo"))
        self.write(self.list, b"0" * 64 + b"  fifo\n" + b"0" * 64 + b"  sub\n")
        self.stamp(self.list, check=0)
        documents, _ = self.check(check=3)
        self.assertEqual([document["exit"] for document in documents], [0, 3, 3])

    def test_NamesAreRelativeToTheListAndUnique(self):
        other = self.path("lists/all.sha256")
        os.mkdir(self.path("lists"))
        self.stamp("--manifest", other, self.path("files/a"), f"{self.folder}/lists/../files/./a", self.path("files/sub/c"), check=0)
        self.assertEqual([line[66:] for line in self.read(other).splitlines()], [b"../files/a", b"../files/sub/c"])
        os.rename(self.folder, self.folder + ".moved")
        self.addCleanup(os.rename, self.folder + ".moved", self.folder)
        self.verify("--manifest", f"{self.folder}.moved/lists/all.sha256", check=0)
        done = subprocess.run([support.QEX, "verify", "--manifest", "all.sha256", "--tsa-cert", self.server.tsa],
                              cwd=self.folder + ".moved/lists", env=environment(), capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout)

    def test_TheListAndItsStampAppearTogetherOrNotAtAll(self):
        before = sorted(os.listdir(self.files))
        done = run("stamp", "--manifest", self.list, "--dir", self.files, "--tsa", "http://127.0.0.1:9/", "--retry", "0")
        self.assertEqual((done.returncode, sorted(os.listdir(self.files))), (6, before))
        self.stamp("--manifest", self.list, "--dir", self.files, self.path("nowhere"), check=3)
        self.stamp("--manifest", self.list, "--dir", self.path("nowhere"), check=3)
        self.assertEqual(sorted(os.listdir(self.files)), before)
        self.made()
        self.assertEqual(sorted(os.listdir(self.files)), sorted([*before, "all.sha256", "all.sha256.tsq", "all.sha256.tsr"]))

    def test_AnOlderListStaysUnlessForced(self):
        self.write(self.list, b"older")
        self.stamp("--manifest", self.list, "--dir", self.files, check=3)
        self.assertEqual(self.read(self.list), b"older")
        self.stamp("--manifest", self.list, "--dir", self.files, "--force", check=0)
        self.check("--dir", self.files, check=0)
        # A second time the list does not list itself.
        self.stamp("--manifest", self.list, "--dir", self.files, "--force", check=0)
        self.assertEqual(len(self.read(self.list).splitlines()), len(self.NAMES))

    def test_OtherHashes(self):
        for name in ("sha384", "sha512"):
            path = self.path(f"files/all.{name}")
            self.stamp("--manifest", path, self.path("files/a"), "--hash", name, check=0)
            done = subprocess.run([name + "sum", "-c", path], cwd=self.files, capture_output=True, check=False)
            self.assertEqual(done.returncode, 0)
            self.verify("--manifest", path, check=0)
        self.assert_error(self.stamp("--manifest", self.list, self.path("files/a"), "--hash", "sha3-256"), 2, "sha3-256")

    def test_OptionsThatExcludeAManifest(self):
        self.made()
        name = self.path("files/a")
        for options in ((name,), ("--list", self.list), ("--jobs", "-"), ("--digest", "00")):
            with self.subTest(options=options):
                self.assert_error(self.verify("--manifest", self.list, *options), 2, "--manifest")
        self.assert_error(self.stamp("--manifest", self.path("x"), name, "-o", "-"), 2, "--manifest")
        self.assert_error(self.stamp("--manifest", self.path("x")), 2)
        self.assert_error(self.verify("--manifest", self.path("nowhere")), 3, "nowhere")


class StampManyTest(StampedFolderTest):
    def test_AFolderIsStampedAndASecondRunHasNothingToDo(self):
        files = self.fill(*(f"{number}" for number in range(20)), "sub/deep", "with\nfeed")
        done = self.stamp("--dir", files, "--tsa-cert", self.server.tsa, check=0)
        self.assertTrue(done.stdout.endswith(b"22 files: 22 pass, 0 fail\n"), done.stdout)
        self.assertEqual(len(done.stdout.splitlines()), 23)
        self.assertTrue(self.verify("--dir", files, check=0).stdout.endswith(b"22 files: 22 pass, 0 fail\n"))
        self.assertEqual(self.stamp("--dir", files, check=0).stdout, b"0 files: 0 pass, 0 fail\n")
        self.fill("new")
        self.assertTrue(self.stamp("--dir", files, check=0).stdout.endswith(b"1 file: 1 pass, 0 fail, authority not checked\n"))
        self.assertTrue(self.stamp("--dir", files, "--force", "-j", "4", check=0).stdout.splitlines()[-1].startswith(b"23 files: 23 pass"))

    def test_OneThatCannotBeStampedDoesNotStopTheOthers(self):
        files = self.fill("a", "b", "c")
        self.write(self.path("files/b.tsr"), b"older")
        done = self.stamp(f"{files}/a", f"{files}/b", f"{files}/c", f"{files}/gone", "--json", check=3)
        documents = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([document["exit"] for document in documents], [0, 3, 0, 3, 3])
        self.assertEqual(documents[-1]["summary"], {"subjects": 4, "passed": 2, "failed": 2, "authority_not_checked": 2,
                                                    "not_done": 0, "reasons": {"unreadable": 2}})
        self.assertEqual(self.read(self.path("files/b.tsr")), b"older")

    def test_AFileWhoseReplyCannotBeWrittenIsNamed(self):
        # A broken link counted as a reply: its file was neither stamped nor named.
        files = self.fill("good", "linked", "piped", "beside", "stamped")
        os.symlink("nowhere", self.path("files/linked.tsr"))
        os.mkfifo(self.path("files/piped.tsr"))
        os.mkdir(self.path("files/beside.tsr"))
        self.write(self.path("kept"), b"a reply of an earlier run")
        os.symlink(self.path("kept"), self.path("files/stamped.tsr"))
        done = self.stamp("--dir", files, check=3)
        lines = done.stdout.decode().splitlines()
        self.assertEqual(lines[0], f"fail  {files}/beside   {files}/beside.tsr: is no file")
        self.assertTrue(lines[1].startswith(f"pass  {files}/good "))
        self.assertEqual(lines[2:4], [f"fail  {files}/linked   {files}/linked.tsr: is a link that leads to no file",
                                      f"fail  {files}/piped   {files}/piped.tsr: is no file"])
        self.assertTrue(lines[4].startswith("4 files: 1 pass, 3 fail (3 unreadable)"))
        self.assertFalse(os.path.lexists(self.path("files/nowhere")))

    def test_ATimeFarFromTheClockIsInTheLineOfItsFile(self):
        # The note was shown for a single file only.
        files = self.fill("a", "b")
        note = r"   note: the token's time is \d+ s (behind|ahead of) this machine's clock"
        for name, options, expected in (("near", (), ""), ("far", ("--max-skew", "1ms"), note)):
            with self.subTest(name):
                lines = self.stamp("--dir", files, "--force", *options, check=0).stdout.decode().splitlines()
                self.assertEqual(len(lines), 3)
                for line, file in zip(lines, "ab"):
                    self.assertRegex(line, rf"^pass  {re.escape(files)}/{file}   [-0-9T:Z]+{expected}$")

    def test_TheRepliesGoToAFolder(self):
        files = self.fill("a", "b")
        os.mkdir(self.path("stamps"))
        self.stamp(f"{files}/a", f"{files}/b", "-o", self.path("stamps"), check=0)
        self.assertEqual(sorted(os.listdir(self.path("stamps"))), ["a.tsq", "a.tsr", "b.tsq", "b.tsr"])
        for output in ("-", self.path("one.tsr")):
            self.assert_error(self.stamp(f"{files}/a", f"{files}/b", "-o", output), 2, "-o")

    def test_AListIsStamped(self):
        files = self.fill("a", "b")
        done = self.stamp("--list", "-", "-0", stdin=b"".join(os.fsencode(f"{files}/{name}") + b"\0" for name in "ab"), check=0)
        self.assertEqual(len(done.stdout.splitlines()), 3)
        self.assert_error(self.stamp("--list", "-", "--digest", "sha256:" + "00" * 32), 2, "--digest")
        self.assert_error(self.stamp(), 2)

    def test_AnEmptyFolderIsAnError(self):
        os.mkdir(self.path("empty"))
        self.assertIn(b"no file", self.stamp("--dir", self.path("empty"), check=4).stdout)


if __name__ == "__main__":
    support.main()
