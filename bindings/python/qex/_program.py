"""A program that is kept open: a JSON object a line in, a document a line out, in the same order.

Two threads serve each run of it. The writer sends lines, the reader matches documents with what waits for them. When the
program ends with work left, another one is started and gets all of it again, so nothing is lost. The oldest job fails
after three such ends: it may be the cause.
"""

from __future__ import annotations

import collections
import concurrent.futures
import json
import os
import signal
import subprocess
import tempfile
import threading
import weakref
from typing import IO, Any, Iterable

from ._answer import Answer, answer_from
from ._record import QexError

_TRIES = 3
_STEP = 1 << 16
_LONGEST = 256 << 20  # octets of a document; those of qex are far shorter, whatever the token


class ToolError(QexError):
    """The program qex cannot be started, or does not do its work. The text says what to do."""


class Ended(ToolError):
    """The program ended again and again before it answered this job."""


class _Waiting:
    """A job that has no answer yet."""

    def __init__(self, line: bytes) -> None:
        self.line, self.ends = line, 0
        self.future: concurrent.futures.Future[Answer] = concurrent.futures.Future()


class _Run:
    """One run of the program, from its start to its end."""

    def __init__(self, command: list[str], lines: Iterable[bytes]) -> None:
        self.input = self.output = inner_in = inner_out = -1
        try:
            self.errors: IO[bytes] = tempfile.TemporaryFile()
            inner_in, self.input = os.pipe()
            self.output, inner_out = os.pipe()
            # A process group of its own: Ctrl-C at the terminal is for the caller to act on.
            self.process = subprocess.Popen(command, stdin=inner_in, stdout=inner_out, stderr=self.errors, process_group=0)
        except OSError as error:
            self.close_input()
            self.close_output()
            step = ("install the package qex, or name the program in the environment variable QEX_TOOL"
                    if error.filename == command[0] else "this process lacks what that takes; the next check tries again")
            raise ToolError(f"{command[0]} cannot be started: {error.strerror}; {step}") from None
        finally:
            for end in (inner_in, inner_out):
                if end >= 0:
                    os.close(end)
        self.to_send = collections.deque(lines)
        self.answered = 0
        self.finished = False

    def close_input(self) -> None:
        """Closes the pipe to the program once, whoever comes first: its thread, or the child of a fork."""
        end, self.input = self.input, -1
        if end >= 0:
            os.close(end)

    def close_output(self) -> None:
        """The same for the pipe from the program."""
        end, self.output = self.output, -1
        if end >= 0:
            os.close(end)


class Program:
    """The program and what waits for it. Any thread may submit."""

    def __init__(self, command: list[str]) -> None:
        self._command = command
        self._closing = False
        self._number = 0
        self._reset()
        _programs.add(self)

    def _reset(self) -> None:
        self._changed = threading.Condition()
        self._waiting: dict[int, _Waiting] = {}  # by their numbers, the oldest first
        self._run: _Run | None = None

    def submit(self, job: dict[str, Any]) -> concurrent.futures.Future[Answer]:
        """The answer to come for a job; starts the program when none runs."""
        with self._changed:
            if self._closing:
                raise ToolError("this checker is closed; make another")
            self._number += 1
            line = json.dumps({"id": self._number, **job}, ensure_ascii=False).encode() + b"\n"
            waiting = _Waiting(line)
            run = self._run or self._start()
            self._waiting[self._number] = waiting
            run.to_send.append(line)
            self._changed.notify_all()
            return waiting.future

    def close(self, wait: bool = True) -> None:
        """Lets the program end when all jobs are answered; with `wait`, returns then."""
        with self._changed:
            self._closing = True
            self._changed.notify_all()
            if wait:
                self._changed.wait_for(lambda: self._run is None)

    def _start(self) -> _Run:
        with _starting:
            self._run = run = _Run(self._command, (waiting.line for waiting in self._waiting.values()))
        threads = [threading.Thread(target=serve, args=(run,), daemon=True, name="qex") for serve in (self._write, self._read)]
        try:
            for thread in threads:
                thread.start()
        except RuntimeError as error:
            self._run, run.finished = None, True  # for the writer, if there is one
            self._changed.notify_all()
            run.process.kill()
            run.process.wait()
            run.close_output()
            if not threads[0].is_alive():
                run.close_input()
            raise ToolError(f"{self._command[0]} cannot be served: {error}; the next check tries again") from None
        return run

    def _write(self, run: _Run) -> None:
        signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGPIPE])  # the caller may have it end the process
        while True:
            with self._changed:
                self._changed.wait_for(lambda: run.to_send or self._closing or run.finished)
                if run.finished or not run.to_send:
                    break
                line = run.to_send.popleft()
            try:
                while line:
                    line = line[os.write(run.input, line):]
            except OSError:  # it has ended, which the reader sees too
                break
        run.close_input()

    def _read(self, run: _Run) -> None:
        held: list[bytes] = []  # the pieces of a line that is not whole
        size, fault = 0, ""
        while not fault:
            piece = os.read(run.output, _STEP)
            if not piece:
                break
            *lines, rest = piece.split(b"\n")
            for line in lines:
                fault = fault or self._answer(run, b"".join((*held, line)))
                held.clear()
                size = 0
            held.append(rest)
            size += len(rest)
            if size > _LONGEST:
                fault = fault or f"a line of more than {_LONGEST} octets"
        run.close_output()
        if fault:
            run.process.kill()
        self._end(run, run.process.wait(), fault)

    def _answer(self, run: _Run, line: bytes) -> str:
        """Hands a document to its job; returns what is wrong with it."""
        try:
            document = json.loads(line)
            if document["schema"] != 1:
                return f"documents of schema {document['schema']}, where 1 is known"
            number, answer = document["id"], answer_from(document)
            if type(number) is not int or type(answer.exit) is not int:  # what decides must be there
                raise TypeError
        except (ValueError, KeyError, TypeError, AttributeError, RecursionError):
            return "a line that is no document of qex"
        with self._changed:
            waiting = self._waiting.pop(number, None)
            if waiting is None:
                return f"a document for job {number}, which does not wait for one"
            run.answered += 1
        _set(waiting.future, answer)
        return ""

    def _end(self, run: _Run, status: int, fault: str) -> None:
        """Starts another run for the work that is left, or ends it."""
        run.errors.seek(0)
        said = run.errors.read(4096).decode("utf-8", "backslashreplace").strip()
        run.errors.close()
        failed: list[tuple[_Waiting, ToolError]] = []  # and why
        with self._changed:
            run.finished = True
            self._run = None
            if self._waiting and (fault or (status >= 0 and not run.answered)):
                # Another run would end the same way: it is another program, or its options are refused.
                why = f"wrote {fault}" if fault else f"ended with exit status {status}: {said or 'it says no more'}"
                failed = [(waiting, ToolError(f"{self._command[0]} {why}")) for waiting in self._waiting.values()]
                self._waiting.clear()
            elif self._waiting:
                number, oldest = next(iter(self._waiting.items()))
                oldest.ends += 1
                if oldest.ends == _TRIES:
                    del self._waiting[number]
                    how = f"signal {-status}" if status < 0 else f"exit status {status}"
                    failed = [(oldest, Ended(f"{self._command[0]} ended {_TRIES} times ({how}) before it answered"))]
            if self._waiting:
                try:
                    self._start()
                except ToolError as refusal:
                    failed += [(waiting, refusal) for waiting in self._waiting.values()]
                    self._waiting.clear()
            self._changed.notify_all()
        for waiting, error in failed:
            _set(waiting.future, error)

    def forget(self) -> None:
        """In the child of a fork: the run is the parent's; its threads are not here, and its pipes must not stay open."""
        if self._run is not None:
            self._run.close_input()
            self._run.close_output()
            self._run.process.returncode = 0  # not for this process to wait for
        self._reset()


def _set(future: concurrent.futures.Future[Answer], result: Answer | ToolError) -> None:
    if not future.set_running_or_notify_cancel():
        return
    if isinstance(result, ToolError):
        future.set_exception(result)
    else:
        future.set_result(result)


_programs: weakref.WeakSet[Program] = weakref.WeakSet()
# Held while a program starts: the child of a fork at that moment would keep the ends of its pipes, which nobody knows yet.
_starting = threading.Lock()


def _forget_all() -> None:
    _starting.release()
    for program in list(_programs):
        program.forget()


os.register_at_fork(before=_starting.acquire, after_in_parent=_starting.release, after_in_child=_forget_all)
