"""Shared by the tests of made tokens: parties with keys, and qex and openssl asked about one token."""

import os
import subprocess

import support
from certificate_maker import COMMON_NAME, ORGANIZATION, ROOT_EXTENSIONS, Key, Keys, Party, name
from support import ToolTest, run_json
from token_maker import DOCUMENT


class Parties:
    """A root and a signer, a stranger under a root of its own, and others as they are asked for."""

    def __init__(self, folder):
        self.keys = Keys(folder)
        self.root = self.root_with("rsa/root", "Test Root")
        self.signer = self.signer_with("rsa")
        self.other_root = self.root_with("rsa/stranger", "Other Root")
        self.stranger = self.signer_with("rsa/stranger", issuer=self.other_root, subject=self.name_of("Stranger"))

    @staticmethod
    def name_of(common_name, *more):
        return name((ORGANIZATION, "Test Authority"), *more, (COMMON_NAME, common_name))

    def root_with(self, key, common_name, *more):
        return Party(self.keys[key], self.name_of(common_name, *more), extensions=ROOT_EXTENSIONS)

    def signer_with(self, key="rsa", *, issuer=None, subject=None, **parts):
        key = key if isinstance(key, Key) else self.keys[key]
        return Party(key, subject or self.name_of("Test Signer"), issuer or self.root, **parts)


class TokenTest(ToolTest):
    """A document, and next to it the input to judge."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.parties = Parties(cls.class_folder)

    def setUp(self):
        super().setUp()
        self.write(self.document, DOCUMENT)
        self.answer, self.asked = self.document + ".tsr", self.document + ".tsq"

    def pem_of(self, party, file="trusted.pem"):
        self.write(self.path(file), party.pem())
        return self.path(file)

    def verify(self, *options, check=None):
        return run_json("verify", *options, check=check)

    def ts_accepts(self, root, *options):
        """Whether `openssl ts -verify` accepts the answer under that root; `options` name the data to compare
        with."""
        options = options or ("-data", self.document)
        return self._accepts("ts", "-verify", *options, "-in", self.answer,
                             "-CAfile", self.pem_of(root, "root.pem"))

    def cms_accepts(self, root, message):
        """Whether `openssl cms -verify` accepts the message for the purpose of time-stamping."""
        self.write(self.path("message"), message)
        return self._accepts("cms", "-verify", "-inform", "DER", "-in", self.path("message"), "-binary", "-out", "/dev/null",
                             "-purpose", "timestampsign", "-CAfile", self.pem_of(root, "root.pem"))

    @staticmethod
    def _accepts(*arguments):
        return subprocess.run(["openssl", *arguments], capture_output=True, check=False, timeout=60,
                              env={**support.environment(), "OPENSSL_CONF": os.devnull}).returncode == 0
