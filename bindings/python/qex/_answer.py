"""What is asked of the program qex, and what it answers."""

from __future__ import annotations

import base64
import binascii
import dataclasses
import datetime
import os
import re
from typing import Any, Iterable, Union

StrPath = Union[str, "os.PathLike[str]"]
Octets = Union[bytes, bytearray, memoryview]
Paths = Union[StrPath, Iterable[StrPath]]

_MOST = 16 << 20  # octets of a message; a job takes 32 MiB, in base64


def _several(value: Any) -> tuple[Any, ...]:
    return (value,) if isinstance(value, (str, os.PathLike)) else tuple(value)


@dataclasses.dataclass(frozen=True, kw_only=True)
class Trust:
    """Whom to trust, as the options of `qex verify` of the same names say it. At least one of the first six is needed.

    Where paths are taken, one or several can be given. Files are read when the program starts: to have a changed file
    read, make another Checker.
    """

    tsa_cert: Paths = ()             # the certificates in these files: one of them signed
    tsa_fingerprint: str = ""        # the certificate of this digest: sha256:HEX
    ca_file: Paths = ()              # a chain to a root in these files
    ca_path: Paths = ()              # a chain to a root in a file of these folders
    system_ca: bool = False          # a chain to a root of the system
    insecure_any_signer: bool = False  # whoever signed
    untrusted: Paths = ()            # more certificates to build the chain of
    crl: Paths = ()                  # lists of revoked certificates
    at: str = "gentime"              # when the chain must hold: gentime, now or a time in ISO 8601
    ess: str = "auto"                # signing-certificate attribute: auto, v1 or v2
    library_only: bool = False       # leave the strict reader out
    allow_weak: bool = False         # accept SHA-1, MD5 and keys below 2048 bits
    allow_low_exponent: bool = False  # accept RSA keys with an exponent below 65537

    def __post_init__(self) -> None:
        for name in ("tsa_cert", "ca_file", "ca_path", "untrusted", "crl"):
            paths = tuple(os.path.abspath(path) for path in _several(getattr(self, name)))
            if any("\0" in path for path in paths):
                raise ValueError(f"{name}: a path holds a NUL; name the file")
            object.__setattr__(self, name, paths)
        if not (self.tsa_cert or self.tsa_fingerprint or self.ca_file or self.ca_path or self.system_ca
                or self.insecure_any_signer):
            raise ValueError("nobody is trusted: name an authority (tsa_cert, tsa_fingerprint) or a root (ca_file, ca_path, "
                             "system_ca), or say insecure_any_signer")

    def options(self) -> list[str]:
        """The command line that says this."""
        arguments = []
        for field in dataclasses.fields(self):
            value, option = getattr(self, field.name), "--" + field.name.replace("_", "-")
            if value is True:
                arguments.append(option)
            elif value and value != field.default:
                arguments += [f"{option}={one}" for one in _several(value)]
        return arguments


@dataclasses.dataclass(frozen=True, kw_only=True)
class Job:
    """A token and what it is compared with. Octets are a message in DER or PEM; a str or a path names a file.

    Without `token`, the file's own name with .tsr appended is used; what lies beside a token or file by the habits of
    `qex verify` is found here too. A nonce is an int or hexadecimal.
    """

    token: Union[Octets, StrPath, None] = None     # a reply or token
    file: Union[StrPath, None] = None              # the stamped file
    digest: str = ""                               # in its place, as ALG:HEX
    request: Union[Octets, StrPath, None] = None   # the request that was sent
    nonce: Union[int, str, None] = None            # the nonce that was sent
    policy: str = ""                               # the policy that is wanted

    def members(self) -> dict[str, str]:
        """The job as the program takes it; Refusal when it cannot be said."""
        said = {name: value for name, value in (("digest", self.digest), ("policy", self.policy)) if value}
        if self.nonce is not None:
            said["nonce"] = f"{self.nonce:x}" if isinstance(self.nonce, int) else self.nonce
        if self.file is not None:
            said["file"] = _path("file", self.file)
        for name in ("token", "request"):
            value = getattr(self, name)
            if isinstance(value, (bytes, bytearray, memoryview)):
                said[name] = _message(name, bytes(value))
            elif value is not None:
                said[name] = _path(name, value)
        return said


class Refusal(Exception):
    """A job that no program has answered: exit status, error and hint."""

    def document(self) -> dict[str, Any]:
        """The same as a document of the program."""
        status, error, hint = self.args
        return {"schema": 1, "command": "verify", "subject": "", "exit": status, "code": 0, "asn1_error": 0, "error": error,
                "hint": hint}


def _path(name: str, value: StrPath) -> str:
    """An absolute path: the program keeps the folder that it was started in, and no such path reads as base64."""
    path = os.path.abspath(value)
    if not isinstance(path, str):
        raise TypeError(f"{name}: a path is a str or of pathlib, not bytes")
    try:
        path.encode()
    except UnicodeEncodeError:
        shown = os.fsencode(path).decode("utf-8", "backslashreplace")
        raise Refusal(3, f"{shown}: the name is no UTF-8, so the program cannot be told it",
                      "rename the file, or give octets or a digest in its place") from None
    if "\0" in path:
        raise Refusal(2, f"{name}: the path holds a NUL", "name the file")
    return path


def _message(name: str, octets: bytes) -> str:
    """Octets as a text that the program can only read as a message. Anything else would be read as a path."""
    if len(octets) > _MOST:
        raise Refusal(4, f"{name}: {len(octets)} octets, where at most {_MOST} are read", "is it the stamped file itself?")
    block = re.search(rb"-----BEGIN [^-\r\n]+-----\r?\n(.*?)-----END ", octets, re.DOTALL)
    if block:
        try:
            der = base64.b64decode(block[1], validate=False)
            if der[:1] == b"\x30":
                return octets.decode("utf-8")
        except (binascii.Error, UnicodeDecodeError):
            pass
    elif octets[:1] == b"\x30":
        return "\n" + base64.b64encode(octets).decode()
    raise Refusal(4, f"{name}: these octets are no message in DER or PEM",
                  "give a path as str or pathlib.Path; take the framing off a reply with qex.lib.unpack_tsr")


@dataclasses.dataclass(frozen=True)
class Check:
    """One check: verdict is pass, fail, skip or note; `by` names the reader that made it: libqex, strict, both."""

    name: str
    verdict: str
    text: str
    by: Union[str, None] = None


@dataclasses.dataclass(frozen=True, kw_only=True)
class Answer:
    """What was found about one token. It is true in a condition when every check passes.

    `exit` is the exit status of `qex verify` and tells failures apart; `error` and `hint` say what failed and what to do
    next. `document` is the whole answer, as docs/qex.schema.json describes it.
    """

    exit: int
    error: Union[str, None]
    hint: Union[str, None]
    indication: Union[str, None]
    sub_indication: Union[str, None]
    authority_checked: bool
    checks: tuple[Check, ...]
    document: dict[str, Any] = dataclasses.field(repr=False)

    @property
    def passed(self) -> bool:
        """Whether every check passes."""
        return self.exit == 0

    def __bool__(self) -> bool:
        return self.passed

    @property
    def time(self) -> Union[datetime.datetime, None]:
        """The time in the token, in UTC; None without a readable one. It counts only if `passed`."""
        try:
            return datetime.datetime.fromisoformat(self.document["token"]["time"])
        except (KeyError, TypeError, ValueError):
            return None

    @property
    def failures(self) -> tuple[Check, ...]:
        """The checks that fail."""
        return tuple(check for check in self.checks if check.verdict == "fail")


def answer_from(document: dict[str, Any]) -> Answer:
    """The answer that a document of the program holds."""
    checks = tuple(Check(row["name"], row["verdict"], row["text"], row.get("by")) for row in document.get("checks", ()))
    return Answer(exit=document["exit"], error=document["error"], hint=document["hint"],
                  indication=document.get("indication"), sub_indication=document.get("sub_indication"),
                  authority_checked=document.get("authority_checked", False), checks=checks, document=document)
