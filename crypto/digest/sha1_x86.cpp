// SHA-1 by the SHA instructions of x86-64, four steps at a time.
//
// Vectors hold words of the standard with the first in the highest lane: A, B, C, D and W_t, W_t+1, W_t+2,
// W_t+3. Words wrap modulo 2^32. A block costs twenty times the latency of SHA1RNDS4; everything else runs
// beside it.
#if defined(__x86_64__) || defined(QEX_FORM_NAMESPACE)

#include "crypto/digest/forms.h"
#include "crypto/digest/sha1.h"
#include "crypto/digest/sha_x86.h"
#include "crypto/octets.h"

namespace QEX_FORM_NAMESPACE {
namespace {

// run_quarter runs the twenty steps that share function and constant `kQuarter`, in five groups of four. From
// the second group on `e` holds the vector A to D of the group before, whose rotated A is this group's E.
template <int kQuarter>
QEX_FORM_TARGET inline void run_quarter(__m128i& abcd, __m128i& e, __m128i (&w)[4]) {
#pragma GCC unroll 5
  for (int k = 0; k < 5; ++k) {
    const int group = 5 * kQuarter + k;
    __m128i& words = w[group % 4];
    const __m128i sum = group == 0 ? _mm_add_epi32(e, words) : _mm_sha1nexte_epu32(e, words);
    e = abcd;
    QEX_FORM_APART(e);  // so that steps wait for steps alone, and not for copies
    abcd = _mm_sha1rnds4_epu32(abcd, sum, kQuarter);
    if (group < 16) {  // the words of the group after the next three
      const __m128i mixed = _mm_sha1msg1_epu32(words, w[(group + 1) % 4]);
      words = _mm_sha1msg2_epu32(_mm_xor_si128(mixed, w[(group + 2) % 4]), w[(group + 3) % 4]);
    }
  }
}

}  // namespace

QEX_FORM_TARGET void SHA1CompressBlocks_sha(uint32_t (&state)[5], const uint8_t* data, size_t blocks) {
  constexpr int kReverse = 0x1b;  // the order of lanes
  const __m128i firstOctetHighest = _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f);
  __m128i abcd = _mm_shuffle_epi32(load(state), kReverse);
  __m128i e = _mm_set_epi32(int(state[4]), 0, 0, 0);
  for (; blocks != 0; --blocks, data += qex::kSHA1Block) {
    qex::PrefetchBlock<qex::kSHA1Block>(data, blocks);
    __m128i w[4];
    for (size_t k = 0; k < 4; ++k) {
      w[k] = _mm_shuffle_epi8(k < 3 ? load(data + 16 * k) : load_halves(data + 48), firstOctetHighest);
    }
    const __m128i abcdBefore = abcd;
    const __m128i eBefore = e;
    run_quarter<0>(abcd, e, w);
    run_quarter<1>(abcd, e, w);
    run_quarter<2>(abcd, e, w);
    run_quarter<3>(abcd, e, w);
    abcd = _mm_add_epi32(abcd, abcdBefore);
    e = _mm_sha1nexte_epu32(e, eBefore);
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_shuffle_epi32(abcd, kReverse));
  state[4] = uint32_t(_mm_extract_epi32(e, 3));
}

}  // namespace QEX_FORM_NAMESPACE

#endif
