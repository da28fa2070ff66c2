"""The test authority behaves as tests expect. The openssl command makes the queries and checks the replies;
the heads are written out here octet by octet."""

import calendar
import hashlib
import http.client
import json
import os
import re
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
HERE = os.path.dirname(os.path.abspath(__file__))
SHA256_OF_NOTHING = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"


class Running:
    """An authority in a process of its own."""

    def __init__(self, folder, *options):
        self.process = subprocess.Popen(
            [sys.executable, os.path.join(HERE, "authority.py"), "--end-with-parent", "--dir", folder, *options],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError(f"the authority ended with {self.process.wait()}")
        self.ready = json.loads(line)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.status = self.process.wait(timeout=20)
        self.process.stdout.close()

    def post(self, body, path="/", content_type="application/timestamp-query", **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.ready["http_port"], timeout=20)
        try:
            connection.request("POST", path, body, {"Content-Type": content_type, **headers})
            reply = connection.getresponse()
            return reply.status, reply.getheader("Content-Type"), reply.read()
        finally:
            connection.close()

    def exchange(self, data, port="http_port"):
        """Sends octets, half-closes nothing, reads until the authority closes."""
        with socket.create_connection(("127.0.0.1", self.ready[port]), timeout=20) as connection:
            connection.sendall(data)
            received = b""
            while piece := connection.recv(65536):
                received += piece
            return received


def make_query(*options, digest="sha256", imprint=SHA256_OF_NOTHING):
    done = subprocess.run(["openssl", "ts", "-query", f"-{digest}", "-digest", imprint, *options],
                          capture_output=True, check=True)
    return done.stdout


def head_of(length):
    """The head that the library writes before a request of three digits."""
    digits = bytearray(b"    ")
    for place, value in enumerate((length // 1000, length % 1000 // 100, length % 100 // 10)):
        if value:
            digits[place] = ord("0") + value
    digits[3] = ord("0") + length % 10
    return (b"POST /VKS/HttpTspServer HTTP/1.0\r\n"
            b"Content-Type: application/timestamp-query; charset=binary\r\n"
            b"Content-Length: " + bytes(digits) + b"\r\n\r\n")


class AuthorityTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="authority-test-")
        cls.folder = os.path.join(cls.scratch.name, "authority")
        cls.authority = Running(cls.folder)

    @classmethod
    def tearDownClass(cls):
        cls.authority.__exit__()
        cls.scratch.cleanup()

    def file(self, data):
        path = os.path.join(self.scratch.name, "file")
        with open(path, "wb") as file:
            file.write(data)
        return path

    def assert_verifies(self, reply, ready, imprint=SHA256_OF_NOTHING):
        done = subprocess.run(["openssl", "ts", "-verify", "-digest", imprint, "-in", self.file(reply),
                               "-CAfile", ready["ca"], "-untrusted", ready["tsa"]],
                              capture_output=True, text=True, check=False)
        self.assertIn("Verification: OK", done.stdout + done.stderr)

    def text_of(self, reply):
        return subprocess.run(["openssl", "ts", "-reply", "-text", "-in", self.file(reply)],
                              capture_output=True, text=True, check=True).stdout

    def test_HttpReplyVerifiesUnderTheAnnouncedRoot(self):
        status, content_type, reply = self.authority.post(make_query("-cert"))
        self.assertEqual((status, content_type), (200, "application/timestamp-reply"))
        self.assert_verifies(reply, self.authority.ready)

    def test_AnyPathIsServed(self):
        self.assertEqual(self.authority.post(make_query(), path="/a/b?c=d")[0], 200)

    def test_ContentLengthWithBlanksBetweenDigitsIsUnderstood(self):
        # 30 to 62 octets of nonce and policy give the query the wanted length.
        for length in (101, 105, 109):
            query = make_query("-no_nonce", "-cert")
            query = query[:-3] + bytes([0x02, length - len(query) - 2]) + b"\x01" * (
                length - len(query) - 2) + query[-3:]
            query = query[:1] + bytes([len(query) - 2]) + query[2:]
            self.assertEqual(len(query), length)
            head = head_of(length)
            self.assertIn(f"1 {length % 10}".encode(), head)
            with self.subTest(length=length):
                received = self.authority.exchange(head + query)
                answer, _, reply = received.partition(b"\r\n\r\n")
                lines = answer.decode().split("\r\n")
                self.assertEqual(lines[0], "HTTP/1.0 200 OK")
                self.assertIn("Content-Type: application/timestamp-reply", lines)
                self.assertIn(f"Content-Length: {len(reply)}", lines)
                self.assert_verifies(reply, self.authority.ready)

    def test_SocketFramingWorksInBothDirections(self):
        query = make_query("-cert")
        received = self.authority.exchange(
            (len(query) + 1).to_bytes(4, "big") + b"\0" + query, "socket_port")
        self.assertEqual(int.from_bytes(received[:4], "big"), len(received) - 4)
        self.assertEqual(received[4], 5)
        self.assert_verifies(received[5:], self.authority.ready)

    def test_AFrameWithAnotherFlagOrTooLongGetsNoAnswer(self):
        for frame in (b"\0\0\0\2\1\x30", b"\xff\xff\xff\xff\0", b"\0\0\0\0"):
            with self.subTest(frame=frame):
                self.assertEqual(self.authority.exchange(frame, "socket_port"), b"")

    def test_EveryImprintOfTheLibraryIsAccepted(self):
        for digest, octets in (("md5", 16), ("sha1", 20), ("sha256", 32), ("sha384", 48), ("sha512", 64)):
            with self.subTest(digest=digest):
                imprint = "5a" * octets
                reply = self.authority.post(make_query("-cert", digest=digest, imprint=imprint))[2]
                self.assertIn("Status: Granted", self.text_of(reply))
                self.assert_verifies(reply, self.authority.ready, imprint)

    def test_RequestsOutOfBoundsAreRefusedWithAStatus(self):
        query = make_query()
        self.assertEqual(self.authority.post(b"x" * (64 * 1024 + 1))[0], 413)
        self.assertEqual(self.authority.post(query, content_type="text/plain")[0], 415)
        for request, status in ((b"GET / HTTP/1.1\r\n\r\n", b"HTTP/1.1 405 "),
                                (b"nonsense\n\n", b"HTTP/1.0 400 "),
                                (b"POST / HTTP/1.1\r\nA: " + b"a" * 20000, b"HTTP/1.0 431 ")):
            with self.subTest(request=request[:20]):
                self.assertTrue(self.authority.exchange(request).startswith(status))

    def test_AnythingButAQueryIsAnsweredWithBadDataFormat(self):
        reply = self.authority.post(b"\x30\x03\x02\x01\x01")[2]
        self.assertIn("Status: Rejected", self.text_of(reply))

    def test_SerialNumbersRiseAcrossThreadsAndProcesses(self):
        with Running(self.folder) as other:
            self.assertEqual(other.ready["tsa"], self.authority.ready["tsa"])
            serials = [self.text_of(which.post(make_query())[2]).split("Serial number: ")[1].split("\n")[0]
                       for which in (self.authority, other, self.authority)]
        self.assertEqual(serials, sorted(set(serials), key=lambda text: int(text, 16)))
        self.assertEqual(other.status, 0)

    def test_OptionsShapeTheToken(self):
        folder = os.path.join(self.scratch.name, "shaped")
        with Running(folder, "--rsa-bits", "1024", "--digest", "sha512", "--ess", "v1", "--policy", "1.2.3.9",
                     "--accuracy", "secs:7", "--ordering", "--no-tsa-name") as shaped:
            text = self.text_of(shaped.post(make_query())[2])
            token = self.file(shaped.post(make_query("-cert"))[2])
            parsed = subprocess.run(["openssl", "asn1parse", "-inform", "DER", "-in", token],
                                    capture_output=True, text=True, check=True).stdout
        self.assertIn("Policy OID: 1.2.3.9", text)
        self.assertIn("Accuracy: 0x07 seconds", text)
        self.assertIn("Ordering: yes", text)
        self.assertIn("TSA: unspecified", text)
        self.assertIn("id-smime-aa-signingCertificate\n", parsed)
        self.assertIn(":sha512\n", parsed)
        key = subprocess.run(["openssl", "x509", "-in", shaped.ready["tsa"], "-noout", "-text"],
                             capture_output=True, text=True, check=True).stdout
        self.assertIn("(1024 bit)", key)
        self.assertIn("X509v3 Extended Key Usage: critical\n                Time Stamping", key)

    def test_EveryKindOfKeySignsTokensThatVerify(self):
        for name, algorithm in (("rsa", "rsaEncryption"), ("dsa", "dsaEncryption"), ("ec", "id-ecPublicKey")):
            with self.subTest(key=name), Running(os.path.join(self.scratch.name, name), "--key", name) as other:
                reply = other.post(make_query("-cert"))[2]
                self.assert_verifies(reply, other.ready)
                key = subprocess.run(["openssl", "x509", "-in", other.ready["tsa"], "-noout", "-text"],
                                     capture_output=True, text=True, check=True).stdout
                self.assertIn(f"Public Key Algorithm: {algorithm}\n", key)

    def token_of(self, reply):
        """The token, located by openssl's printout of the reply: it follows the status."""
        second = [line for line in self.lines_of(reply) if line[1] == 1][1]
        return reply[second[0]:]

    def lines_of(self, data):
        """(offset, depth, header length, length, text) of every element, from openssl."""
        text = subprocess.run(["openssl", "asn1parse", "-inform", "DER", "-in", self.file(data)],
                              capture_output=True, text=True, check=True).stdout
        pattern = re.compile(r" *(\d+):d=(\d+) +hl=(\d+) +l= *(\d+) (.*)")
        return [(*map(int, match.groups()[:4]), match[5]) for match in map(pattern.match, text.splitlines())]

    def attribute_certificates_of(self, token):
        """Those of the certificate set, as separate encodings."""
        return [b"\x30" + token[at + 1:at + head + length]
                for at, depth, head, length, text in self.lines_of(token) if depth == 4 and "cont [ 2 ]" in text]

    def assert_cms_verifies(self, token, ready):
        done = subprocess.run(["openssl", "cms", "-verify", "-inform", "DER", "-in", self.file(token), "-CAfile",
                               ready["ca"], "-purpose", "timestampsign"], capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_ATimeAttributeCertificateIsInTheSetAndNamedSecond(self):
        for options, digest in (((), "sha256"), (("--ess-digest", "sha384"), "sha384"), (("--ess", "v1"), "sha1"),
                                (("--chain",), "sha256")):
            with self.subTest(options=options), Running(self.folder, "--tac", *options) as stating:
                token = self.token_of(stating.post(make_query("-cert"))[2])
                self.assert_cms_verifies(token, stating.ready)
                signer = subprocess.run(["openssl", "x509", "-in", stating.ready["tsa"], "-outform", "DER"],
                                        capture_output=True, check=True).stdout
                found = self.attribute_certificates_of(token)
                self.assertEqual(len(found), 1)
                named = [token.find(hashlib.new(digest, certificate).digest()) for certificate in (signer, found[0])]
                self.assertTrue(0 < named[0] < named[1], named)
                if "--chain" in options:
                    with open(stating.ready["ca"], encoding="ascii") as file:
                        root = ssl.PEM_cert_to_DER_cert(file.read())
                    self.assertLess(named[1], token.find(hashlib.sha256(root).digest()))
                version = [line for line in self.lines_of(token) if line[1] == 3][0]
                self.assertTrue(version[4].endswith(":04"), version)

    def test_ATimeAttributeCertificateIsSignedByAnIssuerOfItsOwn(self):
        with Running(self.folder, "--tac") as stating:
            token = self.token_of(stating.post(make_query("-cert"))[2])
            issuer = os.path.join(stating.ready["dir"], "tac.pem")
        certificate = self.attribute_certificates_of(token)[0]
        body, _, signature = [line for line in self.lines_of(certificate) if line[1] == 1]
        paths = [os.path.join(self.scratch.name, name) for name in ("key", "signature", "body")]
        key = subprocess.run(["openssl", "x509", "-in", issuer, "-noout", "-pubkey"], capture_output=True, check=True)
        pieces = (key.stdout, certificate[signature[0] + signature[2] + 1:],
                  certificate[body[0]:body[0] + body[2] + body[3]])
        for path, data in zip(paths, pieces):
            with open(path, "wb") as file:
                file.write(data)
        done = subprocess.run(["openssl", "dgst", "-sha256", "-verify", paths[0], "-signature", *paths[1:]],
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.stdout, "Verified OK\n")

    def test_ATimeAttributeCertificateStatesMetricsOfTheTokensTime(self):
        with Running(self.folder, "--tac") as stating:
            token = self.token_of(stating.post(make_query("-cert"))[2])
        text = subprocess.run(["openssl", "cms", "-verify", "-noverify", "-inform", "DER", "-in", self.file(token)],
                              capture_output=True, check=True).stdout
        stamped = re.search(rb"\d{14}Z", text)[0].decode()
        ntp = calendar.timegm(time.strptime(stamped, "%Y%m%d%H%M%SZ")) + 70 * 365 * 86400 + 17 * 86400
        certificate = self.attribute_certificates_of(token)[0]
        offset = bytes.fromhex("300B 020100 020303D090 0201FF")  # -0.25 s
        self.assertIn(bytes.fromhex("300A 0205 00") + ntp.to_bytes(4, "big") + b"\x02\1\0" + offset, certificate)
        for identifier in ("2B060104018459 0A0401", "2B060104018459 0A0402"):
            self.assertIn(bytes.fromhex(identifier), certificate)

    def test_ATimeAttributeCertificateMayBeInTheSignerAttributes(self):
        with Running(self.folder, "--tac", "signer-attribute") as stating:
            reply = stating.post(make_query("-cert"))[2]
            self.assert_verifies(reply, stating.ready)
        token = self.token_of(reply)
        self.assertEqual(self.attribute_certificates_of(token), [])
        self.assertIn("id-smime-aa-ets-signerAttr", " ".join(line[4] for line in self.lines_of(token)))

    def test_WithoutCertificatesTheTimeAttributeCertificateIsOnlyNamed(self):
        with Running(self.folder, "--tac") as stating:
            token = self.token_of(stating.post(make_query())[2])
        self.assertEqual([line for line in self.lines_of(token) if line[1] == 3 and "cont" in line[4]], [])

    def test_EveryKindOfKeySignsTokensAgain(self):
        for name in ("rsa", "dsa", "ec"):
            with self.subTest(key=name), Running(os.path.join(self.scratch.name, name), "--key", name, "--tac") as other:
                self.assert_cms_verifies(self.token_of(other.post(make_query("-cert"))[2]), other.ready)

    def test_AFurtherSignedAttributeCanBeAskedFor(self):
        with Running(self.folder, "--extra-attribute", "1.2.3.4.5", "--extra-attribute", "1.2.840.113549.1.9.52") as other:
            reply = other.post(make_query("-cert"))[2]
            self.assert_verifies(reply, other.ready)
        texts = [line[4] for line in self.lines_of(self.token_of(reply))]
        for identifier in ("1.2.3.4.5", "1.2.840.113549.1.9.52"):
            self.assertTrue(any(text.endswith(":" + identifier) for text in texts), identifier)

    def test_RefusalsStayAsTheyAre(self):
        with Running(self.folder, "--tac", "--digests", "sha512") as stating:
            self.assertIn("Status: Rejected", self.text_of(stating.post(make_query())[2]))

    def test_HttpsIsServedUnderTheAnnouncedRoot(self):
        with Running(self.folder, "--tls") as secure:
            self.assertTrue(secure.ready["url"].startswith("https://127.0.0.1:"))
            trust = ssl.create_default_context(cafile=secure.ready["ca"])
            connection = http.client.HTTPSConnection("127.0.0.1", secure.ready["http_port"], timeout=20,
                                                     context=trust)
            connection.request("POST", "/", make_query("-cert"), {"Content-Type": "application/timestamp-query"})
            self.assert_verifies(connection.getresponse().read(), secure.ready)
            connection.close()

    def test_RefusalsCarryTheFailureAndTheText(self):
        for failure, shown in (("badAlg", "unrecognized or unsupported algorithm"),
                               ("unacceptedPolicy", "the requested TSA policy is not supported"),
                               ("systemFailure", "the request cannot be handled due to system failure")):
            with self.subTest(failure=failure):
                with Running(self.folder, "--reject", failure, "--status-text", "not today") as refusing:
                    text = self.text_of(refusing.post(make_query())[2])
                self.assertIn("Status: Rejected", text)
                self.assertIn("Status description: not today", text)
                self.assertIn(shown, text)

    def test_FaultsOfTheTransportCanBeAskedFor(self):
        with Running(self.folder, "--http-status", "503") as broken:
            self.assertEqual(broken.post(make_query())[0], 503)
        with Running(self.folder, "--content-type", "text/html") as broken:
            self.assertEqual(broken.post(make_query())[1], "text/html")
        with Running(self.folder, "--user", "anna:secret") as closed:
            self.assertEqual(closed.post(make_query())[0], 401)
            self.assertEqual(closed.post(make_query(), Authorization="Basic YW5uYTpzZWNyZXQ=")[0], 200)
        with Running(self.folder, "--truncate", "10") as short:
            with self.assertRaises(http.client.IncompleteRead):
                short.post(make_query())

    def test_NothingListensOutsideTheLoopbackInterface(self):
        with open("/proc/net/tcp", encoding="ascii") as table:
            listening = [row.split()[1] for row in table if row.split()[3] == "0A"]
        for port in ("http_port", "socket_port"):
            wanted = f":{self.authority.ready[port]:04X}"
            self.assertEqual([at for at in listening if at.endswith(wanted)], ["0100007F" + wanted])

    def test_TerminationLeavesNothingOfItsOwnFolder(self):
        process = subprocess.Popen([sys.executable, os.path.join(HERE, "authority.py")],
                                   stdout=subprocess.PIPE, text=True,
                                   env={**os.environ, "TMPDIR": self.scratch.name})
        ready = json.loads(process.stdout.readline())
        self.assertTrue(os.path.exists(ready["tsa"]))
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(timeout=20), 0)
        process.stdout.close()
        self.assertFalse(os.path.exists(ready["dir"]))


if __name__ == "__main__":
    unittest.main()
