// What ends a command early: an exit status, one line that names the file and what was wrong,
// and one with the next step. Thrown by any part of the tool, printed in one place.
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
  std::string libraryMessages = {};  // what the library wrote about it, shown under -v and in JSON
};

// ReaderGone ends a command whose standard output nobody reads any more: no fault, and no line about it. It
// is no Failure, so that nothing between the write and main takes it for the fault of one subject.
struct ReaderGone {};

// UsageFailure is a command line that cannot be carried out.
inline Failure UsageFailure(std::string message, std::string hint) {
  return {ExitStatus::Usage, std::move(message), std::move(hint)};
}

}  // namespace qex::tool
