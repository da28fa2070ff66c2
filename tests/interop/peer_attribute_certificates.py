#!/usr/bin/python3
"""Prints the values that asn1crypto reads in attribute certificates or tokens, one line per file.

    peer_attribute_certificates.py certificate|token FILE...

asn1crypto knows attribute certificates; the timing attributes are described to it here. INTEGERs are printed
as their contents octets in hexadecimal.
"""

import sys

from asn1crypto import cms, core, tsp  # tsp knows the signing-certificate attributes


class Time(core.Sequence):
    _fields = [("major", core.Integer), ("fraction", core.Integer), ("sign", core.Integer, {"optional": True})]


class Leap(core.Sequence):
    _fields = [("time", Time), ("action", core.Integer)]


class Leaps(core.SetOf):
    _child_spec = Leap


class Metrics(core.Sequence):
    _fields = [("ntp_time", Time), ("offset", Time), ("delay", Time), ("expiration", Time),
               ("leaps", Leaps, {"optional": True})]


class PolicyInformation(core.Sequence):
    _fields = [("identifier", core.ObjectIdentifier)]


class Identifiers(core.SequenceOf):
    _child_spec = core.Any


class Policy(core.Sequence):
    _fields = [("identifiers", Identifiers, {"optional": True}),
               ("max_offset", Time, {"explicit": 0, "optional": True}),
               ("max_delay", Time, {"explicit": 1, "optional": True})]


class Anything(core.SetOf):
    _child_spec = core.Any


class Attribute(core.Sequence):
    _fields = [("type", core.ObjectIdentifier), ("values", core.Any)]


class Attributes(core.SequenceOf):
    _child_spec = Attribute


def absent(value):
    return isinstance(value, core.Void)


def time(value):
    sign = "" if absent(value["sign"]) else f"*{value['sign'].native}"
    return f"{value['major'].contents.hex()}.{value['fraction'].contents.hex()}{sign}"


def metrics(value):
    text = " ".join(time(value[name]) for name in ("ntp_time", "offset", "delay", "expiration"))
    if not absent(value["leaps"]):
        text += "".join(f" leap {time(leap['time'])} {leap['action'].native}" for leap in value["leaps"]) + " ."
    return f"metrics({text})"


def policy(value):
    text = []
    if not absent(value["identifiers"]):
        for element in value["identifiers"]:
            if element.dump()[0] == 0x06:
                text.append("bare " + core.ObjectIdentifier.load(element.dump(), strict=True).dotted)
            else:
                text.append(PolicyInformation.load(element.dump(), strict=True)["identifier"].dotted)
        text.append(".")
    for name in ("max_offset", "max_delay"):
        if not absent(value[name]):
            text.append(f"{name} {time(value[name])}")
    return f"policy({' '.join(text)})"


KINDS = {"1.3.6.1.4.1.601.10.4.1": (Metrics, metrics), "1.3.6.1.4.1.601.10.1": (Metrics, metrics),
         "1.3.6.1.4.1.601.10.4.2": (Policy, policy)}


def attribute(value):
    name = value["type"].dotted
    data = value["values"].dump()
    if name not in KINDS:
        return f"{name}[{Anything.load(data, strict=True)[0].dump().hex()}]"
    kind, render = KINDS[name]
    if data[0] == 0x30:  # in place of the SET
        return f"{name}<{render(kind.load(data, strict=True))}>"
    text = []
    for element in Anything.load(data, strict=True):
        if element.dump()[0] == 0x31:
            inner = Anything.load(element.dump(), strict=True)
            text.append("{" + " ".join(render(kind.load(v.dump(), strict=True)) for v in inner) + "}")
        else:
            text.append(render(kind.load(element.dump(), strict=True)))
    return f"{name}[{' '.join(text)}]"


def names(value):
    if absent(value):
        return "absent"
    text = []
    for name in value:
        if name.name == "directory_name":
            rdns = name.chosen.chosen
            text.append("dn " + ";".join(f"{rdn[0]['type'].dotted}={rdn[0]['value'].native}" for rdn in rdns))
        else:
            text.append(f"{name.chosen.contents.hex()}")
    return "(" + " ".join(text) + ")"


def certificate(data):
    value = cms.AttributeCertificateV2.load(data, strict=True)
    info = value["ac_info"]
    digest = info["holder"]["object_digest_info"]
    digest_text = "absent"
    if not absent(digest):
        digest_text = f"{digest['digest_algorithm']['algorithm'].dotted} {digest['object_digest'].contents.hex()}"
    issuer = info["issuer"]
    issuer_names = issuer.chosen if issuer.name == "v1_form" else issuer.chosen["issuer_name"]
    period = info["att_cert_validity_period"]
    attributes = Attributes.load(info["attributes"].dump(), strict=True)
    return (f"version {info['version'].contents.hex()} holder {names(info['holder']['entity_name'])} "
            f"digest {digest_text} {issuer.name} {names(issuer_names)} "
            f"algorithms {info['signature']['algorithm'].dotted} {value['signature_algorithm']['algorithm'].dotted} "
            f"serial {info['serial_number'].contents.hex()} "
            f"from {period['not_before_time'].contents.decode()} to {period['not_after_time'].contents.decode()} "
            f"signature {value['signature'].contents.hex()} "
            f"attributes {' '.join(attribute(a) for a in attributes)}")


class SignerAttribute(core.Choice):
    _alternatives = [("claimed", Attributes, {"explicit": 0}), ("certified", cms.AttributeCertificateV2, {"explicit": 1})]


class SignerAttributes(core.SequenceOf):
    _child_spec = SignerAttribute


class SetOfSignerAttributes(core.SetOf):
    _child_spec = SignerAttributes


cms.CMSAttributeType._map["1.2.840.113549.1.9.16.2.18"] = "signer_attributes"
cms.CMSAttribute._oid_specs["signer_attributes"] = SetOfSignerAttributes


def signer(value):
    text = [f"version {value['version'].contents.hex()}", value["digest_algorithm"]["algorithm"].dotted,
            value["signature_algorithm"]["algorithm"].dotted, value["signature"].contents.hex()]
    attributes = {} if absent(value["signed_attrs"]) else {a["type"].native: a["values"] for a in value["signed_attrs"]}
    for name in ("signing_certificate", "signing_certificate_v2"):
        if name in attributes:
            text.append(f"{name} {' '.join(c['cert_hash'].native.hex() for c in attributes[name][0]['certs'])}")
    for elements in attributes.get("signer_attributes", []):
        text.append("value " + " ".join(e.name if e.name == "claimed" else f"certified({certificate(e.chosen.untag().dump())})"
                                        for e in elements))
    return "{" + " ".join(text) + "}"


CERTIFICATES = {0x30: "certificate", 0xA1: "v1_attr_cert", 0xA2: "v2_attr_cert", 0xA3: "other"}


def token(data):
    value = cms.ContentInfo.load(data, strict=True)
    signed = value["content"]
    kinds = "absent"
    if not absent(signed["certificates"]):
        # Distinguished by their tags: asn1crypto does not read both forms of version 1.
        elements = Anything.load(signed["certificates"].untag().dump(), strict=True)
        kinds = " ".join(CERTIFICATES[element.dump()[0]] for element in elements)
    return (f"version {signed['version'].contents.hex()} type {signed['encap_content_info']['content_type'].dotted} "
            f"content {signed['encap_content_info']['content'].contents.hex()} certificates {kinds} "
            f"signers {' '.join(signer(s) for s in signed['signer_infos'])}")


if __name__ == "__main__":
    for path in sys.argv[2:]:
        with open(path, "rb") as file:
            print({"certificate": certificate, "token": token}[sys.argv[1]](file.read()).rstrip())
