// MD5, RFC 1321. The message length is counted in bits, and all words are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

// QEX_MD5_CTX is a digest in progress. Its size is fixed: callers of the library hold it by pointer,
// and the descriptor of crypto/digest/hashinfo.h promises it.
struct QEX_MD5_CTX {
  uint32_t state[4];      // A, B, C, D
  uint32_t bitCountLow;   // message bits, modulo 2^64
  uint32_t bitCountHigh;  //
  uint8_t buffer[64];     // the block that is not yet full
  uint32_t fill;          // octets in `buffer`, 0 to 63
};
static_assert(sizeof(QEX_MD5_CTX) == 92, "a context of MD5 has 92 octets");

namespace qex {

inline constexpr size_t kMD5Size = 16;
inline constexpr size_t kMD5Block = 64;

// MD5Init begins a digest in `ctx`, whatever it held.
void MD5Init(QEX_MD5_CTX* ctx);

// MD5Update appends `length` octets to the message. `data` may be null when `length` is 0.
void MD5Update(QEX_MD5_CTX* ctx, const uint8_t* data, uint32_t length);

// MD5Final writes the 16 octets of the digest to `out`. The context is not wiped, and takes
// no more updates before the next MD5Init.
void MD5Final(QEX_MD5_CTX* ctx, uint8_t* out);

// MD5Digest writes the digest of one whole message to `out`. It has no caller in the library; it is part of
// what this header offers.
void MD5Digest(const uint8_t* data, uint32_t length, uint8_t* out);

// MD5CompressBlocks takes `blocks` blocks of 64 octets into the chaining values.
void MD5CompressBlocks(uint32_t (&state)[4], const uint8_t* data, size_t blocks);

}  // namespace qex
