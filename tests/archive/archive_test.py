"""examples/archive with a scheduler and workers on the loopback interface: 20,000 tokens, a few of them broken.

usage: archive_test.py LIBRARY TOOL      libqex.so and qex of the build. The rates that it prints are checked by nobody.
"""

import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests", "tool"))
from pki import Pki, openssl

TOKENS = 20000
DIFFERENT = 20  # the others are links to these, which take as long to verify
IN_A_FOLDER = 1000
PROGRAM = os.path.join(ROOT, "examples", "archive", "verify_archive.py")


def make_tokens(folder, pki):
    """Files with replies and requests by the openssl command; the path of the root, and those of the files in order."""
    chain = pki.chain(3)
    configuration = pki.file(
        f"[authority]\nserial = {pki.file(b'01', ending='.serial')}\nsigner_cert = {chain.signer.path}\n"
        f"signer_key = {chain.signer.key}\nsigner_digest = sha256\ndefault_policy = 1.3.6.1.4.1.32473.1\n"
        f"digests = sha256\ness_cert_id_alg = sha256\ncerts = {chain.intermediates[0].path}\n".encode(), ending=".cnf")
    paths = []
    for number in range(TOKENS):
        path = os.path.join(folder, f"{number // IN_A_FOLDER:02}", f"{number:05}")
        if number % IN_A_FOLDER == 0:
            os.makedirs(os.path.dirname(path))
        if number < DIFFERENT:
            with open(path, "w") as file:
                file.write(f"file {number}\n")
            openssl("ts", "-query", "-data", path, "-sha256", "-cert", "-out", path + ".tsq")
            openssl("ts", "-reply", "-section", "authority", "-queryfile", path + ".tsq", "-config", configuration,
                    "-out", path + ".tsr")
        else:
            for ending in ("", ".tsq", ".tsr"):
                os.link(paths[number % DIFFERENT] + ending, path + ending)
        paths.append(path)
    return chain.root.path, paths


def rewrite(path, change):
    """Gives the name `path` octets of its own, which `change` makes of those that it had."""
    with open(path, "rb") as file:
        octets = change(file.read())
    os.unlink(path)
    with open(path, "wb") as file:
        file.write(octets)


def last_octet_changed(octets):
    return octets[:-1] + bytes([octets[-1] ^ 1])  # of the signature


def break_some(paths):
    """What is broken, as the line's exit status and path."""
    rewrite(paths[1], lambda _: b"another content\n")                 # not what was stamped
    rewrite(paths[4321] + ".tsr", last_octet_changed)
    rewrite(paths[9999] + ".tsr", lambda octets: octets[:100])        # cut
    os.unlink(paths[12345])                                           # the stamped file is gone
    rewrite(paths[TOKENS - 1] + ".tsr", lambda _: b"no reply at all\n")
    return [(1, paths[1]), (1, paths[4321]), (4, paths[9999]), (3, paths[12345]), (4, paths[TOKENS - 1])]


class Cluster:
    """A scheduler and workers with one thread each, as processes of this machine."""

    def __init__(self, folder, workers, **environment):
        self.environment = {**os.environ, **environment}
        self.folder = tempfile.mkdtemp(dir=folder)
        self.processes = []
        self.log = open(os.path.join(self.folder, "log"), "w")
        self.file = os.path.join(self.folder, "scheduler.json")
        self.start("dask-scheduler", "--port", "0", "--no-dashboard", "--no-show", "--scheduler-file", self.file)
        while True:
            try:
                with open(self.file) as file:
                    self.address = json.load(file)["address"]
                break
            except (OSError, ValueError):
                assert self.processes[0].poll() is None, "the scheduler ended"
                time.sleep(0.05)
        self.workers = [self.start("dask-worker", self.address, "--nthreads", "1", "--no-nanny", "--no-dashboard",
                                   "--local-directory", self.folder) for _ in range(workers)]

    def start(self, program, *arguments):
        # Debian's programs, with Debian's Python, whatever else is in PATH.
        process = subprocess.Popen(["/usr/bin/python3", f"/usr/bin/{program}", "--host", "127.0.0.1", *arguments],
                                   stdout=subprocess.DEVNULL, stderr=self.log, env=self.environment)
        self.processes.append(process)
        return process

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
        for process in self.processes:
            try:
                process.wait(timeout=20)
            except subprocess.TimeoutExpired:  # a worker may wait for a scheduler that has gone
                process.kill()
                process.wait()
        self.log.close()


class ArchiveTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.work, ignore_errors=True)
        cls.archive = os.path.join(cls.work, "archive")
        os.mkdir(os.path.join(cls.work, "keys"))
        cls.root, paths = make_tokens(cls.archive, Pki(os.path.join(cls.work, "keys")))
        cls.broken = break_some(paths)

    def start(self, address, *arguments, folder=None):
        process = subprocess.Popen(
            ["/usr/bin/python3", PROGRAM, "--scheduler", address, "--ca-file", self.root, *arguments, folder or self.archive],
            text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        return process

    def check_everything_is_found(self, status, output, workers):
        *lines, summary = output.splitlines()
        found = [(int(line.split()[0]), line.split()[1].removesuffix(".tsr")) for line in lines]
        self.assertEqual(found, self.broken)
        self.assertEqual(status, 1)
        self.assertRegex(summary, f"^{TOKENS} tokens, {TOKENS - 5} pass, 5 do not; ")
        print(f"{workers}: {summary}", flush=True)

    def test_OneWorker(self):
        with Cluster(self.work, 1) as cluster:
            process = self.start(cluster.address)
            output, errors = process.communicate()
        self.check_everything_is_found(process.returncode, output, "one worker")
        self.assertEqual(errors, "")

    def test_TwoWorkers(self):
        with Cluster(self.work, 2) as cluster:
            process = self.start(cluster.address)
            output, errors = process.communicate()
        self.check_everything_is_found(process.returncode, output, "two workers")
        self.assertEqual(errors, "")

    def test_AKilledWorkerLosesNothing(self):
        with Cluster(self.work, 2) as cluster:
            process = self.start(cluster.address, "--progress")
            for line in process.stderr:
                if int(re.fullmatch(r"(\d+) checked\n", line)[1]) >= TOKENS // 4:
                    break
            cluster.workers[0].send_signal(signal.SIGKILL)
            output, _ = process.communicate()
        self.assertEqual(cluster.workers[0].returncode, -signal.SIGKILL)
        self.check_everything_is_found(process.returncode, output, "two workers, one of them killed")

    def test_ABatchThatItsWorkersDoNotSurviveIsReported(self):
        # The scheduler gives a batch up at the first worker that dies with it, not at the fourth.
        with Cluster(self.work, 2, DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES="0") as cluster:
            process = self.start(cluster.address, "--progress")
            for line in process.stderr:
                if int(re.fullmatch(r"(\d+) checked\n", line)[1]) >= TOKENS // 4:
                    break
            cluster.workers[0].send_signal(signal.SIGKILL)
            output, errors = process.communicate()
        self.assertEqual(process.returncode, 1, errors)
        *lines, summary = output.splitlines()
        lost = [line for line in lines if line.startswith("70  ")]
        self.assertTrue(lost and len(lost) % 200 == 0, lines)
        self.assertTrue(all("  the workers that had this batch died: " in line for line in lost), lost[0])
        self.assertRegex(summary, f"^{TOKENS} tokens, {TOKENS - len(lines)} pass, {len(lines)} do not; ")

    def test_NoScheduler(self):
        for address in ("tcp://127.0.0.1:1", "no address", "other://127.0.0.1:1"):
            with self.subTest(address):
                process = self.start(address, "--patience", "1")
                output, errors = process.communicate()
                self.assertEqual((process.returncode, output), (3, ""))
                self.assertIn(f"verify_archive: {address}: no scheduler with a worker answers", errors)
                self.assertIn("dask-scheduler", errors)
                self.assertEqual(len(errors.splitlines()), 2)

    def test_AKilledSchedulerEndsTheRun(self):
        with Cluster(self.work, 1) as cluster:
            process = self.start(cluster.address, "--progress")
            process.stderr.readline()
            cluster.processes[0].send_signal(signal.SIGKILL)
            _, errors = process.communicate()
        self.assertEqual(process.returncode, 3)
        self.assertIn("the scheduler has ended\nverify_archive: start it", errors)

    def test_AWorkerWithoutThePackage(self):
        with Cluster(self.work, 1, PYTHONPATH="") as cluster:
            process = self.start(cluster.address)
            output, errors = process.communicate()
        self.assertEqual((process.returncode, output), (3, ""))
        self.assertIn("No module named 'qex'", errors)
        self.assertIn("verify_archive: install qex and python3-qex on each machine\n", errors)

    def test_NoWorker(self):
        with Cluster(self.work, 0) as cluster:
            process = self.start(cluster.address, "--patience", "1")
            output, errors = process.communicate()
        self.assertEqual((process.returncode, output), (3, ""))
        self.assertIn("dask-worker", errors)

    def test_NothingToCheck(self):
        for folder, said in (("absent", "No such file"), ("keys", "no *.tsr below it")):
            with self.subTest(folder), Cluster(self.work, 1) as cluster:
                process = self.start(cluster.address, folder=os.path.join(self.work, folder))
                output, errors = process.communicate()
                self.assertEqual((process.returncode, output), (3, ""))
                self.assertIn(said, errors)

    def test_NoTool(self):
        before = os.environ["QEX_TOOL"]
        os.environ["QEX_TOOL"] = os.path.join(self.work, "absent")
        try:
            with Cluster(self.work, 1) as cluster:
                process = self.start(cluster.address)
                output, errors = process.communicate()
        finally:
            os.environ["QEX_TOOL"] = before
        self.assertEqual((process.returncode, output), (3, ""))
        self.assertIn(os.path.join(self.work, "absent"), errors)


if __name__ == "__main__":
    os.environ["QEX_LIBRARY"], os.environ["QEX_TOOL"] = map(os.path.abspath, sys.argv[1:3])
    os.environ["PYTHONPATH"] = os.path.join(ROOT, "bindings", "python")
    os.environ["PYTHONDONTWRITEBYTECODE"] = "1"
    del sys.argv[1:3]
    unittest.main()
