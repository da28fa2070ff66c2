// Exit statuses. They are documented, scripts test them, and none is ever renumbered.
#pragma once

#include <cstdint>
#include <span>

namespace qex::tool {

enum class ExitStatus : uint8_t {
  Ok = 0,           // all asked checks pass
  CheckFailed = 1,  // a check says no
  Usage = 2,
  File = 3,         // cannot be read or written
  Input = 4,        // not the expected kind of input
  Refused = 5,      // by the authority
  Network = 6,      // also TLS, HTTP status, time-out, short reply
  Unsupported = 7,  // algorithm, which is named
  Absent = 8,       // a needed certificate or attribute certificate
  Internal = 70,    // worker ended, memory
};

struct ExitText {
  ExitStatus status;
  const char* text;
  const char* advice;
};

// ExitTexts returns all statuses in ascending order.
std::span<const ExitText> ExitTexts();

// Graver returns the one of two exit statuses that counts for several subjects: the first of 70, 1, 4, 7, 8,
// 5, 6, 3, 2.
[[nodiscard]] ExitStatus Graver(ExitStatus a, ExitStatus b);

// ExitOfCode returns the exit status that a result code of the library leads to.
[[nodiscard]] ExitStatus ExitOfCode(int32_t code);

}  // namespace qex::tool
