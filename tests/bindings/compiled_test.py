"""The bindings of compiled languages: their own tests, which compare the layout of records with what the C compiler says,
their format, and their example with an authority. What is expected of the example is what openssl says of the reply.

usage: compiled_test.py LANGUAGE SOURCE_FOLDER BUILD_FOLDER C_COMPILER LIBRARY TOOL     LANGUAGE: go, rust
"""

import os
import re
import subprocess
import sys
import time
import unittest

sys.dont_write_bytecode = True

STAMPED = b"data of the caller\n"


class Language:
    """How a language is built; everything it writes goes below `build`."""

    def __init__(self, source, build):
        self.folder, self.example, self.build = source, None, build
        self.environment = {}


class Go(Language):
    def __init__(self, source, build):
        super().__init__(f"{source}/bindings/go", build)
        self.example = f"{source}/examples/stamp.go"
        self.environment = {"GOPATH": f"{build}/path", "GOCACHE": f"{build}/cache", "GOFLAGS": "-mod=mod", "GOPROXY": "off",
                            "GOENV": "off", "CGO_ENABLED": "1"}
        self.checks = (["gofmt", "-l", ".", self.example], ["go", "vet", "./..."], ["go", "vet", self.example])
        self.tests = ["go", "test", "-count=1", "./..."]
        self.build_example = ["go", "build", "-o", f"{build}/stamp", self.example]
        self.program = f"{build}/stamp"


class Rust(Language):
    def __init__(self, source, build):
        super().__init__(f"{source}/bindings/rust", build)
        self.example = f"{source}/examples/stamp.rs"
        # The compiler beside this cargo: another installation may come first in PATH.
        compiler = os.path.dirname(os.environ["QEX_CARGO"])
        self.environment = {"CARGO_HOME": f"{build}/home", "CARGO_TARGET_DIR": f"{build}/target", "RUSTC": f"{compiler}/rustc",
                            "RUSTDOC": f"{compiler}/rustdoc", "RUSTFLAGS": "-Dwarnings", "RUSTDOCFLAGS": "-Dwarnings",
                            "CARGO_PROFILE_DEV_DEBUG": "0", "CARGO_INCREMENTAL": "0"}
        cargo = [os.environ["QEX_CARGO"], "--offline", "--quiet", "--locked"]
        self.checks = ()  # Debian's compiler comes without a formatter
        self.tests = [*cargo, "test"]
        self.build_example = [*cargo, "build", "--example", "stamp"]
        self.program = f"{build}/target/debug/examples/stamp"


class CompiledTest(unittest.TestCase):
    language = compiler = source = None

    @classmethod
    def setUpClass(cls):
        build = cls.language.build
        os.makedirs(build, exist_ok=True)
        sys.path[:0] = [f"{cls.source}/bindings", f"{cls.source}/tests/authority"]
        from authority_test import Running
        from generate import c_layout, model
        cls.running = Running
        program = c_layout.write(model.load(f"{cls.source}/bindings/interface.json"))
        subprocess.run([cls.compiler, "-std=c11", f"-I{cls.source}/api", "-xc", "-", "-o", f"{build}/layout"], input=program,
                       text=True, check=True, timeout=60)
        with open(f"{build}/layout.txt", "w", encoding="utf-8") as file:
            subprocess.run([f"{build}/layout"], stdout=file, check=True, timeout=60)
        cls.environment = {**os.environ, **cls.language.environment, "QEX_TEST_LAYOUT": f"{build}/layout.txt",
                           "CC": cls.compiler}
        cls.environment.pop("QEX_VERIFY_ESSCERTIDV2", None)

    def run_it(self, *command, status=0):
        """What a command prints, which is expected to end with `status`."""
        done = subprocess.run(command, cwd=self.language.folder, env=self.environment, capture_output=True, text=True,
                              check=False, timeout=280, errors="backslashreplace")
        self.assertEqual(done.returncode, status, done.stdout[-8000:] + done.stderr[-8000:])
        return done.stdout if status == 0 else done.stderr

    def test_FormatIsTheLanguagesOwn(self):
        for command in self.language.checks:
            self.assertEqual(self.run_it(*command), "")

    def test_OwnTestsPass(self):
        self.assertNotRegex(self.run_it(*self.language.tests), r"(?i)\bskip|[1-9]\d* ignored")

    def test_ExampleIsShort(self):
        with open(self.language.example, encoding="utf-8") as file:
            self.assertLess(len(file.readlines()), 80)

    def example(self, authority, name, roots, status):
        address = f"127.0.0.1:{authority.ready['socket_port']}"
        return self.run_it(self.language.program, name, address, roots, status=status)

    def test_ExampleDoesTheWholeJob(self):
        keys, data = f"{self.language.build}/keys", f"{self.language.build}/data"
        os.makedirs(keys, exist_ok=True)
        with open(data, "wb") as file:
            file.write(STAMPED)
        self.run_it(*self.language.build_example)
        with self.running(keys) as authority:
            said = self.example(authority, data, authority.ready["ca"], 0)
            openssl = {**os.environ, "OPENSSL_CONF": os.devnull}
            subprocess.run(["openssl", "ts", "-verify", "-in", f"{data}.tsr", "-queryfile", f"{data}.tsq", "-CAfile",
                            authority.ready["ca"]], check=True, capture_output=True, env=openssl, timeout=60)
            subprocess.run(["openssl", "ts", "-verify", "-in", f"{data}.tsr", "-data", data, "-CAfile",
                            authority.ready["ca"]], check=True, capture_output=True, env=openssl, timeout=60)
            text = subprocess.run(["openssl", "ts", "-reply", "-in", f"{data}.tsr", "-text"], check=True,
                                  capture_output=True, text=True, env=openssl, timeout=60).stdout
            month, day, clock, year, _ = re.search(r"Time stamp: (.*)", text)[1].split()
            number = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split().index(month) + 1
            serial = re.search(r"Serial number: 0x(\w+)", text)[1].rjust(2, "0")
            self.assertEqual(said, f"stamped at {year}{number:02}{int(day):02}{clock.replace(':', '')}Z under policy 1.2.3.4.1, "
                                   f"serial number 0x{serial}\n")
            # A root that did not sign: the authority's own certificate is in its place.
            os.remove(f"{data}.tsr")
            self.assertIn("stamp: ", self.example(authority, data, f"{self.source}/tests/data/samples/certificate_root.der", 1))
            self.assertFalse(os.path.exists(f"{data}.tsr"))
        with self.running(keys, "--stay-open") as authority:
            begun = time.monotonic()
            self.assertIn("stamped at", self.example(authority, data, authority.ready["ca"], 0))
            self.assertLess(time.monotonic() - begun, 20)  # it does not wait for the end of the connection
        with self.running(keys, "--reject", "timeNotAvailable", "--status-text", "no clock") as authority:
            self.assertIn("stamp: the authority refused: no clock (status 2)", self.example(authority, data, authority.ready["ca"], 1))


if __name__ == "__main__":
    name, source, build, CompiledTest.compiler, library, tool = sys.argv[1:7]
    del sys.argv[1:7]
    CompiledTest.source, CompiledTest.language = source, {"go": Go, "rust": Rust}[name](source, build)
    CompiledTest.language.environment.update(QEX_LIBRARY=library, QEX_TOOL=tool)
    unittest.main()
