"""The files that commands write: no existing file is lost, files that belong together appear together, and
problems with a name are found before an authority spends a stamp."""

import os
import resource
import signal
import subprocess
import threading
import time
import unittest

import support
from servers_test import OK, Server, says
from support import ToolTest, environment, openssl, post, run, run_json


class Relay(Server):
    """A server that passes each request on to an authority. `meanwhile` runs before the reply is sent; its
    result replaces the reply."""

    def __init__(self, authority, meanwhile=lambda: None, head=OK):
        def script(connection):
            query = self.body_of(connection)
            other = meanwhile()
            connection.sendall(other or head + b"Connection: close\r\n\r\n" + post(authority.url, query))
        super().__init__(script, greet=False)

    @staticmethod
    def body_of(connection):
        data = b""
        while b"\r\n\r\n" not in data:
            data += connection.recv(65536)
        head, body = data.split(b"\r\n\r\n", 1)
        length = next(int(line.split(b":")[1]) for line in head.lower().split(b"\r\n") if line.startswith(b"content-length:"))
        while len(body) < length:
            body += connection.recv(65536)
        return body

    @property
    def url(self):
        return f"http://127.0.0.1:{self.port}/"


class OutputsTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = os.path.join(cls.class_folder, "keys")
        stamped = os.path.join(cls.class_folder, "stamped")
        cls.write(stamped, b"what was stamped\n")
        cls.reply = stamped + ".tsr"
        with support.Authority(folder, "--tac") as authority:
            run("stamp", stamped, "--tsa", authority.url, check=0)
        cls.tsa_server = support.Authority(folder)
        cls.addClassCleanup(cls.tsa_server.__exit__)

    def url(self):
        return ("--tsa", self.tsa_server.url, "--retry", "0")

    def writers(self, source, out):
        """Every command that writes `out`, made of `source`: a copy of the reply or the document."""
        return (("request", self.document, "-o", out), ("reply", source, "--token", "-o", out), ("cert", source, "-o", out),
                ("cert", "--pem", source, "-o", out), ("tac", "get", source, "-o", out),
                ("rewrite", source, "--drop-attr-certs", "-o", out), ("stamp", self.document, *self.url(), "-o", out))

    def content(self):
        return {name: self.read(self.path(name)) for name in self.files()}

    # older files

    def test_AnOlderFileStaysUnlessForced(self):
        for command in self.writers(self.reply, self.path("out")):
            with self.subTest(command):
                self.write(self.path("out"), b"older")
                before = self.content()
                for more in ((), ("--json",)):
                    done = run(*command, *more)
                    self.assert_error(done, 3, self.path("out"), "exists already", "--force")
                    self.assertEqual(self.content(), before)
                run(*command, "--force", check=0)
                self.assertNotEqual(self.read(self.path("out")), b"older")
                self.assertEqual(self.files(), sorted({*before, "out", *(["out.tsq"] if command[0] == "stamp" else [])}))

    def test_NeitherFileOfAStampIsReplacedAndNoStampIsSpent(self):
        with Server(says(b"")) as server:
            url = ("--tsa", f"http://127.0.0.1:{server.port}/", "--retry", "0")
            for name in ("report.txt.tsr", "report.txt.tsq"):
                self.write(self.path(name), b"older")
                self.assert_error(run("stamp", self.document, *url), 3, self.path(name), "exists already", "--force")
                self.assertEqual(self.files(), ["report.txt", name])
                os.remove(self.path(name))
            self.assertEqual(server.served, 0)

    def test_AnOlderFileOfTheNameStaysAlsoWhenItCameMeanwhile(self):
        """The file appears while the authority is asked; its pair does not appear then."""
        for name in ("report.txt.tsr", "report.txt.tsq"):
            with self.subTest(name), Relay(self.tsa_server, lambda: self.write(self.path(name), b"older")) as server:
                self.assert_error(run("stamp", self.document, "--tsa", server.url, "--retry", "0"), 3, name, "exists already")
                self.assertEqual(self.files(), ["report.txt", name])
                self.assertEqual(self.read(self.path(name)), b"older")
                os.remove(self.path(name))

    def test_APairThatFailsHalfWayGivesTheOlderFileBack(self):
        """With --force, too: the second name has become a folder meanwhile."""
        self.write(self.path("report.txt.tsr"), b"older")
        with Relay(self.tsa_server, lambda: os.mkdir(self.path("report.txt.tsq"))) as server:
            self.assert_error(run("stamp", self.document, "--tsa", server.url, "--retry", "0", "--force"), 3, "report.txt.tsq")
        self.assertEqual(self.files(), ["report.txt", "report.txt.tsq", "report.txt.tsr"])
        self.assertEqual(self.read(self.path("report.txt.tsr")), b"older")

    def matching_pair(self):
        openssl("ts", "-verify", "-in", self.path("report.txt.tsr"), "-queryfile", self.path("report.txt.tsq"),
                "-CAfile", self.tsa_server.ca)

    def stamping(self, *options, **more):
        env = {**support.preloaded(support.SLOW_SYSTEM), "QUICK_DISK": "yes", **more}
        return subprocess.Popen([support.QEX, "stamp", self.document, *self.url(), *options], env=env,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def test_OfSeveralStampsAtOnceTheFirstOneStays(self):
        running = [self.stamping() for _ in range(6)]
        self.assertEqual(sorted(process.wait(60) for process in running), [0, 3, 3, 3, 3, 3])
        self.matching_pair()
        self.assertEqual(self.files(), ["report.txt", "report.txt.tsq", "report.txt.tsr"])

    def test_SeveralForcedStampsAtOnceLeaveAMatchingPair(self):
        """The second one comes to its end between the two names of the first one."""
        self.write(self.path("report.txt.tsr"), b"older")
        first = self.stamping("--force", SLOW_NAMES="yes")
        while self.read(self.path("report.txt.tsr")) == b"older":
            self.assertIsNone(first.poll())
            time.sleep(0.01)
        second = self.stamping("--force")
        self.assertEqual((first.wait(60), second.wait(60)), (0, 0))
        self.matching_pair()
        self.assertEqual(self.files(), ["report.txt", "report.txt.tsq", "report.txt.tsr"])

    # names

    def test_AFaultOfANameIsFoundBeforeTheAuthorityIsAsked(self):
        self.write(self.path("first"), b"")
        os.mkdir(self.path("first.tsr"))
        os.mkdir(self.path("second.tsq"))
        os.mkfifo(self.path("pipe.tsq"))
        os.symlink("nowhere", self.path("lost.tsr"))
        long = "n" * 252  # with .tsr one character more than a name may have
        self.write(self.path(long), b"")
        before = self.files()
        with Server(says(b"")) as server:
            url = ("--tsa", f"http://127.0.0.1:{server.port}/", "--retry", "0")
            for out, words in ((self.path("no/such/out"), "no such file or folder"), (self.path("first"), "first.tsr"),
                               (self.path("second.tsr"), "second.tsq"), (self.path("pipe.tsr"), "pipe.tsq"),
                               (self.path("lost.tsr"), "exists already"), ("/proc/out", "/proc/out"),
                               (os.path.join(self.document, "out"), "report.txt/out"), (self.path(long), "too long")):
                with self.subTest(out):
                    command = (out,) if os.path.isfile(out) else (self.document, "-o", out)
                    self.assert_error(run("stamp", *command, *url), 3, words)
                    self.assertEqual(self.files(), before)
            self.assertEqual(server.served, 0)

    def test_ALinkToAPipeWithoutANameIsWrittenThrough(self):
        # As /dev/stdout is: it "existed already", and --force put a file in its place.
        link = self.path("out")
        os.symlink("/proc/self/fd/1", link)
        for force in ((), ("--force", )):
            done = run("request", "--digest", "sha256:" + 32 * "00", "-o", link, *force, check=0)
            self.assertEqual(done.stdout[:1], b"\x30")
            self.assertTrue(os.path.islink(link))

    def test_AFullDiskIsFoundBeforeTheAuthorityIsAsked(self):
        os.mkdir(self.path("disk"))
        small = ["mount", "-t", "tmpfs", "-o", "size=8k", "tmpfs", self.path("disk")]
        if os.geteuid() != 0 or subprocess.run(small, capture_output=True, check=False).returncode != 0:
            self.skipTest("no small disk can be made here")
        self.addCleanup(subprocess.run, ["umount", self.path("disk")], check=True)
        with Server(says(b"")) as server:
            self.assert_error(run("stamp", self.document, "--tsa", f"http://127.0.0.1:{server.port}/", "-o", self.path("disk")), 3,
                              "room on the disk")
            self.assertEqual(server.served, 0)
        self.assertEqual(os.listdir(self.path("disk")), [])

    def test_TheLongestNameIsTaken(self):
        self.write(self.path("n" * 251), b"")
        run("stamp", self.path("n" * 251), *self.url(), check=0)
        self.assertEqual(self.files(), ["n" * 251, "n" * 251 + ".tsq", "n" * 251 + ".tsr", "report.txt"])

    def test_AReadOnlyFolderIsFoundBeforeTheAuthorityIsAsked(self):
        if os.geteuid() == 0:
            self.skipTest("the administrator may write everywhere")
        os.chmod(self.folder, 0o500)
        self.addCleanup(os.chmod, self.folder, 0o700)
        with Server(says(b"")) as server:
            self.assert_error(run("stamp", self.document, "--tsa", f"http://127.0.0.1:{server.port}/"), 3, "permissions")
            self.assertEqual(server.served, 0)

    def test_ALinkOfAnotherOwnerIsNotFollowed(self):
        if os.geteuid() != 0:
            self.skipTest("only the administrator gives files away")
        self.write(self.path("precious"), b"precious")
        for name in ("report.txt.tsr", "report.txt.tsq"):
            for target in ("precious", "nowhere"):
                with self.subTest(name, target=target):
                    os.symlink(self.path(target), self.path(name))
                    os.lchown(self.path(name), 12345, 12345)
                    self.assert_error(run("stamp", self.document, *self.url(), "--force"), 3, name, "another user")
                    self.assertEqual(self.files(), ["precious", "report.txt", name])
                    os.remove(self.path(name))
        # By name, or as the caller's own, it is followed.
        os.symlink(self.path("precious"), self.path("given"))
        os.lchown(self.path("given"), 12345, 12345)
        run("request", self.document, "-o", self.path("given"), "--force", check=0)
        self.assertTrue(os.path.islink(self.path("given")))
        self.assertNotEqual(self.read(self.path("precious")), b"precious")

    def test_APipeThatTheToolFindsIsNotOpened(self):
        os.mkfifo(self.path("report.txt.tsq"))
        for more in ((), ("--force",)):
            self.assert_error(run("stamp", self.document, *self.url(), *more), 3, "report.txt.tsq", "no regular file")
        self.assertEqual(self.files(), ["report.txt", "report.txt.tsq"])

    def test_NoOutputLeadsToAnInput(self):
        """By its name, a link, or as another name of the same file."""
        source, plain = self.path("source"), self.document
        self.write(source, self.read(self.reply))
        for file, stem in ((source, "source"), (plain, "plain")):
            os.symlink(file, self.path(stem + "-link"))
            os.link(file, self.path(stem + "-name"))
        before = self.content()
        for end in ("", "-link", "-name"):
            for command in self.writers(source, source + end):
                if command[0] in ("request", "stamp"):
                    command = (*command[:-1], plain if not end else self.path("plain" + end))
                with self.subTest(command):
                    self.assert_error(run(*command, "--force"), 2, "would be lost", "-o")
                    self.assertEqual(self.content(), before)

    def test_NoOutputLeadsToAnInputThatIsNotTheSubject(self):
        roots = self.path("roots.tsq")
        self.write(roots, self.read(self.tsa_server.ca))
        self.assert_error(run("stamp", self.document, *self.url(), "--cacert", roots, "-o", self.path("roots.tsr"), "--force"), 2,
                          "roots.tsq: would be lost")
        with open(self.document, "rb") as file:
            done = subprocess.run([support.QEX, "request", "-", "-o", self.document, "--force"], stdin=file, capture_output=True,
                                  env=environment(), timeout=60, check=False)
        self.assert_error(done, 2, "standard input: would be lost")
        self.assertEqual(self.read(self.document), b"what is to be stamped\n")

    def test_TwoOutputsAreTwoFiles(self):
        self.write(self.path("report.txt.tsr"), b"older")
        os.symlink("report.txt.tsr", self.path("report.txt.tsq"))
        self.assert_error(run("stamp", self.document, *self.url(), "--force"), 2, "two outputs")
        self.assertEqual(self.read(self.path("report.txt.tsr")), b"older")

    def test_NewFilesHaveThePermissionsOfTheMask(self):
        for mask in (0o022, 0o077, 0o007):
            done = subprocess.run([support.QEX, "request", self.document, "-o", self.path("out"), "--force"], env=environment(),
                                  preexec_fn=lambda mask=mask: os.umask(mask) and None, timeout=60, check=False)
            self.assertEqual(done.returncode, 0)
            self.assertEqual(os.stat(self.path("out")).st_mode & 0o777, 0o666 & ~mask)

    # ends

    def temporaries(self):
        return [name for name in self.files() if name.startswith(".qex-")]

    def test_ASignalWhileTheAuthorityIsAskedLeavesNothing(self):
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM, signal.SIGXCPU):
            asked = threading.Event()
            with self.subTest(number), Relay(self.tsa_server, lambda asked=asked: asked.set() or time.sleep(20)) as server:
                process = subprocess.Popen([support.QEX, "stamp", self.document, "--tsa", server.url, "--timeout", "60s"],
                                           env=environment(), stderr=subprocess.DEVNULL,
                                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
                self.assertTrue(asked.wait(60))
                self.assertEqual(len(self.temporaries()), 2)
                process.send_signal(number)
                self.assertEqual(process.wait(60), -number)
                self.assertEqual(self.files(), ["report.txt"])

    def test_AFailureWhileTheAuthorityIsAskedLeavesNothing(self):
        with Server(says(b"HTTP/1.1 500 Oh\r\n\r\n")) as server:
            self.assert_error(run("stamp", self.document, "--tsa", f"http://127.0.0.1:{server.port}/", "--retry", "0"), 6)
        self.assertEqual(self.files(), ["report.txt"])

    def test_ASignalThatTheCallerIgnoresIsIgnored(self):
        """As under nohup."""
        with Relay(self.tsa_server, lambda: process.send_signal(signal.SIGHUP)) as server:
            process = subprocess.Popen([support.QEX, "stamp", self.document, "--tsa", server.url], env=environment(),
                                       preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN),
                                       stdout=subprocess.DEVNULL)
            self.assertEqual(process.wait(60), 0)
        self.assertEqual(self.files(), ["report.txt", "report.txt.tsq", "report.txt.tsr"])

    def test_ALimitOnTheSizeOfFilesLeavesNothing(self):
        for more, older in (((), {}), (("--force",), {"report.txt.tsr": b"older", "report.txt.tsq": b"older"})):
            for name, data in older.items():
                self.write(self.path(name), data)
            before = self.content()
            done = subprocess.run([support.QEX, "stamp", self.document, *self.url(), *more], capture_output=True, env=environment(),
                                  preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)), timeout=60,
                                  check=False)
            self.assert_error(done, 3, "report.txt.tsr", "too large", "ulimit -f")
            self.assertEqual(self.content(), before)

    @unittest.skipIf("ASAN_OPTIONS" in os.environ, "a sanitizer opens files of its own")
    def test_ALimitOnOpenFilesIsNotCalledWantOfMemory(self):
        ends = set()
        for limit in range(3, 24):
            def limited(limit=limit):
                resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit))
            for command in (("request", self.document, "-o", self.path("out"), "--force"), ("stamp", self.document, *self.url(), "--force")):
                done = subprocess.run([support.QEX, *command], capture_output=True, env=environment(), preexec_fn=limited,
                                      timeout=60, check=False)
                with self.subTest(limit, command=command[0]):
                    if b"error while loading shared libraries" in done.stderr:
                        continue
                    ends.add((command[0], done.returncode))
                    self.assertNotIn(b"memory", done.stderr)
                    self.assertEqual(self.temporaries(), [])
                    if done.returncode != 0:
                        self.assertRegex(done.stderr.decode(), "open files.*\n.*ulimit -n")
        self.assertIn(("request", 3), ends)
        self.assertIn(("stamp", 3), ends)
        self.assertIn(("stamp", 0), ends)

    def test_TheDocumentOfAFailureNamesItToo(self):
        self.write(self.path("report.txt.tsq"), b"older")
        document = run_json("stamp", self.document, *self.url(), check=3)
        self.assertIn("exists already", document["error"])
        self.assertIn("--force", document["hint"])


if __name__ == "__main__":
    support.main()
