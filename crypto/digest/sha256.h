// SHA-256, FIPS 180-4. The message length is counted in octets and becomes bits at the end.
#pragma once

#include <cstddef>
#include <cstdint>

// QEX_SHA256_CTX is a digest in progress. Its size is fixed, as that of QEX_MD5_CTX is.
struct QEX_SHA256_CTX {
  uint32_t state[8];       // H0 to H7
  uint32_t byteCountLow;   // message octets, modulo 2^64
  uint32_t byteCountHigh;  //
  uint32_t fill;           // octets in `buffer`, 0 to 63
  uint8_t buffer[64];      // the block that is not yet full
};
static_assert(sizeof(QEX_SHA256_CTX) == 108, "a context of SHA-256 has 108 octets");

namespace qex {

inline constexpr size_t kSHA256Size = 32;
inline constexpr size_t kSHA256Block = 64;

// SHA256Init begins a digest in `ctx`, whatever it held.
void SHA256Init(QEX_SHA256_CTX* ctx);

// SHA256Update appends `length` octets to the message. `data` may be null when `length` is 0.
void SHA256Update(QEX_SHA256_CTX* ctx, const uint8_t* data, uint32_t length);

// SHA256Final writes the 32 octets of the digest to `out`. The context is not wiped, and takes
// no more updates before the next SHA256Init.
void SHA256Final(QEX_SHA256_CTX* ctx, uint8_t* out);

// SHA256Digest writes the digest of one whole message to `out`. It has no caller in the library; it is part
// of what this header offers.
void SHA256Digest(const uint8_t* data, uint32_t length, uint8_t* out);

// SHA256CompressBlocks takes `blocks` blocks of 64 octets into the chaining values.
void SHA256CompressBlocks(uint32_t (&state)[8], const uint8_t* data, size_t blocks);

}  // namespace qex
