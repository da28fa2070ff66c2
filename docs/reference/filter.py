"""Prints a header as Doxygen reads it: the comments of qex.h are plain text, and this adds the commands.

usage: filter.py FILE

A comment belongs to the declaration below it, or before it on the same line. `---- Title ----` opens a family, which
ends with the next. Rows of names are arguments, rows of QEX_ names result codes, `[1]` further causes.
Files other than qex.h stay as they are.
"""

import os
import re
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "man"))
from header import Rows, blocks_of, one_line  # noqa: E402

COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
SECTION = re.compile(r"/\* ---- (.*?) ----")


def escape(text):
    """The text without what Doxygen would take for Markdown."""
    return re.sub(r"\*(?=\w)", r"\\*", text)


def block_text(block, codes):
    if not isinstance(block, Rows):
        return escape(re.sub(r"^\[(\d)\]", r"- [\1]", block, flags=re.MULTILINE))
    if all(re.match(r"\d\.$", name) for name, _ in block.rows):
        return "\n".join([escape(block.title) + ":", "", *(escape(f"{name} {text}") for name, text in block.rows)])
    if all(name.startswith("QEX_") for name, _ in block.rows):
        if unknown := {name for name, _ in block.rows} - codes:
            raise SystemExit(f"reference: qex.h documents result codes that it does not define: {sorted(unknown)}")
        title = [] if block.title == "Result codes" else [f"@return {escape(block.title)}:"]
        return "\n".join([*title, *(f"@retval {name} {escape(text) or 'success'}" for name, text in block.rows)])
    return "\n".join([escape(block.title), *(f"@param {name} {escape(text)}" for name, text in block.rows)])


class Filter:
    def __init__(self, text):
        self.text = text
        self.codes = set(re.findall(r"^  (QEX_\w+) = ", text, re.MULTILINE))
        self.family = None
        self.out = []

    def body_of(self, comment):
        """The text of a comment with commands."""
        return "\n\n".join(block_text(block, self.codes) for block in blocks_of(comment))

    def open_family(self, title, rest):
        if self.family:
            self.out.append("/** @} */\n")
        name, more = re.match(r"(.*?)(?:[.:]\s+(.*)|\.?$)", title, re.DOTALL).groups(default="")
        self.family = (re.sub(r"\W+", "_", re.sub(r" \(.*", "", name).lower()), name)
        text = "\n\n".join(part for part in (escape(more[:1].upper() + more[1:]), rest) if part)
        self.out.append(f"/** @defgroup {self.family[0]} {name}\n{text}\n@{{ */\n")

    def put(self, comment, before, after):
        """Writes a comment with its commands, and the code of which it is copied to each declaration. Returns the
        number of characters of that code."""
        line = before[before.rfind("\n") + 1:]
        code = re.match(r"\n((?:[^\n]+\n)*)", after)
        if line.strip():
            self.out.append(comment if line.startswith("#") else "/**< " + escape(one_line(comment[2:-2])) + " */")
        elif title := SECTION.match(comment):
            self.open_family(title[1], self.body_of("/*" + comment[title.end():]))
            if after.lstrip().startswith("enum {"):
                self.out.append(f"/** {self.family[1]}. */")
        elif not code or not code[1]:
            if not self.family:
                raise SystemExit(f"reference: qex.h: a comment that belongs to nothing: {one_line(comment)[:80]}")
            self.out.append(f"/** @}} */\n/** @addtogroup {self.family[0]}\n{self.body_of(comment)}\n@{{ */")
        else:
            text = f"/** {self.body_of(comment)} */\n"
            if "/*" in code[1]:  # a record, which has comments of its own
                self.out.append(text.rstrip("\n"))
                return 0
            self.out.append(re.sub(r"^(?=QEX_EXPORT|#define)", lambda _: text, code[1], flags=re.MULTILINE))
            return code.end()
        return 0

    def run(self):
        first = COMMENT.match(self.text)
        self.out.append("/** @file\n" + self.body_of(first[0]) + " */")
        at = first.end()
        while match := COMMENT.search(self.text, at):
            self.out.append(self.text[at:match.start()])
            at = match.end() + self.put(match[0], self.text[:match.start()], self.text[match.end():])
        return "".join(self.out) + self.text[at:]


def main(name):
    with open(name, encoding="utf-8") as file:
        text = file.read()
    if os.path.basename(name) == "qex.h":
        # What compilers need and readers do not.
        comment = r"(?:/\*(?:(?!\*/).)*\*/\n)?"
        text = re.sub(comment + r"#if defined\(_WIN32\).*?QEX_NOEXCEPT\n#endif\n", "", text, flags=re.DOTALL)
        text = Filter(text).run()
        text = re.sub(r"#ifdef __cplusplus\n\}\n#endif\n", "/** @} */\n", text)
    sys.stdout.write(text)


if __name__ == "__main__":
    main(sys.argv[1])
