"""The code of docs/embedding.md, all blocks of a language together, compiles as it stands and does what it says: its
requests are read by openssl, its check accepts a reply of openssl's and refuses others.

usage: embedding_test.py SOURCE_FOLDER LIBQEX_SO C_COMPILER CXX_COMPILER [FLAG...]
"""

import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

# REQUEST REPLY CERTIFICATE: the request of the reply; REQUEST: a request for the data is written there.
C_MAIN = """
#include <stdio.h>
static uint8_t files[3][1 << 16];
static uint32_t load(const char* name, uint8_t* octets) {
  FILE* file = fopen(name, "rb");
  size_t length = file == NULL ? 0 : fread(octets, 1, sizeof files[0], file);
  if (file != NULL) fclose(file);
  return (uint32_t)length;
}
int main(int argc, char** argv) {
  static const uint8_t nonce[8] = {0x41, 2, 3, 4, 5, 6, 7, 8};
  uint8_t digest[32], *token = NULL, out[512];
  QEX_TSQ_DATA_EX request = {.size = sizeof request};
  QEX_TSTINFO_EX info;
  if (argc == 2) {
    QEX_SHA256_CTX* hash = QEX_SHA256_Init();
    QEX_SHA256_Update(hash, (const uint8_t*)"abc", 3);
    QEX_SHA256_Final(hash, digest);
    FILE* file = fopen(argv[1], "wb");
    fwrite(out, 1, make_request(&request, digest, nonce, out, sizeof out), file);
    return fclose(file);
  }
  uint32_t length, sizes[3];
  for (int i = 0; i < 3; ++i) sizes[i] = load(argv[i + 1], files[i]);
  int32_t code = QEX_DecodeTSQ_Ex(&request, files[0], sizes[0]);
  if (code == QEX_OK) code = token_of(files[1], sizes[1], &token, &length);
  if (code == QEX_OK) code = check_token(token, length, files[2], sizes[2], &request, &info);
  printf("%d %s", (int)code, code == QEX_OK ? info.genTime : "");
  free(token);
  return 0;
}
"""
CXX_MAIN = """
#include <fstream>
#include <iostream>
#include <iterator>
static std::vector<std::byte> load(const char* name) {
  std::ifstream file(name, std::ios::binary);
  std::vector<std::byte> octets;
  for (std::istreambuf_iterator<char> it(file), end; it != end; ++it) octets.push_back(std::byte(*it));
  return octets;
}
int main(int argc, char** argv) {
  if (argc == 2) {
    const std::uint8_t nonce[8] = {0x41, 2, 3, 4, 5, 6, 7, 8};
    const auto octets = make_request(std::as_bytes(std::span("abc", 3)), std::as_bytes(std::span(nonce)))
                            .and_then([](const qex::request& request) { return qex::encode_request(request); })
                            .value();
    std::ofstream(argv[1], std::ios::binary).write(reinterpret_cast<const char*>(octets.data()), std::ssize(octets));
    return 0;
  }
  const auto info = check_reply(load(argv[2]), load(argv[3]), qex::decode_request(load(argv[1])).value());
  std::cout << (info ? 0 : int(info.error().code)) << ' ' << (info ? info->time() : "");
}
"""
MISMATCH, REJECTED, SIGNATURE = -16, -9, -8


class EmbeddingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="qex-embedding-")
        with open(os.path.join(cls.root, "docs", "embedding.md"), encoding="utf-8") as file:
            text = file.read()
        folder = os.path.dirname(cls.library)
        cls.programs = []
        for compiler, suffix, standard, main in ((cls.compilers[0], "c", "c99", C_MAIN),
                                                 (cls.compilers[1], "cpp", "c++20", CXX_MAIN)):
            blocks = re.findall(rf"^```{suffix}\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
            source = os.path.join(cls.scratch.name, "program." + suffix)
            with open(source, "w", encoding="utf-8") as file:
                file.write("\n".join(blocks) + main)
            cls.programs.append(source + ".out")
            subprocess.run([compiler, *cls.flags, "-std=" + standard, "-pedantic", "-Wall", "-Wextra", "-Wconversion",
                            "-Wshadow", "-Werror", "-I", os.path.join(cls.root, "api"), "-I",
                            os.path.join(cls.root, "include"), source, "-o", cls.programs[-1], "-L", folder, "-lqex",
                            f"-Wl,-rpath,{folder}"], check=True)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def run_each(self, *arguments):
        environment = {**os.environ, "QEX_VERIFY_ESSCERTIDV2": "1"}
        for program in self.programs:
            yield subprocess.run([program, *arguments], check=True, capture_output=True, text=True, timeout=60,
                                 env=environment).stdout

    def test_RequestsAreReadByOpenssl(self):
        if not shutil.which("openssl"):
            self.skipTest("openssl is not installed")
        request = os.path.join(self.scratch.name, "request")
        for _ in self.run_each(request):
            text = subprocess.run(["openssl", "ts", "-query", "-in", request, "-text"], check=True, text=True,
                                  capture_output=True).stdout
            dump = "".join(re.sub(r"[ -]", "", line[11:58]) for line in re.findall(r"^    \d.*", text, re.MULTILINE))
            self.assertEqual(dump, hashlib.sha256(b"abc").hexdigest())
            self.assertIn("Hash Algorithm: sha256", text)
            self.assertIn("Nonce: 0x4102030405060708", text)
            self.assertIn("Certificate required: yes", text)
            os.remove(request)

    def test_RepliesAreChecked(self):
        def sample(name):
            return os.path.join(self.root, "tests", "data", "samples", name)

        # The time is what `openssl ts -reply -text` prints: Nov 20 11:51:26.977 2026 GMT.
        for request, reply, certificate, said in (
                ("request_sha256_cert", "reply_sha256_v2_cert", "certificate_tsa", "0 20261120115126.977Z"),
                ("request_sha256_cert", "reply_sha256_v2_cert", "certificate_root", f"{SIGNATURE} "),
                ("request_sha256_policy", "reply_sha256_v2_cert", "certificate_tsa", f"{MISMATCH} "),
                ("request_sha512_cert", "reply_sha256_v2_cert", "certificate_tsa", f"{MISMATCH} "),
                ("request_sha256_bare", "reply_sha256_v2_cert", "certificate_tsa", f"{MISMATCH} "),
                ("request_md5", "reply_rejected", "certificate_tsa", f"{REJECTED} "),
                ("request_sha256_cert", "reply_sha256_v2_cert", "absent", "-1 ")):
            with self.subTest(request=request, reply=reply, certificate=certificate):
                answers = list(self.run_each(*(sample(name + ".der") for name in (request, reply, certificate))))
                self.assertEqual(answers, [said] * 2)


if __name__ == "__main__":
    EmbeddingTest.root, EmbeddingTest.library = sys.argv[1:3]
    EmbeddingTest.compilers, EmbeddingTest.flags = sys.argv[3:5], sys.argv[5:]
    del sys.argv[1:]
    unittest.main()
