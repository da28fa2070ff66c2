"""The C++ example of docs/cpp.md compiles as it stands and does what it says, on samples of openssl's.

usage: cpp_example_test.py SOURCE_FOLDER LIBQEX_SO COMPILER [FLAG...]
"""

import os
import re
import subprocess
import sys
import tempfile

MAIN = """
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>
static std::vector<std::byte> load(const char* name) {
  std::ifstream file(name, std::ios::binary);
  std::vector<std::byte> octets;
  for (std::istreambuf_iterator<char> it(file), end; it != end; ++it) octets.push_back(std::byte(*it));
  return octets;
}
int main(int, char** argv) {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  return show(load(argv[1]), load(argv[2]));
}
"""
# What `openssl ts -reply -text` prints of the reply: Nov 20 11:51:26.977 2026 GMT.
TIME = "20261120115126.977Z\n"


def main(root, library, compiler, *flags):
    with open(os.path.join(root, "docs", "cpp.md"), encoding="utf-8") as file:
        block = re.search(r"^```cpp\n(.*?)^```", file.read(), re.MULTILINE | re.DOTALL)
    folder = os.path.dirname(library)
    samples = os.path.join(root, "tests", "data", "samples")
    with tempfile.TemporaryDirectory(prefix="qex-cpp-") as scratch:
        with open(os.path.join(scratch, "example.cpp"), "w", encoding="utf-8") as file:
            file.write(block[1] + MAIN)
        subprocess.run([compiler, *flags, "-std=c++20", "-pedantic", "-Wall", "-Wextra", "-Wconversion", "-Wshadow",
                        "-Werror", "-I", os.path.join(root, "api"), "-I", os.path.join(root, "include"),
                        "example.cpp", "-o", "example", "-L", folder, "-lqex", f"-Wl,-rpath,{folder}"],
                       cwd=scratch, check=True)
        for reply, certificate, status, said in (
                ("reply_sha256_v2_cert.der", "certificate_tsa.der", 0, TIME),
                ("reply_sha256_v2_cert.der", "certificate_root.der", 1, "the signature does not verify\n"),
                ("reply_rejected.der", "certificate_tsa.der", 1, "the authority did not grant the request\n")):
            ran = subprocess.run([os.path.join(scratch, "example"), os.path.join(samples, reply),
                                  os.path.join(samples, certificate)], capture_output=True, text=True, check=False,
                                 timeout=60, stdin=subprocess.DEVNULL)
            if (ran.returncode, ran.stdout + ran.stderr) != (status, said):
                print(f"the example ended with {ran.returncode} over {reply}, {certificate}: {ran.stdout}{ran.stderr}")
                return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
