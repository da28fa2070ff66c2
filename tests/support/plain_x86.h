// The x86-64 intrinsics that forms of the digests use, in plain C++ by the instruction set's manual. Tests
// compile those forms over them, so that the algorithms run on every little-endian machine, and under every
// sanitizer.
//
// A test includes this header, defines QEX_FORM_NAMESPACE as a namespace within qex::plain_x86, where the
// names below hide the compiler's, and includes the form's source.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#define QEX_FORM_TARGET
#define QEX_FORM_APART(v)

namespace qex::plain_x86 {

// Octet 0 is the lowest. Without alignment, as the intrinsics for unaligned vectors take any address.
struct __m128i {
  uint8_t octets[16];
};
using Words = std::array<uint32_t, 4>;
using LongWords = std::array<uint64_t, 2>;

inline Words words(__m128i v) {
  return std::bit_cast<Words>(v);
}
inline __m128i vector(const Words& w) {
  return std::bit_cast<__m128i>(w);
}

// SSE2, SSSE3 and SSE4.1

inline __m128i _mm_loadu_si128(const __m128i* p) {
  __m128i v;
  std::memcpy(&v, p, sizeof(v));
  return v;
}
inline void _mm_storeu_si128(__m128i* p, __m128i v) {
  std::memcpy(p, &v, sizeof(v));
}
inline __m128i _mm_loadl_epi64(const __m128i* p) {
  __m128i v = {};
  std::memcpy(&v, p, 8);
  return v;
}
inline __m128i _mm_set_epi64x(long long high, long long low) {
  return std::bit_cast<__m128i>(LongWords{uint64_t(low), uint64_t(high)});
}
inline __m128i _mm_set_epi32(int w3, int w2, int w1, int w0) {
  return vector({uint32_t(w0), uint32_t(w1), uint32_t(w2), uint32_t(w3)});
}
inline __m128i _mm_insert_epi64(__m128i v, long long w, int lane) {
  LongWords both = std::bit_cast<LongWords>(v);
  both[size_t(lane)] = uint64_t(w);
  return std::bit_cast<__m128i>(both);
}
inline int _mm_extract_epi32(__m128i v, int lane) {
  return int(words(v)[size_t(lane)]);
}
inline __m128i _mm_add_epi32(__m128i a, __m128i b) {
  Words sums = words(a);
  for (size_t k = 0; k < 4; ++k) sums[k] += words(b)[k];
  return vector(sums);
}
inline __m128i _mm_xor_si128(__m128i a, __m128i b) {
  for (size_t k = 0; k < 16; ++k) a.octets[k] = uint8_t(a.octets[k] ^ b.octets[k]);
  return a;
}
inline __m128i _mm_shuffle_epi32(__m128i v, int order) {
  Words chosen = {};
  for (size_t k = 0; k < 4; ++k) chosen[k] = words(v)[size_t(order) >> (2 * k) & 3];
  return vector(chosen);
}
inline __m128i _mm_shuffle_epi8(__m128i v, __m128i order) {
  __m128i chosen = {};
  for (size_t k = 0; k < 16; ++k) {
    if (order.octets[k] < 0x80) chosen.octets[k] = v.octets[order.octets[k] & 15];
  }
  return chosen;
}
inline __m128i _mm_alignr_epi8(__m128i high, __m128i low, int octets) {
  __m128i v;
  for (size_t k = 0; k < 16; ++k) {
    const size_t at = k + size_t(octets);
    v.octets[k] = at < 16 ? low.octets[at] : high.octets[at - 16];
  }
  return v;
}
inline __m128i _mm_blend_epi16(__m128i a, __m128i b, int fromSecond) {
  for (size_t k = 0; k < 16; ++k) {
    if ((fromSecond >> (k / 2) & 1) != 0) a.octets[k] = b.octets[k];
  }
  return a;
}

// SHA-1: A, B, C, D and words of the message, the first in the highest lane

inline __m128i _mm_sha1rnds4_epu32(__m128i abcd, __m128i sums, int function) {
  constexpr uint32_t kConstants[4] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};
  auto [d, c, b, a] = words(abcd);
  uint32_t e = 0;  // part of the first sum
  for (size_t k = 4; k-- > 0;) {
    const uint32_t f = function == 0   ? (b & c) ^ (~b & d)
                       : function == 2 ? (b & c) ^ (b & d) ^ (c & d)
                                       : b ^ c ^ d;
    const uint32_t next = f + std::rotl(a, 5) + words(sums)[k] + e + kConstants[function];
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
  return vector({d, c, b, a});
}
inline __m128i _mm_sha1nexte_epu32(__m128i abcd, __m128i sums) {
  Words w = words(sums);
  w[3] += std::rotl(words(abcd)[3], 30);
  return vector(w);
}
inline __m128i _mm_sha1msg1_epu32(__m128i first, __m128i second) {
  const auto [w3, w2, w1, w0] = words(first);
  const Words w54 = words(second);
  return vector({w54[2] ^ w3, w54[3] ^ w2, w3 ^ w1, w2 ^ w0});
}
inline __m128i _mm_sha1msg2_epu32(__m128i mixed, __m128i before) {
  const Words m = words(mixed);
  const Words w = words(before);
  const uint32_t w16 = std::rotl(m[3] ^ w[2], 1);
  return vector({std::rotl(m[0] ^ w16, 1), std::rotl(m[1] ^ w[0], 1), std::rotl(m[2] ^ w[1], 1), w16});
}

// SHA-256: A, B, E, F and C, D, G, H, the first in the highest lane; words of the message, the first in the
// lowest

inline __m128i _mm_sha256rnds2_epu32(__m128i cdgh, __m128i abef, __m128i sums) {
  auto [f, e, b, a] = words(abef);
  auto [h, g, d, c] = words(cdgh);
  for (size_t k = 0; k < 2; ++k) {
    const uint32_t t1 =
        h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) + ((e & f) ^ (~e & g)) + words(sums)[k];
    const uint32_t t2 =
        (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  return vector({f, e, b, a});
}
inline __m128i _mm_sha256msg1_epu32(__m128i first, __m128i second) {
  const Words w = words(first);
  const uint32_t following[4] = {w[1], w[2], w[3], words(second)[0]};
  Words sums = w;
  for (size_t k = 0; k < 4; ++k) {
    sums[k] += std::rotr(following[k], 7) ^ std::rotr(following[k], 18) ^ (following[k] >> 3);
  }
  return vector(sums);
}
inline __m128i _mm_sha256msg2_epu32(__m128i mixed, __m128i before) {
  Words w = words(mixed);
  for (size_t k = 0; k < 4; ++k) {
    const uint32_t two = k < 2 ? words(before)[k + 2] : w[k - 2];
    w[k] += std::rotr(two, 17) ^ std::rotr(two, 19) ^ (two >> 10);
  }
  return vector(w);
}

// SSE2, AVX2 and AVX-512 on words of 64 bits. AVX2 treats the halves of a vector alike, except where it moves
// them.

struct __m256i {
  __m128i half[2];
};

// each_word applies `f` to the words of one vector or of several.
template <class F, class... Vectors>
__m128i each_word(F f, __m128i first, Vectors... others) {
  LongWords w = std::bit_cast<LongWords>(first);
  for (size_t k = 0; k < 2; ++k) w[k] = f(w[k], std::bit_cast<LongWords>(others)[k]...);
  return std::bit_cast<__m128i>(w);
}
template <class F, class... Vectors>
__m256i each_half(F f, __m256i first, Vectors... others) {
  return {{f(first.half[0], others.half[0]...), f(first.half[1], others.half[1]...)}};
}

inline __m128i _mm_add_epi64(__m128i a, __m128i b) {
  return each_word([](uint64_t x, uint64_t y) { return x + y; }, a, b);
}
inline __m128i _mm_srli_epi64(__m128i v, int n) {
  return each_word([n](uint64_t x) { return x >> n; }, v);
}
inline __m128i _mm_slli_epi64(__m128i v, int n) {
  return each_word([n](uint64_t x) { return x << n; }, v);
}
inline __m128i _mm_ror_epi64(__m128i v, int n) {
  return each_word([n](uint64_t x) { return std::rotr(x, n); }, v);
}
// Bit 4 a + 2 b + c of `table` is the result for the bits a, b and c.
inline __m128i _mm_ternarylogic_epi64(__m128i a, __m128i b, __m128i c, int table) {
  const auto look_up = [table](uint64_t x, uint64_t y, uint64_t z) {
    uint64_t found = 0;
    for (unsigned at = 0; at < 8; ++at) {
      if ((table >> at & 1) != 0) {
        found |= ((at & 4) != 0 ? x : ~x) & ((at & 2) != 0 ? y : ~y) & ((at & 1) != 0 ? z : ~z);
      }
    }
    return found;
  };
  return each_word(look_up, a, b, c);
}

inline __m256i _mm256_loadu_si256(const __m256i* p) {
  __m256i v;
  std::memcpy(&v, p, sizeof(v));
  return v;
}
inline void _mm256_storeu_si256(__m256i* p, __m256i v) {
  std::memcpy(p, &v, sizeof(v));
}
inline __m256i _mm256_set_epi64x(long long w3, long long w2, long long w1, long long w0) {
  return {{_mm_set_epi64x(w1, w0), _mm_set_epi64x(w3, w2)}};
}
inline __m256i _mm256_castsi128_si256(__m128i low) {
  return {{low, {}}};
}
inline __m128i _mm256_castsi256_si128(__m256i v) {
  return v.half[0];
}
inline __m128i _mm256_extracti128_si256(__m256i v, int half) {
  return v.half[half];
}
inline __m256i _mm256_inserti128_si256(__m256i v, __m128i half, int at) {
  v.half[at] = half;
  return v;
}
// Bits 0, 1 and 4, 5 of `choice` name one of four halves.
inline __m256i _mm256_permute2x128_si256(__m256i a, __m256i b, int choice) {
  const __m128i halves[4] = {a.half[0], a.half[1], b.half[0], b.half[1]};
  return {{halves[choice & 3], halves[choice >> 4 & 3]}};
}
inline __m256i _mm256_shuffle_epi8(__m256i v, __m256i order) {
  return each_half(_mm_shuffle_epi8, v, order);
}
inline __m256i _mm256_alignr_epi8(__m256i high, __m256i low, int octets) {
  return each_half([octets](__m128i h, __m128i l) { return _mm_alignr_epi8(h, l, octets); }, high, low);
}
inline __m256i _mm256_alignr_epi64(__m256i high, __m256i low, int) {  // by one word
  return {{_mm_alignr_epi8(low.half[1], low.half[0], 8), _mm_alignr_epi8(high.half[0], low.half[1], 8)}};
}
inline __m256i _mm256_add_epi64(__m256i a, __m256i b) {
  return each_half(_mm_add_epi64, a, b);
}
inline __m256i _mm256_xor_si256(__m256i a, __m256i b) {
  return each_half(_mm_xor_si128, a, b);
}
inline __m256i _mm256_srli_epi64(__m256i v, int n) {
  return each_half([n](__m128i half) { return _mm_srli_epi64(half, n); }, v);
}
inline __m256i _mm256_slli_epi64(__m256i v, int n) {
  return each_half([n](__m128i half) { return _mm_slli_epi64(half, n); }, v);
}
inline __m256i _mm256_ror_epi64(__m256i v, int n) {
  return each_half([n](__m128i half) { return _mm_ror_epi64(half, n); }, v);
}
inline __m256i _mm256_ternarylogic_epi64(__m256i a, __m256i b, __m256i c, int table) {
  return each_half(
      [table](__m128i x, __m128i y, __m128i z) { return _mm_ternarylogic_epi64(x, y, z, table); }, a, b, c);
}

}  // namespace qex::plain_x86
