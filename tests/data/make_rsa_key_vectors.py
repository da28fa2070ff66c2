#!/usr/bin/env python3
"""Writes rsa_keys.txt with the command line program openssl: private keys of several sizes of modulus and
exponent, and for each a block and what the private operation makes of it.
"""
import os
import re
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
FIELDS = (("N", "modulus"), ("E", "publicExponent"), ("D", "privateExponent"), ("P", "prime1"), ("Q", "prime2"),
          ("DMP1", "exponent1"), ("DMQ1", "exponent2"), ("IQMP", "coefficient"))


def openssl(*args, data=None):
    return subprocess.run(["openssl", *args], input=data, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          check=True).stdout


def number(listing, name):
    """A number of openssl's listing of a key: on the line of its name, or in lines of octets behind it."""
    text = re.search(r"\n%s:(.*?)(?=\n\w|$)" % name, "\n" + listing, re.S).group(1)
    short = re.search(r"\(0x([0-9a-f]+)\)", text)
    return int(short.group(1) if short else re.sub(r"[^0-9a-f]", "", text), 16)


def vector(f, bits, exponent):
    with tempfile.TemporaryDirectory() as d:
        key = os.path.join(d, "key")
        openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:%d" % bits, "-pkeyopt",
                "rsa_keygen_pubexp:%d" % exponent, "-out", key)
        v = {}
        listing = openssl("pkey", "-in", key, "-noout", "-text").decode()
        for name, title in FIELDS:
            v[name] = number(listing, title)
        block = os.urandom((bits + 7) // 8 - 1)
        padded = b"\0" + block
        v["Input"] = int.from_bytes(block, "big")
        v["Output"] = int.from_bytes(openssl("pkeyutl", "-decrypt", "-inkey", key, "-pkeyopt",
                                             "rsa_padding_mode:none", data=padded), "big")
    assert pow(v["Output"], v["E"], v["N"]) == v["Input"]
    f.write("\nBits = %d\n" % bits + "".join("%s = %x\n" % item for item in v.items()))


with open(os.path.join(HERE, "rsa_keys.txt"), "w") as out:
    out.write("# Output = Input ^ D mod N; DMP1, DMQ1 and IQMP are D mod P - 1, D mod Q - 1 and 1/Q mod P.\n"
              "# Keys and outputs from %s (make_rsa_key_vectors.py)\n" % openssl("version").decode().strip())
    for size in (1000, 1024, 1031, 2048, 3072):
        vector(out, size, 65537)
    vector(out, 1024, 3)
    vector(out, 1536, 2**40 + 15)
