// Products of powers with AVX-512 IFMA.
#if defined(__x86_64__)

#include <immintrin.h>

#include "crypto/bignum/adx.h"
#include "crypto/bignum/power_forms.h"
#include "crypto/bignum/power_steps.h"
#include "crypto/bignum/scale.h"

#if defined(__GNUC__) && !defined(__clang__)
// g++ 12 finds the undefined vectors of its own headers uninitialized (GCC bug 105593).
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

// The pragma applies to the rest of the file, which has only names that are local to it: of a function that
// several files share, the linker may keep the copy of this one.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx512ifma"))), \
                             apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl,avx512ifma")
#endif

#include "crypto/bignum/ifma.h"

namespace qex {
namespace {

// Avx512 is the instructions, each by what it does to the eight lanes of 64 bits.
struct Avx512 {
  using Vector = __m512i;
  static Vector zero() { return _mm512_setzero_si512(); }
  static Vector load(const uint64_t* p) { return _mm512_load_si512(p); }
  static void store(uint64_t* p, Vector a) { _mm512_store_si512(p, a); }
  static Vector broadcast(uint64_t d) { return _mm512_set1_epi64(int64_t(d)); }
  static Vector broadcast_first(Vector a) { return _mm512_broadcastq_epi64(_mm512_castsi512_si128(a)); }
  static Vector add_low(Vector sum, Vector a, Vector b) { return _mm512_madd52lo_epu64(sum, a, b); }
  static Vector add_high(Vector sum, Vector a, Vector b) { return _mm512_madd52hi_epu64(sum, a, b); }
  static Vector add(Vector a, Vector b) { return _mm512_add_epi64(a, b); }
  static Vector add_one(Vector a, uint8_t lanes) {
    return _mm512_mask_sub_epi64(a, lanes, a, _mm512_set1_epi64(-1));
  }
  static Vector both(Vector a, Vector b) { return _mm512_and_si512(a, b); }
  static Vector above_52(Vector a) { return _mm512_srli_epi64(a, 52); }
  static Vector first_above_52(Vector a) { return _mm512_maskz_srli_epi64(1, a, 52); }
  static Vector down(Vector a, Vector next) { return _mm512_alignr_epi64(next, a, 1); }
  static Vector up(Vector previous, Vector a) { return _mm512_alignr_epi64(a, previous, 7); }
  static uint8_t lanes_above(Vector a, Vector b) { return _mm512_cmpgt_epu64_mask(a, b); }
  static uint8_t lanes_equal(Vector a, Vector b) { return _mm512_cmpeq_epu64_mask(a, b); }
  static uint64_t row(uint32_t* r, const uint32_t* a, size_t n, uint64_t w, uint64_t carry) {
    return MulAddAdx(r, a, n, w, carry);
  }
};

}  // namespace

void PowerIfma(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n) {
  const size_t bits = 32 * n - size_t(std::countl_zero(m[n - 1]));
  if (bits < kIfmaMinBits || bits > kIfmaMaxBits) return PowerAdx(r, terms, count, m, n);
  PowerSteps<IfmaKernel<Avx512>>(m, n).compute(r, terms, count);
}

}  // namespace qex

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#endif
