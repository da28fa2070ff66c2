// The outcome of one subject of a command: rendered, so that it can cross a pipe, and written in one place.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tool/base/failure.h"
#include "tool/base/options.h"

namespace qex::tool {

struct Outcome {
  ExitStatus exit = ExitStatus::Ok;
  bool unchecked = false;  // no check fails, but no signer was trusted
  std::string output;      // for standard output: text, or one line of JSON
  std::string errors;      // for standard error
  std::string line;        // of several subjects: one line, without a line feed
  std::string reason;      // why it does not pass, in one word: the key of a check, or the fault
};

// Emit writes an outcome and returns its exit status.
[[nodiscard]] ExitStatus Emit(const Outcome& outcome);

// OutcomeOf renders a failure of a subject that has no checks to show.
Outcome OutcomeOf(const Failure& failure, const char* command, const std::string& subject,
                  const Options& options);

// ReasonOf is the word for a failure that no check found.
const char* ReasonOf(ExitStatus exit);

// An outcome as a frame, and back; nothing for other octets.
std::string FrameOf(const Outcome& outcome);
[[nodiscard]] std::optional<Outcome> OutcomeFrom(std::string_view frame);

}  // namespace qex::tool
