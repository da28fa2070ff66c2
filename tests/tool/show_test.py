"""Showing messages, reading replies, taking tokens and certificates out."""

import json
import os
import unittest

import support
from support import ToolTest, openssl, run, run_json


class ShowTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.original = os.path.join(cls.class_folder, "original")
        cls.write(cls.original, b"what is to be stamped\n")
        with support.Authority(os.path.join(cls.class_folder, "keys")) as authority:
            cls.tsa = authority.tsa
            run("stamp", cls.original, "--tsa", authority.url, check=0)
            run("stamp", cls.original, "--tsa", authority.url, "--no-cert", "-o", cls.original + ".bare.tsr", check=0)
        with support.Authority(os.path.join(cls.class_folder, "keys"), "--reject", "unacceptedPolicy",
                               "--status-text", "no\x1b[2J\u202e way") as authority:
            cls.refusal = os.path.join(cls.class_folder, "refusal.tsr")
            query = cls.read(cls.original + ".tsq")
            cls.write(cls.refusal, support.post(authority.url, query))
        cls.reply, cls.request = cls.original + ".tsr", cls.original + ".tsq"
        cls.token = os.path.join(cls.class_folder, "token")
        cls.write(cls.token, openssl("ts", "-reply", "-in", cls.reply, "-token_out"))

    def test_KindsAreRecognisedByStructure(self):
        for path, kind in ((self.reply, "reply"), (self.request, "request"), (self.token, "token"),
                           (self.tsa, "certificate"), (self.refusal, "reply")):
            with self.subTest(kind=kind):
                self.assertEqual(run_json("show", path, check=0)["kind"], kind)
                der = run_json("show", "-", stdin=self.read(path), check=0)
                self.assertEqual(der["kind"], kind)

    def test_OneLineOfJsonForEachFile(self):
        done = run("show", "--json", self.reply, self.request, self.tsa, check=0)
        kinds = [json.loads(line)["kind"] for line in done.stdout.splitlines()]
        self.assertEqual(kinds, ["reply", "request", "certificate"])

    def test_ATokenIsDescribedAsOpensslDoes(self):
        document = run_json("show", self.token, check=0)
        text = openssl("ts", "-reply", "-in", self.reply, "-text").decode()
        self.assertIn("Policy OID: " + document["token"]["policy"] + "\n", text)
        self.assertIn("Serial number: " + document["token"]["serial"] + "\n", text)
        self.assertIn("Nonce: " + document["token"]["nonce"] + "\n", text)
        self.assertEqual(document["token"]["hash"], "sha256")
        self.assertEqual(document["token"]["imprint"], openssl("dgst", "-sha256", "-binary", self.original).hex())
        self.assertIn("signing_time_claimed_by_signer", document["signer"])
        self.assertEqual(len(document["certificates"]), 1)

    def test_ACertificateIsDescribedAsOpensslDoes(self):
        document = run_json("show", self.tsa, check=0)
        subject = openssl("x509", "-in", self.tsa, "-noout", "-subject", "-nameopt", "sep_comma_plus_space,sname,utf8").decode().strip()
        self.assertEqual("subject=" + document["subject_name"], subject)
        self.assertEqual(document["subject"], self.tsa)
        serial = openssl("x509", "-in", self.tsa, "-noout", "-serial").decode().strip().split("=")[1]
        self.assertEqual(int(document["serial"], 16), int(serial, 16))
        fingerprint = openssl("x509", "-in", self.tsa, "-noout", "-fingerprint", "-sha256").decode().strip().split("=")[1]
        self.assertEqual(document["sha256"], fingerprint.replace(":", "").lower())
        self.assertEqual(document["key"], {"type": "rsa", "bits": 2048, "exponent": "0x010001"})
        self.assertEqual(document["purposes"], ["timeStamping"])

    def test_Asn1IsPrintedByTheLibrary(self):
        text = run("show", "--asn1", self.token, check=0).stdout.decode()
        for word in ("contentType {1 2 840 113549 1 7 2}", "signerInfos", "genTime", "-- eContent --"):
            self.assertIn(word, text)
        self.assertIn("messageImprint", run("show", "--asn1", self.request, check=0).stdout.decode())
        self.assertIn("tbsCertificate", run("show", "--asn1", self.tsa, check=0).stdout.decode())

    def test_AnInvalidMessageIsStatus4AndTheOthersAreShown(self):
        done = run("show", self.original, self.request)
        self.assert_error(done, 4, "original")
        self.assertIn(b": request\n", done.stdout)
        self.assert_error(run("show", self.path("missing")), 3)
        self.write(self.path("empty"), b"")
        self.assert_error(run("show", self.path("empty")), 4, "empty")

    def test_AFailureInsideNamesTheAsn1Error(self):
        self.write(self.path("bad"), self.read(self.reply)[:40].ljust(len(self.read(self.reply)), b"\0"))
        document = run_json("show", self.path("bad"), check=4)
        self.assertEqual(document["exit"], 4)
        self.assertNotEqual((document["code"], document["asn1_error"]), (0, 0))

    def test_ForeignTextIsEscaped(self):
        done = run("show", self.refusal, check=0)
        self.assertIn(b"no\\x1b[2J\\u202e way", done.stdout)
        self.assertNotIn(b"\x1b", done.stdout)
        # Every character with Bidi_Control (UAX #9, 2.1 to 2.6) may turn the text next to it.
        turning = "\u061c\u200e\u200f\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069"
        text = run("show", self.path(turning)).stderr.decode()
        for character in turning:
            self.assertIn(f"\\u{ord(character):04x}", text)
            self.assertNotIn(character, text)
        strange = self.path("new\nline")
        self.write(strange, b"")
        self.assertIn(b"new\\x0aline", run("show", strange).stderr)

    def test_ReplyShowsTheStatus(self):
        self.assertEqual(run_json("reply", self.reply, check=0)["status"], {"status": 0, "name": "granted"})
        done = run("reply", self.refusal)
        self.assert_error(done, 5, "rejection", "unacceptedPolicy")
        document = run_json("reply", self.refusal, check=5)
        self.assertEqual(document["status"]["fail_info"], [15])
        self.assertEqual(document["code"], -9)
        self.assert_error(run("reply", self.token), 4, "token")

    def test_ARefusalThatNamesNoFailureDoesNotReadAsOneThatDoes(self):
        # PKIStatusInfo { status 2 }, and with failInfo badAlg, the bit 0.
        self.write(self.path("bare"), bytes.fromhex("30053003020102"))
        self.write(self.path("badAlg"), bytes.fromhex("300930070201020302 0780"))
        self.assert_error(run("reply", self.path("bare")), 5, "rejection (2), no failure named", "operator")
        document = run_json("reply", self.path("bare"), check=5)
        self.assertEqual(document["status"], {"status": 2, "name": "rejection", "failure": "no failure named"})
        self.assert_error(run("reply", self.path("badAlg")), 5, "rejection (2), badAlg\n", "--hash")
        self.assertEqual(run_json("reply", self.path("badAlg"), check=5)["status"]["fail_info"], [0])

    def test_APageForABrowserIsAFormOfItsOwn(self):  # the page itself: html_test.py
        page = self.path("page.html")
        for wrong in (("--html", "--json"), ("--html", "--asn1"), ("-o", page)):
            self.assert_error(run("show", self.reply, *wrong), 2)
        self.assertEqual(self.files(), ["report.txt"])

    def test_ContentsOfExtensionsAreShown(self):
        text = run("show", self.reply, check=0).stdout.decode()
        self.assertIn("extKeyUsage (2.5.29.37), critical: Time Stamping\n", text)
        self.assertIn("basicConstraints (2.5.29.19), critical: CA:FALSE\n", text)

    def test_OctetsAfterAMessageAreMentioned(self):
        for path in (self.reply, self.request, self.token):
            with self.subTest(path):
                self.assertNotIn("trailing_octets", run_json("show", path, check=0))
                self.write(self.path("longer"), self.read(path) + b"12345")
                self.assertEqual(run_json("show", self.path("longer"), check=0)["trailing_octets"], 5)
                self.assertIn(b"  trailing octets  5\n", run("show", self.path("longer"), check=0).stdout)

    def test_TheTokenIsTakenOut(self):
        expected = self.read(self.token)
        self.assertEqual(run("reply", self.reply, "--token", check=0).stdout, expected)
        run("reply", self.reply, "--token", "-o", self.path("out"), check=0)
        self.assertEqual(self.read(self.path("out")), expected)
        self.assert_error(run("reply", self.refusal, "--token", "-o", self.path("none")), 5)
        self.assertEqual(self.files(), ["out", "report.txt"])

    def test_FramesAreTakenOff(self):
        der = self.read(self.reply)
        socket_frame = (len(der) + 1).to_bytes(4, "big") + b"\5" + der
        head = b"HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\n\r\n"
        for frame, data, status in (("socket", socket_frame, 0), ("socket", socket_frame + b"x", 6),
                                    ("socket", socket_frame[:4] + b"\6" + der, 4), ("http", head + der, 0),
                                    ("http", head.replace(b"200", b"500") + der, 4), ("http", der, 2),
                                    ("socket", b"\0\0\0\2\5x", 4)):
            with self.subTest(frame=frame, status=status):
                done = run("reply", "-", "--frame", frame, "--token", stdin=data, check=status)
                if status == 0:
                    self.assertEqual(done.stdout, self.read(self.token))

    def test_TheCertificateIsTakenOut(self):
        expected = openssl("x509", "-in", self.tsa, "-outform", "DER")
        for source in (self.reply, self.token):
            self.assertEqual(run("cert", source, check=0).stdout, expected)
        run("cert", self.token, "--pem", "-o", self.path("c.pem"), check=0)
        self.assertEqual(openssl("x509", "-in", self.path("c.pem"), "-outform", "DER"), expected)
        self.assertEqual(run("cert", self.token, "--pem", check=0).stdout, openssl("x509", "-in", self.tsa))
        self.assertEqual(bytes.fromhex(run_json("cert", self.token, check=0)["certificate"]), expected)

    def test_ATokenWithoutCertificateIsStatus8(self):
        document = run_json("cert", self.original + ".bare.tsr", check=8)
        self.assertEqual(document["code"], -14)
        self.assert_error(run("cert", self.request), 4, "request")
        self.assert_error(run("cert", self.refusal), 5)


if __name__ == "__main__":
    support.main()
