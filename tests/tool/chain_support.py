"""Shared by the tests of chains and revocation: a token under a chain, judged by qex and by openssl."""

from support import ToolTest, run_json
from pki import DIGEST, GENTIME, Pki, ts_accepts, verify_error

# The words of ETSI EN 319 102-1 where more than one of them describes the case.
PATH = ("CERTIFICATE_CHAIN_GENERAL_FAILURE", "CHAIN_CONSTRAINTS_FAILURE")
USAGE = ("SIG_CONSTRAINTS_FAILURE", "CHAIN_CONSTRAINTS_FAILURE")
WEAK = ("CRYPTO_CONSTRAINTS_FAILURE",)
NO_CHAIN = ("NO_CERTIFICATE_CHAIN_FOUND",)
EXPIRED = ("EXPIRED", "OUT_OF_BOUNDS_NOT_REVOKED")
NOT_YET = ("NOT_YET_VALID",)
REVOKED = ("REVOKED",)
NO_LIST = ("TRY_LATER",)

# Further checks that a fault in the signer's certificate may fail: it is a part of the path.
FOLLOWING = {"dates": {"chain"}, "key_usage": {"chain"}}


class ChainTest(ToolTest):
    """One set of keys for the whole class."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.pki = Pki(cls.class_folder)

    def verify(self, token, *options, check=None):
        """The document about a token over DIGEST, given as octets."""
        return run_json("verify", "--digest", "sha256:" + DIGEST, "--token", self.pki.file(token, ending=".tst"),
                        *options, check=check)

    def assert_passes(self, document):
        self.assertEqual((document["exit"], failing(document)), (0, set()), document["error"])
        self.assertEqual(document["indication"], "PASSED")

    def assert_fails(self, document, check, words=None, status=1):
        """The check says no, and none but those that follow from it; `words` are the sub-indications allowed."""
        self.assertEqual(document["exit"], status, document["error"])
        self.assertIn(check, failing(document), document["checks"])
        self.assertLessEqual(failing(document), {check} | FOLLOWING.get(check, set()))
        self.assertIn(document["indication"], ("FAILED", "INDETERMINATE"))
        if words:
            self.assertIn(document["sub_indication"], words)
        self.assertTrue(document["error"])
        self.assertTrue(document["hint"])

    def openssl_verdict(self, chain, roots=None, carried=None, at=GENTIME):
        """The error number of `openssl verify`, compared with `openssl ts -verify` for a token of that chain."""
        carried = chain.intermediates if carried is None else carried
        options = ["-CAfile", (roots or self.pki.file(chain.root.pem))]
        if carried:
            options += ["-untrusted", self.pki.file(*(certificate.pem for certificate in carried))]
        error = verify_error(*options, chain.signer.path, at=at)
        token = self.pki.file(self.pki.token(chain, carried=carried), ending=".tst")
        self.assertEqual(ts_accepts(token, *options, at=at), error == 0)
        return error


def failing(document):
    return {check["name"] for check in document["checks"] if check["verdict"] == "fail"}


def verdicts_of(document, name):
    """The verdicts of all lines of that name: a note may accompany a pass."""
    return {check["verdict"] for check in document["checks"] if check["name"] == name}


def notes(document):
    return [check["text"] for check in document["checks"] if check["verdict"] == "note"]


def text_of(document, name):
    return " ".join(check["text"] for check in document["checks"] if check["name"] == name)
