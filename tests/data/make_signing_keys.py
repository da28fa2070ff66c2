#!/usr/bin/env python3
"""Makes signing_keys.txt: RSA keys that sign tokens in tests, and signatures made with them by openssl.

Run it in this folder; every run makes new keys. The commands:
  openssl genrsa BITS
  openssl rsa -outform DER -traditional    (its INTEGERs are the numbers below)
  openssl dgst -DIGEST -sign KEY           (of the three octets "abc", PKCS #1 v1.5)
"""
import subprocess

KEYS = {"authority": 1024, "other": 1024, "long": 2048}
DIGESTS = ["md5", "sha1", "sha256", "sha384", "sha512"]


def openssl(*arguments, data=None):
    return subprocess.run(["openssl", *arguments], input=data, capture_output=True, check=True).stdout


def element(octets, at):
    """The content of the element at `at`, and where the next one starts."""
    size = octets[at + 1]
    at += 2
    if size & 0x80:
        count = size & 0x7F
        size = int.from_bytes(octets[at:at + count], "big")
        at += count
    return octets[at:at + size], at + size


with open("signing_keys.txt", "w", encoding="ascii") as out:
    for line in __doc__.strip().splitlines():
        print("#", line, file=out)
    print("# Keys for tests: they protect nothing.", file=out)
    for name, bits in KEYS.items():
        pem = openssl("genrsa", str(bits))
        with open("key.pem", "wb") as file:
            file.write(pem)
        numbers, at = [], 0
        content, _ = element(openssl("rsa", "-in", "key.pem", "-outform", "DER", "-traditional"), 0)
        while at < len(content):
            number, at = element(content, at)
            numbers.append(int.from_bytes(number, "big"))
        for field, number in zip(("n", "e", "d", "p", "q", "dp", "dq", "qinv"), numbers[1:]):
            octets = number.to_bytes((number.bit_length() + 7) // 8, "big")
            print(f"{name}.{field} = {octets.hex()}", file=out)
        for digest in DIGESTS:
            signature = openssl("dgst", "-" + digest, "-sign", "key.pem", data=b"abc")
            print(f"{name}.{digest} = {signature.hex()}", file=out)
subprocess.run(["rm", "key.pem"], check=True)
