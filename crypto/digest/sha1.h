// SHA-1, FIPS 180-4. The message length is counted in bits, and all words are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

// QEX_SHA1_CTX is a digest in progress. Its size is fixed, as that of QEX_MD5_CTX is.
struct QEX_SHA1_CTX {
  uint32_t state[5];      // H0 to H4
  uint32_t bitCountLow;   // message bits, modulo 2^64
  uint32_t bitCountHigh;  //
  uint32_t block[16];     // the block that is not yet full, as the words of the standard
  uint32_t fill;          // octets in `block`, 0 to 63
};
static_assert(sizeof(QEX_SHA1_CTX) == 96, "a context of SHA-1 has 96 octets");

namespace qex {

inline constexpr size_t kSHA1Size = 20;
inline constexpr size_t kSHA1Block = 64;

// SHA1Init begins a digest in `ctx`, whatever it held.
void SHA1Init(QEX_SHA1_CTX* ctx);

// SHA1Update appends `length` octets to the message. `data` may be null when `length` is 0.
void SHA1Update(QEX_SHA1_CTX* ctx, const uint8_t* data, uint32_t length);

// SHA1Final writes the 20 octets of the digest to `out`. The context is not wiped, and takes
// no more updates before the next SHA1Init.
void SHA1Final(QEX_SHA1_CTX* ctx, uint8_t* out);

// SHA1Digest writes the digest of one whole message to `out`. It has no caller in the library; it is part of
// what this header offers.
void SHA1Digest(const uint8_t* data, uint32_t length, uint8_t* out);

// SHA1CompressBlocks takes `blocks` blocks of 64 octets into the chaining values.
void SHA1CompressBlocks(uint32_t (&state)[5], const uint8_t* data, size_t blocks);

}  // namespace qex
