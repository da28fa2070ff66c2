"""Shared by the tests of many subjects: stamped files under one root, and process listings."""

import fcntl
import os
import sys
import termios
import time

import support
from pki import Pki
from support import ToolTest, openssl

CONTENT = b"what is to be stamped\n"


class ManyTest(ToolTest):
    """A reply and a request over CONTENT, made by openssl for the whole class."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.pki = Pki(cls.class_folder)
        cls.chain = cls.pki.chain(3)
        cls.root = cls.chain.root.path
        cls.query, cls.reply = cls.stamp(CONTENT)

    @classmethod
    def stamp(cls, content):
        """A request with a nonce over some octets, and the reply to it."""
        query = openssl("ts", "-query", "-data", cls.pki.file(content, ending=".data"), "-sha256", "-cert")
        configuration = (f"[authority]\nserial = {cls.pki.file(b'01', ending='.serial')}\nsigner_cert = {cls.chain.signer.path}\n"
                         f"signer_key = {cls.chain.signer.key}\nsigner_digest = sha256\ndefault_policy = 1.3.6.1.4.1.32473.1\n"
                         f"digests = sha256\ness_cert_id_alg = sha256\ncerts = {cls.chain.intermediates[0].path}\n")
        reply = openssl("ts", "-reply", "-section", "authority", "-queryfile", cls.pki.file(query, ending=".tsq"),
                        "-config", cls.pki.file(configuration.encode(), ending=".cnf"))
        return query, reply

    def stamped(self, name, content=CONTENT, reply=None, query=None):
        """A file with a reply and a request next to it; those of the class unless others are given."""
        path = os.path.join(os.fsencode(self.folder), os.fsencode(name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if content is not None:
            self.write(path, content)
        self.write(path + b".tsr", self.reply if reply is None else reply)
        self.write(path + b".tsq", self.query if query is None else query)
        return os.fsdecode(path)


def children(pid):
    """The processes that a process has forked."""
    try:
        with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
            return [int(word) for word in file.read().split()]
    except FileNotFoundError:
        return []


def descendants(pid):
    found = children(pid)
    return found + [below for child in found for below in descendants(child)]


def state(pid):
    """R, S, T, Z ...; nothing when the process is gone."""
    try:
        with open(f"/proc/{pid}/stat", encoding="ascii") as file:
            return file.read().rsplit(")", 1)[1].split()[0]
    except (FileNotFoundError, ProcessLookupError):
        return None


def waiting_octets(pid):
    """How much the standard input of a process, a pipe, has for it to read."""
    fd = os.open(f"/proc/{pid}/fd/0", os.O_RDONLY | os.O_NONBLOCK)
    count = fcntl.ioctl(fd, termios.FIONREAD, b"\0" * 4)
    os.close(fd)
    return int.from_bytes(count, sys.byteorder)


def wait_until(true, seconds=60):
    """Waits until something becomes true, and returns its value."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = true()
        if value:
            return value
        time.sleep(0.01)
    raise AssertionError("it does not become true")


def main():
    support.main()
