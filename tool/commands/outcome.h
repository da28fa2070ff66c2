// What became of one subject of a command: rendered, so that it can cross a pipe, and written in one place.
#pragma once

#include <string>

#include "tool/base/exit_status.h"

namespace qex::tool {

struct Outcome {
  ExitStatus exit = ExitStatus::Ok;
  std::string output;  // for standard output: text, or one line of JSON
  std::string errors;  // for standard error
  std::string line;    // of several subjects: one line, without a line feed
};

// Emit writes an outcome and returns its exit status.
ExitStatus Emit(const Outcome& outcome);

}  // namespace qex::tool
