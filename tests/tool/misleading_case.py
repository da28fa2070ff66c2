"""One row of the table of misleading tokens."""

from dataclasses import dataclass

from certificate_maker import Party

# Which of `openssl ts -verify` and `openssl cms -verify` accepts a token.
NEITHER, TS, CMS, BOTH = (False, False), (True, False), (False, True), (True, True)

BY_PIN, BY_CHAIN = "--tsa-cert", "--ca-file"


@dataclass
class Case:
    """A token or reply, and the answer that it must get.

    `fails` names the check that fails when the exit status is 1, several with a bar between them where more than
    one check sees the fault. `exits` has more than one exit status only where a reader may stop before it gets to
    the fault: 4 for an encoding that is not read at all, 7 for an algorithm, 8 for a certificate that is not there.
    """

    label: str
    token: bytes
    fails: str
    openssl: tuple                       # NEITHER, TS, CMS or BOTH
    exits: tuple = (1,)
    answer: bytes | None = None          # the judged input, when it is not a granted reply with that token
    request: bytes | None = None         # written next to the answer
    options: tuple = ()
    by_digest: str | None = None         # ALG:HEX in place of the document
    trusted: Party | None = None         # in place of the signer
    trusts: tuple = (BY_PIN, BY_CHAIN)


def honest(label, token, openssl, **more):
    """A row that must pass, next to those that differ from it in one thing."""
    return Case(label, token, "", openssl, exits=(0,), **more)
