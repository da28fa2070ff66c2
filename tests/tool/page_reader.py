"""Reads a page of `qex show --html`, and refuses whatever such a page must not hold."""

import html.parser
import re

# Elements and attributes that the page is made of; the values are the tool's own and of these forms.
WORD, TEXT = r"[a-z][a-z0-9 -]*", r"[^<>&]*"
NUMBER = r"-?\d+(\.\d+)?%?"
REFERENCE = r"f\d+-[a-z0-9_-]+( f\d+-[a-z0-9_-]+)*"
ATTRIBUTES = {
    "html": {"lang": "en"}, "head": {}, "body": {}, "style": {}, "header": {}, "main": {}, "footer": {},
    "meta": {"charset": "utf-8", "http-equiv": "Content-Security-Policy", "name": WORD, "content": TEXT},
    "title": {"id": REFERENCE}, "desc": {"id": REFERENCE}, "h1": {}, "h2": {"id": REFERENCE}, "h3": {},
    "p": {"class": WORD}, "div": {"class": WORD}, "strong": {}, "small": {}, "bdi": {}, "ul": {}, "li": {},
    "span": {"class": WORD}, "a": {"href": r"#f\d+"},
    "section": {"class": WORD, "id": r"f\d+", "aria-labelledby": REFERENCE, "aria-label": r"[A-Z][a-z ]+"},
    "table": {"class": WORD}, "thead": {}, "tbody": {}, "tr": {}, "details": {"class": WORD, "open": None}, "summary": {},
    "th": {"scope": WORD, "colspan": "2"}, "td": {"id": REFERENCE, "colspan": "2"},
    "svg": {"class": WORD, "role": "img", "width": NUMBER, "height": NUMBER, "x": NUMBER, "y": NUMBER,
            "viewbox": r"0 0 \d+ \d+", "aria-labelledby": REFERENCE, "aria-describedby": REFERENCE},
    "g": {"class": WORD}, "rect": {"x": NUMBER, "y": NUMBER, "width": NUMBER, "height": NUMBER, "rx": NUMBER, "class": WORD},
    "path": {"class": WORD, "d": r"[MVlhz0-9 .-]+"},
    "line": {"x1": NUMBER, "x2": NUMBER, "y1": NUMBER, "y2": NUMBER, "class": WORD},
    "text": {"x": NUMBER, "y": NUMBER, "class": WORD},
}
VOID = {"meta", "rect", "path", "line"}
ROWS = ("tr", "th", "td", "li", "div", "p", "h1", "h2", "h3", "small", "section", "summary", "desc", "title", "text")


class Page(html.parser.HTMLParser):
    """A page; every fault of its form is an AssertionError."""

    def __init__(self, octets):
        super().__init__(convert_charrefs=True)
        self.open, self.ids, self.links, self.labels = [], {}, [], []
        self.texts, self.style, self.policy = [], "", None
        self.checks, self.drawn = [], []
        source = octets.decode()  # UTF-8 throughout
        assert source.startswith("<!DOCTYPE html>\n<html lang=\"en\">"), source[:80]
        without_style = re.sub(r"<style>.*?</style>", "", source, count=1, flags=re.S)
        stray = re.search(r"&(?!(amp|lt|gt|quot|#39);)", without_style)
        assert stray is None, f"a bare ampersand: {without_style[stray.start():][:40]!r}"
        controls = re.search(r"[\x00-\x09\x0b-\x1f\x7f]", source)
        assert controls is None, f"a control character at {controls.start()}"
        assert "url(" not in source and "@import" not in source
        self.feed(source)
        self.close()
        assert not self.open, f"never closed: {self.open}"
        for link in self.links:
            assert link in self.ids, f"{link} leads nowhere"
        for label in self.labels:
            assert label in self.ids, f"{label} labels nothing"

    def handle_starttag(self, tag, attrs):
        assert tag in ATTRIBUTES, f"element {tag}"
        names = [name for name, _ in attrs]
        assert len(set(names)) == len(names), f"an attribute of {tag} twice"
        for name, value in attrs:
            assert name in ATTRIBUTES[tag], f"attribute {name} of {tag}"
            form = ATTRIBUTES[tag][name]
            assert value == form or re.fullmatch(form, value), f"{tag} {name}={value!r}"
        attributes = dict(attrs)
        if tag == "meta" and "http-equiv" in attributes:
            self.policy = attributes["content"]
        if "id" in attributes:
            assert attributes["id"] not in self.ids, f"{attributes['id']} twice"
            self.ids[attributes["id"]] = ""
        if tag == "a":
            self.links.append(attributes["href"][1:])
        for label in ("aria-labelledby", "aria-describedby"):
            self.labels += attributes.get(label, "").split()
        if tag not in VOID:
            self.open.append((tag, attributes))
        if tag in ROWS:
            self.texts.append("\n")
        if tag == "tr":
            self.row = []
        if tag in ("td", "th"):
            self.row.append("")
        if tag == "text":
            self.drawn.append("")

    def handle_startendtag(self, tag, attrs):
        assert tag in VOID, f"{tag} closes itself"
        self.handle_starttag(tag, attrs)

    def handle_endtag(self, tag):
        assert self.open and self.open[-1][0] == tag, f"</{tag}> inside {self.open[-3:]}"
        self.open.pop()
        if tag == "tr" and any(a.get("class") == "checks" for _, a in self.open):
            self.checks.append(self.row)

    def handle_data(self, data):
        if any(tag == "style" for tag, _ in self.open):
            self.style += data
            return
        for tag, attributes in self.open:
            if "id" in attributes:
                self.ids[attributes["id"]] += data
        if any(tag in ("td", "th") for tag, _ in self.open) and not any(tag == "small" for tag, _ in self.open):
            self.row[-1] += data
        if any(tag == "text" for tag, _ in self.open):
            self.drawn[-1] += data
        self.texts.append(data)

    def handle_comment(self, data):
        raise AssertionError(f"a comment: {data[:60]!r}")

    def handle_pi(self, data):
        raise AssertionError(f"an instruction: {data[:60]!r}")

    def unknown_decl(self, data):
        raise AssertionError(f"a declaration: {data[:60]!r}")

    @property
    def text(self):
        return "".join(self.texts)

    def section(self, number):
        return self.ids[f"f{number}"]


def folded(text, most=600):
    """Text as the page has it: runs of blanks are one space, and what is too long is cut."""
    words = " ".join(re.split(r"[\s\u0085\u1680\u2800\u200b]+", text)).strip(" ")
    characters = 0
    for at, character in enumerate(words):
        characters += character != " "
        if characters > most:
            return words[:at].rstrip(" ") + "..."
    return words


def scalar(value):
    if value is None:
        return "none"
    if isinstance(value, bool):
        return "yes" if value else "no"
    return folded(value) if isinstance(value, str) else repr(value)


def leaves(value, path):
    """The cells that hold a JSON value: (identifier, text)."""
    if isinstance(value, dict):
        for name, part in value.items():
            yield from leaves(part, f"{path}-{name}")
    elif isinstance(value, list) and value and isinstance(value[0], dict):
        for place, part in enumerate(value):
            yield from leaves(part, f"{path}-{place}")
    elif isinstance(value, list):
        yield path, "".join(scalar(part) for part in value)
    else:
        yield path, scalar(value)


def facts(document, number):
    """The cells of the document of `qex show --json` for the file of that number."""
    return {path: text for path, text in leaves(document, f"f{number}")
            if path.removeprefix(f"f{number}-") not in ("schema", "command", "asn1")}


def cells(page, number):
    """The cells of that file on the page, without those of its verification."""
    start = f"f{number}-"
    return {path: text for path, text in page.ids.items()
            if path.startswith(start) and not path.startswith(start + "verification")
            and not re.fullmatch(r"(name|(drawing|periods|accuracy)-(title|desc))", path[len(start):])}
