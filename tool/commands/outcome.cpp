// Writing outcomes, to people and to a pipe. A frame is the exit status, a flag, and the texts as
// parts.
#include "tool/commands/outcome.h"

#include <cstdio>
#include <utility>

#include "tool/base/files.h"
#include "tool/base/frame.h"
#include "tool/base/json.h"
#include "tool/base/output.h"

namespace qex::tool {
namespace {

constexpr std::string Outcome::*kTexts[] = {&Outcome::output, &Outcome::errors, &Outcome::line,
                                            &Outcome::reason};

}  // namespace

ExitStatus Emit(const Outcome& outcome) {
  if (!outcome.output.empty()) WriteData(outcome.output);
  if (!outcome.errors.empty()) std::fputs(outcome.errors.c_str(), stderr);
  return outcome.exit;
}

Outcome OutcomeOf(const Failure& failure, const char* command, const std::string& subject,
                  const Options& options) {
  Outcome outcome;
  outcome.exit = failure.exit;
  outcome.reason = ReasonOf(failure.exit);
  outcome.errors = LibraryMessagesText(failure.libraryMessages, options) + FailureText(failure);
  const std::string name = ShownPath(subject);
  const size_t repeated = failure.message.starts_with(name + ": ") ? name.size() + 2 : 0;
  outcome.line = "fail  " + name + "   " + failure.message.substr(repeated);
  if (options.json) {
    Json document = NewDocument(command, subject);
    SetFailure(document, failure);
    outcome.output = JsonLine(std::move(document));
  }
  return outcome;
}

const char* ReasonOf(ExitStatus exit) {
  switch (exit) {
    case ExitStatus::Ok: return "";
    case ExitStatus::CheckFailed: return "check";
    case ExitStatus::Usage: return "usage";
    case ExitStatus::File: return "unreadable";
    case ExitStatus::Input: return "malformed";
    case ExitStatus::Refused: return "refused";
    case ExitStatus::Network: return "network";
    case ExitStatus::Unsupported: return "unsupported";
    case ExitStatus::Absent: return "absent";
    case ExitStatus::Internal: return "internal";
  }
  return "";
}

std::string FrameOf(const Outcome& outcome) {
  std::string frame{char(outcome.exit), char(outcome.unchecked)};
  for (const auto text : kTexts) AppendPart(frame, outcome.*text);
  return frame;
}

std::optional<Outcome> OutcomeFrom(std::string_view frame) {
  if (frame.size() < 2) return std::nullopt;
  Outcome outcome;
  outcome.exit = static_cast<ExitStatus>(frame[0]);
  outcome.unchecked = frame[1] != 0;
  frame.remove_prefix(2);
  for (const auto text : kTexts) {
    const auto part = TakePart(frame);
    if (!part) return std::nullopt;
    outcome.*text = *part;
  }
  if (!frame.empty()) return std::nullopt;
  return outcome;
}

}  // namespace qex::tool
