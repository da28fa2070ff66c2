// The way into a token: its signed data, the signed content, the first signer.
#include "api/token.h"

#include <gtest/gtest.h>

#include "tests/support/error_capture.h"
#include "tests/support/guarded.h"
#include "tests/support/octets.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

// A token as the library decodes it.
struct Read {
  explicit Read(const Octets& octets) : input(octets) {
    EXPECT_TRUE(EnsureAsnInit());
    const ErrorCapture quiet;
    decoded = DecodeToken(input.data(), input.size(), &token);
  }

  const Guarded input;
  DecodedToken token;
  bool decoded = false;
};

TEST(DecodeToken, ReportsHowItEndedAndSetsTheLastError) {
  const Octets whole = TokenMaker().encode();
  EXPECT_TRUE(Read(whole).decoded);
  EXPECT_EQ(lastAsnError, 0);
  EXPECT_FALSE(Read(Octets(whole.begin(), whole.end() - 1)).decoded);
  EXPECT_LT(lastAsnError, 0);
}

TEST(SignedDataOf, IsThatOfATokenAndNoneOfAnotherType) {
  const Read token(TokenMaker().encode());
  const SignedData* signedData = SignedDataOf(token.token.value);
  ASSERT_NE(signedData, nullptr);
  EXPECT_EQ(signedData->version, 3);

  const Octets data = der::sequence(der::oid(kData), der::context(0, der::octet_string({1, 2})));
  const Octets bare = der::sequence(der::oid(kSignedData));
  for (const Octets& other : {data, bare}) {
    const Read read(other);
    ASSERT_TRUE(read.decoded) << ToHex(other);
    EXPECT_EQ(SignedDataOf(read.token.value), nullptr);
    EXPECT_EQ(EContentOf(read.token.value), nullptr);
    EXPECT_EQ(FirstSignerInfo(read.token.value), nullptr);
  }
}

TEST(EContentOf, IsTheSignedContent) {
  TokenMaker maker;
  maker.tst_info = {1, 2, 3};
  const Read read(maker.encode());
  const AsnOcts* content = EContentOf(read.token.value);
  ASSERT_NE(content, nullptr);
  EXPECT_EQ(ToHex(content->octs, content->count), "010203");
}

TEST(EContentOf, IsNoneWhereItIsAbsentAndEmptyWhereItIsEmpty) {
  TokenMaker without;
  without.with_content = false;
  const Read absent(without.encode());
  ASSERT_TRUE(absent.decoded);
  EXPECT_EQ(EContentOf(absent.token.value), nullptr);

  TokenMaker with;
  with.tst_info = {};
  const Read read(with.encode());
  const AsnOcts* content = EContentOf(read.token.value);
  ASSERT_NE(content, nullptr);
  EXPECT_EQ(content->count, 0u);
}

TEST(FirstSignerInfo, IsTheFirstOfSeveral) {
  TokenMaker maker;
  maker.signers.resize(2);
  maker.signers[1].digest = kSha1;
  const Read read(maker.encode());
  const SignerInfo* signer = FirstSignerInfo(read.token.value);
  ASSERT_NE(signer, nullptr);
  const AsnOid& digest = signer->digestAlgorithm->algorithm;
  EXPECT_EQ(Octets(digest.octs, digest.octs + digest.count), der::oid_content(kSha256));
}

TEST(FirstSignerInfo, IsNoneInAnEmptySet) {
  TokenMaker maker;
  maker.signers.clear();
  const Read read(maker.encode());
  ASSERT_TRUE(read.decoded);
  EXPECT_EQ(FirstSignerInfo(read.token.value), nullptr);
}

TEST(SignedAttributesOf, AreThoseOfTheFirstSigner) {
  TokenMaker maker;
  maker.signers.resize(2);
  const Read read(maker.encode());
  const SignerInfo* signer = FirstSignerInfo(read.token.value);
  ASSERT_NE(signer, nullptr);
  EXPECT_EQ(SignedAttributesOf(read.token.value), signer->signedAttrs);
  ASSERT_NE(signer->signedAttrs, nullptr);
}

TEST(SignedAttributesOf, AreNoneWithoutASignerOrWhereTheyAreAbsent) {
  TokenMaker without_signer;
  without_signer.signers.clear();
  EXPECT_EQ(SignedAttributesOf(Read(without_signer.encode()).token.value), nullptr);
  TokenMaker without_attributes;
  without_attributes.signer().signed_attributes = Octets{};
  const Read read(without_attributes.encode());
  ASSERT_NE(FirstSignerInfo(read.token.value), nullptr);
  EXPECT_EQ(SignedAttributesOf(read.token.value), nullptr);
}

TEST(IsAttributeCertificate, HoldsForBothVersionsAlone) {
  const struct {
    AsnInt choice;
    bool expected;
  } rows[] = {{CertificateChoices::kX509Certificate, false},
              {CertificateChoices::kPkcs6Certificate, false},
              {CertificateChoices::kV1AttrCert, true},
              {CertificateChoices::kV2AttrCert, true},
              {CertificateChoices::kOther, false}};
  for (const auto& row : rows) {
    CertificateChoices element{};
    element.choice = row.choice;
    EXPECT_EQ(IsAttributeCertificate(element), row.expected) << row.choice;
  }
}

}  // namespace
}  // namespace qex::test
