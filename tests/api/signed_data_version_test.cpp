// The version of SignedData: each rule that decides it.
#include "api/signed_data_version.h"

#include <gtest/gtest.h>

#include "asn1/oids.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

using Kinds = std::vector<CertificateParts::Kind>;

using enum CertificateParts::Kind;

SignedData* signed_data(const ContentInfo* token) {
  return static_cast<SignedData*>(token->content.value);
}

// recomputed returns the version that a token gets that came with 77.
AsnInt recomputed(TokenParts parts) {
  Records records;
  parts.version = 77;
  ContentInfo* const token = Build(records, parts);
  RecomputeSignedDataVersion(*token);
  return signed_data(token)->version;
}

TEST(SignedDataVersion, FollowsTheLastAttributeOrOtherCertificate) {
  const struct {
    Kinds kinds;
    AsnInt version;
  } cases[] = {
      {{kV1}, 3},
      {{kPublishedV1}, 3},
      {{kV2}, 4},
      {{kOther}, 4},
      {{kV1, kV2}, 4},
      {{kV2, kV1}, 3},
      {{kV1, kOther}, 4},
      {{kOther, kV1}, 3},
      {{kV2, kPlain, kV1, kPlain}, 3},
      {{kPlain, kV1, kV1, kV2, kPlain}, 4},
      {{kOther, kV2}, 4},
  };
  for (const std::string type : {kTstInfo, kData}) {
    for (const auto& c : cases) {
      TokenParts parts;
      parts.encapsulated_type = type;
      parts.certificates = CertificatesOf(c.kinds);
      EXPECT_EQ(recomputed(parts), c.version) << type << ", case " << &c - cases;
    }
  }
}

TEST(SignedDataVersion, IsThreeForContentOtherThanData) {
  TokenParts parts;
  EXPECT_EQ(recomputed(parts), 3);
  parts.certificates.reset();
  EXPECT_EQ(recomputed(parts), 3);
  parts.certificates.emplace();
  EXPECT_EQ(recomputed(parts), 3);
  parts.signers.clear();
  EXPECT_EQ(recomputed(parts), 3);
  parts.encapsulated_type = "1.2.840.113549.1.7.1.1";  // begins as id-data does
  EXPECT_EQ(recomputed(parts), 3);
  parts.encapsulated_type = "1.2.840.113549.1.7";
  EXPECT_EQ(recomputed(parts), 3);
}

TEST(SignedDataVersion, OfDataFollowsTheSignerInfos) {
  const struct {
    std::vector<int32_t> signers;
    AsnInt version;
  } cases[] = {
      {{}, 1}, {{1}, 1}, {{1, 1, 1}, 1}, {{3}, 3}, {{1, 3}, 3}, {{3, 1}, 3}, {{1, 1, 0}, 3}, {{2}, 3},
  };
  for (const bool with_certificates : {true, false}) {
    for (const auto& c : cases) {
      TokenParts parts;
      parts.encapsulated_type = kData;
      if (!with_certificates) parts.certificates.reset();
      parts.signers.clear();
      for (const int32_t version : c.signers) {
        parts.signers.emplace_back();
        parts.signers.back().version = version;
      }
      EXPECT_EQ(recomputed(parts), c.version) << "case " << &c - cases;
    }
  }
}

TEST(SignedDataVersion, DoesNotFollowExtendedCertificates) {
  Records records;
  TokenParts parts;
  parts.encapsulated_type = kData;
  ContentInfo* const token = Build(records, parts);
  CertificateChoices* const extended = records.make<CertificateChoices>();
  extended->choice = CertificateChoices::kPkcs6Certificate;
  extended->extendedCertificate = records.make<ExtendedCertificate>();
  signed_data(token)->certificates = records.list(std::vector<CertificateChoices*>{extended});
  RecomputeSignedDataVersion(*token);
  EXPECT_EQ(signed_data(token)->version, 1);
}

TEST(SignedDataVersion, DoesNotFollowRevocationLists) {
  Records records;
  TokenParts parts;
  parts.encapsulated_type = kData;
  ContentInfo* const token = Build(records, parts);
  signed_data(token)->crls = records.list(std::vector<CertificateList*>{records.make<CertificateList>()});
  RecomputeSignedDataVersion(*token);
  EXPECT_EQ(signed_data(token)->version, 1);
}

TEST(SignedDataVersion, OfATokenWithoutSignedDataIsNothing) {
  Records records;
  ContentInfo* const token = records.make<ContentInfo>();
  token->contentType = records.oid(kSignedData);
  RecomputeSignedDataVersion(*token);
  EXPECT_EQ(token->content.value, nullptr);

  AsnOcts* const octets = records.make<AsnOcts>(records.text("no signed data"));
  token->contentType = records.oid(kData);
  token->content = records.any(token->contentType, octets);
  RecomputeSignedDataVersion(*token);
  EXPECT_EQ(ToHex(*octets), ToHex(der::octets("no signed data")));
}

}  // namespace
}  // namespace qex::test
