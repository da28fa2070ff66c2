// Check lines.
#include "tool/judge/report.h"

#include <algorithm>
#include <utility>

#include "tool/base/escape.h"
#include "tool/base/json.h"
#include "tool/base/output.h"

namespace qex::tool {
namespace {

constexpr size_t kNameWidth = 10;

constexpr const char* kVerdicts[] = {"pass", "fail", "skip", "note"};
constexpr Tone kTones[] = {Tone::Good, Tone::Bad, Tone::Aside, Tone::Aside};
constexpr const char* kBy[] = {"", "libqex", "strict", "both"};

// A check that both readers could do and only one did is marked.
[[nodiscard]] bool is_shown(const Check& check) {
  constexpr std::string_view kByBoth[] = {"imprint", "nonce",     "policy", "structure",
                                          "time",    "signature", "signer"};
  const bool one = check.by == By::Library || check.by == By::Strict;
  return one && std::ranges::find(kByBoth, check.name) != std::end(kByBoth);
}

const char* verdict_name(const Check& check) {
  return kVerdicts[size_t(check.verdict)];
}

}  // namespace

const char* NameOf(SubIndication sub) {
  constexpr const char* kNames[] = {
      "FORMAT_FAILURE",
      "HASH_FAILURE",
      "SIG_CRYPTO_FAILURE",
      "REVOKED",
      "NOT_YET_VALID",
      "SIG_CONSTRAINTS_FAILURE",
      "CHAIN_CONSTRAINTS_FAILURE",
      "CERTIFICATE_CHAIN_GENERAL_FAILURE",
      "CRYPTO_CONSTRAINTS_FAILURE",
      "NO_SIGNING_CERTIFICATE_FOUND",
      "NO_CERTIFICATE_CHAIN_FOUND",
      "REVOKED_CA_NO_POE",
      "OUT_OF_BOUNDS_NOT_REVOKED",
      "TRY_LATER",
      "GENERIC",
  };
  return kNames[size_t(sub)];
}

void Report::Pass(std::string name, std::string text, By by) {
  checks_.push_back({Verdict::Pass, std::move(name), std::move(text), by});
}

void Report::Skip(std::string name, std::string text) {
  checks_.push_back({Verdict::Skip, std::move(name), std::move(text)});
}

void Report::Note(std::string name, std::string text) {
  checks_.push_back({Verdict::Note, std::move(name), std::move(text)});
}

void Report::Fail(std::string name, Fault fault, By by) {
  std::string text = fault.text;
  checks_.push_back({Verdict::Fail, std::move(name), std::move(text), by, std::move(fault)});
}

const Check* Report::FirstFault() const {
  const auto found = std::ranges::find(checks_, Verdict::Fail, &Check::verdict);
  return found == checks_.end() ? nullptr : &*found;
}

const Check* Report::Find(std::string_view name) const {
  const auto found = std::ranges::find(checks_, name, &Check::name);
  return found == checks_.end() ? nullptr : &*found;
}

std::optional<Failure> Report::FirstFailure(const std::string& subject) const {
  const Check* check = FirstFault();
  if (check == nullptr) return std::nullopt;
  const Fault& fault = *check->fault;
  return Failure{fault.exit,      subject + ": " + check->name + ": " + fault.text,
                 fault.hint,      fault.code,
                 fault.asn1Error, {}};
}

std::string Report::Text(const Options& options) const {
  std::string text;
  for (const Check& check : checks_) {
    text += Colored(verdict_name(check), kTones[size_t(check.verdict)], options);
    text += "  " + check.name;
    text.append(check.name.size() < kNameWidth ? kNameWidth - check.name.size() : 0, ' ');
    text += "   " + Escaped(check.text);
    if (is_shown(check)) text += std::string("  [") + kBy[size_t(check.by)] + "]";
    text += '\n';
  }
  return text;
}

Json Report::Checks() const {
  Json list = Json::array();
  for (const Check& check : checks_) {
    Json one{{"name", check.name}, {"verdict", verdict_name(check)}, {"text", check.text}};
    if (check.by != By::None) one["by"] = kBy[size_t(check.by)];
    list.push_back(std::move(one));
  }
  return list;
}

}  // namespace qex::tool
