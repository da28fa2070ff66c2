"""A function whose result must be looked at is [[nodiscard]] where it is first declared.

usage: nodiscard_test.py SOURCE_FOLDER

The type decides: bool, a result code, std::optional, an owner. In headers every function counts, members included; in
sources those that nobody else sees, which are in an anonymous namespace or static. Operators, overrides and main are
left out.
"""

import os
import re
import sys
import unittest

# Each folder, and the types that its result codes have.
FOLDERS = {
    "ground": r"int|int32_t",
    "ber": r"int|int32_t",
    "asn1": r"int|int32_t",
    "api": r"int|int32_t",
    "crypto": r"int|int32_t",
    "crypto/bignum": r"int|uint32_t",
    "crypto/prime": r"int|uint32_t",
    "crypto/pk": r"int|uint32_t",
    "bench": r"int|int32_t",
    "tests/support": r"int|int32_t",
    "fuzz": r"int|int32_t",
    "tool": r"int|int32_t|ExitStatus",
}
# C programs include the first, and C99 has no such mark; the others declare what systems and compilers do.
AS_ELSEWHERE = ("api/qex.h", "tests/support/plain_x86.h", "tests/support/windows/")

LOOKED_AT = r"bool|std::optional<.*>|std::unique_ptr<.*>|Owned\w*(?:<.*>)?|Handle<.*>"
NOISE = re.compile(r'//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|"(?:\\.|[^"\\\n])*"|(?<![0-9A-Fa-f])\'(?:\\.|[^\'\\\n])+\'',
                   re.DOTALL | re.MULTILINE)
MACRO = re.compile(r"^[ \t]*[A-Z][A-Z0-9_]+\([^;{}\n]*\)$", re.MULTILINE)  # a call without a semicolon
ACCESS = re.compile(r"\s*(?:public|private|protected)\s*:")
ATTRIBUTE = re.compile(r"\s*\[\[([^\]]*)\]\]|\s*__attribute__\(\([^)]*\)\)+")
SPECIFIER = re.compile(r"\s*(static|inline|constexpr|consteval|virtual|extern)\b")
FUNCTION = re.compile(r"\s*([\w:]+(?:<.*?>)?)\s+(?!operator\b)(\w+)\s*\(", re.DOTALL)
SCOPE = re.compile(r"(?:^|\s)(?:namespace|class|struct|extern)\b")


def without_template(head):
    """The declaration after `template <...>`."""
    while match := re.match(r"\s*template\s*<", head):
        depth, i = 1, match.end()
        while depth and i < len(head):
            depth += {"<": 1, ">": -1}.get(head[i], 0)
            i += 1
        head = head[i:]
    return head


def declarations(text):
    """(line, head, the character after it, whether only this file sees it) of all that is declared in namespaces and
    classes."""
    for noise in (NOISE, MACRO):
        text = noise.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)
    scopes = []  # of each open brace: None inside a function or a value, else whether its namespace is anonymous
    start = 0
    for i, char in enumerate(text):
        if char not in "{};":
            continue
        head = text[start:i]
        if None not in scopes:
            while match := ACCESS.match(head):
                start += match.end()
                head = head[match.end():]
            if char != "}" and head.strip():
                yield text.count("\n", 0, start + len(head) - len(head.lstrip())) + 1, head, char, any(scopes)
        if char == "{":
            is_scope = SCOPE.search(without_template(head)) and "(" not in ATTRIBUTE.sub("", head) and "=" not in head
            scopes.append(re.search(r"namespace\s*$", head) is not None if is_scope and None not in scopes else None)
        elif char == "}":
            scopes.pop()
        start = i + 1
    if scopes:
        raise ValueError("braces do not match")


def unmarked(path, text):
    """One line for every function that lacks the mark."""
    codes = next(FOLDERS[folder] for folder in sorted(FOLDERS, reverse=True) if path.startswith(folder + "/"))
    found, declared = [], set()
    for line, head, end, is_local in declarations(text):
        head = without_template(head)
        marks, is_static = "", False
        while match := ATTRIBUTE.match(head) or SPECIFIER.match(head):
            marks += match[1] or ""
            is_static = is_static or match[1] == "static"
            head = head[match.end():]
        match = FUNCTION.match(head)
        if not match or not (path.endswith(".h") or is_local or is_static):
            continue
        if end == "{" and path.endswith(".cpp") and match[2] in declared:
            continue
        if not re.fullmatch(f"{LOOKED_AT}|{codes}", match[1]) or re.search(r"\)\s*(?:const\s*)?override\b", head):
            continue
        if end == ";":
            declared.add(match[2])
        if "nodiscard" not in marks:
            found.append(f"{path}:{line}: {match[2]} returns {match[1]} and is not [[nodiscard]]")
    return found


class RuleTest(unittest.TestCase):
    def check(self, text, *names, path="api/a.h"):
        self.assertEqual([line.split()[1] for line in unmarked(path, text)], list(names), text)

    def test_TheTypeDecides(self):
        for declaration in ("bool f();", "int32_t f(int n);", "std::optional<T> f(const U& u) const;", "OwnedPart f();",
                            "std::unique_ptr<std::vector<T>> f();", "inline bool f() { return true; }",
                            "static constexpr bool f();", "template <class T, class... U>\nbool f(T t);"):
            with self.subTest(declaration=declaration):
                self.check(declaration, "f")
        for declaration in ("void f();", "uint32_t f();", "const Owned& f();", "OwnedPart* f();", "bool operator!=(T a);", "bool operator()(T a) { return f(a); }",
                            "bool value;", "bool value = f();", "bool f() override;", "bool f() const override { return g(); }",
                            "// bool f();", '#define F bool f();', "explicit operator bool() const { return true; }",
                            "using F = bool (*)(int);", "return bool(f());"):
            with self.subTest(declaration=declaration):
                self.check(declaration)

    def test_TheMarkIsFound(self):
        for declaration in ("[[nodiscard]] bool f();", "[[nodiscard, maybe_unused]] static bool f();",
                            "template <class T>\n[[nodiscard]] bool f(T t);", "[[nodiscard]] inline bool f() { return true; }"):
            with self.subTest(declaration=declaration):
                self.check(declaration)

    def test_CodesHaveTheTypeOfTheirFolder(self):
        self.check("uint32_t f();", "f", path="crypto/pk/a.h")
        self.check("uint32_t f();", path="crypto/digest/a.h")

    def test_MembersCount(self):
        self.check("namespace qex {\nstruct S {\n bool f() { return x; }\n private:\n  bool g();\n  bool h{true};\n};\n}", "f", "g")

    def test_SourcesMarkWhatNobodyElseSees(self):
        for text, names in (("namespace qex {\nnamespace {\nbool f();\nbool f() { return g(); }\n}\nbool g() { }\n}", ["f"]),
                            ("namespace {\nstruct S {\n  bool f() { }\n};\nstruct T {\n  bool f() { }\n};\n}", ["f", "f"]),
                            ("namespace {\nMACRO(a, \"b\")\nbool f() { }\n}", ["f"]), ("static bool f() { }", ["f"]), ("bool S::f() { }", []),
                            ("namespace {\nstruct S {\n  bool f();\n};\nbool S::f() { }\n}", ["f"])):
            with self.subTest(text=text):
                self.check(text, *names, path="api/a.cpp")

    def test_BodiesAndValuesHaveNoDeclarations(self):
        for text in ("void f() {\n  bool g(int);\n  OwnedPart part(h());\n}", "constexpr T t[] = {{1, 'a'}, {2, '{'}};",
                     'inline constexpr S s = {"{", must(1)};', "struct S {\n  S() : a_{1}, b_(2) { bool g(); }\n};",
                     "const auto f = [](int n) { bool g(); };"):
            with self.subTest(text=text):
                self.check("namespace qex {\nnamespace {\n" + text + "\n}\n}")

    def test_LinesAreThoseOfTheDeclaration(self):
        self.assertEqual(unmarked("api/a.h", "// A\n\n// f\nbool f();\n")[0].split(": ")[0], "api/a.h:4")


class TreeTest(unittest.TestCase):
    root = "."

    def test_EveryResultIsMarked(self):
        paths = {os.path.relpath(os.path.join(folder, name), self.root).replace(os.sep, "/")
                 for top in FOLDERS for folder, _, files in os.walk(os.path.join(self.root, top)) for name in files}
        found = []
        for path in sorted(paths):
            if path.endswith((".h", ".cpp")) and not path.startswith(AS_ELSEWHERE):
                with open(os.path.join(self.root, path), encoding="utf-8") as file:
                    found += unmarked(path, file.read())
        self.assertGreater(len(paths), 100, "this is not the root of the tree")
        self.assertEqual("\n".join(found), "")


if __name__ == "__main__":
    TreeTest.root = sys.argv.pop(1)
    unittest.main()
