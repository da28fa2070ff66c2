"""The library's digests, used as those of hashlib."""

from __future__ import annotations

import ctypes
import threading
from typing import Any, ClassVar, Union

from ._load import library

_PIECE = 1 << 20  # octets that are copied at a time from what is not bytes
_MOST = 1 << 31   # octets in one call, whose length has 32 bits


class _Digest:
    """A digest of the data given so far. Threads may share one."""

    name: ClassVar[str]  # as in hashlib
    digest_size: ClassVar[int]
    _functions: ClassVar[str]  # the part of their names in C

    def __init__(self, data: Union[bytes, bytearray, memoryview] = b"") -> None:
        self._lock = threading.Lock()
        self._result: bytes | None = None
        self._context: Any = getattr(library(), f"{self._functions}_Init")()
        self.update(data)

    def update(self, data: Union[bytes, bytearray, memoryview]) -> None:
        """Appends data; ValueError after digest(), which releases the library's context."""
        add = getattr(library(), f"{self._functions}_Update")
        with self._lock:
            if self._context is None:
                raise ValueError("the digest has been taken; begin another")
            if isinstance(data, bytes) and len(data) <= _MOST:
                add(self._context, data, len(data))
                return
            octets = memoryview(data).cast("B")
            for begin in range(0, len(octets), _PIECE):
                piece = bytes(octets[begin:begin + _PIECE])
                add(self._context, piece, len(piece))

    def digest(self) -> bytes:
        """The digest of all data; the same however often it is called."""
        with self._lock:
            if self._result is None:
                out = ctypes.create_string_buffer(self.digest_size)
                getattr(library(), f"{self._functions}_Final")(self._context, out)
                self._context, self._result = None, out.raw
            return self._result

    def hexdigest(self) -> str:
        """The digest in hexadecimal."""
        return self.digest().hex()

    def __del__(self) -> None:
        if getattr(self, "_context", None) is not None:
            self.digest()  # the only way to release a context


class Md5(_Digest):
    """MD5. Collisions are known; use it only to check old stamps."""

    name, digest_size, _functions = "md5", 16, "QEX_MD5"


class Sha1(_Digest):
    """SHA-1. Collisions are known; use it only to check old stamps."""

    name, digest_size, _functions = "sha1", 20, "QEX_SHA1"


class Sha256(_Digest):
    """SHA-256."""

    name, digest_size, _functions = "sha256", 32, "QEX_SHA256"


class Sha384(_Digest):
    """SHA-384."""

    name, digest_size, _functions = "sha384", 48, "QEX_SHA384"


class Sha512(_Digest):
    """SHA-512."""

    name, digest_size, _functions = "sha512", 64, "QEX_SHA512"
