// The algorithm of the AVX2 form, over its instructions in plain C++. DigestForms runs the form itself where
// the processor has them.
#include <bit>

#include "tests/crypto/digest/form_cases.h"
#include "tests/support/plain_x86.h"

#define QEX_FORM_NAMESPACE qex::plain_x86::avx2
#include "crypto/digest/sha512_avx2.cpp"
#undef QEX_FORM_NAMESPACE

namespace {

TEST(SHA512Avx2, FormOverPlainInstructions) {
  if (std::endian::native != std::endian::little) GTEST_SKIP() << "vectors are loaded as on x86-64";
  form_cases::expect_form(form_cases::kSHA512, qex::plain_x86::avx2::SHA512CompressBlocks_avx2);
}

}  // namespace
