// Words from octets and back, by value: shifts say the byte order, so that the same
// code holds on every machine and at every address. Compilers make one load or store of each.
#pragma once

#include <cstdint>

namespace qex {

inline uint32_t LoadBE32(const uint8_t* p) {
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

inline uint64_t LoadBE64(const uint8_t* p) {
  return uint64_t{LoadBE32(p)} << 32 | LoadBE32(p + 4);
}

inline uint32_t LoadLE32(const uint8_t* p) {
  return uint32_t{p[3]} << 24 | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | uint32_t{p[0]};
}

inline void StoreBE32(uint8_t* p, uint32_t v) {
  p[0] = uint8_t(v >> 24);
  p[1] = uint8_t(v >> 16);
  p[2] = uint8_t(v >> 8);
  p[3] = uint8_t(v);
}

inline void StoreBE64(uint8_t* p, uint64_t v) {
  for (int k = 0; k < 8; ++k) p[k] = uint8_t(v >> (56 - 8 * k));
}

inline void StoreLE32(uint8_t* p, uint32_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
  p[2] = uint8_t(v >> 16);
  p[3] = uint8_t(v >> 24);
}

}  // namespace qex
