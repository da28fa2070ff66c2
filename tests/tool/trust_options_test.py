"""The options that say whom to trust: their forms, several together, and files that hold nothing of use."""

import os
import unittest

import support
from chain_support import NO_CHAIN, ChainTest, failing, verdicts_of
from pki import DIGEST, openssl
from support import environment, run, run_json
from stamp_test import closed_port


class TrustOptionsTest(ChainTest):
    """A token under a chain of three, which carries its intermediate."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.chain = cls.pki.chain()
        cls.root, cls.signer = cls.chain.root, cls.chain.signer
        cls.token = cls.pki.token(cls.chain)
        ca = {"basicConstraints": "critical,CA:TRUE"}
        cls.strangers = [cls.pki.certificate(f"stranger{n}", base=ca) for n in range(3)]

    def judged(self, *options, env=None, token=None):
        return run_json("verify", "--digest", "sha256:" + DIGEST, "--token",
                        self.pki.file(token or self.token, ending=".tst"), *options, env=env)

    def folder_of(self, *certificates, hashed=True):
        folder = self.path("roots")
        os.makedirs(folder, exist_ok=True)
        for number, certificate in enumerate(certificates):
            self.write(os.path.join(folder, f"{number}.pem"), certificate.pem)
        if hashed:
            openssl("rehash", folder)
        return folder

    def test_TheRootIsFoundAmongOthersInAFile(self):
        others = [certificate.pem for certificate in self.strangers]
        for place in range(4):
            pems = others[:place] + [b"some words between them\n", self.root.pem] + others[place:]
            self.assert_passes(self.judged("--ca-file", self.pki.file(*pems)))
        self.assert_fails(self.judged("--ca-file", self.pki.file(*others)), "chain", NO_CHAIN)

    def test_ARootMayBeDerOrPemWithOrWithoutText(self):
        for name, data in (("DER", self.root.der),
                           ("text", openssl("x509", "-in", self.root.path, "-text")),
                           ("trusted", openssl("x509", "-in", self.root.path, "-trustout")),
                           ("CRLF", self.root.pem.replace(b"\n", b"\r\n"))):
            with self.subTest(name):
                self.assert_passes(self.judged("--ca-file", self.pki.file(data)))

    def test_AFolderOfRootsIsUsed(self):
        self.assert_passes(self.judged("--ca-path", self.folder_of(*self.strangers, self.root)))

    def test_AFolderOfOtherRootsFindsNoChain(self):
        self.assert_fails(self.judged("--ca-path", self.folder_of(*self.strangers)), "chain", NO_CHAIN)

    def test_TheSystemsRootsAreThoseOfTheEnvironment(self):
        folder = self.folder_of(*self.strangers, self.root)
        nowhere = self.path("nowhere")
        os.mkdir(nowhere)
        stranger = self.strangers[0].path
        for file, path, passes in ((self.root.path, nowhere, True), (stranger, folder, True),
                                   (stranger, nowhere, False)):
            with self.subTest(file=file, path=path):
                document = self.judged("--system-ca", env=environment(SSL_CERT_FILE=file, SSL_CERT_DIR=path))
                if passes:
                    self.assert_passes(document)
                else:
                    self.assert_fails(document, "chain", NO_CHAIN)

    def test_TheSystemsRootsAreNotUsedUnasked(self):
        env = environment(SSL_CERT_FILE=self.root.path, SSL_CERT_DIR=self.folder_of(self.root))
        self.assert_fails(self.judged("--ca-file", self.strangers[0].path, env=env), "chain", NO_CHAIN)
        self.assert_fails(self.judged("--ca-path", self.folder_of_strangers(), env=env), "chain", NO_CHAIN)
        self.assertEqual(self.judged(env=env)["exit"], 2)

    def folder_of_strangers(self):
        folder = self.path("strangers")
        os.mkdir(folder)
        self.write(os.path.join(folder, "one.pem"), self.strangers[0].pem)
        openssl("rehash", folder)
        return folder

    def test_AChainToAnyOfTheSourcesOfRootsIsEnough(self):
        stranger, right = self.strangers[0].path, self.root.path
        folder = self.folder_of(self.root)
        env = environment(SSL_CERT_FILE=right, SSL_CERT_DIR=self.class_folder)
        self.assert_passes(self.judged("--ca-file", stranger, "--ca-path", folder))
        self.assert_passes(self.judged("--ca-file", right, "--ca-path", self.folder_of_strangers()))
        self.assert_passes(self.judged("--ca-file", stranger, "--system-ca", env=env))

    def test_ThePinAndTheChainMustBothHold(self):
        right_pin, wrong_pin = ("--tsa-cert", self.signer.path), ("--tsa-cert", self.strangers[1].path)
        right_hex = ("--tsa-fingerprint", "sha256:" + self.signer.fingerprint)
        wrong_hex = ("--tsa-fingerprint", "sha256:" + self.root.fingerprint)
        right_root, wrong_root = ("--ca-file", self.root.path), ("--ca-file", self.strangers[0].path)
        for pins in (right_pin, right_hex, right_pin + right_hex):
            self.assert_passes(self.judged(*pins, *right_root))
            self.assert_fails(self.judged(*pins, *wrong_root), "chain", NO_CHAIN)
        for pins in (wrong_pin, wrong_hex, right_pin + wrong_hex, wrong_pin + right_hex):
            self.assertIn("signer", failing(self.judged(*pins)))
            document = self.judged(*pins, *right_root)
            self.assertEqual(document["exit"], 1)
            self.assertIn("signer", failing(document))

    def test_ThePinMayBeAnyCertificateOfItsFile(self):
        others = [certificate.pem for certificate in self.strangers]
        for place in range(4):
            self.assert_passes(self.judged("--tsa-cert", self.pki.file(*others[:place], self.signer.pem, *others[place:])))
        self.assert_fails(self.judged("--tsa-cert", self.pki.file(*others)), "signer")
        # The authority above the signer is not the signer.
        self.assert_fails(self.judged("--tsa-cert", self.pki.file(self.root.pem, self.chain.intermediates[0].pem)), "signer")

    def test_AFingerprintInAllItsSpellings(self):
        right = self.signer.fingerprint
        colons = ":".join(right[n:n + 2] for n in range(0, 64, 2))
        for text in (right, right.upper(), "sha256:" + right, "sha256:" + right.upper(), colons, colons.upper(),
                     "sha256:" + colons, "sha256:" + colons.upper()):
            with self.subTest(text):
                self.assert_passes(self.judged("--tsa-fingerprint", text))
        self.assert_fails(self.judged("--tsa-fingerprint", right[:-1] + "0123"[right[-1] == "0"]), "signer")

    def test_AFingerprintThatIsNoneIsWrongUsage(self):
        right = self.signer.fingerprint
        for text in (right[:-1], right + "0", right[:-1] + "g", "sha256:", "sha256:" + right[2:], "sha1:" + right, "md5:" + right[:32], ":"):
            with self.subTest(text):
                self.assertEqual(self.judged("--tsa-fingerprint", text)["exit"], 2)

    def test_ATokenWithoutCertificatesNeedsTheSigners(self):
        token = self.pki.token(self.chain, bare=True)
        document = self.judged("--ca-file", self.root.path, token=token)
        self.assertEqual(document["exit"], 8, document["error"])
        self.assertTrue(document["hint"])
        self.assert_passes(self.judged("--tsa-cert", self.signer.path, token=token))
        intermediate = ("--untrusted", self.chain.intermediates[0].path)
        self.assert_passes(self.judged("--ca-file", self.root.path, "--tsa-cert", self.signer.path, *intermediate, token=token))
        self.assert_fails(self.judged("--ca-file", self.root.path, "--tsa-cert", self.signer.path, token=token), "chain", NO_CHAIN)

    def test_IntermediatesListsAndTimesAloneEstablishNoTrust(self):
        path = self.pki.file(self.pki.revocation_list(self.root))
        for options in (("--untrusted", self.root.path), ("--crl", path), ("--at", "now")):
            with self.subTest(options[0]):
                self.assertEqual(self.judged(*options)["exit"], 2)


class StampTrustTest(ChainTest):
    """The same options of `stamp`."""

    def test_TheReplyIsKeptWhenItsChainHolds(self):
        with self.authority() as authority:
            document = run_json("stamp", self.document, "--tsa", authority.url, "--ca-file", authority.ca, check=0)
            self.assertEqual(document["indication"], "PASSED")
            for name in ("dates", "chain", "key_usage"):
                self.assertIn("pass", verdicts_of(document, name))
            self.assertEqual(self.files(), ["report.txt", "report.txt.tsq", "report.txt.tsr"])
            run("verify", self.document, "--ca-file", authority.ca, "--tsa-cert", authority.tsa, check=0)

    def test_AReplyOfSomebodyElseIsRefused(self):
        stranger = self.pki.certificate("stranger", base={"basicConstraints": "critical,CA:TRUE"})
        with self.authority() as authority:
            silent = self.pki.file(self.pki.revocation_list(stranger))
            for options, check, statuses in ((("--ca-file", stranger.path), "chain", (1,)),
                                             (("--tsa-cert", stranger.path), "signer", (1,)),
                                             (("--tsa-fingerprint", stranger.fingerprint), "signer", (1,)),
                                             (("--tsa-cert", authority.tsa, "--ca-file", stranger.path), "chain", (1,)),
                                             (("--ca-file", authority.ca, "--tsa-cert", authority.ca), "signer", (1,)),
                                             (("--ca-file", authority.ca, "--crl", silent), "revocation", (1, 8))):
                with self.subTest(options):
                    document = run_json("stamp", self.document, "--tsa", authority.url, *options)
                    self.assertIn(document["exit"], statuses, document["error"])
                    self.assertNotIn("pass", verdicts_of(document, check))
                    self.assertEqual(self.files(), ["report.txt"])


class BadInputTest(ChainTest):
    """A file that is of no use is named before anything is asked or written."""

    def setUp(self):
        super().setUp()
        self.chain = self.pki.chain()
        self.token = self.pki.file(self.pki.token(self.chain), ending=".tst")
        root = self.chain.root
        pem = root.pem
        lists = self.pki.revocation_list(root)
        self.contents = {
            "empty": b"", "text": b"no certificate, and no list\n",
            "key": self.read(root.key), "token": self.read(self.token),
            "cut": root.der[:-20], "damaged": pem.replace(b"MII", b"M!I", 1), "unended": pem[:len(pem) // 2],
            "list": openssl("crl", "-inform", "DER", data=lists), "list.der": lists,
            "certificate": pem, "certificate.der": root.der,
            "list-cut": lists[:-20], "list-unended": openssl("crl", "-inform", "DER", data=lists)[:300],
        }

    def assert_refused(self, statuses, *options, words=()):
        """verify and stamp say the same, and stamp has not tried to reach an authority."""
        before = self.files()
        unreachable = f"http://127.0.0.1:{closed_port()}/"
        for command in (("verify", "--digest", "sha256:" + DIGEST, "--token", self.token),
                        ("stamp", self.document, "--tsa", unreachable, "--retry", "0")):
            done = run(*command, *options)
            self.assertIn(done.returncode, statuses, (command[0], done.stderr))
            self.assert_error(done, done.returncode, *words)
            self.assertEqual(done.stdout, b"")
            self.assertEqual(self.files(), before)

    def with_root(self, option):
        """Further options that the option needs to have an effect."""
        return () if option in ("--ca-file", "--tsa-cert") else ("--ca-file", self.chain.root.path)

    def test_AFileOfTheWrongKindIsStatus4(self):
        no_certificates = ("empty", "text", "key", "token", "cut", "damaged", "unended", "list", "list.der")
        no_lists = ("empty", "text", "key", "token", "cut", "certificate", "certificate.der", "list-cut", "list-unended")
        for option, names in (("--ca-file", no_certificates), ("--untrusted", no_certificates),
                              ("--tsa-cert", no_certificates), ("--crl", no_lists)):
            for name in names:
                with self.subTest(option=option, content=name):
                    self.write(self.path("given"), self.contents[name])
                    self.assert_refused((4,), *self.with_root(option), option, self.path("given"), words=("given",))

    def test_AListMayBeLongerThanAMessage(self):
        """64 MiB, where a message has 16; the refusal of a longer one speaks of lists."""
        made = openssl("crl", "-inform", "DER", data=self.pki.revocation_list(self.chain.intermediates[0]))
        path = self.path("given")
        self.write(path, b"\n" * ((64 << 20) - len(made)) + made)
        self.assertEqual(run("verify", "--token", self.pki.file(self.pki.token(self.chain)), "--ca-file",
                             self.chain.root.path, "--crl", path).returncode, 0)
        self.write(path, b"\n" * ((64 << 20) - len(made) + 1) + made)
        self.assert_refused((4,), "--ca-file", self.chain.root.path, "--crl", path,
                            words=("given", "64 MiB", "list of revoked certificates"))

    def test_AFileThatCannotBeReadIsStatus3(self):
        for option in ("--ca-file", "--untrusted", "--tsa-cert", "--crl"):
            for name in ("absent", "."):
                with self.subTest(option=option, name=name):
                    self.assert_refused((3,), *self.with_root(option), option, self.path(name),
                                        words=("absent",) if name == "absent" else ())

    def test_AGoodFileNextToABadOneDoesNotHideIt(self):
        self.write(self.path("given"), self.contents["text"])
        lists = self.pki.file(self.pki.revocation_list(self.chain.root))
        root = ("--ca-file", self.chain.root.path)
        self.assert_refused((4,), *root, "--crl", lists, "--crl", self.path("given"), words=("given",))
        self.assert_refused((4,), *root, "--untrusted", self.chain.root.path, "--untrusted", self.path("given"), words=("given",))

    def test_ACertificateThatIsDamagedIsNotPassedOver(self):
        """A file with one good certificate and one that does not decode."""
        self.write(self.path("given"), self.chain.root.pem + self.contents["damaged"])
        for option in ("--ca-file", "--untrusted", "--tsa-cert"):
            with self.subTest(option):
                self.assert_refused((4,), *self.with_root(option), option, self.path("given"), words=("given",))

    def test_AFolderWithoutCertificatesIsRefused(self):
        for name, contents in (("empty", {}), ("other", {"readme.txt": b"nothing here\n"}), ("lists", {"a.pem": self.contents["list"]})):
            with self.subTest(name):
                folder = os.path.join(self.class_folder, f"folder-{name}")
                os.makedirs(folder, exist_ok=True)
                for file, data in contents.items():
                    self.write(os.path.join(folder, file), data)
                self.assert_refused((3, 4), "--ca-path", folder, words=(f"folder-{name}",))

    def test_AFolderThatIsNoneIsRefused(self):
        self.assert_refused((3,), "--ca-path", self.path("absent"), words=("absent",))
        self.assert_refused((3, 4), "--ca-path", self.chain.root.path)

    def test_TheSystemsRootsMayBeAbsent(self):
        empty = self.path("empty")
        os.mkdir(empty)
        env = environment(SSL_CERT_FILE=self.path("absent"), SSL_CERT_DIR=empty)
        done = run("verify", "--digest", "sha256:" + DIGEST, "--token", self.token, "--system-ca", env=env)
        self.assertIn(done.returncode, (1, 3, 4))
        self.assert_error(done, done.returncode)

    def test_AnEmptyValueIsWrongUsage(self):
        for option in ("--ca-file", "--ca-path", "--untrusted", "--crl", "--tsa-cert", "--tsa-fingerprint", "--at"):
            with self.subTest(option):
                self.assert_refused((2,), "--insecure-any-signer", option, "", words=(option,))
                self.assert_refused((2,), "--insecure-any-signer", option + "=", words=(option,))

    def test_ATimeThatIsNoneIsWrongUsage(self):
        root = ("--ca-file", self.chain.root.path)
        for text in ("yesterday", "genTime+1", "2031-13-01", "2031-02-30", "2031-00-10", "2031-01-02T25:00:00Z",
                     "2031-01-02T03:61:05Z", "2031-01-02T03:04:05Zjunk", "2031-01-02 junk", "31-01-02", "1893456000x"):
            with self.subTest(text):
                self.assert_refused((2,), *root, "--at", text, words=("--at",))

    def test_AKeyIsNotShown(self):
        """A private key given by mistake: no part of it is in the message."""
        key = self.read(self.chain.root.key)
        done = run("verify", "--digest", "sha256:" + DIGEST, "--token", self.token, "--ca-file", self.pki.file(key))
        for line in key.splitlines()[1:-1]:
            self.assertNotIn(line[:20], done.stdout + done.stderr)


if __name__ == "__main__":
    support.main()
