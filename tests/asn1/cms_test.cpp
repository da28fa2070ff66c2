// Signed data and what it carries (RFC 5652).
#include "asn1/cms.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"
#include "tests/support/codec_errors.h"

namespace qex::test {
namespace {

using namespace der;

const Octets kCrl =
    sequence(sequence(sample::sha256_with_rsa(), sample::name("CA"), utc_time("260101000000Z")),
             sample::sha256_with_rsa(), bit_string(hex("11")));

// --- ContentInfo -------------------------------------------------------------------------

TEST(ContentInfo, ContentIsOfTheTypeOfItsIdentifier) {
  const Octets data = hex("3010 06092a864886f70d010701 a003 040161");
  Decoded v(TOP(ContentInfo), data);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->contentType), "2a864886f70d010701");
  EXPECT_EQ(RowOf(v->content), 20);
  EXPECT_EQ(TextOf(*static_cast<const AsnOcts*>(v->content.value)), "a");
  ExpectRoundTrip(TOP(ContentInfo), data);
}

TEST(ContentInfo, ContentMayBeAbsent) {
  for (const char* type : {sample::kSignedDataId, "1.2.3"}) {
    Decoded v(TOP(ContentInfo), sequence(oid(type)));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->content.value, nullptr);
    ExpectRoundTrip(TOP(ContentInfo), sequence(oid(type)));
  }
}

TEST(ContentInfo, MayContainItself) {
  const Octets inner = sequence(oid(sample::kData), context(0, octet_string(hex("61"))));
  ExpectRoundTrip(TOP(ContentInfo), sequence(oid("1.3.6.1.4.1.311.3.2.1"), context(0, inner)));
}

TEST(ContentInfo, Failures) {
  ExpectWrongTag(TOP(ContentInfo), "BDecContentInfo: ERROR - wrong tag\n");
  ExpectRefused(TOP(ContentInfo), sequence(null()), site_code(kContentInfo, Site::Missing, 0));
  ExpectRefused(TOP(ContentInfo), sequence(oid(sample::kData), octet_string({})),
                site_code(kContentInfo, Site::Trailing));
  ExpectRefused(TOP(ContentInfo), sequence(oid(sample::kData), context(0, octet_string({})), null()),
                site_code(kContentInfo, Site::Length));
  // TSTInfo is not a content of its own: it is octets inside signed data.
  for (const char* type : {sample::kTSTInfoId, "1.2.840.113549.1.7.3", "1.2.840.113549.1.9.16.1.2"}) {
    ExpectRefused(TOP(ContentInfo), sequence(oid(type), context(0, sequence())), -44, kNoDecoder);
  }
  Decoded wrong(TOP(ContentInfo), sequence(oid(sample::kSignedDataId), context(0, set())));
  EXPECT_EQ(wrong.outcome,
            (Outcome{site_code(kSignedData, Site::WrongTag), "BDecSignedData: ERROR - wrong tag\n"}));
}

// --- SignedData --------------------------------------------------------------------------------

TEST(SignedData, AllFieldsAreFoundUnderTheirTags) {
  const Octets signed_data = sample::signed_data(context(0, sample::certificate()), context(1, kCrl));
  Decoded v(TOP(ContentInfo), sample::token(signed_data));
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(RowOf(v->content), 65);
  const auto& data = *static_cast<const SignedData*>(v->content.value);
  EXPECT_EQ(data.version, 3);
  EXPECT_EQ(data.digestAlgorithms->count, 1);
  EXPECT_EQ(ToHex(data.encapContentInfo->eContentType), "2a864886f70d0109100104");
  EXPECT_EQ(ToHex(data.encapContentInfo->eContent), "3003020101");
  EXPECT_EQ(data.certificates->count, 1);
  EXPECT_EQ(data.crls->count, 1);
  EXPECT_EQ(data.signerInfos->count, 1);
  ExpectRoundTrip(TOP(ContentInfo), sample::token(signed_data));
  ExpectRoundTrip(TOP(SignedData), signed_data);
}

TEST(SignedData, CertificatesAndCrlsMayBeAbsent) {
  for (const Octets& certificates : {Octets{}, context(0), context(0, sample::certificate())}) {
    for (const Octets& crls : {Octets{}, context(1), context(1, kCrl)}) {
      ExpectAnyForm(TOP(SignedData), sample::signed_data(certificates, crls));
    }
  }
}

// Three kinds of certificates, in their order.
TEST(SignedData, CertificatesKeepKindAndOrder) {
  const Octets signed_data = sample::signed_data(
      context(0, sample::certificate(), context(1, sample::ac_v1_fields()), context(2, sample::ac_fields())));
  Decoded v(TOP(SignedData), signed_data);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->certificates->count, 3);
  EXPECT_EQ(At<CertificateChoices>(v->certificates, 0)->choice, CertificateChoices::kX509Certificate);
  EXPECT_EQ(At<CertificateChoices>(v->certificates, 1)->choice, CertificateChoices::kV1AttrCert);
  EXPECT_EQ(At<CertificateChoices>(v->certificates, 2)->choice, CertificateChoices::kV2AttrCert);
  ExpectRoundTrip(TOP(SignedData), signed_data);
}

TEST(SignedData, Failures) {
  ExpectWrongTag(TOP(SignedData), "BDecSignedData: ERROR - wrong tag\n");
  const Octets fields[] = {integer(3), set(), sequence(oid("1.2.3"))};
  Octets before;
  for (size_t i = 0; i < 3; ++i) {
    ExpectRefused(TOP(SignedData), sequence(before, null()), site_code(kSignedData, Site::Missing, i));
    before = concat(before, fields[i]);
  }
  ExpectRefused(TOP(SignedData), sequence(before, context(0), context(1), null()),
                site_code(kSignedData, Site::Missing, 5));
  ExpectRefused(TOP(SignedData), sequence(before, set(), null()), site_code(kSignedData, Site::Length));
  // Another kind of revocation information than a CRL
  ExpectRefused(TOP(SignedData), sequence(before, context(1, context(1, oid("1.2.3"), null())), set()),
                site_code(kCertificateLists, Site::Unexpected), "Unexpected Tag\n");
}

TEST(EncapsulatedContentInfo, ContentMayBeAbsent) {
  ExpectRoundTrip(NESTED(EncapsulatedContentInfo), sequence(oid(sample::kTSTInfoId)));
  ExpectRoundTrip(NESTED(EncapsulatedContentInfo), hex("300a 0602 2a03 a004 0402 0500"));
  // The identifier does not decide how the octets are decoded.
  ExpectRoundTrip(NESTED(EncapsulatedContentInfo), hex("300a 0602 5504 a004 0402 ffff"));
}

// --- SignerInfo -----------------------------------------------------------------------------------

TEST(SignerInfo, AllFieldsAreFoundUnderTheirTags) {
  const Octets digest = sample::attribute("1.2.840.113549.1.9.4", octet_string(Octets(32, 0xEE)));
  const Octets signer =
      sample::signer_info(context(0, sample::content_type_attribute(), digest), context(1, digest));
  Decoded v(NESTED(SignerInfo), signer);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->version, 1);
  ASSERT_EQ(v->sid->choice, SignerIdentifier::kIssuerAndSerial);
  EXPECT_EQ(ToHex(v->sid->issuerAndSerialNumber->serialNumber), "09");
  EXPECT_EQ(RowOf(v->digestAlgorithm->parameters), 1);
  EXPECT_EQ(v->signedAttrs->count, 2);
  EXPECT_EQ(RowOf(v->signatureAlgorithm->parameters), 13);
  EXPECT_EQ(ToHex(v->signature), "5167");
  EXPECT_EQ(v->unsignedAttrs->count, 1);
  ExpectRoundTrip(NESTED(SignerInfo), signer);
  ExpectRoundTrip(NESTED(SignerInfos), set(signer, sample::signer_info()));
  // For the signature the attributes have the tag of a SET.
  EXPECT_EQ(Encoded([&](ExpBuf** b) { return BEncAttributes(b, v->signedAttrs); }),
            set(sample::content_type_attribute(), digest));
}

TEST(SignerInfo, AttributesMayBeAbsent) {
  for (const Octets& with : {Octets{}, context(0)}) {
    for (const Octets& without : {Octets{}, context(1)}) {
      ExpectAnyForm(NESTED(SignerInfo), sample::signer_info(with, without));
    }
  }
}

// A countersignature is not a row of the table.
TEST(SignerInfo, AnUnknownUnsignedAttributeIsRefused) {
  ExpectRefused(NESTED(SignerInfo),
                sample::signer_info({}, context(1, sample::attribute("1.2.840.113549.1.9.6", sequence()))),
                -44, kNoDecoder);
}

TEST(SignerIdentifier, IsRecognisedByItsTag) {
  const Octets serial = sequence(sample::name("CA"), integer(9));
  ExpectRoundTrip(NESTED(SignerIdentifier), serial);
  ExpectRoundTrip(NESTED(IssuerAndSerialNumber), serial);
  Decoded v(NESTED(SignerIdentifier), hex("a006 0401aa 0401bb"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->choice, SignerIdentifier::kSubjectKeyIdentifier);
  EXPECT_EQ(v.encoded(), hex("8002aabb"));
  ExpectRoundTrip(NESTED(SignerIdentifier), hex("8002aabb"));
  ExpectRefused(NESTED(SignerIdentifier), hex("8100"), site_code(kSignerIdentifier, Site::Unexpected),
                "ERROR - unexpected tag in CHOICE\n");
}

// --- Certificate choices --------------------------------------------------------------------------

TEST(CertificateChoices, EveryAlternativeHasItsTagAndNumber) {
  const Octets extended_info =
      sequence(integer(0), sample::certificate(), set(sample::content_type_attribute()));
  const Octets extended = concat(extended_info, sample::sha256_with_rsa(), bit_string(hex("22")));
  const Octets choices[] = {sample::certificate(), context(0, extended), context(1, sample::ac_v1_fields()),
                            context(2, sample::ac_fields()), context(3, oid("2.5.4.3"), utf8_string("x"))};
  for (AsnInt i = 0; i < 5; ++i) {
    Decoded v(NESTED(CertificateChoices), choices[i]);
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->choice, i);
    ExpectRoundTrip(NESTED(CertificateChoices), choices[i]);
  }
  Octets all;
  for (const Octets& choice : choices) all = concat(all, choice);
  ExpectRoundTrip(NESTED(CertificateSet), set(all));
  ExpectRoundTrip(NESTED(ExtendedCertificate), sequence(extended));
  ExpectRoundTrip(NESTED(ExtendedCertificateInfo), extended_info);
  ExpectRefused(NESTED(CertificateChoices), context(4), site_code(kCertificateChoices, Site::Unexpected),
                "ERROR - unexpected tag in CHOICE\n");
  ExpectRefused(NESTED(CertificateSet), set(context(4)), site_code(kCertificateSet, Site::Unexpected),
                "Unexpected Tag\n");
}

// On its own a version-2 attribute certificate starts with 0x30, not with the tag of the choice.
TEST(CertificateChoices, AnAttributeCertificateIsWrittenAloneUnderItsOwnTag) {
  Decoded v(NESTED(CertificateChoices), context(2, sample::ac_fields()));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(Encoded([&](ExpBuf** b) { return BEncAttributeCertificate(b, v->v2AttrCert); }),
            sequence(sample::ac_fields()));
}

// No certificate format is registered as such.
TEST(OtherCertificateFormat, AnUnknownFormatIsRefused) {
  ExpectRefused(NESTED(OtherCertificateFormat), sequence(oid("1.2.3"), null()), -44, kNoDecoder);
  ExpectRoundTrip(NESTED(OtherCertificateFormat), sequence(oid(sample::kSha256), null()));
}

}  // namespace
}  // namespace qex::test
