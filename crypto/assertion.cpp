// Assertions of the cryptographic layer.
#include "crypto/assertion.h"

#include <cstdio>
#include <cstdlib>

namespace qex {

void AssertionFailed(const char* text, const char* file, int line) {
  std::fprintf(stderr, "Assertion failed: %s, file %s, line %d\n", text, file, line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace qex
