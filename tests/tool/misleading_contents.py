"""Misleading tokens with a fault in the signed content: imprint, nonce, policy, TSTInfo and its time."""

from certificate_maker import INTEGER, OCTET_STRING, SEQUENCE, der, digest_of, elements, extension, integer, oid
from misleading_case import BOTH, CMS, TS, Case, honest
from token_maker import (CONTENT_TYPE, DATA, DOCUMENT, POLICY, TST_INFO, attribute, content_type, directory_name, imprint_of,
                         request, token, tst_info)

SHA256 = digest_of("sha256", DOCUMENT)
# 2.16.840.1.101.3.4.2.1 with 2^32 added to the last number: the same to a reader of 32 bits.
WRAPPED_SHA256 = oid("2.16.840.1.101.3.4.2.4294967297")
WRAPPED_POLICY = "1.2.3.4.4294967301"
WRAPPED_TST_INFO = "1.2.840.113549.1.9.16.1.4294967300"
NONCE = 0x1122334455667788


def imprints(p):
    def stamped(imprint):
        return token(p.signer, tst_info(imprint))

    bare = f"sha256:{SHA256.hex()}"
    yield Case("another document", stamped(imprint_of(data=b"another")), "imprint", CMS)
    yield Case("octets of SHA-256 as SHA3-256", stamped(imprint_of("sha3-256", SHA256)), "imprint", CMS)
    yield Case("octets of SHA-256 as SHA-384", stamped(imprint_of("sha384", SHA256)), "imprint", CMS)
    yield Case("octets of SHA-256 as SHA3-256, compared with a digest", stamped(imprint_of("sha3-256", SHA256)),
               "imprint", BOTH, by_digest=bare)
    yield Case("octets of SHA-256 as SHA3-256, compared with a request", stamped(imprint_of("sha3-256", SHA256)),
               "request|imprint", CMS, request=request())
    wrapped = stamped(imprint_of(octets=SHA256, identifier=WRAPPED_SHA256))
    yield Case("identifier that wraps to SHA-256", wrapped, "imprint", CMS, exits=(1, 7))
    yield Case("identifier that wraps to SHA-256, compared with a digest", wrapped, "imprint", BOTH, by_digest=bare)
    yield Case("identifier that wraps to SHA-256, compared with a request", wrapped, "request|imprint", CMS,
               exits=(1, 7), request=request())
    for length in (0, 1, 16, 20, 31):
        short = imprint_of(octets=SHA256[:length])
        yield Case(f"first {length} octets", stamped(short), "imprint", CMS)
        yield Case(f"first {length} octets, as requested", stamped(short), "request|imprint", BOTH if length else CMS,
                   request=request(short))
    for more in (b"\0", bytes(32)):
        yield Case(f"{len(more)} octets more", stamped(imprint_of(octets=SHA256 + more)), "imprint", CMS)
    for weak in ("md5", "sha1"):
        one = imprint_of(weak)
        yield Case(f"{weak} imprint", stamped(one), "imprint", BOTH)
        yield Case(f"{weak} imprint as requested", stamped(one), "imprint", BOTH, request=request(one))
        yield Case(f"{weak} imprint as given", stamped(one), "imprint", BOTH,
                   by_digest=f"{weak}:{digest_of(weak, DOCUMENT).hex()}")
        yield honest(f"{weak} imprint, allowed", stamped(one), BOTH, options=("--allow-weak",))
    yield honest("no parameters", stamped(imprint_of(parameters=b"")), BOTH)
    for label, odd in (("an OCTET STRING", der(OCTET_STRING, b"odd")), ("a SEQUENCE", der(SEQUENCE, integer(1)))):
        yield Case(f"parameters that are {label}", stamped(imprint_of(parameters=odd)), "imprint|structure|strict", CMS,
                   exits=(1, 4))


def nonces(p):
    def answered(label, nonce, asked=NONCE, fails="nonce", accepted=CMS, **more):
        return Case(label, token(p.signer, tst_info(nonce=nonce)), fails, accepted, request=request(nonce=asked), **more)

    long = int.from_bytes(bytes(range(1, 21)), "big")     # 20 octets
    longer = int.from_bytes(bytes(range(1, 33)), "big")   # 32 octets
    high = bytes.fromhex("8877665544332211")
    yield answered("none", None)
    yield answered("another", NONCE + 1)
    yield answered("zero", 0)
    yield answered("negative", -NONCE)
    yield answered("the same octets as a negative number", der(INTEGER, high), der(INTEGER, b"\0", high))
    yield answered("without the last octet", NONCE >> 8)
    yield answered("an octet more", NONCE << 8)
    yield answered("32 bits of it", NONCE & 0xFFFFFFFF)
    yield answered("64 bits of 65", NONCE, NONCE | 1 << 64)
    yield answered("21 octets, of which 20 were asked", long << 8, long)
    yield answered("20 octets, where 21 were asked", long, long << 8)
    yield answered("21 octets, the last one another", long << 8 | 1, long << 8 | 2)
    yield answered("33 octets, of which 32 were asked", longer << 8, longer)
    yield answered("33 octets, the last one another", longer << 8 | 1, longer << 8 | 2)
    yield answered("the same", NONCE, NONCE, "", BOTH, exits=(0,))
    yield answered("the same, of 33 octets", longer << 8 | 1, longer << 8 | 1, "", BOTH, exits=(0,))
    # The number is the same, though not in the encoding of DER: a reader that insists on it may refuse.
    padded = der(INTEGER, b"\0\0", NONCE.to_bytes(8, "big"))
    yield answered("the same with zero octets before it", padded, NONCE, "structure|strict", CMS, exits=(0, 1, 4))


def policies(p):
    asked = request(policy=POLICY)
    yield honest("the same", token(p.signer), BOTH, request=asked)
    for label, policy in (("another", "1.2.3.4.6"), ("one number more", POLICY + ".1"), ("one number less", "1.2.3.4"),
                          ("a number that wraps", WRAPPED_POLICY)):
        stamped = token(p.signer, tst_info(policy=policy))
        yield Case(label, stamped, "policy", CMS, request=asked)
        yield Case(f"{label}, by option", stamped, "policy", BOTH, options=("--policy", POLICY))


def structures(p):
    s = p.signer
    for version in (0, 2, 3, -1, 1 + (1 << 32)):
        yield Case(f"TSTInfo of version {version}", token(s, tst_info(version=version)), "structure", CMS,
                   exits=(1,) if version <= 3 else (1, 4))
    other = der(OCTET_STRING, b"other")
    yield Case("unknown critical extension", token(s, tst_info(extensions=[extension("1.2.3.9", other, True)])),
               "structure", BOTH)
    yield honest("unknown extension", token(s, tst_info(extensions=[extension("1.2.3.9", other)])), BOTH)
    yield Case("name of somebody else", token(s, tst_info(tsa=directory_name(p.stranger.subject))), "structure", CMS)
    yield Case("name of the issuer", token(s, tst_info(tsa=directory_name(p.root.subject))), "structure", CMS)
    yield Case("mail address for a name", token(s, tst_info(tsa=der(0x81, b"tsa@example.org"))), "structure", CMS)
    for label, accuracy in (("negative seconds", integer(-5)), ("1000 ms", der(0x80, b"\x03\xe8")),
                            ("5000 us", der(0x81, b"\x13\x88")), ("negative milliseconds", der(0x80, b"\xff"))):
        yield Case(f"accuracy of {label}", token(s, tst_info(accuracy=der(SEQUENCE, accuracy))), "structure", BOTH)
    for label, accuracy in (("999 ms", der(0x80, b"\x03\xe7")), ("0 us", der(0x81, b"\0"))):
        yield honest(f"accuracy of {label}", token(s, tst_info(accuracy=der(SEQUENCE, accuracy))), BOTH)
    info = tst_info()
    yield Case("an element after TSTInfo", token(s, info + other), "structure|strict", BOTH, exits=(1, 4))
    yield Case("a second TSTInfo after the first", token(s, info + tst_info(time="20200101000000Z")), "structure|strict",
               BOTH, exits=(1, 4))
    yield Case("an element more in TSTInfo", token(s, der(SEQUENCE, elements(info)[0][1], other)), "structure|strict", CMS,
               exits=(1, 4))
    yield Case("an octet after TSTInfo", token(s, info + b"\0"), "structure|strict", BOTH, exits=(1, 4))


def content_types(p):
    s, both = p.signer, "structure|signature"

    def typed(label, outside, inside, accepted, fails=both):
        attributes = {"content-type": [content_type(one) for one in inside]}
        return Case(f"content type {label}", token(s, kind=outside, changed=attributes), fails, accepted)

    yield typed("data outside, TSTInfo inside", DATA, [TST_INFO], CMS)
    yield typed("data", DATA, [DATA], CMS)
    yield typed("another", "1.2.3", ["1.2.3"], CMS)
    yield typed("TSTInfo outside, data inside", TST_INFO, [DATA], BOTH)
    yield typed("that wraps", WRAPPED_TST_INFO, [WRAPPED_TST_INFO], CMS)
    yield typed("not signed", TST_INFO, [], TS)
    yield typed("signed twice", TST_INFO, [TST_INFO, TST_INFO], TS)
    yield typed("signed twice, differently", TST_INFO, [TST_INFO, DATA], TS)
    values = attribute(CONTENT_TYPE, oid(TST_INFO), oid(DATA))
    yield Case("content type of two values", token(s, changed={"content-type": [values]}), both, TS)


def times(p):
    for text, why in (("20250230101112Z", "30 February"), ("20250229101112Z", "no leap year"),
                      ("20251301101112Z", "month 13"),
                      ("20250001101112Z", "month 0"), ("20250300101112Z", "day 0"), ("20250301241112Z", "hour 24"),
                      ("20250301106012Z", "minute 60"), ("20250301101160Z", "second 60"), ("20250301101161Z", "second 61"),
                      ("00000301101112Z", "year 0"), ("202503011011Z", "no seconds"), ("2025030110Z", "no minutes"),
                      ("20250301101112+0100", "an offset"), ("20250301101112+0000", "an offset of zero"),
                      ("20250301101112", "no Z"), ("20250301101112z", "small z"),
                      ("20250301101112.50Z", "zero after the fraction"),
                      ("20250301101112.0Z", "fraction of zero"), ("20250301101112.Z", "fraction without digits"),
                      ("20250301101112,5Z", "comma"), ("20250301101112.5", "fraction and no Z"), ("20250301101112Z ", "a blank"),
                      ("20250301101112Z\n", "a new line"), ("20250301101112Z\0", "a zero octet"),
                      ("2025-03-01T10:11:12Z", "ISO 8601"), ("+2025030110112Z", "a sign"),
                      ("250301101112Z", "two digits of the year"), ("", "nothing")):
        yield Case(f"genTime {text!r}: {why}", token(p.signer, tst_info(time=text)), "time", BOTH)
    for text in ("20250301101112.5Z", "20250301101112.123456789Z", "20240229235959Z", "20250301101112.05Z"):
        yield honest(f"genTime {text}", token(p.signer, tst_info(time=text)), BOTH)


def before_the_certificate(p):
    """No certificate signs before it exists, whatever time the caller judges at."""
    old = token(p.signer, tst_info(time="20010101000000Z"))
    for time in ("now", "2026-01-01"):
        yield Case(f"older than its certificate, judged at {time}", old, "dates", BOTH, options=("--at", time))


SECTIONS = (imprints, nonces, policies, structures, content_types, times, before_the_certificate)
