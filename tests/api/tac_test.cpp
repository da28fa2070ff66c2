// Who an attribute certificate is for and from, its timing metrics and its timing policy.
#include <gtest/gtest.h>

#include <bit>
#include <cstddef>

#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/tac_reading.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

// Records are what they are at run time, too.
TEST(TacRecords, StandWithoutGaps) {
  const struct {
    const char* name;
    size_t at, offset, size, expected_size;
  } fields[] = {
#define FIELD_OF(Record, field, at, size) \
  {#Record "." #field, at, offsetof(Record, field), sizeof(Record::field), size}
      FIELD_OF(QEX_TACINFO_EX, size, 0, 4),
      FIELD_OF(QEX_TACINFO_EX, version, 4, 4),
      FIELD_OF(QEX_TACINFO_EX, holderName, 8, 512),
      FIELD_OF(QEX_TACINFO_EX, digestAlgorithm, 520, 128),
      FIELD_OF(QEX_TACINFO_EX, objectDigest, 648, 128),
      FIELD_OF(QEX_TACINFO_EX, objectDigestLen, 776, 4),
      FIELD_OF(QEX_TACINFO_EX, issuerName, 780, 512),
      FIELD_OF(QEX_TACINFO_EX, serialNumber, 1292, 40),
      FIELD_OF(QEX_TACINFO_EX, serialNumberLen, 1332, 4),
      FIELD_OF(QEX_TACINFO_EX, notBefore, 1336, 32),
      FIELD_OF(QEX_TACINFO_EX, notAfter, 1368, 32),
      FIELD_OF(QEX_TACINFO_EX, signatureAlgorithm, 1400, 128),
      FIELD_OF(QEX_TACINFO_EX, signatureValue, 1528, 1024),
      FIELD_OF(QEX_TACINFO_EX, signatureValueLen, 2552, 4),
      FIELD_OF(QEX_TACINFO, version, 0, 4),
      FIELD_OF(QEX_TACINFO, holderName, 4, 512),
      FIELD_OF(QEX_TACINFO, digestAlgorithm, 516, 128),
      FIELD_OF(QEX_TACINFO, objectDigest, 644, 40),
      FIELD_OF(QEX_TACINFO, objectDigestLen, 684, 4),
      FIELD_OF(QEX_TACINFO, issuerName, 688, 512),
      FIELD_OF(QEX_TACINFO, serialNumber, 1200, 8),
      FIELD_OF(QEX_TACINFO, notBefore, 1208, 32),
      FIELD_OF(QEX_TACINFO, notAfter, 1240, 32),
      FIELD_OF(QEX_TACINFO, signatureAlgorithm, 1272, 128),
      FIELD_OF(QEX_TACINFO, signatureValue, 1400, 1024),
      FIELD_OF(QEX_TACINFO, signatureValueLen, 2424, 4),
      FIELD_OF(QEX_TIMING_METRICS_EX, ntpTime, 0, 32),
      FIELD_OF(QEX_TIMING_METRICS_EX, offset, 32, 4),
      FIELD_OF(QEX_TIMING_METRICS_EX, delay, 36, 4),
      FIELD_OF(QEX_TIMING_METRICS_EX, expiration, 40, 32),
      FIELD_OF(QEX_TIMING_METRICS_EX, leapAction, 72, 4),
      FIELD_OF(QEX_TIMING_METRICS_EX, leapTime, 76, 32),
      FIELD_OF(QEX_TIMING_METRICS, ntpTime, 0, 32),
      FIELD_OF(QEX_TIMING_METRICS, offset, 32, 4),
      FIELD_OF(QEX_TIMING_METRICS, delay, 36, 4),
      FIELD_OF(QEX_TIMING_METRICS, expiration, 40, 32),
      FIELD_OF(QEX_TIMING_POLICY, policyID, 0, 128),
      FIELD_OF(QEX_TIMING_POLICY, maxOffset, 128, 4),
      FIELD_OF(QEX_TIMING_POLICY, maxDelay, 132, 4),
#undef FIELD_OF
  };
  for (const auto& field : fields) {
    EXPECT_EQ(field.offset, field.at) << field.name;
    EXPECT_EQ(field.size, field.expected_size) << field.name;
  }
  EXPECT_EQ(sizeof(QEX_TACINFO_EX), 2556u);
  EXPECT_EQ(sizeof(QEX_TACINFO), 2428u);
  EXPECT_EQ(sizeof(QEX_TIMING_METRICS_EX), 108u);
  EXPECT_EQ(sizeof(QEX_TIMING_METRICS), 72u);
  EXPECT_EQ(sizeof(QEX_TIMING_POLICY), 136u);
}

// tac_with is an attribute certificate of these attributes.
Octets tac_with(const std::vector<AttributeParts>& attributes) {
  AttrCertParts parts;
  parts.attributes = attributes;
  return ByHand(parts);
}
Octets tac_with(const MetricsParts& metrics) {
  return tac_with({MetricsAttribute({{metrics}})});
}
Octets tac_with(const PolicyParts& policy) {
  return tac_with({PolicyAttribute({{policy}})});
}

// An object identifier whose text is longer than a field of 128 bytes, and its text.
std::string long_identifier() {
  std::string text = "1.3";
  for (int i = 0; i < 13; ++i) text += ".429496729" + std::to_string(i % 6);
  return text;
}

// What no export takes for an attribute certificate.
std::vector<Octets> no_certificates() {
  const Octets tac = ByHand(AttrCertParts());
  AttrCertParts unknown;
  unknown.attributes = {PlainAttribute()};
  unknown.attributes[0].type = "1.2.3.4";  // a type that is not registered
  // No validity period: the one field that all else stands around.
  const Octets info = der::sequence(der::integer(1), der::sequence(), der::context(0),
                                    der::algorithm(kSha256WithRsa), der::integer(1), der::sequence());
  const Octets no_validity = der::sequence(info, der::algorithm(kSha256WithRsa), der::bit_string({0}));
  return {{},
          {0x30},
          {0x30, 0x00},
          {0x31, 0x00},
          Octets(tac.begin(), tac.end() - 1),
          der::sequence(der::sequence()),
          der::sequence(der::algorithm(kSha256WithRsa), der::bit_string({0})),  // no signed part
          ByHand(unknown),
          no_validity,
          ByHand(TokenParts())};
}

// --- QEX_GetTAC_CertInfoEx -----------------------------------------------------------------------

TEST(CertInfoEx, FillsEveryField) {
  AttrCertParts parts;
  parts.outer_algorithm = kSha1WithRsa;  // the one inside the signed part is read
  for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
    const CertInfo info(tac);
    EXPECT_EQ(info.code, QEX_OK);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(info->size, 2556u);
    EXPECT_EQ(info->version, 1);
    EXPECT_EQ(Field(info->holderName), TextAndZeros("C=GB;O=Example;CN=Holder", 512));
    EXPECT_EQ(Field(info->digestAlgorithm), TextAndZeros(kSha256, 128));
    EXPECT_EQ(Field(info->objectDigest), der::concat(Octets(32, 0xD1), Octets(96, 0)));
    EXPECT_EQ(info->objectDigestLen, 32);
    EXPECT_EQ(Field(info->issuerName), TextAndZeros("C=GB;O=Example;CN=Issuer", 512));
    EXPECT_EQ(Field(info->serialNumber), der::concat(Octets{1, 2, 3}, Octets(37, 0)));
    EXPECT_EQ(info->serialNumberLen, 3);
    EXPECT_EQ(Field(info->notBefore), TextAndZeros("20240101000000Z", 32));
    EXPECT_EQ(Field(info->notAfter), TextAndZeros("20250101000000Z", 32));
    EXPECT_EQ(Field(info->signatureAlgorithm), TextAndZeros(kSha256WithRsa, 128));
    EXPECT_EQ(Field(info->signatureValue), der::concat(Octets(128, 0x5A), Octets(896, 0)));
    EXPECT_EQ(info->signatureValueLen, 128);
  }
}

TEST(CertInfoEx, TakesTheVersionAsItIs) {
  for (const int32_t version : {0, 2, -1, 2147483647}) {
    AttrCertParts parts;
    parts.version = version;
    EXPECT_EQ(CertInfo(ByHand(parts))->version, version);
  }
}

TEST(CertInfoEx, OfAnotherSizeIsRefused) {
  const Octets tac = ByHand(AttrCertParts());
  for (const uint32_t size : {0u, 1u, 2428u, 2555u, 2557u, 0xFFFFFFFFu}) {
    const CertInfo info(tac, size);
    EXPECT_EQ(info.code, QEX_E_ARG);
    EXPECT_EQ(info->size, size);
    Octets rest(reinterpret_cast<const uint8_t*>(&*info), reinterpret_cast<const uint8_t*>(&*info + 1));
    EXPECT_EQ(Octets(rest.begin() + 4, rest.end()), Octets(2552, Guarded::kFill));
  }
}

TEST(CertInfoEx, NeedsBothPointers) {
  const Octets tac = ByHand(AttrCertParts());
  ASSERT_EQ(CertInfo({0x31, 0x00}).code, QEX_E_DECODE);
  const int32_t error = QEX_GetLastAsnError();
  ASSERT_NE(error, 0);
  QEX_TACINFO_EX record;
  std::memset(&record, Guarded::kFill, sizeof record);
  record.size = sizeof record;
  EXPECT_EQ(QEX_GetTAC_CertInfoEx(nullptr, tac.data(), uint32_t(tac.size())), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_CertInfoEx(&record, nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(uint8_t(record.holderName[0]), Guarded::kFill);
  EXPECT_EQ(QEX_GetLastAsnError(), error);
}

TEST(CertInfoEx, IsClearedBeforeTheCertificateIsDecoded) {
  for (const Octets& bad : no_certificates()) {
    const CertInfo info(bad);
    EXPECT_EQ(info.code, QEX_E_DECODE) << ToHex(bad).substr(0, 40);
    EXPECT_NE(QEX_GetLastAsnError(), 0);
    QEX_TACINFO_EX cleared{};
    cleared.size = 2556;
    EXPECT_EQ(std::memcmp(&*info, &cleared, sizeof cleared), 0);
  }
}

TEST(CertInfoEx, IsFilledAllTheSameWithWhatDoesNotFit) {
  const struct {
    size_t digest, serial, signature;
    int32_t code;
  } cases[] = {
      {128, 40, 1024, QEX_OK},     {129, 40, 1024, QEX_E_SIZE}, {128, 41, 1024, QEX_E_SIZE},
      {128, 40, 1025, QEX_E_SIZE}, {200, 60, 4000, QEX_E_SIZE}, {0, 1, 0, QEX_OK},
  };
  for (const auto& c : cases) {
    AttrCertParts parts;
    const auto counting = [](size_t n) {
      Octets octets(n);
      for (size_t i = 0; i < n; ++i) octets[i] = uint8_t(i + 1);
      return octets;
    };
    parts.object_digest->digest = counting(c.digest);
    parts.serial = counting(c.serial);
    parts.signature = counting(c.signature);
    const CertInfo info(ByHand(parts));
    EXPECT_EQ(info.code, c.code) << "case " << &c - cases;
    const auto field = [&counting](size_t n, size_t size) {
      Octets octets = counting(n);
      octets.resize(size, 0);
      return octets;
    };
    EXPECT_EQ(Field(info->objectDigest), field(c.digest, 128));
    EXPECT_EQ(info->objectDigestLen, int32_t(c.digest));
    EXPECT_EQ(Field(info->serialNumber), field(c.serial, 40));
    EXPECT_EQ(info->serialNumberLen, int32_t(c.serial));
    EXPECT_EQ(Field(info->signatureValue), field(c.signature, 1024));
    EXPECT_EQ(info->signatureValueLen, int32_t(c.signature));
    // What stands between and behind is there.
    EXPECT_EQ(FieldText(info->issuerName), "C=GB;O=Example;CN=Issuer");
    EXPECT_EQ(FieldText(info->notAfter), "20250101000000Z");
    EXPECT_EQ(FieldText(info->signatureAlgorithm), kSha256WithRsa);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(CertInfoEx, CountsWholeOctetsOfBitStrings) {
  AttrCertParts parts;
  parts.object_digest->digest = {0x11, 0x22, 0x30};
  parts.object_digest->unused_bits = 4;
  parts.signature = Octets(1025, 0x40);
  parts.signature_unused_bits = 6;
  const CertInfo info(ByHand(parts));
  EXPECT_EQ(info.code, QEX_OK);  // 1024 octets and two bits
  EXPECT_EQ(info->objectDigestLen, 2);
  EXPECT_EQ(info->objectDigest[0], 0x11);
  EXPECT_EQ(info->objectDigest[1], 0x22);
  EXPECT_EQ(info->signatureValueLen, 1024);
  EXPECT_EQ(Field(info->signatureValue), Octets(1024, 0x40));
}

TEST(CertInfoEx, CutsTimesWithoutAReport) {
  AttrCertParts parts;
  parts.not_before = "20240101000000.1234567890123456";   // 31 characters
  parts.not_after = "20250101000000.12345678901234567Z";  // 33
  const CertInfo info(ByHand(parts));
  EXPECT_EQ(info.code, QEX_OK);
  EXPECT_EQ(FieldText(info->notBefore), "20240101000000.1234567890123456");
  EXPECT_EQ(FieldText(info->notAfter), "20250101000000.1234567890123456");
  parts.not_before = "";
  parts.not_after = "no time at all";
  const CertInfo odd(ByHand(parts));
  EXPECT_EQ(odd.code, QEX_OK);
  EXPECT_EQ(FieldText(odd->notBefore), "");
  EXPECT_EQ(FieldText(odd->notAfter), "no time at all");
}

TEST(CertInfoEx, RendersTheFirstNameWhenItIsADirectoryName) {
  const NameParts first = DirectoryNameOf("First"), second = DirectoryNameOf("Second");
  const struct {
    std::optional<std::vector<NameParts>> names;
    const char* text;
  } cases[] = {
      {{{first, second}}, "C=GB;O=Example;CN=First"},
      {std::nullopt, ""},
      {{{}}, ""},
      {{{NameParts{}}}, ""},  // a directory name without names in it
      {{{{GeneralName::kDNSName, {}, "example.org"}, second}}, ""},
      {{{{GeneralName::kRfc822Name, {}, "tsa@example.org"}}}, ""},
      {{{{GeneralName::kUniformResourceIdentifier, {}, "http://example.org"}}}, ""},
      {{{{GeneralName::kIPAddress, {}, "abcd"}}}, ""},
      {{{{GeneralName::kRegisteredID, {}, "1.2.3.4"}}}, ""},
  };
  for (const auto& c : cases) {
    AttrCertParts parts;
    parts.holder = c.names;
    const CertInfo holder(ByHand(parts));
    EXPECT_EQ(holder.code, QEX_OK);
    EXPECT_EQ(Field(holder->holderName), TextAndZeros(c.text, 512)) << "case " << &c - cases;
    EXPECT_EQ(FieldText(holder->issuerName), "C=GB;O=Example;CN=Issuer");

    parts = AttrCertParts();
    parts.issuer = c.names;
    for (const bool v1_form : {false, true}) {
      if (v1_form && !c.names.has_value()) continue;
      parts.v1_form = v1_form;
      const CertInfo issuer(ByHand(parts));
      EXPECT_EQ(issuer.code, QEX_OK);
      EXPECT_EQ(Field(issuer->issuerName), TextAndZeros(c.text, 512)) << "case " << &c - cases;
      EXPECT_EQ(FieldText(issuer->holderName), "C=GB;O=Example;CN=Holder");
    }
  }
}

TEST(CertInfoEx, LeavesOutNamesThatDoNotFitWithoutAReport) {
  AttrCertParts parts;
  parts.holder = {{DirectoryNameOf(std::string(600, 'x'))}};
  parts.issuer = {{DirectoryNameOf(std::string(600, 'y'))}};
  const CertInfo info(ByHand(parts));
  EXPECT_EQ(info.code, QEX_OK);
  EXPECT_EQ(FieldText(info->holderName), "C=GB;O=Example;");
  EXPECT_EQ(FieldText(info->issuerName), "C=GB;O=Example;");
}

TEST(CertInfoEx, WithoutADigestHasEmptyFields) {
  AttrCertParts parts;
  parts.object_digest.reset();
  const CertInfo info(ByHand(parts));
  EXPECT_EQ(info.code, QEX_OK);
  EXPECT_EQ(Field(info->digestAlgorithm), Octets(128, 0));
  EXPECT_EQ(Field(info->objectDigest), Octets(128, 0));
  EXPECT_EQ(info->objectDigestLen, 0);
  EXPECT_EQ(FieldText(info->issuerName), "C=GB;O=Example;CN=Issuer");
}

TEST(CertInfoEx, CutsTheTextOfAnIdentifierAndSaysSo) {
  const std::string text = long_identifier();
  ASSERT_GT(text.size(), 127u);
  for (const bool digest : {true, false}) {
    AttrCertParts parts;
    parts.inner_null = false;
    (digest ? parts.object_digest->algorithm : parts.inner_algorithm) = text;
    const CertInfo info(ByHand(parts));
    EXPECT_EQ(info.code, QEX_E_SIZE);
    EXPECT_EQ(FieldText(info->digestAlgorithm), digest ? text.substr(0, 127) : kSha256);
    EXPECT_EQ(FieldText(info->signatureAlgorithm), digest ? kSha256WithRsa : text.substr(0, 127));
    EXPECT_EQ(info->signatureValueLen, 128);
  }
}

TEST(CertInfoEx, IgnoresWhatFollowsTheCertificate) {
  const CertInfo info(der::concat(ByHand(AttrCertParts()), Octets{0xDE, 0xAD}));
  EXPECT_EQ(info.code, QEX_OK);
  EXPECT_EQ(info->serialNumberLen, 3);
}

TEST(CertInfoEx, ReadsIndefiniteLengths) {
  const CertInfo info(der::indefinite(0x30, ContentByHand(AttrCertParts())));
  EXPECT_EQ(info.code, QEX_OK);
  EXPECT_EQ(info->signatureValueLen, 128);
}

// --- QEX_GetTAC_CertInfo -------------------------------------------------------------------------

TEST(CertInfoShort, HoldsWhatTheLongFormHolds) {
  AttrCertParts parts;
  parts.object_digest->digest =
      FromHex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f") + Octets(32, 0x77);
  parts.serial = {0x12, 0x34, 0x56, 0x78, 0x9A};
  const Octets tac = ByHand(parts);
  const ShortCertInfo info(tac);
  const CertInfo full(tac);
  ASSERT_EQ(info.code, QEX_OK);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
  EXPECT_EQ(info->version, 1);
  EXPECT_EQ(Field(info->holderName), Field(full->holderName));
  EXPECT_EQ(Field(info->digestAlgorithm), Field(full->digestAlgorithm));
  const Octets digest = Field(full->objectDigest);
  EXPECT_EQ(Field(info->objectDigest), Octets(digest.begin(), digest.begin() + 40));
  EXPECT_EQ(info->objectDigestLen, 64);  // more than the field holds, without a report
  EXPECT_EQ(Field(info->issuerName), Field(full->issuerName));
  EXPECT_EQ(info->serialNumber.high, 0x12u);
  EXPECT_EQ(info->serialNumber.low, 0x3456789Au);
  EXPECT_EQ(Field(info->notBefore), Field(full->notBefore));
  EXPECT_EQ(Field(info->notAfter), Field(full->notAfter));
  EXPECT_EQ(Field(info->signatureAlgorithm), Field(full->signatureAlgorithm));
  EXPECT_EQ(Field(info->signatureValue), Field(full->signatureValue));
  EXPECT_EQ(info->signatureValueLen, 128);
  EXPECT_EQ(FieldText(info->holderName), "C=GB;O=Example;CN=Holder");
}

TEST(CertInfoShort, TakesASerialNumberOf64Bits) {
  const struct {
    const char* serial;
    uint32_t high, low;
  } cases[] = {
      {"00", 0, 0},
      {"7f", 0, 0x7F},
      {"01020304", 0, 0x01020304},
      {"0102030405060708", 0x01020304, 0x05060708},
      {"00ffffffffffffffff", 0xFFFFFFFF, 0xFFFFFFFF},
      {"ff", 0, 0xFF},                 // taken as unsigned
      {"01ffffffffffffffff", 0, 0},    // 9 octets without a leading zero octet
      {"00000102030405060708", 0, 0},  // 10
      {"0102030405060708090a0b0c0d0e0f1011", 0, 0},
  };
  for (const auto& c : cases) {
    AttrCertParts parts;
    parts.serial = FromHex(c.serial);
    const ShortCertInfo info(ByHand(parts));
    EXPECT_EQ(info.code, QEX_OK) << c.serial;
    EXPECT_EQ(info->serialNumber.high, c.high) << c.serial;
    EXPECT_EQ(info->serialNumber.low, c.low) << c.serial;
    EXPECT_EQ(info->signatureValueLen, 128);
  }
}

TEST(CertInfoShort, IsUntouchedByEveryCodeButSuccess) {
  std::vector<AttrCertParts> cut(4);
  cut[0].serial = Octets(41, 1);
  cut[1].object_digest->digest = Octets(129, 1);
  cut[2].signature = Octets(1025, 1);
  cut[3].object_digest->algorithm = long_identifier();
  for (const AttrCertParts& parts : cut) {
    const ShortCertInfo info(ByHand(parts));
    EXPECT_EQ(info.code, QEX_E_SIZE);
    EXPECT_TRUE(info.untouched());
  }
  for (const Octets& bad : no_certificates()) {
    const ShortCertInfo info(bad);
    EXPECT_EQ(info.code, QEX_E_DECODE);
    EXPECT_TRUE(info.untouched());
    EXPECT_NE(QEX_GetLastAsnError(), 0);
  }
}

TEST(CertInfoShort, NeedsBothPointers) {
  const Octets tac = ByHand(AttrCertParts());
  GuardedRecord<QEX_TACINFO> record;
  EXPECT_EQ(QEX_GetTAC_CertInfo(nullptr, tac.data(), uint32_t(tac.size())), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_CertInfo(record.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_TRUE(record.untouched());
}

// --- QEX_GetTAC_TimingMetricsEx ------------------------------------------------------------------

TEST(TimingMetricsEx, AreConvertedToTextsAndSeconds) {
  AttrCertParts parts;
  for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
    const Metrics metrics(tac);
    EXPECT_EQ(metrics.code, QEX_OK);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(Field(metrics->ntpTime), TextAndFill("20240101000000Z", 32));
    EXPECT_EQ(metrics->offset, -0.25f);
    EXPECT_EQ(metrics->delay, 0.5f);
    EXPECT_EQ(Field(metrics->expiration), TextAndFill("20240102000000Z", 32));
    EXPECT_EQ(metrics->leapAction, 0);
    EXPECT_EQ(Field(metrics->leapTime), TextAndFill("", 32));
  }
}

// metrics_of tells metrics apart by their delay.
MetricsParts metrics_of(int64_t delay) {
  MetricsParts parts;
  parts.delay = Seconds(delay);
  return parts;
}

TEST(TimingMetricsEx, AreTheLastOfTheirAttribute) {
  const struct {
    const char* name;
    AttributeParts attribute;
    float delay;
  } cases[] = {
      {"one", MetricsAttribute({{metrics_of(1)}}), 1},
      {"several", MetricsAttribute({{metrics_of(1), metrics_of(2), metrics_of(3)}}), 3},
      {"nested", MetricsAttribute({{metrics_of(1)}}, Shape::kNested), 1},
      {"nested, several", MetricsAttribute({{metrics_of(1), metrics_of(2)}}, Shape::kNested), 2},
      {"several nested", MetricsAttribute({{metrics_of(1), metrics_of(2)}, {metrics_of(3)}}, Shape::kNested),
       3},
      {"an empty set behind", MetricsAttribute({{metrics_of(1), metrics_of(2)}, {}}, Shape::kNested), 2},
      {"an empty set in front", MetricsAttribute({{}, {metrics_of(2)}}, Shape::kNested), 2},
      // The single-value form takes its first.
      {"single", MetricsAttribute({{metrics_of(1)}}, Shape::kDirect, kSingleMetricsAttribute), 1},
      {"single, several",
       MetricsAttribute({{metrics_of(1), metrics_of(2)}}, Shape::kDirect, kSingleMetricsAttribute), 1},
      {"single, in place", MetricsAttribute({{metrics_of(1)}}, Shape::kInPlace, kSingleMetricsAttribute), 1},
  };
  for (const auto& c : cases) {
    AttrCertParts parts;
    parts.attributes = {PlainAttribute(), PolicyAttribute(), c.attribute};
    for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
      const Metrics metrics(tac);
      EXPECT_EQ(metrics.code, QEX_OK) << c.name;
      EXPECT_EQ(metrics->delay, c.delay) << c.name;
      EXPECT_EQ(FieldText(metrics->ntpTime), "20240101000000Z") << c.name;
    }
  }
}

TEST(TimingMetricsEx, AreOfTheFirstAttributeOfEitherType) {
  const AttributeParts a = MetricsAttribute({{metrics_of(1)}});
  const AttributeParts b = MetricsAttribute({{metrics_of(2)}}, Shape::kInPlace, kSingleMetricsAttribute);
  const AttributeParts c = MetricsAttribute({{metrics_of(3)}}, Shape::kNested);
  EXPECT_EQ(Metrics(tac_with({a, b, c}))->delay, 1.0f);
  EXPECT_EQ(Metrics(tac_with({b, a, c}))->delay, 2.0f);
  EXPECT_EQ(Metrics(tac_with({c, a, b}))->delay, 3.0f);
}

TEST(TimingMetricsEx, AreMissingWhereThereAreNone) {
  const AttributeParts none = MetricsAttribute({}), full = MetricsAttribute();
  const std::vector<AttributeParts> cases[] = {
      {},
      {PlainAttribute()},
      {PlainAttribute(), PolicyAttribute()},
      {none},
      {MetricsAttribute({{}}, Shape::kNested)},
      {MetricsAttribute({{}, {}}, Shape::kNested)},
      {MetricsAttribute({}, Shape::kDirect, kSingleMetricsAttribute)},
      {none, full},  // the first attribute of the type decides
  };
  for (const auto& attributes : cases) {
    const Metrics metrics(tac_with(attributes));
    EXPECT_EQ(metrics.code, QEX_E_MISSING) << "case " << &attributes - cases;
    EXPECT_TRUE(metrics.untouched());
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    const ShortMetrics shorter(tac_with(attributes));
    EXPECT_EQ(shorter.code, QEX_E_MISSING);
    EXPECT_TRUE(shorter.untouched());
  }
}

TEST(TimingMetricsEx, NeedACertificateThatDecodes) {
  for (const Octets& bad : no_certificates()) {
    const Metrics metrics(bad);
    EXPECT_EQ(metrics.code, QEX_E_DECODE) << ToHex(bad).substr(0, 40);
    EXPECT_TRUE(metrics.untouched());
    EXPECT_NE(QEX_GetLastAsnError(), 0);
    const ShortMetrics shorter(bad);
    EXPECT_EQ(shorter.code, QEX_E_DECODE);
    EXPECT_TRUE(shorter.untouched());
    const Policy policy(bad);
    EXPECT_EQ(policy.code, QEX_E_DECODE);
    EXPECT_TRUE(policy.untouched());
  }
}

TEST(TimingMetricsEx, NeedTheirPointers) {
  const Octets tac = ByHand(AttrCertParts());
  const uint32_t length = uint32_t(tac.size());
  ASSERT_EQ(Metrics({0x31, 0x00}).code, QEX_E_DECODE);
  const int32_t error = QEX_GetLastAsnError();
  GuardedRecord<QEX_TIMING_METRICS_EX> full;
  GuardedRecord<QEX_TIMING_METRICS> shorter;
  GuardedRecord<QEX_TIMING_POLICY> policy;
  EXPECT_EQ(QEX_GetTAC_TimingMetricsEx(nullptr, tac.data(), length), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingMetricsEx(full.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingMetrics(nullptr, tac.data(), length), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingMetrics(shorter.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingPolicy(nullptr, tac.data(), length), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingPolicy(policy.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_TRUE(full.untouched());
  EXPECT_TRUE(shorter.untouched());
  EXPECT_TRUE(policy.untouched());
  EXPECT_EQ(QEX_GetLastAsnError(), error);
}

TEST(TimingMetricsEx, RenderTimesWithinTheirLimits) {
  const struct {
    int64_t seconds;
    const char* text;
  } cases[] = {
      {3913056000, "20240101000000Z"},
      {2208988800, "19700101000000Z"},
      {2208988799, "19691231235959Z"},
      {2208945600, "19691231120000Z"},
      {2208945599, ""},
      {4356472447, "20380119031407Z"},
      {4356472448, ""},
      {4294967296, "20360207062816Z"},
      {0, ""},
  };
  for (const auto& c : cases) {
    const int32_t code = c.text[0] == '\0' ? QEX_E_SIZE : QEX_OK;
    MetricsParts parts;
    parts.ntp_time = Seconds(c.seconds);
    const Metrics ntp(tac_with(parts));
    EXPECT_EQ(ntp.code, code) << c.seconds;
    EXPECT_EQ(Field(ntp->ntpTime), TextAndFill(c.text, 32)) << c.seconds;
    EXPECT_EQ(FieldText(ntp->expiration), "20240102000000Z");
    EXPECT_EQ(ntp->offset, -0.25f);
    EXPECT_EQ(ntp->leapAction, 0);
    EXPECT_EQ(FieldText(ntp->leapTime), "");

    parts = MetricsParts();
    parts.expiration = Seconds(c.seconds);
    const Metrics expiration(tac_with(parts));
    EXPECT_EQ(expiration.code, code) << c.seconds;
    EXPECT_EQ(Field(expiration->expiration), TextAndFill(c.text, 32)) << c.seconds;
    EXPECT_EQ(FieldText(expiration->ntpTime), "20240101000000Z");

    parts = MetricsParts();
    parts.leaps = {{{Seconds(c.seconds), 7}}};
    const Metrics leap(tac_with(parts));
    EXPECT_EQ(leap.code, code) << c.seconds;
    EXPECT_EQ(Field(leap->leapTime), TextAndFill(c.text, 32)) << c.seconds;
    EXPECT_EQ(leap->leapAction, 7);
  }
}

TEST(TimingMetricsEx, TakeIntegersThatAreTooLongAsZeroAndSaySo) {
  const Octets nine_with_zero = {0, 0, 0, 0, 0, 0, 0, 0, 9}, nine = {1, 0, 0, 0, 0, 0, 0, 0, 9}, ten(10, 0);
  for (const Octets& octets : {nine_with_zero, nine, ten}) {
    const bool fits = octets == nine_with_zero;
    const int32_t code = fits ? QEX_OK : QEX_E_SIZE;
    MetricsParts parts;
    parts.delay = {octets, {0x07, 0xA1, 0x20}, {}};  // 500000 microseconds
    Metrics metrics(tac_with(parts));
    EXPECT_EQ(metrics.code, code);
    EXPECT_EQ(metrics->delay, fits ? 9.5f : 0.5f);
    EXPECT_EQ(metrics->offset, -0.25f);
    EXPECT_EQ(FieldText(metrics->ntpTime), "20240101000000Z");

    parts = MetricsParts();
    parts.offset = {{0x03}, octets, -1};
    const Metrics offset(tac_with(parts));
    EXPECT_EQ(offset.code, code);
    EXPECT_EQ(offset->offset, fits ? -3.000009f : -3.0f);
    EXPECT_EQ(offset->delay, 0.5f);
  }
  MetricsParts parts;
  parts.ntp_time = {ten, {0}, {}};
  const Metrics time(tac_with(parts));
  EXPECT_EQ(time.code, QEX_E_SIZE);
  EXPECT_EQ(Field(time->ntpTime), TextAndFill("", 32));
  EXPECT_EQ(time->delay, 0.5f);
  EXPECT_EQ(FieldText(time->leapTime), "");
}

TEST(TimingMetricsEx, ComputeInSinglePrecision) {
  // Bits from Python's struct: single(single(F / 1000000) + single(M)) * single(SIGN).
  const struct {
    TimeParts duration;
    uint32_t bits;
  } cases[] = {
      {Seconds(0, 250000, -1), 0xBE800000},
      {Seconds(0, 1), 0x358637BD},
      {Seconds(1), 0x3F800000},
      {Seconds(0, 0, -1), 0x80000000},
      {Seconds(16777217, 0), 0x4B800000},    // 2^24 + 1 is rounded to
                                             // 2^24
      {Seconds(0, 4294967295), 0x458637BD},  // 4294.967295
      {Seconds(4294967301, 0), 0x40A00000},  // 5: the low 32 bits
      {Seconds(5, 0, 2), 0x41200000},        // the sign is a multiplier
      {Seconds(5, 0, 0), 0x00000000},
      {Seconds(-1, 0), 0x437F0000},  // FF is 255
  };
  for (const auto& c : cases) {
    MetricsParts parts;
    parts.delay = c.duration;
    parts.offset = c.duration;
    const Metrics metrics(tac_with(parts));
    EXPECT_EQ(metrics.code, QEX_OK);
    EXPECT_EQ(std::bit_cast<uint32_t>(metrics->delay), c.bits) << "case " << &c - cases;
    EXPECT_EQ(std::bit_cast<uint32_t>(metrics->offset), c.bits) << "case " << &c - cases;
    PolicyParts policy;
    policy.max_offset = policy.max_delay = c.duration;
    const Policy read(tac_with(policy));
    EXPECT_EQ(std::bit_cast<uint32_t>(read->maxOffset), c.bits) << "case " << &c - cases;
    EXPECT_EQ(std::bit_cast<uint32_t>(read->maxDelay), c.bits) << "case " << &c - cases;
  }
}

TEST(TimingMetricsEx, HoldTheLastLeapEvent) {
  MetricsParts parts;
  parts.leaps = {{{Seconds(3913056000), 1}, {Seconds(3692217600), -1}}};
  const Metrics metrics(tac_with(parts));
  EXPECT_EQ(metrics.code, QEX_OK);
  EXPECT_EQ(metrics->leapAction, -1);
  EXPECT_EQ(Field(metrics->leapTime), TextAndFill("20170101000000Z", 32));
  // One that cannot be rendered is reported, wherever it stands.
  parts.leaps = {{{Seconds(0), 1}, {Seconds(3692217600), 2147483647}}};
  const Metrics first_bad(tac_with(parts));
  EXPECT_EQ(first_bad.code, QEX_E_SIZE);
  EXPECT_EQ(first_bad->leapAction, 2147483647);
  EXPECT_EQ(FieldText(first_bad->leapTime), "20170101000000Z");
  parts.leaps = {{{Seconds(3692217600), 1}, {Seconds(0), 2}}};
  const Metrics last_bad(tac_with(parts));
  EXPECT_EQ(last_bad.code, QEX_E_SIZE);
  EXPECT_EQ(last_bad->leapAction, 2);
  EXPECT_EQ(FieldText(last_bad->leapTime), "");
}

TEST(TimingMetricsEx, LeaveTheLeapEventAloneWhenTheListIsEmpty) {
  MetricsParts parts;
  parts.leaps.emplace();
  const Metrics metrics(tac_with(parts));
  EXPECT_EQ(metrics.code, QEX_OK);
  EXPECT_EQ(uint32_t(metrics->leapAction), kUnset);
  EXPECT_EQ(Field(metrics->leapTime), Octets(32, Guarded::kFill));
  EXPECT_EQ(FieldText(metrics->expiration), "20240102000000Z");
}

// --- QEX_GetTAC_TimingMetrics --------------------------------------------------------------------

TEST(TimingMetricsShort, AreTheFirstFourOfTheLongForm) {
  const ShortMetrics metrics(ByHand(AttrCertParts()));
  EXPECT_EQ(metrics.code, QEX_OK);
  EXPECT_EQ(Field(metrics->ntpTime), TextAndFill("20240101000000Z", 32));
  EXPECT_EQ(metrics->offset, -0.25f);
  EXPECT_EQ(metrics->delay, 0.5f);
  EXPECT_EQ(Field(metrics->expiration), TextAndFill("20240102000000Z", 32));
}

TEST(TimingMetricsShort, AreUntouchedWhereTheLongFormReports) {
  std::vector<MetricsParts> cut(4);
  cut[0].delay.major = Octets(10, 0);
  cut[1].offset.fraction = Octets(10, 0);
  cut[2].expiration = Seconds(0);
  cut[3].leaps = {{{Seconds(0), 1}}};  // although the short form does not show it
  for (const MetricsParts& parts : cut) {
    const ShortMetrics metrics(tac_with(parts));
    EXPECT_EQ(metrics.code, QEX_E_SIZE);
    EXPECT_TRUE(metrics.untouched());
  }
}

// --- QEX_GetTAC_TimingPolicy ---------------------------------------------------------------------

TEST(TimingPolicy, IsReadIntoAClearedRecord) {
  AttrCertParts parts;
  for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
    const Policy policy(tac);
    EXPECT_EQ(policy.code, QEX_OK);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(Field(policy->policyID), TextAndZeros("1.2.3.4.5", 128));
    EXPECT_EQ(policy->maxOffset, 1.5f);
    EXPECT_EQ(policy->maxDelay, 2.25f);
  }
}

TEST(TimingPolicy, MayLackEveryPart) {
  PolicyParts parts;
  parts.max_offset.reset();
  const Policy no_offset(tac_with(parts));
  EXPECT_EQ(no_offset.code, QEX_OK);
  EXPECT_EQ(std::bit_cast<uint32_t>(no_offset->maxOffset), 0u);
  EXPECT_EQ(no_offset->maxDelay, 2.25f);

  parts = PolicyParts();
  parts.max_delay.reset();
  const Policy no_delay(tac_with(parts));
  EXPECT_EQ(no_delay.code, QEX_OK);
  EXPECT_EQ(no_delay->maxOffset, 1.5f);
  EXPECT_EQ(std::bit_cast<uint32_t>(no_delay->maxDelay), 0u);

  parts = PolicyParts();
  parts.identifiers.reset();
  const Policy no_identifier(tac_with(parts));
  EXPECT_EQ(no_identifier.code, QEX_OK);
  EXPECT_EQ(Field(no_identifier->policyID), Octets(128, 0));
  EXPECT_EQ(no_identifier->maxDelay, 2.25f);

  parts.identifiers.emplace();
  const Policy empty_list(tac_with(parts));
  EXPECT_EQ(empty_list.code, QEX_OK);
  EXPECT_EQ(Field(empty_list->policyID), Octets(128, 0));

  const Policy nothing(tac_with(PolicyParts{std::nullopt, std::nullopt, std::nullopt}));
  EXPECT_EQ(nothing.code, QEX_OK);
  const QEX_TIMING_POLICY cleared{};
  EXPECT_EQ(std::memcmp(&*nothing, &cleared, sizeof cleared), 0);
}

TEST(TimingPolicy, ShowsTheFirstIdentifierOfEitherShape) {
  for (const bool bare : {false, true}) {
    PolicyParts parts;
    parts.identifiers = {{{"1.2.3", bare}, {"1.2.4", !bare}}};
    EXPECT_EQ(FieldText(Policy(tac_with(parts))->policyID), "1.2.3");
  }
}

TEST(TimingPolicy, CutsALongIdentifierWithoutAReport) {
  for (const bool bare : {false, true}) {
    PolicyParts parts;
    parts.identifiers = {{{long_identifier(), bare}}};
    const Policy policy(tac_with(parts));
    EXPECT_EQ(policy.code, QEX_OK);
    EXPECT_EQ(FieldText(policy->policyID), long_identifier().substr(0, 127));
    EXPECT_EQ(policy->maxOffset, 1.5f);
  }
}

PolicyParts policy_of(const std::string& identifier) {
  PolicyParts parts;
  parts.identifiers = {{{identifier}}};
  return parts;
}

TEST(TimingPolicy, IsTheLastOfItsAttribute) {
  const PolicyParts a = policy_of("1.2.1"), b = policy_of("1.2.2"), c = policy_of("1.2.3");
  const struct {
    const char* name;
    AttributeParts attribute;
    const char* identifier;
  } cases[] = {
      {"one", PolicyAttribute({{a}}), "1.2.1"},
      {"several", PolicyAttribute({{a, b, c}}), "1.2.3"},
      {"nested", PolicyAttribute({{a}}, Shape::kNested), "1.2.1"},
      {"nested, several", PolicyAttribute({{a, b}}, Shape::kNested), "1.2.2"},
      {"several nested", PolicyAttribute({{a, b}, {c}}, Shape::kNested), "1.2.3"},
      {"an empty set behind", PolicyAttribute({{a, b}, {}}, Shape::kNested), "1.2.2"},
      {"an empty set in front", PolicyAttribute({{}, {b}}, Shape::kNested), "1.2.2"},
  };
  for (const auto& each : cases) {
    AttrCertParts parts;
    // The first attribute of the type counts.
    parts.attributes = {MetricsAttribute(), PlainAttribute(), each.attribute,
                        PolicyAttribute({{policy_of("1.2.9")}})};
    for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
      const Policy policy(tac);
      EXPECT_EQ(policy.code, QEX_OK) << each.name;
      EXPECT_EQ(FieldText(policy->policyID), each.identifier) << each.name;
    }
  }
}

TEST(TimingPolicy, IsReportedWhereThereIsNone) {
  AttributeParts empty{kPolicyAttribute, Shape::kDirect, {}, {}, {}};
  const struct {
    std::vector<AttributeParts> attributes;
    int32_t code;
  } cases[] = {
      {{}, QEX_E_MISSING},
      {{PlainAttribute()}, QEX_E_NOPOLICY},
      {{MetricsAttribute(), PlainAttribute()}, QEX_E_NOPOLICY},
      {{empty}, QEX_E_NOPOLICY},
      {{PolicyAttribute({{}}, Shape::kNested)}, QEX_E_NOPOLICY},
      {{PolicyAttribute({{}, {}}, Shape::kNested)}, QEX_E_NOPOLICY},
      {{empty, PolicyAttribute()}, QEX_E_NOPOLICY},
  };
  for (const auto& c : cases) {
    const Policy policy(tac_with(c.attributes));
    EXPECT_EQ(policy.code, c.code) << "case " << &c - cases;
    EXPECT_TRUE(policy.untouched());
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(TimingPolicy, TakesIntegersThatAreTooLongAsZeroWithoutAReport) {
  PolicyParts parts;
  parts.max_offset = {Octets(10, 1), {0x07, 0xA1, 0x20}, {}};
  parts.max_delay = {{0x03}, Octets(41, 1), -1};
  const Policy policy(tac_with(parts));
  EXPECT_EQ(policy.code, QEX_OK);
  EXPECT_EQ(policy->maxOffset, 0.5f);
  EXPECT_EQ(policy->maxDelay, -3.0f);
}

// --- All of them ---------------------------------------------------------------------------------

TEST(TacReading, ReportsThatMemoryRanOutAndReleasesAll) {
  AttrCertParts parts;
  MetricsParts leaps;
  leaps.leaps = {{{Seconds(3692217600), 1}}};
  parts.attributes = {PlainAttribute(), MetricsAttribute({{leaps}}, Shape::kNested),
                      PolicyAttribute({{PolicyParts()}}, Shape::kNested)};
  const Octets tac = ByHand(parts);
  const uint32_t length = uint32_t(tac.size());
  const auto try_all = [&](auto record, auto call) {
    decltype(record) filled;
    int32_t code = QEX_E_DECODE;
    size_t allowed = 0;
    for (; code != QEX_OK; ++allowed) {
      ASSERT_LT(allowed, 2000u);
      filled = record;
      const long before = LiveBlocks();
      {
        FailingAlloc failing(allowed);
        code = call(&filled, tac.data(), length);
      }
      ASSERT_EQ(LiveBlocks(), before) << "after " << allowed;
      if (code != QEX_OK) {
        ASSERT_EQ(code, QEX_E_DECODE) << allowed;
        ASSERT_EQ(QEX_GetLastAsnError(), -27) << allowed;
      }
    }
    EXPECT_GT(allowed, 20u);
  };
  QEX_TACINFO_EX info{};
  info.size = sizeof info;
  ASSERT_EQ(CertInfo(tac).code, QEX_OK);
  try_all(info, QEX_GetTAC_CertInfoEx);
  try_all(QEX_TACINFO{}, QEX_GetTAC_CertInfo);
  try_all(QEX_TIMING_METRICS_EX{}, QEX_GetTAC_TimingMetricsEx);
  try_all(QEX_TIMING_METRICS{}, QEX_GetTAC_TimingMetrics);
  try_all(QEX_TIMING_POLICY{}, QEX_GetTAC_TimingPolicy);
}

}  // namespace
}  // namespace qex::test
