// Malformed tokens and attribute certificates through the exports that rewrite tokens and that read time
// attribute certificates.
//
// For any input: no read beyond it, no crash and no leak, a code of the export's own table, a last ASN.1
// error that fits the code, and records and buffers that are either untouched or whole.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/malformed.h"
#include "tests/support/small_stack.h"
#include "tests/support/tac_reading.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

using MalformedTac = MalformedInput;

constexpr uint32_t kRoom = 16384;

// expect_code_and_error also expects a last ASN.1 error that fits the code.
void expect_code_and_error(const char* name, int32_t code, const Codes& allowed) {
  ExpectCode(name, code, allowed);
  if (code == QEX_E_DECODE) {
    EXPECT_LE(QEX_GetLastAsnError(), 0);
  } else {
    EXPECT_EQ(QEX_GetLastAsnError(), 0) << name << " returned " << code;
  }
}

void expect_nothing_written(const Output& output) {
  EXPECT_EQ(output, (Output{output.code, kRoom, Octets(kRoom, Guarded::kFill)}));
}

Octets written(const Output& output) {
  return Octets(output.octets.begin(), output.octets.begin() + ptrdiff_t(output.length));
}

// Rewriting a token once more changes nothing.
void rewrite_token(const uint8_t* data, uint32_t length) {
  for (const auto rewrite : {QEX_TSTInfoToIDData, QEX_RemoveAttrCerts}) {
    const auto once = [&](const uint8_t* in, uint32_t n) {
      return Call(kRoom, [&](uint8_t* out, uint32_t* m) { return rewrite(in, n, out, m); });
    };
    const Output first = once(data, length);
    expect_code_and_error("a rewriting export", first.code, {QEX_OK, QEX_E_DECODE});
    if (first.code != QEX_OK) {
      EXPECT_LT(QEX_GetLastAsnError(), 0);
      expect_nothing_written(first);
      continue;
    }
    const Octets rewritten = written(first);
    const Output second = once(rewritten.data(), uint32_t(rewritten.size()));
    EXPECT_EQ(second.code, QEX_OK);
    EXPECT_EQ(written(second), rewritten);
  }
}

// A certificate that is found belongs to the token, unless no attribute says so.
void find_tac(const uint8_t* data, uint32_t length) {
  const Output output = Call(
      kRoom, [&](uint8_t* out, uint32_t* n) { return QEX_GetTST_TimeAttributeCert(out, n, data, length); });
  expect_code_and_error("QEX_GetTST_TimeAttributeCert", output.code,
                        {QEX_OK, QEX_E_MISSING, QEX_E_DECODE, QEX_E_NOTAC});
  if (output.code != QEX_OK) {
    EXPECT_EQ(output.octets, Octets(kRoom, Guarded::kFill));
    if (output.code != QEX_E_NOTAC) {
      EXPECT_EQ(output.length, kRoom);
    }
    return;
  }
  ASSERT_LE(output.length, kRoom);
  const Guarded tac(written(output));
  expect_code_and_error("QEX_CheckTAC_MatchesTST",
                        QEX_CheckTAC_MatchesTST(tac.data(), tac.size(), data, length),
                        {QEX_OK, QEX_E_DECODE});
}

bool is_time_text(const std::string& text) {
  return text.empty() || (text.size() == 15 && text.back() == 'Z' &&
                          text.find_first_not_of("0123456789Z") == std::string::npos);
}

void read_identity(const uint8_t* data, uint32_t length) {
  GuardedRecord<QEX_TACINFO_EX> info;
  info->size = sizeof(QEX_TACINFO_EX);
  const int32_t code = QEX_GetTAC_CertInfoEx(info.get(), data, length);
  expect_code_and_error("QEX_GetTAC_CertInfoEx", code, {QEX_OK, QEX_E_SIZE, QEX_E_DECODE});
  EXPECT_EQ(info->size, 2556u);
  for (const std::string& text :
       {FieldText(info->holderName), FieldText(info->digestAlgorithm), FieldText(info->issuerName),
        FieldText(info->notBefore), FieldText(info->notAfter), FieldText(info->signatureAlgorithm)}) {
    EXPECT_NE(text, "unterminated");
  }
  if (code == QEX_OK) {
    EXPECT_LE(info->objectDigestLen, 128);
    EXPECT_LE(info->serialNumberLen, 40);
    EXPECT_LE(info->signatureValueLen, 1024);
  }
  GuardedRecord<QEX_TACINFO> brief;
  EXPECT_EQ(QEX_GetTAC_CertInfo(brief.get(), data, length), code);
  if (code == QEX_OK) {
    EXPECT_EQ(Field(brief->issuerName), Field(info->issuerName));
    EXPECT_EQ(brief->signatureValueLen, info->signatureValueLen);
  } else {
    EXPECT_TRUE(brief.untouched());
  }
}

void read_timing(const uint8_t* data, uint32_t length) {
  GuardedRecord<QEX_TIMING_METRICS_EX> metrics;
  const int32_t code = QEX_GetTAC_TimingMetricsEx(metrics.get(), data, length);
  expect_code_and_error("QEX_GetTAC_TimingMetricsEx", code,
                        {QEX_OK, QEX_E_SIZE, QEX_E_MISSING, QEX_E_DECODE});
  GuardedRecord<QEX_TIMING_METRICS> brief;
  EXPECT_EQ(QEX_GetTAC_TimingMetrics(brief.get(), data, length), code);
  if (code == QEX_OK || code == QEX_E_SIZE) {
    EXPECT_TRUE(is_time_text(FieldText(metrics->ntpTime)));
    EXPECT_TRUE(is_time_text(FieldText(metrics->expiration)));
  } else {
    EXPECT_TRUE(metrics.untouched());
  }
  if (code == QEX_OK) {
    EXPECT_EQ(FieldText(brief->ntpTime), FieldText(metrics->ntpTime));
    EXPECT_EQ(std::memcmp(&brief->offset, &metrics->offset, 4), 0);
    EXPECT_EQ(std::memcmp(&brief->delay, &metrics->delay, 4), 0);
    EXPECT_EQ(FieldText(brief->expiration), FieldText(metrics->expiration));
  } else {
    EXPECT_TRUE(brief.untouched());
  }

  GuardedRecord<QEX_TIMING_POLICY> policy;
  const int32_t policy_code = QEX_GetTAC_TimingPolicy(policy.get(), data, length);
  expect_code_and_error("QEX_GetTAC_TimingPolicy", policy_code,
                        {QEX_OK, QEX_E_MISSING, QEX_E_DECODE, QEX_E_NOPOLICY});
  EXPECT_EQ(policy_code == QEX_E_DECODE, code == QEX_E_DECODE);
  if (policy_code == QEX_OK) {
    EXPECT_NE(FieldText(policy->policyID), "unterminated");
  } else {
    EXPECT_TRUE(policy.untouched());
  }
}

// read_tac reads identity and timing, and checks for leaks.
void read_tac(const uint8_t* data, uint32_t length) {
  const long before = LiveBlocks();
  read_identity(data, length);
  read_timing(data, length);
  EXPECT_EQ(LiveBlocks(), before);
}
void rewrite_and_find_tac(const uint8_t* data, uint32_t length) {
  const long before = LiveBlocks();
  rewrite_token(data, length);
  find_tac(data, length);
  EXPECT_EQ(LiveBlocks(), before);
}

MetricsParts with_leaps() {
  MetricsParts parts;
  parts.leaps = {{{Seconds(3692217600), 1}, {Seconds(3692217601, 5, -1), -1}}};
  return parts;
}

AttrCertParts small_tac(uint8_t serial) {
  AttrCertParts parts;
  parts.serial = {serial};
  parts.holder.reset();
  parts.issuer = {{{GeneralName::kDNSName, {}, "a.example"}}};
  parts.attributes = {PlainAttribute()};
  parts.signature = {0x5A};
  return parts;
}

TEST_F(MalformedTac, AttributeCertificate) {
  AttrCertParts parts;
  parts.attributes = {PlainAttribute(), MetricsAttribute({{MetricsParts(), with_leaps()}}),
                      PolicyAttribute()};
  TryAll(ByHand(parts), read_tac);
}

TEST_F(MalformedTac, NestedTimingAttributes) {
  AttrCertParts parts = small_tac(1);
  parts.attributes = {MetricsAttribute({{MetricsParts()}, {with_leaps()}}, Shape::kNested),
                      PolicyAttribute({{PolicyParts()}, {}}, Shape::kNested)};
  TryAll(ByHand(parts), read_tac);
}

TEST_F(MalformedTac, SingleTimingMetrics) {
  for (const Shape shape : {Shape::kDirect, Shape::kInPlace}) {
    AttrCertParts parts = small_tac(1);
    parts.attributes = {MetricsAttribute({{with_leaps()}}, shape, kSingleMetricsAttribute)};
    TryAll(ByHand(parts), read_tac);
  }
}

TEST_F(MalformedTac, AttributeCertificateOfIndefiniteLengths) {
  const Octets time = der::indefinite(0x30, der::integer(3913056000), der::integer(0), der::integer(1));
  const Octets metrics = der::indefinite(0x30, time, time, time, time,
                                         der::indefinite(0x31, der::indefinite(0x30, time, der::integer(1))));
  const Octets attribute = der::indefinite(0x30, der::oid(kMetricsAttribute), der::indefinite(0x31, metrics));
  const Octets validity = der::indefinite(0x30, der::generalized_time("20240101000000Z"),
                                          der::generalized_time("20250101000000Z"));
  const Octets info = der::indefinite(0x30, der::integer(1), der::indefinite(0x30),
                                      der::indefinite(0xA0, der::indefinite(0x30)),
                                      der::indefinite(0x30, der::oid(kSha256WithRsa)), der::integer(1),
                                      validity, der::indefinite(0x30, attribute));
  const Octets tac =
      der::indefinite(0x30, info, der::indefinite(0x30, der::oid(kSha256WithRsa)), der::bit_string({1, 2}));
  EXPECT_EQ(Metrics(tac).code, QEX_OK);
  TryAll(tac, read_tac);
}

TEST_F(MalformedTac, TokenWithCertificatesOfEveryKind) {
  TokenParts parts;
  parts.tst_info = {0x30, 0x00};
  parts.certificates = {{AttrCert(CertificateParts::kV1, small_tac(1)),
                         AttrCert(CertificateParts::kPublishedV1,
                                  [] {
                                    AttrCertParts tac = small_tac(2);
                                    tac.holder = tac.issuer;
                                    return tac;
                                  }()),
                         OtherFormat(), AttrCert(CertificateParts::kV2, small_tac(3))}};
  parts.signer().certificate_ids->push_back(Digest(kSha1, ByHand(small_tac(3))));
  TryAll(ByHand(parts), rewrite_and_find_tac);
}

TEST_F(MalformedTac, TokenWithSignerAttributes) {
  TokenParts parts;
  parts.tst_info = {0x30, 0x00};
  parts.certificates.reset();
  parts.signer().signer_attributes = {{{{PlainAttribute()}, {}}, {{}, small_tac(3)}}};
  TryAll(ByHand(parts), rewrite_and_find_tac);
}

TEST_F(MalformedTac, AttributeCertificateToBeMatched) {
  const Octets tac = ByHand(small_tac(3));
  TokenParts parts;
  parts.signer().certificate_ids->push_back(Digest(kSha1, tac));
  const Guarded named(ByHand(parts));
  parts = TokenParts();
  parts.signer().signer_attributes = {{{{}, small_tac(3)}}};
  const Guarded certified(ByHand(parts));
  TryAll(tac, [&](const uint8_t* data, uint32_t length) {
    const int32_t expected = Octets(data, data + length) == tac ? QEX_OK : QEX_E_MISMATCH;
    EXPECT_EQ(QEX_CheckTAC_MatchesTST(data, length, named.data(), named.size()), expected);
    EXPECT_EQ(QEX_CheckTAC_MatchesTST(data, length, certified.data(), certified.size()), expected);
  });
}

// An announced length is never allocated on its word.
TEST_F(MalformedTac, AnnouncedLengthsAreNotBelieved) {
  const Octets huge = {0x84, 0x7F, 0xFF, 0xFF, 0xF0};
  const Octets tac = der::concat(Octets{0x30, 0x80, 0x30, 0x80, 0x02, 0x01, 0x01, 0x30, 0x00, 0xA0, 0x02,
                                        0x30, 0x00, 0x30, 0x03, 0x06, 0x01, 0x2A, 0x02},
                                 huge);
  ForgetRequests();
  read_tac(tac.data(), uint32_t(tac.size()));
  EXPECT_EQ(CertInfo(tac).code, QEX_E_DECODE);
  EXPECT_LT(LargestRequest(), size_t{1} << 16);
}

// claimed_in_each_other puts signer attributes inside claimed attributes, `depth` open types in all below the
// token's own, the innermost of which holds no attributes.
Octets claimed_in_each_other(int depth) {
  Octets value = der::sequence();
  for (int i = 1; i < depth; ++i) {
    const Octets attribute = der::sequence(der::oid(kSignerAttributesAttribute), der::set(value));
    value = der::sequence(der::context(0, der::sequence(attribute)));
  }
  TokenMaker maker;
  maker.certificates = {der::context(2, ContentByHand(small_tac(1)))};
  maker.signer().extra = {Attribute(kSignerAttributesAttribute, {value})};
  return maker.encode();
}

TEST_F(MalformedTac, DeepNestingEndsAtItsLimitOnASmallStack) {
  // SignedData is one open type, and each value of a signer-attributes attribute one more.
  const Guarded deepest(claimed_in_each_other(63)), too_deep(claimed_in_each_other(64)),
      far_too_deep(claimed_in_each_other(1000));
  OnSmallStack([&] {
    for (const auto rewrite : {QEX_TSTInfoToIDData, QEX_RemoveAttrCerts}) {
      const auto code = [&](const Guarded& token) {
        return Call(kRoom,
                    [&](uint8_t* out, uint32_t* n) { return rewrite(token.data(), token.size(), out, n); })
            .code;
      };
      EXPECT_EQ(code(deepest), QEX_OK);
      EXPECT_EQ(code(too_deep), QEX_E_DECODE);
      EXPECT_EQ(QEX_GetLastAsnError(), -29);
      EXPECT_EQ(code(far_too_deep), QEX_E_DECODE);
    }
    uint32_t length = 0;
    EXPECT_EQ(QEX_GetTST_TimeAttributeCert(nullptr, &length, deepest.data(), deepest.size()), QEX_E_NOTAC);
    EXPECT_EQ(QEX_GetTST_TimeAttributeCert(nullptr, &length, far_too_deep.data(), far_too_deep.size()),
              QEX_E_DECODE);
    EXPECT_EQ(
        QEX_CheckTAC_MatchesTST(deepest.data(), deepest.size(), far_too_deep.data(), far_too_deep.size()),
        QEX_E_DECODE);
  });
}

}  // namespace
}  // namespace qex::test
