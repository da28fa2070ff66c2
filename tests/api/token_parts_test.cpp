// Two makers of tokens and attribute certificates, by hand and by the library's encoders, write the same
// octets.
#include "tests/support/token_samples.h"

#include <gtest/gtest.h>

namespace qex::test {
namespace {

TEST(AttributeCertificates, OfBothMakersAreTheSame) {
  for (const auto& [name, parts] : SampleAttributeCertificates()) {
    EXPECT_EQ(ToHex(ByEncoders(parts)), ToHex(ByHand(parts))) << name;
  }
}

TEST(Tokens, OfBothMakersAreTheSame) {
  for (const auto& [name, parts] : SampleTokens()) {
    EXPECT_EQ(ToHex(ByEncoders(parts)), ToHex(ByHand(parts))) << name;
  }
}

TEST(Tokens, VerifyWithEveryDigest) {
  for (const char* digest : {kMd5, kSha1, kSha256, kSha384, kSha512}) {
    TokenParts parts;
    parts.signer().digest = digest;
    const Octets token = ByEncoders(parts);
    EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), nullptr, 0), QEX_OK) << digest;
  }
}

}  // namespace
}  // namespace qex::test
