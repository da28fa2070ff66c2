"""RFC 3161 tokens and replies, made octet by octet.

A token is TSTInfo (tst_info), the signature of one signer or more (signer_info) and the SignedData around
them (signed_data); token() makes all three from its arguments and uses defaults for the rest. Where a value
is expected, bytes are a finished encoding.
"""

from certificate_maker import (BIT_STRING, DIGESTS, GENERALIZED_TIME, NULL, OCTET_STRING, SEQUENCE, SET, TRUE, UTF8,
                               algorithm, der, digest_of, integer, oid)
from tac import set_of

DATA, SIGNED_DATA = "1.2.840.113549.1.7.1", "1.2.840.113549.1.7.2"
TST_INFO = "1.2.840.113549.1.9.16.1.4"
CONTENT_TYPE, MESSAGE_DIGEST, SIGNING_TIME = (f"1.2.840.113549.1.9.{n}" for n in (3, 4, 5))
SIGNING_CERTIFICATE, SIGNING_CERTIFICATE_V2 = (f"1.2.840.113549.1.9.16.2.{n}" for n in (12, 47))
SMIME_CAPABILITIES, ALGORITHM_PROTECTION = "1.2.840.113549.1.9.15", "1.2.840.113549.1.9.52"
CERTIFICATE_REFS, REVOCATION_REFS, CERTIFICATE_VALUES, REVOCATION_VALUES = (
    f"1.2.840.113549.1.9.16.2.{n}" for n in (21, 22, 23, 24))
HASH_INDEX, ARCHIVE_TIME_STAMP_V3, HASH_INDEX_V3 = "0.4.0.1733.2.5", "0.4.0.1733.2.4", "0.4.0.19122.1.5"
OCSP_RESPONSE = "1.3.6.1.5.5.7.16.2"

POLICY = "1.2.3.4.5"
SERIAL = 0x1A2B
TIME = "20250301101112Z"
SIGNED_AT = "250301101112Z"
DOCUMENT = b"what is to be stamped\n"


def encoded(value, encode):
    """`value` when it is encoded already."""
    return value if isinstance(value, bytes) else encode(value)


def indefinite(tag, *parts):
    """One BER element of indefinite length, for a constructed type."""
    return bytes([tag, 0x80]) + b"".join(parts) + b"\0\0"


def long_length(tag, *parts):
    """One BER element whose length takes four octets more than it needs."""
    content = b"".join(parts)
    return bytes([tag, 0x84]) + len(content).to_bytes(4, "big") + content


# --- TSTInfo -----------------------------------------------------------------------------------------------------


def imprint_of(digest="sha256", octets=None, parameters=NULL, data=DOCUMENT, identifier=None):
    """MessageImprint; `identifier` and `octets` replace those of the digest."""
    octets = digest_of(digest, data) if octets is None else octets
    identifier = oid(DIGESTS[digest]) if identifier is None else identifier
    return der(SEQUENCE, der(SEQUENCE, identifier, parameters), der(OCTET_STRING, octets))


def tst_info(imprint=None, *, version=1, policy=POLICY, serial=SERIAL, time=TIME, accuracy=b"", ordering=False,
             nonce=None, tsa=None, extensions=()):
    """TSTInfo; `tsa` is a GeneralName, `accuracy` an element, `time` the text."""
    return der(SEQUENCE, encoded(version, integer), encoded(policy, oid), imprint or imprint_of(),
               encoded(serial, integer), der(GENERALIZED_TIME, time.encode()), accuracy,
               TRUE if ordering else b"", encoded(nonce, integer) if nonce is not None else b"",
               der(0xA0, tsa) if tsa is not None else b"", der(0xA1, *extensions) if extensions else b"")


def request(imprint=None, *, nonce=None, policy=None):
    """TimeStampReq that wants certificates."""
    return der(SEQUENCE, integer(1), imprint or imprint_of(), oid(policy) if policy else b"",
               encoded(nonce, integer) if nonce is not None else b"", TRUE)


def directory_name(subject):
    return der(0xA4, subject)


# --- Attributes --------------------------------------------------------------------------------------------------


def attribute(dotted, *values):
    return der(SEQUENCE, oid(dotted), set_of(values))


def content_type(dotted=TST_INFO):
    return attribute(CONTENT_TYPE, oid(dotted))


def message_digest(content, digest="sha256"):
    return attribute(MESSAGE_DIGEST, der(OCTET_STRING, digest_of(digest, content)))


def signing_time(text=SIGNED_AT):
    return attribute(SIGNING_TIME, der(0x17, text.encode()))


def issuer_serial(party):
    """IssuerSerial, RFC 5035: the issuer as GeneralNames."""
    return der(SEQUENCE, der(SEQUENCE, directory_name(party.issuer.subject)), party.serial)


def signing_certificate(party):
    identifier = der(SEQUENCE, der(OCTET_STRING, digest_of("sha1", party.certificate)), issuer_serial(party))
    return attribute(SIGNING_CERTIFICATE, der(SEQUENCE, der(SEQUENCE, identifier)))


def signing_certificate_v2(party, digest="sha256"):
    default = algorithm(DIGESTS[digest]) if digest != "sha256" else b""
    identifier = der(SEQUENCE, default, der(OCTET_STRING, digest_of(digest, party.certificate)), issuer_serial(party))
    return attribute(SIGNING_CERTIFICATE_V2, der(SEQUENCE, der(SEQUENCE, identifier)))


def algorithm_protection(digest, signature):
    """RFC 6211, of two AlgorithmIdentifiers; the second one under an implicit tag."""
    return attribute(ALGORITHM_PROTECTION, der(SEQUENCE, digest, b"\xa1" + signature[1:]))


def other_certificate_id(certificate):
    """OtherCertID of CAdES, which has the form of CrlValidatedID too: a digest with its algorithm."""
    digest = der(OCTET_STRING, digest_of("sha256", certificate))
    return der(SEQUENCE, der(SEQUENCE, algorithm(DIGESTS["sha256"]), digest))


def archive_attributes(signer, crl):
    """The unsigned attributes that a CAdES archive adds, by identifier (ETSI EN 319 122-1, A.1 and 5.5)."""
    root = signer.issuer.certificate
    hashes = der(SEQUENCE, der(OCTET_STRING, digest_of("sha256", root)))
    index = der(SEQUENCE, algorithm(DIGESTS["sha256"]), hashes, der(SEQUENCE), der(SEQUENCE))
    return {
        CERTIFICATE_REFS: attribute(CERTIFICATE_REFS, der(SEQUENCE, other_certificate_id(root))),
        REVOCATION_REFS: attribute(REVOCATION_REFS, der(SEQUENCE, der(SEQUENCE, der(0xA0, der(
            SEQUENCE, der(SEQUENCE, other_certificate_id(crl))))))),
        CERTIFICATE_VALUES: attribute(CERTIFICATE_VALUES, der(SEQUENCE, root)),
        REVOCATION_VALUES: attribute(REVOCATION_VALUES, der(SEQUENCE, der(0xA0, der(SEQUENCE, crl)))),
        HASH_INDEX: attribute(HASH_INDEX, index),
        HASH_INDEX_V3: attribute(HASH_INDEX_V3, index),
        ARCHIVE_TIME_STAMP_V3: attribute(ARCHIVE_TIME_STAMP_V3, token(
            signer, unsigned=[attribute(HASH_INDEX_V3, index)])),
    }


# --- SignedData --------------------------------------------------------------------------------------------------


def usual_attributes(signer, content, digest):
    """The signed attributes of an honest signer, by name."""
    return {"content-type": [content_type()], "signing-time": [signing_time()],
            "message-digest": [message_digest(content, digest)], "certificate": [signing_certificate_v2(signer)]}


def signer_info(signer, content, *, digest="sha256", changed=None, unsigned=(), signer_version=1, sid=None, key=None,
                digest_algorithm=None, signature_algorithm=None, signature=None,
                signed_form=None, stored_form=None):
    """SignerInfo of a Party.

    `changed` replaces lists of usual_attributes or adds to them; `signed_form` and `stored_form` encode the
    attributes for the signature and for the message; `signature` takes the signed octets, or is the value.
    """
    key = key or signer.key
    rows = {**usual_attributes(signer, content, digest), **(changed or {})}
    attributes = [one for row in rows.values() for one in row]
    signed = (signed_form or set_of)(attributes)
    stored = stored_form(attributes) if stored_form else set_of(attributes, 0xA0)
    if signature is None:
        signature = key.sign(digest, signed)
    value = encoded(signature, lambda sign: sign(signed))
    return der(SEQUENCE, integer(signer_version), sid or signer.issuer_serial(), digest_algorithm or algorithm(DIGESTS[digest]),
               stored, signature_algorithm or key.algorithm(digest, whole=False), der(OCTET_STRING, value),
               der(0xA1, *unsigned) if unsigned else b"")


def signed_data(content, signer_infos, *, version=3, digests=("sha256",), certificates=(), crls=None, kind=TST_INFO,
                octets=None, outer=der):
    """ContentInfo; `octets` encodes the content's OCTET STRING, `outer` everything around content and signers."""
    algorithms = [encoded(digest, lambda name: algorithm(DIGESTS[name])) for digest in digests]
    return outer(SEQUENCE, oid(SIGNED_DATA), outer(0xA0, outer(
        SEQUENCE, encoded(version, integer), outer(SET, *algorithms),
        outer(SEQUENCE, oid(kind), outer(0xA0, octets(content) if octets else der(OCTET_STRING, content))),
        outer(0xA0, *certificates) if certificates else b"", outer(0xA1, *crls) if crls else b"",
        outer(SET, *signer_infos))))


AROUND = ("version", "digests", "certificates", "crls", "kind", "octets", "outer")


def token(signer, content=None, *, digest="sha256", more_signers=(), **parts):
    """A token of a Party, honest except for the given faults; its set holds the signer's certificate."""
    content = tst_info() if content is None else content
    around = {name: parts.pop(name) for name in AROUND if name in parts}
    around.setdefault("certificates", [signer.certificate])
    around.setdefault("digests", (parts.get("digest_algorithm") or digest,))
    mine = signer_info(signer, content, digest=digest, **parts)
    return signed_data(content, [mine, *more_signers], **around)


def other_revocation(dotted, value):
    """OtherRevocationInfoFormat in its place in `crls`, RFC 5652 10.2.1."""
    return der(0xA1, oid(dotted), value)


def constructed(octets, size=50, depth=1):
    """An OCTET STRING in pieces, or in one piece inside `depth` others."""
    if depth == 1:
        return indefinite(0x24, *(der(OCTET_STRING, octets[at:at + size]) for at in range(0, len(octets), size)))
    nested = der(OCTET_STRING, octets)
    for _ in range(depth):
        nested = der(0x24, nested)
    return nested


# --- Replies -----------------------------------------------------------------------------------------------------


def status_info(status=0, *, texts=(), failure=None):
    """PKIStatusInfo; `failure` is the number of a bit of PKIFailureInfo."""
    free_text = der(SEQUENCE, *(der(UTF8, text if isinstance(text, bytes) else text.encode()) for text in texts))
    bits = b""
    if failure is not None:
        octets = bytes(failure // 8) + bytes([0x80 >> failure % 8])
        bits = der(BIT_STRING, bytes([7 - failure % 8]), octets)
    return der(SEQUENCE, encoded(status, integer), free_text if texts else b"", bits)


def reply(message=b"", status=None):
    """TimeStampResp: granted, with a token; without one just the status."""
    return der(SEQUENCE, status or status_info(), message)
