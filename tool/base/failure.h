// The end of a command by an error: an exit status, one line that names the file and the fault, and one with
// the next step. Any part of the tool may throw it; one place prints it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "tool/base/exit_status.h"

namespace qex::tool {

struct Failure {
  ExitStatus exit;
  std::string message;  // lower case, no full stop
  std::string hint;     // empty: none
  int32_t code = 0;     // result code of the library
  int32_t asn1Error = 0;
  std::string libraryMessages = {};  // the library's error texts, shown under -v and in JSON
};

// ReaderGone ends a command when nobody reads its standard output any more: not a fault, and without an error
// line. It is not a Failure, so no code between the write and main blames it on one subject.
struct ReaderGone {};

// UsageFailure is a command line that cannot be carried out.
inline Failure UsageFailure(std::string message, std::string hint) {
  return {ExitStatus::Usage, std::move(message), std::move(hint)};
}

}  // namespace qex::tool
