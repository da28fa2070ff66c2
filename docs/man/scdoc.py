"""Texts in the notation of scdoc(5): plain text, terms with their explanations, and the Markdown of docs/qex.md."""

import re


def at_line_start(text):
    """The same text where a first character could begin a heading, list, table or comment."""
    return re.sub(r"^([#.\-\[\]|:;\t])", r"\\\1", text)


def escaped_within(text):
    return re.sub(r"([\\*_+`])", r"\\\1", text)


def escaped(text):
    """Text that scdoc sets as it stands, at the start of a line too."""
    return at_line_start(escaped_within(text))


def bold(text):
    return f"*{escaped(text)}*" if text else ""


def inline(text):
    """One paragraph of Markdown, or of a comment: `code`, **strong words** and [links](target)."""
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", text)
    parts = re.split(r"(`[^`]+`|\*\*.+?\*\*)", text)
    joined = "".join(bold(part.strip("`*") if part[0] == "*" else part[1:-1]) if part[:1] in "`*" and len(part) > 2
                     else escaped_within(part) for part in parts if part)
    return at_line_start(joined)


def term(name, *explanations):
    """A name and what it means, indented, in lines of their own. Both are in scdoc's notation already."""
    lines = [line for line in explanations if line]
    return name + "\n" + ("\t" + "++\n".join(lines) + "\n" if lines else "")


def literal(text):
    """A block of octets as they are; a backslash keeps its meaning inside."""
    return "```\n" + text.rstrip("\n").replace("\\", "\\\\") + "\n```\n"


def section(title, *blocks):
    body = "\n".join(block for block in blocks if block)
    return f"# {title}\n\n{body}\n" if body else ""


def cells(row):
    return [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", row.strip().strip("|"))]


def table(lines):
    """A table as terms: the first column, with the others below it."""
    head = cells(lines[0])
    text = []
    for line in lines[2:]:
        first, *rest = cells(line)
        if len(rest) == 1:
            text.append(term(inline(first), inline(rest[0])))
        else:
            text.append(term(inline(first), *(f"{escaped(name)}: {inline(cell)}" for name, cell in zip(head[1:], rest) if cell)))
    return "\n".join(text)


def from_markdown(text):
    """The blocks of one section of Markdown; headings in it become headings of the second order."""
    blocks = []
    for part in re.split(r"(^```\n.*?^```\n)", text, flags=re.M | re.S):
        if part.startswith("```"):
            blocks.append(literal(part[4:-4]))
            continue
        for paragraph in re.split(r"\n{2,}", part.strip("\n")):
            lines = paragraph.splitlines()
            if not lines:
                continue
            if lines[0].startswith("#"):
                blocks.append("## " + escaped(lines[0].lstrip("# ")) + "\n")
            elif lines[0].startswith("|"):
                blocks.append(table(lines))
            elif lines[0].startswith("- "):
                entries = re.split(r"(?m)^- ", paragraph)[1:]
                blocks.append("".join("- " + inline(" ".join(entry.split())) + "\n" for entry in entries))
            else:
                blocks.append(inline(" ".join(paragraph.split())) + "\n")
    return "\n".join(blocks)


def markdown_section(document, title):
    """The text below one heading of a document, up to the next one of any order."""
    found = re.search(rf"(?m)^###? {re.escape(title)}\n(.*?)(?=^##|\Z)", document, flags=re.S)
    if found is None:
        raise SystemExit(f"man: docs/qex.md has no section '{title}'")
    return found[1]
