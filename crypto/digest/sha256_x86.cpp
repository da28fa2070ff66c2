// SHA-256 by the SHA instructions of x86-64, two rounds at a time.
//
// The chaining values are split as the instruction wants them: A, B, E, F and C, D, G, H, the first in the
// highest lane. Message words have the first in the lowest. Words wrap modulo 2^32. A block costs 32 times
// the latency of SHA256RNDS2; everything else runs beside it.
#if defined(__x86_64__) || defined(QEX_FORM_NAMESPACE)

#include "crypto/digest/forms.h"
#include "crypto/digest/sha256.h"
#include "crypto/digest/sha_x86.h"
#include "crypto/octets.h"

namespace QEX_FORM_NAMESPACE {
namespace {

// run_groups runs four groups of four rounds, of which `k` holds the constants. With kExtend the words of
// each group are then replaced by those of sixteen rounds later.
template <bool kExtend>
QEX_FORM_TARGET inline void run_groups(__m128i& abef, __m128i& cdgh, __m128i (&w)[4], const uint32_t* k) {
  constexpr int kHighHalf = 0x0e;
#pragma GCC unroll 4
  for (size_t group = 0; group < 4; ++group) {
    __m128i& words = w[group];
    const __m128i constants = load(k + 4 * group);
    const __m128i sums = _mm_add_epi32(words, constants);
    // Two rounds make a new A, B, E, F of both vectors, and C, D, G, H of the old A, B, E, F.
    cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sums);
    abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sums, kHighHalf));
    if (kExtend) {
      const __m128i last = w[(group + 3) % 4];
      const __m128i sevenBefore = _mm_alignr_epi8(last, w[(group + 2) % 4], 4);
      const __m128i mixed = _mm_sha256msg1_epu32(words, w[(group + 1) % 4]);
      words = _mm_sha256msg2_epu32(_mm_add_epi32(mixed, sevenBefore), last);
    }
  }
}

}  // namespace

QEX_FORM_TARGET void SHA256CompressBlocks_sha(uint32_t (&state)[8], const uint8_t* data, size_t blocks) {
  constexpr int kSwapPairs = 0xb1, kReverse = 0x1b;  // orders of lanes
  constexpr int kUpperHalf = 0xf0;                   // a choice of lanes of 16 bits
  const __m128i bigEndian = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
  const __m128i badc = _mm_shuffle_epi32(load(state), kSwapPairs);
  const __m128i hgfe = _mm_shuffle_epi32(load(state + 4), kReverse);
  __m128i abef = _mm_alignr_epi8(badc, hgfe, 8);
  __m128i cdgh = _mm_blend_epi16(hgfe, badc, kUpperHalf);
  for (; blocks != 0; --blocks, data += qex::kSHA256Block) {
    qex::PrefetchBlock<qex::kSHA256Block>(data, blocks);
    __m128i w[4];
    for (size_t k = 0; k < 4; ++k) {
      w[k] = _mm_shuffle_epi8(k < 3 ? load(data + 16 * k) : load_halves(data + 48), bigEndian);
    }
    const __m128i abefBefore = abef;
    const __m128i cdghBefore = cdgh;
    const uint32_t* k = qex::kSHA256K;
    __asm__("" : "+r"(k));  // or compilers copy all constants to the stack before the first block
    for (const uint32_t* last = k + 48; k != last; k += 16) run_groups<true>(abef, cdgh, w, k);
    run_groups<false>(abef, cdgh, w, k);
    abef = _mm_add_epi32(abef, abefBefore);
    cdgh = _mm_add_epi32(cdgh, cdghBefore);
  }
  const __m128i abefReversed = _mm_shuffle_epi32(abef, kReverse);
  const __m128i ghcd = _mm_shuffle_epi32(cdgh, kSwapPairs);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_blend_epi16(abefReversed, ghcd, kUpperHalf));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state + 4), _mm_alignr_epi8(ghcd, abefReversed, 8));
}

}  // namespace QEX_FORM_NAMESPACE

#endif
