// Certificates, CRLs and keys (RFC 5280, RFC 3279).
#include "asn1/x509.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const Octets kUtc = utc_time("260101000000Z");
const Octets kGeneralized = generalized_time("20500101000000Z");
const Octets kSignature = bit_string(hex("a1b2c3d4"));

// --- Pieces --------------------------------------------------------------------------

TEST(AlgorithmIdentifier, ParametersAreNullOrAbsent) {
  const Octets with = hex("300d 0609608648016503040201 0500");
  Decoded v(NESTED(AlgorithmIdentifier), with);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->algorithm), "608648016503040201");
  EXPECT_EQ(RowOf(v->parameters), 1);
  ExpectRoundTrip(NESTED(AlgorithmIdentifier), with);
  ExpectRoundTrip(NESTED(AlgorithmIdentifier), hex("300b 0609608648016503040201"));
}

TEST(AlgorithmIdentifier, DsaKeysCarryTheirParameters) {
  const Octets dsa = algorithm("1.2.840.10040.4.1", sequence(integer(23), integer(11), integer(4)));
  Decoded v(NESTED(AlgorithmIdentifier), dsa);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(RowOf(v->parameters), 39);
  EXPECT_EQ(ToHex(static_cast<const Dss_Parms*>(v->parameters.value)->q), "0b");
  ExpectRoundTrip(NESTED(AlgorithmIdentifier), dsa);
}

// An elliptic-curve key names its curve in the parameters, and no row registers those.
TEST(AlgorithmIdentifier, EllipticCurveKeysAreRefused) {
  const Octets key =
      sequence(algorithm("1.2.840.10045.2.1", oid("1.2.840.10045.3.1.7")), bit_string(hex("04aabb")));
  ExpectRefused(NESTED(SubjectPublicKeyInfo), key, -44, "ERROR - ANY Decode routine is NULL\n");
}

TEST(AlgorithmIdentifiers, KeepTheirOrder) {
  ExpectRoundTrip(NESTED(AlgorithmIdentifiers), set(sample::sha256(), algorithm("1.3.14.3.2.26")));
}

TEST(Extension, CriticalMayBeAbsentFalseOrTrue) {
  for (const Octets& critical : {Octets{}, boolean(false), boolean(true)}) {
    const Octets extension = sample::extension("2.5.29.37", critical, hex("300a06082b06010505070308"));
    Decoded v(NESTED(Extension), extension);
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(ToHex(v->extnID), "551d25");
    EXPECT_EQ(v->critical == nullptr, critical.empty());
    if (v->critical != nullptr) {
      EXPECT_EQ(*v->critical, critical[2] != 0);
    }
    // The value is not decoded further.
    EXPECT_EQ(ToHex(v->extnValue), "300a06082b06010505070308");
    ExpectRoundTrip(NESTED(Extension), extension);
  }
}

TEST(Time, IsUtcOrGeneralized) {
  for (const auto& [tag, choice] : {std::pair<uint8_t, AsnInt>{0x17, 0}, {0x18, 1}}) {
    const Octets primitive = element(tag, octets("2601Z"));
    const Octets parts = concat(octet_string(octets("26")), octet_string(octets("01Z")));
    for (const Octets& in :
         {primitive, element(uint8_t(tag | 0x20), parts), indefinite(uint8_t(tag | 0x20), parts)}) {
      Decoded v(NESTED(Time), in);
      ASSERT_EQ(v.outcome, kDecoded);
      EXPECT_EQ(v->choice, choice);
      EXPECT_EQ(TextOf(*v->utcTime), "2601Z");
      EXPECT_EQ(v.encoded(), primitive);
    }
  }
}

TEST(Validity, BothTimesMayBeOfEitherKind) {
  const Octets validity = sequence(kUtc, kGeneralized);
  Decoded v(NESTED(Validity), validity);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->notBefore->choice, Time::kUtcTime);
  EXPECT_EQ(v->notAfter->choice, Time::kGeneralTime);
  for (const Octets& a : {kUtc, kGeneralized}) {
    for (const Octets& b : {kUtc, kGeneralized}) ExpectRoundTrip(NESTED(Validity), sequence(a, b));
  }
}

TEST(SubjectPublicKeyInfo, HoldsTheKeyAsBits) {
  Decoded v(NESTED(SubjectPublicKeyInfo), sample::rsa_key());
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(RowOf(v->algorithm->parameters), 13);
  EXPECT_EQ(v->subjectPublicKey.count % 8, 0u);
  EXPECT_EQ(v->subjectPublicKey.octs[0], 0x30);
  ExpectRoundTrip(NESTED(SubjectPublicKeyInfo), sample::rsa_key());
}

// --- Certificates ------------------------------------------------------------------------

TEST(Certificate, AllFieldsAreFoundUnderTheirTags) {
  const Octets certificate = sample::certificate();
  Decoded v(TOP(Certificate), certificate);
  ASSERT_EQ(v.outcome, kDecoded);
  const TBSCertificate& tbs = *v->tbsCertificate;
  ASSERT_NE(tbs.version, nullptr);
  EXPECT_EQ(*tbs.version, 2);
  EXPECT_EQ(ToHex(tbs.serialNumber), "0102030405060708090a0b0c0d0e0f");
  EXPECT_EQ(RowOf(tbs.signature->parameters), 8);
  EXPECT_EQ(tbs.issuer->rdnSequence->count, 1);
  EXPECT_EQ(TextOf(*tbs.validity->notBefore->utcTime), "260101000000Z");
  EXPECT_EQ(TextOf(*tbs.validity->notAfter->generalTime), "20500101000000Z");
  EXPECT_EQ(tbs.subject->rdnSequence->count, 1);
  EXPECT_EQ(tbs.issuerUniqueID.octs, nullptr);
  EXPECT_EQ(tbs.subjectUniqueID.octs, nullptr);
  EXPECT_EQ(tbs.extensions->count, 2);
  EXPECT_EQ(v->signature.count, 32u);
  EXPECT_EQ(ToHex(v->signature.octs, 4), "a1b2c3d4");
  ExpectRoundTrip(TOP(Certificate), certificate);
}

Octets tbs(const Octets& version, const Octets& behind_key) {
  return sequence(version, integer(1), sample::sha256_with_rsa(), sample::name("CA"), sequence(kUtc, kUtc),
                  sample::name("TSA"), sample::rsa_key(), behind_key);
}

TEST(TBSCertificate, EveryChoiceOfOptionalFieldsIsWrittenBack) {
  const Octets version = context(0, integer(0));  // the default, written out
  const Octets optional[] = {hex("81030011ff"), hex("82020580"),
                             context(3, sequence(sample::extension_list()))};
  for (unsigned chosen = 0; chosen < 16; ++chosen) {
    Octets rest;
    for (unsigned i = 0; i < 3; ++i) {
      if ((chosen >> i & 1) != 0) rest = concat(rest, optional[i]);
    }
    ExpectAnyForm(NESTED(TBSCertificate), tbs((chosen & 8) != 0 ? version : Octets{}, rest));
  }
}

TEST(TBSCertificate, UniqueIdentifiersAreImplicitBitStrings) {
  Decoded v(NESTED(TBSCertificate), tbs({}, hex("81030011ff 82020580")));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->version, nullptr);
  EXPECT_EQ(v->issuerUniqueID.count, 16u);
  EXPECT_EQ(v->subjectUniqueID.count, 3u);
  Decoded w(NESTED(TBSCertificate),
            tbs({}, concat(context(1, bit_string(hex("11")), bit_string(hex("ff"))))));
  ASSERT_EQ(w.outcome, kDecoded);
  EXPECT_EQ(w.encoded(), tbs({}, hex("81030011ff")));
}

// version and extensions are EXPLICIT.
TEST(TBSCertificate, TheInnerTagsAreTested) {
  ExpectRefused(NESTED(TBSCertificate), tbs(context(0, null()), {}),
                site_code(kTBSCertificate, Site::InnerTag, 0));
  ExpectRefused(NESTED(TBSCertificate), tbs({}, context(3, sample::extension_list(), null())),
                site_code(kExtensions, Site::Unexpected), "Unexpected Tag\n");
  ExpectRefused(NESTED(TBSCertificate), tbs({}, context(3, set())),
                site_code(kTBSCertificate, Site::InnerTag, 9));
  ExpectRefused(NESTED(TBSCertificate), tbs(integer(2), {}), site_code(kTBSCertificate, Site::Missing, 2));
}

TEST(Certificate, Failures) {
  ExpectWrongTag(TOP(Certificate), "BDecCertificate: ERROR - wrong tag\n");
  const Octets tbs_octets = sample::tbs_certificate();
  ExpectRefused(TOP(Certificate), sequence(null()), site_code(kCertificate, Site::Missing, 0));
  ExpectRefused(TOP(Certificate), sequence(tbs_octets, null()), site_code(kCertificate, Site::Missing, 1));
  ExpectRefused(TOP(Certificate), sequence(tbs_octets, sample::sha256_with_rsa(), null()),
                site_code(kCertificate, Site::Missing, 2));
  ExpectRefused(TOP(Certificate), sequence(tbs_octets, sample::sha256_with_rsa(), kSignature, null()),
                site_code(kCertificate, Site::Length));
}

// A name with a domainComponent does not decode, and with it no certificate that has one.
TEST(Certificate, ADomainComponentInANameIsRefused) {
  const Octets name = sequence(set(sequence(oid("0.9.2342.19200300.100.1.25"), ia5_string("example"))));
  const Octets tbs_octets =
      sequence(integer(1), sample::sha256_with_rsa(), name, sequence(kUtc, kUtc), name, sample::rsa_key());
  ExpectRefused(TOP(Certificate), sequence(tbs_octets, sample::sha256_with_rsa(), kSignature), -44,
                "ERROR - ANY Decode routine is NULL\n");
}

// --- CRLs ---------------------------------------------------------------------------------

const Octets kEntry = sequence(big_integer(hex("00ffeeddccbbaa99")), kUtc);
const Octets kEntryWithReason =
    sequence(integer(5), kGeneralized, sequence(sample::extension("2.5.29.21", {}, hex("0a0101"))));

Octets tbs_list(const Octets& version, const Octets& behind_update) {
  return sequence(version, sample::sha256_with_rsa(), sample::name("CA"), kUtc, behind_update);
}

TEST(CertificateList, AllFieldsAreFoundUnderTheirTags) {
  const Octets list =
      tbs_list(integer(1), concat(kGeneralized, sequence(kEntry, kEntryWithReason),
                                  context(0, sequence(sample::extension("2.5.29.20", {}, hex("020107"))))));
  const Octets crl = sequence(list, sample::sha256_with_rsa(), kSignature);
  Decoded v(NESTED(CertificateList), crl);
  ASSERT_EQ(v.outcome, kDecoded);
  const TBSCertList& tbs = *v->tbsCertList;
  EXPECT_EQ(*tbs.version, 1);
  EXPECT_EQ(tbs.thisUpdate->choice, Time::kUtcTime);
  EXPECT_EQ(tbs.nextUpdate->choice, Time::kGeneralTime);
  ASSERT_EQ(tbs.revokedCertificates->count, 2);
  const auto* entry = At<RevokedCertificate>(tbs.revokedCertificates, 0);
  EXPECT_EQ(ToHex(entry->userCertificate), "00ffeeddccbbaa99");
  EXPECT_EQ(entry->crlEntryExtensions, nullptr);
  EXPECT_EQ(At<RevokedCertificate>(tbs.revokedCertificates, 1)->crlEntryExtensions->count, 1);
  EXPECT_EQ(tbs.crlExtensions->count, 1);
  ExpectRoundTrip(NESTED(CertificateList), crl);
  ExpectRoundTrip(NESTED(CertificateLists), set(crl, crl));
}

// The tag distinguishes nextUpdate from revokedCertificates.
TEST(TBSCertList, EveryChoiceOfOptionalFieldsIsWrittenBack) {
  const Octets optional[] = {kUtc, sequence(kEntry), context(0, sequence())};
  for (unsigned chosen = 0; chosen < 16; ++chosen) {
    Octets rest;
    for (unsigned i = 0; i < 3; ++i) {
      if ((chosen >> i & 1) != 0) rest = concat(rest, optional[i]);
    }
    ExpectAnyForm(NESTED(TBSCertList), tbs_list((chosen & 8) != 0 ? integer(1) : Octets{}, rest));
  }
  Decoded v(NESTED(TBSCertList), tbs_list({}, sequence(kEntry)));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->version, nullptr);
  EXPECT_EQ(v->nextUpdate, nullptr);
  EXPECT_EQ(v->revokedCertificates->count, 1);
}

TEST(TBSCertList, Failures) {
  ExpectRefused(NESTED(TBSCertList), sequence(null()), site_code(kTBSCertList, Site::Missing, 1));
  ExpectRefused(NESTED(TBSCertList), tbs_list({}, null()), site_code(kTBSCertList, Site::Trailing));
  ExpectRefused(NESTED(TBSCertList), tbs_list({}, context(0, set())),
                site_code(kTBSCertList, Site::InnerTag, 6));
  ExpectRefused(NESTED(RevokedCertificate), sequence(integer(1), null()),
                site_code(kRevokedCertificate, Site::Missing, 1));
}

// --- Keys and signatures ----------------------------------------------------------------------

TEST(RSAPublicKey, HoldsContentsOctets) {
  const Octets key = hex("300b 020400c5d3f1 0203010001");
  Decoded v(TOP(RSAPublicKey), key);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->modulus), "00c5d3f1");
  EXPECT_EQ(ToHex(v->publicExponent), "010001");
  ExpectRoundTrip(TOP(RSAPublicKey), key);
  ExpectWrongTag(TOP(RSAPublicKey), "BDecRSAPublicKey: ERROR - wrong tag\n");
  ExpectRefused(TOP(RSAPublicKey), sequence(integer(1), null()), site_code(kRSAPublicKey, Site::Missing, 1));
}

TEST(DsaValues, HoldContentsOctets) {
  const auto parameters = TOP_AS(Dss_Parms, Dss_Parms_BI);
  const auto signature = TOP_AS(Dss_Sig_Value, Dss_Sig_Value_BI);
  Decoded p(parameters, hex("3009 020117 02010b 020104"));
  ASSERT_EQ(p.outcome, kDecoded);
  EXPECT_EQ(ToHex(p->p), "17");
  EXPECT_EQ(ToHex(p->q), "0b");
  EXPECT_EQ(ToHex(p->g), "04");
  ExpectRoundTrip(parameters, hex("3009 020117 02010b 020104"));
  Decoded s(signature, hex("3007 020200ff 020102"));
  ASSERT_EQ(s.outcome, kDecoded);
  EXPECT_EQ(ToHex(s->r), "00ff");
  EXPECT_EQ(ToHex(s->s), "02");
  ExpectRoundTrip(signature, hex("3007 020200ff 020102"));
  ExpectWrongTag(parameters, "BDecDss_Parms_BI: ERROR - wrong tag\n");
  ExpectWrongTag(signature, "BDecDss_Sig_Value_BI: ERROR - wrong tag\n");
}

TEST(DigestInfo, RoundTrip) {
  const Octets info = sequence(sample::sha256(), octet_string(hex("0011")));
  Decoded v(NESTED(DigestInfo), info);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->digest), "0011");
  ExpectRoundTrip(NESTED(DigestInfo), info);
}

TEST(BigIntegerStr, IsAnIntegerOfAnyLength) {
  const auto routines = TOP_AS(BigIntegerStr, BigIntegerStr);
  const Octets y = big_integer(Octets(300, 0x7F));
  ExpectWrittenBack(routines, y);
  Decoded v(routines, element(0x22, octet_string(hex("01")), octet_string(hex("02"))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), hex("02020102"));
  ExpectWrongTag(routines, "BDecBigIntegerStr: ERROR - wrong tag\n");
}

}  // namespace
}  // namespace qex::test
