"""Time attribute certificates for the test authority.

`openssl ts` cannot put an attribute certificate (RFC 3281) into a token. So its token is signed again here:
TSTInfo, digest algorithm, certificates and signing time stay, the addition goes into the certificate set or
the signed attributes, and openssl makes the signature.
"""

import calendar
import hashlib
import os
import subprocess
import tempfile
import time

SEQUENCE, SET, INTEGER, BIT_STRING, OCTET_STRING = 0x30, 0x31, 0x02, 0x03, 0x04
ENUMERATED, GENERALIZED_TIME = 0x0A, 0x18
DIRECTORY_NAME = 0xA4   # GeneralName
V2_ATTR_CERT = 0xA2     # CertificateChoices, RFC 5652 10.2.2
NTP_TO_UNIX = 2208988800  # seconds from 1900 to 1970

PLACES = ("certificates", "signer-attribute")
PARTS = ("metrics", "policy")

# The values in every certificate; the times follow the token's genTime.
OFFSET = (0, 250000, -1)    # seconds, microseconds, sign: -0.25 s
DELAY = (0, 125000)
LEAP = (3692217600, 1)      # 2017-01-01 00:00:00 UTC, one second inserted
POLICY = "1.2.3.4.5.60"
MAX_OFFSET = (1, 500000)
MAX_DELAY = (2, 0)
VALID_FOR = 3600            # metrics, in seconds


def der(tag, *parts):
    """One DER element of a single identifier octet."""
    content = b"".join(parts)
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def integer(value):
    return der(INTEGER, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def oid(dotted):
    """An OBJECT IDENTIFIER, X.690 8.19."""
    arcs = [int(arc) for arc in dotted.split(".")]
    octets = b""
    for arc in [arcs[0] * 40 + arcs[1], *arcs[2:]]:
        group = [arc & 0x7F]
        while arc := arc >> 7:
            group.insert(0, 0x80 | arc & 0x7F)
        octets += bytes(group)
    return der(0x06, octets)


def set_of(elements, tag=SET):
    return der(tag, *sorted(elements))


def elements(content):
    """The DER elements of `content` as (tag, content, whole)."""
    found = []
    while content:
        size, start = content[1], 2
        if size >= 0x80:
            start = 2 + (size & 0x7F)
            size = int.from_bytes(content[2:start], "big")
        found.append((content[0], content[start:start + size], content[:start + size]))
        content = content[start + size:]
    return found


SHA256 = oid("2.16.840.1.101.3.4.2.1")
SHA256_WITH_RSA = der(SEQUENCE, oid("1.2.840.113549.1.1.11"), b"\x05\x00")
CONTENT_TYPE, MESSAGE_DIGEST, SIGNING_TIME = (oid(f"1.2.840.113549.1.9.{n}") for n in (3, 4, 5))
SIGNING_CERTIFICATE = oid("1.2.840.113549.1.9.16.2.12")
SIGNING_CERTIFICATE_V2 = oid("1.2.840.113549.1.9.16.2.47")
SIGNER_ATTRIBUTES = oid("1.2.840.113549.1.9.16.2.18")
TIMING_METRICS = oid("1.3.6.1.4.1.601.10.4.1")
TIMING_POLICY = oid("1.3.6.1.4.1.601.10.4.2")


def sign(key, digest, data):
    """The signature that openssl makes with a key file."""
    environment = {k: v for k, v in os.environ.items() if not k.startswith("OPENSSL_")}
    with tempfile.NamedTemporaryFile(dir=os.path.dirname(key)) as file:
        file.write(data)
        file.flush()
        return subprocess.run(["openssl", "dgst", f"-{digest}", "-sign", key, file.name],
                              capture_output=True, env=environment, check=True, timeout=60).stdout


def time_value(seconds, fraction=0, sign_=None):
    parts = [integer(seconds), integer(fraction)]
    if sign_ is not None:
        parts.append(integer(sign_))
    return der(SEQUENCE, *parts)


def timing_attributes(now, parts):
    """The attributes of a certificate for the time `now`, in seconds since 1970."""
    attributes = []
    if "metrics" in parts:
        leap = der(SET, der(SEQUENCE, time_value(LEAP[0]), integer(LEAP[1])))
        metrics = der(SEQUENCE, time_value(now + NTP_TO_UNIX), time_value(*OFFSET), time_value(*DELAY),
                      time_value(now + VALID_FOR + NTP_TO_UNIX), leap)
        attributes.append(der(SEQUENCE, TIMING_METRICS, der(SET, metrics)))
    if "policy" in parts:
        policy = der(SEQUENCE, der(SEQUENCE, der(SEQUENCE, oid(POLICY))),
                     der(0xA0, time_value(*MAX_OFFSET)), der(0xA1, time_value(*MAX_DELAY)))
        attributes.append(der(SEQUENCE, TIMING_POLICY, der(SET, policy)))
    return attributes


def certificate_fields(certificate):
    """Serial number and subject of a DER certificate, each as an element."""
    body = elements(elements(elements(certificate)[0][1])[0][1])
    fields = [whole for tag, _, whole in body if tag != 0xA0]  # without the version
    return fields[0], fields[4]


class Issuer:
    """Who states the timing metrics: a key and a certificate of its own."""

    def __init__(self, key, certificate, holder, parts):
        self._key = key
        self._name = certificate_fields(certificate)[1]
        self._holder = holder  # the signer's certificate, DER
        self._parts = parts

    def issue(self, now):
        """An AttributeCertificate (RFC 3281, 4.1) and the IssuerSerial that names it."""
        names = der(SEQUENCE, der(DIRECTORY_NAME, self._name))
        serial = der(INTEGER, b"\x01" + os.urandom(7))
        digest = der(BIT_STRING, b"\x00", hashlib.sha256(self._holder).digest())
        holder = der(SEQUENCE,
                     der(0xA1, der(DIRECTORY_NAME, certificate_fields(self._holder)[1])),
                     der(0xA2, der(ENUMERATED, b"\x01"), der(SEQUENCE, SHA256, b"\x05\x00"), digest))
        validity = der(SEQUENCE, *(der(GENERALIZED_TIME, time.strftime("%Y%m%d%H%M%SZ", time.gmtime(at)).encode())
                                   for at in (now - 60, now + 86400)))
        body = der(SEQUENCE, integer(1), holder, der(0xA0, names), SHA256_WITH_RSA, serial, validity,
                   der(SEQUENCE, *timing_attributes(now, self._parts)))
        signature = der(BIT_STRING, b"\x00", sign(self._key, "sha256", body))
        return der(SEQUENCE, body, SHA256_WITH_RSA, signature), der(SEQUENCE, names, serial)


def certificate_id(version, digest, certificate, issuer_serial):
    """ESSCertID (RFC 2634) or ESSCertIDv2 (RFC 5035), whose default is SHA-256."""
    if version == "v1":
        return der(SEQUENCE, der(OCTET_STRING, hashlib.sha1(certificate).digest()), issuer_serial)
    name = {"sha384": "2.16.840.1.101.3.4.2.2", "sha512": "2.16.840.1.101.3.4.2.3"}.get(digest)
    algorithm = [der(SEQUENCE, oid(name))] if name else []
    return der(SEQUENCE, *algorithm, der(OCTET_STRING, hashlib.new(digest, certificate).digest()), issuer_serial)


def with_second_id(attribute, identifier):
    """A signing-certificate attribute that names one more certificate, after the signer's."""
    kind, values = elements(elements(attribute)[0][1])
    value = elements(elements(values[1])[0][1])
    first, *others = [whole for _, _, whole in elements(value[0][1])]
    policies = [whole for _, _, whole in value[1:]]
    names = der(SEQUENCE, first, identifier, *others)
    return der(SEQUENCE, kind[2], der(SET, der(SEQUENCE, names, *policies)))


def kind_of(attribute):
    """The identifier of an Attribute, as an element."""
    return elements(elements(attribute)[0][1])[0][2]


class Resigner:
    """Signs the tokens of replies again, with parts that openssl cannot put into them."""

    def __init__(self, key, options, issuer=None):
        self._key = key
        self._options = options
        self._issuer = issuer

    def resign(self, reply):
        """The reply with another token; a reply without a token unchanged."""
        parts = elements(elements(reply)[0][1])
        if len(parts) < 2:
            return reply
        content_type, content = elements(parts[1][1])
        fields = elements(elements(content[1])[0][1])
        _, algorithms, encapsulated = (whole for _, _, whole in fields[:3])
        certificates = next(([whole for _, _, whole in elements(inner)]
                             for tag, inner, _ in fields[3:] if tag == 0xA0), None)
        signer = elements(elements(fields[-1][1])[0][1])

        info = elements(elements(elements(encapsulated)[0][1])[1][1])[0][1]
        attributes = self._kept(signer[3][1])
        version = 3
        if self._issuer is not None:
            certificate, issuer_serial = self._issuer.issue(generation_time(info))
            if self._options.tac == "signer-attribute":
                value = der(SEQUENCE, der(0xA1, certificate))
                attributes.append(der(SEQUENCE, SIGNER_ATTRIBUTES, der(SET, value)))
            else:
                attributes = self._naming(attributes, certificate, issuer_serial)
                # A requester that wants no certificates gets none (RFC 3161, 2.4.1), this one included.
                if certificates is not None:
                    certificates.append(der(V2_ATTR_CERT, elements(certificate)[0][1]))
                    version = 4
        for identifier in self._options.extra_attribute:
            attributes.append(der(SEQUENCE, oid(identifier), der(SET, der(SEQUENCE))))

        signature = sign(self._key, self._options.digest, set_of(attributes))
        signer_info = der(SEQUENCE, signer[0][2], signer[1][2], signer[2][2], set_of(attributes, 0xA0),
                          signer[4][2], der(OCTET_STRING, signature))
        data = der(SEQUENCE, integer(version), algorithms, encapsulated,
                   *([set_of(certificates, 0xA0)] if certificates is not None else []),
                   der(SET, signer_info))
        return der(SEQUENCE, parts[0][2], der(SEQUENCE, content_type[2], der(0xA0, data)))

    @staticmethod
    def _kept(attributes):
        kinds = (CONTENT_TYPE, MESSAGE_DIGEST, SIGNING_TIME, SIGNING_CERTIFICATE, SIGNING_CERTIFICATE_V2)
        return [whole for _, _, whole in elements(attributes) if kind_of(whole) in kinds]

    def _naming(self, attributes, certificate, issuer_serial):
        identifier = certificate_id(self._options.ess, self._options.ess_digest, certificate, issuer_serial)
        naming = (SIGNING_CERTIFICATE, SIGNING_CERTIFICATE_V2)
        return [with_second_id(whole, identifier) if kind_of(whole) in naming else whole for whole in attributes]


def generation_time(info):
    """The genTime of a TSTInfo, in seconds since 1970; a fraction is left out."""
    text = next(content for tag, content, _ in elements(elements(info)[0][1]) if tag == GENERALIZED_TIME)
    return calendar.timegm(time.strptime(text[:14].decode(), "%Y%m%d%H%M%S"))
