// Signature policy and signer attributes (RFC 5126 sections 5.8.1 and 5.11.3).
#include "asn1/cades.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const auto kSignaturePolicyRoutines = TOP_AS(SignaturePolicyIdentifier, SignaturePolicyIdentifierAttrParams);
const auto kSignerRoutines = TOP_AS(SignerAttribute, SignerAttributeAttrParams);
const Octets kHash = sequence(sample::sha256(), octet_string(hex("0102")));

TEST(SignaturePolicyIdentifier, IsAPolicyOrImplied) {
  const Octets policy = sequence(oid("1.2.3"), kHash);
  Decoded v(kSignaturePolicyRoutines, policy);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->choice, SignaturePolicyIdentifier::kPolicyId);
  EXPECT_EQ(ToHex(v->signaturePolicyId->sigPolicyIdentifier), "2a03");
  EXPECT_EQ(ToHex(v->signaturePolicyId->sigPolicyHash->hashValue), "0102");
  EXPECT_EQ(v->signaturePolicyId->sigPolicyQualifiers, nullptr);
  ExpectRoundTrip(kSignaturePolicyRoutines, policy);
  Decoded implied(kSignaturePolicyRoutines, hex("0500"));
  ASSERT_EQ(implied.outcome, kDecoded);
  EXPECT_EQ(implied->choice, SignaturePolicyIdentifier::kPolicyImplied);
  ExpectRoundTrip(kSignaturePolicyRoutines, hex("0500"));
  ExpectRefused(kSignaturePolicyRoutines, hex("3100"),
                site_code(kSignaturePolicyIdentifier, Site::Unexpected),
                "ERROR - unexpected tag in CHOICE\n");
}

TEST(SignaturePolicyId, TheHashIsMandatory) {
  ExpectRefused(NESTED(SignaturePolicyId), sequence(oid("1.2.3"), null()),
                site_code(kSignaturePolicyId, Site::Missing, 1));
  ExpectRoundTrip(NESTED(OtherHashAlgAndValue), kHash);
}

// The published qualifiers are not rows of the table.
TEST(SignaturePolicyId, QualifiersDecodeWhenTheirTypeIsRegistered) {
  const auto with = [](std::string_view id) {
    return sequence(oid("1.2.3"), kHash, sequence(sequence(oid(id), utf8_string("x"))));
  };
  ExpectRoundTrip(NESTED(SignaturePolicyId), with("2.5.4.3"));
  for (const char* id : {"1.2.840.113549.1.9.16.5.1", "1.2.840.113549.1.9.16.5.2"}) {
    ExpectRefused(NESTED(SignaturePolicyId), with(id), -44, "ERROR - ANY Decode routine is NULL\n");
  }
}

// Both tags are EXPLICIT: the whole list, or the whole certificate, is inside.
TEST(SignerAttribute, ClaimedAndCertifiedAttributes) {
  const Octets claimed = context(0, sequence(sample::content_type_attribute()));
  const Octets certified = context(1, sequence(sample::ac_fields()));
  const Octets both = sequence(certified, claimed);
  Decoded v(kSignerRoutines, both);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->count, 2);
  EXPECT_EQ(At<SignerAttributeChoice>(&v.value, 0)->choice, SignerAttributeChoice::kCertifiedAttributes);
  EXPECT_EQ(At<SignerAttributeChoice>(&v.value, 1)->choice, SignerAttributeChoice::kClaimedAttributes);
  EXPECT_EQ(At<SignerAttributeChoice>(&v.value, 1)->claimedAttributes->count, 1);
  ExpectRoundTrip(kSignerRoutines, both);
  ExpectRoundTrip(NESTED(SignerAttributeChoice), claimed);
  ExpectRoundTrip(kSignerRoutines, sequence());
}

TEST(SignerAttribute, Failures) {
  ExpectWrongTag(kSignerRoutines, "BDecSignerAttributeAttrParams: ERROR - wrong tag\n");
  ExpectRefused(kSignerRoutines, sequence(context(2)), site_code(kSignerAttribute, Site::Unexpected),
                "Unexpected Tag\n");
  ExpectRefused(kSignerRoutines, sequence(context(0, sample::content_type_attribute(), null())),
                site_code(kAttributeSequence, Site::Unexpected), "Unexpected Tag\n");
  ExpectRefused(kSignerRoutines, sequence(context(0, set())),
                site_code(kSignerAttributeChoice, Site::InnerTag, 0));
  ExpectRefused(kSignerRoutines, sequence(context(1, set())),
                site_code(kSignerAttributeChoice, Site::InnerTag, 1));
}

}  // namespace
}  // namespace qex::test
