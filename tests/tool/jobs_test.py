"""Jobs: one JSON object a line in, one document a line out, by a program that stays open."""

import base64
import json
import os
import signal
import subprocess
import threading
import unittest

import support
from many_support import CONTENT, ManyTest, descendants, main, state, wait_until
from pki import DIGEST
from support import environment, run, verdicts

MIB = 1 << 20


class Program:
    """qex kept open, asked one job at a time."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([support.QEX, *arguments, "--jobs", "-"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def ask(self, job):
        """The answer to one job, while nothing more is written."""
        self.process.stdin.write((json.dumps(job) if isinstance(job, dict) else job).encode() + b"\n")
        self.process.stdin.flush()
        alarm = threading.Timer(60, self.process.kill)
        alarm.start()
        line = self.process.stdout.readline()
        alarm.cancel()
        return json.loads(line)


class JobsTest(ManyTest):
    def setUp(self):
        super().setUp()
        self.token = base64.b64encode(self.reply).decode()
        self.trust = ("--ca-file", self.root)

    def answers(self, *jobs, command="verify", options=None, check=None):
        """The documents of jobs, given as objects or as lines."""
        lines = b"".join((job if isinstance(job, bytes) else json.dumps(job).encode()) + b"\n" for job in jobs)
        options = (self.trust if command == "verify" else ()) if options is None else options
        done = run(command, "--jobs", "-", *options, stdin=lines, check=check)
        self.assertEqual(done.stderr, b"")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def test_AJobIsAnsweredAsTheCommandLineWouldBe(self):
        path = self.stamped("file")
        document, = self.answers({"id": 1, "file": path}, check=0)
        expected = json.loads(run("verify", path, "--json", *self.trust, check=0).stdout)
        self.assertEqual(document, {"id": 1, **expected})

    def test_EachMemberIsHeededAndEachCanFail(self):
        policy = "1.3.6.1.4.1.32473.1"
        other_query, _ = self.stamp(CONTENT)
        good = {"token": self.token, "digest": "sha256:" + DIGEST}
        query = base64.b64encode(self.query).decode()
        for job, name, verdict in (
                (good, "imprint", "pass"),
                ({**good, "digest": "sha256:" + DIGEST[::-1]}, "imprint", "fail"),
                ({**good, "digest": DIGEST}, "imprint", "pass"),
                ({**good, "request": query}, "nonce", "pass"),
                ({**good, "request": base64.b64encode(other_query).decode()}, "nonce", "fail"),
                ({**good, "nonce": "01"}, "nonce", "fail"),
                ({**good, "policy": policy}, "policy", "pass"),
                ({**good, "policy": "1.2.3"}, "policy", "fail"),
                ({"token": self.token}, "imprint", "skip")):
            with self.subTest(job=job, name=name):
                document, = self.answers(job, check=1 if verdict == "fail" else 0)
                self.assertEqual(verdicts(document)[name], verdict)
                self.assertEqual(document["id"], None)

    def test_ATokenIsBase64OrPemOrAPath(self):
        path = self.stamped("file") + ".tsr"
        pem = f"-----BEGIN PKCS7-----\n{self.token}\n-----END PKCS7-----\n"
        lined = base64.encodebytes(self.reply).decode()
        for token in (self.token, pem, lined, path):
            document, = self.answers({"id": "x", "token": token, "digest": DIGEST}, check=0)
            self.assertEqual(document["exit"], 0)
        missing, cut, other = self.answers({"token": path + ".gone"}, {"token": self.token[:400]}, {"token": "AAAA"})
        self.assertEqual((missing["exit"], cut["exit"], other["exit"]), (3, 4, 3))
        self.assertIn("No such file", missing["error"])
        self.assertNotIn(self.token[:400], cut["error"])

    def test_APathThatReadsAsBase64IsAPath(self):
        # "MAAA" is base64 of an empty SEQUENCE and an octet; a file of that name is there.
        self.stamped("MAAA")
        done = subprocess.run([support.QEX, "verify", "--jobs", "-", *self.trust], cwd=self.folder, env=environment(),
                              input=b'{"token":"MAAA.tsr"}\n{"file":"MAAA"}\n{"token":"MAAA"}\n', capture_output=True, check=False)
        exits = [json.loads(line)["exit"] for line in done.stdout.splitlines()]
        self.assertEqual(exits, [0, 0, 4])
        self.assertIn("MAAA: is no time-stamp", json.loads(done.stdout.splitlines()[2])["error"])

    def test_AnIdOfAnyKindComesBack(self):
        ids = (0, -1, 2**64 - 1, -2**63, "", "text\u0000\u202e\U0001f600", None, True, [], [1, [2, {"a": None}]], {"b": 1, "a": 2})
        documents = self.answers(*({"id": one, "token": self.token} for one in ids), check=0)
        self.assertEqual([document["id"] for document in documents], list(ids))
        self.assertEqual(list(documents[-1]["id"]), ["b", "a"])
        self.assertEqual(list(documents[0])[0], "id")

    def test_AnIdThatWouldComeBackChangedIsRefused(self):
        # Numbers that a floating point number cannot hold came back as other ones.
        numbers = ("1.5", "1.0", "1e2", "18446744073709551616", "-9223372036854775809", "0.10000000000000001")
        ids = (*numbers, f"[1,[{numbers[0]}]]", f'{{"a":{numbers[3]}}}')
        lines = [f'{{"id":{one},"token":"{self.token}"}}'.encode() for one in ids]
        for document in self.answers(*lines, check=2):
            self.assertEqual((document["exit"], document["id"]), (2, None))
            self.assertIn("integer of 64 bits", document["error"])

    def test_ANumberThatNoneCanHoldEndsItsOwnJobOnly(self):
        # Such a number ended the whole run with exit status 70.
        good = {"id": "good", "token": self.token}
        for line in (b'{"id":1e999,"token":"x"}', b'{"id":[-1e999],"token":"x"}', b'{"id":1,"token":1e999}', b"1e999"):
            for command in ("verify", "show"):
                with self.subTest(line=line, command=command):
                    first, second = self.answers(line, good, command=command, check=2)
                    self.assertEqual((first["exit"], first["id"]), (2, None))
                    self.assertIn("line 1: a number is too large", first["error"])
                    self.assertEqual((second["exit"], second["id"]), (0, "good"))

    def test_ANulInAMemberIsRefused(self):
        # Names were read up to the NUL, and the report was of another file than the one that was opened.
        path = self.stamped("file")
        members = {"token": path + ".tsr", "file": path, "digest": "sha256:" + DIGEST, "request": path + ".tsq", "nonce": "01",
                   "policy": "1.2.3"}
        good = {"id": "good", "token": self.token}
        for name, value in members.items():
            for text in (value + "\0", value + "\0.evil", "\0" + value, "\0"):
                with self.subTest(name=name, text=text):
                    first, second = self.answers({"id": 1, "token": self.token, name: text}, good, check=2)
                    self.assertEqual((first["exit"], first["id"], second["exit"]), (2, 1, 0))
                    self.assertIn(f"line 1: member {name} holds a NUL", first["error"])
        document, = self.answers({"id": 1, "token": path + ".tsr\0"}, command="show", check=2)
        self.assertIn("NUL", document["error"])

    def test_AMalformedJobGetsItsOwnErrorAndTheNextOneGoesOn(self):
        deep = 1000000
        bad = (
            (b"garbage", None), (b"{", None), (b"[]", None), (b"1", None), (b"null", None), (b"\xff\xfe\x00\x01", None),
            (bytes(range(1, 10)) + bytes(range(11, 256)), None), (b"\0", None),
            (b'{"id":1}', 1), (b'{"id":2,"token":7}', 2), (b'{"id":3,"token":""}', 3), (b'{"id":4,"token":null}', 4),
            (b'{"id":5,"token":"-"}', 5), (b'{"id":6,"tokn":"x"}', 6), (b'{"id":7,"token":"x","ca_file":"y"}', 7),
            (b'{"id":8,"token":"x","token":"y"}', None), (b'{"id":9,"id":10,"token":"x"}', None),
            (b'{"id":11,"token":"x"} {"id":12}', None), (b'{"id":13,"file":"/","digest":"sha256:00"}', 13),
            (b"[" * deep, None), (b'{"id":' + b"[" * deep + b"]" * deep + b"}", None),
            (b'{"id":14,"token":"\xff"}', None), (b'{"id":15,"token":["x"]}', 15))
        good = {"id": "good", "token": self.token}
        lines = [line for pair in bad for line in (pair[0], good)]
        documents = self.answers(*lines, check=2)
        self.assertEqual(len(documents), len(lines))
        for number, (line, one_id) in enumerate(bad):
            with self.subTest(line=line[:60]):
                document = documents[2 * number]
                self.assertEqual((document["exit"], document["id"], document["command"]), (2, one_id, "verify"))
                self.assertTrue(document["error"] and document["hint"])
                self.assertEqual((documents[2 * number + 1]["exit"], documents[2 * number + 1]["id"]), (0, "good"))
        self.assertIn("line 1:", documents[0]["error"])
        self.assertIn("line 3:", documents[2]["error"])

    def test_LinesEndInLineFeedsAndBlankOnesAreNone(self):
        good = json.dumps({"id": 1, "token": self.token}).encode()
        done = run("verify", "--jobs", "-", *self.trust, stdin=b"\n \r\n" + good + b"\r\n\n" + good, check=0)
        self.assertEqual(len(done.stdout.splitlines()), 2)
        self.assertEqual(run("verify", "--jobs", "-", *self.trust, stdin=b"", check=0).stdout, b"")

    def test_ALineThatIsTooLongIsSkippedToItsEnd(self):
        good = json.dumps({"id": 1, "token": self.token}).encode()
        most = 32 * MIB
        fits = b'{"id":2,"token":"' + b"x" * (most - 19) + b'"}'
        self.assertEqual(len(fits), most)
        documents = self.answers(good, b" " + fits, good, b"x" * (3 * most), good, fits, b"y" * (most + 1))
        self.assertEqual([document["exit"] for document in documents], [0, 2, 0, 2, 0, 3, 2])
        for number in (1, 3, 6):
            self.assertIn("32 MiB", documents[number]["error"])
            self.assertIn(f"line {number + 1}:", documents[number]["error"])

    def test_AThousandJobsInOrder(self):
        bad = base64.b64encode(self.reply[:-1] + bytes([self.reply[-1] ^ 1])).decode()
        jobs = [{"id": number, "token": bad if number % 100 == 7 else self.token} for number in range(1000)]
        for lanes in ("1", "8"):
            documents = self.answers(*jobs, options=(*self.trust, "-j", lanes), check=1)
            self.assertEqual([document["id"] for document in documents], list(range(1000)))
            self.assertEqual([document["id"] for document in documents if document["exit"] != 0], list(range(7, 1000, 100)))

    def test_OneAtATimeWithoutWaitingForMore(self):
        with Program("verify", *self.trust) as program:
            for number in range(20):
                self.assertEqual(program.ask({"id": number, "token": self.token})["id"], number)
                self.assertEqual(program.ask("{")["exit"], 2)
            program.process.stdin.close()
            self.assertEqual(program.process.wait(timeout=60), 2)
            program.process.stdin = None

    def test_AWorkerOrLaneThatEndsIsReplaced(self):
        with Program("verify", "-j", "1", *self.trust) as program:
            program.ask({"id": 1, "token": self.token})
            lane, worker = descendants(program.process.pid)
            os.kill(lane, signal.SIGKILL)
            wait_until(lambda: state(lane) in (None, "Z"))
            # It had nothing before it, so nothing is lost.
            self.assertEqual(program.ask({"id": 2, "token": self.token})["exit"], 0)
            wait_until(lambda: state(worker) in (None, "Z"))
            lane, _ = descendants(program.process.pid)
            os.kill(lane, signal.SIGSTOP)
            wait_until(lambda: state(lane) == "T")
            killer = threading.Timer(0.3, os.kill, (lane, signal.SIGKILL))
            killer.start()
            lost = program.ask({"id": [3], "token": self.token})
            killer.join()
            self.assertEqual((lost["id"], lost["exit"]), ([3], 70))
            self.assertEqual(program.ask({"id": 4, "token": self.token})["exit"], 0)

    def test_AClientThatGoesAwayLeavesNothing(self):
        with Program("verify", *self.trust) as program:
            program.ask({"id": 1, "token": self.token})
            below = descendants(program.process.pid)
            self.assertTrue(below)
            program.process.stdout.close()
            program.process.stdin.write(json.dumps({"id": 2, "token": self.token}).encode() + b"\n")
            program.process.stdin.flush()
            self.assertEqual(program.process.wait(timeout=60), -signal.SIGPIPE)
            wait_until(lambda: all(state(pid) in (None, "Z") for pid in below))
            program.process.stdin.close()
            program.process.stdin = None
            program.process.stdout = None
            self.assertEqual(program.process.stderr.read(), b"")

    def test_AClientThatIsKilledLeavesNothing(self):
        with Program("verify", *self.trust) as program:
            program.ask({"id": 1, "token": self.token})
            below = descendants(program.process.pid)
            program.process.kill()
            wait_until(lambda: all(state(pid) in (None, "Z") for pid in below))

    def test_ManyErrorsDoNotFillStandardError(self):
        # A client need not read standard error; a pipe has room for 64 KiB.
        with Program("verify", *self.trust) as program:
            for _ in range(500):
                self.assertEqual(program.ask({"id": 1, "token": "/nowhere" + "/x" * 200})["exit"], 3)

    def test_TrustIsOfTheCommandLine(self):
        document, = self.answers({"token": self.token}, options=(), check=2)
        self.assertEqual((document["indication"], document["authority_checked"]), ("INDETERMINATE", False))
        document, = self.answers({"token": self.token}, options=("--tsa-cert", self.chain.signer.path), check=0)
        self.assertTrue(document["authority_checked"])

    def test_OptionsThatExcludeJobs(self):
        path = self.stamped("file")
        for options in ((path,), ("--token", path + ".tsr"), ("--digest", DIGEST), ("--dir", self.folder), ("--policy", "1.2.3")):
            with self.subTest(options=options):
                self.assert_error(run("verify", "--jobs", "-", *options, *self.trust), 2, "--jobs")
        self.assert_error(run("show", "--jobs", "-", path + ".tsr"), 2, "--jobs")
        self.assert_error(run("verify", "--jobs", self.path("nowhere")), 3, "nowhere")

    def test_JobsOfAFile(self):
        self.write(self.path("jobs"), json.dumps({"id": 1, "token": self.token}).encode())
        done = run("verify", "--jobs", self.path("jobs"), *self.trust, check=0)
        self.assertEqual(json.loads(done.stdout)["id"], 1)

    def test_ShowAnswersJobsToo(self):
        with open(self.chain.signer.path, "rb") as file:
            pem = file.read().decode()
        documents = self.answers({"id": 1, "token": self.token}, {"id": 2, "token": base64.b64encode(self.query).decode()},
                                 {"id": 3, "token": pem}, {"id": 4, "token": self.chain.signer.path}, {"id": 5}, {"id": 6, "digest": DIGEST},
                                 {"id": 7, "token": "/nowhere"}, b"no json", command="show", check=3)
        self.assertEqual([document["id"] for document in documents], [1, 2, 3, 4, 5, 6, 7, None])
        self.assertEqual([document["exit"] for document in documents], [0, 0, 0, 0, 2, 2, 3, 2])
        self.assertEqual([document["kind"] for document in documents[:4]], ["reply", "request", "certificate", "certificate"])
        path = self.stamped("file") + ".tsr"
        document, = self.answers({"id": 1, "token": path}, command="show", check=0)
        self.assertEqual(document, {"id": 1, **json.loads(run("show", path, "--json", check=0).stdout)})


if __name__ == "__main__":
    main()
