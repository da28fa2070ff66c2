#!/usr/bin/env python3
"""Writes rsa_verify.txt with the command line program openssl: fresh keys, a PKCS #1 v1.5
signature each, and the block that openssl recovers from it without looking at the padding.
"""
import os
import re
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))


def openssl(*args, data=None):
    return subprocess.run(["openssl", *args], input=data, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          check=True).stdout


def vector(f, bits, exponent, digest):
    with tempfile.TemporaryDirectory() as d:
        key, text, signature = (os.path.join(d, n) for n in ("key", "text", "signature"))
        openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:%d" % bits, "-pkeyopt",
                "rsa_keygen_pubexp:%d" % exponent, "-out", key)
        with open(text, "wb") as t:
            t.write(b"%d bits, exponent %d" % (bits, exponent))
        openssl("dgst", "-" + digest, "-sign", key, "-out", signature, text)
        block = openssl("pkeyutl", "-verifyrecover", "-inkey", key, "-in", signature, "-pkeyopt",
                        "rsa_padding_mode:none")
        modulus = re.search(rb"Modulus=([0-9A-F]+)", openssl("rsa", "-in", key, "-noout", "-modulus")).group(1)
        with open(signature, "rb") as s:
            octets = s.read()
    f.write("\nBits = %d\nN = %s\nE = %x\nSignature = %s\nBlock = %s\n" %
            (bits, modulus.decode().lower(), exponent, octets.hex(), block.hex()))


with open(os.path.join(HERE, "rsa_verify.txt"), "w") as out:
    out.write("# Signature ^ E = Block mod N. Keys, signatures and blocks from %s (make_rsa_vectors.py)\n" %
              openssl("version").decode().strip())
    for size in (1000, 1024, 1031, 2048, 3072, 4096):
        for e in (3, 65537, 2**32 + 15):
            vector(out, size, e, "sha256")
