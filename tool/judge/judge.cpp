// The checks in their order, and the form of a refusal.
#include "tool/judge/judge.h"

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/judge/fields.h"

namespace qex::tool {
namespace {

// All texts of a status, as one quotation.
std::string quoted_texts(const Status& status) {
  std::string text;
  for (const std::string& line : status.texts) text += (text.empty() ? "" : "; ") + line;
  return Quoted(text);
}

const char* hint_of_refusal(const Status& status) {
  const uint32_t first = status.failures && !status.failures->empty() ? status.failures->front() : UINT32_MAX;
  if (status.value == 3) return "the authority has not decided yet; ask again later, or another authority";
  switch (first) {
    case 0: return "another --hash may be accepted";
    case 15: return "leave --policy out, or ask for one of the authority's policies";
    case 14:
    case 25: return "the fault lies with the authority; try again later or ask another one";
    default: return "ask the authority's operator, or another authority";
  }
}

[[nodiscard]] bool is_granted(const Status& status) {
  return status.value == 0 || status.value == 1;
}

void judge_status(Report& report, const Facts& facts) {
  if (!facts.status) {
    report.Skip("status", "a token without its reply");
    return;
  }
  const Status& status = *facts.status;
  report.Pass("status", StatusName(status) + (status.texts.empty() ? "" : ": " + quoted_texts(status)));
  if (status.failures && !status.failures->empty()) {
    report.Note("status", "the reply names a failure too: " + FailureNames(status));
  }
}

}  // namespace

const TstInfo& InfoOf(const Facts& facts) {
  return facts.strict ? facts.strict->info : facts.library.value().info;
}

const SignerCertificate* SignerOf(const Facts& facts) {
  if (facts.strict && facts.strict->signer) return &*facts.strict->signer;
  if (!facts.strict && facts.library && facts.library->signer) return &*facts.library->signer;
  return nullptr;
}

std::optional<Failure> RefusalOf(const Facts& facts, const std::string& subject) {
  if (!facts.status) return std::nullopt;
  const Status& status = *facts.status;
  if (is_granted(status)) {
    if (facts.token) return std::nullopt;
    return Failure{ExitStatus::Input, subject + ": the request is granted, but the reply carries no token",
                   "the authority is at fault; ask its operator, or another authority", QEX_E_NOTOKEN};
  }
  std::string text = subject + ": the authority refused: " + StatusName(status) + " (" +
                     std::to_string(status.value) + "), " + FailureNames(status);
  if (!status.texts.empty()) text += ": " + quoted_texts(status);
  return Failure{ExitStatus::Refused, text, hint_of_refusal(status), QEX_E_REJECTED};
}

Report JudgeToken(const Facts& facts, const Expected& expected, const Trust& trust, const Manner& manner,
                  const Options& options) {
  Report report;
  judge_status(report, facts);
  JudgeContents(report, facts, expected, options);
  JudgeSigner(report, facts, trust, manner, options);
  if (facts.library && !facts.library->cut.empty()) {
    std::string parts;
    for (const std::string& part : facts.library->cut) parts += (parts.empty() ? "" : ", ") + part;
    report.Note("library", "cut, as longer than its record: " + parts);
  }
  return report;
}

}  // namespace qex::tool
