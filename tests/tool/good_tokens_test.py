"""Honest tokens of every kind that authorities issue: each one passes, whichever reader can read it."""

import json
from dataclasses import dataclass

import support
from certificate_maker import (DIGESTS, DOMAIN_COMPONENT, IA5, NULL, ORGANIZATION_IDENTIFIER, RSA_ENCRYPTION, RSA_PSS,
                               SEQUENCE, SERIAL_NUMBER, UTF8, WITH_DSA, WITH_EC, WITH_RSA, Key, Party, algorithm, der,
                               elements, ocsp_response, oid, revocation_list)
from support import verdicts
from tac import Issuer
from token_case import TokenTest
from token_maker import (ALGORITHM_PROTECTION, OCSP_RESPONSE, SMIME_CAPABILITIES, algorithm_protection,
                         archive_attributes, attribute, constructed, directory_name, imprint_of, indefinite,
                         other_revocation, reply, signing_certificate, signing_certificate_v2, token, tst_info)

EC_KEY, ED25519, ED448 = "1.2.840.10045.2.1", "1.3.101.112", "1.3.101.113"


@dataclass
class Good:
    """A token that passes.

    `stops` are the identifiers at one of which the library stops, none where it reads all and agrees;
    `ts` and `cms` say whether openssl's two commands accept the token.
    """

    label: str
    message: bytes
    signer: Party
    stops: tuple = ()
    ts: bool = True
    cms: bool = True
    options: tuple = ()  # without which it fails
    exits: tuple = (0,)


def keys(p):
    """Keys and signatures."""
    # The openssl command signs with Edwards keys; its two token commands do not accept them.
    for key, digest, stops, known in (
            ("p256", "sha256", (EC_KEY,), True), ("p384", "sha384", (EC_KEY,), True), ("p521", "sha512", (EC_KEY,), True),
            ("ed25519", "sha512", (ED25519,), False),
            ("pss", "sha256", (RSA_PSS,), True), ("pss-restricted", "sha256", (RSA_PSS,), True),
            ("dsa", "sha256", (WITH_DSA["sha256"],), True)):
        signer = p.signer_with(key)
        yield Good(f"key {key}", token(signer, digest=digest), signer, stops, ts=known, cms=known)
    # SHAKE256 is the digest that RFC 8419 has for this key; a reader without it names one of the two.
    signer = p.signer_with("ed448")
    yield Good("key ed448", token(signer, digest="shake256"), signer, (ED448, DIGESTS["shake256"]), ts=False, cms=False,
               exits=(0, 7))
    ec_root = p.root_with("p256/root", "Elliptic Root")
    signer = p.signer_with(issuer=ec_root)
    both = [signer.certificate, ec_root.certificate]
    yield Good("root of an elliptic curve in the set", token(signer, certificates=both), signer, (WITH_EC["sha256"], EC_KEY))
    s = p.signer
    # openssl ts reads PKCS #7, where the identifier of the signature is that of the key.
    yield Good("RSASSA-PSS under a key of rsaEncryption", token(s, key=Key(s.key.path, "pss")), s, (RSA_PSS,), ts=False)
    yield Good("RSASSA-PSS with SHA-512", token(s, digest="sha512", key=Key(s.key.path, "pss")), s, (RSA_PSS,), ts=False)
    yield Good("RSA", token(s), s)
    named = algorithm(WITH_RSA["sha256"], NULL)
    yield Good("RSA, signature named with its digest", token(s, signature_algorithm=named), s)
    yield Good("RSA, digest with the parameters NULL", token(s, digest_algorithm=algorithm(DIGESTS["sha256"], NULL)), s)
    low, short = p.signer_with("rsa-3"), p.signer_with("rsa-1024")
    yield Good("RSA of exponent 3", token(low), low, options=("--allow-low-exponent",))
    yield Good("RSA of 1024 bits", token(short), short, options=("--allow-weak",))


def digests(p):
    """Digests of the signature and of the imprint, and identifiers of the signer's certificate."""
    s = p.signer
    for digest in ("sha224", "sha3-256"):
        stops = (DIGESTS[digest],)
        yield Good(f"{digest} of the signature", token(s, digest=digest), s, stops)
        yield Good(f"{digest} of the imprint", token(s, tst_info(imprint_of(digest))), s, stops)
        yield Good(f"{digest} of both", token(s, tst_info(imprint_of(digest)), digest=digest), s, stops)
        named = {"certificate": [signing_certificate_v2(s, digest)]}
        yield Good(f"{digest} of the certificate", token(s, changed=named), s, stops)
    for digest in ("sha384", "sha512"):
        yield Good(f"{digest} of all", token(s, tst_info(imprint_of(digest)), digest=digest,
                                             changed={"certificate": [signing_certificate_v2(s, digest)]}), s)
    yield Good("imprint without parameters", token(s, tst_info(imprint_of(parameters=b""))), s)
    yield Good("signing-certificate of version 1", token(s, changed={"certificate": [signing_certificate(s)]}), s)
    both = [signing_certificate(s), signing_certificate_v2(s)]
    yield Good("signing-certificate of both versions", token(s, changed={"certificate": both}), s)


def names(p):
    """Names of signer and issuer."""
    for label, row, identifier in (
            ("organizationIdentifier", (ORGANIZATION_IDENTIFIER, "VATXX-123456"), ORGANIZATION_IDENTIFIER),
            ("domainComponent", (DOMAIN_COMPONENT, "example", IA5), DOMAIN_COMPONENT),
            ("serialNumber in UTF-8", (SERIAL_NUMBER, "42", UTF8), SERIAL_NUMBER)):
        signer = p.signer_with(subject=p.name_of("Test Signer", row))
        yield Good(f"signer with {label}", token(signer), signer, (identifier,))
        signer = p.signer_with(issuer=p.root_with("rsa/root", "Named Root", row))
        yield Good(f"issuer with {label}", token(signer), signer, (identifier,))
    yield Good("name of the authority", token(p.signer, tst_info(tsa=directory_name(p.signer.subject))), p.signer)


def attributes(p):
    """Attributes, signed and unsigned, and lists of revocation."""
    s = p.signer
    protection = algorithm_protection(algorithm(DIGESTS["sha256"]), algorithm(RSA_ENCRYPTION, NULL))
    capabilities = attribute(SMIME_CAPABILITIES, der(SEQUENCE, der(SEQUENCE, oid(DIGESTS["sha256"]))))
    yield Good("algorithm-protection", token(s, changed={"more": [protection]}), s, (ALGORITHM_PROTECTION,))
    yield Good("S/MIME capabilities", token(s, changed={"more": [capabilities]}), s, (SMIME_CAPABILITIES,))
    yield Good("no signing time", token(s, changed={"signing-time": []}), s)
    crl = revocation_list(p.root)
    archive = archive_attributes(s, crl)
    for identifier, one in archive.items():
        yield Good(f"unsigned attribute {identifier}", token(s, unsigned=[one]), s, (identifier,))
    yield Good("all archive attributes", token(s, unsigned=list(archive.values())), s, tuple(archive))
    response = other_revocation(OCSP_RESPONSE, ocsp_response(s))
    yield Good("CRL in crls", token(s, crls=[crl]), s)
    # PKCS #7, which openssl ts reads, has no other format than the CRL.
    yield Good("OCSP response in crls", token(s, version=5, crls=[response]), s, (OCSP_RESPONSE,), ts=False)
    yield Good("CRL and OCSP response in crls", token(s, version=5, crls=[crl, response]), s, (OCSP_RESPONSE,), ts=False)


def forms(p):
    """Other ways to write the same token."""
    s = p.signer
    yield Good("indefinite lengths", token(s, outer=indefinite), s)
    yield Good("indefinite lengths and content in pieces", token(s, outer=indefinite, octets=constructed), s)
    yield Good("attributes of indefinite length", token(s, stored_form=lambda rows: indefinite(0xA0, *sorted(rows))), s)
    # RFC 5652 signs the order of DER; many signers keep and sign the order that they made.
    yield Good("signed attributes in an order of their own",
               token(s, stored_form=lambda rows: der(0xA0, *reversed(sorted(rows))),
                     signed_form=lambda rows: der(0x31, *reversed(sorted(rows)))), s)
    # PKCS #7, which openssl ts reads, names a signer by issuer and serial number alone.
    yield Good("signer named by its key identifier", token(s, sid=der(0x80, s.identifier), signer_version=3), s, ts=False)
    yield Good("root in the set", token(s, certificates=[p.root.certificate, s.certificate]), s)
    yield Good("a stranger's certificate in the set", token(s, certificates=[p.stranger.certificate, s.certificate]), s)
    # PKCS #7 has no attribute certificates in its set.
    metrics = Issuer(p.root.key.path, p.root.certificate, s.certificate, ("metrics",)).issue(1740823872)[0]
    rows = [s.certificate, der(0xA2, elements(metrics)[0][1])]
    yield Good("an attribute certificate in the set", token(s, version=4, certificates=rows), s, ts=False)


class GoodTokensTest(TokenTest):
    """Each token passes under the signer's certificate and under its root's."""

    def passes(self, cases):
        for case in cases(self.parties):
            with self.subTest(case.label):
                root = case.signer.issuer
                self.write(self.answer, reply(case.message))
                self.assertEqual((self.ts_accepts(root), self.cms_accepts(root, case.message)), (case.ts, case.cms),
                                 "openssl ts and cms")
            for option, party in (("--tsa-cert", case.signer), ("--ca-file", root)):
                with self.subTest(case.label, trust=option):
                    judged = (self.document, option, self.pem_of(party))
                    if case.options:
                        self.assertEqual(verdicts(self.verify(*judged, check=1))["signature"], "fail")
                    self.read_as_told(case, self.verify(*judged, *case.options))

    def read_as_told(self, case, document):
        """The verdict, who made it, and where the library stopped."""
        self.assertIn(document["exit"], case.exits, document["error"])
        self.assertNotIn("does not verify", json.dumps(document))
        checks = {check["name"]: check for check in document["checks"]}
        if document["exit"] == 7:
            self.assertTrue(any(identifier in document["error"] for identifier in case.stops), document["error"])
            return
        self.assertEqual(checks["signature"]["verdict"], "pass")
        self.assertEqual(checks["imprint"]["verdict"], "pass")
        self.assertNotIn("fail", verdicts(document).values())
        self.assertEqual(checks["signature"]["by"], "strict" if case.stops else "both")
        if case.stops:
            note = checks["library"]
            self.assertEqual(note["verdict"], "note")
            self.assertTrue(any(identifier in note["text"] for identifier in case.stops), note["text"])

    def test_EveryKeyPasses(self):
        self.passes(keys)

    def test_EveryDigestPasses(self):
        self.passes(digests)

    def test_EveryNamePasses(self):
        self.passes(names)

    def test_EveryAttributePasses(self):
        self.passes(attributes)

    def test_EveryFormPasses(self):
        self.passes(forms)


if __name__ == "__main__":
    support.main()
