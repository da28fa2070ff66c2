"""The description of the C interface says what qex.h declares, and the generated declarations what it says.

usage: interface_test.py SOURCE_FOLDER C_COMPILER
"""

import glob
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

# Macros that concern the compilation of the header itself.
OWN_MACROS = re.compile(r"QEX_(H|EXPORT|NOEXCEPT|BUILDING|VERSION\w*)$")


class InterfaceTest(unittest.TestCase):
    root = compiler = ""

    @classmethod
    def setUpClass(cls):
        sys.path.insert(0, f"{cls.root}/bindings")
        from generate import c_check, model
        cls.c_check, cls.model = c_check, model
        cls.interface = model.load(f"{cls.root}/bindings/interface.json")
        header = cls.run_compiler("-E", "-P", f"{cls.root}/api/qex.h").stdout
        # Declarations of the standard headers come before; theirs are not named QEX_.
        cls.header = re.sub(r"__attribute__\s*\(\(.*?\)\)\)", "", header, flags=re.DOTALL)

    @classmethod
    def run_compiler(cls, *arguments, check=True, **more):
        return subprocess.run([cls.compiler, *arguments], capture_output=True, text=True, check=check, timeout=60, **more)

    def compiles(self, program):
        """The compiler's complaints about a program; empty when there are none."""
        done = self.run_compiler("-std=c11", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", f"-I{self.root}/api", "-xc", "-",
                                 check=False, input=program, env={**os.environ, "LC_ALL": "C"})
        self.assertEqual(done.returncode == 0, done.stderr == "", done.stderr)
        return done.stderr

    def test_SizesOffsetsTypesAndValuesAreThoseOfTheHeader(self):
        self.assertEqual(self.compiles(self.c_check.write(self.interface)), "")

    def changed(self, change):
        """The program for a description that `change` has altered."""
        with open(f"{self.root}/bindings/interface.json", encoding="utf-8") as file:
            described = json.load(file)
        change(described)
        with tempfile.NamedTemporaryFile("w", suffix=".json", encoding="utf-8") as file:
            json.dump(described, file)
            file.flush()
            return self.c_check.write(self.model.load(file.name))

    def test_AnotherDescriptionDoesNotCompile(self):
        def reorder(described):
            fields = described["records"]["QEX_TIMING_POLICY"]["fields"]
            fields["maxOffset"] = fields.pop("maxOffset")

        for change in (
            lambda all: all["records"]["QEX_TSTINFO_EX"]["fields"].update(genTime="char[28]"),
            lambda all: all["records"]["QEX_TACINFO"]["fields"].update(version="uint32_t"),
            lambda all: all["records"]["QEX_TIMING_METRICS"]["fields"].pop("expiration"),
            reorder,
            lambda all: all["results"]["QEX_E_SIZE"].update(value=-4),
            lambda all: all["transports"]["QEX_TRANSPORT_HTTP"].update(value=3),
            lambda all: all["functions"]["QEX_EncodeTSQ"]["parameters"].update(transport="uint32_t"),
            lambda all: all["functions"]["QEX_GetLastAsnError"].update(returns="uint32_t"),
            lambda all: all["functions"]["QEX_GetTSR_Status"]["parameters"].pop("tsrLength"),
            lambda all: all["functions"].update(QEX_Absent={"returns": "void", "parameters": {}}),
            lambda all: all["contexts"].update(QEX_SHA384_CTX={"name": "Sha384"}),
        ):
            self.assertIn("error", self.compiles(self.changed(change)))

    def test_EveryDeclarationOfTheHeaderIsDescribed(self):
        text = self.header
        functions = re.findall(r"\b(QEX_\w+)\s*\(", text)
        self.assertEqual(sorted(function.c_name for function in self.interface.functions), sorted(functions))
        self.assertEqual(len(functions), 36)
        records = re.findall(r"typedef struct (QEX_\w+)\s*\{", text)
        self.assertEqual([record.c_name for record in self.interface.records], records)
        contexts = re.findall(r"typedef struct (QEX_\w+)\s+QEX_\w+;", text)
        self.assertEqual([c_name for c_name, _ in self.interface.contexts], contexts)
        groups = [re.findall(r"(QEX_\w+)\s*=", body) for body in re.findall(r"\benum\s*\w*\s*\{(.*?)\}", text, re.DOTALL)]
        groups = [names for names in groups if names]
        described = [[row.c_name for row in rows] for rows in (self.interface.results, self.interface.transports)]
        self.assertEqual(described, groups)
        # Nothing of that name is left over that the patterns above do not know.
        known = {*functions, *records, *contexts, *sum(groups, [])}
        self.assertEqual(set(re.findall(r"\bQEX_\w+", text)) - known, set())

    def test_TheHeaderHasNoConstantsAsMacros(self):
        macros = re.findall(r"#define (QEX_\w+)", self.run_compiler("-E", "-dM", f"{self.root}/api/qex.h").stdout)
        self.assertIn("QEX_EXPORT", macros)
        self.assertEqual([name for name in macros if not OWN_MACROS.match(name)], [])

    def test_ParametersHaveTheNamesOfTheHeader(self):
        for function in self.interface.functions:
            listed = re.search(rf"\b{function.c_name}\s*\(([^)]*)\)", self.header)[1]
            names = [] if listed.strip() == "void" else re.findall(r"(\w+)\s*(?:,|$)", listed)
            self.assertEqual([name for name, _ in function.parameters], names, function.c_name)

    def test_TextsOfRecordsAreThoseOfTheHeader(self):
        with open(f"{self.root}/api/qex.h", encoding="utf-8") as file:
            comments = dict((name, " ".join(text.split())) for text, name in re.findall(
                r"/\* ((?:(?!\*/).)*?)\*/\ntypedef struct (QEX_\w+) {", file.read(), re.DOTALL))
        for record in self.interface.records:
            self.assertEqual(record.text, comments[record.c_name].removesuffix(f" {record.size} bytes."))

    def test_ResultTextsAreThoseOfTheLibrary(self):
        with open(f"{self.root}/api/result_texts.cpp", encoding="utf-8") as file:
            table = dict(re.findall(r'\{(QEX_\w+),\s*"QEX_\w+",\s*"([^"]*)"\}', file.read()))
        self.assertEqual({row.c_name: row.text for row in self.interface.results}, table)

    def test_SonameAndVersionNodeAreThoseOfTheBuild(self):
        with open(f"{self.root}/CMakeLists.txt", encoding="utf-8") as file:
            major = re.search(r"project\(qex VERSION (\d+)\.", file.read())[1]
        self.assertEqual(self.interface.soname, f"libqex.so.{major}")
        with open(f"{self.root}/cmake/qex.map", encoding="utf-8") as file:
            self.assertRegex(file.read(), rf"(?m)^{re.escape(self.interface.version_node)} \{{")

    def test_EveryFunctionIsCalledByEachBinding(self):
        """What is generated can be called; this sees that something does."""
        for pattern, name in (
            ("python/qex/*.py", lambda function: rf"\b{function.c_name}\b|\"{function.c_name.rpartition('_')[0]}\""),  # digests by families
            ("go/lib/*.go", lambda function: rf"\bcall{function.c_name.removeprefix('QEX_').replace('_', '')}\b"),
            ("rust/*/src/*.rs", lambda function: rf"\b{function.c_name}\b"),
        ):
            text = ""
            for path in glob.glob(f"{self.root}/bindings/{pattern}"):
                if not re.search(r"_test\.go$|interface\.\w+$", path):
                    with open(path, encoding="utf-8") as file:
                        text += file.read()
            text = re.sub(r"(?m)^\s*(//|#).*|\"\"\".*", "", text)  # a comment is no call
            missing = [function.c_name for function in self.interface.functions if not re.search(name(function), text)]
            self.assertEqual(missing, [], pattern)

    def test_GeneratedFilesAreCurrent(self):
        done = subprocess.run([sys.executable, f"{self.root}/scripts/bindings.py", "--check"], capture_output=True, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_DescriptionsThatMakeNoSenseAreRefused(self):
        for change, complaint in (
            (lambda all: all["records"]["QEX_U64"]["fields"].update(low="uint32_t*"), "no type of a field"),
            (lambda all: all["records"]["QEX_U64"]["fields"].update(low="uint64_t"), "no type of a field"),
            (lambda all: all["records"]["QEX_TIMING_POLICY"]["fields"].update(policyID="char[127]"), "padding before"),
            (lambda all: all["records"]["QEX_TIMING_POLICY"]["fields"].update(more="char"), "padding at its end"),
            (lambda all: all["records"]["QEX_TSQ_DATA_EX"]["fields"].pop("nonceLength"), "followed by its length"),
            (lambda all: all["functions"]["QEX_MD5_Init"].update(returns="QEX_MD4_CTX*"), "no type of a parameter"),
        ):
            with self.assertRaisesRegex(self.model.DescriptionError, complaint):
                self.changed(change)


if __name__ == "__main__":
    InterfaceTest.root, InterfaceTest.compiler = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main()
