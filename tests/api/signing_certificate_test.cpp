// The check of one certificate against the identifiers of a token, below the exports.
#include "api/signing_certificate.h"

#include <gtest/gtest.h>

#include <string>

#include "api/token.h"
#include "tests/support/fresh_process.h"
#include "tests/support/guarded.h"
#include "tests/support/naming_tokens.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

// check decodes a token and looks for `certificate` in its attribute.
int32_t check(const Octets& token, const Octets& certificate, Identifiers which) {
  EXPECT_TRUE(EnsureAsnInit());
  const Guarded input(token);
  DecodedToken decoded;
  EXPECT_TRUE(DecodeToken(input.data(), input.size(), &decoded));
  const Guarded octets(certificate);
  ExpBuf buffer;
  ExpBufWrapData(&buffer, octets.data(), octets.size());
  return CheckSigningCertificate(decoded.value, &buffer, which);
}

TEST(CheckSigningCertificate, LooksAtTheFirstIdentifierOrAtTheOthers) {
  const Octets a = der::octets("a"), b = der::octets("b"), c = der::octets("c"), d = der::octets("d");
  const Octets token = TokenNaming({NameV1(a), NameV1(b), NameV1(c)}, {});
  EXPECT_EQ(check(token, a, Identifiers::First), QEX_OK);
  EXPECT_EQ(check(token, b, Identifiers::First), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, c, Identifiers::First), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, a, Identifiers::Others), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, b, Identifiers::Others), QEX_OK);
  EXPECT_EQ(check(token, c, Identifiers::Others), QEX_OK);
  EXPECT_EQ(check(token, d, Identifiers::First), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, d, Identifiers::Others), QEX_E_MISMATCH);
}

TEST(CheckSigningCertificate, OneIdentifierDoesNotCountAsTheSecond) {
  const Octets a = der::octets("a");
  EXPECT_EQ(check(TokenNaming({NameV1(a)}, {}), a, Identifiers::Others), QEX_E_MISMATCH);
  EXPECT_EQ(check(TokenNaming({NameV1(a), NameV1(a)}, {}), a, Identifiers::Others), QEX_OK);
}

TEST(CheckSigningCertificate, WithoutSignerAttributesOrIdentifierItIsADecodeFailure) {
  const Octets a = der::octets("a");
  for (const Identifiers which : {Identifiers::First, Identifiers::Others}) {
    EXPECT_EQ(check(der::sequence(der::oid(kSignedData)), a, which), QEX_E_DECODE);
    TokenMaker no_signer;
    no_signer.signers.clear();
    EXPECT_EQ(check(no_signer.encode(), a, which), QEX_E_DECODE);
    TokenMaker no_attributes;
    no_attributes.signer().signed_attributes = Octets{};
    EXPECT_EQ(check(no_attributes.encode(), a, which), QEX_E_DECODE);
    TokenMaker empty_attributes;
    empty_attributes.signer().signed_attributes = der::context(0);
    EXPECT_EQ(check(empty_attributes.encode(), a, which), QEX_E_DECODE);
    EXPECT_EQ(check(TokenNaming({}, {}), a, which), QEX_E_DECODE);
    EXPECT_EQ(check(TokenNaming({}, {NameV2(kSha256, a)}), a, which), QEX_E_DECODE);
  }
}

TEST(CheckSigningCertificate, SecondVersionLooksAtTheFirstIdentifierOrAtTheOthers) {
  InFreshProcess("1", [] {
    const Octets a = der::octets("a"), b = der::octets("b"), c = der::octets("c");
    const Octets token = TokenNaming({}, {NameV2(kSha256, a), NameV2(kSha384, b), NameV2(kSha1, c)});
    EXPECT_EQ(check(token, a, Identifiers::First), QEX_OK);
    EXPECT_EQ(check(token, b, Identifiers::First), QEX_E_MISMATCH);
    EXPECT_EQ(check(token, a, Identifiers::Others), QEX_E_MISMATCH);
    EXPECT_EQ(check(token, b, Identifiers::Others), QEX_OK);
    EXPECT_EQ(check(token, c, Identifiers::Others), QEX_E_MISMATCH);
  });
}

TEST(MatchCertHashV2, TakesTheSha2DigestsAndTheirDefault) {
  const Octets data = der::octets("the certificate");
  ExpBuf buffer;
  ExpBufWrapData(&buffer, data.data(), data.size());
  for (const char* digest : {kSha256, kSha384, kSha512, kSha1, kMd5, "1.3.36.3.2.1", "1.2.3"}) {
    const Octets contents = der::oid_content(digest);
    const AlgorithmIdentifier algorithm{OidOf(contents), {}};
    Octets hash = Digest(digest, data);
    const bool sha2 =
        digest == std::string(kSha256) || digest == std::string(kSha384) || digest == std::string(kSha512);
    EXPECT_EQ(MatchCertHashV2({uint32_t(hash.size()), hash.data()}, &buffer, &algorithm), sha2) << digest;
    EXPECT_EQ(MatchCertHashV2({uint32_t(hash.size()), hash.data()}, &buffer, nullptr),
              digest == std::string(kSha256))
        << digest;
  }
}

TEST(MatchCertHashV2, NoHashMatchesNoDigest) {
  const Octets data = der::octets("the certificate");
  ExpBuf buffer;
  ExpBufWrapData(&buffer, data.data(), data.size());
  const Octets unknown = der::oid_content("1.2.3");
  const AlgorithmIdentifier algorithm{OidOf(unknown), {}};
  uint8_t nothing = 0;
  EXPECT_FALSE(MatchCertHashV2({0, &nothing}, &buffer, &algorithm))
      << "an unknown digest has no octets either";
}

// The exports look for signed data themselves, with codes of their own.
TEST(FindSigningCertificate, TokenWithoutSignedDataHasNone) {
  EXPECT_TRUE(EnsureAsnInit());
  uint32_t length = 7;
  const Certificate* certificate = nullptr;
  EXPECT_EQ(FindSigningCertificate(ContentInfo{}, nullptr, &length, &certificate), QEX_E_NOCERT);
  EXPECT_EQ(length, 7u);
  EXPECT_EQ(certificate, nullptr);
}

}  // namespace
}  // namespace qex::test
