// The seven exports of time attribute certificates. The input is an attribute certificate followed by a
// token, or a token alone.
#include <cmath>
#include <cstring>
#include <ctime>

#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

constexpr uint8_t kFill = 0x6B;

struct Certificate {
  int32_t version;
  Octets serial, notBefore, notAfter, algorithm;
  std::optional<Octets> signature;  // nothing: a form that is not judged
  const Tlv* attributes;
};

[[nodiscard]] std::optional<Certificate> read_certificate(const Tlv& tlv) {
  Fields outer(&tlv);
  Fields info(outer.take(0x30));
  outer.take(0x30);
  const Tlv* bits = outer.take(0x03);
  Certificate c{};
  const auto version = IntegerOf(info.take(0x02));
  const Tlv* holder = info.take(0x30);
  const Tlv* v2Form = info.take(0xA0);
  const Tlv* v1Form = v2Form == nullptr ? info.take(0x30) : nullptr;
  Fields algorithm(info.take(0x30));
  const Tlv* oid = algorithm.take(0x06);
  const auto serial = OctetsOf(info.take(0x02));
  Fields validity(info.take(0x30));
  const auto notBefore = OctetsOf(validity.take(0x18));
  const auto notAfter = OctetsOf(validity.take(0x18));
  c.attributes = info.take(0x30);
  if (!version || holder == nullptr || (v1Form == nullptr && v2Form == nullptr) || oid == nullptr ||
      oid->nested || !serial || !notBefore || !notAfter || c.attributes == nullptr || bits == nullptr ||
      !validity.done()) {
    return std::nullopt;
  }
  c.version = *version;
  c.serial = *serial;
  c.notBefore = *notBefore;
  c.notAfter = *notAfter;
  c.algorithm = oid->content;
  if (!bits->constructed() && !bits->content.empty() && bits->content[0] == 0) {
    c.signature = Octets(bits->content.begin() + 1, bits->content.end());
  }
  return c;
}

template <size_t kSize>
void check_octets(const uint8_t (&field)[kSize], const Octets& octets) {
  for (size_t i = 0; i < kSize; ++i) FUZZ_CHECK(field[i] == (i < octets.size() ? octets[i] : 0), i);
}

void check_time(const char (&field)[32], const Octets& octets) {
  const size_t n = std::min<size_t>(octets.size(), 31);
  for (size_t i = 0; i < 32; ++i) FUZZ_CHECK(uint8_t(field[i]) == (i < n ? octets[i] : 0), i);
}

void check_info(View tac, const std::optional<Certificate>& c) {
  Record<QEX_TACINFO_EX> record(kFill);
  record->size = sizeof(QEX_TACINFO_EX);
  ResetProcess();
  const int32_t code = QEX_GetTAC_CertInfoEx(record.get(), tac.data(), uint32_t(tac.size()));
  CheckCode(code, {QEX_OK, QEX_E_SIZE, QEX_E_DECODE}, "QEX_GetTAC_CertInfoEx");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  FUZZ_CHECK(record->size == sizeof(QEX_TACINFO_EX), record->size);
  const QEX_TACINFO_EX& r = *record.get();
  for (const auto* text : {&r.holderName, &r.issuerName}) TextOf(*text, sizeof *text);
  for (const auto* text : {&r.digestAlgorithm, &r.signatureAlgorithm}) TextOf(*text, sizeof *text);
  if (code == QEX_E_DECODE) FUZZ_CHECK(record.untouched(0, 4), code);

  Record<QEX_TACINFO> brief(kFill);
  ResetProcess();
  const int32_t briefCode = QEX_GetTAC_CertInfo(brief.get(), tac.data(), uint32_t(tac.size()));
  FUZZ_CHECK(briefCode == code, briefCode);
  if (code != QEX_OK) FUZZ_CHECK(brief.untouched(kFill), code);
  if (code == QEX_E_DECODE || !c) return;

  FUZZ_CHECK(r.version == c->version, r.version);
  check_octets(r.serialNumber, c->serial);
  FUZZ_CHECK(size_t(r.serialNumberLen) == c->serial.size(), r.serialNumberLen);
  check_time(r.notBefore, c->notBefore);
  check_time(r.notAfter, c->notAfter);
  FUZZ_CHECK(TextOf(r.signatureAlgorithm, 128) == OidText(c->algorithm).substr(0, 127), 0);
  if (c->signature) {
    check_octets(r.signatureValue, *c->signature);
    FUZZ_CHECK(size_t(r.signatureValueLen) == c->signature->size(), r.signatureValueLen);
  }
  if (c->serial.size() > 40) FUZZ_CHECK(code == QEX_E_SIZE, code);
  if (code != QEX_OK) return;
  const auto serial = U64Of(c->serial);
  FUZZ_CHECK(brief->serialNumber.high == (serial ? serial->high : 0), brief->serialNumber.high);
  FUZZ_CHECK(brief->serialNumber.low == (serial ? serial->low : 0), brief->serialNumber.low);
  FUZZ_CHECK(std::memcmp(brief->holderName, r.holderName, 512) == 0, 0);
  FUZZ_CHECK(std::memcmp(brief->issuerName, r.issuerName, 512) == 0, 0);
  FUZZ_CHECK(std::memcmp(brief->objectDigest, r.objectDigest, 40) == 0, 0);
  FUZZ_CHECK(brief->objectDigestLen == r.objectDigestLen, r.objectDigestLen);
}

// --- Timing ----------------------------------------------------------------------

struct Time {
  Octets major, fraction;
  std::optional<int32_t> sign;
};

[[nodiscard]] std::optional<Time> read_time(const Tlv* tlv) {
  if (tlv == nullptr) return std::nullopt;
  Fields fields(tlv);
  Time t;
  const auto major = OctetsOf(fields.take(0x02));
  const auto fraction = OctetsOf(fields.take(0x02));
  const Tlv* sign = fields.take(0x02);
  if (!major || !fraction || !fields.done()) return std::nullopt;
  t.major = *major;
  t.fraction = *fraction;
  if (sign != nullptr && !(t.sign = IntegerOf(sign))) return std::nullopt;
  return t;
}

float seconds_of(const Time& t, bool* fits) {
  const auto major = U64Of(t.major);
  const auto fraction = U64Of(t.fraction);
  *fits = *fits && major && fraction;
  float value = float(double(fraction ? fraction->low : 0) / 1000000.0);
  value += float(double(major ? major->low : 0));
  if (t.sign) value = float(*t.sign) * value;
  return value;
}

std::string text_of(const Time& t, bool* fits) {
  const auto major = U64Of(t.major);
  // Exact up to 2^53, and far beyond the range above that.
  const double since1970 =
      major ? double(major->high) * 4294967296.0 + double(major->low) - 2208988800.0 : -1e9;
  if (!major || since1970 < -43200.0 || since1970 > 2147483647.0) {
    *fits = false;
    return {};
  }
  const auto seconds = std::time_t(since1970);
  std::tm tm{};
  gmtime_r(&seconds, &tm);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", &tm);
  return text;
}

struct Metrics {
  Time ntpTime, offset, delay, expiration;
};

[[nodiscard]] std::optional<Metrics> read_metrics(const Tlv& tlv) {
  Fields fields(&tlv);
  const auto ntpTime = read_time(fields.take(0x30));
  const auto offset = read_time(fields.take(0x30));
  const auto delay = read_time(fields.take(0x30));
  const auto expiration = read_time(fields.take(0x30));
  if (!ntpTime || !offset || !delay || !expiration || !fields.done()) return std::nullopt;  // no leap events
  return Metrics{*ntpTime, *offset, *delay, *expiration};
}

constexpr uint8_t kTimingArc[] = {0x2B, 0x06, 0x01, 0x04, 0x01, 0x84, 0x59, 0x0A};  // 1.3.6.1.4.1.601.10

[[nodiscard]] bool is_timing(const Tlv& attribute, std::initializer_list<uint8_t> rest) {
  if (attribute.children.empty()) return false;
  Octets oid(std::begin(kTimingArc), std::end(kTimingArc));
  oid.insert(oid.end(), rest);
  return attribute.children[0].content == oid;
}

// The metrics of the first attribute that is for them, when it holds one value and that is directly in the
// set.
[[nodiscard]] std::optional<Metrics> find_metrics(const Certificate& c) {
  for (const Tlv& attribute : c.attributes->children) {
    if (!is_timing(attribute, {0x04, 0x01}) && !is_timing(attribute, {0x01})) continue;
    if (attribute.children.size() != 2 || !attribute.children[1].is(0x31)) return std::nullopt;
    const Tlv* value = OnlyChild(&attribute.children[1]);
    if (value == nullptr || !value->is(0x30)) return std::nullopt;
    return read_metrics(*value);
  }
  return std::nullopt;
}

[[nodiscard]] bool same(float a, float b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

void check_metrics(View tac, const std::optional<Certificate>& c) {
  Record<QEX_TIMING_METRICS_EX> record(kFill);
  ResetProcess();
  const int32_t code = QEX_GetTAC_TimingMetricsEx(record.get(), tac.data(), uint32_t(tac.size()));
  CheckCode(code, {QEX_OK, QEX_E_SIZE, QEX_E_MISSING, QEX_E_DECODE}, "QEX_GetTAC_TimingMetricsEx");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  const bool filled = code == QEX_OK || code == QEX_E_SIZE;
  if (!filled) FUZZ_CHECK(record.untouched(kFill), code);

  Record<QEX_TIMING_METRICS> brief(kFill);
  ResetProcess();
  const int32_t briefCode = QEX_GetTAC_TimingMetrics(brief.get(), tac.data(), uint32_t(tac.size()));
  FUZZ_CHECK(briefCode == code, briefCode);
  if (code != QEX_OK) FUZZ_CHECK(brief.untouched(kFill), code);
  if (!filled) return;
  const std::string ntpTime = TextOf(record->ntpTime, 32);
  const std::string expiration = TextOf(record->expiration, 32);
  if (code == QEX_OK) {
    FUZZ_CHECK(TextOf(brief->ntpTime, 32) == ntpTime && TextOf(brief->expiration, 32) == expiration, 0);
    FUZZ_CHECK(same(brief->offset, record->offset) && same(brief->delay, record->delay), 0);
  }
  if (!c) return;
  const auto metrics = find_metrics(*c);
  if (!metrics) return;
  bool fits = true;
  FUZZ_CHECK(same(record->delay, seconds_of(metrics->delay, &fits)), 1e6 * record->delay);
  FUZZ_CHECK(same(record->offset, seconds_of(metrics->offset, &fits)), 1e6 * record->offset);
  FUZZ_CHECK(expiration == text_of(metrics->expiration, &fits), expiration.size());
  FUZZ_CHECK(ntpTime == text_of(metrics->ntpTime, &fits), ntpTime.size());
  FUZZ_CHECK(record->leapAction == 0 && record->leapTime[0] == 0, record->leapAction);
  FUZZ_CHECK((code == QEX_OK) == fits, code);
}

void check_policy(View tac, const std::optional<Certificate>& c) {
  Record<QEX_TIMING_POLICY> record(kFill);
  ResetProcess();
  const int32_t code = QEX_GetTAC_TimingPolicy(record.get(), tac.data(), uint32_t(tac.size()));
  CheckCode(code, {QEX_OK, QEX_E_MISSING, QEX_E_DECODE, QEX_E_NOPOLICY}, "QEX_GetTAC_TimingPolicy");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  if (code != QEX_OK) {
    FUZZ_CHECK(record.untouched(kFill), code);
    if (!c || code == QEX_E_DECODE) return;
    // Without a value the attribute is as if it were not there.
    const bool none = c->attributes->children.empty();
    FUZZ_CHECK((code == QEX_E_MISSING) == none, code);
    return;
  }
  TextOf(record->policyID, sizeof record->policyID);
  if (!c) return;
  const auto& attributes = c->attributes->children;
  FUZZ_CHECK(std::any_of(attributes.begin(), attributes.end(),
                         [](const Tlv& a) {
                           return is_timing(a, {0x04, 0x02});
                         }),
             code);
}

// --- Tokens ----------------------------------------------------------------------

void check_token(View token, SigningCertificate which) {
  int32_t code = 0;
  const auto out = CheckOutputRule(
      [&](uint8_t* to, uint32_t* length) {
        ResetProcess(which);
        return QEX_GetTST_TimeAttributeCert(to, length, token.data(), uint32_t(token.size()));
      },
      &code);
  CheckCode(code, {QEX_OK, QEX_E_MISSING, QEX_E_DECODE, QEX_E_NOTAC}, "QEX_GetTST_TimeAttributeCert");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  if (!out) return;
  FUZZ_CHECK(IsDefinite(*out) && (*out)[0] == 0x30, out->size());
  // The attribute certificate taken from the token belongs to it; QEX_E_DECODE when it comes from the signer
  // attributes and nothing is named.
  ResetProcess(which);
  const int32_t matches =
      QEX_CheckTAC_MatchesTST(out->data(), uint32_t(out->size()), token.data(), uint32_t(token.size()));
  CheckCode(matches, {QEX_OK, QEX_E_DECODE}, "QEX_CheckTAC_MatchesTST, of its own certificate");
  FUZZ_CHECK(QEX_GetLastAsnError() == 0, QEX_GetLastAsnError());
}

void check_match(View tac, View token, SigningCertificate which) {
  ResetProcess(which);
  const int32_t code =
      QEX_CheckTAC_MatchesTST(tac.data(), uint32_t(tac.size()), token.data(), uint32_t(token.size()));
  CheckCode(code, {QEX_OK, QEX_E_DECODE, QEX_E_MISMATCH}, "QEX_CheckTAC_MatchesTST");
  if (code != QEX_E_DECODE) FUZZ_CHECK(QEX_GetLastAsnError() == 0, QEX_GetLastAsnError());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Tlv first;
  const size_t firstSize = ReadTlv({data, size}, &first).value_or(size);
  const Input tac({data, firstSize});
  const Input token({data + firstSize, size - firstSize});
  std::optional<Certificate> certificate;
  const auto sequence = SequenceIn(tac.view());
  if (sequence) certificate = read_certificate(*sequence);
  check_info(tac.view(), certificate);
  check_metrics(tac.view(), certificate);
  check_policy(tac.view(), certificate);
  for (const SigningCertificate which : {SigningCertificate::V1, SigningCertificate::V2}) {
    check_token(tac.view(), which);
    if (token.size() == 0) continue;
    check_token(token.view(), which);
    check_match(tac.view(), token.view(), which);
  }
  return 0;
}

}  // namespace qex::fuzz
