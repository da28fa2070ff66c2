"""A C program that compiles only where qex.h declares what the description says. The tests compile it; it never runs."""

from __future__ import annotations

from .model import Interface


def write(interface: Interface) -> str:
    lines = ["#include <qex.h>", "#include <stddef.h>", "",
             '#define HOLDS(condition) _Static_assert(condition, "qex.h says otherwise")',
             "#define SAME(a, b) HOLDS(__builtin_types_compatible_p(a, b))", ""]
    for constant in (*interface.results, *interface.transports):
        lines.append(f"HOLDS({constant.c_name} == {constant.value});")
    for record in interface.records:
        lines += ["", f"HOLDS(sizeof({record.c_name}) == {record.size});",
                  f"HOLDS(_Alignof({record.c_name}) == {record.alignment});"]
        for field in record.fields:
            place = f"(({record.c_name}*)0)->{field.name}"
            lines += [f"HOLDS(offsetof({record.c_name}, {field.name}) == {field.offset});",
                      f"HOLDS(sizeof({place}) == {field.size});",
                      f"SAME(__typeof__({place}), {field.c_type});"]
    lines.append("")
    for c_name, _ in interface.contexts:
        lines.append(f"SAME({c_name}*, struct {c_name}*);")
    lines.append("")
    for function in interface.functions:
        parameters = ", ".join(c_type for _, c_type in function.parameters) or "void"
        lines.append(f"SAME(__typeof__({function.c_name}), {function.returns}({parameters}));")
    return "\n".join(lines) + "\n"
