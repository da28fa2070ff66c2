"""Writes the seed corpora of the fuzz targets.

usage: make_corpus.py LIBQEX FOLDER

LIBQEX is the shared library, whose encoders make the requests; certificates and tokens come from the openssl
command. Attribute certificates, tokens that carry them and rare types, which neither of them makes, are built
here, element by element. Keys are new in every run and discarded, so two runs do not write the same octets;
the checked-in seeds need not be made again.
"""

import argparse
import ctypes
import hashlib
import os
import re
import random
import struct
import sys
import tempfile
import types

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "authority"))
import tsa  # noqa: E402
from tsa import der  # noqa: E402

SHA1, SHA256, SHA384, SHA512 = (
    "1.3.14.3.2.26", "2.16.840.1.101.3.4.2.1", "2.16.840.1.101.3.4.2.2", "2.16.840.1.101.3.4.2.3")
SIGNED_DATA = "1.2.840.113549.1.7.2"
TST_INFO = "1.2.840.113549.1.9.16.1.4"
TIMING = "1.3.6.1.4.1.601.10"


def oid(text):
    arcs = [int(arc) for arc in text.split(".")]
    out = bytearray([arcs[0] * 40 + arcs[1]])
    for arc in arcs[2:]:
        groups = [arc & 0x7F]
        while arc >> 7:
            arc >>= 7
            groups.insert(0, 0x80 | arc & 0x7F)
        out += bytes(groups)
    return der(0x06, bytes(out))


def integer(value):
    return der(0x02, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def seq(*parts):
    return der(0x30, *parts)


def set_of(*parts):
    return der(0x31, *parts)


def octets(content):
    return der(0x04, content)


def bits(content, unused=0):
    return der(0x03, bytes([unused]), content)


def utf8(text):
    return der(0x0C, text.encode())


def printable(text):
    return der(0x13, text.encode())


def algorithm(identifier, parameters=der(0x05)):
    return seq(oid(identifier), parameters)


def name(*entries):
    return seq(*(set_of(seq(oid(kind), value)) for kind, value in entries))


def elements(data):
    """The (tag, content) pairs of a DER content with tags of one octet."""
    out = []
    while data:
        head, size = 2, data[1]
        if size >= 0x80:
            head = 2 + (size & 0x7F)
            size = int.from_bytes(data[2:head], "big")
        out.append((data[0], data[head:head + size]))
        data = data[head + size:]
    return out


def first(data):
    """The first element of `data`, whole."""
    return der(*elements(data)[0])


def indefinite(data):
    """The same with indefinite lengths, and universal OCTET STRINGs in components."""
    out = b""
    for tag, content in elements(data):
        if tag & 0x20:
            out += bytes([tag, 0x80]) + indefinite(content) + b"\0\0"
        elif tag == 0x04 and len(content) > 4:
            out += b"\x24\x80" + der(0x04, content[:3]) + der(0x04, content[3:]) + b"\0\0"
        else:
            out += der(tag, content)
    return out


# --- The library's own encoder -------------------------------------------------------


class Record(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("hashAlgorithm", ctypes.c_char * 128),
                ("hashedMessage", ctypes.c_uint8 * 128), ("hashedMessageLength", ctypes.c_uint32),
                ("reqPolicy", ctypes.c_char * 128), ("nonce", ctypes.c_uint8 * 40),
                ("nonceLength", ctypes.c_uint32), ("certReq", ctypes.c_uint32)]


class ShortRecord(ctypes.Structure):
    _fields_ = [("hashAlgorithm", ctypes.c_char * 128), ("hashedMessage", ctypes.c_uint8 * 40),
                ("hashedMessageLength", ctypes.c_uint32), ("reqPolicy", ctypes.c_char * 128),
                ("nonceHigh", ctypes.c_uint32), ("nonceLow", ctypes.c_uint32), ("certReq", ctypes.c_uint32)]


def record(digest=SHA256, policy="", nonce=b"", cert_req=False):
    r = Record(size=440, hashAlgorithm=digest.encode(), reqPolicy=policy.encode(), certReq=int(cert_req))
    message = {SHA1: hashlib.sha1, SHA512: hashlib.sha512}.get(digest, hashlib.sha256)(b"data").digest()
    r.hashedMessage[:len(message)] = message
    r.hashedMessageLength = len(message)
    r.nonce[:len(nonce)] = nonce
    r.nonceLength = len(nonce)
    return r


class Encoder:
    def __init__(self, path):
        self.call = ctypes.CDLL(path).QEX_EncodeTSQ_Ex

    def request(self, transport=0, **fields):
        out = (ctypes.c_uint8 * 2048)()
        length = ctypes.c_uint32(len(out))
        code = self.call(ctypes.byref(record(**fields)), out, ctypes.byref(length), transport)
        if code != 0:
            raise RuntimeError(f"QEX_EncodeTSQ_Ex: {code}")
        return bytes(out[:length.value])


# --- Authorities ---------------------------------------------------------------------


def authority(folder, **changes):
    options = types.SimpleNamespace(
        key="rsa", rsa_bits=1024, rsa_exponent=65537, dsa_bits=1024, tls=False, digest="sha256",
        policy="1.2.3.4", digests=["sha1", "sha256", "sha384", "sha512"], ordering=False, tsa_name=True,
        chain=False, ess="v1", ess_digest="sha256", other_policies=["1.2.3.5"], accuracy="secs:1, millisecs:2",
        clock_digits=0, reject=None, status_text=None)
    vars(options).update(changes)
    return tsa.Authority(folder, options)


def token_of(reply):
    return der(*elements(elements(reply)[0][1])[1])


def certificate_of(folder):
    return tsa.openssl("x509", "-in", os.path.join(folder, "tsa.pem"), "-outform", "DER")


# --- Attribute certificates ----------------------------------------------------------


def directory_name(*entries):
    return der(0xA4, name(*entries))


def time_value(major, fraction=0, *sign):
    return seq(integer(major), integer(fraction), *(integer(s) for s in sign))


def metrics(*leaps, now=3913056000, until=3913059600):
    parts = [time_value(now), time_value(0, 250000, -1), time_value(1, 500, 1), time_value(until)]
    if leaps:
        parts.append(set_of(*(seq(time_value(when), integer(action)) for when, action in leaps)))
    return seq(*parts)


POLICY = seq(seq(seq(oid("1.2.3.4"))), der(0xA0, time_value(1, 5)), der(0xA1, time_value(2, 6, -1)))
PLAIN_POLICY = seq(seq(oid("1.2.3.4")))


def attribute(kind, *values):
    return seq(oid(kind), set_of(*values))


def tac_content(attributes, issuer=None, version=1):
    holder = seq(der(0xA1, directory_name(("2.5.4.6", printable("GB")), ("2.5.4.3", utf8("TSA")))),
                 der(0xA2, der(0x0A, b"\0"), algorithm(SHA1), bits(bytes(range(20)))))
    issuer = issuer or der(0xA0, seq(directory_name(("2.5.4.10", utf8("Example")))))
    info = seq(integer(version), holder, issuer, algorithm("1.2.840.113549.1.1.5"), integer(0x1234567),
               seq(der(0x18, b"20240101000000Z"), der(0x18, b"20250101000000Z")), seq(*attributes))
    return info + algorithm("1.2.840.113549.1.1.5") + bits(bytes(range(64)))


def tacs():
    """Attribute certificates of all shapes, by name."""
    issuer = seq(directory_name(("2.5.4.10", utf8("Example"))))
    return {
        "metrics": seq(tac_content([attribute(TIMING + ".4.1", metrics()), attribute(TIMING + ".4.2", POLICY)])),
        "nested": seq(tac_content([attribute(TIMING + ".4.1", set_of(metrics(), metrics((3913056000, 1)))),
                                   attribute(TIMING + ".4.2", set_of(POLICY, PLAIN_POLICY))], issuer)),
        "single": seq(tac_content([attribute(TIMING + ".1", metrics((3913056000, 1), (3944678400, 2)))])),
        "bare": seq(tac_content([seq(oid(TIMING + ".1"), metrics())])),
        # 2024-02-29 and 2023-03-01; the first and the last second that can be rendered.
        "leap_day": seq(tac_content([attribute(TIMING + ".4.1", metrics(now=3918153600, until=3886617600))])),
        "limits": seq(tac_content([attribute(TIMING + ".4.1", metrics(now=2208945600, until=4356472447))])),
        "none": seq(tac_content([])),
        "v1": seq(seq(der(0xA1, seq(directory_name(("2.5.4.3", utf8("TSA"))))), issuer, algorithm(SHA1), integer(1),
                      seq(der(0x18, b"20240101000000Z"), der(0x18, b"20250101000000Z")),
                      seq(attribute(TIMING + ".4.2", POLICY))), algorithm(SHA1), bits(bytes(16))),
    }


def tst_info(**fields):
    parts = [integer(1), oid("1.2.3.4"), seq(algorithm(SHA256), octets(bytes(32))), integer(99),
             der(0x18, b"20241115080000.5Z")]
    return seq(*parts, *fields.get("more", []))


def signed_token(folder, certificate, choices=(), named=(), attributes=(), info=None):
    """A token signed with the key in `folder`; `named` are further encodings that the attributes name."""
    info = info or tst_info()
    identifiers = [certificate, *named]
    v1 = seq(seq(*(seq(octets(hashlib.sha1(i).digest())) for i in identifiers)))
    v2 = seq(seq(*(seq(octets(hashlib.sha256(i).digest())) for i in identifiers)))
    signed = b"".join([
        attribute("1.2.840.113549.1.9.3", oid(TST_INFO)),
        attribute("1.2.840.113549.1.9.4", octets(hashlib.sha256(info).digest())),
        attribute("1.2.840.113549.1.9.16.2.12", v1), attribute("1.2.840.113549.1.9.16.2.47", v2), *attributes])
    signature = tsa.openssl("dgst", "-sha256", "-sign", os.path.join(folder, "tsa.key"), data=der(0x31, signed))
    tbs = elements(elements(elements(certificate)[0][1])[0][1])
    signer = seq(integer(1), seq(der(*tbs[3]), der(*tbs[1])), algorithm(SHA256), der(0xA0, signed),
                 algorithm("1.2.840.113549.1.1.1"), octets(signature))
    data = seq(integer(3), set_of(algorithm(SHA256)), seq(oid(TST_INFO), der(0xA0, octets(info))),
               der(0xA0, certificate, *choices), set_of(signer))
    return seq(oid(SIGNED_DATA), der(0xA0, data))


# --- Corpora -------------------------------------------------------------------------


class Corpus:
    def __init__(self, folder):
        self.folder = folder

    def add(self, target, label, data):
        folder = os.path.join(self.folder, target)
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, label), "wb") as file:
            file.write(data)


def requests(corpus, encoder):
    cases = {
        "plain": {},
        "full": {"policy": "1.2.3.4.5", "nonce": bytes([0, 0xFF] * 4), "cert_req": True},
        "sha1": {"digest": SHA1, "nonce": b"\x01"},
        "sha512": {"digest": SHA512, "policy": "2.16.840.1.3"},
    }
    for label, fields in cases.items():
        for mode, transport in (("raw", 0), ("socket", 1), ("http", 2)):
            corpus.add("request_encode", f"{label}_{mode}", bytes([transport, 0]) + bytes(record(**fields)))
            if label in ("full", "sha1"):
                corpus.add("request_decode", f"{label}_{mode}", encoder.request(transport, **fields))
    corpus.add("request_encode", "reserved", bytes([3, 0]) + bytes(record()))
    brief = ShortRecord(hashAlgorithm=SHA1.encode(), hashedMessageLength=20, reqPolicy=b"1.2.3.16384", nonceLow=255)
    corpus.add("request_encode", "short", bytes([1, 4]) + bytes(brief))
    request = encoder.request(policy="1.2.3", nonce=bytes(range(1, 9)), cert_req=True)
    corpus.add("request_decode", "indefinite", indefinite(request))
    extension = seq(seq(oid("1.2.3"), octets(b"\x05\0")))[2:]
    corpus.add("request_decode", "extended", seq(elements(request)[0][1], der(0xA0, extension)))
    return request


def frames(corpus, reply):
    socket = struct.pack(">IB", len(reply) + 1, 5) + reply
    corpus.add("response_unpack", "raw", b"\0" + reply)
    corpus.add("response_unpack", "socket", b"\1" + socket)
    corpus.add("response_unpack", "socket_flag", b"\1" + socket[:4] + b"\6" + reply)
    corpus.add("response_unpack", "socket_short", b"\1" + socket[:-1])
    good = "HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: %d\r\n\r\n"
    heads = {
        "http": good % len(reply),
        "http_longer": good % (len(reply) + 1),
        "http_zero": good % 0,
        "http_lines": "HTTP/1.0  200\nServer: x\ncontent-TYPE:APPLICATION/timestamp-reply\n\n",
        "http_404": "HTTP/1.0 404 Not Found\r\n\r\n",
        "http_parameter": "HTTP/1.0 200 OK\r\nContent-Type: application/timestamp-reply; charset=x\r\n\r\n",
        "http_signed": "HTTP/1.0 200 OK\r\nContent-Length: -1\r\nContent-Type: application/timestamp-reply\r\n\r\n",
    }
    for label, head in heads.items():
        corpus.add("response_unpack", label, b"\2" + head.encode() + reply)


def names(corpus):
    strings = [("2.5.4.6", printable("GB")), ("2.5.4.10", utf8("Example")), ("2.5.4.3", utf8("TSA"))]
    odd = [
        ("1.2.840.113549.1.9.1", der(0x16, b"a@b")),
        ("2.5.4.21", seq(printable("1"), printable("2"), printable("3"))),
        ("2.5.4.23", seq(printable("555"), bits(b"\xa0", 5))),
        ("2.5.4.30", oid("1.2.3")),
        ("2.5.4.45", bits(b"\x01\x02")),
        ("2.5.4.24", der(0x12, b"123")),
        ("2.5.4.3", der(0x1E, b"\0T\0S")),
        ("2.5.4.46", printable("q")),
        ("2.5.4.28", seq(integer(1), integer(2))),
        ("2.5.4.49", name(*strings[:1])),
        ("2.5.4.50", seq(name(*strings[:1]), bits(b"\x80", 7))),
        ("2.5.4.29", seq(der(0xA0, octets(b"p")), der(0xA3, set_of(octets(b"n"))))),
    ]
    made = {"usual": name(*strings), "odd": name(*odd), "empty": name(),
            "address": name(strings[0], ("2.5.4.16", seq(utf8("Street"), utf8("Town"))), strings[2]),
            "several": seq(set_of(*(seq(oid(k), v) for k, v in strings)), set_of())}
    for label, encoded in made.items():
        corpus.add("names", label, b"\x08\x40" + encoded)
    corpus.add("names", "indefinite", b"\x02\0" + indefinite(made["usual"]))
    return made


def runtime(corpus):
    cases = {
        "tag": (0, [b"\x30", b"\x1f\x81\x82\x83\x04", b"\xbf\x22"]),
        "length": (1, [b"\x05", b"\x80", b"\x82\x01\x00", b"\x84\xff\xff\xff\xff", b"\x85", b"\x83\xff\xff\xa6"]),
        "end": (2, [b"\0\0", b"\0\1"]),
        "boolean": (3, [der(1, b"\xff"), der(1, b"")]),
        "integer": (4, [integer(-129), integer(2147483647), der(2, b"") + b"\x80"]),
        "unsigned": (5, [integer(4294967295), der(2, b"\x80")]),
        "bits": (6, [bits(b"\xa0", 5), bits(b"\xff\xff", 9), bits(b"\xff", 8), bits(b"", 3), der(0x23, bits(b"\x01"), bits(b"\x02", 1)),
                     b"\x23\x80" + der(0x23, bits(b"\x01")) + bits(b"", 0) + b"\0\0"]),
        "octets": (7, [octets(b"abc"), der(0x24, octets(b"ab"), octets(b"c")),
                       b"\x24\x80" + b"\x24\x80" + octets(b"a") + b"\0\0" + octets(b"") + b"\0\0"]),
        "null": (8, [der(5)]),
        "oid": (9, [oid("1.2.840.113549")]),
        "any": (10, [oid(SHA1) + der(5), oid("2.5.4.3") + utf8("x"), oid("2.5.4.45") + bits(b"\1"),
                     oid(TIMING + ".4.1") + set_of(metrics()), oid("1.2.3") + der(5)]),
        "number": (11, [b"\0\0\0\1\5\0"]),
    }
    for label, (number, inputs) in cases.items():
        for i, data in enumerate(inputs):
            corpus.add("ber", f"{label}_{i}", bytes([number]) + data)


def identifiers(corpus):
    for i, text in enumerate(["2.16.840.1.101.3.4.2.1", "1.2.16384.128", "2.100.3", "1.40", "1.2.12345678901",
                              "1.2.3.", "0.39.2147483647", "1.2." + ".".join(["1"] * 125)]):
        corpus.add("oids", f"text_{i}", bytes([1, 0]) + text.encode())
    for i, contents in enumerate([oid("1.2.840.113549.1.9.1")[2:], b"\x2b", b"\x88\x37\x03", b"\x2a\x86",
                                  b"\x2a" + b"\x8f\xff\xff\xff\x7f" * 14]):
        corpus.add("oids", f"octets_{i}", bytes([0, 12]) + contents)


def numbers(corpus):
    source = random.Random(1)
    for operation in range(5):
        for i, (n, m) in enumerate([(64, 32), (8, 8), (33, 65)]):
            head = bytes([operation, n, m, i])
            corpus.add("bignum", f"{operation}_{i}", head + source.randbytes(n + m + 12))


def digests(corpus):
    for size in (0, 1, 55, 56, 64, 111, 112, 128, 200):
        corpus.add("digests", str(size), bytes(i & 0xFF for i in range(size)))


def engine(corpus, messages):
    """Types by name; the target takes a type's number, its first error code without the sign."""
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "asn1", "codes.h"), encoding="utf-8") as table:
        numbers = dict(re.findall(r'\{"(\w+)", -(\d+)', table.read()))
    for name_of_type, label, data in messages:
        corpus.add("types", f"{name_of_type}_{label}", int(numbers[name_of_type]).to_bytes(2, "big") + data)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("library")
    parser.add_argument("folder")
    options = parser.parse_args()
    corpus = Corpus(options.folder)
    encoder = Encoder(os.path.abspath(options.library))
    request = requests(corpus, encoder)
    made_names = names(corpus)
    runtime(corpus)
    identifiers(corpus)
    numbers(corpus)
    digests(corpus)
    attribute_certificates = tacs()

    with tempfile.TemporaryDirectory() as scratch:
        rsa = os.path.join(scratch, "rsa")
        dsa = os.path.join(scratch, "dsa")
        v1 = authority(rsa)
        reply = v1.answer(encoder.request(nonce=b"\x12\x34", cert_req=True))
        without = v1.answer(encoder.request())
        # In the same folder, so that the key is the same.
        v2 = authority(rsa, ess="v2", digest="sha512", accuracy="", ordering=True, clock_digits=3)
        reply_v2 = v2.answer(encoder.request(digest=SHA512, cert_req=True))
        reply_dsa = authority(dsa, key="dsa", digest="sha1").answer(encoder.request(digest=SHA1, cert_req=True))
        certificate = certificate_of(rsa)

        tac = attribute_certificates["metrics"]
        v1_certificate = attribute_certificates["v1"]
        content = elements(tac)[0][1]
        both = signed_token(rsa, certificate, [der(0xA1, elements(v1_certificate)[0][1]), der(0xA2, content)], [tac])
        in_signer = signed_token(rsa, certificate, attributes=[
            attribute("1.2.840.113549.1.9.16.2.18", seq(der(0xA1, tac)))])
        other = signed_token(rsa, certificate, [der(0xA3, oid("1.2.840.113549.1.7.1"), octets(b"x"))])

    frames(corpus, without[:60])
    for label, data in {
            "granted": without, "v2": reply_v2, "refused": tsa.refusal("badAlg", "no"),
            "failure": tsa.refusal("systemFailure", "x" * 90), "unread": tsa.refusal("badRequest"),
            "waiting": seq(seq(integer(3), der(0x30, utf8("a"), utf8("b")))), "indefinite": indefinite(without),
            "no_token": seq(seq(integer(0)))}.items():
        corpus.add("response", label, data)
    tokens = {"v1": token_of(reply), "v2": token_of(reply_v2), "dsa": token_of(reply_dsa), "both": both,
              "signer": in_signer, "other": other}
    for label, data in tokens.items():
        corpus.add("verify", label, data)
        if label not in ("v2", "dsa"):
            corpus.add("token", label, data)
    corpus.add("token", "without", token_of(without))
    corpus.add("token", "indefinite", indefinite(token_of(without)))
    corpus.add("token", "no_content", seq(oid(SIGNED_DATA)))
    corpus.add("token", "data", seq(oid("1.2.840.113549.1.7.1"), der(0xA0, octets(b"x"))))
    corpus.add("verify", "given", tokens["v1"] + certificate)
    corpus.add("verify", "given_without", token_of(without) + certificate)
    corpus.add("verify", "given_v2", tokens["v2"] + certificate)
    for label, data in attribute_certificates.items():
        corpus.add("tac", label, data)
    corpus.add("tac", "indefinite", indefinite(tac))
    corpus.add("tac", "in_set", tac + both)
    corpus.add("tac", "in_signer", tac + in_signer)
    corpus.add("tac", "not_there", attribute_certificates["single"] + tokens["v1"])

    key = elements(elements(elements(certificate)[0][1])[0][1])[6][1]
    distinguished = made_names["usual"]
    ess_id = seq(octets(bytes(20)), seq(seq(der(0xA4, distinguished)), integer(7)))
    engine(corpus, [
        ("ContentInfo", "token", tokens["dsa"]), ("ContentInfo", "content", seq(oid("1.3.6.1.4.1.311.3.2.1"))),
        ("SignedData", "empty", seq(integer(3), set_of(), seq(oid(TST_INFO)), set_of())), ("Certificate", "certificate", certificate),
        ("TimeStampReq", "request", request), ("TimeStampResp", "refused", tsa.refusal("badAlg", "no")),
        ("TSTInfo", "info", tst_info(more=[seq(integer(1), der(0x80, b"\2"), der(0x81, b"\3")), der(1, b"\xff"), integer(5),
                                   der(0xA0, der(0xA4, distinguished))])),
        ("AttributeCertificate", "nested", attribute_certificates["nested"]), ("AttributeCertificate", "v1", attribute_certificates["v1"]),
        ("TimingMetrics", "metrics", metrics((1, 1))), ("TimingMeticsObj", "set", set_of(metrics())), ("TimingPolicy", "policy", POLICY),
        ("TimingPolicyObj", "set", set_of(POLICY, PLAIN_POLICY)), ("RSAPublicKey", "key", first(elements(key)[1][1][1:])),
        ("Dss_Parms_BI", "parms", seq(integer(1 << 160), integer(1 << 80), integer(2))), ("Dss_Sig_Value_BI", "sig", seq(integer(5), integer(6))),
        ("BigIntegerStr", "integer", integer(1 << 64)), ("DistinguishedName", "name", distinguished), ("DistinguishedName", "odd", made_names["odd"]),
        ("DirectoryString", "string", der(0x1E, b"\0a")), ("SigningCertAttrParams", "ess", seq(seq(ess_id), seq(seq(oid("1.2.3"))))),
        ("SigningCertV2AttrParams", "ess", seq(seq(seq(octets(bytes(32))), seq(algorithm(SHA512), octets(bytes(64)))))),
        ("SignaturePolicyIdentifierAttrParams", "policy", seq(oid("1.2.3"), seq(algorithm(SHA1), octets(bytes(20))))), ("SignaturePolicyIdentifierAttrParams", "implied", der(5)),
        ("SignerAttributeAttrParams", "attributes", seq(der(0xA0, attribute("2.5.4.3", utf8("x"))), der(0xA1, attribute_certificates["none"]))),
        ("ExtensionRequest0", "extensions", seq(seq(oid("2.5.29.15"), der(1, b"\xff"), octets(b"\3\2\1\6")))),
        ("AttrContentType", "type", oid(TST_INFO)), ("AttrMsgDigest", "digest", octets(bytes(20))), ("Time", "utc", der(0x17, b"240101000000Z")),
        ("X520TelexNumber", "telex", seq(printable("1"), printable("2"), printable("3"))),
        ("X520FacsimileTelephoneNumber", "fax", seq(printable("555"), bits(b"\xa0", 5))),
        ("X520PresentationAddress", "address", seq(der(0xA0, octets(b"p")), der(0xA3, set_of(octets(b"n"))))),
        ("X520ProtocolInformation", "protocol", seq(octets(b"n"), set_of(oid("1.2.3")))),
        ("X520UniqueMember", "member", seq(distinguished, bits(b"\x80", 7))), ("X520PostalAddress", "postal", seq(utf8("Street"))),
        ("X520PreferredDeliveryMethod", "delivery", seq(integer(1), integer(2))), ("PrintableString1", "string", printable("GB")),
        ("DistinguishedName", "x400", name(("2.5.4.3", utf8("x")))),
    ])


if __name__ == "__main__":
    main()
