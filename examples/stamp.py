#!/usr/bin/env python3
"""The whole job in Python: digests a file, sends a request, unpacks the reply, reads its status, checks and reads the token.
Writes FILE.tsr and FILE.tsq, which `qex verify FILE` finds.

usage: stamp.py FILE URL ROOTS     ROOTS: the certificates that you trust as roots, in PEM
"""

import secrets
import sys
import urllib.request

import qex
from qex import lib

SHA256 = "2.16.840.1.101.3.4.2.1"


def digest_of(name: str) -> bytes:
    digest = lib.Sha256()
    with open(name, "rb") as file:
        while block := file.read(1 << 20):
            digest.update(block)
    return digest.digest()


def request_for(digest: bytes) -> bytes:
    nonce = (secrets.randbits(62) | 1 << 62).to_bytes(8, "big")  # a positive number of eight octets
    return lib.encode_tsq_ex(lib.TsqDataEx(hash_algorithm=SHA256, hashed_message=digest, nonce=nonce, cert_req=1))


def send(request: bytes, url: str) -> bytes:
    question = urllib.request.Request(url, request, {"Content-Type": "application/timestamp-query"})
    with urllib.request.urlopen(question, timeout=30) as answer:
        body: bytes = answer.read(1 << 20)
    # HTTP has been taken off already; another transport would leave its framing to the library.
    return lib.unpack_tsr(body, lib.Transport.RAW)[0]


def stamp(name: str, url: str, roots: str) -> None:
    request = request_for(digest_of(name))
    reply = send(request, url)
    status = lib.get_tsr_status(reply)
    if status.status not in (0, 1):
        raise SystemExit(f"stamp: the authority refused: {status.status_text} (status {status.status})")

    # The library's own verification is narrow; check() answers whether the token is to be believed.
    answer = qex.check(reply, file=name, request=request, trust=qex.Trust(ca_file=roots))
    if not answer:
        raise SystemExit(f"stamp: {answer.error}\nstamp: {answer.hint}")

    info = lib.get_tst_tstinfo_ex(lib.get_tsr_encoded_token(reply))
    serial = int.from_bytes(info.serial_number, "big", signed=True)
    print(f"stamped at {info.gen_time} under policy {info.policy}, serial number {serial}")
    for ending, octets in ((".tsr", reply), (".tsq", request)):
        with open(name + ending, "wb") as file:
            file.write(octets)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit(f"usage: {sys.argv[0]} FILE URL ROOTS")
    try:
        stamp(*sys.argv[1:])
    except (OSError, qex.QexError) as error:
        raise SystemExit(f"stamp: {error}") from None
