"""Checks: each one passing and failing, pins, exit statuses, and the worker that makes them."""

import os
import re
import unittest

import support
from support import ToolTest, environment, openssl, run, run_json, verdicts


class VerifyTest(ToolTest):
    """One stamp for the whole class, copied for each test."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        with support.Authority(os.path.join(cls.class_folder, "keys")) as authority:
            cls.tsa, cls.ca, cls.url = authority.tsa, authority.ca, authority.url
            cls.original = os.path.join(cls.class_folder, "original")
            cls.write(cls.original, b"what is to be stamped\n")
            run("stamp", cls.original, "--tsa", authority.url, "--policy", "1.2.3.4.5.6", check=0)
            cls.other = os.path.join(cls.class_folder, "other")
            cls.write(cls.other, b"what is to be stamped\n")
            run("stamp", cls.other, "--tsa", authority.url, check=0)

    def setUp(self):
        super().setUp()
        for ending in (".tsr", ".tsq"):
            self.write(self.document + ending, self.read(self.original + ending))
        self.reply = self.document + ".tsr"

    def fingerprint(self, certificate):
        return openssl("x509", "-in", certificate, "-noout", "-fingerprint", "-sha256").decode().strip().split("=")[1]

    def config(self):
        self.write(self.path("req.cnf"), b"[req]\nprompt=no\ndistinguished_name=name\n[name]\nCN=again\n")
        return self.path("req.cnf")

    def verify(self, *options, check=None, **more):
        return run_json("verify", self.document, *options, check=check, **more)

    def test_EverythingPassesWithTheCertificateAsPin(self):
        done = run("verify", self.document, "--tsa-cert", self.tsa, check=0)
        text = done.stdout.decode()
        for line in ("pass  status       granted\n", "pass  request      ", "pass  imprint      sha256 of ",
                     "pass  nonce        equals ", "pass  policy       equals ", "pass  signature    rsa 2048, sha256\n",
                     "pass  signer       sha256:", "named by signing-certificate-v2, pinned by --tsa-cert\n",
                     "pass  structure    one signer, content type, version 1\n", "pass  key_usage    time-stamping alone, critical\n",
                     "pass  dates        valid at genTime, until ", "skip  chain        no roots were named",
                     "skip  revocation   no list given (--crl)\n"):
            self.assertIn(line, text)
        self.assertRegex(text, r"\ntime  \d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ \+/- 1\.5001 s   serial 0x\S+   policy 1\.2\.3\.4\.5\.6\n$")
        self.assertEqual(done.stderr, b"")

    def test_TheJsonHasOneMemberACheck(self):
        document = self.verify("--tsa-cert", self.tsa, check=0)
        self.assertEqual(document["schema"], 1)
        self.assertEqual((document["exit"], document["code"], document["asn1_error"]), (0, 0, 0))
        self.assertIsNone(document["hint"])
        self.assertTrue(document["authority_checked"])
        self.assertEqual(verdicts(document), {
            "status": "pass", "request": "pass", "imprint": "pass", "nonce": "pass", "policy": "pass",
            "structure": "pass", "time": "pass", "signature": "pass", "signer": "pass", "key_usage": "pass",
            "dates": "pass", "chain": "skip", "revocation": "skip"})
        self.assertEqual({check["name"] for check in document["checks"] if check.get("by") == "both"},
                         {"imprint", "nonce", "policy", "structure", "time", "signature", "signer"})
        self.assertEqual((document["indication"], document["sub_indication"]), ("PASSED", None))
        self.assertRegex(document["token"]["time"], r"^\d{4}-\d\d-\d\dT")
        self.assertRegex(document["token"]["time_as_received"], r"^\d{14}Z$")
        self.assertEqual("".join(re.findall(r"\d", document["token"]["time"])), document["token"]["time_as_received"][:-1])

    def test_CertificatesAndTokensAreRecognisedByStructure(self):
        der = openssl("x509", "-in", self.tsa, "-outform", "DER")
        self.write(self.path("tsa.der"), der)
        self.write(self.path("tsa.b64"), openssl("base64", data=der))
        for name in ("tsa.der", "tsa.b64"):
            self.verify("--tsa-cert", self.path(name), check=0)
        token = openssl("ts", "-reply", "-in", self.reply, "-token_out")
        self.write(self.path("token.der"), token)
        self.write(self.path("token.b64"), openssl("base64", "-A", data=token))
        self.write(self.path("token.pem"), b"some text\n-----BEGIN PKCS7-----\n" + openssl("base64", data=token) + b"-----END PKCS7-----\n")
        for name in ("token.der", "token.b64", "token.pem"):
            with self.subTest(name=name):
                document = self.verify("--tsa-cert", self.tsa, "--token", self.path(name), check=0)
                self.assertEqual(verdicts(document)["status"], "skip")

    def test_WithoutAPinItIsStatus2AndTheHintNamesAllSix(self):
        done = run("verify", self.document)
        self.assert_error(done, 2, "--tsa-cert", "--tsa-fingerprint", "--ca-file", "--ca-path", "--system-ca", "--insecure-any-signer")
        self.assertEqual(done.stdout.decode().splitlines()[-1], "consistent in itself, authority not checked")
        self.assertIn("pass  signature", done.stdout.decode())
        self.assertFalse(self.verify(check=2)["authority_checked"])

    def test_AFailedCheckComesBeforeTheWantOfAPin(self):
        self.write(self.document, b"changed")
        done = run("verify", self.document)
        self.assert_error(done, 1, "imprint")
        self.assertNotIn("consistent in itself, authority not checked", done.stdout.decode().splitlines())

    def test_AnySignerIsAcceptedOnDemand(self):
        done = run("verify", self.document, "--insecure-any-signer", check=0)
        self.assertRegex(done.stdout.decode(), "skip  signer .*consistent in itself, authority not checked\n")
        self.assertFalse(self.verify("--insecure-any-signer", check=0)["authority_checked"])

    def test_TheFingerprintIsAPin(self):
        right = self.fingerprint(self.tsa)
        document = self.verify("--tsa-fingerprint", "sha256:" + right, check=0)
        self.assertEqual(verdicts(document)["signer"], "pass")
        self.verify("--tsa-fingerprint", "sha256:" + right.replace(":", "").lower(), check=0)
        document = self.verify("--tsa-fingerprint", "sha256:" + self.fingerprint(self.ca), check=1)
        self.assertEqual(verdicts(document)["signer"], "fail")
        self.assertEqual(verdicts(document)["signature"], "pass")
        document = self.verify("--tsa-cert", self.tsa, "--tsa-fingerprint", "sha256:" + self.fingerprint(self.ca), check=1)
        self.assertEqual(verdicts(document)["signer"], "fail")
        self.verify("--tsa-fingerprint", right, check=0)
        for wrong in ("sha1:" + right, "sha256:" + right[:-3], "sha256:xyz"):
            self.verify("--tsa-fingerprint", wrong, check=2)

    def test_AnotherCertificateIsNotTheSigner(self):
        document = self.verify("--tsa-cert", self.ca, check=1)
        self.assertEqual(verdicts(document)["signature"], "pass")
        self.assertEqual(verdicts(document)["signer"], "fail")
        self.assertFalse(document["authority_checked"])

    def test_AnotherCertificateOfTheSameKeyIsNotTheSigner(self):
        folder = os.path.dirname(self.tsa)
        self.write(self.path("again.pem"), openssl("req", "-x509", "-new", "-config", self.config(), "-key", os.path.join(folder, "tsa.key")))
        document = self.verify("--tsa-cert", self.path("again.pem"), check=1)
        self.assertEqual(verdicts(document)["signer"], "fail")
        self.assertEqual(document["code"], -16)

    def test_TheLibraryAloneChecksWithACertificateThatTheTokenLacks(self):
        query = run("request", self.document, "--no-cert", check=0).stdout
        with support.Authority(os.path.dirname(self.tsa)) as authority:
            self.write(self.reply, support.post(authority.url, query))
        os.remove(self.document + ".tsq")
        for more in ((), ("--library-only",)):
            with self.subTest(more):
                self.assert_error(run("verify", self.document, "--insecure-any-signer", *more), 8, "signer")
                self.verify("--tsa-cert", self.tsa, *more, check=0)
                self.verify("--tsa-cert", self.ca, "--tsa-cert", self.tsa, *more, check=0)
                self.verify("--tsa-cert", self.ca, *more, check=1 if more else 8)
                self.verify("--tsa-cert", self.tsa, "--tsa-fingerprint", "sha256:" + "00" * 32, *more, check=1)

    def test_AChangedFileFailsTheImprint(self):
        self.write(self.document, b"changed")
        document = self.verify("--tsa-cert", self.tsa, check=1)
        self.assertEqual(verdicts(document)["imprint"], "fail")
        self.assertEqual(verdicts(document)["signature"], "pass")
        self.assertIn("imprint", document["error"])
        self.assertTrue(document["hint"])

    def test_TheDigestReplacesTheFile(self):
        digest = openssl("dgst", "-sha256", "-binary", self.document).hex()
        token = ("--token", self.reply, "--tsa-cert", self.tsa)
        self.assertEqual(verdicts(run_json("verify", "--digest", digest, *token, check=0))["imprint"], "pass")
        self.assertEqual(verdicts(run_json("verify", "--digest", "00" * 32, *token, check=1))["imprint"], "fail")
        document = run_json("verify", "--request", self.document + ".tsq", *token, check=0)
        self.assertEqual((verdicts(document)["imprint"], verdicts(document)["request"]), ("skip", "pass"))
        self.assertEqual(verdicts(run_json("verify", *token, check=0))["imprint"], "skip")
        self.assert_error(run("verify", "--digest", digest), 2)
        self.assert_error(run("verify", self.document, "--digest", digest, *token), 2, "--digest")

    def test_ADigestMayNameItsAlgorithm(self):
        token = ("--token", self.reply, "--tsa-cert", self.tsa)
        digest = openssl("dgst", "-sha256", "-binary", self.document).hex()
        self.assertEqual(verdicts(run_json("verify", "--digest", f"sha256:{digest}", *token, check=0))["imprint"], "pass")
        self.assertEqual(verdicts(run_json("verify", "--digest", f"SHA-256:{digest}", *token, check=0))["imprint"], "pass")
        self.assertEqual(verdicts(run_json("verify", "--digest", f"sha3-256:{digest}", *token, check=1))["imprint"], "fail")
        for wrong in (digest[:-2], f"sha256:{digest[:-2]}", f"sha1:{digest}", f"none:{digest}", "sha256:", digest + "0"):
            with self.subTest(wrong):
                self.assert_error(run("verify", "--digest", wrong, *token), 2, "digest")

    def test_TheRequestMustBeTheOneThatIsAnswered(self):
        document = self.verify("--tsa-cert", self.tsa, "--request", self.other + ".tsq", check=1)
        self.assertEqual(verdicts(document)["request"], "pass")
        self.assertEqual(verdicts(document)["nonce"], "fail")
        run("request", "--digest", "00" * 32, "--no-nonce", "-o", self.path("no.tsq"), check=0)
        document = self.verify("--tsa-cert", self.tsa, "--request", self.path("no.tsq"), check=1)
        self.assertEqual(verdicts(document)["request"], "fail")
        self.assertEqual(verdicts(document)["nonce"], "skip")
        run("request", self.document, "--policy", "1.2.9", "--no-nonce", "-o", self.path("policy.tsq"), check=0)
        document = self.verify("--tsa-cert", self.tsa, "--request", self.path("policy.tsq"), check=1)
        self.assertEqual(verdicts(document)["policy"], "fail")

    def test_WithoutARequestTheNonceIsNotChecked(self):
        os.remove(self.document + ".tsq")
        document = self.verify("--tsa-cert", self.tsa, check=0)
        self.assertEqual(verdicts(document)["nonce"], "skip")
        self.assertNotIn("request", verdicts(document))

    def test_NonceAndPolicyAreComparedWithTheOptions(self):
        nonce = self.verify("--tsa-cert", self.tsa, check=0)["token"]["nonce"]
        pin = ("--tsa-cert", self.tsa)
        self.verify(*pin, "--nonce", nonce, check=0)
        self.verify(*pin, "--nonce", "0000" + nonce[2:], check=0)  # the same number
        self.assertEqual(verdicts(self.verify(*pin, "--nonce", "01", check=1))["nonce"], "fail")
        self.verify(*pin, "--policy", "1.2.3.4.5.6", check=0)
        self.assertEqual(verdicts(self.verify(*pin, "--policy", "1.2.3.4.5.7", check=1))["policy"], "fail")

    def test_AChangedTokenDoesNotVerify(self):
        reply = bytearray(self.read(self.reply))
        time = re.search(rb"\x18\x0f\d{14}Z", reply)
        reply[time.end() - 2] ^= 1  # the last digit of genTime
        self.write(self.reply, bytes(reply))
        document = self.verify("--tsa-cert", self.tsa, check=1)
        self.assertEqual(verdicts(document)["signature"], "fail")
        self.assertEqual(verdicts(document)["signer"], "skip")
        self.assertEqual(document["code"], -8)
        reply = bytearray(self.read(self.original + ".tsr"))
        reply[-1] ^= 1  # the signature
        self.write(self.reply, bytes(reply))
        self.assertEqual(verdicts(self.verify("--insecure-any-signer", check=1))["signature"], "fail")

    def test_AnotherDigestInTheSignatureAlgorithmDoesNotVerify(self):
        before, rsa, after = self.read(self.reply).rpartition(bytes.fromhex("06092a864886f70d010101"))
        self.write(self.reply, before + rsa[:-1] + b"\x05" + after)  # sha1WithRSAEncryption over SHA-256
        done = run("verify", self.document, "--tsa-cert", self.tsa)
        self.assert_error(done, 1, "does not verify")
        self.assertIn(b"fail  signature", done.stdout)

    def test_AnInvalidTokenIsStatus4(self):
        whole = self.read(self.reply)
        for data in (b"", b"hello", whole[:-10], whole[:100], b"\x30\x80" * 2000, self.read(self.tsa), self.read(self.document + ".tsq")):
            with self.subTest(data=data[:8], length=len(data)):
                self.write(self.reply, data)
                self.assert_error(run("verify", self.document, "--tsa-cert", self.tsa), 4, "report.txt.tsr")

    def test_TheLibrarysMessagesAreShownOnDemandOnly(self):
        self.write(self.reply, self.read(self.reply).replace(b"\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x02", b"\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x09"))
        self.assertNotIn(b"ERROR", run("verify", self.document, "--tsa-cert", self.tsa).stderr)
        self.assertIn(b"qex: library: ", run("verify", "-v", self.document, "--tsa-cert", self.tsa).stderr)
        document = self.verify("--tsa-cert", self.tsa)
        self.assertIn("ERROR", document["library_messages"])
        self.assertNotEqual(document["asn1_error"], 0)

    def test_FilesThatAreMissingAreStatus3(self):
        self.assert_error(run("verify", self.document, "--tsa-cert", self.path("none.pem")), 3, "none.pem")
        self.assert_error(run("verify", self.document, "--tsa-cert", self.tsa, "--token", self.path("none.tsr")), 3, "none.tsr")
        os.remove(self.reply)
        self.assert_error(run("verify", self.document, "--tsa-cert", self.tsa), 3, "--token")

    def test_ACertificateThatIsNoneIsStatus4(self):
        self.assert_error(run("verify", self.document, "--tsa-cert", self.document), 4)
        self.assert_error(run("verify", self.document, "--tsa-cert", self.document + ".tsq"), 4, "request")

    def test_ACertificateThatTheLibraryCannotReadIsNotTheSigner(self):
        for key, name, words in ((("ec", "-pkeyopt", "ec_paramgen_curve:P-256"), "/CN=x", "ecPublicKey (1.2.840.10045.2.1)"),
                                 (("rsa:2048",), "/DC=x", "name attribute domainComponent (0.9.2342.19200300.100.1.25)")):
            with self.subTest(name):
                self.write(self.path("other.pem"), openssl("req", "-x509", "-newkey", *key, "-nodes", "-subj", name, "-config",
                                                           self.config(), "-keyout", self.path("other.key")))
                document = self.verify("--tsa-cert", self.path("other.pem"), check=1)
                self.assertEqual((verdicts(document)["signature"], verdicts(document)["signer"]), ("pass", "fail"))
                self.assertIn(words, [check["text"] for check in document["checks"] if check["name"] == "library"][0])

    def test_QuietSaysNothingAndKeepsTheStatus(self):
        self.assertEqual(run("verify", "-q", self.document, "--tsa-cert", self.tsa, check=0).stdout, b"")
        self.write(self.document, b"changed")
        self.assertEqual(run("verify", "-q", self.document, "--tsa-cert", self.tsa, check=1).stdout, b"")

    def test_ColourIsForTerminalsOrOnDemand(self):
        plain = ("verify", self.document, "--tsa-cert", self.tsa)
        self.assertNotIn(b"\x1b", run(*plain, check=0).stdout)
        self.assertIn(b"\x1b[32mpass", run(*plain, "--color", "always", check=0).stdout)
        self.assertNotIn(b"\x1b", run(*plain, "--color", "never", check=0).stdout)
        for term, no_color, coloured in (("xterm", "", True), ("xterm", "1", False), ("dumb", "", False)):
            with self.subTest(term=term, no_color=no_color):
                text = self.on_a_terminal(*plain, TERM=term, NO_COLOR=no_color)
                self.assertEqual(b"\x1b[32m" in text, coloured)

    def on_a_terminal(self, *arguments, **more):
        import pty
        master, slave = pty.openpty()
        process = support.subprocess.Popen([support.QEX, *arguments], stdout=slave, env=environment(**more))
        os.close(slave)
        text = b""
        try:
            while piece := os.read(master, 65536):
                text += piece
        except OSError:  # how a terminal ends
            pass
        os.close(master)
        self.assertEqual(process.wait(), 0)
        return text

    def test_AWorkerThatEndsIsStatus70(self):
        env = support.preloaded(support.FAILING_CHECK)
        done = run("verify", "-v", self.document, "--tsa-cert", self.tsa, env=env)
        self.assert_error(done, 70, "worker", "signal 6", "a made-up one")
        document = run_json("verify", self.document, "--tsa-cert", self.tsa, env=env, check=70)
        self.assertIn("a made-up one", document["library_messages"])
        self.assertNotIn("checks", document)

    def test_AStoppedWorkerIsReportedWithItsCause(self):
        def limited():
            import resource
            resource.setrlimit(resource.RLIMIT_CPU, (1, 60))
        for how, words in (("spin", "too much time\n"), ("kill", "too much time or memory")):
            with self.subTest(how):
                done = support.subprocess.run(
                    [support.QEX, "verify", self.document, "--tsa-cert", self.tsa], capture_output=True, timeout=300,
                    env={**support.preloaded(support.FAILING_CHECK), "CHECK": how}, preexec_fn=limited, check=False)
                self.assert_error(done, 70, "worker", words)

    def test_ACheckWithoutMemoryGivesNoVerdict(self):
        preloaded = support.preloaded(support.FAILING_CHECK)
        for code, asn1_error, status in ((-2, 0, 70), (-1, -27, 70), (-7, -27, 70), (-6, -27, 70), (-7, -26, 1)):
            with self.subTest(code=code, asn1_error=asn1_error):
                env = {**preloaded, "CHECK": f"{code} {asn1_error}"}
                for pin in (("--tsa-cert", self.tsa), ("--insecure-any-signer",)):
                    document = self.verify(*pin, check=status, env=env)
                    self.assertEqual((document["code"], document["asn1_error"]), (code, asn1_error))
                    self.assertEqual("more memory than is allowed" in document["error"], status == 70)


class OtherTokensTest(ToolTest):
    """Tokens of other keys, digests and attributes."""

    def test_AKeyThatTheLibraryDoesNotKnowIsTheStrictReaders(self):
        with self.authority("--key", "ec", keys="ec") as authority:
            self.stamped(authority)
            document = run_json("verify", self.document, "--tsa-cert", authority.tsa, check=0)
        checks = {check["name"]: check for check in document["checks"]}
        self.assertEqual((checks["signature"]["verdict"], checks["signature"]["by"]), ("pass", "strict"))
        self.assertIn("ecPublicKey (1.2.840.10045.2.1)", checks["library"]["text"])
        self.assert_error(run("verify", self.document, "--tsa-cert", authority.tsa, "--library-only"), 7, "ecPublicKey")

    def test_AWeakDigestOfTheSignatureFails(self):
        for digest in ("sha1", "md5"):
            with self.subTest(digest=digest), self.authority("--digest", digest) as authority:
                self.assert_error(run("stamp", self.document, "--tsa", authority.url, "--force"), 1, digest, "--allow-weak")
                run("stamp", self.document, "--tsa", authority.url, "--allow-weak", "--force", check=0)
                self.assert_error(run("verify", self.document, "--tsa-cert", authority.tsa), 1, "signature")
                run("verify", self.document, "--tsa-cert", authority.tsa, "--allow-weak", check=0)

    def test_AWeakImprintFails(self):
        with self.authority() as authority:
            self.stamped(authority, "--hash", "sha1", "--allow-weak")
            document = run_json("verify", self.document, "--tsa-cert", authority.tsa, check=1)
            self.assertEqual(verdicts(document)["imprint"], "fail")
            run("verify", self.document, "--tsa-cert", authority.tsa, "--allow-weak", check=0)

    def test_ALowExponentFails(self):
        with self.authority("--rsa-exponent", "3", keys="exponent3") as authority:
            self.assert_error(run("stamp", self.document, "--tsa", authority.url), 1, "exponent", "--allow-low-exponent")
            self.stamped(authority, "--allow-low-exponent")
            for pin in (("--tsa-cert", authority.tsa), ("--insecure-any-signer",)):
                document = run_json("verify", self.document, *pin, check=1)
                self.assertEqual(verdicts(document)["signature"], "fail")
                run("verify", self.document, *pin, "--allow-low-exponent", check=0)

    def test_EitherSigningCertificateAttributeIsFound(self):
        for version, other in (("v1", "v2"), ("v2", "v1")):
            with self.subTest(version=version), self.authority("--ess", version) as authority:
                self.stamped(authority)
                self.assertEqual(run_json("verify", self.document, "--tsa-cert", authority.tsa, check=0)["ess"], version)
                run("verify", self.document, "--tsa-cert", authority.tsa, "--ess", version, check=0)
                self.assertEqual(run_json("verify", self.document, "--tsa-cert", authority.tsa, "--ess", other, check=4)["code"], -6)
                self.assertEqual(run_json("verify", self.document, "--insecure-any-signer", "--ess", other, check=4)["code"], -6)
                # The caller's own switch does not affect it.
                env = environment(QEX_VERIFY_ESSCERTIDV2="0" if version == "v2" else "1")
                run("verify", self.document, "--tsa-cert", authority.tsa, env=env, check=0)

    def test_LongDigestsOfTheSecondAttribute(self):
        for digest in ("sha384", "sha512"):
            with self.subTest(digest=digest), self.authority("--ess-digest", digest, "--digest", digest) as authority:
                self.stamped(authority, "--hash", digest)
                run("verify", self.document, "--tsa-cert", authority.tsa, check=0)

    def test_FractionsOfASecondAndNoAccuracy(self):
        with self.authority("--clock-digits", "3", "--accuracy", "", "--no-tsa-name") as authority:
            self.stamped(authority)
            token = run_json("verify", self.document, "--tsa-cert", authority.tsa, check=0)["token"]
        self.assertRegex(token["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{1,3})?Z$")
        self.assertNotIn("accuracy", token)
        self.assertNotIn("authority", token)


if __name__ == "__main__":
    support.main()
