"""docs/tutorial.md: its commands, typed in order at one shell, print what it shows.

Times, digests, serial numbers and the address of the authority may differ; `...` stands for any text, on a line of its
own for any lines. The library is as good as installed: cc is QEX_TEST_CC, with the folders of qex.h and libqex.so.
"""

import datetime
import os
import re
import shutil
import subprocess
import unittest

import support
from support import ToolTest, environment, openssl

ROOT = os.path.join(support.HERE, "..", "..")
TUTORIAL = os.path.join(ROOT, "docs", "tutorial.md")
ADDRESS = "http://tsa.example/"

CONFIGURATION = """\
[ca]
default_ca = here
[here]
database = {folder}/index
crlnumber = {folder}/crlnumber
default_md = sha256
default_crl_days = 30
"""


def steps():
    """The commands of the tutorial, each with the lines shown below it."""
    with open(TUTORIAL, encoding="utf-8") as file:
        blocks = re.findall(r"^```\n(.*?)^```", file.read(), flags=re.M | re.S)
    found = []
    for line in "".join(blocks).splitlines():
        if line.startswith("$ "):
            found.append((line[2:], []))
        else:
            found[-1][1].append(line)
    return found


def pattern_of(lines):
    """What the lines stand for, as a regular expression."""
    pattern = ""
    for line in lines:
        if line == "...":
            pattern += r"(?:.*\n)*"
            continue
        text = re.escape(line).replace(r"\.\.\.", ".+")
        text = re.sub(r"\d{4}\\-\d\d\\-\d\dT\d\d:\d\d:\d\dZ", lambda _: r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", text)
        text = re.sub(r"at\\ \d{14}Z", r"at\ \\d{14}Z", text)
        text = re.sub(r"serial\\ 0x\w+", lambda _: r"serial\ 0x[0-9A-F]+", text)
        text = re.sub(r"sha256:[0-9a-f]{64}", lambda _: "sha256:[0-9a-f]{64}", text)
        pattern += text + r"\n"
    return pattern


@unittest.skipUnless(shutil.which("bash"), "bash is not installed")
class TutorialTest(ToolTest):
    def list_of_revoked(self, authority, name, entry=""):
        """A list of the authority's root, by openssl."""
        folder = self.path("ca")
        os.makedirs(folder, exist_ok=True)
        for file, text in (("index", entry), ("crlnumber", "01\n"), ("index.attr", ""),
                           ("ca.cnf", CONFIGURATION.format(folder=folder))):
            self.write(os.path.join(folder, file), text.encode())
        openssl("ca", "-gencrl", "-config", os.path.join(folder, "ca.cnf"), "-cert", authority.ca, "-keyfile",
                authority.ca[:-len("pem")] + "key", "-out", self.path("work/" + name))

    def prepare(self, authority):
        os.makedirs(self.path("work"))
        os.makedirs(self.path("bin"))
        os.symlink(support.QEX, self.path("bin/qex"))
        library = os.path.abspath(os.path.join(os.path.dirname(support.QEX), ".."))
        self.write(self.path("bin/cc"), f"""#!/bin/sh
exec {os.environ.get("QEX_TEST_CC", "/usr/bin/cc")} -I '{ROOT}/api' -L '{library}' "-Wl,-rpath,{library}" "$@"
""".encode())
        os.chmod(self.path("bin/cc"), 0o755)
        with open(os.path.join(ROOT, "README.md"), encoding="utf-8") as file:
            example = re.search(r"^```c\n(.*?)^```", file.read(), flags=re.M | re.S)[1]
        self.write(self.path("work/verify.c"), example.encode())
        shutil.copy(authority.ca, self.path("work/roots.pem"))
        serial = openssl("x509", "-in", authority.tsa, "-noout", "-serial").decode().strip().split("=")[1]
        revoked = (datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(hours=1)).strftime("%y%m%d%H%M%SZ")
        self.list_of_revoked(authority, "root.crl")
        self.list_of_revoked(authority, "compromised.crl", f"R\t360101000000Z\t{revoked},keyCompromise\t{serial}\tunknown\t/CN=x\n")

    def outputs(self, commands, authority):
        """What one shell prints for each command, errors included."""
        mark = "=== next ==="
        script = "".join(f"{command}\nstatus=$?; echo '{mark}'; (exit $status)\n" for command in commands)
        # Only where an address stands as a word of a command or of what is printed.
        done = subprocess.run(["bash", "--norc", "-c", "exec 2>&1\n" + script.replace(ADDRESS, authority.url)],
                              cwd=self.path("work"), capture_output=True, stdin=subprocess.DEVNULL, check=False, timeout=300,
                              env=environment(PATH=self.path("bin") + ":" + os.environ["PATH"], LC_ALL="C.UTF-8"))
        return done.stdout.decode().replace(authority.url, ADDRESS).split(mark + "\n")

    def test_EachCommandPrintsWhatIsShown(self):
        commands = steps()
        self.assertGreater(len(commands), 20)
        with self.authority() as authority:
            self.prepare(authority)
            outputs = self.outputs([command for command, _ in commands], authority)
        for (command, shown), output in zip(commands, outputs):
            with self.subTest(command=command):
                self.assertRegex(output, r"\A" + pattern_of(shown) + r"\Z")


if __name__ == "__main__":
    support.main()
