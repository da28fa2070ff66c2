// Records of attribute certificates as facts.
#include "tool/worker/examine_tac.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/message/oid_text.h"
#include "tool/message/tags.h"
#include "tool/worker/inspect/code_texts.h"
#include "tool/worker/inspect/describe.h"
#include "tool/worker/library_call.h"

namespace qex::tool {
namespace {

// A time for people under `name`, and as the library gave it. An empty one is left out.
void add_time(Json& object, const std::string& name, std::string_view time) {
  if (time.empty()) return;
  const auto* octets = reinterpret_cast<const uint8_t*>(time.data());
  object[name] = inspect::TimeText(inspect::kGeneralizedTime, {octets, time.size()});
  object[name + "_as_received"] = std::string(time);
}

// The shortest decimal number that is this one in single precision: 0.1, not 0.10000000149.
Json number_of(float value) {
  if (!std::isfinite(value)) return nullptr;
  std::array<char, 32> text{};
  for (int digits = 1; digits <= std::numeric_limits<float>::max_digits10; ++digits) {
    std::snprintf(text.data(), text.size(), "%.*g", digits, double(value));
    if (std::strtof(text.data(), nullptr) == value) break;
  }
  return std::strtod(text.data(), nullptr);
}

template <size_t kSize>
[[nodiscard]] bool fills(const char (&text)[kSize]) {
  return std::strlen(text) + 1 == kSize;
}

Json cut_parts(const QEX_TACINFO_EX& record) {
  Json cut = Json::array();
  const auto longer = [](int32_t length, size_t size) { return uint32_t(length) > size; };
  if (longer(record.objectDigestLen, sizeof record.objectDigest)) cut.push_back("holder digest");
  if (longer(record.serialNumberLen, sizeof record.serialNumber)) cut.push_back("serial number");
  if (longer(record.signatureValueLen, sizeof record.signatureValue)) cut.push_back("signature");
  if (fills(record.digestAlgorithm)) cut.push_back("digest algorithm");
  if (fills(record.signatureAlgorithm)) cut.push_back("signature algorithm");
  return cut;
}

template <size_t kSize>
std::string octets_text(const uint8_t (&octets)[kSize], int32_t length) {
  return ToHex(FieldOf(octets, uint32_t(length)));
}

Json describe_info(ByteView tac) {
  QEX_TACINFO_EX record{};
  record.size = sizeof record;
  const int32_t code = QEX_GetTAC_CertInfoEx(&record, tac.data(), LengthOf(tac));
  if (code != QEX_OK && code != QEX_E_SIZE) {
    throw LibraryFailure("the attribute certificate cannot be read", code, tac);
  }
  Json info;
  if (record.holderName[0] != '\0') info["holder"] = record.holderName;
  if (record.objectDigestLen != 0) {
    const HashAlgorithm* hash = FindHash(std::string_view(record.digestAlgorithm));
    info["holder_digest_algorithm"] =
        hash == nullptr ? inspect::NamedOid(record.digestAlgorithm) : std::string(hash->name);
    info["holder_digest"] = octets_text(record.objectDigest, record.objectDigestLen);
  }
  if (record.issuerName[0] != '\0') info["issuer"] = record.issuerName;
  info["serial"] = IntegerText(FieldOf(record.serialNumber, uint32_t(record.serialNumberLen)));
  add_time(info, "not_before", record.notBefore);
  add_time(info, "not_after", record.notAfter);
  info["signature_algorithm"] = inspect::NamedOid(record.signatureAlgorithm);
  info["version"] = record.version;
  if (code == QEX_E_SIZE) info["cut"] = cut_parts(record);
  return info;
}

[[nodiscard]] int32_t describe_metrics(Json& people, ByteView tac) {
  QEX_TIMING_METRICS_EX record{};
  const int32_t code = QEX_GetTAC_TimingMetricsEx(&record, tac.data(), LengthOf(tac));
  RequireMemory("the timing metrics cannot be read", code);
  if (code != QEX_OK && code != QEX_E_SIZE) return code;
  Json info;
  add_time(info, "ntp_time", record.ntpTime);
  info["offset_seconds"] = number_of(record.offset);
  info["delay_seconds"] = number_of(record.delay);
  add_time(info, "expiration", record.expiration);
  if (record.leapTime[0] != '\0' || record.leapAction != 0) {
    Json leap;
    add_time(leap, "time", record.leapTime);
    leap["action"] = record.leapAction;
    info["leap_event"] = leap;
  }
  // The code does not say which one: a time beyond those that can be rendered, or a long number.
  if (code == QEX_E_SIZE) info["cut"] = Json::array({"a time or duration out of range"});
  people["timing_metrics"] = info;
  return code;
}

[[nodiscard]] int32_t describe_policy(Json& people, ByteView tac) {
  QEX_TIMING_POLICY record{};
  const int32_t code = QEX_GetTAC_TimingPolicy(&record, tac.data(), LengthOf(tac));
  RequireMemory("the timing policy cannot be read", code);
  if (code != QEX_OK) return code;
  Json info;
  if (record.policyID[0] != '\0') info["policy"] = record.policyID;
  info["max_offset_seconds"] = number_of(record.maxOffset);
  info["max_delay_seconds"] = number_of(record.maxDelay);
  if (fills(record.policyID)) info["cut"] = Json::array({"policy"});
  people["timing_policy"] = info;
  return code;
}

}  // namespace

TacFacts DescribeTac(ByteView tac) {
  TacFacts facts;
  facts.der.assign(tac.begin(), tac.end());
  facts.sha256 = Sha256(tac);
  Json info = describe_info(tac);
  facts.metricsCode = describe_metrics(info, tac);
  facts.policyCode = describe_policy(info, tac);
  info["attributes"] = inspect::AttributeTypes(tac);
  facts.info = info.dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
  return facts;
}

void DescribeTacOfToken(Facts& facts, ByteView token, const Bytes& given, const std::string& serves) {
  Bytes own;
  const int32_t code = FetchOutput(own, 0, [&](uint8_t* out, uint32_t* length) {
    return QEX_GetTST_TimeAttributeCert(out, length, token.data(), LengthOf(token));
  });
  RequireMemory("the attribute certificate cannot be taken out", code);
  const int32_t asn1Error = QEX_GetLastAsnError();
  TacFacts tac;
  if (code == QEX_OK) {
    // A form without a reader is no reason to refuse the token.
    try {
      tac = DescribeTac(own);
    } catch (const Failure& failure) {
      if (failure.exit == ExitStatus::Internal) throw;
      tac.der = own;
      tac.sha256 = Sha256(own);
      tac.failure = failure;
    }
  }
  tac.code = code;
  tac.asn1Error = asn1Error;
  tac.meaning = inspect::CodeMeaning(code);
  facts.tac = std::move(tac);
  const Bytes& matched = given.empty() ? own : given;
  if (matched.empty()) return;
  const int32_t match = CallWithMemory("the attribute certificate cannot be matched", [&] {
    return QEX_CheckTAC_MatchesTST(matched.data(), LengthOf(matched), token.data(), LengthOf(token));
  });
  facts.tacMatch = TacMatch{match, QEX_GetLastAsnError(), inspect::CodeMeaning(match), serves};
}

}  // namespace qex::tool
