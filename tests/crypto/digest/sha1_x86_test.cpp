// The algorithm of the form with SHA instructions, over these instructions in plain C++. DigestForms runs the
// form itself where the processor has them.
#include <bit>

#include "tests/crypto/digest/form_cases.h"
#include "tests/support/plain_x86.h"

#define QEX_FORM_NAMESPACE qex::plain_x86::sha1
#include "crypto/digest/sha1_x86.cpp"
#undef QEX_FORM_NAMESPACE

namespace {

TEST(SHA1X86, FormOverPlainInstructions) {
  if (std::endian::native != std::endian::little) GTEST_SKIP() << "vectors are loaded as on x86-64";
  form_cases::expect_form(form_cases::kSHA1, qex::plain_x86::sha1::SHA1CompressBlocks_sha);
}

}  // namespace
