// Each form of the block functions that the processor can run.
#include "crypto/digest/forms.h"

#include "tests/crypto/digest/form_cases.h"
#include "tests/support/forms.h"

namespace {

template <class Table, class D>
void expect_forms(const char* name, const Table& forms, const D& digest) {
  qex::test::ForEachFormHere(name, forms, [&](const auto& form) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, form.name);
    form_cases::expect_form(digest, form.function);
  });
}

TEST(DigestForms, OfSha1) {
  expect_forms("SHA-1", qex::kSHA1Forms, form_cases::kSHA1);
}

TEST(DigestForms, OfSha256) {
  expect_forms("SHA-256", qex::kSHA256Forms, form_cases::kSHA256);
}

TEST(DigestForms, OfSha512) {
  expect_forms("SHA-512", qex::kSHA512Forms, form_cases::kSHA512);
}

}  // namespace
