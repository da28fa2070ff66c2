"""Tokens and replies that try to pass for others: what each must be answered, next to what openssl says of it."""

import misleading_contents
import misleading_replies
import misleading_signatures
import support
from misleading_case import BY_CHAIN, BY_PIN
from support import run_json, verdicts
from token_case import TokenTest
from token_maker import reply, token


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
        """The answer, and the request beside it, where there is one."""
        self.trusted = case.trusted or self.parties.signer
        self.write(self.answer, reply(case.token) if case.answer is None else case.answer)
        if case.request is not None:
            self.write(self.asked, case.request)
        elif self.asked.rsplit("/", 1)[1] in self.files():
            support.os.remove(self.asked)

    def openssl_says(self, case):
        """What the two commands of openssl accept is as the row has it."""
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

    def test_WhatWasSignedMisleadsNobody(self):
        self.judged(misleading_contents.SECTIONS)

    def test_WhoSignedMisleadsNobody(self):
        self.judged(misleading_signatures.SECTIONS)

    def test_WhatStandsAroundItMisleadsNobody(self):
        self.judged(misleading_replies.SECTIONS)

    def test_WhatOneReaderAloneReadsFailsAndIsReadOnDemand(self):
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
