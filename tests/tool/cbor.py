"""The part of CBOR (RFC 8949) in which jobs and answers cross the pipe to a worker."""

import struct


def head(major, value):
    for width, code in ((1, 24), (2, 25), (4, 26), (8, 27)):
        if value < 24:
            return bytes([major << 5 | value])
        if value < 1 << 8 * width:
            return bytes([major << 5 | code]) + value.to_bytes(width, "big")
    raise ValueError(value)


def encode(value):
    if value is None:
        return b"\xf6"
    if isinstance(value, bool):
        return b"\xf5" if value else b"\xf4"
    if isinstance(value, int):
        return head(0, value) if value >= 0 else head(1, -1 - value)
    if isinstance(value, bytes):
        return head(2, len(value)) + value
    if isinstance(value, str):
        return head(3, len(value.encode())) + value.encode()
    if isinstance(value, list):
        return head(4, len(value)) + b"".join(map(encode, value))
    if isinstance(value, dict):
        return head(5, len(value)) + b"".join(encode(name) + encode(member) for name, member in value.items())
    raise TypeError(value)


def decode(data):
    """The one value that `data` is."""
    value, rest = take(data)
    if rest:
        raise ValueError("octets after the value")
    return value


def take(data):
    major, low = data[0] >> 5, data[0] & 31
    data = data[1:]
    if major == 7:
        simple = {20: False, 21: True, 22: None}
        if low in simple:
            return simple[low], data
        width = {25: 2, 26: 4, 27: 8}[low]
        return struct.unpack({2: ">e", 4: ">f", 8: ">d"}[width], data[:width])[0], data[width:]
    if low >= 24:
        width = 1 << low - 24
        low, data = int.from_bytes(data[:width], "big"), data[width:]
    if major == 0:
        return low, data
    if major == 1:
        return -1 - low, data
    if major in (2, 3):
        return (data[:low] if major == 2 else data[:low].decode()), data[low:]
    if major == 4:
        values = []
        for _ in range(low):
            value, data = take(data)
            values.append(value)
        return values, data
    members = {}
    for _ in range(low):
        name, data = take(data)
        members[name], data = take(data)
    return members, data
