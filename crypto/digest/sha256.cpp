// SHA-256 by the names and steps of FIPS 180-4, section 6.2.
#include "crypto/digest/sha256.h"

#include <bit>

#include "crypto/digest/block_buffer.h"
#include "crypto/digest/forms.h"
#include "crypto/octets.h"

namespace qex {

// The first 32 bits of the fractions of the cube roots of the first sixty-four primes.
const uint32_t kSHA256K[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

namespace {

// The first 32 bits of the fractions of the square roots of the first eight primes.
constexpr uint32_t kInitial[8] = {
    0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19,
};

uint32_t ch(uint32_t x, uint32_t y, uint32_t z) {
  return z ^ (x & (y ^ z));
}
uint32_t maj(uint32_t x, uint32_t y, uint32_t z) {
  return (x & y) ^ (z & (x ^ y));
}
uint32_t big_sigma0(uint32_t x) {
  return std::rotr(x, 2) ^ std::rotr(x, 13) ^ std::rotr(x, 22);
}
uint32_t big_sigma1(uint32_t x) {
  return std::rotr(x, 6) ^ std::rotr(x, 11) ^ std::rotr(x, 25);
}
uint32_t sigma0(uint32_t x) {
  return std::rotr(x, 7) ^ std::rotr(x, 18) ^ (x >> 3);
}
uint32_t sigma1(uint32_t x) {
  return std::rotr(x, 17) ^ std::rotr(x, 19) ^ (x >> 10);
}

struct Chain {
  uint32_t a, b, c, d, e, f, g, h;
};

// run_rounds runs the rounds `first` to `first` + 15. W_t is in w[t mod 16]; in all but the first sixteen it
// is computed here, from words that are not yet overwritten.
template <bool kExtend>
inline void run_rounds(Chain& v, uint32_t (&w)[16], size_t first) {
#pragma GCC unroll 16
  for (size_t k = 0; k < 16; ++k) {
    if (kExtend) w[k] += sigma1(w[(k + 14) % 16]) + w[(k + 9) % 16] + sigma0(w[(k + 1) % 16]);
    const uint32_t t1 = v.h + big_sigma1(v.e) + ch(v.e, v.f, v.g) + kSHA256K[first + k] + w[k];
    const uint32_t t2 = big_sigma0(v.a) + maj(v.a, v.b, v.c);
    v = {t1 + t2, v.a, v.b, v.c, v.d + t1, v.e, v.f, v.g};
  }
}

auto compressor(QEX_SHA256_CTX* ctx) {
  return [ctx](const uint8_t* data, size_t blocks) { SHA256CompressBlocks(ctx->state, data, blocks); };
}

}  // namespace

void SHA256CompressBlocks_portable(uint32_t (&state)[8], const uint8_t* data, size_t blocks) {
  for (; blocks != 0; --blocks, data += kSHA256Block) {
    PrefetchBlock<kSHA256Block>(data, blocks);
    uint32_t w[16];
    for (size_t k = 0; k < 16; ++k) w[k] = LoadBE32(data + 4 * k);
    Chain v = {state[0], state[1], state[2], state[3], state[4], state[5], state[6], state[7]};
    run_rounds<false>(v, w, 0);
    for (size_t first = 16; first < 64; first += 16) run_rounds<true>(v, w, first);
    const uint32_t sums[8] = {v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.h};
    for (size_t k = 0; k < 8; ++k) state[k] += sums[k];
  }
}

void SHA256CompressBlocks(uint32_t (&state)[8], const uint8_t* data, size_t blocks) {
  kSHA256Forms.best()(state, data, blocks);
}

void SHA256Init(QEX_SHA256_CTX* ctx) {
  for (size_t k = 0; k < 8; ++k) ctx->state[k] = kInitial[k];
  ctx->byteCountLow = 0;
  ctx->byteCountHigh = 0;
  ctx->fill = 0;
  ClearBlock(ctx->buffer);
}

void SHA256Update(QEX_SHA256_CTX* ctx, const uint8_t* data, uint32_t length) {
  AddByteCount(&ctx->byteCountLow, &ctx->byteCountHigh, length);
  AbsorbOctets(ctx->buffer, &ctx->fill, data, length, compressor(ctx));
}

void SHA256Final(QEX_SHA256_CTX* ctx, uint8_t* out) {
  const uint64_t bits = uint64_t{ctx->byteCountHigh} << 35 | uint64_t{ctx->byteCountLow} << 3;
  CloseLastBlock(ctx->buffer, ctx->fill, {Ordered<std::endian::big>(bits)}, compressor(ctx));
  for (size_t k = 0; k < 8; ++k) StoreBE32(out + 4 * k, ctx->state[k]);
}

void SHA256Digest(const uint8_t* data, uint32_t length, uint8_t* out) {
  QEX_SHA256_CTX ctx;
  SHA256Init(&ctx);
  SHA256Update(&ctx, data, length);
  SHA256Final(&ctx, out);
}

}  // namespace qex
