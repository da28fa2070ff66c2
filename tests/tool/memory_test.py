"""Memory that runs out while a worker reads a message: it reports that, or answers as usual. Never does a
part of the message seem absent, nor a check fail."""

import concurrent.futures
import os
import signal
import subprocess
import sys
import unittest

import cbor
import support
from support import Authority, ToolTest, openssl, run

OUT_OF_MEMORY = "more memory than is allowed"


def job(message, **more):
    """The question to a worker about a message, as it crosses the pipe."""
    return cbor.encode({"serve": "v2", "job": {
        "name": "message", "message": message, "verify": False, "describe": False, "asn1": False, "take_tac": False,
        "tac": b"", "request": b"", "rewriting": 0, "ess": "auto", "library_only": False, "allow_weak": False, **more}})


def answer_of(frame):
    """The answer in a frame: a length of four octets, then as many octets."""
    if int.from_bytes(frame[:4], sys.byteorder) != len(frame) - 4:
        raise AssertionError(f"no frame: {frame[:80]!r}")
    return cbor.decode(frame[4:])


def worker(question, **more):
    return subprocess.run([support.QEX, "--worker-process"], input=question, capture_output=True, timeout=120,
                          env=support.environment(LD_PRELOAD=support.FAILING_MEMORY, **more), check=True)


@unittest.skipIf("ASAN_OPTIONS" in os.environ, "a sanitizer has an allocator of its own")
class MemoryTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.document = os.path.join(cls.class_folder, "document")
        cls.write(cls.document, b"what is to be stamped\n")
        place = os.path.join(cls.class_folder, "")
        with Authority(place + "keys", "--tac", "signer-attribute") as authority:
            cls.certificate = openssl("x509", "-in", authority.tsa, "-outform", "DER")
            run("stamp", cls.document, "--tsa", authority.url, check=0)
        run("reply", cls.document + ".tsr", "--token", "-o", place + "token", check=0)
        run("tac", "get", place + "token", "-o", place + "tac", check=0)
        cls.token, cls.tac, cls.request = (cls.read(path) for path in (place + "token", place + "tac", cls.document + ".tsq"))

    def unharmed(self, question, digests):
        """Fails each allocation but those of operator new. At most `digests` of them are of QEX_SHA256_Init,
        which ends the process: its description says that it does not check."""
        done = worker(question)
        self.assertIn("facts", answer_of(done.stdout))
        allocations = int(done.stderr.splitlines()[-1].split()[0])
        self.assertGreater(allocations, 100)
        lines = worker(question, FAIL_BELOW=str(allocations)).stdout.splitlines()
        self.assertEqual(len(lines), allocations)
        ended = told = 0
        for line in lines:
            _, status, answer = line.decode().split(" ", 2)
            answer = bytes.fromhex(answer)
            if answer == done.stdout:
                continue
            if int(status) == signal.SIGSEGV and answer == b"":
                ended += 1
                continue
            self.assertEqual(int(status), 0, line[:200])
            failure = answer_of(answer).get("failure", {})
            self.assertEqual(failure.get("exit"), 70, line[:200])
            self.assertIn(OUT_OF_MEMORY, failure["message"])
            told += 1
        self.assertLessEqual(ended, digests)
        # The last ones come after the answer, as the process ends; libcrypto gets by without some of its own.
        self.assertGreater(told + ended, (allocations - 60) * 95 // 100)

    def test_NothingSeemsAbsentOrWrongWithoutMemory(self):
        jobs = ((job(self.request, asn1=True), 0), (job(self.certificate, asn1=True), 1),
                (job(self.token, verify=True, library_only=True), 2), (job(self.token, verify=True), 2),
                (job(self.token, describe=True, tac=self.tac, library_only=True), 2))
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for _ in pool.map(lambda pair: self.unharmed(*pair), jobs):
                pass


if __name__ == "__main__":
    support.main()
