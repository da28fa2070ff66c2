// Attribute certificates (RFC 3281 section 4.1) and their version-1 form (RFC 5652 section 12.2).
#include "asn1/attrcert.h"

#include "asn1/cms.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

TEST(ObjectDigestInfo, TypeIsEnumerated) {
  const Octets info = sequence(hex("0a0102"), oid("1.2.3"), sample::sha256(), bit_string(hex("ff00")));
  Decoded v(NESTED(ObjectDigestInfo), info);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->digestedObjectType, 2);
  EXPECT_EQ(ToHex(v->otherObjectTypeID), "2a03");
  EXPECT_EQ(v->objectDigest.count, 16u);
  ExpectRoundTrip(NESTED(ObjectDigestInfo), info);
  ExpectRoundTrip(NESTED(ObjectDigestInfo), sequence(sample::object_digest_info_fields()));
  ExpectRefused(NESTED(ObjectDigestInfo), sequence(integer(0), sample::sha256(), bit_string({})),
                site_code(kObjectDigestInfo, Site::Missing, 0));
}

TEST(Holder, EveryFieldMayBeAbsent) {
  const Octets fields[] = {context(0, sample::issuer_serial_fields("CA")),
                           context(1, sample::directory_name("x")),
                           context(2, sample::object_digest_info_fields())};
  for (unsigned chosen = 0; chosen < 8; ++chosen) {
    Octets content;
    for (unsigned i = 0; i < 3; ++i) {
      if ((chosen >> i & 1) != 0) content = concat(content, fields[i]);
    }
    Decoded v(NESTED(Holder), sequence(content));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->baseCertificateID != nullptr, (chosen & 1) != 0);
    EXPECT_EQ(v->entityName != nullptr, (chosen & 2) != 0);
    EXPECT_EQ(v->objectDigestInfo != nullptr, (chosen & 4) != 0);
    ExpectRoundTrip(NESTED(Holder), sequence(content));
  }
  ExpectRefused(NESTED(Holder), sequence(context(3)), site_code(kHolder, Site::Trailing));
}

// issuerName has its own tag, the others [0] and [1].
TEST(V2Form, EveryFieldMayBeAbsent) {
  const Octets fields[] = {sample::general_names("x"), context(0, sample::issuer_serial_fields("CA")),
                           context(1, sample::object_digest_info_fields())};
  for (unsigned chosen = 0; chosen < 8; ++chosen) {
    Octets content;
    for (unsigned i = 0; i < 3; ++i) {
      if ((chosen >> i & 1) != 0) content = concat(content, fields[i]);
    }
    ExpectRoundTrip(NESTED(V2Form), sequence(content));
    ExpectRoundTrip(NESTED(AttCertIssuer), context(0, content));
  }
}

TEST(AttCertIssuer, IsRecognisedByItsTag) {
  Decoded v1(NESTED(AttCertIssuer), sample::general_names("x"));
  ASSERT_EQ(v1.outcome, kDecoded);
  EXPECT_EQ(v1->choice, AttCertIssuer::kV1Issuer);
  EXPECT_EQ(v1->v1Form->count, 1);
  ExpectRoundTrip(NESTED(AttCertIssuer), sample::general_names("x"));
  Decoded v2(NESTED(AttCertIssuer), context(0, sample::general_names("x")));
  ASSERT_EQ(v2.outcome, kDecoded);
  EXPECT_EQ(v2->choice, AttCertIssuer::kV2Issuer);
  EXPECT_EQ(v2->v2Form->issuerName->count, 1);
  ExpectRefused(NESTED(AttCertIssuer), hex("a100"), site_code(kAttCertIssuer, Site::Unexpected),
                "ERROR - unexpected tag in CHOICE\n");
}

TEST(AttCertValidityPeriod, TimesAreGeneralized) {
  ExpectRoundTrip(NESTED(AttCertValidityPeriod), sample::ac_validity());
  const Octets utc = utc_time("260101000000Z"), generalized = generalized_time("20260101000000Z");
  ExpectRefused(NESTED(AttCertValidityPeriod), sequence(utc, generalized),
                site_code(kAttCertValidityPeriod, Site::Missing, 0));
  ExpectRefused(NESTED(AttCertValidityPeriod), sequence(generalized, utc),
                site_code(kAttCertValidityPeriod, Site::Missing, 1));
}

TEST(AttributeCertificate, AllFieldsAreFoundUnderTheirTags) {
  const Octets certificate = sequence(sample::ac_fields());
  Decoded v(TOP(AttributeCertificate), certificate);
  ASSERT_EQ(v.outcome, kDecoded);
  const AttributeCertificateInfo& info = *v->acinfo;
  EXPECT_EQ(info.version, 1);
  EXPECT_EQ(ToHex(info.holder->baseCertificateID->serialNumber), "4d");
  EXPECT_EQ(info.issuer->choice, AttCertIssuer::kV2Issuer);
  EXPECT_EQ(RowOf(info.signature->parameters), 8);
  EXPECT_EQ(ToHex(info.serialNumber), "00fedcba9876543210");
  EXPECT_EQ(TextOf(info.attrCertValidityPeriod->notBeforeTime), "20260101000000Z");
  EXPECT_EQ(TextOf(info.attrCertValidityPeriod->notAfterTime), "20270101000000Z");
  EXPECT_EQ(info.attributes->count, 1);
  EXPECT_EQ(info.issuerUniqueID.octs, nullptr);
  EXPECT_EQ(info.extensions, nullptr);
  EXPECT_EQ(ToHex(v->signatureValue.octs, 4), "0badcafe");
  ExpectRoundTrip(TOP(AttributeCertificate), certificate);
}

Octets info(const Octets& behind_attributes) {
  return sequence(integer(1), sequence(), sample::general_names("x"), sample::sha256_with_rsa(), integer(1),
                  sample::ac_validity(), sequence(), behind_attributes);
}

// The unique identifier and the extensions carry no context tag, unlike those of a certificate.
TEST(AttributeCertificateInfo, OptionalFieldsHaveTheirOwnTags) {
  const Octets uid = bit_string(hex("80"), 7), extensions = sequence(sample::extension_list());
  for (const Octets& rest : {Octets{}, uid, extensions, concat(uid, extensions)}) {
    ExpectRoundTrip(NESTED(AttributeCertificateInfo), info(rest));
  }
  Decoded v(NESTED(AttributeCertificateInfo), info(concat(uid, extensions)));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->issuerUniqueID.count, 1u);
  EXPECT_EQ(v->extensions->count, 2);
  ExpectRefused(NESTED(AttributeCertificateInfo), info(context(3, extensions)),
                site_code(kAttributeCertificateInfo, Site::Trailing));
}

// RFC 3281 has no default for the version.
TEST(AttributeCertificateInfo, TheVersionIsMandatory) {
  ExpectRefused(NESTED(AttributeCertificateInfo), sequence(sequence()),
                site_code(kAttributeCertificateInfo, Site::Missing, 0));
}

TEST(AttributeCertificate, Failures) {
  ExpectWrongTag(TOP(AttributeCertificate), "BDecAttributeCertificate: ERROR - wrong tag\n", 0xA2);
  ExpectRefused(TOP(AttributeCertificate), sequence(info({}), sample::sha256_with_rsa(), null()),
                site_code(kAttributeCertificate, Site::Missing, 2));
  ExpectRefused(TOP(AttributeCertificate), sequence(sample::ac_v1_fields()),
                site_code(kAttributeCertificateInfo, Site::Missing, 0));
}

// --- The version-1 place of a certificate set ---------------------------------------------

struct SubjectForm {
  const char* name;
  Octets fields;
  bool version;
  AsnInt subject;
};

std::vector<SubjectForm> forms() {
  const Octets serial = context(0, sample::issuer_serial("CA")),
               names = context(1, sample::general_names("x"));
  return {
      {"RFC 3281", sample::ac_fields(), true, AttCertSubject::kRfc3281Holder},
      {"baseCertificateID", sample::ac_v1_fields({}, serial), false, AttCertSubject::kBaseCertificateID},
      {"subjectName", sample::ac_v1_fields({}, names), false, AttCertSubject::kSubjectName},
      {"version written out", sample::ac_v1_fields(integer(0), names), true, AttCertSubject::kSubjectName},
      {"holder without a version", sample::ac_v1_fields({}, sequence()), false,
       AttCertSubject::kRfc3281Holder},
  };
}

TEST(AttributeCertificateV1, EveryFormIsWrittenBackAsItCame) {
  for (const SubjectForm& form : forms()) {
    SCOPED_TRACE(form.name);
    const Octets choice = context(1, form.fields);
    Decoded v(NESTED(CertificateChoices), choice);
    ASSERT_EQ(v.outcome, kDecoded);
    ASSERT_EQ(v->choice, CertificateChoices::kV1AttrCert);
    const AttributeCertificateInfoV1& info_v1 = *v->v1AttrCert->acInfo;
    EXPECT_EQ(info_v1.version != nullptr, form.version);
    EXPECT_EQ(info_v1.subject->choice, form.subject);
    EXPECT_EQ(info_v1.attributes->count, 1);
    ExpectRoundTrip(NESTED(CertificateChoices), choice);
    // Encoded alone it has the tag of a SEQUENCE.
    EXPECT_EQ(Encoded([&](ExpBuf** b) { return BEncAttributeCertificateV1(b, v->v1AttrCert); }),
              sequence(form.fields));
  }
}

// The version-1 module has EXPLICIT tags: the SEQUENCE is inside.
TEST(AttributeCertificateV1, SubjectTagsAreExplicit) {
  ExpectRefused(NESTED(AttributeCertificateV1), sequence(sample::ac_v1_fields({}, context(0, set()))),
                site_code(kAttCertSubject, Site::InnerTag, 1));
  ExpectRefused(NESTED(AttributeCertificateV1),
                sequence(sample::ac_v1_fields({}, context(1, sample::directory_name("x")))),
                site_code(kAttCertSubject, Site::InnerTag, 2));
  ExpectRefused(NESTED(AttributeCertificateV1), sequence(sample::ac_v1_fields({}, context(2))),
                site_code(kAttributeCertificateInfoV1, Site::Missing, 1));
}

}  // namespace
}  // namespace qex::test
