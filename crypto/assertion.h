// Assertions of the cryptographic layer: broken preconditions stop the process.
//
// They hold in release builds too. The text, file and line that are printed are
// given at the place of use, so that they stay the same wherever the code moves.
#pragma once

namespace qex {

// AssertionFailed writes "Assertion failed: %s, file %s, line %d\n" to the standard
// error stream and aborts the process.
[[noreturn]] void AssertionFailed(const char* text, const char* file, int line);

}  // namespace qex

// QEX_ASSERT stops the process with the given text, file and line unless `condition` holds.
#define QEX_ASSERT(condition, text, file, line)                       \
  do {                                                                \
    if (!(condition)) ::qex::AssertionFailed((text), (file), (line)); \
  } while (false)
