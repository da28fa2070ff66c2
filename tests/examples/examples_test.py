"""The examples do what they say, on samples that openssl made and against the test authority. What is expected is
what the openssl command reads from the same message.

usage: examples_test.py MAKE_REQUEST VERIFY_REPLY READ_TOKEN STAMP STAMP_FILE [EMULATOR...]

STAMP and STAMP_FILE are `-` where they cannot be built. EMULATOR is the command that runs a program for another machine.
"""

import hashlib
import os
import re
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

sys.dont_write_bytecode = True
HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
SAMPLES = os.path.join(ROOT, "tests", "data", "samples")
sys.path.insert(0, os.path.join(ROOT, "tests", "authority"))
from authority_test import Running  # noqa: E402

# The data of tests/data/make_samples.sh.
STAMPED = b"the data to be stamped\n"
OK, REFUSED, USAGE = 0, 1, 2
SHA256 = "2.16.840.1.101.3.4.2.1"
MAKE_REQUEST = VERIFY_REPLY = READ_TOKEN = STAMP = STAMP_FILE = None
EMULATOR = []


def sample(name):
    return os.path.join(SAMPLES, name)


def openssl(*arguments):
    """What the command prints, without the names that the configuration of this machine has for policies."""
    return subprocess.run(["openssl", *arguments], check=True, capture_output=True, text=True, timeout=60,
                          env={**os.environ, "OPENSSL_CONF": os.devnull}).stdout


def field(text, name):
    """The value of a line of openssl's."""
    return re.search(rf"^{name}: (.*)$", text, re.MULTILINE)[1].strip()


def imprint(text):
    """The hash in a dump of openssl's."""
    dump = re.search(r"Message data:\n((?:    .*\n)+)", text)[1]
    return "".join(re.sub(r"[ -]", "", line[11:58]) for line in dump.splitlines())


def time_of(text):
    """openssl's `Nov 20 11:51:26.977 2026 GMT` as the examples print it."""
    month, day, clock, year, _ = field(text, "Time stamp").split()
    months = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
    return f"{year}-{months.index(month) + 1:02}-{int(day):02} {clock} UTC"


def accuracy_of(text):
    said = field(text, "Accuracy")
    return ", ".join(
        "{} {}".format(int(found[1], 16) if (found := re.search(rf"(0x[0-9A-F]+) {unit}", said)) else 0, short)
        for unit, short in (("seconds", "s"), ("millis", "ms"), ("micros", "us")))


def name_of(text):
    """openssl's `DirName:/C=SE/emailAddress=a@b` as the library writes it."""
    said = field(text, "TSA")
    if said == "unspecified":
        return "-"
    parts = said.removeprefix("DirName:/").split("/")
    names = {"emailAddress": "E", "serialNumber": "SerialNumber"}
    return ";".join(f"{names.get(name, name)}={value}" for name, value in (part.split("=", 1) for part in parts))


class ExamplesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qex-examples-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.data = self.file("data", STAMPED)

    def path(self, name):
        return os.path.join(self.folder, name)

    def file(self, name, octets):
        with open(self.path(name), "wb") as file:
            file.write(octets)
        return self.path(name)

    @staticmethod
    def octets(path):
        with open(path, "rb") as file:
            return file.read()

    def ends(self, status, program, *arguments, **environment):
        """The output of a program that is expected to end with `status`; on failure it says why."""
        clean = {name: value for name, value in os.environ.items() if name != "QEX_VERIFY_ESSCERTIDV2"}
        done = subprocess.run([*EMULATOR, program, *arguments], capture_output=True, text=True, timeout=60, check=False,
                              stdin=subprocess.DEVNULL, env={**clean, **environment})
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual(done.stderr == "", status == OK, done.stderr)
        return done.stdout if status == OK else done.stderr

    def test_UsageAndFilesThatAreMissingAreNamed(self):
        for program, count in ((MAKE_REQUEST, 2), (VERIFY_REPLY, 3), (READ_TOKEN, 1)):
            with self.subTest(program):
                self.assertIn("usage: " + os.path.basename(program).removesuffix(".exe"), self.ends(USAGE, program))
                self.assertIn("usage: ", self.ends(USAGE, program, *["x"] * (count + 2)))
                self.assertIn("No such file", self.ends(USAGE, program, *[self.path("absent")] * count))

    def test_CodesHaveTheTextsOfTheLibrarysTable(self):
        table = self.octets(os.path.join(ROOT, "api", "result_texts.cpp")).decode()
        rows = dict(re.findall(r'\{(QEX_\w+),\s*"QEX_\w+",\s*"([^"]*)"\}', table))
        support = self.octets(os.path.join(ROOT, "examples", "support.h")).decode()
        texts = dict(re.findall(r'case (QEX_\w+):\s*text = "([^"]*)";', support))
        self.assertEqual(rows.pop("QEX_OK"), "success")
        self.assertGreater(len(rows), 10)
        self.assertEqual(texts, rows)

    # --- make_request ------------------------------------------------------------

    def test_RequestIsForTheFileWithANonceAndTheWishForACertificate(self):
        nonces = set()
        for _ in range(5):
            self.assertEqual(self.ends(OK, MAKE_REQUEST, self.data, self.path("request")), "")
            text = openssl("ts", "-query", "-in", self.path("request"), "-text")
            self.assertEqual(field(text, "Hash Algorithm"), "sha256")
            self.assertEqual(imprint(text), hashlib.sha256(STAMPED).hexdigest())
            self.assertEqual(field(text, "Certificate required"), "yes")
            self.assertRegex(field(text, "Nonce"), "^0x[4-7][0-9A-F]{15}$")
            nonces.add(field(text, "Nonce"))
        self.assertEqual(len(nonces), 5)

    def test_RequestThatCannotBeWrittenIsReported(self):
        self.assertIn("No such file", self.ends(USAGE, MAKE_REQUEST, self.data, self.path("absent/request")))
        if os.path.exists("/dev/full"):
            self.assertIn("No space", self.ends(USAGE, MAKE_REQUEST, self.data, "/dev/full"))

    # --- verify_reply ------------------------------------------------------------

    def verify(self, status, reply, *more, data=None, certificate="certificate_tsa.der", **environment):
        return self.ends(status, VERIFY_REPLY, data or self.data, reply, sample(certificate), *more, **environment)

    def test_SampleVerifiesWhateverTheEnvironmentSays(self):
        reply = sample("reply_sha256_v2_cert.der")
        for environment in ({}, {"QEX_VERIFY_ESSCERTIDV2": "0"}, {"QEX_VERIFY_ESSCERTIDV2": "1"}):
            text = self.verify(OK, reply, sample("request_sha256_cert.der"), **environment)
            self.assertRegex(text, r"^.*data: stamped at 20\d{12}\.\d+Z\n$")
        self.verify(OK, sample("reply_sha256_v2_bare.der"), sample("request_sha256_bare.der"))
        self.verify(OK, sample("reply_sha256_v2_sha512_cert.der"))

    def test_OtherPartiesAreRefused(self):
        reply = sample("reply_sha256_v2_cert.der")
        self.assertIn("other data", self.verify(REFUSED, reply, data=self.file("other", b"other data\n")))
        self.assertIn("signature does not verify", self.verify(REFUSED, reply, certificate="certificate_root.der"))
        self.assertIn("nonce", self.verify(REFUSED, reply, sample("request_sha512_cert.der")))
        self.assertIn("nonce", self.verify(REFUSED, reply, sample("request_sha256_bare.der")))
        self.assertIn("bad argument", self.verify(REFUSED, reply, certificate="request_sha256_cert.der"))
        empty = self.file("empty", b"")
        self.assertIn("empty", self.ends(REFUSED, VERIFY_REPLY, self.data, reply, empty))

    def test_TokenOfTheFirstVersionAloneIsRefused(self):
        self.assertIn("code -6", self.verify(REFUSED, sample("reply_sha256_v1_cert.der")))

    def test_RejectionIsReportedWithTheWordsOfTheAuthority(self):
        reply = sample("reply_rejected.der")
        text = self.verify(REFUSED, reply)
        words = field(openssl("ts", "-reply", "-in", reply, "-text"), "Status description").rstrip(".")
        self.assertIn(f"the TSA says: {words}", text)
        self.assertIn("the authority did not grant the request (code -9", text)

    def test_FileOfAnotherKindIsRefused(self):
        for name in ("request_sha256_cert.der", "certificate_tsa.der", "token_sha256_v2_cert.der"):
            with self.subTest(name):
                self.assertIn("does not decode", self.verify(REFUSED, sample(name)))
        self.assertIn("too long", self.verify(REFUSED, self.file("long", bytes(1 << 20 | 1))))

    def test_ReplyWithOneChangedOctetIsRefused(self):
        reply = self.octets(sample("reply_sha256_v2_bare.der"))
        imprint_at = reply.index(hashlib.sha256(STAMPED).digest())
        signature_at = len(reply) - 256
        for at in (imprint_at, imprint_at + 31, imprint_at + 40, signature_at, signature_at + 128, len(reply) - 1):
            damaged = bytearray(reply)
            damaged[at] ^= 1
            with self.subTest(at=at):
                self.verify(REFUSED, self.file("damaged", damaged), sample("request_sha256_bare.der"))

    # --- read_token --------------------------------------------------------------

    def token(self, reply):
        openssl("ts", "-reply", "-in", reply, "-token_out", "-out", self.path("token"))
        return self.path("token")

    def expect_read(self, reply):
        text = openssl("ts", "-reply", "-in", reply, "-text")
        digests = {"sha1": "1.3.14.3.2.26", "sha256": SHA256}
        self.assertEqual(self.ends(OK, READ_TOKEN, self.token(reply)).splitlines(), [
            "time      " + time_of(text),
            "accuracy  " + accuracy_of(text),
            "serial    " + field(text, "Serial number").lower(),
            "policy    " + field(text, "Policy OID"),
            "imprint   " + digests[field(text, "Hash Algorithm")] + " " + imprint(text),
            "tsa       " + name_of(text)])

    def test_TokenReadsAsOpensslReadsIt(self):
        for reply in ("reply_sha1_v1_cert.der", "reply_sha256_v1_bare.der", "reply_sha256_v2_cert.der",
                      "reply_sha256_v2_sha512_cert.der"):
            with self.subTest(reply):
                self.expect_read(sample(reply))

    def test_DamagedTokenAndOtherFilesAreRefused(self):
        token = self.octets(sample("token_sha256_v2_cert.der"))
        for name, octets in (("cut", token[:-1]), ("empty", b""), ("changed", b"\x31" + token[1:])):
            with self.subTest(name):
                self.assertRegex(self.ends(REFUSED, READ_TOKEN, self.file(name, octets)),
                                 r"does not decode .*code -6, ASN.1 error -\d+\)")
        for name in ("request_sha256_cert.der", "certificate_tsa.der", "reply_sha256_v2_cert.der"):
            with self.subTest(name):
                self.assertIn("code -6", self.ends(REFUSED, READ_TOKEN, sample(name)))

    # --- All of them, with an authority ------------------------------------------

    def test_RequestReplyAndTokenGoTogether(self):
        keys = self.path("keys")
        os.mkdir(keys)
        with Running(keys) as authority:
            self.ends(OK, MAKE_REQUEST, self.data, self.path("request"))
            self.ends(OK, MAKE_REQUEST, self.data, self.path("another"))
            status, _, body = authority.post(self.octets(self.path("request")))
            self.assertEqual(status, 200)
            openssl("x509", "-in", authority.ready["tsa"], "-outform", "DER", "-out", self.path("tsa.der"))
        reply = self.file("reply", body)
        self.ends(OK, VERIFY_REPLY, self.data, reply, self.path("tsa.der"), self.path("request"))
        self.assertIn("nonce", self.ends(REFUSED, VERIFY_REPLY, self.data, reply, self.path("tsa.der"),
                                         self.path("another")))
        self.expect_read(reply)

    # --- stamp and stamp_file, the whole job in C and in C++ ----------------------

    def with_authority(self, *options):
        """A running authority, whose certificates are files of this test."""
        if STAMP_FILE == "-":
            self.skipTest("stamp and stamp_file were not built")
        keys = self.path("keys")
        os.makedirs(keys, exist_ok=True)
        authority = Running(keys, *options)
        self.addCleanup(authority.__exit__)
        for name in ("tsa", "ca"):
            openssl("x509", "-in", authority.ready[name], "-outform", "DER", "-out", self.path(name + ".der"))
        return authority

    def stamp(self, status, authority, certificate="tsa.der"):
        return self.ends(status, STAMP_FILE, self.data, "127.0.0.1", str(authority.ready["socket_port"]),
                         self.path(certificate))

    def test_FileIsStampedAndChecked(self):
        text = self.stamp(OK, self.with_authority())
        self.assertRegex(text, r"^.*data: stamped at 20\d{12}Z \+/- 1500100 us\n$")

    def test_AuthorityMayLeaveTheConnectionOpen(self):
        self.assertIn("stamped at", self.stamp(OK, self.with_authority("--stay-open")))

    def test_OtherCertificateIsRefused(self):
        authority = self.with_authority()
        self.assertIn("QEX_E_SIGNATURE", self.stamp(REFUSED, authority, "ca.der"))
        self.file("empty", b"")
        self.assertIn("QEX_E_ARG", self.stamp(REFUSED, authority, "empty"))

    def test_RefusalAndHalfAReplyAreReported(self):
        text = self.stamp(REFUSED, self.with_authority("--reject", "timeNotAvailable", "--status-text", "no clock"))
        self.assertIn("the TSA says: no clock", text)
        self.assertIn("QEX_E_REJECTED", text)
        self.assertIn("QEX_E_LENGTH", self.stamp(REFUSED, self.with_authority("--truncate", "100")))

    def test_MissingAuthorityAndFilesAreNamed(self):
        with self.with_authority() as authority:
            pass
        self.assertIn("no connection to port", self.stamp(USAGE, authority))
        self.assertIn("absent: cannot be read", self.ends(USAGE, STAMP_FILE, self.path("absent"), "127.0.0.1", "1",
                                                          self.path("tsa.der")))
        self.assertIn("usage: stamp_file", self.ends(USAGE, STAMP_FILE))

    def stamp_in_c(self, status, authority, certificate="tsa.der"):
        return self.ends(status, STAMP, self.data, "127.0.0.1", str(authority.ready["socket_port"]), self.path(certificate))

    def test_FileIsStampedAndCheckedInC(self):
        with self.with_authority("--stay-open") as authority:
            self.assertRegex(self.stamp_in_c(OK, authority), r"^.*data: stamped at 20\d{12}Z\n$")
            self.assertIn("the signature does not verify", self.stamp_in_c(REFUSED, authority, "ca.der"))
            self.file("empty", b"")
            self.assertIn("empty: empty", self.stamp_in_c(REFUSED, authority, "empty"))
        self.assertIn("no connection", self.stamp_in_c(REFUSED, authority))
        self.assertIn("usage: stamp DATA", self.ends(USAGE, STAMP))
        with self.with_authority("--reject", "timeNotAvailable", "--status-text", "no clock") as authority:
            self.assertRegex(self.stamp_in_c(REFUSED, authority), r"^no clock\nthe reply: .* \(code -9,")
        with self.with_authority("--truncate", "100") as authority:
            self.assertIn("code -11,", self.stamp_in_c(REFUSED, authority))

    def test_ReplyToAnotherRequestIsRefused(self):
        """The token of an earlier exchange, from an authority that answers whatever it is asked."""
        with self.with_authority() as authority:
            self.ends(OK, MAKE_REQUEST, self.data, self.path("request"))
            reply = authority.post(self.octets(self.path("request")))[2]
        framed = (len(reply) + 1).to_bytes(4, "big") + b"\5" + reply
        for program, said in ((STAMP, "for other data, or the answer to another request"),
                              (STAMP_FILE, "is for other data or answers another request")):
            with self.subTest(program), socket.create_server(("127.0.0.1", 0)) as server:
                def answer():
                    connection = server.accept()[0]
                    with connection:
                        connection.recv(1000)
                        connection.sendall(framed)
                thread = threading.Thread(target=answer)
                thread.start()
                self.assertIn(said, self.ends(REFUSED, program, self.data, "127.0.0.1", str(server.getsockname()[1]),
                                              self.path("tsa.der")))
                thread.join()

    def test_ExamplesAreShort(self):
        for name in ("stamp.c", "stamp_file.cpp"):
            with open(os.path.join(ROOT, "examples", name)) as file:
                self.assertLess(len(file.readlines()), 80)


if __name__ == "__main__":
    MAKE_REQUEST, VERIFY_REPLY, READ_TOKEN, STAMP, STAMP_FILE, *EMULATOR = sys.argv[1:]
    del sys.argv[1:]
    unittest.main()
