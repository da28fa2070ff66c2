// Memory of decoded values.
//
// The parts of a value are in the arena of its recovery point, which releases them as a whole, or are blocks
// of the heap, which the Free routine of its type releases one by one. A value in an arena is never freed.
#pragma once

#include <cstddef>

#include "ber/arena.h"
#include "ber/tag_length.h"

namespace qex {

// AsnAlloc returns `bytes` zeroed bytes from the heap, null when that fails. A request of 0
// bytes yields a pointer of its own, so that an empty value differs from an absent one.
[[nodiscard]] void* AsnAlloc(size_t bytes);
void AsnFree(void* p);

// AsnNew returns `bytes` zeroed bytes for a part of the value that a decoder builds: from the arena of `env`,
// or from AsnAlloc where there is none. It raises kOutOfMemoryCode when an allocation fails. AsnNewOctets
// does the same for octets that the decoder writes itself, and does not zero those of an arena.
[[nodiscard]] inline void* AsnNew(size_t bytes, AsnJmpEnv& env) {
  void* const p = env.arena != nullptr ? env.arena->take_zeroed(bytes) : AsnAlloc(bytes);
  if (p == nullptr) AsnRaise(env, kOutOfMemoryCode);
  return p;
}
[[nodiscard]] inline uint8_t* AsnNewOctets(size_t bytes, AsnJmpEnv& env) {
  void* const p = env.arena != nullptr ? env.arena->take(bytes) : AsnAlloc(bytes);
  if (p == nullptr) AsnRaise(env, kOutOfMemoryCode);
  return static_cast<uint8_t*>(p);
}

}  // namespace qex
