// SHA-512 by the SHA-512 instructions of ARMv8.2, two rounds at a time.
//
// Vectors hold two values of the standard with the first in the lower lane. Words wrap modulo 2^64.
#include "crypto/digest/forms.h"

#ifdef QEX_ARM_FORMS

#include <arm_neon.h>

#include "crypto/digest/sha512.h"

#define QEX_FORM_TARGET __attribute__((target("arch=armv8.2-a+sha3")))

namespace qex {
namespace {

struct Chain {
  uint64x2_t ab, cd, ef, gh;
};

// run_pairs runs eight pairs of rounds, of which `k` holds the constants. With kExtend the words of each pair
// are then replaced by those of sixteen rounds later.
template <bool kExtend>
QEX_FORM_TARGET inline void run_pairs(Chain& v, uint64x2_t (&w)[8], const uint64_t* k) {
#pragma GCC unroll 8
  for (size_t pair = 0; pair < 8; ++pair) {
    uint64x2_t& words = w[pair];
    const uint64x2_t sums = vaddq_u64(words, vld1q_u64(k + 2 * pair));
    // The first round adds its sum to H, the second to what H then is, G.
    const uint64x2_t added = vaddq_u64(v.gh, vextq_u64(sums, sums, 1));
    const uint64x2_t fg = vextq_u64(v.ef, v.gh, 1);
    const uint64x2_t de = vextq_u64(v.cd, v.ef, 1);
    const uint64x2_t t1 = vsha512hq_u64(added, fg, de);  // of the second round, then of the first
    v = {vsha512h2q_u64(t1, v.cd, v.ab), v.ab, vaddq_u64(v.cd, t1), v.ef};
    if (kExtend) {
      const uint64x2_t sevenBefore = vextq_u64(w[(pair + 4) % 8], w[(pair + 5) % 8], 1);
      words = vsha512su1q_u64(vsha512su0q_u64(words, w[(pair + 1) % 8]), w[(pair + 7) % 8], sevenBefore);
    }
  }
}

// load_pairs returns two chaining values, which the record holds with the high words first.
QEX_FORM_TARGET inline uint64x2_t load_pairs(const uint32_t* p) {
  return vreinterpretq_u64_u32(vrev64q_u32(vld1q_u32(p)));
}
QEX_FORM_TARGET inline void store_pairs(uint32_t* p, uint64x2_t v) {
  vst1q_u32(p, vrev64q_u32(vreinterpretq_u32_u64(v)));
}

}  // namespace

QEX_FORM_TARGET void SHA512CompressBlocks_arm(uint32_t (&state)[16], const uint8_t* data, size_t blocks) {
  Chain v = {load_pairs(state), load_pairs(state + 4), load_pairs(state + 8), load_pairs(state + 12)};
  for (; blocks != 0; --blocks, data += kSHA512Block) {
    uint64x2_t w[8];
    for (size_t k = 0; k < 8; ++k) w[k] = vreinterpretq_u64_u8(vrev64q_u8(vld1q_u8(data + 16 * k)));
    const Chain before = v;
    for (size_t first = 0; first < 64; first += 16) run_pairs<true>(v, w, kSHA512K + first);
    run_pairs<false>(v, w, kSHA512K + 64);
    v = {vaddq_u64(v.ab, before.ab), vaddq_u64(v.cd, before.cd), vaddq_u64(v.ef, before.ef),
         vaddq_u64(v.gh, before.gh)};
  }
  store_pairs(state, v.ab);
  store_pairs(state + 4, v.cd);
  store_pairs(state + 8, v.ef);
  store_pairs(state + 12, v.gh);
}

}  // namespace qex

#endif
