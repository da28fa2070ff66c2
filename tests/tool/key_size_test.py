"""Keys beyond the bounds of the tool: refused before the library tries them."""

import os
import unittest

import support
from support import ToolTest, openssl, run, run_json, verdicts
from files_test import element

EXPONENT_256 = 2 ** 255 + 95  # 256 bits; any odd number will do for a public exponent
EXPONENT_257 = 2 ** 256 + 297
RSA = bytes.fromhex("300d06092a864886f70d0101010500")
DSA = bytes.fromhex("06072a8648ce380401")


def integer(bits):
    """An INTEGER with as many bits, all of them set."""
    value = (1 << bits) - 1
    return element(2, value.to_bytes(bits // 8 + 1, "big"))


def certificate(key):
    """A certificate of that key: it need not be signed, as nothing checks that."""
    algorithm = bytes.fromhex("300d06092a864886f70d01010b0500")
    name = element(0x30, element(0x31, element(0x30, bytes.fromhex("0603550403") + element(0x0C, b"large"))))
    validity = element(0x30, element(0x17, b"260101000000Z") + element(0x17, b"360101000000Z"))
    body = element(0x30, b"\xA0\3\2\1\2" + b"\2\1\1" + algorithm + name + validity + name + key)
    return element(0x30, body + algorithm + element(3, bytes(65)))


def rsa_key(modulus, exponent):
    return element(0x30, RSA + element(3, b"\0" + element(0x30, integer(modulus) + integer(exponent))))


def dsa_key(p, q, g, y):
    domain = element(0x30, integer(p) + integer(q) + integer(g))
    return element(0x30, element(0x30, DSA + domain) + element(3, b"\0" + integer(y)))


class KeySizeTest(ToolTest):
    """Bounds of 8192 bits for a modulus, p, g and y, of 256 for an exponent of RSA and 512 for q of DSA."""

    def verify(self, *options, check):
        return run_json("verify", self.document, *options, check=check)

    def test_AKeyOfTheCallersCertificate(self):
        with self.authority() as authority:
            self.stamped(authority)
        for key, excess in ((rsa_key(8192, 17), None), (rsa_key(8193, 17), "a modulus of 8193 bits, more than 8192"),
                            (rsa_key(500000, 400000), "a modulus of 500000 bits"),
                            (rsa_key(2048, 256), None), (rsa_key(2048, 257), "a public exponent of 257 bits, more than 256"),
                            (dsa_key(8192, 512, 8192, 8192), None), (dsa_key(8193, 512, 8, 8), "a prime p of 8193 bits"),
                            (dsa_key(2048, 513, 8, 8), "a prime q of 513 bits, more than 512"),
                            (dsa_key(2048, 256, 8193, 8), "a generator of 8193 bits"),
                            (dsa_key(2048, 256, 8, 8193), "a public value of 8193 bits")):
            with self.subTest(excess=excess):
                self.write(self.path("large.der"), certificate(key))
                document = self.verify("--tsa-cert", self.path("large.der"), check=1)
                # Another one has signed. The library is not asked to check with a key that is too large.
                self.assertEqual((verdicts(document)["signature"], verdicts(document)["signer"]), ("pass", "fail"))
                self.assertEqual(document["code"] == 0, excess is not None)

    def test_AKeyOfTheTokenItself(self):
        """Tokens that the library accepts: openssl has signed them with these keys."""
        for name, options, excess in (("long", ("-pkeyopt", "rsa_keygen_bits:8200", "-pkeyopt", "rsa_keygen_primes:5"),
                                       "a modulus of 8200 bits"),
                                      ("exponent257", ("-pkeyopt", f"rsa_keygen_pubexp:{EXPONENT_257}"),
                                       "a public exponent of 257 bits"),
                                      ("exponent256", ("-pkeyopt", f"rsa_keygen_pubexp:{EXPONENT_256}"), None)):
            folder = os.path.join(self.class_folder, name)
            with self.subTest(name):
                with support.Authority(folder) as authority:
                    pass  # a folder with a root
                openssl("genpkey", "-algorithm", "RSA", *options, "-out", os.path.join(folder, "tsa.key"))
                self.certify(folder)
                with support.Authority(folder) as authority:
                    if excess is None:
                        self.stamped(authority)
                        self.verify("--tsa-cert", authority.tsa, check=0)
                        return
                    done = run("stamp", self.document, "--tsa", authority.url, "--force")
                    self.assert_error(done, 1, "signature", excess, "too large, not checked")
                    self.assertEqual(self.files(), ["report.txt"])
                    self.stamped(authority, "--no-cert")
                    self.assertEqual(verdicts(self.verify("--tsa-cert", authority.tsa, check=1))["signature"], "fail")
                    query = run("request", self.document, check=0).stdout
                    self.write(self.document + ".tsr", support.post(authority.url, query))
                    os.remove(self.document + ".tsq")
                    for pin in ((), ("--insecure-any-signer",), ("--tsa-cert", authority.tsa),
                                ("--tsa-cert", authority.tsa, "--allow-low-exponent", "--allow-weak")):
                        self.assertIn(excess, self.verify(*pin, check=1)["error"])
                    # Without a check there is nothing to refuse.
                    self.assertIn(b"rsa", run("show", self.document + ".tsr", check=0).stdout)
                    # Of the library too another certificate is tried alone.
                    self.assertIn("does not verify", self.verify("--tsa-cert", authority.ca, "--library-only", check=1)["error"])
                os.remove(self.document + ".tsr")

    def certify(self, folder):
        """A new certificate of the authority for the key in its folder."""
        place = lambda name: os.path.join(folder, name)
        self.write(place("extensions"), b"[signer]\nbasicConstraints=critical,CA:FALSE\nkeyUsage=critical,digitalSignature\n"
                                        b"extendedKeyUsage=critical,timeStamping\n[req]\ndistinguished_name=name\n[name]\n")
        request = openssl("req", "-new", "-key", place("tsa.key"), "-subj", "/CN=large", "-config", place("extensions"))
        made = openssl("x509", "-req", "-CA", place("ca.pem"), "-CAkey", place("ca.key"), "-days", "30",
                       "-extfile", place("extensions"), "-extensions", "signer", data=request)
        self.write(place("tsa.pem"), made)


if __name__ == "__main__":
    support.main()
