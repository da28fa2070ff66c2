// Token contents: the TSTInfo as a record, and the authority's certificate.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/qex.h"
#include "tests/support/error_capture.h"
#include "tests/support/exports.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

Octets token_with_info(const TstInfoMaker& info) {
  TokenMaker maker;
  maker.tst_info = info.encode();
  return maker.encode();
}

using FullRecord = GuardedRecord<QEX_TSTINFO_EX>;
using ShortRecord = GuardedRecord<QEX_TSTINFO>;

int32_t read_full(const Octets& token, FullRecord* record) {
  const Guarded input(token);
  (*record)->size = sizeof(QEX_TSTINFO_EX);
  return QEX_GetTST_TSTInfoEx(record->get(), input.data(), input.size());
}

int32_t read_short(const Octets& token, ShortRecord* record) {
  const Guarded input(token);
  return QEX_GetTST_TSTInfo(record->get(), input.data(), input.size());
}

// The expected record for the plain TSTInfo of TokenMaker, with a tsa name of which all octets are 0.
QEX_TSTINFO_EX plain_full() {
  QEX_TSTINFO_EX record{};
  record.size = 880;
  record.version = 1;
  PutText(record.policy, "1.2.3.4.1");
  PutText(record.hashAlgorithm, kSha256);
  PutOctets(record.hashedMessage, Octets(32, 0x11));
  record.hashedMessageLength = 32;
  PutOctets(record.serialNumber, {0x12, 0x34});
  record.serialNumberLength = 2;
  PutText(record.genTime, "20241115080000Z");
  return record;
}

QEX_TSTINFO plain_short() {
  QEX_TSTINFO record{};
  record.version = 1;
  PutText(record.policy, "1.2.3.4.1");
  PutText(record.hashAlgorithm, kSha256);
  PutOctets(record.hashedMessage, Octets(32, 0x11));
  record.hashedMessageLength = 32;
  record.serialNumber = {0, 0x1234};
  PutText(record.genTime, "20241115080000Z");
  return record;
}

enum class TsaName { Absent, Present };

// expect_full compares all of the record; without a name its last 164 bytes are those of the caller.
void expect_full(const Octets& token, int32_t code, const QEX_TSTINFO_EX& expected,
                 TsaName name = TsaName::Absent) {
  FullRecord record;
  EXPECT_EQ(read_full(token, &record), code);
  Octets octets = OctetsOfValue(expected);
  if (name == TsaName::Absent) std::fill(octets.begin() + 880, octets.end(), Guarded::kFill);
  EXPECT_EQ(record.octets(), octets);
}

void expect_short(const Octets& token, int32_t code, const QEX_TSTINFO& expected) {
  ShortRecord record;
  EXPECT_EQ(read_short(token, &record), code);
  EXPECT_EQ(record.octets(), OctetsOfValue(expected));
}

const Octets kTsaName =
    DirectoryName({{"2.5.4.6", der::printable_string("GB")}, {"2.5.4.3", der::utf8_string("TSA")}});

Octets tsa_of(const Octets& general_name) {
  return der::context(0, general_name);
}

// --- The record ------------------------------------------------------------------------

TEST(TstInfo, MandatoryFieldsAreReportedAndOthersReadAs0) {
  expect_full(token_with_info({}), QEX_OK, plain_full());
  expect_short(token_with_info({}), QEX_OK, plain_short());
}

TEST(TstInfo, EveryFieldIsReported) {
  TstInfoMaker info;
  info.version = der::integer(9);
  info.policy = der::oid("2.16.840.1.99");
  info.imprint = der::sequence(der::algorithm(kSha1), der::octet_string(Octets(20, 0x22)));
  info.serial = der::big_integer({0x00, 0x81, 2, 3, 4, 5, 6, 7, 8});
  info.gen_time = der::generalized_time("20241115080000.123456Z");
  info.accuracy = der::sequence(der::integer(1), der::context_primitive(0, Octets{0x01, 0xF4}),
                                der::context_primitive(1, Octets{0x03, 0xE7}));
  info.ordering = der::boolean(true);
  info.nonce = der::big_integer({0x11, 0x22, 0x33, 0x44, 0x55});
  info.tsa = tsa_of(der::context(4, kTsaName));
  info.extensions = der::context(1, der::sequence(der::oid("1.2.3"), der::octet_string({})));

  QEX_TSTINFO_EX full{};
  full.size = 880;
  full.version = 9;
  PutText(full.policy, "2.16.840.1.99");
  PutText(full.hashAlgorithm, kSha1);
  PutOctets(full.hashedMessage, Octets(20, 0x22));
  full.hashedMessageLength = 20;
  PutOctets(full.serialNumber, {0x00, 0x81, 2, 3, 4, 5, 6, 7, 8});
  full.serialNumberLength = 9;
  PutText(full.genTime, "20241115080000.123456Z");
  full.accuracySeconds = 1;
  full.accuracyMillis = 500;
  full.accuracyMicros = 999;
  full.ordering = 1;
  PutOctets(full.nonce, {0x11, 0x22, 0x33, 0x44, 0x55});
  full.nonceLength = 5;
  PutText(full.tsaName, "C=GB;CN=TSA");
  expect_full(token_with_info(info), QEX_OK, full, TsaName::Present);

  QEX_TSTINFO brief{};
  brief.version = 9;
  PutText(brief.policy, "2.16.840.1.99");
  PutText(brief.hashAlgorithm, kSha1);
  PutOctets(brief.hashedMessage, Octets(20, 0x22));
  brief.hashedMessageLength = 20;
  brief.serialNumber = {0x81020304, 0x05060708};
  PutText(brief.genTime, "20241115080000.123456Z");
  brief.accuracySeconds = 1;
  brief.accuracyMillis = 500;
  brief.accuracyMicros = 999;
  brief.ordering = 1;
  brief.nonce = {0x11, 0x22334455};
  PutText(brief.tsaName, "C=GB;CN=TSA");
  expect_short(token_with_info(info), QEX_OK, brief);
}

TEST(TstInfo, AccuracyMayHaveAnyOfItsParts) {
  const Octets seconds = der::integer(1);
  const Octets millis = der::context_primitive(0, Octets{2});
  const Octets micros = der::context_primitive(1, Octets{3});
  const struct {
    Octets accuracy;
    uint32_t seconds, millis, micros;
  } rows[] = {
      {der::sequence(), 0, 0, 0},
      {der::sequence(seconds), 1, 0, 0},
      {der::sequence(millis), 0, 2, 0},
      {der::sequence(micros), 0, 0, 3},
      {der::sequence(seconds, micros), 1, 0, 3},
      {der::sequence(seconds, millis, micros), 1, 2, 3},
      {der::sequence(der::integer(-1)), 0xFFFFFFFF, 0, 0},
  };
  for (const auto& row : rows) {
    TstInfoMaker info;
    info.accuracy = row.accuracy;
    QEX_TSTINFO_EX expected = plain_full();
    expected.accuracySeconds = row.seconds;
    expected.accuracyMillis = row.millis;
    expected.accuracyMicros = row.micros;
    expect_full(token_with_info(info), QEX_OK, expected);
  }
}

TEST(TstInfo, OrderingIs1OnlyWhenTrue) {
  for (const bool ordering : {false, true}) {
    TstInfoMaker info;
    info.ordering = der::boolean(ordering);
    QEX_TSTINFO_EX expected = plain_full();
    expected.ordering = ordering ? 1 : 0;
    expect_full(token_with_info(info), QEX_OK, expected);
  }
}

TEST(TstInfo, TimeIsCutTo31Characters) {
  for (const char* time :
       {"20241115080000Z", "20241115080000.1234567890123456", "20241115080000.12345678901234567890Z", ""}) {
    TstInfoMaker info;
    info.gen_time = der::generalized_time(time);
    QEX_TSTINFO_EX expected = plain_full();
    PutText(expected.genTime, std::string(time).substr(0, 31));
    expect_full(token_with_info(info), QEX_OK, expected);
    QEX_TSTINFO brief = plain_short();
    PutText(brief.genTime, std::string(time).substr(0, 31));
    expect_short(token_with_info(info), QEX_OK, brief);
  }
}

TEST(TstInfo, SizeIsHeldTo1044BeforeAndLeftAs880) {
  FullRecord record;
  const Guarded token(token_with_info({}));
  record->size = 1044;
  EXPECT_EQ(QEX_GetTST_TSTInfoEx(record.get(), token.data(), token.size()), QEX_OK);
  EXPECT_EQ(record->size, 880u);
  // Deliberate: a second call needs the size set again.
  EXPECT_EQ(QEX_GetTST_TSTInfoEx(record.get(), token.data(), token.size()), QEX_E_ARG);
  record->size = 1044;
  EXPECT_EQ(QEX_GetTST_TSTInfoEx(record.get(), token.data(), token.size()), QEX_OK);
}

// --- The authority's name ------------------------------------------------------------------

// Deliberate: 880 bytes are cleared, and the rest of the name keeps the caller's octets.
TEST(TstInfo, WithoutATsaTheNameIsEmptyAndItsLast164BytesStay) {
  FullRecord record;
  EXPECT_EQ(read_full(token_with_info({}), &record), QEX_OK);
  EXPECT_STREQ(record->tsaName, "");
  for (size_t i = 0; i < 512; ++i) EXPECT_EQ(uint8_t(record->tsaName[i]), i < 348 ? 0 : Guarded::kFill) << i;
}

TEST(TstInfo, WithoutATsaAllOctetsOfTheShortNameAre0) {
  ShortRecord record;
  EXPECT_EQ(read_short(token_with_info({}), &record), QEX_OK);
  for (const char octet : record->tsaName) EXPECT_EQ(octet, 0);
}

TEST(TstInfo, NameOfAnotherFormIsEmpty) {
  const Octets forms[] = {
      der::context_primitive(1, der::octets("a@b")),                              // rfc822Name
      der::context_primitive(2, der::octets("tsa.example")),                      // dNSName
      der::context_primitive(6, der::octets("http://tsa.example")),               // uniformResourceIdentifier
      der::context_primitive(7, Octets{127, 0, 0, 1}),                            // iPAddress
      der::context_primitive(8, der::oid_content("1.2.3")),                       // registeredID
      der::context(0, der::oid(kData), der::context(0, der::octet_string({1}))),  // otherName
      der::context(5, der::context(1, der::utf8_string("party"))),                // ediPartyName
      der::context(3, der::sequence()),                                           // x400Address
  };
  for (const Octets& form : forms) {
    TstInfoMaker info;
    info.tsa = tsa_of(form);
    FullRecord record;
    EXPECT_EQ(read_full(token_with_info(info), &record), QEX_OK) << int{form[0]};
    EXPECT_STREQ(record->tsaName, "") << int{form[0]};
    expect_short(token_with_info(info), QEX_OK, plain_short());
  }
}

TEST(TstInfo, EmptyDirectoryNameIsEmpty) {
  TstInfoMaker info;
  info.tsa = tsa_of(der::context(4, der::sequence()));
  expect_full(token_with_info(info), QEX_OK, plain_full(), TsaName::Present);
}

TEST(TstInfo, EntryThatDoesNotFitTheNameIsLeftOutWithoutAReport) {
  TstInfoMaker info;
  info.tsa = tsa_of(der::context(4, DirectoryName({{"2.5.4.10", der::utf8_string(std::string(600, 'x'))},
                                                   {"2.5.4.3", der::utf8_string("TSA")}})));
  QEX_TSTINFO_EX expected = plain_full();
  PutText(expected.tsaName, "CN=TSA");
  expect_full(token_with_info(info), QEX_OK, expected, TsaName::Present);
}

TEST(TstInfo, NameMayFillItsField) {
  TstInfoMaker info;
  const std::string longest(512 - 4, 'x');
  info.tsa = tsa_of(der::context(4, DirectoryName({{"2.5.4.3", der::utf8_string(longest)}})));
  FullRecord record;
  EXPECT_EQ(read_full(token_with_info(info), &record), QEX_OK);
  EXPECT_EQ(std::string(record->tsaName), "CN=" + longest);
}

// --- Values that do not fit --------------------------------------------------------------------

TEST(TstInfo, LongValuesAreCutAndReportedWithAFullRecord) {
  const struct {
    const char* name;
    size_t field;
    void (*put)(TstInfoMaker*, size_t);
    void (*expect)(QEX_TSTINFO_EX*, size_t);
  } rows[] = {
      {"serial number", 40,
       [](TstInfoMaker* info, size_t n) { info->serial = der::big_integer(Octets(n, 0x51)); },
       [](QEX_TSTINFO_EX* record, size_t n) {
         PutOctets(record->serialNumber, Octets(std::min<size_t>(n, 40), 0x51));
         record->serialNumberLength = uint32_t(n);
       }},
      {"hash", 128,
       [](TstInfoMaker* info, size_t n) {
         info->imprint = der::sequence(der::algorithm(kSha256), der::octet_string(Octets(n, 0x52)));
       },
       [](QEX_TSTINFO_EX* record, size_t n) {
         PutOctets(record->hashedMessage, Octets(std::min<size_t>(n, 128), 0x52));
         record->hashedMessageLength = uint32_t(n);
       }},
      {"nonce", 40, [](TstInfoMaker* info, size_t n) { info->nonce = der::big_integer(Octets(n, 0x53)); },
       [](QEX_TSTINFO_EX* record, size_t n) {
         PutOctets(record->nonce, Octets(std::min<size_t>(n, 40), 0x53));
         record->nonceLength = uint32_t(n);
       }},
  };
  for (const auto& row : rows) {
    for (const size_t n : {row.field - 1, row.field, row.field + 1, row.field + 300}) {
      SCOPED_TRACE(std::string(row.name) + " of " + std::to_string(n));
      TstInfoMaker info;
      info.tsa = tsa_of(der::context(4, kTsaName));
      row.put(&info, n);
      QEX_TSTINFO_EX expected = plain_full();
      PutText(expected.tsaName, "C=GB;CN=TSA");
      row.expect(&expected, n);
      expect_full(token_with_info(info), n > row.field ? QEX_E_SIZE : QEX_OK, expected, TsaName::Present);
    }
  }
}

TEST(TstInfo, IdentifierTextThatIsCutIsReportedWithAFullRecord) {
  std::string policy = "1.2";
  for (int i = 0; i < 70; ++i) policy += ".7";
  TstInfoMaker info;
  info.policy = der::oid(policy);
  info.nonce = der::integer(5);
  FullRecord record;
  EXPECT_EQ(read_full(token_with_info(info), &record), QEX_E_SIZE);
  EXPECT_EQ(record->policy[127], 0);
  EXPECT_EQ(policy.find(record->policy), 0u) << record->policy;
  EXPECT_EQ(record->nonceLength, 1u);
}

TEST(TstInfo, FailureLeavesTheShortRecordUnchanged) {
  TstInfoMaker info;
  info.serial = der::big_integer(Octets(41, 1));
  ShortRecord record;
  EXPECT_EQ(read_short(token_with_info(info), &record), QEX_E_SIZE);
  EXPECT_TRUE(record.untouched());
}

TEST(TstInfo, LongHashIsCutTo40WithoutAReportInTheShortRecord) {
  TstInfoMaker info;
  info.imprint = der::sequence(der::algorithm(kSha512, der::null()), der::octet_string(Octets(64, 0x64)));
  QEX_TSTINFO expected = plain_short();
  PutText(expected.hashAlgorithm, kSha512);
  PutOctets(expected.hashedMessage, Octets(40, 0x64));
  expected.hashedMessageLength = 64;
  expect_short(token_with_info(info), QEX_OK, expected);
}

TEST(TstInfo, NumbersOfMoreThan64BitsAreReportedByTheShortRecordAlone) {
  const Octets nine = der::concat(Octets{1}, Octets(8, 0));
  const struct {
    Octets octets;
    int32_t code;
    QEX_U64 value;
  } rows[] = {
      {Octets(8, 0xFE), QEX_OK, {0xFEFEFEFE, 0xFEFEFEFE}},
      {der::concat(Octets{0}, Octets(8, 0xFE)), QEX_OK, {0xFEFEFEFE, 0xFEFEFEFE}},
      {nine, QEX_E_SIZE, {0, 0}},
      {Octets(20, 0x7A), QEX_E_SIZE, {0, 0}},
      {Octets(40, 0x7A), QEX_E_SIZE, {0, 0}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.octets.size());
    TstInfoMaker serial;
    serial.serial = der::big_integer(row.octets);
    serial.nonce = der::integer(3);
    QEX_TSTINFO expected = plain_short();
    expected.serialNumber = row.value;
    expected.nonce = {0, 3};
    expect_short(token_with_info(serial), row.code, expected);

    TstInfoMaker nonce;
    nonce.nonce = der::big_integer(row.octets);
    expected = plain_short();
    expected.nonce = row.value;
    expect_short(token_with_info(nonce), row.code, expected);

    FullRecord full;
    EXPECT_EQ(read_full(token_with_info(serial), &full), QEX_OK);
    EXPECT_EQ(read_full(token_with_info(nonce), &full), QEX_OK);
  }
}

// --- Tokens that lack something ------------------------------------------------------------------

// expect_code calls both readers, and expects an untouched record except for the size set before.
void expect_code(const Octets& token, int32_t code) {
  FullRecord full;
  full->size = sizeof(QEX_TSTINFO_EX);
  const Octets before = full.octets();
  EXPECT_EQ(read_full(token, &full), code);
  EXPECT_EQ(full.octets(), before);
  ShortRecord brief;
  EXPECT_EQ(read_short(token, &brief), code);
  EXPECT_TRUE(brief.untouched());
}

TEST(TstInfo, TokenWithoutContentIsMissingIt) {
  expect_code(der::sequence(der::oid(kSignedData)), QEX_E_MISSING);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
}

TEST(TstInfo, ContentOfAnotherRegisteredTypeCountsAsNone) {
  expect_code(der::sequence(der::oid(kData), der::context(0, der::octet_string(TstInfoMaker().encode()))),
              QEX_E_MISSING);
}

TEST(TstInfo, SignedDataWithoutContentIsMissingIt) {
  TokenMaker maker;
  maker.with_content = false;
  expect_code(maker.encode(), QEX_E_MISSING);
}

TEST(TstInfo, ContentThatIsNotATstInfoDoesNotDecode) {
  const ErrorCapture quiet;
  for (const Octets& content :
       {Octets{}, Octets{0x30}, der::sequence(), der::octet_string({1}), der::sequence(der::integer(1))}) {
    TokenMaker maker;
    maker.tst_info = content;
    expect_code(maker.encode(), QEX_E_DECODE);
    EXPECT_LT(QEX_GetLastAsnError(), 0);
  }
}

TEST(TstInfo, TokenThatDoesNotDecodeIsRefused) {
  const ErrorCapture quiet;
  expect_code({}, QEX_E_DECODE);
  expect_code(der::sequence(), QEX_E_DECODE);
  expect_code(der::sequence(der::oid("1.2.3.4"), der::context(0, der::null())), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), -44);
}

TEST(TstInfo, ContentTypesAreNotChecked) {
  TokenMaker maker;
  maker.encapsulated_type = kData;
  expect_full(maker.encode(), QEX_OK, plain_full());
  maker.encapsulated_type = "1.2.3.4.5";
  expect_full(maker.encode(), QEX_OK, plain_full());
}

TEST(TstInfo, TrailingBytesInsideTheContentAreIgnored) {
  TokenMaker maker;
  maker.tst_info = der::concat(maker.tst_info, Octets{0xFF, 0x00});
  expect_full(maker.encode(), QEX_OK, plain_full());
}

TEST(TstInfo, ContentInPartsIsJoined) {
  const Octets info = TstInfoMaker().encode();
  const Octets half(info.begin(), info.begin() + 20), rest(info.begin() + 20, info.end());
  const Octets parts = der::indefinite(0x24, der::octet_string(half), der::octet_string(rest));
  const Octets signed_data =
      der::indefinite(0x30, der::integer(3), der::set(),
                      der::indefinite(0x30, der::oid(kTstInfo), der::indefinite(0xA0, parts)), der::set());
  expect_full(der::indefinite(0x30, der::oid(kSignedData), der::indefinite(0xA0, signed_data)), QEX_OK,
              plain_full());
}

// --- The authority's certificate -------------------------------------------------------------------

Octets with_certificates(const std::vector<Octets>& certificates) {
  TokenMaker maker;
  maker.certificates = certificates;
  return maker.encode();
}

// A certificate of another length than the authority's and the other one.
const Octets& longer_certificate() {
  static const Octets made = [] {
    CertificateMaker maker;
    maker.key = TestKey("long");
    return maker.encode();
  }();
  return made;
}

TEST(TsaCertificate, IsTheOneThatTheAttributeNames) {
  const Octets wanted = AuthorityCertificate();
  const std::vector<Octets> sets[] = {{wanted},
                                      {OtherCertificate(), wanted},
                                      {wanted, OtherCertificate()},
                                      {longer_certificate(), OtherCertificate(), wanted}};
  for (const auto& set : sets) {
    const Output output = Call(2000, TsaCert(with_certificates(set)));
    EXPECT_EQ(output.code, QEX_OK);
    EXPECT_EQ(output.length, wanted.size());
    EXPECT_EQ(Octets(output.octets.begin(), output.octets.begin() + ptrdiff_t(output.length)), wanted);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(TsaCertificate, CapacityIsThatOfTheCallerForEveryOneTried) {
  // The longer ones that come first set the length to theirs on the way.
  const Octets token = with_certificates({longer_certificate(), AuthorityCertificate()});
  const uint32_t n = uint32_t(AuthorityCertificate().size());
  ASSERT_GT(longer_certificate().size(), n);
  EXPECT_EQ(Call(n, TsaCert(token)), (Output{QEX_OK, n, AuthorityCertificate()}));
  EXPECT_EQ(Call(n - 1, TsaCert(token)), (Output{QEX_E_SIZE, n, Octets(n - 1, Guarded::kFill)}));
}

TEST(TsaCertificate, OtherAlternativesAreSkipped) {
  const Octets attribute_certificate = AttributeCertificateContent();
  const Octets other = der::context(3, der::oid(kData), der::octet_string({1}));
  const Octets token =
      with_certificates({der::context(2, attribute_certificate), der::context(1, attribute_certificate),
                         other, AuthorityCertificate()});
  EXPECT_EQ(Fetch(TsaCert(token)).octets, AuthorityCertificate());
  const Octets without = with_certificates({der::context(2, attribute_certificate), other});
  EXPECT_EQ(AskLength(TsaCert(without), kUnset), (Output{QEX_E_NOCERT, kUnset, {}}));
}

TEST(TsaCertificate, WithoutAMatchTheLengthIsThatOfTheLastOneTried) {
  const uint32_t n = uint32_t(OtherCertificate().size());
  EXPECT_EQ(AskLength(TsaCert(with_certificates({OtherCertificate()})), kUnset),
            (Output{QEX_E_NOCERT, n, {}}));
  EXPECT_EQ(AskLength(TsaCert(with_certificates({longer_certificate(), OtherCertificate()})), kUnset),
            (Output{QEX_E_NOCERT, n, {}}));
  EXPECT_EQ(Call(2000, TsaCert(with_certificates({longer_certificate(), OtherCertificate()}))),
            (Output{QEX_E_NOCERT, n, Octets(2000, Guarded::kFill)}));
}

TEST(TsaCertificate, WithoutCertificatesTheLengthStays) {
  EXPECT_EQ(AskLength(TsaCert(with_certificates({})), kUnset), (Output{QEX_E_NOCERT, kUnset, {}}));
  EXPECT_EQ(AskLength(TsaCert(with_certificates({Octets{}})), kUnset), (Output{QEX_E_NOCERT, kUnset, {}}))
      << "an empty set";
}

TEST(TsaCertificate, WithoutTheAttributeNoneMatches) {
  TokenMaker maker;
  maker.signer().without = {kSigningCertificateAttribute};
  EXPECT_EQ(AskLength(TsaCert(maker.encode()), kUnset),
            (Output{QEX_E_NOCERT, uint32_t(AuthorityCertificate().size()), {}}));
}

TEST(TsaCertificate, TokenWithoutSignersHasNone) {
  TokenMaker maker;
  maker.signers.clear();
  EXPECT_EQ(AskLength(TsaCert(maker.encode()), kUnset),
            (Output{QEX_E_NOCERT, uint32_t(AuthorityCertificate().size()), {}}));
}

TEST(TsaCertificate, OnlyTheFirstIdentifierCounts) {
  TokenMaker maker;
  maker.signer().without = {kSigningCertificateAttribute};
  maker.signer().extra = {
      Attribute(kSigningCertificateAttribute,
                {SigningCertificate({EssCertId(Digest(kSha1, OtherCertificate())),
                                     EssCertId(Digest(kSha1, AuthorityCertificate()))})})};
  maker.certificates = {AuthorityCertificate(), OtherCertificate()};
  EXPECT_EQ(Fetch(TsaCert(maker.encode())).octets, OtherCertificate());
  maker.certificates = {AuthorityCertificate()};
  EXPECT_EQ(AskLength(TsaCert(maker.encode())).code, QEX_E_NOCERT);
}

TEST(TsaCertificate, IsEncodedAgainInDefiniteLengths) {
  const Octets& der = AuthorityCertificate();
  const Octets loose = der::indefinite(0x30, Octets(der.begin() + 4, der.end()));
  EXPECT_EQ(Fetch(TsaCert(with_certificates({loose}))).octets, der);
}

TEST(TsaCertificate, TokenThatDoesNotDecodeOrHasNoContentIsBad) {
  const ErrorCapture quiet;
  const Octets cases[] = {{},
                          der::sequence(),
                          der::sequence(der::oid(kSignedData)),
                          der::sequence(der::oid(kData), der::context(0, der::octet_string({1}))),
                          der::sequence(der::oid("1.2.3.4"), der::context(0, der::null()))};
  for (const Octets& token : cases) {
    EXPECT_EQ(AskLength(TsaCert(token), kUnset), (Output{QEX_E_BADTOKEN, kUnset, {}}));
  }
}

TEST(TsaCertificate, SignatureAndContentAreNotLookedAt) {
  TokenMaker maker;
  maker.signer().signature = Octets{1};
  maker.with_content = false;
  EXPECT_EQ(Fetch(TsaCert(maker.encode())).octets, AuthorityCertificate());
}

}  // namespace
}  // namespace qex::test
