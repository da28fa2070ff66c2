// MD5 by the names and steps of RFC 1321, section 3.4.
#include "crypto/digest/md5.h"

#include <bit>

#include "crypto/digest/block_buffer.h"
#include "crypto/octets.h"

namespace qex {
namespace {

constexpr uint32_t kInitial[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// T[i] is the integer part of 2^32 * |sin(i + 1)|.
constexpr uint32_t kT[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

// The rotations of the four steps that each round repeats.
constexpr int kShift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

uint32_t f(uint32_t x, uint32_t y, uint32_t z) {
  return z ^ (x & (y ^ z));
}
uint32_t g(uint32_t x, uint32_t y, uint32_t z) {
  return (x & z) + (y & ~z);
}  // no bit in both: + as |
uint32_t h(uint32_t x, uint32_t y, uint32_t z) {
  return x ^ y ^ z;
}
uint32_t i(uint32_t x, uint32_t y, uint32_t z) {
  return y ^ (x | ~z);
}

struct Chain {
  uint32_t a, b, c, d;
};

// run_round makes the sixteen steps of one round; step k takes word (kStart + k * kStride) mod 16.
template <size_t kRound, size_t kStart, size_t kStride, class Mix>
inline void run_round(Chain& v, const uint32_t (&x)[16], Mix mix) {
#pragma GCC unroll 16
  for (size_t k = 0; k < 16; ++k) {
    const uint32_t sum = v.a + mix(v.b, v.c, v.d) + x[(kStart + k * kStride) % 16] + kT[16 * kRound + k];
    v = {v.d, v.b + std::rotl(sum, kShift[kRound][k % 4]), v.b, v.c};
  }
}

auto compressor(QEX_MD5_CTX* ctx) {
  return [ctx](const uint8_t* data, size_t blocks) { MD5CompressBlocks(ctx->state, data, blocks); };
}

}  // namespace

void MD5CompressBlocks(uint32_t (&state)[4], const uint8_t* data, size_t blocks) {
  Chain v = {state[0], state[1], state[2], state[3]};
  for (; blocks != 0; --blocks, data += kMD5Block) {
    PrefetchBlock<kMD5Block>(data, blocks);
    uint32_t x[16];
    for (size_t k = 0; k < 16; ++k) x[k] = LoadLE32(data + 4 * k);
    const Chain before = v;
    run_round<0, 0, 1>(v, x, [](auto... word) { return f(word...); });
    run_round<1, 1, 5>(v, x, [](auto... word) { return g(word...); });
    run_round<2, 5, 3>(v, x, [](auto... word) { return h(word...); });
    run_round<3, 0, 7>(v, x, [](auto... word) { return i(word...); });
    v = {v.a + before.a, v.b + before.b, v.c + before.c, v.d + before.d};
  }
  state[0] = v.a;
  state[1] = v.b;
  state[2] = v.c;
  state[3] = v.d;
}

void MD5Init(QEX_MD5_CTX* ctx) {
  for (size_t k = 0; k < 4; ++k) ctx->state[k] = kInitial[k];
  ctx->bitCountLow = 0;
  ctx->bitCountHigh = 0;
  ClearBlock(ctx->buffer);
  ctx->fill = 0;
}

void MD5Update(QEX_MD5_CTX* ctx, const uint8_t* data, uint32_t length) {
  AddBitCount(&ctx->bitCountLow, &ctx->bitCountHigh, length);
  AbsorbOctets(ctx->buffer, &ctx->fill, data, length, compressor(ctx));
}

void MD5Final(QEX_MD5_CTX* ctx, uint8_t* out) {
  const uint64_t bits = uint64_t{ctx->bitCountHigh} << 32 | ctx->bitCountLow;
  CloseLastBlock(ctx->buffer, ctx->fill, {Ordered<std::endian::little>(bits)}, compressor(ctx));
  for (size_t k = 0; k < 4; ++k) StoreLE32(out + 4 * k, ctx->state[k]);
}

void MD5Digest(const uint8_t* data, uint32_t length, uint8_t* out) {
  QEX_MD5_CTX ctx;
  MD5Init(&ctx);
  MD5Update(&ctx, data, length);
  MD5Final(&ctx, out);
}

}  // namespace qex
