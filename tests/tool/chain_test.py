"""Chains of one to five certificates with each fault, with the error number of `openssl verify`.

The tokens have a genTime one year ago, and every certificate of a chain is valid for eight years on either
side of today, unless a case says otherwise.
"""

import unittest
from collections import namedtuple

import support
from chain_support import EXPIRED, NO_CHAIN, NOT_YET, PATH, USAGE, ChainTest, notes, text_of, verdicts_of
from pki import DAY, GENTIME, NOW, SECOND, YEAR, flipped, iso

# `chain` are arguments of Pki.chain(), `openssl` the error number of `openssl verify` at genTime, `check` the line
# that fails and `words` the sub-indications that describe it.
Case = namedtuple("Case", "name chain openssl check words", defaults=(0, None, None))

CA = {"basicConstraints": "critical,CA:TRUE"}
NAMES = "[permitted]\nC = XX\nO = {0}\n[excluded]\nC = XX\nO = {0}\n"


def extended(sections="", **extensions):
    return {"extensions": extensions, "sections": sections}


def for_lengths(name, faults, first=2, **more):
    """The same fault in chains of every length from `first` to 5."""
    return [Case(f"{name}, {length} certificates", {"length": length, **faults}, **more)
            for length in range(first, 6)]


GOOD = [
    *for_lengths("without a fault", {}, first=1),
    *for_lengths("signer valid from genTime on", {"signer": {"not_before": GENTIME}}, first=1),
    *for_lengths("signer valid until just after genTime", {"signer": {"not_after": GENTIME + SECOND}}, first=1),
    Case("all path lengths just sufficient",
         {"length": 4, "root": extended(basicConstraints="critical,CA:TRUE,pathlen:2"),
          "ca1": extended(basicConstraints="critical,CA:TRUE,pathlen:1"),
          "ca2": extended(basicConstraints="critical,CA:TRUE,pathlen:0")}),
    Case("name inside the permitted tree",
         {"ca1": extended(NAMES.format("Chain Test"), nameConstraints="critical,permitted;dirName:permitted")}),
    Case("name outside the excluded tree",
         {"ca1": extended(NAMES.format("Another"), nameConstraints="critical,excluded;dirName:excluded")}),
    Case("an unknown extension that is not critical", {"ca1": extended(**{"1.3.6.1.4.1.32473.9": "ASN1:NULL"})}),
    Case("the root's signature on itself is by SHA-1", {"root": {"digest": "sha1"}}),
    Case("signed with SHA-384 and SHA-512", {"ca1": {"digest": "sha384"}, "signer": {"digest": "sha512"}}),
    Case("CA keys on curves", {"root": {"algorithm": "ec:P-384"}, "ca1": {"algorithm": "ec:P-256"}}),
    Case("every key on a curve", {"root": {"algorithm": "ec:P-521"}, "ca1": {"algorithm": "ec:P-384"},
                                  "signer": {"algorithm": "ec:P-256"}}),
    Case("a root of Ed25519", {"root": {"algorithm": "ed25519"}}),
]

BAD = [
    *for_lengths("signer expired at genTime", {"signer": {"not_after": GENTIME - DAY}}, first=1,
                 openssl=10, check="dates", words=EXPIRED),
    *for_lengths("signer not yet valid at genTime", {"signer": {"not_before": GENTIME + SECOND}}, first=1,
                 openssl=9, check="dates", words=NOT_YET),
    *for_lengths("root expired at genTime", {"root": {"not_after": GENTIME - DAY}}, openssl=10, check="chain"),
    *for_lengths("root not yet valid at genTime", {"root": {"not_before": GENTIME + DAY}}, openssl=9, check="chain"),
    *for_lengths("first intermediate expired at genTime", {"ca1": {"not_after": GENTIME - DAY}}, first=3,
                 openssl=10, check="chain"),
    *for_lengths("first intermediate not yet valid at genTime", {"ca1": {"not_before": GENTIME + DAY}}, first=3,
                 openssl=9, check="chain"),
    *for_lengths("an intermediate is no CA", {"ca1": extended(basicConstraints="critical,CA:FALSE")}, first=3,
                 openssl=79, check="chain", words=PATH),
    *for_lengths("an intermediate without basic constraints", {"ca1": extended(basicConstraints=None, keyUsage=None)},
                 first=3, openssl=79, check="chain", words=PATH),
    *for_lengths("an intermediate without keyCertSign", {"ca1": extended(keyUsage="critical,cRLSign,digitalSignature")},
                 first=3, openssl=79, check="chain"),
    *for_lengths("path length of the root exceeded",
                 {"root": extended(basicConstraints="critical,CA:TRUE,pathlen:0")},
                 first=3, openssl=25, check="chain", words=PATH),
    *for_lengths("path length of an intermediate exceeded",
                 {"ca1": extended(basicConstraints="critical,CA:TRUE,pathlen:0")},
                 first=4, openssl=25, check="chain", words=PATH),
    Case("signer outside the permitted tree",
         {"ca1": extended(NAMES.format("Another"), nameConstraints="critical,permitted;dirName:permitted")},
         47, "chain", PATH),
    Case("signer inside the excluded tree",
         {"ca1": extended(NAMES.format("Chain Test"), nameConstraints="critical,excluded;dirName:excluded")},
         48, "chain", PATH),
    Case("an unknown critical extension of an intermediate",
         {"ca1": extended(**{"1.3.6.1.4.1.32473.9": "critical,ASN1:NULL"})}, 34, "chain", PATH),
    Case("an unknown critical extension of the signer",
         {"signer": extended(**{"1.3.6.1.4.1.32473.9": "critical,ASN1:NULL"})}, 34, "chain", PATH),
    *for_lengths("another purpose", {"signer": extended(extendedKeyUsage="critical,codeSigning")}, first=1,
                 openssl=26, check="key_usage", words=USAGE),
    Case("no extended key usage", {"signer": extended(extendedKeyUsage=None)}, 26, "key_usage", USAGE),
    Case("a second purpose", {"signer": extended(extendedKeyUsage="critical,timeStamping,emailProtection")},
         26, "key_usage", USAGE),
    Case("extended key usage not critical", {"signer": extended(extendedKeyUsage="timeStamping")},
         26, "key_usage", USAGE),
    Case("key usage without signatures", {"signer": extended(keyUsage="critical,keyEncipherment")},
         26, "key_usage", USAGE),
]


class ChainsTest(ChainTest):
    """Certificates that the token carries, and the root in --ca-file."""

    def judged(self, chain, *options, check=None, roots=None):
        return self.verify(self.pki.token(chain), "--ca-file", roots or chain.root.path, *options, check=check)

    def test_AChainWithoutAFaultPasses(self):
        for case in GOOD:
            with self.subTest(case.name):
                chain = self.pki.chain(**case.chain)
                self.assertEqual(self.openssl_verdict(chain), 0)
                document = self.judged(chain)
                self.assert_passes(document)
                for name in ("signature", "signer", "key_usage", "dates", "chain"):
                    self.assertIn("pass", verdicts_of(document, name), name)

    def test_AReplyOfThisMomentPasses(self):
        for length in range(1, 6):
            with self.subTest(length):
                chain = self.pki.chain(length)
                for at in ((), ("--at", "gentime"), ("--at", "now")):
                    self.assert_passes(self.verify(self.pki.reply(chain), "--ca-file", chain.root.path, *at))

    def test_AFaultInTheChainFailsTheCheckThatItBelongsTo(self):
        for case in BAD:
            with self.subTest(case.name):
                chain = self.pki.chain(**case.chain)
                self.assertEqual(self.openssl_verdict(chain), case.openssl)
                document = self.judged(chain)
                self.assert_fails(document, case.check, case.words)
                self.assertIn("pass", verdicts_of(document, "signature"))

    def test_TheLineNamesTheRootAndTheNumberOfCertificates(self):
        for length in range(2, 6):
            document = self.judged(self.pki.chain(length), check=0)
            self.assertRegex(text_of(document, "chain"), rf"\broot\b.*\b{length} certificates\b.*\bat genTime\b")
            self.assertEqual([c["by"] for c in document["checks"] if c["name"] == "chain"], ["strict"])

    def test_WithoutAListRevocationIsSkippedWithTheReason(self):
        document = self.judged(self.pki.chain(), check=0)
        self.assertEqual(verdicts_of(document, "revocation"), {"skip"})
        self.assertIn("--crl", text_of(document, "revocation"))

    def test_ASignatureOnACertificateThatIsWrongFailsTheChain(self):
        chain = self.pki.chain(4)
        for place in (0, 1):
            with self.subTest(place):
                carried = [certificate.pem for certificate in chain.intermediates]
                carried[place] = flipped(carried[place])
                token = self.pki.token(chain, carried=[])
                self.assert_fails(self.verify(token, "--ca-file", chain.root.path, "--untrusted",
                                              self.pki.file(*carried)), "chain")

    def test_AnUnknownRootFindsNoChain(self):
        stranger = self.pki.certificate("stranger", base=CA)
        namesake = self.pki.certificate("namesake", subject="/C=XX/O=Chain Test/CN=root", base=CA)
        for length in range(2, 6):
            for anchor in (stranger, namesake):
                with self.subTest(length=length, anchor=anchor.subject):
                    chain = self.pki.chain(length)
                    self.assertNotEqual(self.openssl_verdict(chain, roots=anchor.path), 0)
                    self.assert_fails(self.judged(chain, roots=anchor.path), "chain", NO_CHAIN)

    def test_ARootInTheTokenOrAmongTheUntrustedIsNotTrusted(self):
        chain = self.pki.chain()
        stranger = self.pki.certificate("stranger", base=CA)
        every = [*chain.intermediates, chain.root]
        self.assertEqual(self.openssl_verdict(chain, roots=stranger.path, carried=every), 19)
        token = self.pki.token(chain, carried=every)
        self.assert_fails(self.verify(token, "--ca-file", stranger.path), "chain", NO_CHAIN)
        untrusted = self.pki.file(*(certificate.pem for certificate in every))
        self.assert_fails(self.verify(token, "--ca-file", stranger.path, "--untrusted", untrusted), "chain", NO_CHAIN)
        self.assertEqual(self.verify(token, "--untrusted", untrusted)["exit"], 2)

    def test_OnlyARootIsAnAnchor(self):
        chain = self.pki.chain(4)
        for anchor in (*chain.intermediates, chain.signer):
            with self.subTest(anchor.subject):
                self.assertNotEqual(self.openssl_verdict(chain, roots=anchor.path), 0)
                self.assert_fails(self.judged(chain, roots=anchor.path), "chain")

    def test_AnIntermediateThatIsAbsentIsFoundAmongTheUntrusted(self):
        for length in range(3, 6):
            chain = self.pki.chain(length)
            token = self.pki.token(chain, carried=[])
            for missing, intermediate in enumerate(chain.intermediates):
                with self.subTest(length=length, missing=intermediate.subject):
                    others = [c for c in chain.intermediates if c is not intermediate]
                    self.assertEqual(self.openssl_verdict(chain, carried=others), 20)
                    token = self.pki.token(chain, carried=others)
                    self.assert_fails(self.verify(token, "--ca-file", chain.root.path), "chain", NO_CHAIN)
                    form = (intermediate.path, self.pki.file(intermediate.der, ending=".der"))[missing % 2]
                    self.assert_passes(self.verify(token, "--ca-file", chain.root.path, "--untrusted", form))

    def test_UntrustedMayComeInOneFileOrSeveral(self):
        chain = self.pki.chain(5)
        token = self.pki.token(chain, carried=[])
        self.assert_passes(self.verify(token, "--ca-file", chain.root.path, "--untrusted",
                                       self.pki.file(*(c.pem for c in reversed(chain.intermediates)))))
        several = [word for c in chain.intermediates for word in ("--untrusted", c.path)]
        self.assert_passes(self.verify(token, "--ca-file", chain.root.path, *several))

    def test_AnotherCertificateOfTheSameAuthorityIsTriedToo(self):
        """A CA that was certified again: one of its two certificates had expired at genTime."""
        chain = self.pki.chain()
        expired = self.pki.chain(ca1={"not_after": GENTIME - DAY}).intermediates[0]
        for carried in ([expired, *chain.intermediates], [*chain.intermediates, expired]):
            self.assertEqual(self.openssl_verdict(chain, carried=carried), 0)
            token = self.pki.token(chain, carried=carried)
            self.assert_passes(self.verify(token, "--ca-file", chain.root.path))

    def test_AWeakKeyOrHashInTheChainNeedsAllowWeak(self):
        """The root's own signature proves nothing and may be of any kind; every other link counts."""
        for name, faults in (("an RSA key of 1024 bits", {"ca1": {"algorithm": "rsa:1024"}}),
                             ("a root of 1024 bits", {"root": {"algorithm": "rsa:1024"}}),
                             ("intermediate signed with SHA-1", {"ca1": {"digest": "sha1"}}),
                             ("signer signed with SHA-1", {"signer": {"digest": "sha1"}}),
                             ("signer signed with MD5", {"signer": {"digest": "md5"}})):
            with self.subTest(name):
                chain = self.pki.chain(**faults)
                self.assertEqual(self.openssl_verdict(chain), 0)  # by default it checks no strength
                self.assert_fails(self.judged(chain), "chain", ("CRYPTO_CONSTRAINTS_FAILURE", *PATH))
                self.assert_passes(self.judged(chain, "--allow-weak"))

    def test_AKeyBelow1024BitsInTheChainIsRefusedAlways(self):
        chain = self.pki.chain(ca1={"algorithm": "rsa:768"})
        self.assertEqual(self.openssl_verdict(chain), 0)
        self.assert_fails(self.judged(chain), "chain")
        self.assert_fails(self.judged(chain, "--allow-weak"), "chain")


class TimeTest(ChainTest):
    """--at: genTime, now, or a time given."""

    def judged(self, chain, *options, check=None):
        return self.verify(self.pki.token(chain), "--ca-file", chain.root.path, *options, check=check)

    def test_ASignerExpiredSincePassesWithANote(self):
        for length in range(1, 6):
            with self.subTest(length):
                chain = self.pki.chain(length, signer={"not_after": NOW - DAY})
                self.assertEqual((self.openssl_verdict(chain), self.openssl_verdict(chain, at=NOW)), (0, 10))
                for option in ((), ("--at", "gentime")):
                    document = self.judged(chain, *option)
                    self.assert_passes(document)
                    self.assertTrue(any("key" in note for note in notes(document)), document["checks"])
                self.assert_fails(self.judged(chain, "--at", "now"), "dates", EXPIRED)

    def test_ASignerStillValidHasNoNote(self):
        self.assertEqual([n for n in notes(self.judged(self.pki.chain(), check=0)) if "expired" in n], [])

    def test_ACertificateOfTheChainExpiredSincePassesAtGenTimeOnly(self):
        for role in ("root", "ca1"):
            with self.subTest(role):
                chain = self.pki.chain(**{role: {"not_after": NOW - DAY}})
                self.assertEqual((self.openssl_verdict(chain), self.openssl_verdict(chain, at=NOW)), (0, 10))
                self.assert_passes(self.judged(chain))
                self.assert_fails(self.judged(chain, "--at", "now"), "chain")

    def test_ATimeGivenTakesThePlaceOfGenTime(self):
        start, end = NOW - 3 * YEAR, NOW + 3 * YEAR
        chain = self.pki.chain(signer={"not_before": start, "not_after": end})
        for time, error, check, words in ((start + DAY, 0, None, None), (end - DAY, 0, None, None),
                                          (start - DAY, 9, "dates", NOT_YET), (end + DAY, 10, "dates", EXPIRED),
                                          (NOW + 10 * YEAR, 10, "chain", None)):
            for text in (iso(time), time.strftime("%Y-%m-%d")):
                with self.subTest(text):
                    self.assertEqual(self.openssl_verdict(chain, at=time), error)
                    document = self.judged(chain, "--at", text)
                    if check is None:
                        self.assert_passes(document)
                    elif check == "dates":
                        self.assert_fails(document, check, words)
                    else:
                        self.assertEqual(document["exit"], 1)
                        self.assertIn("fail", verdicts_of(document, check))

    def test_ThePinDoesNotSilenceTheDates(self):
        for fault, words in (({"not_after": GENTIME - DAY}, EXPIRED), ({"not_before": GENTIME + DAY}, NOT_YET)):
            chain = self.pki.chain(signer=fault)
            document = self.verify(self.pki.token(chain), "--tsa-cert", chain.signer.path)
            self.assert_fails(document, "dates", words)
        chain = self.pki.chain(signer={"not_after": NOW - DAY})
        token = self.pki.token(chain)
        self.assert_passes(self.verify(token, "--tsa-cert", chain.signer.path))
        self.assert_fails(self.verify(token, "--tsa-cert", chain.signer.path, "--at", "now"), "dates", EXPIRED)


if __name__ == "__main__":
    support.main()
