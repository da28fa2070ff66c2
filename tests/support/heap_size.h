// The size of a heap's block, for memory figures that do not depend on the heap in use.
#pragma once

#include <algorithm>
#include <cstddef>

namespace qex::test {

// HeapSize returns the octets of a block of `n` octets as glibc takes it on machines of 64 bits: 8 octets in
// front, multiples of 16, 32 at least.
constexpr size_t HeapSize(size_t n) {
  return std::max<size_t>(32, (n + 8 + 15) / 16 * 16);
}

}  // namespace qex::test
