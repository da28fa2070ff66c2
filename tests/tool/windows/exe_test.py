"""qex.exe under wine: its results are those of the tool on this machine, of hashlib, and of the samples.

usage: exe_test.py QEX_EXE LIBQEX_DLL FAILING_READER_DLL PEER -- EMULATOR...
PEER is the tool for this machine; empty leaves the comparisons with it out."""

import glob
import hashlib
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

separator = sys.argv.index("--")
EXE, DLL, FAILING_READER, PEER = sys.argv[1:separator]
WINE = sys.argv[separator + 1:]
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
SAMPLES = os.path.join(ROOT, "tests/data/samples")
MORE_SAMPLES = os.path.join(ROOT, "tests/data/bouncycastle")
TOKEN = os.path.join(MORE_SAMPLES, "token_rsa2048_sha256_v2_tac.der")
REPLY = os.path.join(SAMPLES, "reply_sha256_v2_cert.der")
EVERY_OCTET = bytes(range(256)) * 300 + b"\r\n\n\r\x1a\r\n"


def environment(**more):
    """Time zone and language never show; a display is of no use."""
    kept = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
    return {**kept, "NO_COLOR": "1", "LC_ALL": "C.UTF-8", **more}


def started(*words, exe=EXE, **more):
    return subprocess.Popen([*WINE, exe, *words], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            env=environment(**more))


def run(*words, stdin=b"", exe=EXE, **more):
    process = started(*words, exe=exe, **more)
    process.stdout_octets, process.stderr_octets = process.communicate(stdin, timeout=120)
    return process


def octets_of(path):
    with open(path, "rb") as file:
        return file.read()


def samples():
    found = sorted(path for folder in (SAMPLES, MORE_SAMPLES) for ending in ("der", "ber")
                   for path in glob.glob(os.path.join(folder, "*." + ending)))
    if len(found) < 50:
        raise AssertionError(f"only {len(found)} samples in {SAMPLES} and {MORE_SAMPLES}")
    return found


class ExeTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="qex-exe-")
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name, content=None):
        path = os.path.join(self.folder, name)
        if content is not None:
            with open(path, "wb") as file:
                file.write(content)
        return path

    def assert_error(self, done, status, *texts):
        stderr = done.stderr_octets.decode()
        self.assertEqual(done.returncode, status, stderr)
        self.assertIn("qex: error: ", stderr)  # a line of wine's own may have begun
        self.assertIn("qex: hint: ", stderr)
        for text in texts:
            self.assertIn(text, stderr)


class CommandsTest(ExeTest):
    def test_DigestsAreThoseOfHashlib(self):
        path = self.path("data", EVERY_OCTET)
        for name in ("sha256", "sha384", "sha512", "sha1", "md5"):
            with self.subTest(name):
                expected = hashlib.new(name, EVERY_OCTET).hexdigest()
                line = f"{expected}  {path}\n".encode()
                self.assertEqual(run("digest", "--hash", name, path).stdout_octets, line)
        self.assertEqual(run("digest", stdin=EVERY_OCTET).stdout_octets,
                         f"{hashlib.sha256(EVERY_OCTET).hexdigest()}  -\n".encode())

    def test_AListIsChecked(self):
        path = self.path("data", EVERY_OCTET)
        entries = self.path("list", run("digest", path).stdout_octets)
        self.assertEqual(run("digest", "--check", entries).stdout_octets, f"{path}: OK\n".encode())
        self.path("data", EVERY_OCTET[1:])
        done = run("digest", "--check", entries)
        self.assertEqual((done.returncode, done.stdout_octets), (1, f"{path}: FAILED\n".encode()))

    def test_ADigestThatTheLibraryLacksIsLeftOut(self):
        self.assert_error(run("digest", "--hash", "sha3-256", self.path("data", b"x")), 7, "sha3-256", "left out")

    def test_NamesOutsideOfAsciiAreReadWrittenAndShown(self):
        name = "Prüfung für 時刻 \U0001f552.der"
        path = self.path(name, octets_of(TOKEN))
        document = json.loads(run("show", "--json", path).stdout_octets.decode())
        self.assertEqual((document["exit"], document["subject"]), (0, path))
        written = os.path.join(self.folder, "été " + name)
        self.assertEqual(run("rewrite", path, "--id-data", "-o", written).returncode, 0)
        self.assertEqual(sorted(os.listdir(self.folder)), sorted([name, "été " + name]))
        self.assertEqual(run("digest", path).stdout_octets,
                         f"{hashlib.sha256(octets_of(TOKEN)).hexdigest()}  {path}\n".encode())
        self.assert_error(run("show", os.path.join(self.folder, "wo 時刻")), 3, "wo 時刻", "No such file")

    def test_StarsStandForNames(self):
        for name in ("b1", "b2", "c"):
            self.path(name, name.encode())
        done = run("digest", os.path.join(self.folder, "b*"))
        self.assertEqual(sorted(line.split()[0].decode() for line in done.stdout_octets.splitlines()),
                         sorted(hashlib.sha256(name).hexdigest() for name in (b"b1", b"b2")))

    def test_ATokenComesOutOfItsReply(self):
        done = run("reply", REPLY, "--token", "-o", "-")
        self.assertEqual(done.returncode, 0, done.stderr_octets)
        self.assertGreater(len(done.stdout_octets), 1000)
        self.assertTrue(octets_of(REPLY).endswith(done.stdout_octets))
        self.assert_error(run("reply", os.path.join(SAMPLES, "reply_rejected.der")), 5, "badAlg")

    def test_NothingIsTranslatedInPipes(self):
        given = octets_of(TOKEN)
        piped = run("rewrite", "-", "--id-data", "-o", "-", stdin=given).stdout_octets
        path = self.path("written")
        self.assertEqual(run("rewrite", TOKEN, "--id-data", "-o", path).returncode, 0)
        self.assertEqual(piped, octets_of(path))
        # The identifier of TSTInfo becomes that of data, two octets shorter; a translation would change the length.
        self.assertIn(bytes.fromhex("06092a864886f70d010701"), piped)
        self.assertTrue(any(b"\n" in octets_of(sample) for sample in samples()))
        for text in (run("explain"), run("help"), run("show", TOKEN)):
            self.assertNotIn(b"\r", text.stdout_octets)

    def test_ARequestWithAFileHasItsDigest(self):
        path = self.path("data", EVERY_OCTET)
        done = run("request", path, "-o", "-")
        self.assertIn(hashlib.sha256(EVERY_OCTET).digest(), done.stdout_octets)
        other = run("request", path, "-o", "-")
        self.assertNotEqual(done.stdout_octets, other.stdout_octets)  # the nonce

    def test_WhatIsLeftOutSaysSo(self):
        for words in (("stamp", "x", "--tsa", "http://tsa.example/"), ("verify", "x", "--ca-file", "y"), ("cert", "x"),
                      ("show", "--jobs", "-"), ("show", "--html", "x")):
            with self.subTest(words):
                self.assert_error(run(*words), 2, words[0], "left out of qex for Windows", "Linux")
                if "--html" not in words:
                    document = json.loads(run(*words, "--json").stdout_octets)
                    self.assertEqual((document["command"], document["exit"]), (words[0], 2))
        self.assertIn(b"left out of qex for Windows", run("help", "stamp").stdout_octets)
        self.assertIn(b"libcrypto: left out", run("version", "-v").stdout_octets)
        self.assertIn("libcrypto", json.loads(run("show", "--json", TOKEN).stdout_octets)["left_out"])

    def test_ABadCommandLineAndABadMessageAreErrors(self):
        self.assert_error(run("digset", "x"), 2, "digset", "digest")
        self.assert_error(run("digest", "--no-such-option"), 2, "--no-such-option")
        self.assert_error(run("show", self.path("text", b"no message\r\n")), 4, "text")
        self.assert_error(run("show", self.folder), 3, "directory")


class OutputsTest(ExeTest):
    def test_AnOlderFileStaysUnlessForced(self):
        path = self.path("out", b"older")
        self.assert_error(run("rewrite", TOKEN, "--id-data", "-o", path), 3, "exists already", "--force")
        self.assertEqual(octets_of(path), b"older")
        self.assert_error(run("rewrite", self.path("bad", b"bad"), "--id-data", "--force", "-o", path), 4)
        self.assertEqual(octets_of(path), b"older")
        self.assertEqual(sorted(os.listdir(self.folder)), ["bad", "out"])

    def test_AnInputIsNotOverwritten(self):
        path = self.path("token", octets_of(TOKEN))
        other = os.path.join(self.folder, ".", "token")
        self.assert_error(run("rewrite", path, "--id-data", "--force", "-o", other), 2, "would be lost")
        self.assertEqual(octets_of(path), octets_of(TOKEN))

    def test_AFileIsReplacedAsAWhole(self):
        path = self.path("out")
        whole = [run("rewrite", TOKEN, how, "-o", "-").stdout_octets for how in ("--id-data", "--drop-attr-certs")]
        self.assertNotEqual(*whole)
        self.path("out", whole[1])
        seen, done = set(), threading.Event()

        def look():
            while not done.is_set():
                seen.add(octets_of(path))
        looking = threading.Thread(target=look)
        looking.start()
        try:
            for turn in range(6):
                how = ("--id-data", "--drop-attr-certs")[turn % 2]
                self.assertEqual(run("rewrite", TOKEN, how, "--force", "-o", path).returncode, 0)
                self.assertEqual(octets_of(path), whole[turn % 2])
        finally:
            done.set()
            looking.join()
        self.assertEqual(seen, set(whole))
        self.assertEqual(os.listdir(self.folder), ["out"])

    def test_ADeviceIsWrittenTo(self):
        self.assertEqual(run("rewrite", TOKEN, "--id-data", "-o", "NUL").returncode, 0)

    def test_AFolderIsNoOutput(self):
        self.assert_error(run("rewrite", TOKEN, "--id-data", "--force", "-o", self.folder), 3, "directory")
        self.assert_error(run("rewrite", TOKEN, "--id-data", "-o", self.path("no/such/folder")), 3, "No such file")


@unittest.skipIf(PEER == "", "no tool for this machine to compare with")
class PeerTest(ExeTest):
    """The words of the two builds, byte by byte."""

    def both(self, *words):
        done = run(*words)
        peer = subprocess.run([PEER, *words], capture_output=True, env=environment(), timeout=120, check=False)
        return done, peer

    def same(self, *words):
        done, peer = self.both(*words)
        self.assertEqual((done.returncode, done.stdout_octets, done.stderr_octets),
                         (peer.returncode, peer.stdout, peer.stderr), words)
        return done

    def test_ExplanationsHelpAndCompletion(self):
        self.same("explain")
        self.same("explain", "-8", "--json")
        self.same("explain", "no such code")
        for command in ("request", "reply", "tac", "rewrite", "digest", "explain", "version"):
            self.same("help", command)
        for shell in ("bash", "fish"):
            self.assertEqual(run("completion", shell).returncode, 0)

    def test_Requests(self):
        digest = "sha256:" + hashlib.sha256(b"x").hexdigest()
        for more in ((), ("--policy", "1.2.3.4"), ("--no-cert",), ("--frame", "http"), ("--frame", "socket")):
            self.same("request", "--digest", digest, "--nonce", "0123456789abcdef", "-o", "-", *more)
            self.same("request", "--digest", digest, "--no-nonce", "--json", *more)

    def test_Replies(self):
        for path in samples():
            if os.path.basename(path).startswith("reply"):
                self.same("reply", path, "--json")

    def test_Tokens(self):
        tokens = [path for path in samples() if os.path.basename(path).startswith(("token", "tac"))]
        self.assertGreater(len(tokens), 8)
        for path in tokens:
            self.same("rewrite", path, "--drop-attr-certs", "-o", "-")
            self.same("rewrite", path, "--id-data", "--json")
            for action in ("get", "show", "check"):
                self.same("tac", action, path, "--json")

    # What only the strict reader finds is not compared; that it is left out is said.
    def test_ShownMessages(self):
        def kept(value):
            if isinstance(value, dict):
                return {name: kept(part) for name, part in value.items() if name not in ("extensions", "left_out", "readers")}
            return [kept(part) for part in value] if isinstance(value, list) else value
        done, peer = self.both("show", "--json", *samples())
        documents = [[json.loads(line) for line in octets.splitlines()] for octets in (done.stdout_octets, peer.stdout)]
        self.assertEqual([len(of_one) for of_one in documents], [len(samples())] * 2)
        shown = 0
        for path, ours, theirs in zip(samples(), *documents):
            with self.subTest(path):
                if ours["exit"] != 0 and theirs["exit"] == 0:  # the peer's strict reader alone reads it
                    self.assertIn(theirs["readers"]["libqex"], ours["error"])
                    self.assertEqual((ours["exit"], ours["hint"]), (4, "the strict reader of qex on Linux may read it"))
                    continue
                if os.path.basename(path).startswith("refused_"):  # by the library: its key and its next step differ
                    ours, theirs = ({**of_one, "key": None, "hint": None} for of_one in (ours, theirs))
                self.assertEqual(kept(ours), kept(theirs))
            shown += ours["exit"] == 0
        self.assertGreater(shown, 40)

    def test_PrintedMessages(self):
        for path in (TOKEN, REPLY, os.path.join(SAMPLES, "request_sha256_cert.der"), os.path.join(SAMPLES, "certificate_tsa.der")):
            self.same("show", "--asn1", path)


class WorkersTest(ExeTest):
    """What a message does to its worker does not harm the program."""

    def setUp(self):
        super().setUp()
        self.exe = os.path.join(self.folder, "qex.exe")
        shutil.copy(EXE, self.exe)
        shutil.copy(DLL, os.path.join(self.folder, "libqex_whole.dll"))
        shutil.copy(FAILING_READER, os.path.join(self.folder, "libqex.dll"))

    def show(self, how):
        return run("show", "-v", TOKEN, exe=self.exe, CHECK=how)

    def processes(self, chosen):
        """Those of this machine whose command lines are chosen; wine runs each program in one."""
        found = []
        for entry in glob.glob("/proc/[0-9]*/cmdline"):
            try:
                if chosen(octets_of(entry)):
                    found.append(int(entry.split("/")[2]))
            except OSError:  # it has ended
                continue
        return found

    def workers(self):
        return self.processes(lambda words: os.path.basename(self.folder).encode() in words and b"--worker-process" in words)

    def spinning(self):
        """Workers that have spent a second: wine has set them up."""
        def seconds(pid):
            return int(octets_of(f"/proc/{pid}/stat").rsplit(b")", 1)[1].split()[11]) / os.sysconf("SC_CLK_TCK")
        return [pid for pid in self.workers() if seconds(pid) > 1]

    def program(self):
        """The program itself, not the emulator's launcher."""
        return self.processes(lambda words: words.startswith(self.exe.encode() + b"\0"))[0]

    def wait_for(self, condition):
        deadline = time.monotonic() + 30
        while not condition() and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertTrue(condition())

    def test_AWorkerThatEndsIsStatus70(self):
        self.assert_error(self.show("end"), 70, "gave no answer", "status 9")
        self.assert_error(self.show("break"), 70, "gave no answer", "0xC0000005")

    def test_AWorkerThatTakesTooLongIsStopped(self):
        begin = time.monotonic()
        self.assert_error(self.show("spin"), 70, "too much time")
        self.assertGreater(time.monotonic() - begin, 15)
        self.assertEqual(self.workers(), [])

    def test_AWorkerWhoseMessagesFillAPipeAnswers(self):
        done = self.show("talk")
        self.assert_error(done, 4, "qex: library: a message of sixty-four octets")
        self.assertLess(len(done.stderr_octets), 200_000)

    def test_AKilledWorkerIsReported(self):
        process = started("show", TOKEN, exe=self.exe, CHECK="spin")
        self.wait_for(self.spinning)
        os.kill(self.workers()[0], signal.SIGKILL)
        process.stdout_octets, process.stderr_octets = process.communicate(timeout=60)
        self.assert_error(process, 70, "gave no answer")

    def test_AWorkerEndsWithItsProgram(self):
        process = started("show", TOKEN, exe=self.exe, CHECK="spin")
        self.wait_for(self.spinning)
        os.kill(self.program(), signal.SIGKILL)
        process.communicate(timeout=60)
        self.wait_for(lambda: not self.workers())

    def test_AWorkerThatTakesTooMuchMemoryIsRefused(self):
        done = self.show("memory")
        if done.returncode == 4:
            self.skipTest("this wine does not enforce the memory limit of a job")
        self.assert_error(done, 70, "memory")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
