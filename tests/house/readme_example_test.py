"""README's first C example compiles as strict C99 against the library, verifies a reply over the data that it
stamps, and refuses it over other data, under another certificate and under none.

usage: readme_example_test.py SOURCE_FOLDER LIBQEX_SO COMPILER [FLAG...]
"""

import os
import re
import subprocess
import sys
import tempfile

# The data and a reply of tests/data/make_samples.sh.
STAMPED = b"the data to be stamped\n"
REPLY = "reply_sha256_v2_cert.der"


def main(root, library, compiler, *flags):
    readme = os.path.join(root, "README.md")
    with open(readme, encoding="utf-8") as file:
        block = re.search(r"^```c\n(.*?)^```", file.read(), re.MULTILINE | re.DOTALL)
    if block is None:
        print("README.md has no C example")
        return 1

    folder = os.path.dirname(library)
    with tempfile.TemporaryDirectory(prefix="qex-readme-") as scratch:
        with open(os.path.join(scratch, "example.c"), "w", encoding="utf-8") as file:
            file.write(block[1])
        compiled = subprocess.run(
            [compiler, *flags, "-std=c99", "-pedantic", "-Wall", "-Wextra", "-Werror", "-I",
             os.path.join(root, "api"), "-I", root, "example.c", "-o", "example", "-L", folder, "-lqex",
             f"-Wl,-rpath,{folder}"], cwd=scratch, check=False)
        if compiled.returncode != 0:
            print("the example does not compile")
            return 1
        samples = os.path.join(root, "tests", "data", "samples")
        for data, certificate, expected in ((STAMPED, "certificate_tsa.der", 0), (b"other", "certificate_tsa.der", 1),
                                            (STAMPED, "certificate_root.der", 1), (STAMPED, "absent.der", 1)):
            with open(os.path.join(scratch, "data"), "wb") as file:
                file.write(data)
            ran = subprocess.run([os.path.join(scratch, "example"), "data", os.path.join(samples, REPLY),
                                  os.path.join(samples, certificate)], cwd=scratch, timeout=60, check=False,
                                 stdin=subprocess.DEVNULL)
            if ran.returncode != expected:
                print(f"the example ended with {ran.returncode} over {data!r}, {certificate}")
                return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
