#!/usr/bin/env python3
"""Writes dsa_params.txt: domain parameters with their seeds, by the command line program openssl, the example of
FIPS 186-2, appendix 5, and, for lengths of q that openssl does not take, by FIPS 186-4 A.1.1.2 in
Python. The procedures in Python are run over all of them.
"""
import hashlib
import os
import re
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))

FIPS = {
    "L": 512, "N": 160, "Digest": "SHA1", "Counter": 105, "H": 2,
    "Seed": "d5014e4b60ef2ba8b6211b4062ba3224e0427dd3",
    "P": "8df2a494492276aa3d25759bb06869cbeac0d83afb8d0cf7cbb8324f0d7882e5"
         "d0762fc5b7210eafc2e9adac32ab7aac49693dfbf83724c2ec0736ee31c80291",
    "Q": "c773218c737ec8ee993b4f2ded30f48edace915f",
    "G": "626d027839ea0a13413163a55b4cb500299d5522956cefcb3bff10f399ce2c2e"
         "71cb9de5fa24babf58e5b79521925c9cc42e9f6f464b088cc572af53e6d78802",
}


def is_prime(n):
    if any(n % p == 0 for p in (3, 5, 7, 11, 13, 17, 19, 23)) or pow(2, n - 1, n) != 1:
        return False
    return subprocess.run(["openssl", "prime", str(n)], stdout=subprocess.PIPE).stdout.endswith(b"is prime\n")


def generate(L, N, name, seed, h):
    """(counter, p, q, g) or None."""
    bits = len(seed) * 8
    start = int.from_bytes(seed, "big")

    def digest(offset):
        number = (start + offset) % 2 ** bits
        return int.from_bytes(hashlib.new(name, number.to_bytes(len(seed), "big")).digest(), "big")

    outlen = hashlib.new(name).digest_size * 8
    if N == 160:
        u, offset = digest(0) ^ digest(1), 2
    else:
        u, offset = digest(0) % 2 ** (N - 1), 1
    q = u | 2 ** (N - 1) | 1
    if not is_prime(q):
        return None
    n = -(-L // outlen) - 1
    b = L - 1 - n * outlen
    for counter in range(4096):
        w = sum(digest(offset + j) << j * outlen for j in range(n))
        w += digest(offset + n) % 2 ** b << n * outlen
        x = w + 2 ** (L - 1)
        p = x - (x % (2 * q) - 1)
        if p >= 2 ** (L - 1) and is_prime(p):
            g = pow(h, (p - 1) // q, p)
            assert g > 1
            return counter, p, q, g
        offset += n + 1
    return None


def write(f, v):
    made = generate(v["L"], v["N"], v["Digest"], bytes.fromhex(v["Seed"]), v["H"])
    assert made == (v["Counter"], int(v["P"], 16), int(v["Q"], 16), int(v["G"], 16)), v
    f.write("\n" + "".join("%s = %s\n" % (k, v[k]) for k in ("L", "N", "Digest", "Seed", "Counter", "H", "P", "Q", "G")))


def of_openssl(f, L, N, kind, digest):
    """Parameters with a counter below 400, so that the test that goes the same way is quick."""
    counter = 400
    while counter >= 400:
        text = subprocess.run(["openssl", "genpkey", "-genparam", "-algorithm", "DSA", "-text", "-pkeyopt",
                               "pbits:%d" % L, "-pkeyopt", "qbits:%d" % N, "-pkeyopt", "type:" + kind, "-pkeyopt",
                               "digest:" + digest],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout.decode()
        counter = int(re.search(r"\npcounter: (\d+)", text).group(1))

    def octets(name):
        found = re.search(r"\n%s:\s*((?:[ \t]+[0-9a-f:]+\n)+)" % name, text).group(1)
        return re.sub(r"[^0-9a-f]", "", found)

    write(f, {"L": L, "N": N, "Digest": digest, "Seed": octets("SEED"), "Counter": counter,
              "H": int(re.search(r"\nh: (\d+)", text).group(1)),
              "P": "%x" % int(octets("P"), 16), "Q": "%x" % int(octets("Q"), 16), "G": "%x" % int(octets("G"), 16)})


def hashed(L, N, length, i):
    return hashlib.shake_128(b"%d %d %d" % (L, N, i)).digest(length)


def last(L, N, length, i):
    """The numbers after these seeds begin again at 0 after i more."""
    return (2 ** (8 * length) - 1 - i).to_bytes(length, "big")


def of_python(f, L, N, digest, h, length, seeds=hashed):
    for i in range(100000):
        seed = seeds(L, N, length, i)
        made = generate(L, N, digest, seed, h)
        if made:
            counter, p, q, g = made
            write(f, {"L": L, "N": N, "Digest": digest, "Seed": seed.hex(), "Counter": counter, "H": h, "P": "%x" % p,
                      "Q": "%x" % q, "G": "%x" % g})
            return


with open(os.path.join(HERE, "dsa_params.txt"), "w") as out:
    version = subprocess.run(["openssl", "version"], stdout=subprocess.PIPE, check=True).stdout.decode().strip()
    out.write("# P, Q and G = H^((P-1)/Q) mod P that Seed leads to at Counter, by FIPS 186-2 for an N of 160 and by FIPS 186-4\n"
              "# A.1.1.2 for others. From FIPS 186-2 appendix 5, %s, and Python\n# (make_dsa_params_vectors.py)\n" % version)
    write(out, FIPS)
    of_openssl(out, 512, 160, "fips186_2", "SHA1")
    of_openssl(out, 1024, 160, "fips186_2", "SHA1")
    of_openssl(out, 1024, 160, "fips186_2", "SHA1")
    of_openssl(out, 2048, 224, "fips186_4", "SHA256")
    of_openssl(out, 2048, 256, "fips186_4", "SHA256")
    of_openssl(out, 2048, 224, "fips186_4", "SHA512")
    of_openssl(out, 3072, 256, "fips186_4", "SHA256")
    of_python(out, 576, 224, "SHA256", 3, 20)   # a p that fills its last digest in part
    of_python(out, 1024, 384, "SHA384", 7, 48)
    of_python(out, 1024, 512, "SHA512", 2, 100)
    of_python(out, 512, 160, "SHA1", 2, 20, last)
