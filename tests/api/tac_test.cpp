// Who an attribute certificate is for and from.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/octets.h"
#include "tests/support/tac_reading.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

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

TEST(CertInfoEx, CopiesAnyVersion) {
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
  for (const Octets& bad : NoAttributeCertificates()) {
    const CertInfo info(bad);
    EXPECT_EQ(info.code, QEX_E_DECODE) << ToHex(bad).substr(0, 40);
    EXPECT_NE(QEX_GetLastAsnError(), 0);
    QEX_TACINFO_EX cleared{};
    cleared.size = 2556;
    EXPECT_EQ(std::memcmp(&*info, &cleared, sizeof cleared), 0);
  }
}

TEST(CertInfoEx, IsFilledEvenWhenValuesDoNotFit) {
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
    // The parts between and after them are there.
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

TEST(CertInfoEx, CutsTheTextOfAnIdentifierAndReportsIt) {
  const std::string text = LongIdentifier();
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

TEST(CertInfoShort, HoldsTheValuesOfTheLongForm) {
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
      {"ff", 0, 0xFF},                 // read as unsigned
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
  cut[3].object_digest->algorithm = LongIdentifier();
  for (const AttrCertParts& parts : cut) {
    const ShortCertInfo info(ByHand(parts));
    EXPECT_EQ(info.code, QEX_E_SIZE);
    EXPECT_TRUE(info.untouched());
  }
  for (const Octets& bad : NoAttributeCertificates()) {
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

}  // namespace
}  // namespace qex::test
