"""Writes bindings/rust/qex-sys/src/interface.rs: records and constants under their names in C, the table of functions, and a
safe call for each function that takes and fills octets and records."""

from __future__ import annotations

from .model import Field, Function, Interface, Record

PATH = "rust/qex-sys/src/interface.rs"

TYPES = {"char": "u8", "uint8_t": "u8", "uint32_t": "u32", "int32_t": "i32", "float": "f32"}

_HEAD = """// Written by scripts/bindings.py from bindings/interface.json; do not edit.
//! The C interface under its own names, which `qex.h` documents.
#![allow(missing_docs, non_camel_case_types, non_snake_case, clippy::all)]

use std::os::raw::c_void;
"""


def _field_type(field: Field) -> str:
    base = TYPES.get(field.type, field.type)
    return base if field.count is None else f"[{base}; {field.count}]"


def _cleared(field: Field, record: Record) -> str:
    if field.name == "size":
        return str(record.size)
    one = "0.0" if field.type == "float" else "0" if field.type in TYPES else f"{field.type}::CLEARED"
    return one if field.count is None else f"[{one}; {field.count}]"


def _record(record: Record) -> list[str]:
    lines = ["", f"/// {record.text}", "#[repr(C)]", "#[derive(Clone, Copy, Debug)]", f"pub struct {record.c_name} {{"]
    lines += [f"    pub {field.name}: {_field_type(field)}," for field in record.fields]
    lines += ["}", "", f"impl {record.c_name} {{", "    /// A cleared record, with its size where it has one.",
              "    pub const CLEARED: Self = Self {"]
    lines += [f"        {field.name}: {_cleared(field, record)}," for field in record.fields]
    return [*lines, "    };", "}"]


def _pointed(c_type: str) -> str:
    """A type of a parameter or result."""
    if not c_type.endswith("*"):
        return TYPES[c_type]
    base = c_type.removeprefix("const ").removesuffix("*")
    return f"*{'const' if c_type.startswith('const ') else 'mut'} {TYPES.get(base, base)}"


def _returns(function: Function) -> str:
    return "" if function.returns == "void" else f" -> {_pointed(function.returns)}"


def _safe(function: Function) -> list[str]:
    """Octets and their length become a slice; an output buffer a slice and the length that is set."""
    parameters, arguments, before = [], [], []
    rest = list(function.parameters)
    while rest:
        name, c_type = rest.pop(0)
        base = c_type.removeprefix("const ").removesuffix("*")
        if c_type == "const uint8_t*":
            rest.pop(0)
            parameters.append(f"{name}: &[u8]")
            arguments += [f"{name}.as_ptr()", f"octets_of({name})"]
        elif c_type == "uint8_t*":
            size, _ = rest.pop(0)
            parameters += [f"{name}: &mut [u8]", f"{size}: &mut u32"]
            before.append(f"        *{size} = octets_of({name});")
            arguments += [f"{name}.as_mut_ptr()", size]
        elif c_type.endswith("*"):
            parameters.append(f"{name}: {'&' if c_type.startswith('const ') else '&mut '}{TYPES.get(base, base)}")
            arguments.append(name)
        else:
            parameters.append(f"{name}: {TYPES[base]}")
            arguments.append(name)
    return ["", f"    pub fn {function.c_name}({', '.join(['&self', *parameters])}){_returns(function)} {{", *before,
            "        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the",
            "        // records have the layout of the header.",
            f"        unsafe {{ (self.{function.c_name})({', '.join(arguments)}) }}", "    }"]


def _layout(interface: Interface) -> list[str]:
    """What the tests compare with the C compiler's table."""
    lines = ["", "/// Sizes, offsets and values as c_layout.py has them for C.", "#[cfg(test)]",
             "pub(crate) fn layout() -> Vec<String> {", "    let mut lines = Vec::new();"]
    for row in (*interface.results, *interface.transports):
        lines.append(f'    lines.push(format!("{row.c_name} {{}}", {row.c_name}));')
    for record in interface.records:
        lines += [f"    let c = {record.c_name}::CLEARED;", "    let start = &c as *const _ as usize;",
                  f'    lines.push(format!("{record.c_name} {{}}", std::mem::size_of_val(&c)));']
        for field in record.fields:
            lines.append(f'    lines.push(format!("{record.c_name}.{field.name} {{}} {{}}", '
                         f"&c.{field.name} as *const _ as usize - start, std::mem::size_of_val(&c.{field.name})));")
    return [*lines, "    lines", "}"]


def write(interface: Interface) -> str:
    contexts = [f"{c_name}*" for c_name, _ in interface.contexts]
    lines = ["", f'pub(crate) const SONAME: &str = "{interface.soname}";',
             f'pub(crate) const VERSION_NODE: &str = "{interface.version_node}";', ""]
    lines += [f"pub const {row.c_name}: i32 = {row.value};" for row in (*interface.results, *interface.transports)]
    for record in interface.records:
        lines += _record(record)
    for c_name, _ in interface.contexts:
        lines += ["", f"pub enum {c_name} {{}}"]
    lines += ["", "/// The functions of a library that has been loaded.", "pub struct Functions {"]
    for function in interface.functions:
        parameters = ", ".join(_pointed(c_type) for _, c_type in function.parameters)
        lines.append(f'    pub(crate) {function.c_name}: unsafe extern "C" fn({parameters}){_returns(function)},')
    lines += ["}", "", "/// Input of another length than the interface takes is the caller's mistake.",
              "fn octets_of(octets: &[u8]) -> u32 {",
              '    u32::try_from(octets.len()).expect("the library takes at most 4294967295 octets")', "}", "",
              "impl Functions {", "    /// Takes the functions that `find` finds by their terminated names.", "    ///",
              "    /// # Safety", "    /// What `find` returns is the function of that name in libqex.",
              "    pub(crate) unsafe fn filled<E>(find: impl Fn(&str) -> Result<*mut c_void, E>) -> Result<Self, E> {",
              "        // SAFETY: by the contract above each address is a function of the type that its field has.",
              "        unsafe {", "            Ok(Self {"]
    lines += [f'                {function.c_name}: std::mem::transmute::<*mut c_void, _>(find("{function.c_name}\\0")?),'
              for function in interface.functions]
    lines += ["            })", "        }", "    }"]
    for function in interface.functions:
        if function.returns not in contexts and not any(c_type in contexts for _, c_type in function.parameters):
            lines += _safe(function)
    return _HEAD + "\n".join([*lines, "}", *_layout(interface)]) + "\n"
