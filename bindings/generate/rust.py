"""Writes bindings/rust/qex/src/interface.rs: result codes, transports and records as Rust holds them."""

from __future__ import annotations

from .model import Field, Interface, Record
from .python import _snake as snake
from .rust_sys import TYPES

PATH = "rust/qex/src/interface.rs"

_HEAD = """// Written by scripts/bindings.py from bindings/interface.json; do not edit.
#![allow(missing_docs)]

use crate::error::Error;
use crate::record::{number, octets, put_octets, put_text, text, u64_of};
use qex_sys as sys;
"""


def _record_type(field: Field) -> str:
    if field.is_text:
        return "String"
    if field.is_octets:
        return "Vec<u8>"
    return TYPES.get(field.type, "u64")


def _value(field: Field, lengths: dict[str, str]) -> str:
    if field.is_text:
        return f"text(&c.{field.name})"
    if field.is_octets:
        return f"octets(&c.{field.name}, i64::from(c.{lengths[field.name]}))"
    return f"c.{field.name}" if field.type in TYPES else f"number(c.{field.name})"


def _record(record: Record, given: bool) -> list[str]:
    fields = [field for field in record.fields if field.name != "size"]
    lengths = {field.length_of: field.name for field in fields if field.length_of}
    lines = ["", f"/// `{record.c_name}`: {record.text[0].lower()}{record.text[1:]}",
             "#[derive(Clone, Debug, Default, PartialEq)]", f"pub struct {record.name} {{"]
    lines += [f"    pub {snake(field.name)}: {_record_type(field)}," for field in fields]
    lines += ["}", "", f"impl From<&sys::{record.c_name}> for {record.name} {{",
              f"    fn from(c: &sys::{record.c_name}) -> Self {{", "        Self {"]
    lines += [f"            {snake(field.name)}: {_value(field, lengths)}," for field in fields]
    lines += ["        }", "    }", "}", "", f"impl From<{record.name}> for Record {{",
              f"    fn from(record: {record.name}) -> Self {{", f"        Self::{record.name}(record)", "    }", "}"]
    if given:
        lines += ["", f"impl {record.name} {{", f"    pub(crate) fn to_c(&self) -> Result<sys::{record.c_name}, Error> {{",
                  f"        let mut c = sys::{record.c_name}::CLEARED;"]
        for field in fields:
            name = snake(field.name)
            if field.is_text:
                lines.append(f'        put_text("{name}", &mut c.{field.name}, &self.{name})?;')
            elif field.is_octets:
                lines.append(f'        c.{lengths[field.name]} = put_octets("{name}", &mut c.{field.name}, &self.{name})?;')
            elif not field.length_of:
                value = f"self.{name}" if field.type in TYPES else f"u64_of(self.{name})"
                lines.append(f"        c.{field.name} = {value};")
        lines += ["        Ok(c)", "    }", "}"]
    return lines


def write(interface: Interface) -> str:
    lines = ["", "/// A result code of the C interface.", "#[derive(Clone, Copy, Debug, Eq, Hash, PartialEq)]", "pub enum Code {"]
    for row in interface.results:
        lines += [f"    /// `{row.c_name}`: {row.text}", f"    {row.name} = {row.value},"]
    lines += ["}", "", "impl Code {", "    /// The code of that number.", "    #[must_use]",
              "    pub fn from_number(number: i32) -> Option<Self> {", "        match number {"]
    lines += [f"            {row.value} => Some(Self::{row.name})," for row in interface.results]
    lines += ["            _ => None,", "        }", "    }", "", "    /// Its name in C.", "    #[must_use]",
              "    pub fn name(self) -> &'static str {", "        match self {"]
    lines += [f'            Self::{row.name} => "{row.c_name}",' for row in interface.results]
    lines += ["        }", "    }", "", "    /// The library's text for it.", "    #[must_use]",
              "    pub fn text(self) -> &'static str {", "        match self {"]
    lines += [f'            Self::{row.name} => "{row.text}",' for row in interface.results]
    lines += ["        }", "    }", "}", "", "/// How a message is framed for transport.",
              "#[derive(Clone, Copy, Debug, Eq, Hash, PartialEq)]", "pub enum Transport {"]
    lines += [f"    {row.name} = {row.value}," for row in interface.transports]
    lines += ["}", "", "/// A record of any kind.", "#[derive(Clone, Debug, PartialEq)]", "#[non_exhaustive]",
              "pub enum Record {"]
    records = [record for record in interface.records if record.c_name != "QEX_U64"]
    lines += [f"    {record.name}({record.name})," for record in records]
    lines.append("}")
    given = {c_type.removeprefix("const ").removesuffix("*") for function in interface.functions
             for _, c_type in function.parameters if c_type.startswith("const ")}
    for record in records:
        lines += _record(record, record.c_name in given)
    return _HEAD + "\n".join(lines) + "\n"
