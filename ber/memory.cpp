// Memory of decoded values, and the error hook.
#include "ber/memory.h"

#include <cstdio>
#include <cstdlib>

namespace qex {

namespace {

void print_error(const char* text, int /*severity*/) {
  std::fprintf(stderr, "%s", text);
}

}  // namespace

void* AsnAlloc(size_t bytes) {
  return std::calloc(1, bytes == 0 ? 1 : bytes);
}

void AsnFree(void* p) {
  std::free(p);
}

void (*AsnErrorHandler)(const char* text, int severity) = print_error;

void AsnError(const char* text) {
  AsnErrorHandler(text, 1);
}

}  // namespace qex
