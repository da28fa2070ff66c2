"""Makes the manual pages, and the completions for shells, from what the tool and qex.h say of themselves.

usage: pages.py SOURCE_FOLDER OUTPUT_FOLDER VERSION [QEX]

Pages of section 1 take options, arguments, examples and exit statuses from `qex help --json`, and the rest from the
sections of docs/qex.md; pages of section 3 take functions, records and codes from api/qex.h, and their examples from
docs/man/examples/. So no page says anything that is not said there. Without QEX only section 3 is made. The texts go
to OUTPUT_FOLDER/man1 and man3 as *.scd, and through scdoc to pages; a function's page is a link to that of its family.
"""

import json
import os
import re
import subprocess
import sys

sys.dont_write_bytecode = True

from header import Header, Rows  # noqa: E402
from scdoc import bold, escaped, from_markdown, inline, literal, markdown_section, section, term  # noqa: E402

# The sections of docs/qex.md that belong to a command, in their order; the first one's text has no heading.
SECTIONS = {
    "stamp": ["Stamping", "Trust", "Many at once"],
    "request": ["Requests for other programs"],
    "reply": ["Replies"],
    "verify": ["Verifying", "The checks", "Trust", "Many at once", "One token for a folder", "For other programs", "Indications"],
    "show": ["Showing", "Reports", "For other programs"],
    "cert": ["Certificates"],
    "tac": ["Time attribute certificates"],
    "rewrite": ["Rewriting"],
    "digest": ["Digests"],
    "explain": ["Explanations"],
    "help": ["Explanations"],
    "version": ["Explanations"],
    "completion": ["Completion"],
}

# name: title, section of qex.h, functions (all of the section when there are none), pages to look at too
FAMILIES = {
    "digests": ("digests of data: MD5, SHA-1, SHA-256, SHA-384, SHA-512", "Digests", (), ("requests",)),
    "requests": ("time-stamp requests", "Requests", (), ("responses", "digests")),
    "responses": ("replies of a time-stamp authority", "Responses", (), ("requests", "tokens")),
    "tokens": ("the contents of time-stamp tokens", "Tokens",
               ("QEX_GetTST_TSTInfoEx", "QEX_GetTST_TSTInfo", "QEX_GetTST_TSACert"), ("verification", "responses")),
    "verification": ("the signature of a time-stamp token", "Tokens", ("QEX_VerifyTST_Signature",), ("tokens",)),
    "rewriting": ("rewrite time-stamp tokens", "Tokens", ("QEX_TSTInfoToIDData", "QEX_RemoveAttrCerts"), ("tokens", "tac")),
    "tac": ("time attribute certificates of tokens", "Time attribute certificates", (), ("tokens",)),
    "errors": ("result codes and the last ASN.1 error", "Errors", (), ()),
}


def page_reference(name, number):
    return f"*{escaped(name)}*({number})"


# ---- Section 1


def parameter_name(row):
    """-o, --output FILE: names bold, the value underlined unless it is a choice of words."""
    dots = "..." if row["repeated"] and not row["names"] else ""
    value = "_" + escaped(row["value"]) + "_" if row["value"] else ""
    names = ", ".join(bold(name) for name in row["names"])
    return (names + " " + value).strip() + escaped(dots)


def parameters(title, rows):
    return section(title, *(term(parameter_name(row), escaped(row["text"])) for row in rows))


def option_sections(rows):
    """A section for each heading of the help."""
    groups = dict.fromkeys(row["group"] for row in rows)
    return "\n".join(parameters(group.upper(), [row for row in rows if row["group"] == group]) for group in groups)


def synopsis(name, document):
    words = [bold("qex " + name)]
    if document["options"]:
        words.append("[_option_...]")
    for row in document["arguments"]:
        words.append(parameter_name(row) if row["required"] else "[" + parameter_name(row) + "]")
    return " ".join(words) + "\n"


def examples(rows):
    return section("EXAMPLES", *(term(bold(row["line"]), escaped(row["text"])) for row in rows))


def exit_statuses(rows):
    return section("EXIT STATUS", *(term(bold(str(row["number"])), escaped(row["meaning"])) for row in rows))


def sections_of(document, titles):
    """Sections of docs/qex.md under their own headings."""
    return "\n".join(section(title.upper(), from_markdown(markdown_section(document, title))) for title in titles)


def introduction(document):
    """What docs/qex.md begins with, without the tables of commands and options, which the page has anyway."""
    text = re.search(r"# qex\n(.*?)^## ", document, flags=re.M | re.S)[1]
    paragraphs = re.split(r"\n{2,}", text.strip())
    return "\n\n".join(part for part in paragraphs if not part.startswith("|") and not part.endswith(":"))


def command_page(name, document, markdown):
    common = ", ".join(bold(row["names"][-1]) for row in document["common_options"])
    return "\n".join([
        section("NAME", f"qex-{name} - {escaped(document['summary'])}\n"),
        section("SYNOPSIS", synopsis(name, document)),
        section("DESCRIPTION", from_markdown(markdown_section(markdown, SECTIONS[name][0]))),
        parameters("ARGUMENTS", document["arguments"]),
        option_sections(document["options"]),
        section("OPTIONS OF EVERY COMMAND", f"{common}: see {page_reference('qex', 1)}.\n"),
        sections_of(markdown, SECTIONS[name][1:]),
        examples(document["examples"]),
        exit_statuses(document["exit_statuses"]),
        section("SEE ALSO", page_reference("qex", 1) + "\n")])


def program_page(document, rows, statuses, markdown):
    commands = document["commands"]
    return "\n".join([
        section("NAME", "qex - time-stamping by RFC 3161\n"),
        section("SYNOPSIS", "*qex* _command_ [_option_...] [_argument_...]\n"),
        section("DESCRIPTION", from_markdown(introduction(markdown))),
        section("COMMANDS", *(term(page_reference("qex-" + row["name"], 1), escaped(row["summary"])) for row in commands)),
        parameters("OPTIONS OF EVERY COMMAND", document["common_options"]),
        section("EXIT STATUS", *(term(bold(str(row["number"])), escaped(row["meaning"]), escaped(row["what_to_do"]))
                                 for row in statuses)),
        sections_of(markdown, ["JSON", "Environment", "Worker processes"]),
        examples(rows),
        section("SEE ALSO", ", ".join([page_reference("qex-" + row["name"], 1) for row in commands]
                                      + [page_reference("libqex", 3)]) + "\n")])


def pages_of_the_tool(qex, markdown):
    def ask(*arguments):
        return json.loads(subprocess.run([qex, *arguments, "--json"], check=True, capture_output=True).stdout)

    whole = ask("help")
    first = [ask("help", name)["examples"][0] for name in ("stamp", "verify", "show", "digest")]
    pages = {"qex": program_page(whole, first, ask("explain")["exit_statuses"], markdown)}
    for row in whole["commands"]:
        if row["name"] not in SECTIONS:
            raise SystemExit(f"man: docs/man/pages.py names no section of docs/qex.md for the command {row['name']}")
        pages["qex-" + row["name"]] = command_page(row["name"], ask("help", row["name"]), markdown)
    return pages


# ---- Section 3


def declaration(text):
    """A declaration in lines of at most 66 characters, which fit into a page."""
    start, rest = text.split("(", 1)
    lines = [start + "("]
    for argument in rest.split(", "):
        more = argument if lines[-1].endswith("(") else " " + argument
        if len(lines[-1] + more) > 65:
            lines.append(" " * 8 + argument + ",")
        else:
            lines[-1] += more + ","
    return "\n".join(lines).rstrip(",")


def blocks_text(blocks):
    text = []
    for block in blocks:
        if isinstance(block, Rows):
            if block.title:
                text.append(inline(block.title + ":") + "\n")
            if all(re.fullmatch(r"\d\.", name) for name, _ in block.rows):
                text.append("".join(f". {inline(words)}\n" for _, words in block.rows))
            else:
                text += [term(bold(name), inline(words)) for name, words in block.rows]
            continue
        head, *entries = re.split(r"(?m)^- ", block)
        text.append(inline(" ".join(head.split())) + "\n")
        if entries:
            text.append("".join("- " + inline(" ".join(entry.split())) + "\n" for entry in entries))
    return "\n".join(text)


def functions_text(functions):
    """Each function with its comment; functions that share one come together."""
    text = []
    for index, function in enumerate(functions):
        following = functions[index + 1].blocks if index + 1 < len(functions) else None
        text.append(f"## {escaped(function.name)}\n")
        if function.blocks is not following and function.blocks != following:
            text.append(blocks_text(function.blocks))
    return "\n".join(text)


def record_text(record):
    rows = [term(bold(name), inline(text)) for name, text in record.fields]
    return f"## {escaped(record.name)}\n\n{inline(record.text)}\n\n" + "\n".join(rows)


def codes_text(header):
    rows = []
    for name, number, meaning in header.codes:
        note = re.search(r" \[(\d)\]$", meaning)
        text = re.sub(r" \[\d\]$", "", meaning)
        rows.append(term(f"{bold(name)} ({escaped(str(number))})", inline(text[0].upper() + text[1:] + "."),
                         inline(header.notes[note[1]]) if note else ""))
    return rows


def modes_text(header):
    return [term(bold(name.replace(" = ", " (") + ")"), inline(text)) for name, text in header.modes]


def used_records(header, functions):
    text = " ".join(function.declaration for function in functions)
    records = [record for record in header.records.values() if re.search(rf"\b{record.name}\*", text)]
    if any("QEX_U64" in name for record in records for name, _ in record.fields):
        records.append(header.records["QEX_U64"])
    return records


def family_page(name, header, example):
    title, part, names, also = FAMILIES[name]
    part = header.section(part)
    functions = [function for function in part.functions if not names or function.name in names]
    declared = "\n".join(declaration(function.declaration) for function in functions)
    uses_modes = any("transport" in function.declaration for function in functions)
    result = (f"Every function that returns a code returns *QEX\\_OK* (0) or one of the negative codes listed with it; "
              f"{page_reference('libqex-errors', 3)} explains them. {page_reference('libqex', 3)} states the rules for "
              "output buffers and text fields.\n")
    return "\n".join([
        section("NAME", f"libqex-{name} - {escaped(title)}\n"),
        section("LIBRARY", "libqex (_-lqex_)\n"),
        section("SYNOPSIS", literal(f"#include <qex.h>\n\n{declared}")),
        section("DESCRIPTION", blocks_text(part.blocks), functions_text(functions)),
        section("RESULT CODES", *codes_text(header)) if name == "errors" else "",
        section("TRANSPORT MODES", *modes_text(header)) if uses_modes else "",
        section("RECORDS", *(record_text(record) for record in used_records(header, functions))),
        "" if name in ("digests", "errors") else section("RETURN VALUE", result),
        section("EXAMPLES", literal(example)),
        section("SEE ALSO", ", ".join(page_reference(other, 3) for other in
                                      ["libqex", *("libqex-" + other for other in also)]) + "\n")])


def library_page(header, example):
    families = []
    for name, (title, part, names, _) in FAMILIES.items():
        functions = [function.name for function in header.section(part).functions if not names or function.name in names]
        families.append(term(page_reference("libqex-" + name, 3), escaped(title[0].upper() + title[1:] + "."),
                             ", ".join(bold(function) for function in functions)))
    return "\n".join([
        section("NAME", "libqex - time-stamping by RFC 3161\n"),
        section("LIBRARY", "libqex (_-lqex_)\n"),
        section("SYNOPSIS", literal("#include <qex.h>\n\ncc program.c -lqex")),
        section("DESCRIPTION", blocks_text(header.preamble[1:])),
        section("FUNCTIONS", *families),
        section("EXAMPLES", literal(example)),
        section("SEE ALSO", page_reference("qex", 1) + "\n")])


def pages_of_the_library(header, folder):
    def example(name):
        with open(os.path.join(folder, name + ".c"), encoding="utf-8") as file:
            return file.read()

    pages = {"libqex-" + name: family_page(name, header, example(name)) for name in FAMILIES}
    return {"libqex": library_page(header, example("libqex")), **pages}


def links(header):
    """The page of each function."""
    links_ = {}
    for name, (_, part, names, _) in FAMILIES.items():
        for function in header.section(part).functions:
            if not names or function.name in names:
                links_[function.name] = "libqex-" + name
    exported = {function.name for part in header.sections for function in part.functions}
    if exported != set(links_):
        raise SystemExit(f"man: no page of docs/man/pages.py describes {', '.join(sorted(exported - set(links_)))}")
    return links_


# ---- Files


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def typeset(text):
    """The page that scdoc makes, without hyphens in names. Its date is SOURCE_DATE_EPOCH's or none, so that two builds
    make the same page."""
    page = subprocess.run(["scdoc"], input=text, check=True, capture_output=True, encoding="utf-8").stdout
    page = re.sub(r"^(\.TH .*\n)", r"\1.nh\n", page, flags=re.M)
    page = re.sub(r"^'", r"\\&'", page, flags=re.M)  # else a request of roff
    if "SOURCE_DATE_EPOCH" in os.environ:
        return page
    return re.sub(r'^(\.TH "[^"]*" "\d") "[^"]*"', r'\1 ""', page, flags=re.M)


def write_pages(pages, number, folder, version):
    for name, body in pages.items():
        text = f'{name}({number}) "qex {version}"\n\n{body}'
        write(os.path.join(folder, "source", f"{name}.{number}.scd"), text)
        write(os.path.join(folder, f"man{number}", f"{name}.{number}"), typeset(text))


def main(source, folder, version, qex=None):
    with open(os.path.join(source, "api", "qex.h"), encoding="utf-8") as file:
        header = Header(file.read())
    write_pages(pages_of_the_library(header, os.path.join(source, "docs", "man", "examples")), 3, folder, version)
    for function, page in links(header).items():
        write(os.path.join(folder, "man3", function + ".3"), f".so man3/{page}.3\n")
    if qex is None:
        return
    with open(os.path.join(source, "docs", "qex.md"), encoding="utf-8") as file:
        write_pages(pages_of_the_tool(qex, file.read()), 1, folder, version)
    for shell, name in (("bash", "qex"), ("zsh", "_qex"), ("fish", "qex.fish")):
        script = subprocess.run([qex, "completion", shell], check=True, capture_output=True, encoding="utf-8").stdout
        write(os.path.join(folder, "completions", shell, name), script)


if __name__ == "__main__":
    main(*sys.argv[1:])
