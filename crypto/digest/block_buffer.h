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

// CloseLastBlock appends the octet 0x80, zeros, and the encoded message length at the end of a block: of this
// block if the length still fits after the 0x80, otherwise of one more.
template <size_t kBlock, size_t kLength, class Compress>
void CloseLastBlock(uint8_t (&buffer)[kBlock], uint32_t fill, const uint8_t (&messageLength)[kLength],
                    const Compress& compress) {
  constexpr size_t kLengthAt = kBlock - kLength;
  buffer[fill++] = 0x80;
  if (fill > kLengthAt) {
    std::memset(buffer + fill, 0, kBlock - fill);
    compress(buffer, size_t{1});
    fill = 0;
  }
  std::memset(buffer + fill, 0, kLengthAt - fill);
  std::memcpy(buffer + kLengthAt, messageLength, kLength);
  compress(buffer, size_t{1});
}

}  // namespace qex
