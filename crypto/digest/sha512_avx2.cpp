// SHA-512 by BMI2, with its schedule in AVX2.
#if defined(__x86_64__) || defined(QEX_FORM_NAMESPACE)

#ifndef QEX_FORM_NAMESPACE  // a test compiles this source over intrinsics in plain C++, under another name
#include <immintrin.h>
#define QEX_FORM_NAMESPACE qex
#define QEX_FORM_TARGET    __attribute__((target("avx2,bmi,bmi2")))
#endif

#include "crypto/digest/sha512_x86.h"

namespace QEX_FORM_NAMESPACE {
namespace {

struct ScheduleAvx2 {
  QEX_FORM_TARGET static __m256i sigma0(__m256i x) {
    const __m256i octetDown = _mm256_set_epi64x(0x080f0e0d0c0b0a09, 0x0007060504030201,  //
                                                0x080f0e0d0c0b0a09, 0x0007060504030201);
    const __m256i ror1 = _mm256_xor_si256(_mm256_srli_epi64(x, 1), _mm256_slli_epi64(x, 63));
    const __m256i ror8 = _mm256_shuffle_epi8(x, octetDown);
    return _mm256_xor_si256(_mm256_xor_si256(ror1, ror8), _mm256_srli_epi64(x, 7));
  }

  QEX_FORM_TARGET static __m128i sigma1(__m128i x) {
    const __m128i ror19 = _mm_xor_si128(_mm_srli_epi64(x, 19), _mm_slli_epi64(x, 45));
    const __m128i ror61 = _mm_xor_si128(_mm_srli_epi64(x, 61), _mm_slli_epi64(x, 3));
    return _mm_xor_si128(_mm_xor_si128(ror19, ror61), _mm_srli_epi64(x, 6));
  }

  // from_one returns the four words that begin with the second of `low`.
  QEX_FORM_TARGET static __m256i from_one(__m256i low, __m256i high) {
    constexpr int kMiddle = 0x21;  // the upper half of the first operand, the lower half of the second
    return _mm256_alignr_epi8(_mm256_permute2x128_si256(low, high, kMiddle), low, 8);
  }

  QEX_FORM_TARGET static __m256i next(__m256i w0, __m256i w4, __m256i w8, __m256i w12) {
    const __m256i sum = _mm256_add_epi64(_mm256_add_epi64(w0, from_one(w8, w12)), sigma0(from_one(w0, w4)));
    // Sigma1 takes the words two before: those of the last vector, then the two that they give.
    const __m128i w14 = _mm256_extracti128_si256(w12, 1);
    const __m128i w16 = _mm_add_epi64(_mm256_castsi256_si128(sum), sigma1(w14));
    const __m128i w18 = _mm_add_epi64(_mm256_extracti128_si256(sum, 1), sigma1(w16));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(w16), w18, 1);
  }
};

}  // namespace

QEX_FORM_TARGET void SHA512CompressBlocks_avx2(uint32_t (&state)[16], const uint8_t* data, size_t blocks) {
  compress<ScheduleAvx2>(state, data, blocks);
}

}  // namespace QEX_FORM_NAMESPACE

#endif
