"""Reads qex.h: its sections, functions, records and codes, with their comments.

A comment is a list of blocks: a text, or rows of a name and a text. What it does not understand is an error, so that
nothing of the header is missing from a page unseen.
"""

import re
from dataclasses import dataclass, field


@dataclass
class Rows:
    title: str
    rows: list  # of (name, text)


@dataclass
class Function:
    name: str
    declaration: str
    blocks: list


@dataclass
class Record:
    name: str
    text: str
    fields: list  # of (declaration, text)


@dataclass
class Section:
    title: str
    blocks: list
    functions: list = field(default_factory=list)


def fail(what, text):
    raise SystemExit(f"man: qex.h: {what}: {text.strip()[:120]!r}")


def comment_lines(comment):
    """The lines inside a comment, without its stars."""
    body = re.sub(r"^/\*[*!]?|\*/$", "", comment.strip())
    return [re.sub(r"^ {0,3}\* ?", "", line).rstrip() for line in body.splitlines()]


def blocks_of(comment):
    """Paragraphs, rows and lists of a comment."""
    blocks = []
    for paragraph in re.split(r"\n(?:[ ]*\n)+", "\n".join(comment_lines(comment)).strip("\n")):
        lines = paragraph.splitlines()
        if not lines or not paragraph.strip():
            continue
        title = ""
        if lines[0][:1] != " " and lines[0].endswith(":") and len(lines) > 1 and lines[1][:1] == " ":
            title = lines.pop(0)
        if lines[0].startswith(("  ", "   ")):
            blocks.append(Rows(title.rstrip(":"), rows_of(lines)))
            continue
        if title:
            fail("rows expected", paragraph)
        blocks.append(paragraph.strip())
    return blocks


def rows_of(lines):
    rows = []
    for line in lines:
        start = re.match(r" {2,3}(\S+)(?: +(\S.*))?$", line)
        if start:
            rows.append([start[1], start[2] or ""])
        elif rows and re.match(r" {5,}\S", line):
            rows[-1][1] += " " + line.strip()
        else:
            fail("a line that is neither a row nor its continuation", line)
    return [tuple(row) for row in rows]


def one_line(text):
    return " ".join(text.split())


def field_rows(body):
    """The fields of a record, or the names of an enumeration, with the comments after them."""
    rows = []
    pattern = r"^\s*([A-Za-z_][^;,/]*?)\s*[;,]?\s*/\*(.*?)\*/|^\s*([A-Za-z_][^;/]*);\s*$"
    for match in re.finditer(pattern, body, flags=re.M | re.S):
        rows.append((one_line(match[1] or match[3]), one_line(match[2] or "")))
    return rows


class Header:
    def __init__(self, text):
        self.preamble = blocks_of(re.match(r"/\*.*?\*/", text, flags=re.S)[0])
        body = text[text.index('extern "C" {'):]
        self.records = self.records_of(body)
        self.codes, self.notes = self.codes_of(body)
        self.modes = field_rows(re.search(r"enum \{\n(\s*QEX_TRANSPORT.*?)\};", body, flags=re.S)[1])
        self.sections = self.sections_of(body)

    @staticmethod
    def records_of(body):
        found = re.finditer(r"(/\*(?:(?!\*/).)*\*/)\ntypedef struct (\w+) \{\n(.*?)\n\} \2;", body, flags=re.S)
        return {match[2]: Record(match[2], one_line(" ".join(comment_lines(match[1]))), field_rows(match[3]))
                for match in found}

    @staticmethod
    def codes_of(body):
        """Names, numbers and meanings of the result codes, each with its note of further causes."""
        enumeration = re.search(r"enum \{\n(\s*QEX_OK.*?)\};\s*(/\*.*?\*/)", body, flags=re.S)
        text = one_line(" ".join(comment_lines(enumeration[2])))
        notes = dict(re.findall(r"\[(\d)\] (.*?)(?= \[\d\]|$)", text))
        codes = [(name.split(" = ")[0], int(name.split(" = ")[1]), meaning)
                 for name, meaning in field_rows(enumeration[1])]
        return codes, notes

    def sections_of(self, body):
        sections = []
        comment = ""
        for part in re.finditer(r"/\*.*?\*/|QEX_EXPORT[^;{]*;", body, flags=re.S):
            text = part[0]
            if text.startswith("/*"):
                if title := re.match(r"/\* ---- (.*?) ----", text):
                    rest = re.sub(r"^/\* ---- .*? ----", "/*", text, flags=re.S)
                    sections.append(Section(title[1], blocks_of(rest)))
                comment = text
                continue
            name = re.search(r"\b(QEX_\w+)\(", text)[1]
            declaration = one_line(text.replace("QEX_EXPORT", "").replace("QEX_NOEXCEPT", ""))
            sections[-1].functions.append(Function(name, declaration.replace(" ;", ";"), blocks_of(comment)))
        return sections

    def section(self, title):
        for section in self.sections:
            if section.title.startswith(title):
                return section
        raise SystemExit(f"man: qex.h has no section '{title}'")
