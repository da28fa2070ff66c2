#!/usr/bin/python3
"""Prints the values that asn1crypto reads in requests or tokens, one line per file.

    peer_asn1crypto.py request|token FILE...

asn1crypto decodes a file strictly. Encoding the decoded values again in DER must give the same file; for a
token it must give the same length, for signers do not sort their sets of certificates.
"""

import sys

from asn1crypto import cms, core, tsp


def load(kind, path, sorted_sets=True):
    with open(path, "rb") as file:
        data = file.read()
    value = kind.load(data, strict=True)
    value.native  # decodes all of it
    again = value.dump(force=True)
    if again != data if sorted_sets else len(again) != len(data):
        sys.exit(f"{path}: not DER")
    return value


def parameters(algorithm):
    value = algorithm["parameters"]
    if isinstance(value, core.Void):
        return "absent"
    return "null" if value.dump() == b"\x05\x00" else "other"


def contents(value):
    return "" if isinstance(value, core.Void) else value.contents.hex()


def identifier(value):
    return "" if isinstance(value, core.Void) else value.dotted


def request(path):
    value = load(tsp.TimeStampReq, path)
    imprint = value["message_imprint"]
    algorithm = imprint["hash_algorithm"]
    return (f"{value['version'].native} {algorithm['algorithm'].dotted} {parameters(algorithm)} "
            f"{imprint['hashed_message'].native.hex()} policy {identifier(value['req_policy'])} "
            f"nonce {contents(value['nonce'])} cert {int(bool(value['cert_req'].native))}")


def token(path):
    value = load(cms.ContentInfo, path, sorted_sets=False)
    signed = value["content"]
    info = signed["encap_content_info"]["content"].parsed
    imprint = info["message_imprint"]
    return (f"{value['content_type'].dotted} {signed['encap_content_info']['content_type'].dotted} "
            f"{info['version'].native} {identifier(info['policy'])} "
            f"{imprint['hash_algorithm']['algorithm'].dotted} {imprint['hashed_message'].native.hex()} "
            f"serial {contents(info['serial_number'])} time {info['gen_time'].contents.decode()} "
            f"nonce {contents(info['nonce'])} signers {len(signed['signer_infos'])}")


if __name__ == "__main__":
    for name in sys.argv[2:]:
        print({"request": request, "token": token}[sys.argv[1]](name))
