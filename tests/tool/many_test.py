"""Many subjects at once: a line each in the order given, a summary, the worst exit status, and the effects of
a process that dies or a run that is stopped."""

import json
import os
import pty
import re
import select
import signal
import subprocess
import time
import unittest

import support
from many_support import CONTENT, ManyTest, children, descendants, main, state, wait_until, waiting_octets
from support import environment, run

TIME = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"


class FoldersTest(ManyTest):
    def verify(self, *arguments, check=None, **more):
        return run("verify", *arguments, "--ca-file", self.root, check=check, **more)

    def documents(self, *arguments, check=None, **more):
        """The documents of the subjects, and the summary."""
        lines = self.verify(*arguments, "--json", check=check, **more).stdout.decode().splitlines()
        documents = [json.loads(line) for line in lines]
        return documents[:-1], documents[-1]

    def test_AThousandFilesOfWhichSomeAreBrokenEachWay(self):
        flipped = self.reply[:-1] + bytes([self.reply[-1] ^ 1])
        other_query, _ = self.stamp(CONTENT)
        broken = {  # name: the files next to it, exit status, reason in the summary
            "0100": ({"content": b"changed\n"}, 1, "imprint"),
            "0200": ({"reply": flipped}, 1, "signature"),
            "0300": ({"reply": self.reply[:500]}, 4, "malformed"),
            "0400": ({"reply": b""}, 4, "malformed"),
            "0500": ({"reply": b"no token at all\n"}, 4, "malformed"),
            "0600": ({"query": other_query}, 1, "nonce"),
            "0700": ({"content": None}, 3, "unreadable"),
            "0800": ({"reply": bytes.fromhex("30053003020102")}, 5, "refused"),
            "0900": ({"reply": self.query}, 4, "malformed"),
            "0999": ({"content": b"changed too\n"}, 1, "imprint"),
        }
        for number in range(1000):
            name = f"{number:04}"
            self.stamped(f"many/{name}", **(broken[name][0] if name in broken else {}))
        folder = self.path("many")
        done = self.verify("--dir", folder, check=1)
        lines = done.stdout.decode().splitlines()
        self.assertEqual(len(lines), 1001)
        self.assertEqual(lines[-1], "1000 files: 990 pass, 10 fail (2 imprint, 4 malformed, 1 nonce, 1 refused, 1 signature, 1 unreadable)")
        for number, line in enumerate(lines[:-1]):
            name = f"{folder}/{number:04}"
            with self.subTest(name=name):
                if f"{number:04}" not in broken:
                    self.assertRegex(line, rf"^pass  {re.escape(name)}   {TIME}$")
                else:
                    self.assertTrue(line.startswith(f"fail  {name}"), line)
        documents, summary = self.documents("--dir", folder, check=1)
        self.assertEqual({os.path.basename(document["subject"]).removesuffix(".tsr"): document["exit"]
                          for document in documents if document["exit"] != 0},
                         {name: status for name, (_, status, _) in broken.items()})
        self.assertEqual(summary["summary"], {
            "subjects": 1000, "passed": 990, "failed": 10, "authority_not_checked": 0, "not_done": 0,
            "reasons": {"imprint": 2, "malformed": 4, "nonce": 1, "refused": 1, "signature": 1, "unreadable": 1}})
        self.assertEqual((summary["exit"], summary["command"], summary["schema"]), (1, "verify", 1))

        # The number of processes makes no difference.
        for number in ("1", "8"):
            self.assertEqual(self.verify("--dir", folder, "-j", number, check=1).stdout, done.stdout)

        quiet = self.verify("--dir", folder, "-q", check=1)
        self.assertEqual(quiet.stdout, b"")
        self.assertEqual(quiet.stderr.decode().count("qex: error: "), 10)

    def test_FilesFoldersAndListsGoTogetherInThatOrder(self):
        names = [self.stamped(name) for name in ("c", "b", "folder/z", "folder/sub/a", "listed")]
        self.write(self.path("list"), os.fsencode(names[4]) + b"\n")
        documents, summary = self.documents(names[0], "--list", self.path("list"), "--dir", self.path("folder"), names[1], check=0)
        self.assertEqual([document["subject"] for document in documents], [names[0], names[1], names[3], names[2], names[4]])
        self.assertEqual(summary["summary"]["subjects"], 5)

    def test_AListHoldsNamesAsTheyAre(self):
        strange = [b"with blank", b" blanks around ", b"tab\there", b"no utf-8 \xff\xfe", b"-dash", b"back\\slash", b"caf\xc3\xa9"]
        with_feed = b"line\nfeed"
        for name in (*strange, with_feed):
            self.stamped(name)
        lines = b"".join(os.path.join(os.fsencode(self.folder), name) + b"\n" for name in strange)
        self.write(self.path("list"), lines + b"\n")
        documents, _ = self.documents("--list", self.path("list"), check=0)
        self.assertEqual([bytes.fromhex(document["subject_hex"]) if "subject_hex" in document else os.fsencode(document["subject"])
                          for document in documents], lines.splitlines())
        names = lines.replace(b"\n", b"\0") + os.path.join(os.fsencode(self.folder), with_feed) + b"\0"
        done = self.verify("--list", "-", "-0", stdin=names, check=0)
        self.assertEqual(len(done.stdout.splitlines()), len(strange) + 2)  # a name with a line feed is one line
        self.assertIn(rb"line\x0afeed", done.stdout)
        self.assertTrue(done.stdout.endswith(b"8 files: 8 pass, 0 fail\n"))

    def test_NamesThatLeadNowhereAreNamedAndTheOthersGoOn(self):
        good = self.stamped("good")
        os.mkdir(self.path("empty"))
        self.write(self.path("list"), os.fsencode(self.path("missing")) + b"\n-\n")
        self.write(self.path("nothing"), b"\n\n")
        self.write(self.path("unstamped"), b"")
        os.mkfifo(self.path("fifo"))
        self.write(self.path("fifo.tsr"), self.reply)
        self.write(self.path("specials"), os.fsencode(self.path("fifo")) + b"\n" + os.fsencode(self.folder) + b"\n")
        for arguments, statuses, words in (
                ((self.path("missing"),), [3], ["No such file"]),
                (("--list", self.path("list")), [3, 2], ["No such file", "standard input"]),
                (("--list", self.path("nothing")), [4], ["names no file"]),
                (("--list", self.path("nowhere")), [3], ["No such file"]),
                (("--dir", self.path("empty")), [4], ["beside it"]),
                (("--dir", self.path("nowhere")), [3], ["No such file"]),
                (("--dir", good), [3], ["Not a directory"]),
                ((self.path("unstamped"),), [3], ["there is no such file"]),
                (("--list", self.path("specials")), [3, 3], ["no regular file", "no regular file"])):
            with self.subTest(arguments=arguments):
                documents, _ = self.documents(good, *arguments)
                self.assertEqual(documents[0]["exit"], 0)
                self.assertEqual([document["exit"] for document in documents[1:]], statuses)
                for document, word in zip(documents[1:], words):
                    self.assertIn(word, document["error"])
                    self.assertTrue(document["hint"])

    def test_FilesWithoutStampsInAFolderAreReportedOrIgnored(self):
        self.stamped("folder/good")
        self.stamped("folder/gone", content=None)
        self.write(self.path("folder/unstamped"), b"")
        os.mkfifo(self.path("folder/fifo"))
        self.write(self.path("folder/fifo.tsr"), self.reply)
        os.mkfifo(self.path("folder/pipe.tsr"))  # not a token, and nobody writes to it
        documents, _ = self.documents("--dir", self.path("folder"), check=3)
        self.assertEqual([(os.path.basename(document["subject"]), document["exit"]) for document in documents],
                         [("fifo", 3), ("gone.tsr", 3), ("good", 0)])

    def test_LinksAreNotFollowedInACircle(self):
        self.stamped("folder/sub/good")
        os.symlink("..", self.path("folder/sub/up"))
        os.symlink(self.path("folder/sub/good"), self.path("folder/link"))
        self.write(self.path("folder/link.tsr"), self.reply)
        documents, _ = self.documents("--dir", self.path("folder"), check=0)
        self.assertEqual([os.path.relpath(document["subject"], self.folder) for document in documents],
                         ["folder/link", "folder/sub/good"])

    def test_FoldersWithinFoldersHaveNoDepthLimitOfDescriptors(self):
        self.stamped("/".join(["d"] * 300) + "/good")
        limited = ["bash", "-c", 'ulimit -n 64; exec "$@"', "-", support.QEX, "verify", "--dir", self.path("d"), "--ca-file", self.root]
        done = subprocess.run(limited, capture_output=True, env=environment(), timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout.splitlines()[-1]), (0, b"1 file: 1 pass, 0 fail"), done.stderr)

    def test_WithoutTrustNothingPassesAndNothingFails(self):
        names = [self.stamped("a"), self.stamped("b")]
        done = run("verify", *names, check=2)
        self.assertEqual(done.stdout.decode(), "".join(f"skip  {name}   consistent in itself, authority not checked\n" for name in names)
                         + "2 files: 0 pass, 2 authority not checked, 0 fail\n")

    def test_TrustThatCannotBeReadIsOneError(self):
        names = [self.stamped("a"), self.stamped("b")]
        self.write(self.path("bad.pem"), b"-----BEGIN CERTIFICATE-----\nMAA=\n-----END CERTIFICATE-----\n")
        done = run("verify", *names, "--ca-file", self.path("bad.pem"))
        self.assert_error(done, 4, "bad.pem")
        self.assertEqual(done.stdout, b"")

    def test_OptionsAboutOneTokenExcludeSeveral(self):
        names = [self.stamped("a"), self.stamped("b")]
        for option in (("--token", names[0] + ".tsr"), ("--request", names[0] + ".tsq"), ("--digest", "00"), ("--nonce", "01")):
            with self.subTest(option=option):
                self.assert_error(self.verify(*names, *option), 2, option[0])
                self.assert_error(self.verify("--dir", self.folder, *option), 2, option[0])
        self.assert_error(self.verify("-0", names[0]), 2, "-0")
        self.assert_error(self.verify("-j", "0", *names), 2, "-j")
        self.assert_error(self.verify("--list", "-", "--list", "-"), 2, "--list")
        self.verify(*names, "--policy", "1.3.6.1.4.1.32473.1", check=0)
        self.assertIn(b"2 policy", self.verify(*names, "--policy", "1.2.3", check=1).stdout)

    def test_TheGravestStatusCounts(self):
        changed = self.stamped("changed", content=b"changed\n")
        cut = self.stamped("cut", reply=self.reply[:100])
        gone = self.path("gone")
        self.verify(gone, changed, cut, check=1)
        self.verify(gone, cut, check=4)
        self.verify(gone, self.stamped("good"), check=3)


class ProcessesTest(ManyTest):
    """A pipe among the subjects holds its lane up, so that the others can be watched."""

    def setUp(self):
        super().setUp()
        self.names = [self.stamped(name) for name in ("a", "b", "pipe", "c", "d")]
        os.remove(self.names[2])
        os.mkfifo(self.names[2])

    def start(self, *options, **more):
        process = subprocess.Popen([support.QEX, "verify", *self.names, "--ca-file", self.root, *options],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment(), **more)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process

    def lane_at_the_pipe(self, process):
        """The lane that waits for the pipe, and its worker; a writer can open the pipe only then."""
        def waits():
            try:
                return os.open(self.names[2], os.O_WRONLY | os.O_NONBLOCK)
            except OSError:
                return None
        self.writer = wait_until(waits)
        (lane,) = children(process.pid)
        (worker,) = children(lane)
        return lane, worker

    def let_go(self):
        os.write(self.writer, CONTENT)
        os.close(self.writer)

    def test_ALaneThatEndsTakesItsOwnSubjectWithIt(self):
        process = self.start("-j", "1")
        lane, _ = self.lane_at_the_pipe(process)
        os.kill(lane, signal.SIGKILL)
        output, _ = process.communicate(timeout=60)
        os.close(self.writer)
        lines = output.decode().splitlines()
        self.assertEqual([line[:4] for line in lines[:5]], ["pass", "pass", "fail", "pass", "pass"])
        self.assertIn(self.names[2], lines[2])
        self.assertEqual(lines[5], "5 files: 4 pass, 1 fail (1 internal)")
        self.assertEqual(process.returncode, 70)

    def test_AWorkerThatEndsTakesItsOwnMessageWithIt(self):
        process = self.start("-j", "1")
        _, worker = self.lane_at_the_pipe(process)
        os.kill(worker, signal.SIGSTOP)
        wait_until(lambda: state(worker) == "T")
        self.let_go()
        process.stdout.readline()  # a, b and pipe are done when their lines are there
        process.stdout.readline()
        process.stdout.readline()
        wait_until(lambda: waiting_octets(worker))  # c
        os.kill(worker, signal.SIGKILL)
        output, _ = process.communicate(timeout=60)
        lines = output.decode().splitlines()
        self.assertEqual([line[:4] for line in lines[:2]], ["fail", "pass"])
        self.assertIn("killed", lines[0])
        self.assertEqual(lines[2], "5 files: 4 pass, 1 fail (1 internal)")
        self.assertEqual(process.returncode, 70)

    def test_AnIdleWorkerThatEndsTakesNothingWithIt(self):
        process = self.start("-j", "1")
        _, worker = self.lane_at_the_pipe(process)
        os.kill(worker, signal.SIGKILL)
        wait_until(lambda: state(worker) in (None, "Z"))
        self.let_go()
        output, _ = process.communicate(timeout=60)
        self.assertTrue(output.endswith(b"5 files: 5 pass, 0 fail\n"), output)

    def test_NothingIsLeftWhenTheProgramIsKilled(self):
        process = self.start("-j", "1")
        self.lane_at_the_pipe(process)
        below = descendants(process.pid)
        self.assertEqual(len(below), 2)
        process.kill()
        wait_until(lambda: all(state(pid) in (None, "Z") for pid in below))
        os.close(self.writer)

    def test_CtrlCPrintsTheSummarySoFar(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            for alone in (False, True):
                with self.subTest(number=number, alone=alone):
                    process = self.start("-j", "1", start_new_session=True)
                    self.lane_at_the_pipe(process)
                    below = descendants(process.pid)
                    # A terminal sends it to all of them.
                    os.kill(process.pid, number) if alone else os.killpg(process.pid, number)
                    output, errors = process.communicate(timeout=60)
                    os.close(self.writer)
                    lines = output.decode().splitlines()
                    self.assertEqual([line[:4] for line in lines[:2]], ["pass", "pass"])
                    self.assertEqual(lines[2:], ["stopped after 2 of 5 files: 2 pass, 0 fail"])
                    self.assertEqual((process.returncode, errors), (-number, b""))
                    wait_until(lambda: all(state(pid) in (None, "Z") for pid in below))

    def test_AStoppedRunSaysSoInItsLastDocument(self):
        process = self.start("-j", "1", "--json")
        self.lane_at_the_pipe(process)
        process.send_signal(signal.SIGINT)
        output, _ = process.communicate(timeout=60)
        os.close(self.writer)
        summary = json.loads(output.splitlines()[-1])["summary"]
        self.assertEqual((summary["subjects"], summary["passed"], summary["not_done"], summary["signal"]), (5, 2, 3, signal.SIGINT))

    def test_AnIgnoredSignalStaysIgnored(self):
        process = self.start("-j", "1", preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        self.lane_at_the_pipe(process)
        process.send_signal(signal.SIGHUP)
        self.let_go()
        output, _ = process.communicate(timeout=60)
        self.assertTrue(output.endswith(b"5 files: 5 pass, 0 fail\n"))
        self.assertEqual(process.returncode, 0)

    def test_LinesComeInOrderAlsoAfterASlowOne(self):
        process = self.start("-j", "2", "--json")
        writer = wait_until(lambda: self.opened())
        time.sleep(0.2)  # the others are done meanwhile
        os.write(writer, CONTENT)
        os.close(writer)
        output, _ = process.communicate(timeout=60)
        subjects = [json.loads(line)["subject"] for line in output.splitlines()]
        self.assertEqual(subjects, [*self.names, ""])
        self.assertEqual(process.returncode, 0)

    def opened(self):
        try:
            return os.open(self.names[2], os.O_WRONLY | os.O_NONBLOCK)
        except OSError:
            return None

    def test_AReaderThatGoesEndsItQuietly(self):
        good = self.stamped("good")
        process = subprocess.Popen([support.QEX, "verify", *[good] * 2000, "--ca-file", self.root],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment())
        process.stdout.readline()
        below = wait_until(lambda: descendants(process.pid))
        process.stdout.close()
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()
        self.assertEqual(process.wait(timeout=60), -signal.SIGPIPE)
        wait_until(lambda: all(state(pid) in (None, "Z") for pid in below))

    def test_ATerminalSeesTheRemainingTimeAfterASecond(self):
        master, slave = pty.openpty()
        self.addCleanup(os.close, master)
        process = subprocess.Popen([support.QEX, "verify", *self.names, "--ca-file", self.root, "-j", "1"],
                                   stdout=subprocess.PIPE, stderr=slave, env=environment())
        os.close(slave)
        writer = wait_until(self.opened)
        time.sleep(1.2)
        os.write(writer, CONTENT)
        os.close(writer)
        process.stdout.read()
        process.stdout.close()
        self.assertEqual(process.wait(timeout=60), 0)
        seen = b""
        while select.select([master], [], [], 0.5)[0]:
            try:
                part = os.read(master, 4096)
            except OSError:
                break
            if not part:
                break
            seen += part
        self.assertRegex(seen.decode(), r"verify  \[#+ *\]  *\d+ %  \d of 5, \d+ s left")
        self.assertTrue(seen.endswith(b"\r\x1b[K"))


if __name__ == "__main__":
    main()
