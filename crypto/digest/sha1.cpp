// SHA-1 by the names and steps of FIPS 180-4, section 6.1.
//
// The unfinished block is held as sixteen words, not as octets. Where octets are added to it, it becomes
// octets and then words again.
#include "crypto/digest/sha1.h"

#include <bit>

#include "crypto/digest/block_buffer.h"
#include "crypto/digest/forms.h"
#include "crypto/octets.h"

namespace qex {
namespace {

constexpr uint32_t kInitial[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
constexpr uint32_t kK[4] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};

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

void words_to_octets(uint8_t* octets, const uint32_t (&words)[16]) {
  for (size_t k = 0; k < 16; ++k) StoreBE32(octets + 4 * k, words[k]);
}

void octets_to_words(uint32_t (&words)[16], const uint8_t* octets) {
  for (size_t k = 0; k < 8; ++k) StorePair(words + 2 * k, LoadBE64(octets + 8 * k));
}

auto compressor(QEX_SHA1_CTX* ctx) {
  return [ctx](const uint8_t* data, size_t blocks) { SHA1CompressBlocks(ctx->state, data, blocks); };
}

}  // namespace

void SHA1CompressBlocks_portable(uint32_t (&state)[5], const uint8_t* data, size_t blocks) {
  Chain v = {state[0], state[1], state[2], state[3], state[4]};
  for (; blocks != 0; --blocks, data += kSHA1Block) {
    PrefetchBlock<kSHA1Block>(data, blocks);
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

void SHA1CompressBlocks(uint32_t (&state)[5], const uint8_t* data, size_t blocks) {
  kSHA1Forms.best()(state, data, blocks);
}

void SHA1Init(QEX_SHA1_CTX* ctx) {
  for (size_t k = 0; k < 5; ++k) ctx->state[k] = kInitial[k];
  ctx->bitCountLow = 0;
  ctx->bitCountHigh = 0;
  ClearBlock(ctx->block);
  ctx->fill = 0;
}

void SHA1Update(QEX_SHA1_CTX* ctx, const uint8_t* data, uint32_t length) {
  AddBitCount(&ctx->bitCountLow, &ctx->bitCountHigh, length);
  if (ctx->fill == 0 && length >= kSHA1Block) {
    const size_t blocks = length / kSHA1Block;
    SHA1CompressBlocks(ctx->state, data, blocks);
    data += blocks * kSHA1Block;
    length %= kSHA1Block;
  }
  if (length == 0) return;
  uint8_t octets[kSHA1Block];
  words_to_octets(octets, ctx->block);
  AbsorbOctets(octets, &ctx->fill, data, length, compressor(ctx));
  octets_to_words(ctx->block, octets);
}

void SHA1Final(QEX_SHA1_CTX* ctx, uint8_t* out) {
  const uint64_t bits = uint64_t{ctx->bitCountHigh} << 32 | ctx->bitCountLow;
  uint8_t last[2 * kSHA1Block];
  if (ctx->fill != 0) words_to_octets(last, ctx->block);
  const size_t blocks = CloseMessage<kSHA1Block>(last, ctx->fill, {Ordered<std::endian::big>(bits)});
  octets_to_words(ctx->block, last + (blocks - 1) * kSHA1Block);
  // The padding is counted like a message, and leaves the block empty.
  AddBitCount(&ctx->bitCountLow, &ctx->bitCountHigh, uint32_t(blocks * kSHA1Block) - ctx->fill);
  ctx->fill = 0;
  SHA1CompressBlocks(ctx->state, last, blocks);
  for (size_t k = 0; k < 5; ++k) StoreBE32(out + 4 * k, ctx->state[k]);
}

void SHA1Digest(const uint8_t* data, uint32_t length, uint8_t* out) {
  QEX_SHA1_CTX ctx;
  SHA1Init(&ctx);
  SHA1Update(&ctx, data, length);
  SHA1Final(&ctx, out);
}

}  // namespace qex
