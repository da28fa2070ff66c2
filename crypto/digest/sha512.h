// SHA-384 and SHA-512, FIPS 180-4: one record and one update for both. They differ in the
// initial values, which Init sets, and in how much of the state Final writes.
#pragma once

#include <cstddef>
#include <cstdint>

// QEX_SHA512_CTX is a digest in progress, of SHA-384 as well. Its size is fixed, as that of
// QEX_MD5_CTX is. 64-bit values are held as words of 32 bits.
struct QEX_SHA512_CTX {
  uint32_t state[16];        // H0 to H7, the high word of each before its low word
  uint32_t byteCountLow;     // message octets, modulo 2^64
  uint32_t byteCountHigh;    //
  uint32_t byteCountExt[2];  // bits 64 to 95 and 96 to 127 of the count
  uint32_t fill;             // octets in `buffer`, 0 to 127
  uint8_t buffer[128];       // the block that is not yet full
};
static_assert(sizeof(QEX_SHA512_CTX) == 212, "a context of SHA-384 and SHA-512 has 212 octets");

namespace qex {

inline constexpr size_t kSHA384Size = 48;
inline constexpr size_t kSHA512Size = 64;
inline constexpr size_t kSHA512Block = 128;

// SHA384Init and SHA512Init begin a digest in `ctx`, whatever it held.
void SHA384Init(QEX_SHA512_CTX* ctx);
void SHA512Init(QEX_SHA512_CTX* ctx);

// SHA512Update appends `length` octets to the message of either digest. `data` may be null
// when `length` is 0.
void SHA512Update(QEX_SHA512_CTX* ctx, const uint8_t* data, uint32_t length);

// SHA384Final and SHA512Final write the 48 or 64 octets of the digest to `out`. The context is
// not wiped, and takes no more updates before the next Init.
void SHA384Final(QEX_SHA512_CTX* ctx, uint8_t* out);
void SHA512Final(QEX_SHA512_CTX* ctx, uint8_t* out);

// SHA384Digest and SHA512Digest write the digest of one whole message to `out`. They have no caller in
// the library; they are part of what this header offers.
void SHA384Digest(const uint8_t* data, uint32_t length, uint8_t* out);
void SHA512Digest(const uint8_t* data, uint32_t length, uint8_t* out);

// SHA512CompressBlocks takes `blocks` blocks of 128 octets into the chaining values, held as in the record.
void SHA512CompressBlocks(uint32_t (&state)[16], const uint8_t* data, size_t blocks);

}  // namespace qex
