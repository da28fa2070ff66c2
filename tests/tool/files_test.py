"""Input files of every kind, and faults of outputs: the command ends by itself with the documented exit
status, an output appears whole or not at all, and an older one stays."""

import concurrent.futures
import contextlib
import hashlib
import os
import signal
import subprocess
import time
import unittest

import support
from support import ToolTest, environment, run, run_json

CORPUS = os.path.join(support.HERE, "..", "..", "fuzz", "corpus")
SIGNED_DATA = bytes.fromhex("06092a864886f70d010702")
STATUS = bytes.fromhex("3003020100")
IMPRINT = bytes.fromhex("3021300906052b0e03021a05000414") + bytes(20)
# Every command that reads a message; X is its place.
READERS = (("show", "X"), ("show", "--asn1", "X"), ("verify", "--token", "X", "--digest", "00", "--insecure-any-signer"),
           ("verify", "--token", "X", "--digest", "00", "--tsa-cert", "X"), ("tac", "show", "X"), ("tac", "check", "X"),
           ("tac", "get", "X"), ("cert", "--pem", "X"), ("reply", "X"), ("reply", "--frame", "socket", "X"),
           ("reply", "--frame", "http", "X"), ("rewrite", "X", "--drop-attr-certs", "-o", "-"))
DOCUMENTED = (0, 1, 2, 3, 4, 5, 6, 7, 8)  # 70 is a worker that died


def reading(command, path):
    return [path if word == "X" else word for word in command]


def element(tag, content):
    """An element of X.690 8.1."""
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(octets)]) + octets + content


def nested(levels, tag=0x30):
    """Elements in elements, of definite length."""
    headers, size = [], 0
    for _ in range(levels):
        header = element(tag, bytes(0))[:1] + (bytes([size]) if size < 128 else b"\x84" + size.to_bytes(4, "big"))
        headers.append(header)
        size += len(header)
    return b"".join(reversed(headers))


TST_INFO = element(0x30, bytes.fromhex("02010106032a0304") + IMPRINT + b"\2\1\1" + b"\x18\x0f20260101000000Z")
ENCAPSULATED = element(0x30, bytes.fromhex("060b2a864886f70d0109100104") + element(0xA0, element(0x04, TST_INFO)))


def descriptor_of(process, path):
    """The number under which the process has the file open, or None."""
    place = f"/proc/{process}/fd"
    for number in os.listdir(place):
        with contextlib.suppress(FileNotFoundError):  # closed since it was listed
            if os.readlink(f"{place}/{number}") == os.path.realpath(path):
                return number
    return None


class InputTest(ToolTest):
    def ends(self, arguments, statuses, **more):
        """Runs a command that has to end with one of the statuses, and to say why in one line when it is not 0."""
        done = run(*arguments, **more)
        self.assertIn(done.returncode, statuses, (arguments, done.stderr.decode(errors="replace")[:2000]))
        if done.returncode != 0:
            lines = done.stderr.decode().splitlines()
            self.assertTrue(lines and lines[0].startswith("qex: error: ") and len(lines[0]) < 2000, done.stderr[:2000])
        return done

    def test_AnythingButAMessageIsRefusedByEveryReader(self):
        self.write(self.path("empty"), b"")
        with open(self.path("huge"), "wb") as huge:
            huge.truncate(5 << 30)  # of which the disk holds nothing
        with open(self.path("limit"), "wb") as limit:
            limit.truncate((16 << 20) + 1)
        self.write(self.path("text"), b"-----BEGIN CERTIFICATE-----\n" * 1000)
        for name, path, status, words in (
                ("folder", self.folder, 3, "name a file"), ("nothing", self.path("missing"), 3, "missing"),
                ("empty", self.path("empty"), 4, "empty"), ("endless", "/dev/zero", 4, "16 MiB"),
                ("huge", self.path("huge"), 4, "16 MiB"), ("an octet too long", self.path("limit"), 4, "16 MiB"),
                ("no PEM", self.path("text"), 4, "text"), ("a device that is empty", "/dev/null", 4, "empty")):
            for command in READERS:
                if "socket" in command or "http" in command:
                    continue
                with self.subTest(name, command=command):
                    done = self.ends(reading(command, path), (status,))
                    self.assertIn(words, done.stderr.decode())

    def test_FramesOfAFileThatLie(self):
        head = b"HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\n"
        for frame, data, status in (("socket", b"", 2), ("socket", bytes(4), 2), ("socket", b"\xff" * 5, 6), ("socket", b"\0\0\0\0\5", 6),
                                    ("socket", b"\0\0\0\1\5", 4), ("socket", b"\0\0\1\0\5\x30", 6),
                                    ("http", b"", 2), ("http", b"HTTP/1.1 200 OK\r\n", 4),
                                    ("http", head + b"Content-Length: -1\r\n\r\n", 4),
                                    ("http", head + b"Content-Length: 99999999999\r\n\r\n", 6)):
            with self.subTest(frame=frame, data=data):
                self.write(self.path("framed"), data)
                self.ends(("reply", "--frame", frame, self.path("framed")), (status,))

    def test_AFileOfAnySizeIsStreamed(self):
        size = 512 << 20
        with open(self.path("large"), "wb") as large:
            large.truncate(size)
        process = subprocess.Popen([support.QEX, "digest", self.path("large")], stdout=subprocess.PIPE, env=environment())
        line = process.stdout.read()
        process.stdout.close()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0)
        digest = hashlib.sha256()
        for _ in range(size >> 20):
            digest.update(bytes(1 << 20))
        self.assertEqual(line.split()[0].decode(), digest.hexdigest())
        self.assertLess(usage.ru_maxrss, 256 << 10)  # in KiB

    @staticmethod
    def wait_until_read(process, path):
        """Until the process has read some of the file."""
        while True:
            number = descriptor_of(process, path)
            if number is not None:
                with open(f"/proc/{process}/fdinfo/{number}", encoding="ascii") as info:
                    if int(info.readline().split()[1]) > 0:
                        return
            time.sleep(0.001)

    def test_AFileThatShrinksIsAnError(self):
        for input_ in ("a name", "standard input"):
            with self.subTest(input_), open(self.path("shrinking"), "wb") as file:
                file.truncate(4 << 30)
                named = input_ == "a name"
                with open(self.path("shrinking"), "rb") as reader:
                    process = subprocess.Popen([support.QEX, "digest", self.path("shrinking") if named else "-"],
                                               stdin=subprocess.DEVNULL if named else reader, stdout=subprocess.PIPE,
                                               stderr=subprocess.PIPE, env=environment())
                self.wait_until_read(process.pid, self.path("shrinking"))
                file.truncate(1 << 20)
                out, err = process.communicate(timeout=120)
                self.assert_error(subprocess.CompletedProcess([], process.returncode, out, err), 3,
                                  "became shorter while it was read")
                self.assertEqual(out, b"")

    def test_StandardInputMayBeginInTheMiddleOfAFile(self):
        self.write(self.path("twice"), b"before" + b"abc")
        with open(self.path("twice"), "rb") as reader:
            os.lseek(reader.fileno(), 6, os.SEEK_SET)
            done = subprocess.run([support.QEX, "digest"], stdin=reader, capture_output=True, env=environment(), check=True)
        self.assertEqual(done.stdout.split()[0].decode(), hashlib.sha256(b"abc").hexdigest())

    def test_AFileOfTheSystemMayHoldLessThanItAnnounces(self):
        path = "/sys/kernel/mm/transparent_hugepage/enabled"
        if not os.path.exists(path) or os.path.getsize(path) == len(self.read(path)):
            self.skipTest("there is none")
        self.assertEqual(run("digest", path, check=0).stdout.split()[0].decode(), hashlib.sha256(self.read(path)).hexdigest())

    def test_StandardInputMayBeClosed(self):
        for command in (("show", "-"), ("digest", "-"), ("request", "-"), ("verify", "--token", "-", "--digest", "00")):
            with self.subTest(command):
                done = subprocess.run([support.QEX, *command], capture_output=True, env=environment(), timeout=120,
                                      preexec_fn=lambda: os.close(0), check=False)
                self.assert_error(done, 3)

    def test_APipeWithoutAWriterIsWaitedForUntilASignal(self):
        os.mkfifo(self.path("pipe"))
        for command in (("show", "X"), ("digest", "X"), ("verify", self.document, "--token", "X")):
            with self.subTest(command):
                process = subprocess.Popen([support.QEX, *reading(command, self.path("pipe"))], env=environment())
                time.sleep(0.1)
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(60), -signal.SIGINT)

    def test_AMillionLevelsAreRefusedNotFollowed(self):
        deep = nested(1000000)
        endless = b"\x30\x80" * 1000000
        closed = endless + bytes(2) * 1000000
        for name, inner in (("definite", deep), ("indefinite", closed), ("without an end", endless),
                            ("constructed string", b"\x24\x80" * 1000000 + bytes(2) * 1000000)):
            for kind, message in (("alone", inner), ("token", element(0x30, SIGNED_DATA + element(0xA0, inner))),
                                  ("reply", element(0x30, STATUS + inner)),
                                  ("request", element(0x30, b"\2\1\1" + IMPRINT + element(0xA0, inner))),
                                  ("certificate", element(0x30, element(0x30, b"\xA0\3\2\1\2\2\1\1" + inner) + b"\x30\0\3\1\0"))):
                self.write(self.path("deep"), message)
                for command in READERS[:3 if name in ("definite", "indefinite") else 1]:
                    with self.subTest(name, kind=kind, command=command):
                        self.ends(reading(command, self.path("deep")), (0, 4))

    def test_NoSeedOfTheFuzzTargetsEndsAWorker(self):
        files = sorted(os.path.join(folder, name) for folder, _, names in os.walk(CORPUS) for name in names)
        self.assertGreater(len(files), 100)
        done = run("show", "--json", *files)
        self.assertEqual(done.stdout.count(b"\n"), len(files))
        self.assertNotIn(b'"exit":70', done.stdout)
        # Input that is not a message does not reach a worker.
        messages = [file for file, line in zip(files, done.stdout.splitlines()) if b"is no time-stamp request" not in line]
        self.assertGreater(len(messages), 40)
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            # Each reader gets every third message, which spares a thousand processes.
            for _ in pool.map(lambda pair: self.ends(*pair), [(reading(command, file), DOCUMENTED)
                                                              for number, file in enumerate(messages)
                                                              for command in READERS[1:10][number % 3::3]]):
                pass

    @unittest.skipIf("ASAN_OPTIONS" in os.environ, "shadow memory is beyond any limit")
    def test_AMessageThatTakesTooMuchMemoryIsReported(self):
        algorithms = bytes.fromhex("300b0609608648016503040201") * 300000
        unsigned = element(0x30, b"\2\1\3" + element(0x31, algorithms) + ENCAPSULATED)
        self.write(self.path("token"), element(0x30, SIGNED_DATA + element(0xA0, unsigned)))

        def shown_within(megabytes):
            def limited():
                import resource
                resource.setrlimit(resource.RLIMIT_AS, (megabytes << 20, megabytes << 20))
            return subprocess.run([support.QEX, "show", self.path("token")], capture_output=True, env=environment(),
                                  timeout=120, preexec_fn=limited, check=False)

        # Builds differ much in the memory that they need before reading anything. The worker holds all
        # algorithms before it misses the signers, the process that asked it none of them: the worker is the
        # first to run out.
        megabytes = 160
        done = shown_within(megabytes)
        self.assert_error(done, 4, "token", "the data end")
        while done.returncode == 4 and megabytes > 0:
            megabytes -= 8
            done = shown_within(megabytes)
        self.assert_error(done, 70, "token", "more memory than is allowed")

    def test_RandomOctetsAreNotAMessage(self):
        data = hashlib.shake_256(b"octets").digest(200 * 100)
        for at in range(0, len(data), 100):
            self.write(self.path(f"random{at}"), data[at:at + 100])
            self.write(self.path(f"sequence{at}"), element(0x30, data[at:at + 100]))
        done = run("show", *[self.path(name) for name in self.files() if name != "report.txt"], check=4)
        self.assertEqual(done.stderr.count(b"qex: error: "), 400)


class ClosedStreamTest(ToolTest):
    def test_AClosedStreamIsNotReusedForAFileOrAPipe(self):
        def closing(*numbers):
            return lambda: [os.close(number) for number in numbers]

        def ends(command, closed):
            return subprocess.run([support.QEX, *command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment(),
                                  timeout=120, preexec_fn=closing(*closed), check=False)

        with self.authority() as authority:
            for closed in ((0,), (2,), (0, 2)):
                done = ends(("stamp", self.document, "--tsa", authority.url, "--retry", "0", "--force"), closed)
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                done = ends(("verify", self.document, "--insecure-any-signer"), closed)
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                self.assertIn(b"pass  signature", done.stdout)
            for closed in ((1,), (0, 1), (0, 1, 2)):
                self.assertEqual(ends(("stamp", self.document, "--tsa", authority.url, "--retry", "0", "--force"), closed).returncode, 3)
                self.assertEqual(ends(("verify", self.document, "--insecure-any-signer"), closed).returncode, 3)


class OutputTest(ToolTest):
    def test_AFullDiskIsStatus3(self):
        for command in (("request", self.document), ("digest", self.document), ("request", self.document, "--json"),
                        ("help",), ("explain", "2")):
            with self.subTest(command), open("/dev/full", "wb") as full:
                done = subprocess.run([support.QEX, *command], stdout=full, stderr=subprocess.PIPE, env=environment(),
                                      timeout=120, check=False)
                self.assert_error(done, 3, "standard output", "room on the disk")
        self.assert_error(run("request", self.document, "-o", "/dev/full"), 3, "/dev/full")
        self.assertTrue(os.path.exists("/dev/full"))

    def test_AFileSizeLimitLeavesTheOlderOutput(self):
        self.write(self.path("out"), b"before")

        def limited():
            import resource
            resource.setrlimit(resource.RLIMIT_FSIZE, (20, 20))
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        done = subprocess.run([support.QEX, "request", self.document, "-o", self.path("out"), "--force"], capture_output=True,
                              env=environment(), timeout=120, preexec_fn=limited, check=False)
        self.assert_error(done, 3, "out")
        self.assertEqual(self.files(), ["out", "report.txt"])
        self.assertEqual(self.read(self.path("out")), b"before")

    def test_TheDocumentIsNotOverwrittenByAnOutput(self):
        before = self.read(self.document)
        for name in ("linked.tsr", "request.tsq"):
            os.symlink(self.document, self.path(name))
        files = self.files()
        url = ("--tsa", "http://127.0.0.1:1/", "--retry", "0")
        for command in (("request", self.document, "-o", self.document), ("request", self.document, "-o", self.path("linked.tsr")),
                        ("stamp", self.document, *url, "-o", self.document),
                        ("stamp", self.document, *url, "-o", self.path("linked.tsr")),
                        ("stamp", self.document, *url, "-o", self.path("request"))):
            with self.subTest(command):
                self.assert_error(run(*command), 2, "report.txt", "-o")
                self.assertEqual((self.read(self.document), self.files()), (before, files))

    def test_FoldersThatAreNone(self):
        for place in (self.path("no/such/out"), os.path.join(self.document, "out"), self.folder, "/proc/out"):
            with self.subTest(place):
                self.assert_error(run("request", self.document, "-o", place), 3, place)
        self.assertEqual(self.files(), ["report.txt"])

    def test_ASignalWhileAFileIsWrittenLeavesItWhole(self):
        """The octets are seen in the temporary, the signal is sent, and only then they reach the disk."""
        env = support.preloaded(support.SLOW_SYSTEM)
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
            with self.subTest(number):
                process = subprocess.Popen([support.QEX, "request", self.document, "-o", self.path("out")], env=env)
                self.wait_until_written(process)
                process.send_signal(number)
                self.assertEqual(process.wait(60), -number)
                self.assertEqual(self.files(), ["out", "report.txt"])
                self.assertEqual(run_json("show", self.path("out"), check=0)["kind"], "request")
                os.remove(self.path("out"))

    def wait_until_written(self, process):
        """Until a temporary has octets in it."""
        def written(name):
            with contextlib.suppress(FileNotFoundError):  # gone since it was listed
                return name.startswith(".qex-") and os.stat(self.path(name)).st_size > 0
            return False
        while not any(written(name) for name in self.files()):
            self.assertIsNone(process.poll())
            time.sleep(0.01)

    def stamping(self, *options, env=None):
        process = subprocess.Popen([support.QEX, "stamp", self.document, *options], env=env or environment(),
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(process.kill)
        return process

    def test_APipeForAnOutputIsWaitedForUntilASignal(self):
        """The reply goes to a pipe that is full: no signal is held, and the other file does not appear."""
        with self.authority() as authority:
            for name, number in (("1.tsr", signal.SIGHUP), ("2.tsr", signal.SIGINT), ("3.tsr", signal.SIGTERM)):
                with self.subTest(name, number=number):
                    os.mkfifo(self.path(name))
                    pipe = os.open(self.path(name), os.O_RDWR | os.O_NONBLOCK)
                    with self.assertRaises(BlockingIOError):
                        while True:
                            os.write(pipe, bytes(65536))
                    process = self.stamping("--tsa", authority.url, "-o", self.path(name[0] + ".tsr"))
                    while descriptor_of(process.pid, self.path(name)) is None:
                        self.assertIsNone(process.poll())
                        time.sleep(0.01)
                    process.send_signal(number)
                    self.assertEqual(process.wait(60), -number)
                    self.assertEqual(self.files(), [name, "report.txt"])
                    os.close(pipe)
                    os.remove(self.path(name))

    def test_APipeForAnOutputGetsItWhole(self):
        os.mkfifo(self.path("out.tsr"))
        with self.authority() as authority:
            process = self.stamping("--tsa", authority.url, "-o", self.path("out.tsr"))
            reply = self.read(self.path("out.tsr"))
            self.assertEqual(process.wait(60), 0)
        self.assertEqual(self.files(), ["out.tsq", "out.tsr", "report.txt"])
        self.write(self.path("reply"), reply)
        run("verify", self.document, "--token", self.path("reply"), "--request", self.path("out.tsq"),
            "--tsa-cert", authority.tsa, check=0)

    def test_ASignalReachesNoOtherThreadWhileAFileIsWritten(self):
        """The first authority's name is still looked up, by a thread of libcurl's, when the second has answered."""
        with self.authority() as authority:
            process = self.stamping("--tsa", "http://authority.invalid/", "--tsa", authority.url, "--timeout", "5s",
                                    "--retry", "0", env=support.preloaded(support.SLOW_SYSTEM))
            self.wait_until_written(process)
            self.assertGreater(len(os.listdir(f"/proc/{process.pid}/task")), 1)
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(60), -signal.SIGTERM)
        self.assertEqual(self.files(), ["report.txt", "report.txt.tsq", "report.txt.tsr"])


if __name__ == "__main__":
    support.main()
