"""Keys, certificates, CRLs and OCSP responses for the tests of the tool.

Everything is encoded here octet by octet, so that each part can be wrong in one way and right in all
others; the openssl command makes the keys and the signatures.
"""

import base64
import hashlib
import os
import sys

from support import AUTHORITY, openssl

sys.path.insert(0, os.path.dirname(AUTHORITY))
from tac import BIT_STRING, INTEGER, OCTET_STRING, SEQUENCE, SET, der, elements, integer, oid  # noqa: E402

UTF8, PRINTABLE, IA5, BOOLEAN, NULL = 0x0C, 0x13, 0x16, 0x01, b"\x05\x00"
UTC_TIME, GENERALIZED_TIME, ENUMERATED = 0x17, 0x18, 0x0A
TRUE = der(BOOLEAN, b"\xff")

DIGESTS = {
    "md5": "1.2.840.113549.2.5", "sha1": "1.3.14.3.2.26",
    "sha224": "2.16.840.1.101.3.4.2.4", "sha256": "2.16.840.1.101.3.4.2.1",
    "sha384": "2.16.840.1.101.3.4.2.2", "sha512": "2.16.840.1.101.3.4.2.3",
    "sha3-256": "2.16.840.1.101.3.4.2.8", "shake256": "2.16.840.1.101.3.4.2.12",
}
RSA_ENCRYPTION, RSA_PSS, MGF1 = "1.2.840.113549.1.1.1", "1.2.840.113549.1.1.10", "1.2.840.113549.1.1.8"
WITH_RSA = {"sha1": "1.2.840.113549.1.1.5", "sha256": "1.2.840.113549.1.1.11"}
WITH_EC = {"sha256": "1.2.840.10045.4.3.2", "sha384": "1.2.840.10045.4.3.3", "sha512": "1.2.840.10045.4.3.4"}
WITH_DSA = {"sha256": "2.16.840.1.101.3.4.3.2"}

COMMON_NAME, SERIAL_NUMBER, ORGANIZATION = "2.5.4.3", "2.5.4.5", "2.5.4.10"
ORGANIZATION_IDENTIFIER, DOMAIN_COMPONENT = "2.5.4.97", "0.9.2342.19200300.100.1.25"
TIME_STAMPING, CODE_SIGNING = "1.3.6.1.5.5.7.3.8", "1.3.6.1.5.5.7.3.3"
# KeyUsage, RFC 5280 4.2.1.3: the octet in which the named bits are set.
DIGITAL_SIGNATURE, NON_REPUDIATION, KEY_CERT_SIGN, CRL_SIGN = 0x80, 0x40, 0x04, 0x02


def algorithm(dotted, parameters=b""):
    return der(SEQUENCE, oid(dotted), parameters)


def digest_of(name, data):
    if name == "shake256":  # as long as RFC 8419 has it for Ed448
        return hashlib.shake_256(data).digest(64)
    return hashlib.new(name.replace("sha3-", "sha3_"), data).digest()


def pss_algorithm(digest):
    """RSASSA-PSS-params of RFC 4055 with a salt as long as the digest."""
    parameters = der(SEQUENCE, der(0xA0, algorithm(DIGESTS[digest])),
                     der(0xA1, algorithm(MGF1, algorithm(DIGESTS[digest]))),
                     der(0xA2, integer(len(digest_of(digest, b"")))))
    return algorithm(RSA_PSS, parameters)


class Key:
    """A private key in a file; `kind` says how it signs: rsa, pss, ec, dsa, ed25519 or ed448."""

    def __init__(self, path, kind):
        self.path, self.kind = path, kind
        self.public = openssl("pkey", "-in", path, "-pubout", "-outform", "DER")
        self.bits = elements(elements(self.public)[0][1])[1][1][1:]  # the key itself

    def algorithm(self, digest, whole=True):
        """The identifier of a signature; with `whole` false that of the key alone where it is RSA."""
        if self.kind == "rsa":
            return algorithm(WITH_RSA[digest] if whole else RSA_ENCRYPTION, NULL)
        if self.kind == "pss":
            return pss_algorithm(digest)
        dotted = {"ec": WITH_EC.get(digest), "dsa": WITH_DSA.get(digest),
                  "ed25519": "1.3.101.112", "ed448": "1.3.101.113"}[self.kind]
        return algorithm(dotted)

    def sign(self, digest, data):
        if self.kind.startswith("ed"):
            path = self.path + ".data"
            with open(path, "wb") as file:
                file.write(data)
            return openssl("pkeyutl", "-sign", "-rawin", "-inkey", self.path, "-in", path)
        pss = ("-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:digest") if self.kind == "pss" else ()
        return openssl("dgst", f"-{digest}", "-sign", self.path, *pss, data=data)


def name(*attributes):
    """A Name of (identifier, text) or (identifier, text, string type); the default type is UTF8String."""
    rows = []
    for dotted, text, *kind in attributes:
        value = text if isinstance(text, bytes) else text.encode()
        rows.append(der(SET, der(SEQUENCE, oid(dotted), der(kind[0] if kind else UTF8, value))))
    return der(SEQUENCE, *rows)


def extension(dotted, value, critical=False):
    return der(SEQUENCE, oid(dotted), TRUE if critical else b"", der(OCTET_STRING, value))


def key_usage(octet):
    unused = (octet & -octet).bit_length() - 1
    return extension("2.5.29.15", der(BIT_STRING, bytes([unused, octet])), critical=True)


def extended_key_usage(*purposes, critical=True):
    return extension("2.5.29.37", der(SEQUENCE, *map(oid, purposes)), critical)


def basic_constraints(authority):
    return extension("2.5.29.19", der(SEQUENCE, TRUE if authority else b""), critical=True)


ROOT_EXTENSIONS = (basic_constraints(True), key_usage(KEY_CERT_SIGN | CRL_SIGN))
SIGNER_USAGE = key_usage(DIGITAL_SIGNATURE)
SIGNER_PURPOSE = extended_key_usage(TIME_STAMPING)
SIGNER_EXTENSIONS = (basic_constraints(False), SIGNER_USAGE, SIGNER_PURPOSE)


class Party:
    """A key with a name and a certificate; one without an issuer has signed its own."""

    def __init__(self, key, subject, issuer=None, extensions=SIGNER_EXTENSIONS, serial=None,
                 validity=("240101000000Z", "491231235959Z"), digest="sha256"):
        self.key, self.subject, self.issuer = key, subject, issuer or self
        mark = hashlib.sha256(b"".join((key.public, subject, *extensions))).digest()
        self.serial = serial or der(INTEGER, b"\x01" + mark[:7])  # issuer and serial number name one certificate
        self.identifier = hashlib.sha1(key.bits).digest()
        signing = self.issuer.key
        extensions = (*extensions, extension("2.5.29.14", der(OCTET_STRING, self.identifier)),
                      extension("2.5.29.35", der(SEQUENCE, der(0x80, self.issuer.identifier))))
        body = der(SEQUENCE, der(0xA0, integer(2)), self.serial, signing.algorithm(digest), self.issuer.subject,
                   der(SEQUENCE, *(der(UTC_TIME, at.encode()) for at in validity)), subject, key.public,
                   der(0xA3, der(SEQUENCE, *extensions)))
        self.certificate = der(SEQUENCE, body, signing.algorithm(digest),
                               der(BIT_STRING, b"\0", signing.sign(digest, body)))

    def issuer_serial(self):
        """IssuerAndSerialNumber, RFC 5652 10.2.4."""
        return der(SEQUENCE, self.issuer.subject, self.serial)

    def pem(self):
        return pem("CERTIFICATE", self.certificate)


def pem(label, data):
    text = base64.encodebytes(data).decode()
    return f"-----BEGIN {label}-----\n{text}-----END {label}-----\n".encode()


def revocation_list(issuer, *revoked):
    """A CRL of the issuer; `revoked` are encoded entries."""
    times = (der(UTC_TIME, b"240101000000Z"), der(UTC_TIME, b"491231235959Z"))
    body = der(SEQUENCE, integer(1), issuer.key.algorithm("sha256"), issuer.subject, *times,
               *([der(SEQUENCE, *revoked)] if revoked else []))
    return der(SEQUENCE, body, issuer.key.algorithm("sha256"),
               der(BIT_STRING, b"\0", issuer.key.sign("sha256", body)))


def ocsp_response(holder):
    """The OCSPResponse "good" of the holder's issuer, RFC 6960 4.2.1."""
    issuer = holder.issuer
    identifier = der(SEQUENCE, algorithm(DIGESTS["sha1"], NULL),
                     der(OCTET_STRING, hashlib.sha1(issuer.subject).digest()),
                     der(OCTET_STRING, issuer.identifier), holder.serial)
    at = der(GENERALIZED_TIME, b"20250301000000Z")
    single = der(SEQUENCE, identifier, der(0x80), at)
    data = der(SEQUENCE, der(0xA2, der(OCTET_STRING, issuer.identifier)), at, der(SEQUENCE, single))
    basic = der(SEQUENCE, data, issuer.key.algorithm("sha256"),
                der(BIT_STRING, b"\0", issuer.key.sign("sha256", data)))
    octets = der(SEQUENCE, oid("1.3.6.1.5.5.7.48.1.1"), der(OCTET_STRING, basic))
    return der(SEQUENCE, der(ENUMERATED, b"\0"), der(0xA0, octets))


# The arguments of openssl genpkey for each name, and how such a key signs.
KEYS = {
    "rsa": ("rsa", "RSA", "rsa_keygen_bits:2048"),
    "rsa-3": ("rsa", "RSA", "rsa_keygen_bits:2048", "rsa_keygen_pubexp:3"),
    "rsa-1024": ("rsa", "RSA", "rsa_keygen_bits:1024"),
    "rsa-768": ("rsa", "RSA", "rsa_keygen_bits:768"),
    "rsa-512": ("rsa", "RSA", "rsa_keygen_bits:512"),
    "pss": ("pss", "RSA-PSS", "rsa_keygen_bits:2048"),
    "pss-restricted": ("pss", "RSA-PSS", "rsa_keygen_bits:2048", "rsa_pss_keygen_md:sha256",
                       "rsa_pss_keygen_mgf1_md:sha256", "rsa_pss_keygen_saltlen:32"),
    "p256": ("ec", "EC", "ec_paramgen_curve:P-256"),
    "p384": ("ec", "EC", "ec_paramgen_curve:P-384"),
    "p521": ("ec", "EC", "ec_paramgen_curve:P-521"),
    "ed25519": ("ed25519", "ED25519"),
    "ed448": ("ed448", "ED448"),
}


class Keys:
    """The keys of a test class, made at first use. A name may have an ending, as in rsa/other."""

    def __init__(self, folder):
        self._folder, self._made = folder, {}

    def __getitem__(self, key):
        if key not in self._made:
            path = os.path.join(self._folder, key.replace("/", "-") + ".key")
            self._made[key] = Key(path, self._make(key.split("/")[0], path))
        return self._made[key]

    def _make(self, kind, path):
        """Writes the key and returns how it signs."""
        if kind == "dsa":
            parameters = path + ".parameters"
            openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:2048",
                    "-pkeyopt", "dsa_paramgen_q_bits:256", "-out", parameters)
            openssl("genpkey", "-paramfile", parameters, "-out", path)
            return "dsa"
        signs_as, made_as, *options = KEYS[kind]
        openssl("genpkey", "-algorithm", made_as, "-out", path, *(word for o in options for word in ("-pkeyopt", o)))
        return signs_as
