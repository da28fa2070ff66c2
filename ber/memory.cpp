// On the C heap. A size of 0 becomes 1, so that every block has an address of its own.
#include "ber/memory.h"

#include <cstdlib>

namespace qex {

void* AsnAlloc(size_t bytes) {
  return std::calloc(1, bytes == 0 ? 1 : bytes);
}

void AsnFree(void* p) {
  std::free(p);
}

}  // namespace qex
