"""Tokens and replies that try to pass for others: the required verdict on each, next to openssl's."""

import misleading_contents
import misleading_replies
import misleading_signatures
import support
from certificate_maker import SEQUENCE, SIGNER_PURPOSE, SIGNER_USAGE, basic_constraints, der, extension
from misleading_case import BY_CHAIN, BY_PIN
from support import run_json, verdicts
from token_case import TokenTest
from token_maker import POLICY, reply, request, status_info, token, tst_info


class MisleadingTest(TokenTest):
    """Every row is judged under the signer's certificate and under its root's."""

    def judged(self, sections):
        for section in sections:
            rows = list(section(self.parties))
            for case in rows:
                with self.subTest(f"{section.__name__}: {case.label}"):
                    self.lay_out(case)
                    self.openssl_says(case)
                for trust in case.trusts:
                    with self.subTest(f"{section.__name__}: {case.label}", trust=trust):
                        self.qex_says(case, trust)

    def lay_out(self, case):
        """The answer, and the request next to it, if any."""
        self.trusted = case.trusted or self.parties.signer
        self.write(self.answer, reply(case.token) if case.answer is None else case.answer)
        if case.request is not None:
            self.write(self.asked, case.request)
        elif self.asked.rsplit("/", 1)[1] in self.files():
            support.os.remove(self.asked)

    def openssl_says(self, case):
        """The verdicts of the two openssl commands are those of the row."""
        root = self.trusted.issuer
        compared = ("-data", self.document)
        if case.request is not None:
            compared = ("-queryfile", self.asked)
        elif case.by_digest:
            compared = ("-digest", case.by_digest.split(":")[1])
        bare = case.answer is not None and case.answer[:len(case.token)] == case.token
        accepted = (self.ts_accepts(root, *compared, *(["-token_in"] if bare else [])), self.cms_accepts(root, case.token))
        self.assertEqual(accepted, case.openssl, "openssl ts and cms")

    def qex_says(self, case, trust):
        """The exit status, and the check that fails."""
        certificate = self.pem_of(self.trusted if trust == BY_PIN else self.trusted.issuer)
        judged = ("--digest", case.by_digest, "--token", self.answer) if case.by_digest else (self.document,)
        document = run_json("verify", *judged, trust, certificate, *case.options)
        said = f"{document['error']} {verdicts(document)}" if "checks" in document else document["error"]
        self.assertIn(document["exit"], case.exits, said)
        failed = {name for name, verdict in verdicts(document).items() if verdict == "fail"} if "checks" in document else set()
        if document["exit"] == 0:
            self.assertFalse(failed, said)
        elif document["exit"] == 1:
            self.assertTrue(failed & set(case.fails.split("|")), said)

    def test_MisleadingContentsAreRefused(self):
        self.judged(misleading_contents.SECTIONS)

    def test_MisleadingSignaturesAreRefused(self):
        self.judged(misleading_signatures.SECTIONS)

    def test_MisleadingRepliesAreRefused(self):
        self.judged(misleading_replies.SECTIONS)

    def test_OddButPossiblyHonestTokensGetANote(self):
        signer = self.parties.signer
        period = extension("2.5.29.16", der(SEQUENCE, der(0x81, b"20240601000000Z")))
        ended = self.parties.signer_with(extensions=(basic_constraints(False), SIGNER_USAGE, SIGNER_PURPOSE, period))
        for label, party, answer, name in (
                ("time ahead of the clock", signer, reply(token(signer, tst_info(time="20400101000000Z"))), "clock"),
                ("granted, and a failure", signer, reply(token(signer), status_info(0, failure=0)), "status"),
                ("the key's own period has ended", ended, reply(token(ended)), "dates")):
            with self.subTest(label):
                self.write(self.answer, answer)
                document = self.verify(self.document, BY_PIN, self.pem_of(party), check=0)
                self.assertIn(name, {check["name"] for check in document["checks"] if check["verdict"] == "note"})
        self.write(self.answer, reply(token(signer)))
        document = self.verify(self.document, BY_PIN, self.pem_of(signer), check=0)
        self.assertNotIn("note", [check["verdict"] for check in document["checks"]])

    def test_AnOptionDoesNotReplaceTheRequestsValue(self):
        signer = self.parties.signer
        self.write(self.answer, reply(token(signer, tst_info(nonce=5))))
        for label, asked, options in (("nonce", request(nonce=6), ("--nonce", "05")),
                                      ("policy", request(policy="1.2.3.9"), ("--policy", POLICY))):
            with self.subTest(label):
                self.write(self.asked, asked)
                pinned = (self.document, BY_PIN, self.pem_of(signer))
                document = self.verify(*pinned, *options, check=1)
                self.assertEqual((verdicts(document)["request"], verdicts(document)[label]), ("fail", "pass"))
                self.assertIn(label, document["error"])

    def test_ATokenThatOneReaderAloneReadsFailsAndIsReadOnDemand(self):
        signer = self.parties.signer
        for label, parts in misleading_replies.STRANGE:
            message = token(signer, **parts)
            self.write(self.answer, reply(message))
            for trust, party in ((BY_PIN, signer), (BY_CHAIN, signer.issuer)):
                with self.subTest(label, trust=trust):
                    self.assertFalse(self.ts_accepts(signer.issuer) or self.cms_accepts(signer.issuer, message))
                    pinned = (self.document, trust, self.pem_of(party))
                    document = self.verify(*pinned, check=4)
                    self.assertEqual(verdicts(document)["strict"], "fail")
                    self.assertIn("--library-only", document["hint"])
                    if trust == BY_PIN:
                        document = self.verify(*pinned, "--library-only", check=0)
                        by = {check["name"]: check.get("by") for check in document["checks"]}
                        self.assertEqual(by["signature"], "libqex")
                        self.assertNotIn("fail", verdicts(document).values())


if __name__ == "__main__":
    support.main()
