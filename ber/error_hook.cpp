// Until a program sets its own handler, texts go to standard error.
#include "ber/error_hook.h"

#include <cstdio>

namespace qex {
namespace {

void print_error(const char* text, int /*severity*/) {
  std::fprintf(stderr, "%s", text);
}

}  // namespace

void (*AsnErrorHandler)(const char* text, int severity) = print_error;

void AsnError(const char* text) {
  AsnErrorHandler(text, 1);
}

}  // namespace qex
