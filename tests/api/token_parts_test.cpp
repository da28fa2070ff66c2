// Two makers of tokens and attribute certificates, by hand and by the library's encoders, write the same
// octets.
#include "tests/support/exports.h"
#include "tests/support/library_signer.h"
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
    EXPECT_EQ(Verify(token), QEX_OK) << digest;
  }
}

TEST(Tokens, VerifyWhenTheLibraryItselfHasSigned) {
  TokenParts rsa;
  const Octets elsewhere = ByEncoders(rsa);
  rsa.signer().sign = SignedWithLibraryRsa(TestKey("authority"));
  EXPECT_EQ(ToHex(ByEncoders(rsa)), ToHex(elsewhere));

  const DsaKey key = TestDsaKey("1024/160 sha1");
  CertificateMaker authority;
  authority.subject_public_key_info = DsaPublicKeyInfo(key);
  const Octets certificate = authority.encode();
  for (const char* digest : {kSha1, kSha256}) {
    TokenParts dsa;
    dsa.certificates = {{PlainCertificate(certificate)}};
    dsa.signer().digest = digest;
    dsa.signer().signature_algorithm = digest == std::string(kSha1) ? kDsaWithSha1 : kDsaWithSha256;
    dsa.signer().certificate_ids = {{Digest(kSha1, certificate)}};
    dsa.signer().sign = SignedWithLibraryDsa(key);
    const Octets token = ByEncoders(dsa);
    EXPECT_EQ(Verify(token), QEX_OK) << digest;
    // A signature over something else.
    const Octets signature = SignedWithLibraryDsa(key)(digest, Octets(20, 0));
    dsa.signer().sign = [&](const std::string&, const Octets&) { return signature; };
    const Octets forged = ByEncoders(dsa);
    EXPECT_EQ(Verify(forged), QEX_E_SIGNATURE);
  }
}

}  // namespace
}  // namespace qex::test
