#!/usr/bin/env python3
"""Writes dsa_verify.txt: domain parameters, keys and signatures of the command line program openssl,
and the example of FIPS 186-2, appendix 5, which is checked here with Python's pow before it is written.
Signatures with a q of 136, 161 and 600 bits are computed here.
"""
import hashlib
import os
import random
import re
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))

# FIPS 186-2, appendix 5: SHA-1 of "abc".
FIPS = {
    "P": "8df2a494492276aa3d25759bb06869cbeac0d83afb8d0cf7cbb8324f0d7882e5"
         "d0762fc5b7210eafc2e9adac32ab7aac49693dfbf83724c2ec0736ee31c80291",
    "Q": "c773218c737ec8ee993b4f2ded30f48edace915f",
    "G": "626d027839ea0a13413163a55b4cb500299d5522956cefcb3bff10f399ce2c2e"
         "71cb9de5fa24babf58e5b79521925c9cc42e9f6f464b088cc572af53e6d78802",
    "X": "2070b3223dba372fde1c0ffc7b2e3b498b260614",
    "Y": "19131871d75b1612a819f29d78d1b0d7346f7aa77bb62a859bfd6c5675da9d21"
         "2d3a36ef1672ef660b8c7c255cc0ec74858fba33f44c06699630a76b030ee333",
    "Digest": "a9993e364706816aba3e25717850c26c9cd0d89d",
    "K": "358dad571462710f50e254cf1a376b2bdeaadfbf",
    "R": "8bac1ab66410435cb7181f95b16ab97c92b341c0",
    "S": "41e2345f1f56df2458f426d155b4ba2db6dcd8c8",
}


def openssl(*args, data=None):
    return subprocess.run(["openssl", *args], input=data, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          check=True).stdout


def check(v):
    """The law of the file, in Python."""
    p, q, g, y, r, s = (int(v[n], 16) for n in "PQGYRS")
    n = q.bit_length() // 8
    z = int.from_bytes(bytes.fromhex(v["Digest"])[:n], "big")
    w = pow(s, -1, q)
    assert r == pow(g, z * w % q, p) * pow(y, r * w % q, p) % p % q
    assert y == pow(g, int(v["X"], 16), p)
    if "K" in v:
        k = int(v["K"], 16)
        assert r == pow(g, k, p) % q and s == pow(k, -1, q) * (z + int(v["X"], 16) * r) % q


def write(f, name, v):
    check(v)
    f.write("\nName = %s\n" % name)
    for field in ("P", "Q", "G", "X", "Y", "Digest", "K", "R", "S"):
        if field in v:
            f.write("%s = %s\n" % (field, v[field]))


def field(text, name):
    """A number of openssl's listing of a key: its name, then lines of octets in pairs."""
    octets = re.search(rb"\n%s:\s*((?:[ \t]+[0-9a-f:]+\n)+)" % name, b"\n" + text).group(1)
    return "%x" % int(re.sub(rb"[^0-9a-f]", b"", octets), 16)


def integers(der):
    """The two integers of a Dss-Sig-Value."""
    at = 2
    for _ in range(2):
        assert der[at] == 2
        size = der[at + 1]
        yield "%x" % int.from_bytes(der[at + 2:at + 2 + size], "big")
        at += 2 + size


def of_openssl(f, pbits, qbits, digests):
    with tempfile.TemporaryDirectory() as d:
        params, key, text, signature = (os.path.join(d, n) for n in ("params", "key", "text", "signature"))
        openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:%d" % pbits,
                "-pkeyopt", "dsa_paramgen_q_bits:%d" % qbits, "-out", params)
        openssl("genpkey", "-paramfile", params, "-out", key)
        listing = openssl("pkey", "-in", key, "-noout", "-text")
        v = {"P": field(listing, b"P"), "Q": field(listing, b"Q"), "G": field(listing, b"G"),
             "X": field(listing, b"priv"), "Y": field(listing, b"pub")}
        for digest in digests:
            message = b"%d/%d %s" % (pbits, qbits, digest.encode())
            with open(text, "wb") as t:
                t.write(message)
            openssl("dgst", "-" + digest, "-sign", key, "-out", signature, text)
            v["Digest"] = hashlib.new(digest, message).hexdigest()
            with open(signature, "rb") as s:
                v["R"], v["S"] = integers(s.read())
            write(f, message.decode(), v)


def is_prime(n):
    return subprocess.run(["openssl", "prime", str(n)], stdout=subprocess.PIPE).stdout.endswith(b"is prime\n")


def of_python(f, pbits, qbits, name):
    """A key whose q has an unusual length, and a signature over the leftmost octets of a digest."""
    source = random.Random(qbits)
    q = next(n for n in iter(lambda: source.getrandbits(qbits) | 1 << qbits - 1 | 1, 0) if is_prime(n))
    while True:
        m = source.getrandbits(pbits - qbits) | 1 << pbits - qbits - 1
        p = q * (m - m % 2) + 1
        if p.bit_length() == pbits and is_prime(p):
            break
    g = pow(2, (p - 1) // q, p)
    x, k = source.randrange(1, q), source.randrange(1, q)
    digest = hashlib.new(name, b"%d bits" % qbits).digest()
    r = pow(g, k, p) % q
    s = pow(k, -1, q) * (int.from_bytes(digest[:qbits // 8], "big") + x * r) % q
    numbers = {"P": p, "Q": q, "G": g, "X": x, "Y": pow(g, x, p), "K": k, "R": r, "S": s}
    write(f, "%d/%d %s" % (pbits, qbits, name), {"Digest": digest.hex(), **{n: "%x" % v for n, v in numbers.items()}})


with open(os.path.join(HERE, "dsa_verify.txt"), "w") as out:
    out.write("# R = (G^(z/S) * Y^(R/S) mod P) mod Q, z of the leftmost (bits of Q)/8 octets of Digest; Y = G^X mod P.\n"
              "# From FIPS 186-2 appendix 5, from %s, and from Python's pow (make_dsa_vectors.py)\n" %
              openssl("version").decode().strip())
    write(out, "FIPS 186-2", FIPS)
    of_openssl(out, 1024, 160, ("sha1", "sha256", "sha512"))
    of_openssl(out, 2048, 224, ("sha1", "sha256"))
    of_openssl(out, 2048, 256, ("sha1", "sha256", "sha384"))
    of_openssl(out, 3072, 256, ("sha256",))
    of_python(out, 1024, 161, "sha256")
    of_python(out, 1200, 600, "sha512")
    of_python(out, 512, 136, "sha256")
