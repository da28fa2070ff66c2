"""Misleading encodings, and messages with a fault around the token: octets after it, and the status of a
reply."""

from certificate_maker import OCTET_STRING, SEQUENCE, der, digest_of, elements, pem
from misleading_case import BOTH, CMS, NEITHER, Case, honest
from token_maker import (MESSAGE_DIGEST, attribute, constructed, imprint_of, indefinite, long_length, message_digest, reply,
                         set_of, status_info, token, tst_info)


def encodings(p):
    """Signed attributes that are not in DER: the signature is one of their DER, whatever the message holds."""
    s, content = p.signer, tst_info()

    def rows_as(encode):
        return lambda rows, tag=0x31: der(tag, *(encode(SEQUENCE, elements(row)[0][1]) for row in sorted(rows)))

    for label, encode in (("indefinite", indefinite), ("long", long_length)):
        whole = lambda rows, tag=0x31, encode=encode: encode(tag, *sorted(rows))
        for part, form in (("set", whole), ("attributes", rows_as(encode))):
            stored = lambda rows, form=form: form(rows, 0xA0)
            yield honest(f"{part} of {label} length, signed in DER", token(s, stored_form=stored), BOTH)
            yield Case(f"{part} of {label} length, signed in that form", token(s, stored_form=stored, signed_form=form),
                       "signature", NEITHER)
    digest = digest_of("sha256", content)
    pieces = attribute(MESSAGE_DIGEST, der(0x24, der(OCTET_STRING, digest[:16]), der(OCTET_STRING, digest[16:])))
    whole = message_digest(content)
    yield Case("message-digest in pieces, signed in that form", token(s, content, changed={"message-digest": [pieces]}),
               "signature", NEITHER)
    yield honest("message-digest in pieces, signed in DER", token(
        s, content, changed={"message-digest": [pieces]},
        signed_form=lambda rows: set_of([whole if row == pieces else row for row in rows])), BOTH)
    yield Case("another order than the signed one", token(s, stored_form=lambda rows: der(0xA0, *reversed(sorted(rows)))),
               "signature", NEITHER)
    yield honest("indefinite lengths, content in pieces", token(s, outer=indefinite, octets=constructed), BOTH)
    hidden = tst_info(imprint_of(data=b"another"))
    two_pieces = lambda one: der(0x24, der(OCTET_STRING, one), der(OCTET_STRING, hidden))
    yield Case("content in pieces, one of them not signed", token(s, octets=two_pieces), "signature", NEITHER)


# Forms that only the library reads: a number with an octet too many, and strings inside strings inside
# strings.
STRANGE = (("version", {"version": b"\x02\x02\0\3"}),
           ("content", {"octets": lambda content: constructed(content, depth=20)}))


def damages(p):
    """Tokens that neither reader can read are damaged, whatever their key."""
    for key in ("rsa", "p256"):
        signer = p.signer_with(key) if key != "rsa" else p.signer
        good = token(signer)
        at = good.index(b"Test Signer")
        yield Case(f"{key} key, a name of a wrong length", good[:at - 1] + b"\x7f" + good[at:], "", NEITHER, exits=(4,),
                   trusted=signer)


def framing(p):
    """Something after the token or reply, or in it where nothing belongs."""
    good = token(p.signer)
    other = token(p.signer, tst_info(time="20200101000000Z"))
    for label, more, accepted in (("a zero octet", b"\0", BOTH), ("octets", b"junk", BOTH), ("a new line", b"\n", BOTH),
                                  ("a second message", None, BOTH), ("an end of contents", b"\0\0", BOTH)):
        yield Case(f"token and {label}", good, "structure|strict", accepted, answer=good + (other if more is None else more),
                   exits=(1, 4))
        yield Case(f"reply and {label}", good, "structure|strict", accepted,
                   answer=reply(good) + (reply(other) if more is None else more), exits=(1, 4))
    yield Case("token and another one, each in armour", good, "structure", CMS,
               answer=pem("PKCS7", good) + pem("PKCS7", other))
    yield Case("an element after the token, in the reply", good, "structure|strict", CMS, exits=(1, 4),
               answer=reply(good + der(OCTET_STRING, b"more")))
    yield Case("a second token in the reply", good, "structure|strict", CMS, exits=(1, 4), answer=reply(good + other))


def statuses(p):
    """The status of the reply against its contents."""
    good = token(p.signer)
    yield honest("granted", good, BOTH, answer=reply(good, status_info(0, texts=["as asked"])))
    yield honest("granted with changes", good, BOTH, answer=reply(good, status_info(1)))
    for status, label in ((2, "rejection"), (3, "waiting"), (4, "revocation warning"), (5, "revocation notification"),
                          (6, "no status that is known"), (-1, "no status that is known")):
        for there in (True, False):
            yield Case(f"status {status}, {label}, {'with' if there else 'without'} a token", good, "", CMS,
                       answer=reply(good if there else b"", status_info(status, failure=2)),
                       exits=(5,) if 2 <= status <= 5 else (4, 5))
    for status in (256, 1 << 32, (1 << 32) + 1, 1 << 64):
        yield Case(f"status {status}, which wraps to success", good, "", CMS, exits=(4, 5),
                   answer=reply(good, status_info(status)))
    yield Case("granted without a token", good, "", CMS, answer=reply(), exits=(4,))
    yield Case("no status", good, "", CMS, answer=der(SEQUENCE, good), exits=(4,))


SECTIONS = (encodings, damages, framing, statuses)
