#!/usr/bin/env python3
"""Checks an archive of tokens on many machines, with dask.distributed: every FILE.tsr below a folder, each beside its FILE.

Each worker keeps one program `qex` open. Results come in the order of the names. A worker that dies loses nothing: the
others do its share again. All machines see the archive, and the files with roots and lists, under the same paths.

Prints a line for each token that does not pass, then a summary. Exit status: 0 when every token passes, 1 when one does
not, 2 for wrong usage, 3 when the archive or the cluster cannot be reached.

usage: verify_archive.py --scheduler HOST:PORT --ca-file ROOTS [--crl FILE] [--batch N] [--patience SECONDS] [--progress]
       FOLDER
"""

import argparse
import collections
import itertools
import os
import sys
import time

import qex
from distributed import CancelledError, Client, KilledWorker, WorkerPlugin, get_worker
from distributed.comm import CommClosedError

AHEAD = 4      # batches for each thread of the workers: enough to keep it busy, and memory stays bounded


class KeepChecker(WorkerPlugin):
    """Gives each worker a Checker of its own, with as many checks at once as the worker has threads."""

    name = "qex"

    def __init__(self, trust):
        self.trust = trust

    def setup(self, worker):
        worker.qex = qex.Checker(self.trust, jobs=worker.state.nthreads)

    def teardown(self, worker):
        worker.qex.close()


def check_batch(paths):
    """On a worker: exit status and error of each token."""
    answers = get_worker().qex.check_many(qex.Job(token=path, file=path.removesuffix(".tsr")) for path in paths)
    return [(answer.exit, answer.error) for answer in answers]


def tokens_below(folder):
    """The paths of all tokens, in order. A folder that cannot be read ends the run: no token is passed over unseen."""
    def fail(error):
        raise error
    for where, folders, names in os.walk(os.path.abspath(folder), onerror=fail):
        folders.sort()
        yield from (os.path.join(where, name) for name in sorted(names) if name.endswith(".tsr"))


def batches(paths, size):
    while batch := list(itertools.islice(paths, size)):
        yield batch


def results(client, paths, size):
    """Path, exit status and error of each token in order, in batches of `size`; a bounded number is under way."""
    ahead = collections.deque()

    def oldest():
        batch, future = ahead.popleft()
        try:
            return zip(batch, future.result())
        except KilledWorker as error:
            said = f"the workers that had this batch died: {error}"
            return ((path, (70, said)) for path in batch)

    for batch in batches(paths, size):
        ahead.append((batch, client.submit(check_batch, batch, pure=False)))
        if len(ahead) >= AHEAD * max(1, sum(client.nthreads().values())):
            yield from oldest()
    while ahead:
        yield from oldest()


def one_line(text):
    """Foreign text, without what would move the cursor, hide or end the line."""
    return "".join(c if c.isprintable() else c.encode("unicode_escape", "surrogatepass").decode() for c in text or "")


def connect(address, patience):
    client = Client(address, timeout=patience)
    client.wait_for_workers(1, timeout=patience)
    return client


def complain(*lines):
    for line in lines:
        print(f"verify_archive: {one_line(line)}", file=sys.stderr)
    return 3


def verify(client, options):
    begun, count, failed = time.monotonic(), 0, collections.Counter()
    for path, (status, error) in results(client, tokens_below(options.folder), options.batch):
        count += 1
        if status != 0:
            failed[status] += 1
            print(f"{status:2}  {one_line(path)}  {one_line(error)}", flush=True)
        if options.progress and count % options.batch == 0:
            print(f"{count} checked", file=sys.stderr, flush=True)
    if count == 0:
        raise OSError(f"{options.folder}: no *.tsr below it; name the folder that holds files and their replies")
    seconds = time.monotonic() - begun
    print(f"{count} tokens, {count - failed.total()} pass, {failed.total()} do not; {seconds:.1f} s, "
          f"{count / seconds:.0f} a second")
    return 1 if failed else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("folder", metavar="FOLDER")
    parser.add_argument("--scheduler", required=True, metavar="HOST:PORT")
    parser.add_argument("--ca-file", required=True, action="append", metavar="ROOTS")
    parser.add_argument("--crl", action="append", default=[], metavar="FILE")
    parser.add_argument("--batch", type=int, default=200, metavar="N", help="tokens a task (200)")
    parser.add_argument("--patience", type=float, default=30, metavar="SECONDS",
                        help="how long scheduler and first worker may take to answer (30)")
    parser.add_argument("--progress", action="store_true", help="count on standard error")
    options = parser.parse_args()
    if options.batch < 1:
        parser.error("--batch: at least 1")
    trust = qex.Trust(ca_file=options.ca_file, crl=options.crl)
    try:
        client = connect(options.scheduler, options.patience)
    except (OSError, TimeoutError, ValueError) as error:
        return complain(f"{options.scheduler}: no scheduler with a worker answers: {error}",
                        "start them with `dask-scheduler` and, on each machine, `dask-worker HOST:PORT`")
    with client:
        try:
            client.register_worker_plugin(KeepChecker(trust))
        except Exception as error:  # whatever a worker says
            return complain(f"a worker cannot be prepared: {error}", "install qex and python3-qex on each machine")
        try:
            return verify(client, options)
        except (CancelledError, CommClosedError):
            return complain(f"{options.scheduler}: the scheduler has ended", "start it and the workers again, and then this")
        except (OSError, qex.QexError) as error:
            return complain(str(error))


if __name__ == "__main__":
    sys.exit(main())
