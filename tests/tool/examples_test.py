"""The examples of the help and of the manual pages, each typed at a shell as it stands; only addresses of authorities and
HEX are replaced."""

import os
import re
import shutil
import subprocess
import unittest

import support
from support import ToolTest, environment, openssl, run, run_json


@unittest.skipUnless(shutil.which("bash"), "bash is not installed")
class ExamplesTest(ToolTest):
    KEY_OPTIONS = ("--tac",)

    def prepare(self, authority, command):
        """What the examples name: a document, stamps of it, and the authority's certificates."""
        self.write(self.path("report.pdf"), b"%PDF, more or less")
        os.makedirs(self.path("stamps"))
        os.makedirs(self.path(".config/fish/completions"))
        if command == "stamp":
            return
        run("stamp", self.path("report.pdf"), "--tsa", authority.url, check=0)
        shutil.copy(self.path("report.pdf.tsr"), self.path("stamps/1.tsr"))
        run("tac", "get", self.path("report.pdf.tsr"), "-o", self.path("kept.der"), check=0)
        shutil.copy(authority.ca, self.path("roots.pem"))
        shutil.copy(authority.tsa, self.path("tsa.pem"))
        for name in ("report.pdf.tsq",) if command == "request" else ("tsa.pem",) if command == "cert" else ():
            os.remove(self.path(name))

    def type_at_a_shell(self, line, authority):
        for pattern, address in ((r"https://one\.example/", "http://127.0.0.1:1/"), (r"https://\w+\.example/", authority.url),
                                 (r"\bHEX\b", "ab" * 64)):
            line = re.sub(pattern, address, line)
        path = self.path("bin")
        os.makedirs(path, exist_ok=True)
        if not os.path.exists(path + "/qex"):
            os.symlink(support.QEX, path + "/qex")
        return subprocess.run(["bash", "--norc", "-o", "pipefail", "-c", line], cwd=self.folder, capture_output=True,
                              stdin=subprocess.DEVNULL, check=False, timeout=120,
                              env=environment(PATH=path + ":" + os.environ["PATH"], HOME=self.folder))

    def test_EveryExampleWorks(self):
        commands = [row["name"] for row in run_json("help", check=0)["commands"]]
        with self.authority() as authority:
            for command in commands:
                shutil.rmtree(self.folder)
                os.mkdir(self.folder)
                self.prepare(authority, command)
                for example in run_json("help", command, check=0)["examples"]:
                    with self.subTest(line=example["line"]):
                        if command == "stamp" and "-o" not in example["line"]:
                            self.assertFalse(os.path.exists(self.path("report.pdf.tsr")))
                        done = self.type_at_a_shell(example["line"], authority)
                        self.assertEqual(done.returncode, 0, done.stderr.decode())
                        self.assertNotIn(b"error", done.stderr)
                        for output in re.findall(r"(?:-o|>) ([\w./~-]*\w)", example["line"]):
                            output = self.path(output.replace("~/", ""))
                            self.assertTrue(os.path.exists(output), output)
                            self.assertTrue(os.path.isdir(output) or os.path.getsize(output), output)

    def test_TheFilesAreWhatTheExamplesSay(self):
        # Without an attribute certificate, which openssl ts cannot read.
        with support.Authority(self.path("plain")) as authority:
            self.prepare(authority, "stamp")
            done = self.type_at_a_shell("qex stamp report.pdf --tsa https://one.example/ --tsa https://two.example/ -o stamps/",
                                        authority)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(sorted(os.listdir(self.path("stamps"))), ["report.pdf.tsq", "report.pdf.tsr"])
            self.assertIn(b"Granted", openssl("ts", "-reply", "-in", self.path("stamps/report.pdf.tsr"), "-text"))


if __name__ == "__main__":
    support.main()
