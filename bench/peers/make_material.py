#!/usr/bin/python3
"""Makes the messages that qex_peers reads, with the openssl command.

    make_material.py FOLDER

FOLDER is created again. FILE.parts holds parts of FILE as lines `name hexadecimal`: for a token its public key, the
digest of its signed attributes and its signature; for a reply the token; for a request imprint and nonce.

Tokens have the second version of the signing-certificate attribute, and the signer's certificate is the last of the
set: not every peer searches for it.
"""

import hashlib
import os
import sys

sys.dont_write_bytecode = True  # write nothing next to the sources
HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "interop"))

import make_samples as samples  # noqa: E402
from make_samples import elements, read, write  # noqa: E402
from tsa import OpensslError, der, openssl  # noqa: E402

RSA_KEYS = {  # bits, public exponent
    "rsa1024": (1024, 65537),
    "rsa2048": (2048, 65537),
    "rsa2048e3": (2048, 3),
    "rsa3072": (3072, 65537),
    "rsa4096": (4096, 65537),
}
# The library reads 20 octets of a digest that DSA signed, so the key with the longer q signs SHA-1.
DSA_KEYS = {"dsa1024": "sha256", "dsa2048": "sha1"}
CERTIFICATES = [1, 10, 100, 1000]
CONTENTS = [1, 64, 1024, 65536]  # KiB


def write_parts(name, parts):
    write(name + ".parts", "".join(f"{part} {octets.hex()}\n" for part, octets in parts.items()))


def number(content):
    return content.lstrip(b"\0")


class Token:
    """The parts of a token in DER."""

    def __init__(self, octets):
        self.type, signed = elements(elements(octets)[0][1])
        self.fields = elements(elements(signed[1])[0][1])
        self.at = [i for i, field in enumerate(self.fields) if field[0][0] == 0xA0]  # the certificates
        self.signer = elements(elements(self.fields[-1][1])[0][1])

    def certificates(self):
        return [whole for whole, _ in elements(self.fields[self.at[0]][1])] if self.at else []

    def with_certificates(self, certificates):
        fields = [whole for whole, _ in self.fields]
        fields[self.at[0]] = der(0xA0, *certificates)
        return der(0x30, self.type[0], der(0xA0, der(0x30, *fields)))

    def signature_parts(self, digest):
        attributes = next(content for whole, content in self.signer if whole[0] == 0xA0)
        signature = next(content for whole, content in self.signer if whole[0] == 0x04)
        return signature, hashlib.new(digest, der(0x31, attributes)).digest()


def key_numbers(certificate):
    """The public numbers of a certificate's key, by their usual names."""
    body = elements(elements(elements(certificate)[0][1])[0][1])
    algorithm, key = elements(body[6][1])
    octets = key[1][1:]  # after the count of unused bits
    if len(octets) and octets[0] == 0x02:
        p, q, g = [number(content) for _, content in elements(elements(algorithm[1])[1][1])]
        return {"p": p, "q": q, "g": g, "y": number(elements(octets)[0][1])}
    n, e = [number(content) for _, content in elements(elements(octets)[0][1])]
    return {"n": n, "e": e}


def write_token(name, octets, digest, order=True):
    token = Token(octets)
    certificates = token.certificates()
    if order and certificates:
        own = read(f"{name}.der")
        certificates = [one for one in certificates if one != own] + [own]
        octets = token.with_certificates(certificates)
        token = Token(octets)
    write(f"{name}.token", octets)
    if not certificates:
        return
    signature, hashed = token.signature_parts(digest)
    parts = {**key_numbers(certificates[-1]), "digest": hashed}
    if "n" in parts:
        parts["signature"] = signature
    else:
        r, s = [number(content) for _, content in elements(elements(signature)[0][1])]
        q = len(parts["q"])
        parts |= {"r": r, "s": s, "digest": hashed[:q]}
    write_parts(f"{name}.token", parts)


def make_token(key, digest):
    samples.make_reply(key, "sha256-full", key, digest, "sha256")
    write_token(key, read(f"{key}.token"), digest)


def make_replies():
    """Replies with more certificates than the signer's: the root, and copies of it with other serial numbers."""
    samples.make_reply("bare", "sha256-nonce", "rsa2048", "sha256", "sha256")
    reply = read("rsa2048.tsr")
    status = elements(elements(reply)[0][1])[0][0]
    token = Token(read("rsa2048.token"))
    for name, count in {"two": 2, "five": 5}.items():
        octets = token.with_certificates(others(count - 1) + token.certificates()[-1:])
        write(f"{name}.tsr", der(0x30, status, octets))
        write_parts(f"{name}.tsr", {"token": octets})


def others(count):
    """Certificates that differ: the root's with serial numbers of their own. Their signatures are not valid."""
    root = read("ca.der")
    serial = elements(elements(elements(root)[0][1])[0][1])[1][1]
    return [root.replace(serial, serial[:-4] + i.to_bytes(4, "big"), 1) for i in range(1, count + 1)]


def make_scaling():
    token = Token(read("rsa2048.token"))
    own = token.certificates()[-1]
    for count in CERTIFICATES:
        write(f"certificates{count}.token", token.with_certificates(others(count - 1) + [own]))
    for size in CONTENTS:
        write("content", os.urandom(1024) * size)
        openssl("cms", "-sign", "-binary", "-nodetach", "-nosmimecap", "-econtent_type", samples.TST_INFO_TYPE,
                "-cades", "-md", "sha256", "-signer", "rsa2048.pem", "-inkey", "rsa2048.key", "-in", "content",
                "-outform", "DER", "-out", f"content{size}.token")
    os.remove("content")


def make_request():
    samples.make_request("request", "sha256", True, True, False)
    fields = elements(elements(read("request.tsq"))[0][1])
    imprint = elements(fields[1][1])[1][1]
    write_parts("request.tsq", {"imprint": imprint, "nonce": fields[2][1]})


def main(folder):
    samples.shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    os.chdir(folder)
    write("openssl.cnf", samples.CONFIGURATION)
    write("document", "the document that all messages are about\n")
    samples.RSA_KEYS = RSA_KEYS
    samples.NAMES = {None: "/C=XX/O=Bench/CN=Signer"}
    names = ["ca", *RSA_KEYS, *DSA_KEYS]
    samples.in_parallel(samples.make_key, [(name,) for name in reversed(names)])
    samples.make_certificate("ca", "root")
    samples.in_parallel(samples.make_certificate, [(name,) for name in names[1:]])
    samples.make_request("sha256-full", "sha256", True, True, True)
    samples.make_request("sha256-nonce", "sha256", True, False, False)
    for key in RSA_KEYS:
        make_token(key, "sha256")
    for key, digest in DSA_KEYS.items():
        make_token(key, digest)
    make_replies()
    make_scaling()
    make_request()
    write("made", "")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    try:
        main(sys.argv[1])
    except OpensslError as error:
        sys.exit(f"make_material: {error}")
