"""Time attribute certificates: taken out, shown, checked; tokens rewritten; identifiers without a type named."""

import os
import sys
import unittest
import urllib.request

import support
from support import AUTHORITY, ToolTest, openssl, run, run_json, verdicts

sys.path.insert(0, os.path.dirname(AUTHORITY))
from tac import BIT_STRING, V2_ATTR_CERT, der, elements, oid  # noqa: E402


def signed_data(token):
    """The fields of a token's SignedData as (tag, content, whole)."""
    return elements(elements(elements(elements(token)[0][1])[1][1])[0][1])


def certificates_of(token):
    return [(tag, content, whole) for field in signed_data(token) if field[0] == 0xA0
            for tag, content, whole in elements(field[1])]


def attribute_certificate_of(token):
    """The attribute certificate of the set as an encoding of its own."""
    return next(der(0x30, content) for tag, content, _ in certificates_of(token) if tag == V2_ATTR_CERT)


class TacTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.original = os.path.join(cls.class_folder, "original")
        cls.write(cls.original, b"what is to be stamped\n")
        stamp = cls.stamp
        with cls.start("--tac") as authority:
            cls.tsa, cls.ca, cls.keys = authority.tsa, authority.ca, os.path.dirname(authority.tsa)
            cls.named = stamp(authority, "named")
            cls.other = stamp(authority, "other")
            cls.bare = stamp(authority, "bare", "--no-cert")
        with cls.start("--tac", "--ess", "v1") as authority:
            cls.first_version = stamp(authority, "first")
        with cls.start("--tac", "signer-attribute") as authority:
            cls.held = stamp(authority, "held")
        with cls.start() as authority:
            cls.plain = stamp(authority, "plain")
        cls.tac = os.path.join(cls.class_folder, "tac")
        run("tac", "get", cls.named, "-o", cls.tac, check=0)

    @classmethod
    def start(cls, *options):
        return support.Authority(os.path.join(cls.class_folder, "keys"), *options)

    @classmethod
    def stamp(cls, authority, name, *options):
        """A token of its own file; a reply carries the same."""
        reply = os.path.join(cls.class_folder, name + ".tsr")
        run("stamp", cls.original, "--tsa", authority.url, "--retry", "0", "-o", reply, *options, check=0)
        token = os.path.join(cls.class_folder, name)
        run("reply", reply, "--token", "-o", token, check=0)
        return token

    def query_of(self):
        run("request", self.document, "-o", self.path("query"), "--force", check=0)
        return self.read(self.path("query"))

    def reply_of(self, *options):
        """A reply that the tool's stamp would not accept, straight from an authority."""
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        with self.start(*options) as authority:
            request = urllib.request.Request(authority.url, self.query_of(),
                                             {"Content-Type": "application/timestamp-query"})
            return opener.open(request, timeout=30).read()

    def token_with(self, *options):
        return elements(elements(self.reply_of(*options))[0][1])[1][2]

    # get

    def test_TheCertificateIsExtractedAsAnEncodingOfItsOwn(self):
        expected = attribute_certificate_of(self.read(self.named))
        self.assertEqual(expected[0], 0x30)
        self.assertEqual(run("tac", "get", self.named, check=0).stdout, expected)
        self.assertEqual(run("tac", "get", self.named + ".tsr", check=0).stdout, expected)
        self.assertEqual(run("tac", "get", "-", stdin=self.read(self.named), check=0).stdout, expected)
        document = run_json("tac", "get", self.named, check=0)
        self.assertEqual(bytes.fromhex(document["attribute_certificate"]), expected)
        self.assertEqual(document["sha256"], openssl("dgst", "-sha256", "-binary", self.tac).hex())

    def test_TheFirstVersionOfTheAttributeNamesItToo(self):
        expected = attribute_certificate_of(self.read(self.first_version))
        self.assertEqual(run("tac", "get", self.first_version, check=0).stdout, expected)
        run("tac", "check", self.first_version, check=0)
        self.assertEqual(run_json("tac", "get", self.first_version, "--ess", "v2", check=8)["code"], -15)

    def test_TheExtractedCertificateVerifiesUnderItsIssuer(self):
        body, _, signature = elements(elements(self.read(self.tac))[0][1])
        self.assertEqual(signature[0], BIT_STRING)
        self.write(self.path("body"), body[2])
        self.write(self.path("signature"), signature[1][1:])
        self.write(self.path("key"), openssl("x509", "-in", os.path.join(self.keys, "tac.pem"), "-noout", "-pubkey"))
        self.assertEqual(openssl("dgst", "-sha256", "-verify", self.path("key"), "-signature", self.path("signature"),
                                 self.path("body")), b"Verified OK\n")

    def test_PemGivesTheSameOctets(self):
        text = run("tac", "get", self.named, "--pem", check=0).stdout
        self.assertTrue(text.startswith(b"-----BEGIN ATTRIBUTE CERTIFICATE-----\n"))
        self.assertEqual(openssl("base64", "-d", data=b"\n".join(text.splitlines()[1:-1]) + b"\n"), self.read(self.tac))
        self.write(self.path("pem"), text)
        self.assertEqual(run_json("show", self.path("pem"), check=0)["kind"], "attribute certificate")

    def test_ATokenWithoutOneIsStatus8(self):
        for action in ("get", "show", "check"):
            for token in (self.plain, self.bare):
                with self.subTest(action=action, token=token):
                    self.assert_error(run("tac", action, token), 8, "time attribute certificate")
                    self.assertEqual(run_json("tac", action, token, check=8)["code"], -15)
        self.assertNotIn("out", self.files())
        self.assert_error(run("tac", "get", self.plain, "-o", self.path("out")), 8)
        self.assertNotIn("out", self.files())

    # show

    def test_ShowPrintsTheAuthoritysValues(self):
        document = run_json("tac", "show", self.named, check=0)
        stamped = run_json("show", self.named, check=0)["token"]["time"]
        metrics = document["timing_metrics"]
        self.assertEqual(metrics["ntp_time"], stamped)
        self.assertEqual(metrics["ntp_time_as_received"], stamped.translate({ord(c): None for c in "-:T"}))
        self.assertEqual((metrics["offset_seconds"], metrics["delay_seconds"]), (-0.25, 0.125))
        self.assertEqual((int(metrics["expiration"][11:13]) - int(stamped[11:13])) % 24, 1)
        self.assertEqual(metrics["expiration"][13:], stamped[13:])
        self.assertEqual(metrics["leap_event"], {"time": "2017-01-01T00:00:00Z", "time_as_received": "20170101000000Z", "action": 1})
        self.assertEqual(document["timing_policy"], {"policy": "1.2.3.4.5.60", "max_offset_seconds": 1.5, "max_delay_seconds": 2.0})

    def test_ShowPrintsHolderIssuerAndValidity(self):
        document = run_json("tac", "show", self.named, check=0)
        self.assertEqual(document["holder"], "C=XX;O=Test Authority;CN=Test Time-Stamp Signer")
        self.assertEqual(document["issuer"], "C=XX;O=Test Authority;CN=Test Time Attribute Issuer")
        fingerprint = openssl("x509", "-in", self.tsa, "-noout", "-fingerprint", "-sha256").decode().strip().split("=")[1]
        self.assertEqual(document["holder_digest"], fingerprint.replace(":", "").lower())
        self.assertEqual(document["holder_digest_algorithm"], "sha256")
        times = [line.split(":")[-1] for line in openssl("asn1parse", "-inform", "DER", "-in", self.tac).decode().splitlines()
                 if "GENERALIZEDTIME" in line]
        self.assertEqual([document["not_before_as_received"], document["not_after_as_received"]], times)
        self.assertEqual("".join(c for c in document["not_after"] if c.isdigit()) + "Z", times[1])

    def test_TextHasTheSameFacts(self):
        text = run("tac", "show", self.named, check=0).stdout.decode()
        for line in (r"named: time attribute certificate\n", r"  holder +C=XX;O=Test Authority;CN=Test Time-Stamp Signer\n",
                     r"    offset seconds +-0\.25\n", r"    delay seconds +0\.125\n", r"    max offset seconds +1\.5\n",
                     r"    policy +1\.2\.3\.4\.5\.60\n", r"      action +1\n"):
            self.assertRegex(text, line)

    def test_QexShowHasThemForATokenAndForABareCertificate(self):
        wanted = run_json("tac", "show", self.named, check=0)
        parts = ("holder", "issuer", "serial", "not_before", "timing_metrics", "timing_policy", "sha256")
        token = run_json("show", self.named, check=0)["time_attribute_certificate"]
        bare = run_json("show", self.tac, check=0)
        alone = run_json("tac", "show", self.tac, check=0)
        self.assertEqual(bare["kind"], "attribute certificate")
        for found in (token, bare, alone):
            self.assertEqual({part: found[part] for part in parts}, {part: wanted[part] for part in parts})
        self.assertRegex(run("show", self.named, check=0).stdout.decode(), r"\n  time attribute certificate\n(    .*\n)*      ntp time ")
        self.assertRegex(run("show", self.tac, check=0).stdout.decode(), r"\n    ntp time ")
        self.assertNotIn("time_attribute_certificate", run_json("show", self.plain, check=0))

    def test_ACertificateWithoutPolicyIsStatus8AndWithoutMetrics4(self):
        for parts, status, code, kept in (("metrics", 8, -17, "timing_metrics"), ("policy", 4, -5, "timing_policy")):
            with self.subTest(parts=parts):
                self.write(self.path("token"), self.token_with("--tac", "--tac-parts", parts))
                document = run_json("tac", "show", self.path("token"), check=status)
                self.assertEqual((document["exit"], document["code"]), (status, code))
                self.assertIn(kept, document)
                self.assertEqual([name for name in document if name.startswith("timing_")], [kept])
                self.assert_error(run("tac", "show", self.path("token")), status, "states no timing")
                run("tac", "check", self.path("token"), check=0)
                self.assertIn(kept, run_json("show", self.path("token"), check=0)["time_attribute_certificate"])

    def test_ATimeThatCannotBeRenderedIsNotedAndNoFailure(self):
        data = self.read(self.tac)
        at = data.index(bytes.fromhex("300A020500"))  # ntpTime, of four octets and a zero in front
        self.write(self.path("tac"), data[:at + 4] + b"\x7f" + data[at + 5:])
        metrics = run_json("tac", "show", self.path("tac"), check=0)["timing_metrics"]
        self.assertNotIn("ntp_time", metrics)
        self.assertEqual((metrics["offset_seconds"], metrics["cut"]), (-0.25, ["a time or duration out of range"]))
        self.assertIn(b"out of range", run("tac", "show", self.path("tac"), check=0).stdout)

    def test_ASerialNumberThatIsCutIsNotedAndNoFailure(self):
        body, algorithm, signature = elements(elements(self.read(self.tac))[0][1])
        fields = [whole for _, _, whole in elements(body[1])]
        fields[4] = der(0x02, b"\x01" * 41)
        self.write(self.path("tac"), der(0x30, der(0x30, *fields), algorithm[2], signature[2]))
        document = run_json("tac", "show", self.path("tac"), check=0)
        self.assertEqual((document["serial"], document["cut"]), ("0x" + "01" * 40, ["serial number"]))

    def test_NamesAreEscaped(self):
        self.write(self.path("tac"), self.read(self.tac).replace(b"Test Time-Stamp Signer", b"Test \x1b[2J\nStamp Signer"))
        done = run("tac", "show", self.path("tac"), check=0)
        self.assertIn(b"CN=Test \\x1b[2J Stamp Signer\n", done.stdout)
        self.assertNotIn(b"\x1b", done.stdout)

    def test_ARefusalIsStatus5(self):
        self.write(self.path("refusal"), self.reply_of("--reject", "badAlg"))
        for words in (("tac", "get"), ("tac", "show"), ("tac", "check"), ("rewrite", "--id-data")):
            with self.subTest(words=words):
                self.assert_error(run(*words, self.path("refusal")), 5, "badAlg")

    # check

    def test_ItsOwnBelongsToTheToken(self):
        for token in (self.named, self.held, self.first_version):
            with self.subTest(token=token):
                document = run_json("tac", "check", token, check=0)
                self.assertEqual(verdicts(document), {
                    "belongs": "pass", "token": "skip", "certificate": "skip"})

    def test_OneKeptApartBelongsToTheTokenThatNamesIt(self):
        self.write(self.path("tac"), attribute_certificate_of(self.read(self.other)))
        run("tac", "check", self.other, "--tac", self.path("tac"), check=0)
        run("rewrite", self.other, "--drop-attr-certs", "-o", self.path("dropped"), check=0)
        run("tac", "check", self.path("dropped"), check=8)
        self.assertEqual(verdicts(run_json("tac", "check", self.path("dropped"), "--tac", self.path("tac"), check=0))["belongs"], "pass")

    def test_OneOfAnotherTokenDoesNotBelong(self):
        for token in (self.other, self.held, self.bare, self.plain):
            with self.subTest(token=token):
                self.assert_error(run("tac", "check", token, "--tac", self.tac), 1, "belongs")
                document = run_json("tac", "check", token, "--tac", self.tac, check=1)
                self.assertEqual((document["code"], verdicts(document)["belongs"]), (-16, "fail"))
        self.assertTrue(run_json("tac", "show", self.named, "--tac", self.tac, check=0)["belongs_to_token"])
        self.assertFalse(run_json("tac", "show", self.other, "--tac", self.tac, check=0)["belongs_to_token"])

    def test_AnotherVersionOfTheAttributeIsAbsent(self):
        document = run_json("tac", "check", self.named, "--tac", self.tac, "--ess", "v1", check=4)
        self.assertEqual((document["code"], verdicts(document)["belongs"]), (-6, "fail"))
        self.assertIn("signing-certificate", document["error"])

    def test_AnInvalidAttributeCertificateIsStatus4(self):
        self.assert_error(run("tac", "check", self.named, "--tac", self.tsa), 4, "attribute certificate is needed")
        self.assert_error(run("tac", "check", self.tac), 4, "where a token is needed")
        self.assert_error(run("tac", "get", self.tac), 4, "where a token is needed")
        self.assert_error(run("tac", "show", self.tsa), 4, "where a token is needed")
        self.assert_error(run("tac", "show", self.path("missing")), 3)

    def test_WrongUsageIsStatus2(self):
        for words in (("get", self.named, "--tac", self.tac), ("show", self.named, "-o", "x"), ("check", self.named, "--pem"),
                      ("take", self.named), ("get",), ()):
            with self.subTest(words=words):
                self.assert_error(run("tac", *words), 2)

    def test_ATokenWithACertificateVerifies(self):
        for token in (self.named, self.held, self.first_version):
            run("verify", self.original, "--token", token, "--tsa-cert", self.tsa, check=0)

    # rewrite

    def test_AttributeCertificatesAreDropped(self):
        document = run_json("rewrite", self.named, "--drop-attr-certs", "-o", self.path("dropped"), check=0)
        self.assertTrue(document["changed"])
        before, after = self.read(self.named), self.read(self.path("dropped"))
        self.assertEqual(document["token"], after.hex())
        self.assertEqual([whole for tag, _, whole in certificates_of(before) if tag == 0x30],
                         [whole for _, _, whole in certificates_of(after)])
        self.assertEqual([fields[0][1] for fields in (signed_data(before), signed_data(after))], [b"\4", b"\3"])
        self.assertEqual(signed_data(before)[-1], signed_data(after)[-1])
        run("verify", self.original, "--token", self.path("dropped"), "--tsa-cert", self.tsa, check=0)
        openssl("cms", "-verify", "-inform", "DER", "-in", self.path("dropped"), "-CAfile", self.ca, "-purpose", "timestampsign")

    def test_ATokenWithoutAnyIsUnchanged(self):
        for source in (self.plain, self.plain + ".tsr"):
            self.assertEqual(run("rewrite", source, "--drop-attr-certs", check=0).stdout, self.read(self.plain))
        self.assertFalse(run_json("rewrite", self.plain, "--drop-attr-certs", check=0)["changed"])

    def test_TheContentIsTypedAsPlainData(self):
        run("rewrite", self.plain, "--id-data", "-o", self.path("data"), check=0)
        before, after = signed_data(self.read(self.plain)), signed_data(self.read(self.path("data")))
        self.assertEqual(elements(after[2][1])[0][2], oid("1.2.840.113549.1.7.1"))
        self.assertEqual(elements(after[2][1])[1], elements(before[2][1])[1])
        self.assertEqual(after[0][1], b"\1")
        self.assertEqual(before[3:], after[3:])

    def test_RewritingWithoutOrWithBothWaysIsStatus2(self):
        self.assert_error(run("rewrite", self.plain), 2, "--drop-attr-certs")
        self.assert_error(run("rewrite", self.plain, "--drop-attr-certs", "--id-data"), 2, "--id-data")
        self.assert_error(run("rewrite", self.tsa, "--id-data"), 4, "where a token is needed")
        self.assert_error(run("rewrite", self.path("missing"), "--id-data"), 3)

    # identifiers without a type

    def test_AnUnknownSignedAttributeIsNamed(self):
        """The library stops there, together with everything that only the library does; the strict reader
        goes on."""
        self.write(self.path("token"), self.token_with("--tac", "--extra-attribute", "1.2.3.4.5"))
        for words in (("tac", "get"), ("tac", "check"), ("rewrite", "--id-data", "-o", self.path("out"))):
            with self.subTest(words=words):
                self.assert_error(run(*words, self.path("token")), 4, "attribute 1.2.3.4.5,")
        document = run_json("tac", "get", self.path("token"), check=4)
        self.assertEqual((document["code"], document["asn1_error"]), (-6, -44))
        self.assertIn(b"attribute 1.2.3.4.5,", run("show", self.path("token"), check=0).stdout)
        done = run("verify", self.document, "--token", self.path("token"), "--tsa-cert", self.tsa, check=0)
        self.assertRegex(done.stdout.decode(), "\nnote  library .*attribute 1.2.3.4.5,")
        self.assertNotIn("out", self.files())

    def test_TheFirstUnknownOneIsNamed(self):
        # Attributes are in the order of their encodings, so the shorter identifier comes first.
        self.write(self.path("token"), self.token_with("--extra-attribute", "1.2.840.113549.1.9.52", "--extra-attribute", "1.2.3.4.5"))
        error = run_json("tac", "get", self.path("token"), check=4)["error"]
        self.assertIn("attribute 1.2.3.4.5,", error)
        self.assertNotIn("9.52", error)

    def test_AnUnknownNameAttributeIsNamed(self):
        # 2.5.4.97, organizationIdentifier, in place of 2.5.4.10: in the certificate of the set, then in the TSTInfo alone.
        known, unknown = oid("2.5.4.10"), oid("2.5.4.97")
        everywhere = self.read(self.plain).replace(known, unknown)
        content = elements(elements(signed_data(self.read(self.plain))[2][1])[1][1])[0][1]
        inside = self.read(self.plain).replace(content, content.replace(known, unknown))
        for name, data in (("everywhere", everywhere), ("inside", inside)):
            with self.subTest(name=name):
                self.assertNotEqual(data, self.read(self.plain))
                self.write(self.path("token"), data)
                self.assert_error(run("tac", "get", self.path("token")), 4, "name attribute ", "2.5.4.97")
                self.assertIn(b"2.5.4.97", run("show", self.path("token"), check=0).stdout)

    def test_AnUnknownAttributeOfACertificateIsNamedStatus4(self):
        known, unknown = oid("1.3.6.1.4.1.601.10.4.1"), oid("1.3.6.1.4.1.601.10.4.9")
        self.write(self.path("tac"), self.read(self.tac).replace(known, unknown))
        for words in (("show",), ("tac", "show"), ("tac", "check", self.named, "--tac")):
            with self.subTest(words=words):
                done = run(*words, self.path("tac"))
                if words[:2] == ("tac", "check"):
                    self.assertEqual(done.returncode, 1)  # its octets do not belong, whatever they hold
                else:
                    self.assert_error(done, 4, "attribute 1.3.6.1.4.1.601.10.4.9")


if __name__ == "__main__":
    support.main()
