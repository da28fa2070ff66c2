// SHA-256 by the SHA-256 instructions of ARMv8, four rounds at a time.
//
// Vectors hold words of the standard with the first in the lowest lane. Words wrap modulo 2^32.
#include "crypto/digest/forms.h"

#ifdef QEX_ARM_FORMS

#include <arm_neon.h>

#include "crypto/digest/sha256.h"

#define QEX_FORM_TARGET __attribute__((target("+crypto")))

namespace qex {
namespace {

// run_groups runs four groups of four rounds, of which `k` holds the constants. With kExtend the words of
// each group are then replaced by those of sixteen rounds later.
template <bool kExtend>
QEX_FORM_TARGET inline void run_groups(uint32x4_t& abcd, uint32x4_t& efgh, uint32x4_t (&w)[4],
                                       const uint32_t* k) {
#pragma GCC unroll 4
  for (size_t group = 0; group < 4; ++group) {
    uint32x4_t& words = w[group];
    const uint32x4_t sums = vaddq_u32(words, vld1q_u32(k + 4 * group));
    const uint32x4_t abcdBefore = abcd;
    abcd = vsha256hq_u32(abcd, efgh, sums);
    efgh = vsha256h2q_u32(efgh, abcdBefore, sums);
    if (kExtend) {
      words =
          vsha256su1q_u32(vsha256su0q_u32(words, w[(group + 1) % 4]), w[(group + 2) % 4], w[(group + 3) % 4]);
    }
  }
}

}  // namespace

QEX_FORM_TARGET void SHA256CompressBlocks_arm(uint32_t (&state)[8], const uint8_t* data, size_t blocks) {
  uint32x4_t abcd = vld1q_u32(state);
  uint32x4_t efgh = vld1q_u32(state + 4);
  for (; blocks != 0; --blocks, data += kSHA256Block) {
    uint32x4_t w[4];
    for (size_t k = 0; k < 4; ++k) w[k] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(data + 16 * k)));
    const uint32x4_t abcdBefore = abcd;
    const uint32x4_t efghBefore = efgh;
    for (size_t first = 0; first < 48; first += 16) run_groups<true>(abcd, efgh, w, kSHA256K + first);
    run_groups<false>(abcd, efgh, w, kSHA256K + 48);
    abcd = vaddq_u32(abcd, abcdBefore);
    efgh = vaddq_u32(efgh, efghBefore);
  }
  vst1q_u32(state, abcd);
  vst1q_u32(state + 4, efgh);
}

}  // namespace qex

#endif
