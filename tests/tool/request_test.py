"""Requests, as the openssl command reads them."""

import json
import os
import pty
import re
import unittest

import support
from support import ToolTest, openssl, run, run_json

SHA256_OF_ABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"


def query_text(der):
    """The request as the openssl command prints it."""
    return openssl("ts", "-query", "-in", "/dev/stdin", "-text", data=der).decode()


class RequestTest(ToolTest):
    def test_OpensslReadsTheRequestedValues(self):
        for name in ("sha256", "sha384", "sha512"):
            with self.subTest(hash=name):
                der = run("request", self.document, "--hash", name, "--policy", "1.3.6.1.4.1.99999.7", check=0).stdout
                text = query_text(der)
                self.assertIn("Hash Algorithm: " + name, text)
                self.assertIn("Policy OID: 1.3.6.1.4.1.99999.7", text)
                self.assertIn("Certificate required: yes", text)
                digest = openssl("dgst", "-" + name, "-binary", self.document)
                self.assertIn(digest, der)

    def test_DigestNonceAndFlagsAreTakenOver(self):
        text = query_text(run("request", "--digest", SHA256_OF_ABC, "--nonce", "0102030405", "--no-cert", check=0).stdout)
        self.assertIn("Nonce: 0x0102030405", text)
        self.assertIn("Certificate required: no", text)
        self.assertIn("unspecified", text)
        self.assertIn("Nonce: unspecified", query_text(run("request", self.document, "--no-nonce", check=0).stdout))

    def test_ANonceIsANumber(self):
        for given, shown in (("ff", "0xFF"), ("00ff", "0xFF"), ("0x80", "0x80"), ("1", "0x01"),
                             ("7f" * 40, "0x" + "7F" * 40)):
            with self.subTest(given=given):
                self.assertIn("Nonce: " + shown + "\n", query_text(run("request", self.document, "--nonce", given, check=0).stdout))
        for given in ("", "xyz", "ff" * 40, "12 34"):
            with self.subTest(given=given):
                if given:
                    self.assert_error(run("request", self.document, "--nonce", given), 2)

    def test_NoncesAreRandomAndPositiveWithEightOctets(self):
        nonces = set()
        for _ in range(20):
            request = run_json("request", self.document, check=0)["request"]
            nonces.add(request["nonce"])
            self.assertRegex(request["nonce"], "^0x[0-7][0-9A-F]{15}$")
            self.assertNotRegex(request["nonce"], "^0x00")
        self.assertEqual(len(nonces), 20)

    def test_FramesAroundTheSameRequest(self):
        options = ("request", self.document, "--nonce", "01", "--policy", "1.2.3")
        raw = run(*options, check=0).stdout
        framed = run(*options, "--frame", "socket", check=0).stdout
        self.assertEqual(framed, (len(raw) + 1).to_bytes(4, "big") + b"\0" + raw)
        http = run(*options, "--frame", "http", check=0).stdout
        self.assertTrue(http.startswith(b"POST /VKS/HttpTspServer HTTP/1.0\r\n"))
        self.assertTrue(http.endswith(b"\r\n\r\n" + raw))

    def test_APolicyThatTheLibraryCannotCarryIsRefused(self):
        for policy, instead in (("1.2.16384", "policy 1.2.128"), ("1.3.6.1.4.1.16385.2097152", "policy 1.3.6.1.4.1."),
                                ("2.999.1", "no policy at all"), ("1.2.4294967296", "no policy at all")):
            with self.subTest(policy=policy):
                self.assert_error(run("request", self.document, "--policy", policy, "-o", self.path("q")), 2, policy,
                                  "it would ask for " + instead)
        for policy in ("1", "1.2.", "3.1", "1.40", "1.2.x", "1.2.03", "1." + "2" * 400):
            with self.subTest(policy=policy):
                self.assert_error(run("request", self.document, "--policy", policy, "-o", self.path("q")), 2)
        self.assertEqual(self.files(), ["report.txt"])

    def test_WeakAndUnknownHashes(self):
        for name in ("sha1", "md5"):
            with self.subTest(hash=name):
                self.assert_error(run("request", self.document, "--hash", name), 1, name, "--allow-weak")
                der = run("request", self.document, "--hash", name, "--allow-weak", check=0).stdout
                self.assertIn("Hash Algorithm: " + name, query_text(der))
        self.assert_error(run("request", self.document, "--hash", "whirlpool"), 7, "whirlpool")

    def test_ADigestOfAnotherLengthIsRefused(self):
        self.assert_error(run("request", "--digest", SHA256_OF_ABC, "--hash", "sha512"), 2)
        self.assert_error(run("request", "--digest", SHA256_OF_ABC[:-2]), 2)
        self.assert_error(run("request", "--digest", "sha512:" + SHA256_OF_ABC), 2, "sha512")

    def test_ADigestMayNameItsAlgorithm(self):
        digest = openssl("dgst", "-sha384", "-binary", self.document)
        der = run("request", "--digest", "sha384:" + digest.hex(), check=0).stdout
        self.assertIn("Hash Algorithm: sha384", query_text(der))
        self.assertIn(digest, der)
        self.assert_error(run("request", "--digest", "sha1:" + 20 * "00"), 1, "--allow-weak")

    def test_OutputIsWholeOrNotThere(self):
        output = self.path("out.tsq")
        run("request", self.document, "-o", output, check=0)
        query_text(self.read(output))
        self.write(output, b"before")
        self.assert_error(run("request", self.path("missing"), "-o", output, "--force"), 3, "missing")
        self.assertEqual(self.read(output), b"before")
        self.assert_error(run("request", self.document, "-o", self.path("no/such/folder")), 3)
        self.assert_error(run("request", self.document, "-o", self.folder), 3)
        self.assertEqual(self.files(), ["out.tsq", "report.txt"])

    def test_ALinkKeepsBeingOne(self):
        os.symlink(self.path("real"), self.path("link"))
        self.write(self.path("real"), b"before")
        run("request", self.document, "-o", self.path("link"), "--force", check=0)
        self.assertTrue(os.path.islink(self.path("link")))
        query_text(self.read(self.path("real")))

    def test_TheJsonHoldsTheRequest(self):
        document = run_json("request", self.document, "--nonce", "0a", "--policy", "1.2.3", check=0)
        self.assertEqual(document["request"]["policy"], "1.2.3")
        self.assertEqual(document["request"]["nonce"], "0x0A")
        self.assertEqual(document["request"]["hash"], "sha256")
        self.assertIn("Nonce: 0x0A", query_text(bytes.fromhex(document["octets"])))

    def test_NoBinaryIsWrittenToATerminal(self):
        master, slave = pty.openpty()
        try:
            done = support.subprocess.run([support.QEX, "request", self.document], stdout=slave,
                                          stderr=support.subprocess.PIPE, env=support.environment(), check=False)
        finally:
            os.close(slave)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"terminal", done.stderr)
        os.close(master)


if __name__ == "__main__":
    support.main()
