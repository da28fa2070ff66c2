// Simple attribute values, signing-certificate identifiers, policies, extension requests.
#include "asn1/ess.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const auto kV1 = TOP_AS(SigningCertificate, SigningCertAttrParams);
const auto kV2 = TOP_AS(SigningCertificateV2, SigningCertV2AttrParams);

TEST(AttrContentType, IsAnIdentifier) {
  const auto routines = TOP_AS(AttrContentType, AttrContentType);
  Decoded v(routines, hex("06022a03"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v.value), "2a03");
  ExpectRoundTrip(routines, hex("06022a03"));
  ExpectWrongTag(routines, "BDecAttrContentType: ERROR - wrong tag\n");
  ExpectWrongTag(routines, "BDecAttrContentType: ERROR - wrong tag\n", 0x26);
}

TEST(AttrMsgDigest, IsAnOctetString) {
  const auto routines = TOP_AS(AttrMsgDigest, AttrMsgDigest);
  ExpectRoundTrip(routines, hex("0403010203"));
  Decoded v(routines, hex("2480 0401aa 0401bb 0000"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), hex("0402aabb"));
  ExpectWrongTag(routines, "BDecAttrMsgDigest: ERROR - wrong tag\n");
}

TEST(AttrSigningTime, IsATime) {
  const auto routines = TOP_AS(Time, AttrSigningTime);
  ExpectRoundTrip(routines, utc_time("260101000000Z"));
  ExpectRoundTrip(routines, generalized_time("20260101000000Z"));
  ExpectRefused(routines, hex("1600"), site_code(kTime, Site::Unexpected),
                "ERROR - unexpected tag in CHOICE\n");
}

TEST(ExtensionRequest0, IsAListOfExtensions) {
  const auto routines = TOP_AS(ExtensionRequest0, ExtensionRequest0);
  ExpectRoundTrip(routines, sequence(sample::extension_list()));
  ExpectWrongTag(routines, "BDecExtensionRequest0: ERROR - wrong tag\n");
  ExpectRefused(routines, sequence(null()), site_code(kExtensionRequest0, Site::Unexpected),
                "Unexpected Tag\n");
}

TEST(IssuerSerial, NamesAndNumber) {
  Decoded v(NESTED(IssuerSerial), sample::issuer_serial("CA"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->issuer->count, 1);
  EXPECT_EQ(ToHex(v->serialNumber), "4d");
  ExpectRoundTrip(NESTED(IssuerSerial), sample::issuer_serial("CA"));
}

// The type of the same name in RFC 3281 has a third field; here there is none.
TEST(IssuerSerial, AnIssuerUidIsRefused) {
  ExpectRefused(NESTED(IssuerSerial), sequence(sample::issuer_serial_fields("CA"), bit_string(hex("01"))),
                site_code(kIssuerSerial, Site::Length));
}

TEST(SigningCertificate, CertificatesAndPolicies) {
  const Octets hash = octet_string(Octets(20, 0xAB));
  const Octets ids = sequence(sequence(hash), sequence(hash, sample::issuer_serial("CA")));
  for (const Octets& policies :
       {Octets{}, sequence(), sequence(sequence(oid("1.2.3")), sequence(oid("1.2.4")))}) {
    const Octets value = sequence(ids, policies);
    Decoded v(kV1, value);
    ASSERT_EQ(v.outcome, kDecoded);
    ASSERT_EQ(v->certs->count, 2);
    EXPECT_EQ(At<ESSCertID>(v->certs, 0)->issuerSerial, nullptr);
    EXPECT_NE(At<ESSCertID>(v->certs, 1)->issuerSerial, nullptr);
    EXPECT_EQ(At<ESSCertID>(v->certs, 1)->certHash.count, 20u);
    EXPECT_EQ(v->policies == nullptr, policies.empty());
    ExpectRoundTrip(kV1, value);
  }
}

TEST(SigningCertificate, Failures) {
  ExpectWrongTag(kV1, "BDecSigningCertAttrParams: ERROR - wrong tag\n");
  ExpectWrongTag(kV2, "BDecSigningCertV2AttrParams: ERROR - wrong tag\n");
  ExpectRefused(kV1, sequence(null()), site_code(kSigningCertificate, Site::Missing, 0));
  ExpectRefused(kV1, sequence(sequence(null())), site_code(kESSCertIDs, Site::Unexpected),
                "Unexpected Tag\n");
  ExpectRefused(kV2, sequence(sequence(), null()), site_code(kSigningCertificateV2, Site::Trailing));
  ExpectRefused(kV2, sequence(sequence(sequence(null()))), site_code(kESSCertIDv2, Site::Missing, 1));
}

// The DEFAULT is not filled in, and one that is written out is written back.
TEST(SigningCertificateV2, AnAbsentHashAlgorithmStaysAbsent) {
  const Octets hash = octet_string(Octets(32, 0xCD));
  const Octets without = sequence(hash), written_out = sequence(algorithm(sample::kSha256), hash),
               other =
                   sequence(algorithm("2.16.840.1.101.3.4.2.3", null()), hash, sample::issuer_serial("CA"));
  Decoded v(kV2, sequence(sequence(without, written_out, other)));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(At<ESSCertIDv2>(v->certs, 0)->hashAlgorithm, nullptr);
  EXPECT_NE(At<ESSCertIDv2>(v->certs, 1)->hashAlgorithm, nullptr);
  EXPECT_NE(At<ESSCertIDv2>(v->certs, 2)->issuerSerial, nullptr);
  ExpectRoundTrip(kV2, sequence(sequence(without, written_out, other)));
  ExpectRoundTrip(kV2, sequence(sequence(other), sequence(sequence(oid("1.2.3")))));
}

TEST(PolicyInformation, QualifiersDecodeWhenTheirTypeIsRegistered) {
  const Octets registered = sequence(oid("1.2.3"), sequence(sequence(oid("2.5.4.3"), utf8_string("x"))));
  Decoded v(NESTED(PolicyInformation), registered);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(RowOf(At<PolicyQualifierInfo>(v->policyQualifiers, 0)->qualifier), 41);
  ExpectRoundTrip(NESTED(PolicyInformation), registered);
  ExpectRoundTrip(NESTED(PolicyInformation), sequence(oid("1.2.3")));
}

// The published qualifiers, a CPS pointer and a user notice, are not registered.
TEST(PolicyInformation, PublishedQualifiersAreRefused) {
  for (const char* id : {"1.3.6.1.5.5.7.2.1", "1.3.6.1.5.5.7.2.2"}) {
    ExpectRefused(NESTED(PolicyInformation),
                  sequence(oid("1.2.3"), sequence(sequence(oid(id), ia5_string("http://a")))), -44,
                  "ERROR - ANY Decode routine is NULL\n");
  }
}

}  // namespace
}  // namespace qex::test
