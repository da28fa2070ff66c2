// SHA-512 by BMI2, with its schedule in vectors of AVX2's size by AVX-512, which rotates lanes and combines
// three operands at once: 22 instead of 36 instructions for four words.
#if defined(__x86_64__) || defined(QEX_FORM_NAMESPACE)

#ifndef QEX_FORM_NAMESPACE  // a test compiles this source over intrinsics in plain C++, under another name
#include <immintrin.h>
#define QEX_FORM_NAMESPACE qex
#define QEX_FORM_TARGET    __attribute__((target("avx2,bmi,bmi2,avx512f,avx512vl")))
#endif

#include "crypto/digest/sha512_x86.h"

namespace QEX_FORM_NAMESPACE {
namespace {

struct ScheduleAvx512 {
  static constexpr int kXor = 0x96;  // of three operands

  QEX_FORM_TARGET static __m256i sigma0(__m256i x) {
    return _mm256_ternarylogic_epi64(_mm256_ror_epi64(x, 1), _mm256_ror_epi64(x, 8), _mm256_srli_epi64(x, 7),
                                     kXor);
  }

  QEX_FORM_TARGET static __m128i sigma1(__m128i x) {
    return _mm_ternarylogic_epi64(_mm_ror_epi64(x, 19), _mm_ror_epi64(x, 61), _mm_srli_epi64(x, 6), kXor);
  }

  QEX_FORM_TARGET static __m256i next(__m256i w0, __m256i w4, __m256i w8, __m256i w12) {
    const __m256i w1 = _mm256_alignr_epi64(w4, w0, 1);
    const __m256i w9 = _mm256_alignr_epi64(w12, w8, 1);
    const __m256i sum = _mm256_add_epi64(_mm256_add_epi64(w0, w9), sigma0(w1));
    // Sigma1 takes the words two before: those of the last vector, then the two that they give.
    const __m128i w14 = _mm256_extracti128_si256(w12, 1);
    const __m128i w16 = _mm_add_epi64(_mm256_castsi256_si128(sum), sigma1(w14));
    const __m128i w18 = _mm_add_epi64(_mm256_extracti128_si256(sum, 1), sigma1(w16));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(w16), w18, 1);
  }
};

}  // namespace

QEX_FORM_TARGET void SHA512CompressBlocks_avx512(uint32_t (&state)[16], const uint8_t* data, size_t blocks) {
  compress<ScheduleAvx512>(state, data, blocks);
}

}  // namespace QEX_FORM_NAMESPACE

#endif
