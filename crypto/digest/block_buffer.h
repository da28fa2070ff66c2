// Shared by the digests, between the caller's octets and their block functions: the count of the message, the
// gathering of whole blocks, and the padding of the last one.
//
// Between calls `fill` is below the block length. `compress` is called as compress(data, blocks) with at
// least one block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qex {

// AddBitCount adds `length` octets to a message length held in bits, modulo 2^64.
inline void AddBitCount(uint32_t* low, uint32_t* high, uint32_t length) {
  *low += length << 3;
  if (*low < length << 3) ++*high;
  *high += length >> 29;
}

// AddByteCount adds `length` octets to a message length held in octets, modulo 2^64.
inline void AddByteCount(uint32_t* low, uint32_t* high, uint32_t length) {
  *low += length;
  if (*low < length) ++*high;
}

// ClearBlock makes all octets zero. It does so in pieces for which compilers have a few stores, not a call or
// a string instruction, which would cost a tenth of a short message.
template <class Octet, size_t kBlock>
void ClearBlock(Octet (&block)[kBlock]) {
  constexpr size_t kPiece = 64 / sizeof(Octet);
  static_assert(kBlock % kPiece == 0, "a block is cleared in pieces of 64 octets");
  for (size_t at = 0; at < kBlock; at += kPiece) std::memset(block + at, 0, 64);
}

// AbsorbOctets adds `length` octets. Whole blocks go to `compress` straight from the caller's memory, at any
// address; only parts of blocks are copied. `data` may be null when `length` is 0.
template <size_t kBlock, class Compress>
void AbsorbOctets(uint8_t (&buffer)[kBlock], uint32_t* fill, const uint8_t* data, size_t length,
                  const Compress& compress) {
  if (length == 0) return;  // memcpy takes no null pointer, not even for nothing
  const size_t room = kBlock - *fill;
  if (length < room) {
    std::memcpy(buffer + *fill, data, length);
    *fill += uint32_t(length);
    return;
  }
  if (*fill != 0) {
    std::memcpy(buffer + *fill, data, room);
    compress(buffer, size_t{1});
    data += room;
    length -= room;
  }
  const size_t blocks = length / kBlock;
  const size_t rest = length % kBlock;
  if (blocks != 0) compress(data, blocks);
  if (rest != 0) std::memcpy(buffer, data + blocks * kBlock, rest);
  *fill = uint32_t(rest);
}

// kPadding is the octet 0x80 and zeros, for any block. Compilers that saw its value would store it in pieces
// smaller than the vectors in which forms load a block; the processor could not pass them on before they are
// in the cache.
extern const uint8_t kPadding[128];

template <size_t kWords>
void PutLength(uint8_t* at, const uint64_t (&length)[kWords]) {
  for (size_t k = 0; k < kWords; ++k) std::memcpy(at + 8 * k, &length[k], 8);
}

// CloseMessage appends the octet 0x80, zeros, and the message length to the `fill` octets at `last`, which
// become one block, or two if the length does not fit into the first. It returns their number. `length` has
// the octets as they are stored. Copies are of constant size, so that short messages do not pay for calls.
template <size_t kBlock, size_t kWords>
[[gnu::always_inline]] inline size_t CloseMessage(uint8_t* last, uint32_t fill,
                                                  const uint64_t (&length)[kWords]) {
  static_assert(kBlock <= sizeof(kPadding), "kPadding is as long as the longest block");
  constexpr size_t kLength = sizeof(length);
  const size_t blocks = fill + 1 + kLength <= kBlock ? 1 : 2;
  // The padding reaches past a first block without room for the length, and up to the length in the second.
  std::memcpy(last + fill, kPadding, kBlock);
  PutLength(last + (blocks - 1) * kBlock + kBlock - kLength, length);
  return blocks;
}

// CloseLastBlock closes the message in this way; `buffer` then holds its last block.
template <size_t kBlock, size_t kWords, class Compress>
[[gnu::always_inline]] inline void CloseLastBlock(uint8_t (&buffer)[kBlock], uint32_t fill,
                                                  const uint64_t (&length)[kWords],
                                                  const Compress& compress) {
  uint8_t last[2 * kBlock];
  std::memcpy(last, buffer, kBlock);
  const size_t blocks = CloseMessage<kBlock>(last, fill, length);
  // The length is stored twice, not copied: a load of it would wait until the words are in the cache.
  std::memcpy(buffer, last + (blocks - 1) * kBlock, kBlock - sizeof(length));
  PutLength(buffer + kBlock - sizeof(length), length);
  compress(last, blocks);
}

}  // namespace qex
