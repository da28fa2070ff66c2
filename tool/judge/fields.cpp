// Names and texts of the parts of messages.
#include "tool/judge/fields.h"

#include <algorithm>
#include <iterator>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/judge/judge.h"
#include "tool/message/gen_time.h"
#include "tool/message/oid_text.h"

namespace qex::tool {
namespace {

// RFC 3161, 2.4.2.
constexpr const char* kStatusNames[] = {"granted", "granted with modifications", "rejection",
                                        "waiting", "revocation warning",         "revocation notification"};

struct FailInfoName {
  uint32_t number;
  const char* name;
};

constexpr FailInfoName kFailInfos[] = {
    {0, "badAlg"},
    {2, "badRequest"},
    {5, "badDataFormat"},
    {14, "timeNotAvailable"},
    {15, "unacceptedPolicy"},
    {16, "unacceptedExtension"},
    {17, "addInfoNotAvailable"},
    {25, "systemFailure"},
};

std::string failure_name(uint32_t number) {
  const auto* row = std::ranges::find(kFailInfos, number, &FailInfoName::number);
  return row == std::end(kFailInfos) ? "failure " + std::to_string(number) : std::string(row->name);
}

double accuracy_seconds(const Accuracy& accuracy) {
  const auto part = [](const std::optional<int64_t>& value) { return double(value.value_or(0)); };
  return part(accuracy.seconds) + part(accuracy.millis) / 1e3 + part(accuracy.micros) / 1e6;
}

[[nodiscard]] bool is_cut(int32_t code) {
  return code == QEX_E_SIZE;
}

}  // namespace

std::string HashName(const Bytes& algorithm) {
  const HashAlgorithm* hash = FindHash(algorithm);
  return hash == nullptr ? inspect::NamedOid(inspect::DecodeOid(algorithm)) : std::string(hash->name);
}

std::string AccuracyText(const TstInfo& info) {
  if (!info.accuracy) return "";
  // Parts are at most 999 (RFC 3161, 2.4.2); larger ones are shown unchanged and not added up.
  const int64_t seconds = info.accuracy->seconds.value_or(0);
  const int64_t millis = info.accuracy->millis.value_or(0);
  const int64_t micros = info.accuracy->micros.value_or(0);
  if (seconds < 0 || millis < 0 || millis > 999 || micros < 0 || micros > 999) {
    return std::to_string(seconds) + " s, " + std::to_string(millis) + " ms, " + std::to_string(micros) +
           " us";
  }
  const int64_t fraction = millis * 1000 + micros;
  if (seconds == 0 && fraction == 0) return "";
  std::string digits = std::to_string(1000000 + fraction).substr(1);
  digits.erase(digits.find_last_not_of('0') + 1);
  return std::to_string(seconds) + (digits.empty() ? "" : "." + digits) + " s";
}

Json TokenFields(const Facts& facts) {
  const TstInfo& info = InfoOf(facts);
  const auto time = ParseGenTime(info.genTime);
  Json fields;
  fields["time"] = time ? time->iso : info.genTime;
  fields["time_as_received"] = info.genTime;
  if (const std::string accuracy = AccuracyText(info); !accuracy.empty()) {
    fields["accuracy"] = accuracy;
    fields["accuracy_seconds"] = accuracy_seconds(*info.accuracy);
  }
  fields["serial"] = IntegerText(info.serial);
  fields["policy"] = inspect::DecodeOid(info.policy);
  fields["hash"] = HashName(info.imprint.algorithm);
  fields["imprint"] = ToHex(info.imprint.digest);
  if (info.nonce) fields["nonce"] = IntegerText(*info.nonce);
  fields["ordering"] = info.ordering;
  if (!facts.tsaName.empty()) fields["authority"] = facts.tsaName;
  fields["version"] = info.version;
  if (facts.library && !facts.library->cut.empty()) fields["cut"] = facts.library->cut;
  return fields;
}

Json RequestFields(const RequestFacts& request) {
  Json fields;
  fields["hash"] = HashName(request.imprint.algorithm);
  fields["imprint"] = ToHex(request.imprint.digest);
  if (request.policy) fields["policy"] = inspect::DecodeOid(*request.policy);
  if (request.nonce) fields["nonce"] = IntegerText(*request.nonce);
  fields["certificate_wanted"] = request.certificateWanted;
  if (request.extensions != 0) fields["extensions"] = request.extensions;
  return fields;
}

std::string StatusName(const Status& status) {
  const bool known = status.value >= 0 && size_t(status.value) < std::size(kStatusNames);
  return known ? kStatusNames[status.value] : "unknown status";
}

std::string FailureNames(const Status& status) {
  if (!status.failures || status.failures->empty()) return "no failure named";
  std::string names;
  for (const uint32_t number : *status.failures) names += (names.empty() ? "" : ", ") + failure_name(number);
  return names;
}

Json StatusFields(const Status& status) {
  Json fields;
  fields["status"] = status.value;
  fields["name"] = StatusName(status);
  if (!status.texts.empty()) {
    std::string text;
    for (const std::string& line : status.texts) text += (text.empty() ? "" : "; ") + line;
    fields["text"] = text;
  }
  const bool granted = status.value == 0 || status.value == 1;
  if (status.failures) fields["fail_info"] = *status.failures;
  if (status.failures || !granted) fields["failure"] = FailureNames(status);
  return fields;
}

Json KeyFields(const SignerKey& key) {
  Json fields;
  fields["type"] = key.type;
  if (key.bits != 0) fields["bits"] = key.bits;
  if (!key.exponent.empty()) fields["exponent"] = "0x" + ToHex(key.exponent);
  return fields;
}

Json TacFields(const TacFacts& tac) {
  Json fields = Json::parse(tac.info);
  fields["sha256"] = ToHex(tac.sha256);
  return fields;
}

std::optional<Failure> MissingTiming(const TacFacts& tac, const std::string& subject) {
  if (tac.metricsCode != QEX_OK &&
      !is_cut(tac.metricsCode)) {  // values that did not fit their field are noted, not a failure
    return Failure{ExitOfCode(tac.metricsCode),
                   subject + ": the attribute certificate states no timing metrics",
                   "it serves another purpose, or its issuer left them out", tac.metricsCode};
  }
  if (tac.policyCode != QEX_OK) {
    return Failure{ExitOfCode(tac.policyCode),
                   subject + ": the attribute certificate states no timing policy",
                   "its issuer left it out; what it does state is shown", tac.policyCode};
  }
  return std::nullopt;
}

std::string TimeLine(const Facts& facts) {
  const TstInfo& info = InfoOf(facts);
  const auto time = ParseGenTime(info.genTime);
  std::string line = "time  " + (time ? time->iso : Quoted(info.genTime));
  if (const std::string accuracy = AccuracyText(info); !accuracy.empty()) line += " +/- " + accuracy;
  return line + "   serial " + IntegerText(info.serial) + "   policy " + inspect::DecodeOid(info.policy) +
         "\n";
}

}  // namespace qex::tool
