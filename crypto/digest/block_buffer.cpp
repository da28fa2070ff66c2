// The padding: one bit, then zeros, for the longest block.
#include "crypto/digest/block_buffer.h"

namespace qex {

const uint8_t kPadding[128] = {0x80};

}  // namespace qex
