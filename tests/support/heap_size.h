// The size of a heap's block, for memory figures that do not depend on the heap in use.
#pragma once

#include <algorithm>
#include <cstddef>

namespace qex::test {

// HeapSize returns the octets of a block for `n` octets in glibc on 64-bit machines: a header of 8 octets,
// multiples of 16, at least 32.
constexpr size_t HeapSize(size_t n) {
  return std::max<size_t>(32, (n + 8 + 15) / 16 * 16);
}

}  // namespace qex::test
