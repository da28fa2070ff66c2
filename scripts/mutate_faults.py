"""The faults that scripts/mutate.py puts into a source: where they can be put, and what they are.

A source is cut into tokens, not parsed. What parsing would tell, the format tells: clang-format puts blanks on both
sides of a binary operator and of no template bracket, pointer or reference.
"""
import hashlib
import re
from dataclasses import dataclass

TOKEN = re.compile(r"""
    (?P<skip>//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<string>R"(?P<delim>[^()\s]*)\(.*?\)(?P=delim)"|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+')
  | (?P<number>(?:0[xX][0-9a-fA-F']+|\d[\d']*(?:\.\d+)?)[uUlLzZ]*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<op><=>|<<=|>>=|->\*?|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|\.\.\.|[^\s\w])
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

SPACED = {
    "comparison": {"<": [">="], "<=": [">"], ">": ["<="], ">=": ["<"], "==": ["!="], "!=": ["=="]},
    "boundary": {"<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"]},
    "arithmetic": {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"], "<<": [">>"], ">>": ["<<"],
                   "&": ["|"], "|": ["&"], "^": ["|"], "+=": ["-="], "-=": ["+="], "|=": ["&="], "&=": ["|="],
                   "^=": ["|="], "<<=": [">>="], ">>=": ["<<="]},
    "logical": {"&&": ["||"], "||": ["&&"]},
}
NO_STATEMENT = {"if", "for", "while", "do", "switch", "else", "case", "default", "using", "typedef", "static", "const",
                "constexpr", "auto", "struct", "class", "enum", "template", "namespace", "goto", "try", "catch", "public",
                "private", "return", "throw", "delete", "static_assert", "friend", "extern"}
DECLARATION = re.compile(r"^[\w:]+(?:<[^;=]*>)?[\s*&]+(?:const\s+)?[A-Za-z_]\w*\s*(?:[=;({\[,]|$)")


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


@dataclass(frozen=True)
class Fault:
    file: str
    line: int
    start: int
    end: int
    text: str    # what takes the place of [start, end)
    kind: str
    before: str  # the source's lines without and with the fault, blanks taken together
    after: str

    def key(self):
        return f"{self.file}|{self.kind}|{self.before}|{self.after}"


def tokens_of(source):
    return [Token(m.lastgroup if m.lastgroup != "delim" else "string", m.group(), m.start(), m.end())
            for m in TOKEN.finditer(source) if m.lastgroup != "skip"]


def closing(tokens, at):
    """The index of the bracket that closes the one at `at`."""
    depth = 0
    for i in range(at, len(tokens)):
        if tokens[i].kind == "op":
            if tokens[i].text in "([{":
                depth += 1
            elif tokens[i].text in ")]}":
                depth -= 1
                if depth == 0:
                    return i
    return len(tokens) - 1


def left_alone(tokens):
    """Indexes of the tokens of assertions at compile time, tables, and the texts of assertions."""
    alone = set()
    for i, token in enumerate(tokens):
        if token.text in ("static_assert", "requires"):
            alone.update(range(i, closing(tokens, i + 1) + 1))
        elif token.text == "QEX_ASSERT" and i + 1 < len(tokens) and tokens[i + 1].text == "(":
            end = closing(tokens, i + 1)
            depth = 0
            for j in range(i + 2, end):
                depth += (tokens[j].text in "([{") - (tokens[j].text in ")]}") if tokens[j].kind == "op" else 0
                if depth == 0 and tokens[j].text == ",":
                    alone.update(range(j, end + 1))
                    break
        elif token.text == "constexpr":
            j = i
            while j < len(tokens) and tokens[j].text not in ("=", ";", "{", "("):
                j += 1
            if j < len(tokens) and tokens[j].text in ("=", "{"):
                end = j
                while end < len(tokens) and tokens[end].text != ";":
                    end = closing(tokens, end) + 1 if tokens[end].text in ("(", "{", "[") else end + 1
                if any(t.text == "{" for t in tokens[j:end]):
                    alone.update(range(i, end + 1))
    return alone


def block_starts(tokens):
    """For each `{` whether statements are inside it."""
    found = {}
    for i, token in enumerate(tokens):
        if token.text != "{" or token.kind != "op":
            continue
        j = i - 1
        while j >= 0 and tokens[j].text not in (";", "{", "}"):
            if tokens[j].text == ")":  # back over brackets, where a `;` ends nothing
                depth = 0
                while j >= 0:
                    depth += (tokens[j].text == ")") - (tokens[j].text == "(")
                    if depth == 0:
                        break
                    j -= 1
            j -= 1
        head = [t.text for t in tokens[j + 1:i]]
        if any(w in head for w in ("namespace", "class", "struct", "enum", "union", "extern")):
            found[i] = False
        elif not head:
            found[i] = tokens[i - 1].text in (";", "}", "{")
        else:
            found[i] = head[-1] in (")", "else", "do", "try", "const", "noexcept", "override", ">", "]") or "->" in head
    return found


def constants(text):
    match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|\d[\d']*)([uUlLzZ]*)", text)
    if not match:
        return []
    digits, suffix = match.group(1).replace("'", ""), match.group(2)
    hexadecimal = digits[:2] in ("0x", "0X")
    value = int(digits, 16 if hexadecimal else 10)
    others = [1] if value == 0 else [value - 1, value + 1]
    return [(f"0x{n:X}" if hexadecimal else str(n)) + suffix for n in others]


def faults_of(file, source):
    tokens = tokens_of(source)
    alone = left_alone(tokens)
    blocks = block_starts(tokens)
    found = []

    def add(first, last, text, kind):
        start, end = tokens[first].start, tokens[last].end
        left = source.rfind("\n", 0, start) + 1
        right = source.find("\n", end)
        right = len(source) if right < 0 else right
        before = " ".join(source[left:right].split())
        after = " ".join((source[left:start] + text + source[end:right]).split())
        found.append(Fault(file, source.count("\n", 0, start) + 1, start, end, text, kind, before, after))

    stack = []  # open brackets: True where statements are inside
    for i, token in enumerate(tokens):
        if token.kind == "op" and token.text in "([{":
            stack.append(blocks.get(i, False))
        elif token.kind == "op" and token.text in ")]}" and stack:
            stack.pop()
        if i in alone:
            continue
        previous = tokens[i - 1] if i > 0 else None
        spaced = source[token.start - 1:token.start].isspace() and source[token.end:token.end + 1].isspace()
        if token.kind == "number":
            for text in constants(token.text):
                add(i, i, text, "constant")
        elif token.text in ("true", "false"):
            add(i, i, "false" if token.text == "true" else "true", "constant")
        elif token.text in ("++", "--"):
            add(i, i, "--" if token.text == "++" else "++", "arithmetic")
        elif token.text == "!" and not spaced:
            add(i, i, "", "negated condition")
        elif token.kind == "op" and spaced and previous is not None and previous.text != "operator":
            for kind, table in SPACED.items():
                for text in table.get(token.text, []):
                    add(i, i, text, kind)
        elif token.text in ("if", "while") and tokens[i + 1].text == "(":
            end = closing(tokens, i + 1)
            semicolons = [j for j in range(i + 2, end) if tokens[j].text == ";"]
            first = semicolons[-1] + 1 if semicolons else i + 2
            text = source[tokens[first].start:tokens[end - 1].end]
            # The opposite of one comparison, or of one `!`, is among the others already.
            compared = [t for t in tokens[first:end] if t.text in SPACED["comparison"]]
            joined = any(t.text in ("&&", "||") for t in tokens[first:end])
            if not DECLARATION.match(text) and (joined or not compared and tokens[first].text != "!"):
                add(first, end - 1, f"!({text})", "negated condition")

        starts = previous is not None and (
            previous.text in (";", "{", "}", "else", "do") or
            (previous.text == ")" and guards(tokens, i - 1)))
        if stack and stack[-1] and starts and token.text not in (";", "{", "}", ")"):
            end = i
            while end < len(tokens) and tokens[end].text not in (";", "}"):
                end = closing(tokens, end) + 1 if tokens[end].text in ("(", "{", "[") else end + 1
            if end >= len(tokens) or tokens[end].text != ";":
                continue
            if token.text == "return":
                if is_early(tokens, i, end):
                    add(i, end, ";", "removed return")
            elif token.text not in NO_STATEMENT and not DECLARATION.match(source[token.start:tokens[end].end]):
                add(i, end, ";", "removed statement")
    return found


def guards(tokens, at):
    """Whether the `)` at `at` closes the condition of an if or a loop."""
    depth = 0
    for j in range(at, -1, -1):
        depth += (tokens[j].text == ")") - (tokens[j].text == "(")
        if depth == 0:
            return j > 0 and tokens[j - 1].text in ("if", "for", "while", "switch", "constexpr")
    return False


def is_early(tokens, at, end):
    """Whether the return at `at`, up to `end`, is in an if or a loop, and something follows when it does not happen."""
    if tokens[at - 1].text == ")":
        return tokens[end + 1].text not in ("}", "else")
    depth = 0
    for j in range(at - 1, -1, -1):
        depth += (tokens[j].text == "}") - (tokens[j].text == "{")
        if depth < 0:
            guarded = tokens[j - 1].text == "else" or tokens[j - 1].text == ")" and guards(tokens, j - 1)
            return guarded and tokens[end + 1].text == "}" and tokens[end + 2].text not in ("}", "else")
    return False


def chosen(faults, count, seed):
    """`count` of the faults. The choice of one does not depend on the others, so that it survives most edits."""
    seen = {}

    def rank(fault):
        nth = seen[fault.key()] = seen.get(fault.key(), 0) + 1
        return hashlib.sha256(f"{seed}|{fault.key()}|{nth}".encode()).hexdigest()

    ranked = sorted(faults, key=rank)
    return sorted(ranked[:count] if count else ranked, key=lambda f: (f.file, f.start, f.text))
