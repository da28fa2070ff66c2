// Expectations: preconditions that builds for debugging check.
//
// A caller that breaks one is wrong, and the behaviour is then undefined. Where NDEBUG is set, as in every
// release, the condition is compiled and never evaluated. A precondition that stops a release too is an
// assertion (crypto/assertion.h).
#pragma once

#ifndef NDEBUG
#include <cstdio>
#include <cstdlib>

namespace qex {

// ExpectationFailed writes "Expectation failed: %s, file %s, line %d\n" to the standard error stream and
// aborts the process.
[[noreturn]] inline void ExpectationFailed(const char* text, const char* file, int line) {
  std::fprintf(stderr, "Expectation failed: %s, file %s, line %d\n", text, file, line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace qex

// QEX_EXPECT stops the process unless `condition` holds, and prints it and its place.
#define QEX_EXPECT(condition) \
  ((condition) ? static_cast<void>(0) : ::qex::ExpectationFailed(#condition, __FILE__, __LINE__))
#else
#define QEX_EXPECT(condition) static_cast<void>(sizeof((condition) ? 1 : 0))
#endif
