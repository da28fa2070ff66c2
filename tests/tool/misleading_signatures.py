"""Misleading tokens with a fault in the signature: signed attributes, signer, keys, padding and encodings."""

import hashlib

from certificate_maker import (CODE_SIGNING, DIGESTS, KEY_CERT_SIGN, NON_REPUDIATION, NULL, OCTET_STRING, RSA_ENCRYPTION,
                               SEQUENCE, SIGNER_PURPOSE, SIGNER_USAGE, TIME_STAMPING, Key, algorithm, basic_constraints,
                               der, digest_of, elements, extended_key_usage, integer, key_usage)
from misleading_case import BOTH, BY_CHAIN, BY_PIN, CMS, NEITHER, TS, Case, honest
from support import openssl
from token_maker import (MESSAGE_DIGEST, SIGNED_AT, SIGNING_CERTIFICATE_V2, TIME, algorithm_protection, attribute,
                         issuer_serial, message_digest, set_of, signed_data, signer_info, signing_certificate,
                         signing_certificate_v2, signing_time, token, tst_info, usual_attributes)

# The library looks for the certificate by another path than the strict reader: one may miss it (8) or the
# attribute (4) where the other finds that it does not fit (1).
NAMING = (1, 4, 8)

RIPEMD160 = "1.3.36.3.2.1"
SHA1_WITH_RSA = "1.2.840.113549.1.1.5"


def attributes(p):
    """message-digest, and signed attributes that are absent, or there twice."""
    s, content = p.signer, tst_info()
    fails = "signature|structure"
    digest = message_digest(content)

    def with_digest(label, *rows, accepted=NEITHER, **more):
        return Case(f"message-digest {label}", token(s, content, changed={"message-digest": list(rows)}, **more), fails,
                    accepted, exits=(1,) if rows else (1, 4))

    yield with_digest("absent")
    yield with_digest("twice", digest, digest, accepted=TS)
    yield with_digest("twice, the second one wrong", digest, message_digest(b"another"), accepted=TS)
    yield with_digest("of another content", message_digest(b"another"))
    yield with_digest("of another digest", message_digest(content, "sha512"))
    yield with_digest("cut", attribute(MESSAGE_DIGEST, der(OCTET_STRING, digest_of("sha256", content)[:20])))
    yield with_digest("empty", attribute(MESSAGE_DIGEST, der(OCTET_STRING)))
    yield with_digest("of two values", attribute(MESSAGE_DIGEST, der(OCTET_STRING, digest_of("sha256", content)),
                                                 der(OCTET_STRING, digest_of("sha256", b"another"))), accepted=TS)
    yield with_digest("not signed", unsigned=[digest])
    twice = {"signing-time": [signing_time(), signing_time("990301101112Z")]}
    yield Case("signing-time twice", token(s, content, changed=twice), "structure", TS)
    wrong = algorithm_protection(algorithm(DIGESTS["sha512"]), algorithm(RSA_ENCRYPTION, NULL))
    yield Case("algorithm-protection of another digest", token(s, content, changed={"more": [wrong]}), fails, BOTH)
    # Without signed attributes nothing names the signer's certificate.
    yield Case("no signed attributes", token(s, content, stored_form=lambda _: b"", signed_form=lambda _: content),
               "structure|signer|signature", CMS, exits=NAMING)
    # The signed attributes of an honest token are a content that its signer has signed too.
    rows = set_of([one for row in usual_attributes(s, content, "sha256").values() for one in row])
    value = s.key.sign("sha256", rows)
    yield Case("signed attributes as the content", token(s, rows, stored_form=lambda _: b"", signature=value),
               "structure|strict", CMS, exits=NAMING)


def naming(p):
    """signing-certificate, and the name of the signer in the token."""
    s = p.signer

    def named(label, *rows, accepted=CMS, exits=NAMING, fails="signer|structure|signature", **more):
        return Case(f"signing-certificate {label}", token(s, changed={"certificate": list(rows)}, **more), fails, accepted, exits)

    right, wrong = signing_certificate_v2(s), signing_certificate_v2(p.stranger)
    both = [s.certificate, p.stranger.certificate]
    yield named("absent")
    yield named("not signed", unsigned=[right], accepted=NEITHER)
    yield named("of the root", signing_certificate_v2(p.root))
    yield named("of a stranger", wrong)
    yield named("of a stranger that is in the set", wrong, certificates=both)
    bare = token(s, certificates=[])
    yield honest("no certificates", bare, NEITHER, trusts=(BY_PIN,))
    yield Case("no certificates to make a chain of", bare, "", NEITHER, exits=(8,), trusts=(BY_CHAIN,))
    # openssl ts takes the first one in the order of DER.
    yield named("twice", right, right, accepted=TS, exits=(1,))
    first = min(right, wrong) == right
    yield named("twice, one of a stranger", right, wrong, accepted=TS if first else NEITHER, certificates=both)
    yield named("of version 1 right, of version 2 wrong", signing_certificate(s), wrong)
    yield named("of version 1 wrong, of version 2 right", signing_certificate(p.stranger), right)
    value = elements(elements(elements(right)[0][1])[1][1])[0][2]
    other = elements(elements(elements(wrong)[0][1])[1][1])[0][2]
    yield named("of two values", attribute(SIGNING_CERTIFICATE_V2, value, other), accepted=TS if value < other else NEITHER)

    def identified(octets, issuer=b""):
        identifier = der(SEQUENCE, der(OCTET_STRING, octets), issuer)
        return attribute(SIGNING_CERTIFICATE_V2, der(SEQUENCE, der(SEQUENCE, identifier)))

    digest = digest_of("sha256", s.certificate)
    yield named("without issuer and serial number", identified(digest), accepted=BOTH, exits=(0,), fails="")
    yield named("of 20 octets", identified(digest[:20]))
    yield named("without octets", identified(b""))
    yield named("right, of another issuer", identified(digest, issuer_serial(p.stranger)))
    yield named("without certificates", attribute(SIGNING_CERTIFICATE_V2, der(SEQUENCE, der(SEQUENCE))))

    for label, sid in (("the root", p.root.issuer_serial()), ("a stranger", p.stranger.issuer_serial())):
        for there in (False, True):
            rows = [s.certificate, p.root.certificate, p.stranger.certificate] if there else [s.certificate]
            yield Case(f"signed in the name of {label}, {'in the set' if there else 'absent'}",
                       token(s, sid=sid, certificates=rows), "signer|signature|structure", NEITHER, NAMING)


def signers(p):
    """Who signed, and how many."""
    s, content = p.signer, tst_info()
    other = signer_info(p.stranger, content)
    bad = signer_info(p.stranger, content, signature=bytes(256))
    both = [s.certificate, p.stranger.certificate]
    for label, more, accepted in (("good one of a stranger", other, NEITHER), ("bad one of a stranger", bad, NEITHER),
                                  ("bad one of its own", signer_info(s, content, signature=bytes(256)), NEITHER),
                                  ("good one of its own", signer_info(s, content, changed={"signing-time": []}), CMS)):
        for order in ((0, 1), (1, 0)):
            mine = [signer_info(s, content), more]
            yield Case(f"two signers: a {label} {'after' if order[0] == 0 else 'before'} the good one",
                       signed_data(content, [mine[at] for at in order], certificates=both), "structure", accepted)
    yield Case("no signer", signed_data(content, [], certificates=both), "structure|strict", NEITHER, (1, 4))
    yield Case("signed by a stranger", token(p.stranger), "signer|chain", NEITHER)
    mimic = p.signer_with("rsa/stranger", issuer=p.root_with("rsa/stranger", "Test Root"), serial=s.serial)
    yield Case("signed by a stranger with all names of the signer", token(mimic), "signer|chain", NEITHER)
    yield Case("signed by a stranger who shows the signer's certificate", token(s, key=p.stranger.key), "signature", NEITHER)
    yield Case("signed by a stranger with all names, the signer's certificate beside",
               token(mimic, certificates=[s.certificate, mimic.certificate]), "signer|chain|signature", NEITHER)
    sibling = p.signer_with("rsa/sibling", subject=p.name_of("Sibling"))
    yield Case("signed by another one of the same root", token(sibling), "signer", BOTH, trusts=(BY_PIN,))
    grandchild = p.signer_with("rsa/sibling", issuer=s, subject=p.name_of("Grandchild"))
    yield Case("signed under the signer, who is no authority of certificates",
               token(grandchild, certificates=[s.certificate, grandchild.certificate]), "chain", NEITHER, trusts=(BY_CHAIN,))


def usages(p):
    """The purposes in the signer's certificate."""
    def used(label, *extensions, fails="key_usage", accepted=NEITHER):
        signer = p.signer_with(extensions=(basic_constraints(False), *extensions))
        return Case(label, token(signer), fails, accepted, exits=(1,) if fails else (0,), trusted=signer)

    yield used("no extended key usage", SIGNER_USAGE)
    yield used("extended key usage not critical", SIGNER_USAGE, extended_key_usage(TIME_STAMPING, critical=False))
    yield used("a second purpose", SIGNER_USAGE, extended_key_usage(TIME_STAMPING, CODE_SIGNING))
    yield used("a second purpose first", SIGNER_USAGE, extended_key_usage(CODE_SIGNING, TIME_STAMPING))
    yield used("another purpose", SIGNER_USAGE, extended_key_usage(CODE_SIGNING))
    yield used("any purpose", SIGNER_USAGE, extended_key_usage("2.5.29.37.0"))
    yield used("a purpose that wraps", SIGNER_USAGE, extended_key_usage("1.3.6.1.5.5.7.3.4294967304"))
    yield used("key usage of certificates alone", key_usage(KEY_CERT_SIGN), SIGNER_PURPOSE)
    yield used("key usage of encipherment alone", key_usage(0x20), SIGNER_PURPOSE)
    yield used("no key usage", SIGNER_PURPOSE, fails="", accepted=BOTH)
    yield used("key usage of non-repudiation alone", key_usage(NON_REPUDIATION), SIGNER_PURPOSE, fails="", accepted=BOTH)


def strengths(p):
    """Short keys, small exponents, weak digests."""
    for bits, accepted in ((1024, "--allow-weak"), (768, None), (512, None)):
        signer = p.signer_with(f"rsa-{bits}")
        message = token(signer)
        yield Case(f"RSA of {bits} bits", message, "signature", BOTH, trusted=signer)
        if accepted:
            yield honest(f"RSA of {bits} bits, allowed", message, BOTH, trusted=signer, options=(accepted,))
        else:
            yield Case(f"RSA of {bits} bits, weak ones allowed", message, "signature", BOTH, trusted=signer,
                       options=("--allow-weak", "--allow-low-exponent"))
    low = p.signer_with("rsa-3")
    yield Case("RSA of exponent 3", token(low), "signature", BOTH, trusted=low)
    yield Case("RSA of exponent 3, weak ones allowed", token(low), "signature", BOTH, trusted=low, options=("--allow-weak",))
    for digest in ("md5", "sha1"):
        message = token(p.signer, digest=digest)
        yield Case(f"signature with {digest}", message, "signature", BOTH)
        yield honest(f"signature with {digest}, allowed", message, BOTH, options=("--allow-weak",))
    content = tst_info()
    ripemd = openssl("dgst", "-ripemd160", "-binary", "-provider", "legacy", "-provider", "default", data=content)
    beside = token(p.signer, content, digest_algorithm=algorithm(RIPEMD160), digests=(algorithm(RIPEMD160),),
                   signature_algorithm=algorithm(SHA1_WITH_RSA, NULL), signature=lambda octets: p.signer.key.sign("sha1", octets),
                   changed={"message-digest": [attribute(MESSAGE_DIGEST, der(OCTET_STRING, ripemd))]})
    yield Case("signature with sha1 beside another digest of its length", beside, "signature", NEITHER)
    yield honest("signature with sha1 beside another digest of its length, allowed", beside, NEITHER, options=("--allow-weak",))


def digest_info(data):
    return der(SEQUENCE, algorithm(DIGESTS["sha256"], NULL), der(OCTET_STRING, hashlib.sha256(data).digest()))


def cube_root(number):
    """The largest integer whose cube is at most the number."""
    low, high = 0, 1 << (number.bit_length() // 3 + 2)
    while low + 1 < high:
        middle = (low + high) // 2
        low, high = (middle, high) if middle ** 3 <= number else (low, middle)
    return low


def forged_at_the_end(data):
    """A number whose cube ends in the DigestInfo; None for an even one, which has no root modulo a power of two."""
    info = digest_info(data)
    tail, bits = int.from_bytes(info, "big"), 8 * len(info)
    if tail % 2 == 0:
        return None
    # The odd numbers modulo 2^k are a group of 2^(k-1) elements, in which 3 can be inverted.
    root = pow(tail, pow(3, -1, 1 << (bits - 2)), 1 << bits)
    assert pow(root, 3) % (1 << bits) == tail
    return root.to_bytes(256, "big")


def forged_at_the_front(data):
    """A number whose cube begins as a padded block with the DigestInfo, and ends in whatever it ends in."""
    front = b"\0\1" + b"\xff" * 8 + b"\0" + digest_info(data)
    root = cube_root(int.from_bytes(front + b"\xff" * (256 - len(front)), "big"))
    assert pow(root, 3).to_bytes(256, "big").startswith(front)
    return root.to_bytes(256, "big")


def forgeries(p):
    """Signatures made without the key, or with a block that a signer does not write."""
    low = p.signer_with("rsa-3")
    content = next(one for one in (tst_info(serial=n) for n in range(1, 100)) if forged_at_the_end(
        set_of([a for row in usual_attributes(low, one, "sha256").values() for a in row])))
    for label, forge in (("the end", forged_at_the_end), ("the front", forged_at_the_front)):
        message = token(low, content, signature=forge)
        for options in ((), ("--allow-low-exponent",), ("--allow-low-exponent", "--allow-weak")):
            yield Case(f"forged under exponent 3, DigestInfo at {label} {' '.join(options)}", message, "signature", NEITHER,
                       trusted=low, options=options)
    s = p.signer

    def raw(front):
        """Signs a block with the bare private operation: `front` precedes the DigestInfo."""
        def sign(data):
            block = front(256 - len(digest_info(data))) + digest_info(data)
            with open(s.key.path + ".block", "wb") as file:
                file.write(block)
            # Decryption without padding is that operation, and takes a block of any length.
            return openssl("pkeyutl", "-decrypt", "-inkey", s.key.path, "-pkeyopt", "rsa_padding_mode:none",
                           "-in", s.key.path + ".block")
        return sign

    yield honest("block as it should be", token(s, signature=raw(lambda n: b"\0\1" + b"\xff" * (n - 3) + b"\0")), BOTH)
    for label, front in (("of type 2", lambda n: b"\0\2" + b"\xff" * (n - 3) + b"\0"), ("of zero octets", bytes),
                         ("with other octets in its padding", lambda n: b"\0\1" + b"\xfe" * (n - 3) + b"\0"),
                         ("without an end of its padding", lambda n: b"\0\1" + b"\xff" * (n - 2)),
                         ("of two DigestInfos", lambda n: b"\0\1" + b"\xff" * 50 + b"\0" + digest_info(b"") + bytes(n - 104))):
        yield Case(f"block {label}", token(s, signature=raw(front)), "signature", NEITHER)
    for label, change in (("zero", lambda _: bytes(256)), ("one", lambda _: bytes(255) + b"\1"), ("empty", lambda _: b""),
                          ("cut", lambda v: v[:-1]), ("with a zero octet before it", lambda v: b"\0" + v),
                          ("with a zero octet after it", lambda v: v + b"\0")):
        signed = lambda data, change=change: change(s.key.sign("sha256", data))
        yield Case(f"RSA signature {label}", token(s, signature=signed), "signature", NEITHER)
    curve = p.signer_with("p256")
    for label, value in (("of zeros", der(SEQUENCE, integer(0), integer(0))),
                         ("of ones", der(SEQUENCE, integer(1), integer(1))), ("empty", b"")):
        yield Case(f"elliptic signature {label}", token(curve, signature=value), "signature", NEITHER, trusted=curve)
    edwards = p.signer_with("ed25519")
    yield Case("Edwards signature of zeros", token(edwards, digest="sha512", signature=bytes(64)), "signature", NEITHER,
               trusted=edwards)


def changes(p):
    """An honest token of each kind of key, changed in one digit."""
    s = p.signer
    for label, signer, digest, key in (("RSA", s, "sha256", None), ("RSASSA-PSS", s, "sha256", Key(s.key.path, "pss")),
                                       ("P-256", p.signer_with("p256"), "sha256", None),
                                       ("P-384", p.signer_with("p384"), "sha384", None),
                                       ("P-521", p.signer_with("p521"), "sha512", None),
                                       ("Ed25519", p.signer_with("ed25519"), "sha512", None),
                                       ("DSA", p.signer_with("dsa"), "sha256", None)):
        message = token(signer, digest=digest, key=key)
        for part, before in (("genTime", der(0x18, TIME.encode())), ("signing time", der(0x17, SIGNED_AT.encode()))):
            assert message.count(before) == 1
            changed = message.replace(before, before[:-2] + b"9Z")
            yield Case(f"{label}: {part} changed", changed, "signature", NEITHER, trusted=signer)
        yield Case(f"{label}: signature changed", message[:-1] + bytes([message[-1] ^ 1]), "signature", NEITHER, trusted=signer)


SECTIONS = (attributes, naming, signers, usages, strengths, forgeries, changes)
