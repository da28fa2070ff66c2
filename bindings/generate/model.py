"""The description of the C interface (bindings/interface.json) as objects.

The description holds what the header declares and nothing that follows from it: offsets and sizes are computed here,
by natural alignment. A record never needs padding; one that would is refused.
"""

from __future__ import annotations

import json
import re
from dataclasses import dataclass

# C types of one value: octets, and so their alignment.
SCALARS = {"char": 1, "uint8_t": 1, "uint32_t": 4, "int32_t": 4, "float": 4}


class DescriptionError(Exception):
    """The description contradicts itself."""


@dataclass(frozen=True)
class Field:
    """A field of a record. `length_of` names the field of octets whose full length this one holds."""

    name: str
    type: str
    count: int | None  # of elements, when it is an array
    offset: int
    size: int
    length_of: str | None

    @property
    def c_type(self) -> str:
        return self.type if self.count is None else f"{self.type}[{self.count}]"

    @property
    def is_text(self) -> bool:
        return self.type == "char"

    @property
    def is_octets(self) -> bool:
        return self.type == "uint8_t" and self.count is not None


@dataclass(frozen=True)
class Record:
    """A record. One that is `sized` begins with its own size, which the caller sets before each call."""

    c_name: str
    name: str
    text: str  # one sentence or two about it
    fields: tuple[Field, ...]
    size: int
    alignment: int

    @property
    def sized(self) -> bool:
        return self.fields[0].name == "size"


@dataclass(frozen=True)
class Constant:
    """A constant; `text` is the library's text for a result code."""

    c_name: str
    name: str
    value: int
    text: str


@dataclass(frozen=True)
class Function:
    c_name: str
    returns: str
    parameters: tuple[tuple[str, str], ...]  # name and C type


@dataclass(frozen=True)
class Interface:
    soname: str
    version_node: str
    results: tuple[Constant, ...]
    transports: tuple[Constant, ...]
    records: tuple[Record, ...]
    contexts: tuple[tuple[str, str], ...]  # C name and name of types whose contents the header does not show
    functions: tuple[Function, ...]


def _once(pairs: list[tuple[str, object]]) -> dict[str, object]:
    names = dict(pairs)
    if len(names) != len(pairs):
        raise DescriptionError(f"a name occurs twice among {', '.join(name for name, _ in pairs)}")
    return names


def _record(c_name: str, described: dict, known: dict[str, Record]) -> Record:
    offset, widest, fields = 0, 1, []
    for name, c_type in described["fields"].items():
        match = re.fullmatch(r"(\w+?)(?:\[([1-9]\d*)\])?", c_type)
        base = match[1] if match else c_type
        if base in SCALARS:
            size = alignment = SCALARS[base]
        elif base in known:
            size, alignment = known[base].size, known[base].alignment
        else:
            raise DescriptionError(f"{c_name}.{name}: {c_type} is no type of a field")
        count = int(match[2]) if match[2] else None
        if offset % alignment:
            raise DescriptionError(f"{c_name}.{name} would need padding before it")
        before = fields[-1] if fields else None
        measures = before is not None and before.is_octets and name in (f"{before.name}Length", f"{before.name}Len")
        if before is not None and before.is_octets and not measures:
            raise DescriptionError(f"{c_name}.{before.name} is not followed by its length")
        size *= count or 1
        fields.append(Field(name, base, count, offset, size, before.name if measures else None))
        offset, widest = offset + size, max(widest, alignment)
    if offset % widest:
        raise DescriptionError(f"{c_name} would need padding at its end")
    return Record(c_name, described["name"], described["text"], tuple(fields), offset, widest)


def load(path: str) -> Interface:
    """Reads the description; raises DescriptionError where it makes no sense."""
    with open(path, encoding="utf-8") as file:
        described = json.load(file, object_pairs_hook=_once)
    records: dict[str, Record] = {}
    for c_name, record in described["records"].items():
        records[c_name] = _record(c_name, record, records)
    contexts = tuple((c_name, context["name"]) for c_name, context in described["contexts"].items())

    targets = {*SCALARS, *records, *(c_name for c_name, _ in contexts), "void"}
    functions = []
    for c_name, function in described["functions"].items():
        parameters = tuple(function["parameters"].items())
        for c_type in (function["returns"], *(c_type for _, c_type in parameters)):
            match = re.fullmatch(r"(?:const )?(\w+)\*?", c_type)
            if not match or match[1] not in targets:
                raise DescriptionError(f"{c_name}: {c_type} is no type of a parameter")
        functions.append(Function(c_name, function["returns"], parameters))

    def constants(group: str) -> tuple[Constant, ...]:
        return tuple(Constant(c_name, row["name"], row["value"], row.get("text", ""))
                     for c_name, row in described[group].items())

    return Interface(described["library"]["soname"], described["library"]["version_node"], constants("results"),
                     constants("transports"), tuple(records.values()), contexts, tuple(functions))
