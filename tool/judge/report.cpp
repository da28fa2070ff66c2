// Check lines.
#include "tool/judge/report.h"

#include <utility>

#include "tool/base/output.h"

namespace qex::tool {
namespace {

constexpr size_t kNameWidth = 10;

}  // namespace

const char* Report::name_of(Verdict verdict) {
  constexpr const char* kNames[] = {"pass", "fail", "skip"};
  return kNames[static_cast<size_t>(verdict)];
}

void Report::Pass(std::string name, std::string text) {
  checks_.push_back({Verdict::Pass, std::move(name), std::move(text), {}});
}

void Report::Skip(std::string name, std::string text) {
  checks_.push_back({Verdict::Skip, std::move(name), std::move(text), {}});
}

void Report::Fail(std::string name, std::string text, ExitStatus exit, std::string hint, int32_t code,
                  int32_t asn1Error) {
  Failure failure{exit, name + ": " + text, std::move(hint), code, asn1Error};
  checks_.push_back({Verdict::Fail, std::move(name), std::move(text), std::move(failure)});
}

std::optional<Failure> Report::FirstFailure(const std::string& subject) const {
  for (const Check& check : checks_) {
    if (check.verdict != Verdict::Fail) continue;
    Failure failure = check.failure;
    failure.message = subject + ": " + failure.message;
    return failure;
  }
  return std::nullopt;
}

std::string Report::Text(const Options& options) const {
  constexpr Tone kTones[] = {Tone::Good, Tone::Bad, Tone::Aside};
  std::string text;
  for (const Check& check : checks_) {
    text += Colored(name_of(check.verdict), kTones[static_cast<size_t>(check.verdict)], options);
    text += "  " + check.name;
    text.append(check.name.size() < kNameWidth ? kNameWidth - check.name.size() : 0, ' ');
    text += "   " + check.text + "\n";
  }
  return text;
}

Json Report::Checks() const {
  Json list = Json::array();
  for (const Check& check : checks_) {
    list.push_back({{"verdict", name_of(check.verdict)}, {"name", check.name}, {"text", check.text}});
  }
  return list;
}

}  // namespace qex::tool
