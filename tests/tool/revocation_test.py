"""Revocation by the rule of RFC 3161, 4: the entries of a list about a signer, and which lists count.

openssl makes the lists. Each verdict comes with the error number of `openssl verify -crl_check`, which does
not know this rule and refuses every certificate in a list.
"""

import unittest
from collections import namedtuple

import support
from chain_support import NO_LIST, REVOKED, WEAK, ChainTest, failing, verdicts_of
from pki import DAY, GENTIME, NOW, YEAR, flipped_list, openssl, stamp_of, verify_error
from tac import GENERALIZED_TIME, der

# A token from before the revocation remains valid with these reasons, and with no other and none.
STANDING = ("unspecified", "affiliationChanged", "superseded", "cessationOfOperation")
FALLING = (None, "keyCompromise", "cACompromise", "certificateHold", "privilegeWithdrawn", "aACompromise")

# A list that leaves the question open: `statuses` are the exit statuses allowed.
Useless = namedtuple("Useless", "name make openssl statuses at", defaults=((1, 8), "now"))

SCOPES = {  # with the error number of openssl
    "of CA certificates only": ("onlyCA = TRUE\n", 44),
    "of attribute certificates only": ("onlyAA = TRUE\n", 44),
    "of some reasons only": ("onlysomereasons = affiliationChanged\n", 3),
    "indirect": ("indirectCRL = TRUE\n", 3),
}


class RevocationTest(ChainTest):
    """A signer under the root, so that one list covers all; the root is in --ca-file."""

    def setUp(self):
        super().setUp()
        self.chain = self.pki.chain(2)
        self.root, self.signer = self.chain.root, self.chain.signer

    def list_file(self, *revoked, issuer=None, **more):
        return self.pki.file(self.pki.revocation_list(issuer or self.root, *revoked, **more), ending=".crl")

    def judged(self, *lists, chain=None, at=(), check=None):
        chain = chain or self.chain
        return self.verify(self.pki.token(chain), "--ca-file", chain.root.path, *at,
                           *(word for path in lists for word in ("--crl", path)), check=check)

    def openssl_error(self, *lists, chain=None, at=NOW, whole=False):
        """The error number of `openssl verify` with these lists, for the signer alone or the whole chain."""
        chain = chain or self.chain
        made = [openssl("crl", "-inform", "DER", "-in", path) for path in lists]
        carried = [certificate.pem for certificate in chain.intermediates]
        return verify_error("-CAfile", chain.root.path, "-crl_check", *(("-crl_check_all",) if whole else ()),
                            *(("-untrusted", self.pki.file(*carried)) if carried else ()),
                            *(("-CRLfile", self.pki.file(*made)) if made else ()), chain.signer.path, at=at)

    def test_AListThatDoesNotNameTheSignerPasses(self):
        for revoked in ((), ((self.pki.certificate("stranger"), "keyCompromise", GENTIME - DAY),)):
            path = self.list_file(*revoked)
            self.assertEqual(self.openssl_error(path), 0)
            for at in ((), ("--at", "now")):
                document = self.judged(path, at=at)
                self.assert_passes(document)
                self.assertEqual(verdicts_of(document, "revocation"), {"pass"})

    def test_ATokenFromBeforeTheRevocationRemainsValidWithFourReasons(self):
        for reason in STANDING:
            for date in (GENTIME + DAY, NOW - 2 * DAY):
                with self.subTest(reason=reason, date=date):
                    path = self.list_file((self.signer, reason, date))
                    self.assertEqual(self.openssl_error(path), 23)
                    document = self.judged(path)
                    self.assert_passes(document)
                    self.assertIn("pass", verdicts_of(document, "revocation"))

    def test_ATokenFromBeforeTheRevocationFallsWithAnyOtherReason(self):
        for reason in FALLING:
            with self.subTest(reason):
                path = self.list_file((self.signer, reason, GENTIME + DAY))
                self.assertEqual(self.openssl_error(path), 23)
                self.assert_fails(self.judged(path), "revocation", REVOKED)

    def test_ATokenFromAfterTheRevocationFallsWithEveryReason(self):
        for reason in (*STANDING, *FALLING):
            with self.subTest(reason):
                path = self.list_file((self.signer, reason, GENTIME - DAY))
                self.assertEqual(self.openssl_error(path), 23)
                self.assert_fails(self.judged(path), "revocation", REVOKED)
                self.assert_fails(self.judged(path, at=("--at", "now")), "revocation", REVOKED)

    def test_AnIntermediateThatIsRevokedFails(self):
        chain = self.pki.chain(3)
        below = self.list_file(issuer=chain.intermediates[0])
        self.assert_passes(self.judged(self.list_file(), below, chain=chain))
        for reason in ("keyCompromise", "cACompromise", None):
            for date in (GENTIME - DAY, GENTIME + DAY):
                with self.subTest(reason=reason, date=date):
                    above = self.list_file((chain.intermediates[0], reason, date))
                    self.assertEqual(self.openssl_error(above, below, chain=chain, whole=True), 23)
                    self.assert_fails(self.judged(above, below, chain=chain), "revocation",
                                      ("REVOKED", "REVOKED_CA_NO_POE"))

    def test_AListOfTheRootDoesNotCoverASignerBelowAnIntermediate(self):
        chain = self.pki.chain(3)
        path = self.list_file()
        self.assertEqual(self.openssl_error(path, chain=chain), 3)
        document = self.judged(path, chain=chain)
        self.assertEqual(document["exit"], 8, document["error"])
        self.assertNotIn("pass", verdicts_of(document, "revocation"))
        self.assertIn(document["sub_indication"], NO_LIST)

    def test_SeveralListsInOneFileOrMore(self):
        """In any order, PEM or DER: the one that names the signer counts."""
        chain = self.pki.chain(3)
        naming = self.list_file((chain.signer, "keyCompromise", GENTIME + DAY), issuer=chain.intermediates[0])
        silent = self.list_file(issuer=chain.intermediates[0], following=NOW + DAY, last=NOW - 5 * DAY)
        above = self.list_file()
        pem = {path: openssl("crl", "-inform", "DER", "-in", path) for path in (naming, silent, above)}
        self.assert_passes(self.judged(above, silent, chain=chain))
        self.assert_passes(self.judged(self.pki.file(pem[silent], pem[above]), chain=chain))
        for lists in ((above, naming), (naming, above), (self.pki.file(pem[above], pem[naming]),),
                      (self.pki.file(pem[naming]), self.pki.file(pem[above])), (self.pki.file(b"some text\n", pem[naming]), above)):
            self.assert_fails(self.judged(*lists, chain=chain), "revocation", REVOKED)

    def test_TheNewerOfTwoListsCounts(self):
        older = self.list_file(last=NOW - 9 * DAY)
        newer = self.list_file((self.signer, "keyCompromise", NOW - 3 * DAY), last=NOW - 2 * DAY)
        for lists in ((older, newer), (newer, older)):
            self.assertEqual(self.openssl_error(*lists), 23)
            self.assert_fails(self.judged(*lists), "revocation", REVOKED)

    def test_ARevocationInAPartialListCounts(self):
        """openssl ignores lists of some reasons and indirect ones, or refuses the whole check."""
        for name in ("of some reasons only", "indirect", "of CA certificates only"):
            with self.subTest(name):
                partial = self.list_file((self.signer, "keyCompromise", GENTIME + DAY), sections="[scope]\n" + SCOPES[name][0],
                                         extensions={"issuingDistributionPoint": "critical,@scope"})
                self.assert_fails(self.judged(partial), "revocation", REVOKED)
                self.assert_fails(self.judged(self.list_file(last=NOW - 2 * DAY), partial), "revocation", REVOKED)

    def test_AListUnderAnEllipticCurveKey(self):
        chain = self.pki.chain(2, root={"algorithm": "ec:P-256"})
        silent = self.list_file(issuer=chain.root)
        naming = self.list_file((chain.signer, "keyCompromise", GENTIME + DAY), issuer=chain.root)
        self.assertEqual((self.openssl_error(silent, chain=chain), self.openssl_error(naming, chain=chain)), (0, 23))
        self.assert_passes(self.judged(silent, chain=chain))
        self.assert_fails(self.judged(naming, chain=chain), "revocation", REVOKED)

    def test_AListThatDoesNotCoverTheSignerNeverPasses(self):
        stranger = self.pki.certificate("stranger", base={"basicConstraints": "critical,CA:TRUE"})
        namesake = self.pki.certificate("namesake", subject=self.root.subject,
                                        base={"basicConstraints": "critical,CA:TRUE", "subjectKeyIdentifier": "hash"})
        cases = [
            Useless("of another issuer", lambda: self.list_file(issuer=stranger), 3),
            Useless("of another issuer of the same name", lambda: self.list_file(issuer=namesake), 3),
            Useless("of another issuer of the same name, without a key identifier", lambda: self.list_file(
                issuer=namesake, extensions={"authorityKeyIdentifier": None}), 8),
            Useless("signed by another key", lambda: self.list_file(key=stranger.key), 8, (1,)),
            Useless("with a signature that is changed", lambda: self.pki.file(flipped_list(self.pki.revocation_list(
                self.root))), 8, (1,)),
            Useless("expired", lambda: self.list_file(last=NOW - 60 * DAY, following=NOW - 30 * DAY), 12, (1,)),
            Useless("expired before genTime", lambda: self.list_file(
                last=GENTIME - 60 * DAY, following=GENTIME - 30 * DAY), 12, (1,), "gentime"),
            Useless("not yet valid", lambda: self.list_file(last=NOW + DAY), 11, (1,)),
            Useless("with an unknown critical extension", lambda: self.list_file(
                extensions={"1.3.6.1.4.1.32473.9": "critical,ASN1:NULL"}), 36),
            # openssl treats a delta as a complete list.
            Useless("of changes to another", lambda: self.list_file(extensions={"2.5.29.27": "critical,DER:020101"}), 0),
        ]
        for name, (section, error) in SCOPES.items():
            cases.append(Useless(name, lambda section=section: self.list_file(
                extensions={"issuingDistributionPoint": "critical,@scope"}, sections="[scope]\n" + section), error))
        for case in cases:
            with self.subTest(case.name):
                path = case.make()
                at = NOW if case.at == "now" else GENTIME
                self.assertEqual(self.openssl_error(path, at=at), case.openssl)
                document = self.judged(path, at=("--at", case.at))
                self.assertIn(document["exit"], case.statuses, document["error"])
                self.assertNotIn("pass", verdicts_of(document, "revocation"))
                self.assertLessEqual(failing(document), {"revocation"})
                self.assertEqual(document["indication"], "INDETERMINATE")
                self.assertTrue(document["hint"])

    def test_AListUnderAWeakDigestIsForAllowWeak(self):
        """openssl checks the digests of certificates only."""
        for digest in ("sha1", "md5"):
            with self.subTest(digest):
                silent = self.list_file(digest=digest)
                naming = self.list_file((self.signer, "keyCompromise", GENTIME + DAY), digest=digest)
                self.assertEqual(self.openssl_error(silent), 0)
                document = self.judged(silent)
                self.assert_fails(document, "revocation", WEAK)
                self.assertIn("--allow-weak", document["hint"])
                self.assert_passes(self.judged(silent, at=("--allow-weak",)))
                self.assert_passes(self.judged(silent, self.list_file()))
                self.assert_fails(self.judged(naming, self.list_file()), "revocation", REVOKED)

    def test_AListOfAnAuthorityThatMayNotSignListsNeverPasses(self):
        chain = self.pki.chain(2, root={"extensions": {"keyUsage": "critical,keyCertSign"}})
        path = self.list_file(issuer=chain.root)
        self.assertEqual(self.openssl_error(path, chain=chain), 35)
        document = self.judged(path, chain=chain)
        self.assertIn(document["exit"], (1, 8))
        self.assertNotIn("pass", verdicts_of(document, "revocation"))

    def test_ASignerThatHasExpiredAndIsRevokedFails(self):
        """Lists drop expired certificates; as long as they name one, it counts."""
        chain = self.pki.chain(2, signer={"not_after": NOW - 30 * DAY})
        path = self.list_file((chain.signer, "keyCompromise", NOW - YEAR / 2))
        self.assert_fails(self.judged(path, chain=chain), "revocation", REVOKED)
        path = self.list_file((chain.signer, "superseded", NOW - YEAR / 2))
        self.assert_passes(self.judged(path, chain=chain))

    def test_AListFromAfterTheSignerExpiredDoesNotCoverIt(self):
        chain = self.pki.chain(2, signer={"not_after": NOW - 30 * DAY})
        late, timely = self.list_file(last=NOW - 29 * DAY), self.list_file(last=NOW - 31 * DAY)
        self.assert_fails(self.judged(late, chain=chain), "revocation", NO_LIST, status=8)
        self.assert_passes(self.judged(timely, chain=chain))
        self.assert_passes(self.judged(late, timely, chain=chain))
        keeping = self.list_file(last=NOW - 29 * DAY, extensions={
            "2.5.29.60": "DER:" + der(GENERALIZED_TIME, stamp_of(GENTIME).encode()).hex()})
        self.assert_passes(self.judged(keeping, chain=chain))


if __name__ == "__main__":
    support.main()
