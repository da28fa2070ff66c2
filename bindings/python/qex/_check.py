"""check() and check_many(): the whole answer about a token, from one program qex that is kept open."""

from __future__ import annotations

import collections
import concurrent.futures
import os
import shutil
import threading
from typing import Iterable, Iterator, Union

from ._answer import Answer, Job, Octets, Refusal, StrPath, Trust, answer_from
from ._program import Ended, Program, ToolError

_Future = concurrent.futures.Future[Answer]
_AHEAD = 1024  # jobs that check_many hands out before it waits for the oldest answer


def _tool() -> str:
    """The program: the file of QEX_TOOL, else the qex of PATH."""
    chosen = os.environ.get("QEX_TOOL", "")
    if chosen:
        return os.path.abspath(chosen)
    found = shutil.which("qex")
    if found is None:
        raise ToolError("no program qex is in PATH; install the package qex, or name the program in the environment "
                        "variable QEX_TOOL")
    return os.path.abspath(found)


class Checker:
    """Checks tokens by one Trust with one program, which starts at the first check and ends with close().

    Any threads may use it at once. A program that is killed is started again and loses nothing. After a fork, the child
    starts a program of its own.
    """

    def __init__(self, trust: Trust, *, jobs: Union[int, None] = None) -> None:
        """`jobs` is how many checks run at once; one a core without it."""
        at_once = [] if jobs is None else ["-j", str(jobs)]
        self.trust = trust
        self._program = Program([_tool(), "verify", "--jobs", "-", *at_once, *trust.options()])

    def check(self, token: Union[Octets, StrPath, None] = None, *, file: Union[StrPath, None] = None, digest: str = "",
              request: Union[Octets, StrPath, None] = None, nonce: Union[int, str, None] = None,
              policy: str = "") -> Answer:
        """The answer about one token; Job describes the arguments."""
        return _answer(self._submit(Job(token=token, file=file, digest=digest, request=request, nonce=nonce, policy=policy)))

    def check_many(self, jobs: Iterable[Job]) -> Iterator[Answer]:
        """The answers in the order of the jobs, on all cores. It takes at most 1024 jobs ahead of the answers."""
        ahead: collections.deque[_Future] = collections.deque()
        process = os.getpid()

        def oldest() -> Answer:
            if os.getpid() != process:
                raise ToolError("these answers go to the process that asked for them; call check_many again after a fork")
            return _answer(ahead.popleft())

        for job in jobs:
            ahead.append(self._submit(job))
            while ahead and (len(ahead) >= _AHEAD or ahead[0].done()):
                yield oldest()
        while ahead:
            yield oldest()

    def _submit(self, job: Job) -> _Future:
        try:
            return self._program.submit(job.members())
        except Refusal as refusal:
            answered: _Future = concurrent.futures.Future()
            answered.set_result(answer_from(refusal.document()))
            return answered

    def close(self) -> None:
        """Waits for the answers that are still to come, and ends the program."""
        self._program.close()

    def __enter__(self) -> Checker:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        if hasattr(self, "_program"):
            self._program.close(wait=False)


def _answer(submitted: _Future) -> Answer:
    try:
        return submitted.result()
    except Ended as error:
        return answer_from(Refusal(70, str(error), "nothing is known about this one, so do not rely on it").document())


_lock = threading.Lock()
# The child of a fork gets the lock free, whatever other threads were doing.
os.register_at_fork(before=_lock.acquire, after_in_parent=_lock.release, after_in_child=_lock.release)
_checkers: dict[Trust, Checker] = {}


def _checker(trust: Trust) -> Checker:
    with _lock:
        if trust not in _checkers:
            _checkers[trust] = Checker(trust)
        return _checkers[trust]


def check(token: Union[Octets, StrPath, None] = None, *, trust: Trust, file: Union[StrPath, None] = None, digest: str = "",
          request: Union[Octets, StrPath, None] = None, nonce: Union[int, str, None] = None, policy: str = "") -> Answer:
    """The whole answer about one token: both readers, chain and every check, as `qex verify` gives it.

        answer = qex.check(reply, file="report.pdf", request=request, trust=qex.Trust(ca_file="roots.pem"))
        if not answer: print(answer.error)

    For each Trust one program is started and kept until this process ends. Job describes the other arguments. ToolError
    is raised when the program is missing or refuses the Trust; everything about the token is in the answer.
    """
    return _checker(trust).check(token, file=file, digest=digest, request=request, nonce=nonce, policy=policy)


def check_many(jobs: Iterable[Job], *, trust: Trust) -> Iterator[Answer]:
    """The answers about many tokens in the order of the jobs, on all cores, by the program that check() keeps."""
    return _checker(trust).check_many(jobs)
