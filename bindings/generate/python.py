"""Writes bindings/python/qex/_interface.py: structures and prototypes for ctypes, constants, records as dataclasses and
one exception for each result code."""

from __future__ import annotations

import re

from .model import Field, Function, Interface, Record

PATH = "python/qex/_interface.py"

_CTYPES = {"char": "ctypes.c_char", "uint8_t": "ctypes.c_uint8", "uint32_t": "ctypes.c_uint32",
           "int32_t": "ctypes.c_int32", "float": "ctypes.c_float"}

_HEAD = '''"""The C interface as ctypes sees it. Written by scripts/bindings.py from bindings/interface.json; do not edit."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
from typing import Any

from ._record import Record, ResultError

'''


def _snake(name: str) -> str:
    name = re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name)
    return re.sub(r"(?<=[A-Z])(?=[A-Z][a-z])", "_", name).lower()


def _field_type(field: Field) -> str:
    base = _CTYPES.get(field.type, field.type)
    return base if field.count is None else f"{base} * {field.count}"


def _structure(record: Record) -> list[str]:
    lines = ["", "", f"class {record.c_name}(ctypes.Structure):", "    _fields_ = ["]
    lines += [f'        ("{field.name}", {_field_type(field)}),' for field in record.fields]
    return [*lines, "    ]"]


def _python_type(field: Field) -> str:
    if field.is_text:
        return 'str = ""'
    if field.is_octets:
        return 'bytes = b""'
    return "float = 0.0" if field.type == "float" else "int = 0"


def _dataclass(record: Record) -> list[str]:
    """The size of a record is its structure's; what is left are values. A QEX_U64 is a number."""
    lines = ["", "", "@dataclasses.dataclass(frozen=True, kw_only=True)", f"class {record.name}(Record):",
             f'    """{record.c_name}: {record.text[0].lower()}{record.text[1:]}"""', ""]
    fields = [field for field in record.fields if field.name != "size"]
    lines += [f"    {_snake(field.name)}: {_python_type(field)}" for field in fields]
    lines += ["", f"    STRUCTURE = {record.c_name}", f"    SIZED = {record.sized}", "    FIELDS = ("]
    for field in fields:
        kind = ("text" if field.is_text else "octets" if field.is_octets else "u64" if field.type == "QEX_U64" else
                "length" if field.length_of else "number")
        lines.append(f'        ("{_snake(field.name)}", "{field.name}", "{kind}"),')
    return [*lines, "    )"]


def _argument(c_type: str) -> str:
    """Input octets are bytes and are not copied. Everything else that the library fills is a pointer."""
    if c_type == "const uint8_t*":
        return "ctypes.c_char_p"
    if c_type.endswith("_CTX*") or c_type == "uint8_t*":
        return "ctypes.c_void_p"
    if c_type.endswith("*"):
        base = c_type.removeprefix("const ").removesuffix("*")
        return f"ctypes.POINTER({_CTYPES.get(base, base)})"
    return _CTYPES[c_type]


def _prototype(function: Function) -> list[str]:
    result = "None" if function.returns == "void" else _argument(function.returns)
    arguments = [_argument(c_type) for _, c_type in function.parameters]
    row = f'    "{function.c_name}": ({result}, [{", ".join(arguments)}]),'
    if len(row) <= 120:
        return [row]
    return [f'    "{function.c_name}": (', f"        {result},", f'        [{", ".join(arguments)}],', "    ),"]


def write(interface: Interface) -> str:
    lines = [f'SONAME = "{interface.soname}"', f'VERSION_NODE = "{interface.version_node}"']
    lines += ["", "", "class Code(enum.IntEnum):", '    """Result codes of the C interface."""', ""]
    lines += [f"    {_snake(row.name).upper()} = {row.value}" for row in interface.results]
    lines += ["", "", "class Transport(enum.IntEnum):", '    """How a message is framed for transport."""', ""]
    lines += [f"    {_snake(row.name).upper()} = {row.value}" for row in interface.transports]
    failures = [row for row in interface.results if row.value]
    for row in failures:
        lines += ["", "", f"class {row.name}Error(ResultError):", f'    """{row.c_name}: {row.text}"""', "",
                  f"    code = {row.value}", f'    name = "{row.c_name}"', f'    text = "{row.text}"']
    lines += ["", "", "ERRORS: dict[int, type[ResultError]] = {"]
    lines += [f"    {row.value}: {row.name}Error," for row in failures]
    lines += ["}"]
    for record in interface.records:
        lines += _structure(record)
    for record in interface.records:
        if record.c_name != "QEX_U64":
            lines += _dataclass(record)
    lines += ["", "", "# The result and the arguments of each function.", "FUNCTIONS: dict[str, tuple[Any, list[Any]]] = {"]
    for function in interface.functions:
        lines += _prototype(function)
    return _HEAD + "\n".join([*lines, "}"]) + "\n"
