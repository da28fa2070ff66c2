// SHA-1 by the SHA-1 instructions of ARMv8, four steps at a time.
//
// Vectors hold words of the standard with the first in the lowest lane. Words wrap modulo 2^32.
#include "crypto/digest/forms.h"

#ifdef QEX_ARM_FORMS

#include <arm_neon.h>

#include "crypto/digest/sha1.h"

#define QEX_FORM_TARGET __attribute__((target("+crypto")))

namespace qex {
namespace {

constexpr uint32_t kK[4] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};

// run_quarter runs the twenty steps that share function and constant `kQuarter`, in five groups of four.
template <size_t kQuarter>
QEX_FORM_TARGET inline void run_quarter(uint32x4_t& abcd, uint32_t& e, uint32x4_t (&w)[4]) {
  const uint32x4_t constant = vdupq_n_u32(kK[kQuarter]);
#pragma GCC unroll 5
  for (size_t k = 0; k < 5; ++k) {
    const size_t group = 5 * kQuarter + k;
    uint32x4_t& words = w[group % 4];
    const uint32x4_t sums = vaddq_u32(words, constant);
    const uint32_t nextE = vsha1h_u32(vgetq_lane_u32(abcd, 0));
    if (kQuarter == 0) {
      abcd = vsha1cq_u32(abcd, e, sums);
    } else if (kQuarter == 2) {
      abcd = vsha1mq_u32(abcd, e, sums);
    } else {
      abcd = vsha1pq_u32(abcd, e, sums);
    }
    e = nextE;
    if (group < 16) {  // the words of sixteen steps later
      words = vsha1su1q_u32(vsha1su0q_u32(words, w[(group + 1) % 4], w[(group + 2) % 4]), w[(group + 3) % 4]);
    }
  }
}

}  // namespace

QEX_FORM_TARGET void SHA1CompressBlocks_arm(uint32_t (&state)[5], const uint8_t* data, size_t blocks) {
  uint32x4_t abcd = vld1q_u32(state);
  uint32_t e = state[4];
  for (; blocks != 0; --blocks, data += kSHA1Block) {
    uint32x4_t w[4];
    for (size_t k = 0; k < 4; ++k) w[k] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(data + 16 * k)));
    const uint32x4_t abcdBefore = abcd;
    const uint32_t eBefore = e;
    run_quarter<0>(abcd, e, w);
    run_quarter<1>(abcd, e, w);
    run_quarter<2>(abcd, e, w);
    run_quarter<3>(abcd, e, w);
    abcd = vaddq_u32(abcd, abcdBefore);
    e += eBefore;
  }
  vst1q_u32(state, abcd);
  state[4] = e;
}

}  // namespace qex

#endif
