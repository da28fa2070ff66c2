// The algorithm of the form with SHA instructions, over these instructions in plain C++. DigestForms runs the
// form itself where the processor has them.
#include <bit>

#include "tests/crypto/digest/form_cases.h"
#include "tests/support/plain_x86.h"

#define QEX_FORM_NAMESPACE qex::plain_x86::sha256
#include "crypto/digest/sha256_x86.cpp"
#undef QEX_FORM_NAMESPACE

namespace {

TEST(SHA256X86, FormOverPlainInstructions) {
  if (std::endian::native != std::endian::little) GTEST_SKIP() << "vectors are loaded as on x86-64";
  form_cases::expect_form(form_cases::kSHA256, qex::plain_x86::sha256::SHA256CompressBlocks_sha);
}

}  // namespace
