// SHA-1 by the names and steps of FIPS 180-4, section 6.1.
//
// The unfinished block is held as sixteen words, not as octets. On a little-endian machine octet i of the
// block is therefore octet i XOR 3 of the record; put_octet works by value, so that the words are right on
// any machine.
#include "crypto/digest/sha1.h"

#include <bit>

#include "crypto/digest/block_buffer.h"
#include "crypto/octets.h"

namespace qex {
namespace {

constexpr uint32_t kInitial[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
constexpr uint32_t kK[4] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};

// 0x80 and zeros, enough to fill any block up.
constexpr uint8_t kPadding[64] = {0x80};
constexpr uint32_t kLengthAt = 56;

uint32_t ch(uint32_t x, uint32_t y, uint32_t z) {
  return z ^ (x & (y ^ z));
}
uint32_t parity(uint32_t x, uint32_t y, uint32_t z) {
  return x ^ y ^ z;
}
uint32_t maj(uint32_t x, uint32_t y, uint32_t z) {
  return (x & y) + (z & (x ^ y));
}  // no bit in both: + as |

struct Chain {
  uint32_t a, b, c, d, e;
};

// run_quarter runs the twenty steps that share one function and one constant. From step 16 on the schedule
// replaces w[t mod 16] by W_t; the words of older steps are no longer needed.
template <size_t kQuarter, class Mix>
inline void run_quarter(Chain& v, uint32_t (&w)[16], Mix mix) {
#pragma GCC unroll 20
  for (size_t k = 0; k < 20; ++k) {
    const size_t t = 20 * kQuarter + k;
    if (t >= 16) {
      w[t % 16] = std::rotl(w[(t - 3) % 16] ^ w[(t - 8) % 16] ^ w[(t - 14) % 16] ^ w[t % 16], 1);
    }
    const uint32_t sum = std::rotl(v.a, 5) + mix(v.b, v.c, v.d) + v.e + kK[kQuarter] + w[t % 16];
    v = {sum, v.a, std::rotl(v.b, 30), v.c, v.d};
  }
}

// put_octet stores octet `at` of the unfinished block and leaves the others of its word.
void put_octet(QEX_SHA1_CTX* ctx, size_t at, uint8_t octet) {
  const unsigned shift = 24 - 8 * unsigned(at % 4);
  uint32_t& word = ctx->block[at / 4];
  word = (word & ~(uint32_t{0xff} << shift)) | uint32_t{octet} << shift;
}

void compress_own_block(QEX_SHA1_CTX* ctx) {
  uint8_t octets[kSHA1Block];
  for (size_t k = 0; k < 16; ++k) StoreBE32(octets + 4 * k, ctx->block[k]);
  SHA1CompressBlocks(ctx->state, octets, 1);
}

}  // namespace

void SHA1CompressBlocks(uint32_t (&state)[5], const uint8_t* data, size_t blocks) {
  Chain v = {state[0], state[1], state[2], state[3], state[4]};
  for (; blocks != 0; --blocks, data += kSHA1Block) {
    uint32_t w[16];
    for (size_t k = 0; k < 16; ++k) w[k] = LoadBE32(data + 4 * k);
    const Chain before = v;
    run_quarter<0>(v, w, [](auto... word) { return ch(word...); });
    run_quarter<1>(v, w, [](auto... word) { return parity(word...); });
    run_quarter<2>(v, w, [](auto... word) { return maj(word...); });
    run_quarter<3>(v, w, [](auto... word) { return parity(word...); });
    v = {v.a + before.a, v.b + before.b, v.c + before.c, v.d + before.d, v.e + before.e};
  }
  state[0] = v.a;
  state[1] = v.b;
  state[2] = v.c;
  state[3] = v.d;
  state[4] = v.e;
}

void SHA1Init(QEX_SHA1_CTX* ctx) {
  *ctx = {};
  for (size_t k = 0; k < 5; ++k) ctx->state[k] = kInitial[k];
}

void SHA1Update(QEX_SHA1_CTX* ctx, const uint8_t* data, uint32_t length) {
  AddBitCount(&ctx->bitCountLow, &ctx->bitCountHigh, length);
  while (length != 0) {
    if (ctx->fill == 0 && length >= kSHA1Block) {
      const size_t blocks = length / kSHA1Block;
      SHA1CompressBlocks(ctx->state, data, blocks);
      data += blocks * kSHA1Block;
      length %= kSHA1Block;
      continue;
    }
    put_octet(ctx, ctx->fill, *data);
    ++data;
    --length;
    if (++ctx->fill == kSHA1Block) {
      compress_own_block(ctx);
      ctx->fill = 0;
    }
  }
}

void SHA1Final(QEX_SHA1_CTX* ctx, uint8_t* out) {
  uint8_t bits[8];  // taken before the padding, which SHA1Update counts as well
  StoreBE32(bits, ctx->bitCountHigh);
  StoreBE32(bits + 4, ctx->bitCountLow);
  if (ctx->fill >= kLengthAt) {
    SHA1Update(ctx, kPadding, uint32_t{kSHA1Block} - ctx->fill);
    SHA1Update(ctx, kPadding + 1, kLengthAt);
  } else {
    SHA1Update(ctx, kPadding, kLengthAt - ctx->fill);
  }
  SHA1Update(ctx, bits, sizeof(bits));
  for (size_t k = 0; k < 5; ++k) StoreBE32(out + 4 * k, ctx->state[k]);
}

void SHA1Digest(const uint8_t* data, uint32_t length, uint8_t* out) {
  QEX_SHA1_CTX ctx;
  SHA1Init(&ctx);
  SHA1Update(&ctx, data, length);
  SHA1Final(&ctx, out);
}

}  // namespace qex
