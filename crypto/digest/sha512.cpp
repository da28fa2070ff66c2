// SHA-384 and SHA-512 by the names and steps of FIPS 180-4, sections 6.4 and 6.5.
//
// The record holds words of 32 bits, the arithmetic is done in 64.
#include "crypto/digest/sha512.h"

#include <bit>

#include "crypto/digest/block_buffer.h"
#include "crypto/digest/forms.h"
#include "crypto/octets.h"

namespace qex {

// The first 64 bits of the fractions of the cube roots of the first eighty primes.
const uint64_t kSHA512K[80] = {
    0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
    0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
    0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
    0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
    0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
    0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
    0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
    0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
    0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
    0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
    0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817,
};

namespace {

// The first 64 bits of the fractions of the square roots of the ninth to sixteenth prime.
constexpr uint64_t kInitial384[8] = {
    0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17, 0x152fecd8f70e5939,
    0x67332667ffc00b31, 0x8eb44a8768581511, 0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4,
};

// The same of the first eight primes.
constexpr uint64_t kInitial512[8] = {
    0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
    0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179,
};

uint64_t ch(uint64_t x, uint64_t y, uint64_t z) {
  return z ^ (x & (y ^ z));
}
uint64_t maj(uint64_t x, uint64_t y, uint64_t z) {
  return (x & y) ^ (z & (x ^ y));
}
uint64_t big_sigma0(uint64_t x) {
  return std::rotr(x, 28) ^ std::rotr(x, 34) ^ std::rotr(x, 39);
}
uint64_t big_sigma1(uint64_t x) {
  return std::rotr(x, 14) ^ std::rotr(x, 18) ^ std::rotr(x, 41);
}
uint64_t sigma0(uint64_t x) {
  return std::rotr(x, 1) ^ std::rotr(x, 8) ^ (x >> 7);
}
uint64_t sigma1(uint64_t x) {
  return std::rotr(x, 19) ^ std::rotr(x, 61) ^ (x >> 6);
}

struct Chain {
  uint64_t a, b, c, d, e, f, g, h;
};

// run_rounds runs the rounds `first` to `first` + 15. W_t is in w[t mod 16]; in all but the first sixteen it
// is computed here, from words that are not yet overwritten.
template <bool kExtend>
inline void run_rounds(Chain& v, uint64_t (&w)[16], size_t first) {
#pragma GCC unroll 16
  for (size_t k = 0; k < 16; ++k) {
    if (kExtend) w[k] += sigma1(w[(k + 14) % 16]) + w[(k + 9) % 16] + sigma0(w[(k + 1) % 16]);
    const uint64_t t1 = v.h + big_sigma1(v.e) + ch(v.e, v.f, v.g) + kSHA512K[first + k] + w[k];
    const uint64_t t2 = big_sigma0(v.a) + maj(v.a, v.b, v.c);
    v = {t1 + t2, v.a, v.b, v.c, v.d + t1, v.e, v.f, v.g};
  }
}

void begin(QEX_SHA512_CTX* ctx, const uint64_t (&initial)[8]) {
  for (size_t k = 0; k < 8; ++k) StorePair(ctx->state + 2 * k, initial[k]);
  ctx->byteCountLow = 0;
  ctx->byteCountHigh = 0;
  for (uint32_t& word : ctx->byteCountExt) word = 0;
  ctx->fill = 0;
  ClearBlock(ctx->buffer);
}

auto compressor(QEX_SHA512_CTX* ctx) {
  return [ctx](const uint8_t* data, size_t blocks) { SHA512CompressBlocks(ctx->state, data, blocks); };
}

void finish(QEX_SHA512_CTX* ctx, uint8_t* out, size_t words) {
  // Shifts of words, not of pairs: the words of the count have just been stored one by one.
  const uint64_t above = uint64_t{ctx->byteCountExt[1]} << 35 | uint64_t{ctx->byteCountExt[0]} << 3;
  const uint64_t count = uint64_t{ctx->byteCountHigh} << 35 | uint64_t{ctx->byteCountLow} << 3;
  const uint64_t bits[2] = {Ordered<std::endian::big>(above | ctx->byteCountHigh >> 29),
                            Ordered<std::endian::big>(count)};
  CloseLastBlock(ctx->buffer, ctx->fill, bits, compressor(ctx));
  for (size_t k = 0; k < words; ++k) StoreBE32(out + 4 * k, ctx->state[k]);
}

}  // namespace

void SHA512CompressBlocks_portable(uint32_t (&state)[16], const uint8_t* data, size_t blocks) {
  for (; blocks != 0; --blocks, data += kSHA512Block) {
    PrefetchBlock<kSHA512Block>(data, blocks);
    uint64_t w[16];
    for (size_t k = 0; k < 16; ++k) w[k] = LoadBE64(data + 8 * k);
    Chain v = {LoadPair(state),     LoadPair(state + 2),  LoadPair(state + 4),  LoadPair(state + 6),
               LoadPair(state + 8), LoadPair(state + 10), LoadPair(state + 12), LoadPair(state + 14)};
    run_rounds<false>(v, w, 0);
    for (size_t first = 16; first < 80; first += 16) run_rounds<true>(v, w, first);
    const uint64_t sums[8] = {v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.h};
    for (size_t k = 0; k < 8; ++k) StorePair(state + 2 * k, LoadPair(state + 2 * k) + sums[k]);
  }
}

void SHA512CompressBlocks(uint32_t (&state)[16], const uint8_t* data, size_t blocks) {
  kSHA512Forms.best()(state, data, blocks);
}

void SHA384Init(QEX_SHA512_CTX* ctx) {
  begin(ctx, kInitial384);
}

void SHA512Init(QEX_SHA512_CTX* ctx) {
  begin(ctx, kInitial512);
}

void SHA512Update(QEX_SHA512_CTX* ctx, const uint8_t* data, uint32_t length) {
  // Deliberate: overflow of the 64-bit count is lost; the extension keeps its value from Init.
  AddByteCount(&ctx->byteCountLow, &ctx->byteCountHigh, length);
  AbsorbOctets(ctx->buffer, &ctx->fill, data, length, compressor(ctx));
}

void SHA384Final(QEX_SHA512_CTX* ctx, uint8_t* out) {
  finish(ctx, out, kSHA384Size / 4);
}

void SHA512Final(QEX_SHA512_CTX* ctx, uint8_t* out) {
  finish(ctx, out, kSHA512Size / 4);
}

void SHA384Digest(const uint8_t* data, uint32_t length, uint8_t* out) {
  QEX_SHA512_CTX ctx;
  SHA384Init(&ctx);
  SHA512Update(&ctx, data, length);
  SHA384Final(&ctx, out);
}

void SHA512Digest(const uint8_t* data, uint32_t length, uint8_t* out) {
  QEX_SHA512_CTX ctx;
  SHA512Init(&ctx);
  SHA512Update(&ctx, data, length);
  SHA512Final(&ctx, out);
}

}  // namespace qex
