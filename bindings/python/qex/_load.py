"""Finds libqex and checks that it is the one that the declarations describe."""

from __future__ import annotations

import ctypes
import os
import threading
from typing import Any

from ._interface import FUNCTIONS, SONAME, VERSION_NODE
from ._record import QexError

_PRIVATE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "_native", SONAME)
_NEXT_STEP = "install the package libqex1, or name the library's file in the environment variable QEX_LIBRARY"


class LibraryError(QexError):
    """libqex cannot be loaded, or is not the version that this package needs. The text says what to do."""


def place() -> str:
    """What is loaded: the file of QEX_LIBRARY, else the package's own copy, else what the system's loader finds."""
    chosen = os.environ.get("QEX_LIBRARY", "")
    if chosen:
        return os.path.abspath(chosen)  # a name without a slash would be searched for
    return _PRIVATE if os.path.exists(_PRIVATE) else SONAME


def _check_soname(name: str, library: Any) -> None:
    """glibc finds a loaded library again by its own name; other loaders have no such question."""
    if not hasattr(ctypes.CDLL(None), "gnu_get_libc_version"):
        return
    try:
        same = ctypes.CDLL(SONAME, mode=os.RTLD_NOLOAD)._handle == library._handle
    except OSError:
        raise LibraryError(f"{name} is not {SONAME} by its own name: it is another version, or another library; "
                           + _NEXT_STEP) from None
    if not same:
        raise LibraryError(f"{name} cannot be used, because this process has another {SONAME} loaded; "
                           "let both name the same file")


def _check_version(name: str, library: Any, function: str) -> None:
    find = getattr(ctypes.CDLL(None), "dlvsym", None)  # glibc's
    if find is None:
        return
    find.restype, find.argtypes = ctypes.c_void_p, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p]
    if not find(library._handle, function.encode(), VERSION_NODE.encode()):
        raise LibraryError(f"{name} has {function} in another version than {VERSION_NODE}; {_NEXT_STEP}")


def load(name: str) -> Any:
    """The library of that name or path, with its prototypes; LibraryError when it is missing or does not fit."""
    try:
        library = ctypes.CDLL(name)
    except OSError as error:
        raise LibraryError(f"libqex cannot be loaded: {error}; {_NEXT_STEP}") from None
    _check_soname(name, library)
    for function, (result, arguments) in FUNCTIONS.items():
        try:
            pointer = getattr(library, function)
        except AttributeError:
            raise LibraryError(f"{name} lacks {function}: it is older than this package; {_NEXT_STEP}") from None
        _check_version(name, library, function)
        pointer.restype, pointer.argtypes = result, arguments
    return library


_lock = threading.Lock()
# The child of a fork gets the lock free, whatever other threads were doing.
os.register_at_fork(before=_lock.acquire, after_in_parent=_lock.release, after_in_child=_lock.release)
_loaded: Any = None


def library() -> Any:
    """The library, loaded once at its first use."""
    global _loaded
    with _lock:
        if _loaded is None:
            _loaded = load(place())
        return _loaded
