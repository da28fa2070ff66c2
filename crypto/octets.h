// Words from octets and back, at any address, in the byte order that the name says; and octets asked for
// early.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qex {

// Ordered returns `v` with its octets in the order `kOrder` of memory, from that of this machine, or back.
// The compiler's own byte swap, not shifts: where stores of octets adjoin, g++ 12 makes vectors of them, not
// words.
template <std::endian kOrder>
constexpr uint32_t Ordered(uint32_t v) {
  return std::endian::native == kOrder ? v : __builtin_bswap32(v);
}
template <std::endian kOrder>
constexpr uint64_t Ordered(uint64_t v) {
  return std::endian::native == kOrder ? v : __builtin_bswap64(v);
}

template <std::endian kOrder, class Word>
Word LoadOrdered(const uint8_t* p) {
  Word v;
  std::memcpy(&v, p, sizeof(v));
  return Ordered<kOrder>(v);
}
template <std::endian kOrder, class Word>
void StoreOrdered(uint8_t* p, Word v) {
  v = Ordered<kOrder>(v);
  std::memcpy(p, &v, sizeof(v));
}

inline uint32_t LoadBE32(const uint8_t* p) {
  return LoadOrdered<std::endian::big, uint32_t>(p);
}
inline uint64_t LoadBE64(const uint8_t* p) {
  return LoadOrdered<std::endian::big, uint64_t>(p);
}
inline uint32_t LoadLE32(const uint8_t* p) {
  return LoadOrdered<std::endian::little, uint32_t>(p);
}
inline void StoreBE32(uint8_t* p, uint32_t v) {
  StoreOrdered<std::endian::big>(p, v);
}
inline void StoreLE32(uint8_t* p, uint32_t v) {
  StoreOrdered<std::endian::little>(p, v);
}

// A value of 64 bits in two words of 32, the high word first, each in the order of this machine.
inline uint64_t LoadPair(const uint32_t* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof(v));
  return std::endian::native == std::endian::big ? v : std::rotl(v, 32);
}
inline void StorePair(uint32_t* p, uint64_t v) {
  if (std::endian::native != std::endian::big) v = std::rotl(v, 32);
  std::memcpy(p, &v, sizeof(v));
}

// PrefetchBlock is for loops over `blocks` blocks from `data` on. It asks for the octets of a later block,
// half a kilobyte ahead, where there are as many: processors that fetch ahead by themselves stop at the end
// of each page, and a long message comes from memory, not from a cache.
template <size_t kBlock>
[[gnu::always_inline]] inline void PrefetchBlock(const uint8_t* data, size_t blocks) {
  constexpr size_t kAhead = 512;
  if (blocks <= kAhead / kBlock) return;
  for (size_t at = kAhead; at < kAhead + kBlock; at += 64) __builtin_prefetch(data + at);
}

}  // namespace qex
