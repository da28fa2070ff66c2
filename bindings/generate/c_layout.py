"""A C program that prints what the compiler makes of qex.h: `RECORD size`, `RECORD.field offset size` and `CONSTANT value`, a
line each. The tests of compiled bindings compare their own declarations with it."""

from __future__ import annotations

from .model import Interface


def write(interface: Interface) -> str:
    lines = ["#include <qex.h>", "#include <stddef.h>", "#include <stdio.h>", "", "int main(void) {"]
    for constant in (*interface.results, *interface.transports):
        lines.append(f'  printf("{constant.c_name} %d\\n", (int){constant.c_name});')
    for record in interface.records:
        lines.append(f'  printf("{record.c_name} %zu\\n", sizeof({record.c_name}));')
        for field in record.fields:
            lines.append(f'  printf("{record.c_name}.{field.name} %zu %zu\\n", offsetof({record.c_name}, {field.name}), '
                         f"sizeof((({record.c_name}*)0)->{field.name}));")
    return "\n".join([*lines, "  return 0;", "}"]) + "\n"
