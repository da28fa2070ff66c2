"""README's first C example compiles as strict C99 against the library, runs and succeeds.

usage: readme_example_test.py SOURCE_FOLDER LIBQEX_SO COMPILER [FLAG...]
"""

import os
import re
import subprocess
import sys
import tempfile


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
        ran = subprocess.run([os.path.join(scratch, "example")], cwd=scratch, timeout=60, check=False,
                             stdin=subprocess.DEVNULL)
        if ran.returncode != 0:
            print(f"the example ended with {ran.returncode}")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
