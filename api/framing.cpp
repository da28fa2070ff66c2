// The end of an HTTP head.
#include "api/framing.h"

namespace qex {

size_t HttpHeadLength(const uint8_t* data, size_t length) {
  size_t i = 0;
  for (;;) {
    while (i < length && data[i] != '\n') ++i;
    if (i == length) return 0;
    // Moves to the next line, past a CR, but never beyond the last byte.
    if (i + 1 < length) {
      ++i;
      if (data[i] == '\r' && i + 1 < length) ++i;
    }
    if (data[i] == '\n') return i + 1;
  }
}

}  // namespace qex
