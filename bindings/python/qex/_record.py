"""What the generated records and errors (_interface.py) have in common."""

from __future__ import annotations

import ctypes
from typing import Any, ClassVar, TypeVar

AnyRecord = TypeVar("AnyRecord", bound="Record")


class QexError(Exception):
    """The root of all exceptions of this package."""


class ResultError(QexError):
    """A function of the library returned a code other than QEX_OK; each code has a class of its own.

    `function` is its name in C, `asn1_error` the last ASN.1 error of the process at that moment: with other threads in
    the library it may be theirs. `details` holds what the function reported all the same: `record` when a value did not
    fit into its field (SizeError), `announced` when a framed reply is incomplete (LengthError), `transport_status` when
    its framing is refused (FramingError).
    """

    code: ClassVar[int] = 0
    name: ClassVar[str] = ""
    text: ClassVar[str] = ""

    def __init__(self, function: str, asn1_error: int = 0, **details: Any) -> None:
        last = f", ASN.1 error {asn1_error}" if asn1_error else ""
        super().__init__(f"{function}: {self.text} ({self.name}, code {self.code}{last})")
        self.function = function
        self.asn1_error = asn1_error
        self.details = details

    def __reduce__(self) -> tuple[Any, ...]:
        return _restored, (type(self), self.function, self.asn1_error, self.details)


def _restored(kind: type[ResultError], function: str, asn1_error: int, details: dict[str, Any]) -> ResultError:
    return kind(function, asn1_error, **details)


class Record:
    """A record of the C interface as a dataclass.

    Texts are str; octets that are no UTF-8 appear as \\xNN. Fields of octets are bytes and hold what fits into the
    field; the `..._length` after each is the full length of the value, and need not be given to encode. Numbers of 64
    bits are int.
    """

    STRUCTURE: ClassVar[type[ctypes.Structure]]
    SIZED: ClassVar[bool]
    FIELDS: ClassVar[tuple[tuple[str, str, str], ...]]  # name here, name in C, kind

    def __post_init__(self) -> None:
        octets = b""
        for name, _, kind in self.FIELDS:
            if kind == "octets":
                octets = getattr(self, name)
            elif kind == "length" and getattr(self, name) < len(octets):
                object.__setattr__(self, name, len(octets))

    def to_c(self) -> Any:
        """The structure with these values, its size included; ValueError when one does not fit into its field."""
        structure = empty(type(self))
        octets = b""
        for name, c_name, kind in self.FIELDS:
            value = getattr(self, name)
            room = getattr(self.STRUCTURE, c_name).size
            if kind == "text":
                value = value.encode("utf-8")
                if len(value) >= room or 0 in value:
                    raise ValueError(f"{name}: at most {room - 1} octets, and no NUL, fit into this field")
            elif kind == "octets":
                octets = memoryview(value).tobytes()  # of a str, ctypes would copy the memory
                if len(octets) > room:
                    raise ValueError(f"{name}: at most {room} octets fit into this field, not {len(octets)}")
                ctypes.memmove(ctypes.addressof(structure) + getattr(self.STRUCTURE, c_name).offset, octets, len(octets))
                continue
            elif kind == "length" and value != len(octets):
                raise ValueError(f"{name}: {value}, but the octets are {len(octets)}")
            elif kind == "u64":
                if not 0 <= value < 1 << 64:
                    raise ValueError(f"{name}: 0 to 2^64 - 1 fit into this field")
                number = getattr(structure, c_name)
                number.high, number.low = value >> 32, value & 0xFFFFFFFF
                continue
            elif isinstance(value, int) and not -(1 << 31) <= value < 1 << 32:
                raise ValueError(f"{name}: 32 bits fit into this field")
            setattr(structure, c_name, value)
        return structure


def empty(kind: type[Record]) -> Any:
    """The cleared structure of a kind of record, with its size where it has one."""
    structure = kind.STRUCTURE()
    if kind.SIZED:
        structure.size = ctypes.sizeof(structure)
    return structure


def from_c(kind: type[AnyRecord], structure: Any) -> AnyRecord:
    """The record with the values of a structure."""
    values: dict[str, Any] = {}
    for name, c_name, how in kind.FIELDS:
        value = getattr(structure, c_name)
        if how == "text":
            value = value.decode("utf-8", "backslashreplace")
        elif how == "u64":
            value = value.high << 32 | value.low
        elif how == "octets":
            value = bytes(value)
        elif how == "length":  # of the octets before it
            octets = list(values)[-1]
            values[octets] = values[octets][:max(value, 0)]
        values[name] = value
    return kind(**values)
