"""qex.check: the answers about samples whose faults are known, in their order, whatever happens to the program."""

import base64
import concurrent.futures
import errno
import hashlib
import os
import pathlib
import pickle
import signal
import stat
import sys
import tempfile
import threading
import time

import pytest
from conftest import SAMPLES, STAMPED, field, openssl, peer, run_python, sample, text_of_reply

import qex

GOOD = sample("reply_sha256_v2_cert.der")
RIGHT = "sha256:" + hashlib.sha256(STAMPED).hexdigest()
WRONG = "sha256:" + hashlib.sha256(b"other data").hexdigest()


def damaged(octets):
    """With one bit of the signature changed, which is at the end of a sample."""
    return octets[:-1] + bytes([octets[-1] ^ 1])


def a_tool(folder, body):
    """A program in the place of qex. It reads a job a line; `body` may call say(job), and knows `runs`, its starts."""
    path = folder / "tool"
    path.write_text(f"""#!{sys.executable}
import json, os, signal, sys, time
count = {str(folder / "runs")!r}
with open(count, "a") as file: file.write(".")
runs = os.path.getsize(count)
def say(job, **more):
    print(json.dumps({{"id": job["id"], "schema": 1, "exit": 0, "error": None, "hint": None, "digest": job.get("digest"), **more}}), flush=True)
for line in sys.stdin:
    job = json.loads(line)
{body}
""")
    path.chmod(path.stat().st_mode | stat.S_IXUSR)
    return str(path)


def process_of(checker):
    return checker._program._run.process


# --- What is answered ------------------------------------------------------------


def test_good_token_passes_with_all_its_checks(trust, tmp_path):
    data = tmp_path / "data"
    data.write_bytes(STAMPED)
    answer = qex.check(GOOD, file=data, request=sample("request_sha256_cert.der"), trust=trust)
    assert answer and answer.passed and answer.authority_checked
    assert (answer.exit, answer.error, answer.hint, answer.indication, answer.sub_indication) == (0, None, None, "PASSED", None)
    verdicts = {check.name: check.verdict for check in answer.checks}
    assert verdicts == {**dict.fromkeys(("status", "request", "imprint", "nonce", "structure", "time", "signature", "signer",
                                         "key_usage", "dates", "chain"), "pass"), "policy": "skip", "revocation": "skip"}
    assert answer.failures == ()
    stamped = field(text_of_reply("reply_sha256_v2_cert.der"), "Time stamp")
    assert answer.time.strftime("%b %e %H:%M:%S.") + f"{answer.time.microsecond // 1000:03} " + answer.time.strftime("%Y GMT") == stamped
    assert answer.document["token"]["imprint"] == RIGHT.removeprefix("sha256:")


def test_tokens_are_taken_as_octets_pem_and_paths(trust, tmp_path, monkeypatch):
    token = openssl("ts", "-reply", "-in", str(SAMPLES / "reply_sha256_v2_cert.der"), "-token_out")
    pem = openssl("pkcs7", "-inform", "DER", octets=token)
    for given in (GOOD, bytearray(GOOD), memoryview(token), token, pem, SAMPLES / "reply_sha256_v2_cert.der",
                  str(SAMPLES / "reply_sha256_v2_cert.der")):
        assert qex.check(given, digest=RIGHT, trust=trust), given
    qex.check(GOOD, trust=trust)  # the program runs; it keeps another folder than the caller's
    (tmp_path / "data").write_bytes(STAMPED)
    (tmp_path / "data.tsr").write_bytes(GOOD)
    monkeypatch.chdir(tmp_path)
    assert qex.check("data.tsr", file="data", trust=trust)
    assert qex.check(file=pathlib.Path("data"), trust=trust)


@pytest.mark.parametrize("job, exit_status, failure", [
    (dict(token=GOOD, digest=WRONG), 1, "imprint"),
    (dict(token=GOOD, request=sample("request_sha256_bare.der")), 0, None),
    (dict(token=GOOD, request=sample("request_sha512_cert.der")), 1, "request"),
    (dict(token=GOOD, nonce=1), 1, "nonce"),
    (dict(token=GOOD, nonce="zz"), 2, None),
    (dict(token=GOOD, nonce=""), 2, None),
    (dict(token=GOOD, policy="1.2.3"), 1, "policy"),
    (dict(token=damaged(sample("reply_sha256_v2_cert.der"))), 1, "signature"),
    (dict(token=peer("token_rsa2048_sha256_v2.der")), 1, "chain"),
    (dict(token=sample("reply_rejected.der")), 5, None),
    (dict(token=sample("request_sha256_cert.der")), 4, None),
    (dict(token=GOOD[:-1]), 4, None),
    (dict(token=b"\x30"), 4, None),
    (dict(token=b""), 4, None),
    (dict(token=b"/etc/hostname"), 4, None),
    (dict(token=b"-----BEGIN PKCS7-----\nZ2FyYmFnZQ==\n-----END PKCS7-----\n"), 4, None),
    (dict(token=bytes(17 << 20)), 4, None),
    (dict(token="/absent"), 3, None),
    (dict(token=os.fsdecode(b"/absent\xff")), 3, None),
    (dict(token="/absent\0"), 2, None),
    (dict(), 2, None),
    (dict(token=GOOD, file="/absent"), 3, None),
])
def test_what_is_wrong_is_said(trust, job, exit_status, failure):
    answer = qex.check(**job, trust=trust)
    assert answer.exit == exit_status and bool(answer) == (exit_status == 0)
    assert (answer.error is None) == (answer.hint is None) == (exit_status == 0)
    if failure:
        assert answer.failures[0].name == failure
    assert qex.check(GOOD, trust=trust), "the next one passes"


def test_nonce_is_a_number(trust):
    nonce = int(field(text_of_reply("reply_sha256_v2_cert.der"), "Nonce"), 16)
    assert qex.check(GOOD, nonce=nonce, trust=trust)
    assert qex.check(GOOD, nonce=f"{nonce:x}", trust=trust)


def test_octets_are_never_taken_for_a_path(trust, tmp_path, monkeypatch):
    """Octets whose base64 is the name of a good token's file."""
    monkeypatch.chdir(tmp_path)
    for name in ("MIIabcde", "abcdefgh"):
        (tmp_path / name).write_bytes(GOOD)
        with qex.Checker(trust) as checker:  # in this folder
            assert checker.check(name)
            assert checker.check(base64.b64decode(name)).exit == 4


def test_trust_is_what_the_options_say(root_pem, tmp_path):
    tsa = tmp_path / "tsa.der"
    tsa.write_bytes(sample("certificate_tsa.der"))
    digest = hashlib.sha256(sample("certificate_tsa.der")).hexdigest()
    for trust, passes in ((qex.Trust(tsa_cert=tsa), True), (qex.Trust(tsa_cert=[str(tsa), root_pem]), True),
                          (qex.Trust(tsa_fingerprint="sha256:" + digest), True), (qex.Trust(tsa_cert=root_pem), False),
                          (qex.Trust(tsa_fingerprint="sha256:" + "0" * 64), False),
                          (qex.Trust(insecure_any_signer=True), True),
                          (qex.Trust(ca_file=root_pem, at="2020-01-01T00:00:00Z"), False),
                          (qex.Trust(ca_file=root_pem, crl=SAMPLES / "crl_root.der", at="now"), True)):
        with qex.Checker(trust, jobs=1) as checker:
            assert bool(checker.check(GOOD)) == passes, trust
    with qex.Checker(qex.Trust(ca_file=root_pem, ess="v1")) as checker:
        assert not checker.check(GOOD)


def test_nobody_is_trusted_by_default():
    for trust in ({}, {"untrusted": "x"}, {"crl": ["x"]}, {"allow_weak": True}):
        with pytest.raises(ValueError, match="nobody is trusted"):
            qex.Trust(**trust)


def test_paths_that_no_program_can_be_told_are_refused(trust):
    with pytest.raises(ValueError, match="ca_file: a path holds a NUL"):
        qex.Trust(ca_file="roots\0.pem")
    with pytest.raises(TypeError, match="file: a path is a str"):
        qex.check(GOOD, file=b"/etc/hostname", trust=trust)


def test_jobs_trust_and_answers_can_be_sent_to_other_processes(trust):
    job, kept = pickle.loads(pickle.dumps((qex.Job(token=GOOD), trust)))
    assert kept == trust and hash(kept) == hash(trust) and job == qex.Job(token=GOOD)
    answer = next(qex.check_many([job], trust=kept))
    assert pickle.loads(pickle.dumps(answer)) == answer and answer


# --- Many --------------------------------------------------------------------------


def test_answers_come_in_the_order_of_the_jobs(trust):
    wrong = [number % 7 in (2, 3) for number in range(300)]
    jobs = (qex.Job(token=GOOD, digest=WRONG if other else RIGHT) for other in wrong)
    assert [not answer for answer in qex.check_many(jobs, trust=trust)] == wrong


def test_jobs_that_no_program_sees_keep_their_place(trust):
    jobs = [qex.Job(token=token) for token in (GOOD, b"none", GOOD, os.fsdecode(b"\xff"), GOOD)]
    assert [answer.exit for answer in qex.check_many(jobs, trust=trust)] == [0, 4, 0, 3, 0]


def test_no_more_jobs_are_taken_than_answers_need(tmp_path, monkeypatch, trust):
    monkeypatch.setenv("QEX_TOOL", a_tool(tmp_path, """
    if job["id"] == 1: time.sleep(0.5)
    say(job)"""))
    taken = 0

    def endless():
        nonlocal taken
        while True:
            taken += 1
            yield qex.Job(token=GOOD)

    checker = qex.Checker(trust)
    answers = checker.check_many(endless())
    assert next(answers) and taken == 1024
    assert all(next(answers) for _ in range(3000)) and taken <= 3001 + 1024
    checker.close()


def test_threads_share_a_checker(trust):
    def work(number):
        return bool(checker.check(GOOD, digest=WRONG if number % 3 else RIGHT)) == (number % 3 == 0)

    with qex.Checker(trust) as checker, concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert all(pool.map(work, range(200)))


# --- The program ends ------------------------------------------------------------


@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGTERM])
def test_killed_program_loses_nothing(trust, number):
    wrong = [number % 5 == 3 for number in range(400)]
    killed = 0
    with qex.Checker(trust) as checker:
        answers = []
        for answer in checker.check_many(qex.Job(token=GOOD, digest=WRONG if other else RIGHT) for other in wrong):
            answers.append(not answer)
            if len(answers) in (1, 100, 250):
                process_of(checker).send_signal(number)
                killed += 1
    assert (answers, killed) == (wrong, 3)


def test_program_killed_while_idle_is_replaced(trust):
    with qex.Checker(trust) as checker:
        assert checker.check(GOOD)
        first = process_of(checker)
        first.kill()
        assert checker.check(GOOD)
        assert process_of(checker) is not first


def test_job_at_which_the_program_always_ends_is_given_up(trust, tmp_path, monkeypatch):
    monkeypatch.setenv("QEX_TOOL", a_tool(tmp_path, """
    if job["digest"] == "bad": os.kill(os.getpid(), signal.SIGKILL)
    say(job)"""))
    jobs = [qex.Job(token=GOOD, digest=digest) for digest in ("a", "b", "bad", "c", "bad", "d")]
    with qex.Checker(trust) as checker:
        answers = list(checker.check_many(jobs))
    assert [answer.exit for answer in answers] == [0, 0, 70, 0, 70, 0]
    assert [answer.document.get("digest") for answer in answers] == ["a", "b", None, "c", None, "d"]
    assert "ended 3 times (signal 9)" in answers[2].error and answers[2].hint
    assert (tmp_path / "runs").stat().st_size == 7


def test_closed_checker_has_ended_its_program(trust):
    checker = qex.Checker(trust)
    assert checker.check(GOOD)
    process = process_of(checker)
    checker.close()
    assert process.returncode == 0
    with pytest.raises(qex.ToolError, match="closed"):
        checker.check(GOOD)


def test_dropped_checker_ends_its_program(trust):
    checker = qex.Checker(trust)
    assert checker.check(GOOD)
    process = process_of(checker)
    del checker
    process.wait(timeout=30)


def test_child_of_a_fork_has_a_program_of_its_own(trust):
    with qex.Checker(trust) as checker:
        assert checker.check(GOOD)
        first = process_of(checker)
        child = os.fork()
        if child == 0:
            status = 1
            try:
                status = 0 if checker.check(GOOD) and process_of(checker).pid != first.pid else 2
            finally:
                os._exit(status)
        assert os.waitpid(child, 0)[1] == 0
        assert checker.check(GOOD) and process_of(checker) is first


def test_child_of_a_fork_does_not_wait_for_the_answers_of_its_parent(trust):
    with qex.Checker(trust) as checker:
        answers = checker.check_many(qex.Job(token=GOOD) for _ in range(3000))
        assert next(answers)
        child = os.fork()
        if child == 0:
            signal.alarm(20)
            try:
                list(answers)
            except qex.ToolError as error:
                os._exit(0 if "after a fork" in str(error) else 1)
            os._exit(2)
        assert os.waitpid(child, 0)[1] == 0
        assert all(answers)


def test_fork_waits_for_locks_that_other_threads_hold(trust):
    from qex import _check, _load, _program
    for lock in (_check._lock, _load._lock, _program._starting):
        lock.acquire()
        threading.Timer(0.2, lock.release).start()
        child = os.fork()
        if child == 0:
            os._exit(0 if lock.acquire(timeout=5) else 1)
        assert os.waitpid(child, 0)[1] == 0 and lock.acquire(timeout=5)
        lock.release()


def test_child_of_a_fork_does_not_keep_the_program_open(trust):
    checker = qex.Checker(trust)
    assert checker.check(GOOD)
    until, ended = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(ended)
        os.read(until, 1)
        os._exit(0)
    os.close(until)
    closing = threading.Thread(target=checker.close, daemon=True)
    closing.start()
    closing.join(timeout=20)
    closed = not closing.is_alive()
    os.close(ended)
    os.waitpid(child, 0)
    assert closed


def test_no_fork_comes_between_while_a_program_starts(trust, monkeypatch):
    from qex import _program
    held = []
    start = _program._Run.__init__
    monkeypatch.setattr(_program._Run, "__init__", lambda *given: held.append(_program._starting.locked()) or start(*given))
    with qex.Checker(trust) as checker:
        assert checker.check(GOOD)
    assert held == [True]


def test_program_does_not_outlive_its_python(root_pem):
    program = ("import sys, qex\n"
               "qex.check(sys.argv[2], trust=qex.Trust(ca_file=sys.argv[1]))\n"
               "from qex import _check; print(next(iter(_check._checkers.values()))._program._run.process.pid)")
    done = run_python(program, str(root_pem), str(SAMPLES / "reply_sha256_v2_cert.der"))
    assert (done.returncode, done.stderr) == (0, "")
    deadline = time.monotonic() + 30
    while os.path.exists(f"/proc/{int(done.stdout)}"):
        assert time.monotonic() < deadline
        time.sleep(0.01)


# --- The program is not what it should be ----------------------------------------


def complaint(trust):
    with qex.Checker(trust) as checker:
        with pytest.raises(qex.ToolError) as raised:
            checker.check(GOOD)
        with pytest.raises(qex.ToolError):
            list(checker.check_many([qex.Job(token=GOOD)] * 3))
    return str(raised.value)


def test_missing_program(trust, monkeypatch, tmp_path):
    monkeypatch.setenv("QEX_TOOL", str(tmp_path / "absent"))
    said = complaint(trust)
    assert "absent cannot be started: No such file" in said and "install the package qex" in said
    (tmp_path / "absent").write_text("not executable")
    assert "Permission denied" in complaint(trust)
    monkeypatch.delenv("QEX_TOOL")
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(qex.ToolError, match="no program qex is in PATH; install the package qex, or name"):
        qex.Checker(trust)


def test_trust_that_the_program_refuses(tmp_path):
    said = complaint(qex.Trust(ca_file=tmp_path / "absent.pem"))
    assert "exit status 3" in said and "absent.pem: cannot be opened" in said and "hint" in said


@pytest.mark.parametrize("body, said", [
    ("    print('garbage', flush=True)", "a line that is no document of qex"),
    ("    say(job, schema=2)", "documents of schema 2"),
    ("    say(job, id=77)", "a document for job 77"),
    ("    say(job, id=[1])", "a line that is no document of qex"),
    ("    say(job, exit=None)", "a line that is no document of qex"),
    ("    say(job, exit=False)", "a line that is no document of qex"),
    ("    say(job, exit='0')", "a line that is no document of qex"),
    ("    say(job, exit=float('inf'))", "a line that is no document of qex"),
    ("    say(job, id=float('inf'))", "a line that is no document of qex"),
    ("    say(job, checks=[1])", "a line that is no document of qex"),
    ("    print(json.dumps({'id': job['id'], 'schema': 1, 'exit': 0}), flush=True)", "a line that is no document of qex"),
    ("    print('[' * 100000, flush=True)", "a line that is no document of qex"),
    ("    sys.exit('usage: other')", "exit status 1: usage: other"),
])
def test_another_program(trust, tmp_path, monkeypatch, body, said):
    monkeypatch.setenv("QEX_TOOL", a_tool(tmp_path, body))
    assert said in complaint(trust)


def test_answer_without_a_readable_time_has_none(trust, tmp_path, monkeypatch):
    monkeypatch.setenv("QEX_TOOL", a_tool(tmp_path, """    say(job, token=json.loads(job["digest"]))"""))
    with qex.Checker(trust) as checker:
        for token in ("null", "{}", '{"time": null}', '{"time": 5}', '{"time": "soon"}'):
            assert checker.check(digest=token).time is None


def test_line_that_does_not_end_is_no_document(trust, tmp_path, monkeypatch):
    from qex import _program
    monkeypatch.setattr(_program, "_LONGEST", 1 << 20)
    monkeypatch.setenv("QEX_TOOL", a_tool(tmp_path, """    say(job, hint=" " * 1000000)"""))
    with qex.Checker(trust) as checker:
        assert len(checker.check(GOOD).hint) == 1000000
    monkeypatch.setenv("QEX_TOOL", a_tool(tmp_path, """
    while True: print(" " * 65536, end="", flush=True)"""))
    assert "a line of more than 1048576 octets" in complaint(trust)


# --- What the machine lacks ------------------------------------------------------


def no_descriptor(monkeypatch):
    def fail():
        raise OSError(errno.EMFILE, os.strerror(errno.EMFILE))
    monkeypatch.setattr(os, "pipe", fail)


def no_room_for_files(monkeypatch):
    monkeypatch.setattr(tempfile, "tempdir", "/absent")


def no_thread(monkeypatch):
    def fail(thread):
        raise RuntimeError("can't start new thread")
    monkeypatch.setattr(threading.Thread, "start", fail)


def second_thread(monkeypatch):
    start, begun = threading.Thread.start, []

    def one(thread):
        if begun:
            raise RuntimeError("can't start new thread")
        begun.append(start(thread))
    monkeypatch.setattr(threading.Thread, "start", one)


@pytest.mark.parametrize("take", [no_descriptor, no_room_for_files, no_thread, second_thread])
def test_program_that_cannot_start_for_now_is_an_error_and_the_next_check_starts_it(trust, monkeypatch, take):
    with qex.Checker(trust) as checker:
        with monkeypatch.context() as lack:
            take(lack)
            with pytest.raises(qex.ToolError, match="the next check tries again"):
                checker.check(GOOD)
        assert checker.check(GOOD)
        first = process_of(checker)
        first.send_signal(signal.SIGSTOP)  # it leaves the job undone
        waiting = checker._submit(qex.Job(token=GOOD))
        with monkeypatch.context() as lack:
            take(lack)
            first.kill()
            with pytest.raises(qex.ToolError, match="the next check tries again"):
                waiting.result(timeout=20)
        assert checker.check(GOOD)


def test_many_threads_wait_while_the_program_is_replaced(trust):
    stop = threading.Event()

    def kill():
        while not stop.wait(0.05):
            run = checker._program._run
            if run is not None:
                run.process.kill()

    with qex.Checker(trust) as checker, concurrent.futures.ThreadPoolExecutor(4) as pool:
        killer = threading.Thread(target=kill)
        killer.start()
        try:
            assert {answer.exit for answer in pool.map(lambda _: checker.check(GOOD), range(100))} <= {0, 70}
        finally:
            stop.set()
            killer.join()
