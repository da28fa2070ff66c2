// Big numbers: Montgomery exponentiation with a sliding window (HAC 14.94, 14.85).
//
// With R = 2^(32n), n being the words of the modulus or one more, the Montgomery form of x is x * R mod m.
// All numbers here are padded to n words, as the kernels require.
#include <algorithm>

#include "crypto/bignum/arithmetic.h"
#include "crypto/bignum/internal.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

constexpr uint32_t kMaxWindow = 16;

// Window is a run of exponent bits: its value, and how many zeros end it.
struct Window {
  uint32_t value = 0;
  uint32_t bits = 0;
  uint32_t zeros = 0;
};

// next_window collects bits of exp below `*position` until the value reaches `size`, a
// power of two, or the exponent ends. The odd part of the value is below 2 * size.
Window next_window(const KXBN* exp, uint32_t* position, uint32_t size) {
  Window window;
  while (*position > 0 && window.value < size) {
    const uint32_t bit = KXBN_testbit(exp, --*position);
    window.value = window.value << 1 | bit;
    window.zeros = bit == 0 ? window.zeros + 1 : 0;
    ++window.bits;
  }
  return window;
}

// One exponentiation: the modulus as the kernels take it, and the working numbers.
class Montgomery {
 public:
  // prepare makes the working numbers, R^2 mod m and the table for `base`, 0 <= base < m, whose entry k is
  // base^(2k+1) in Montgomery form. Codes: KXBN_BADARG, KXBN_NOMEM.
  [[nodiscard]] uint32_t prepare(const KXBN* m, const KXBN* base, uint32_t window, KXBN_Pool* pool);

  // power sets r = base^exp mod m. Codes: KXBN_NOMEM.
  [[nodiscard]] uint32_t power(KXBN* r, const KXBN* exp, uint32_t window);

 private:
  void make(Arithmetic& compute, Number& number) const;
  void product(KXBN* r, const KXBN* a, const KXBN* b) {
    MontProduct(r->digits, a->digits, b->digits, m_->digits, n_, mPrime_, work_->digits);
  }
  void square(KXBN* r, const KXBN* a) {
    MontSquare(r->digits, a->digits, m_->digits, n_, mPrime_, work_->digits);
  }

  uint32_t n_ = 0;
  uint32_t mPrime_ = 0;
  Number m_;  // the modulus, padded like everything else
  Number work_;
  Number square_;  // R^2 mod m, then base^2
  Number power_;
  Number table_[kMaxWindow];
};

// make creates a working number of n words.
void Montgomery::make(Arithmetic& compute, Number& number) const {
  compute.make(n_ * 32, number).call(KXBN_pad, number, n_);
}

uint32_t Montgomery::prepare(const KXBN* m, const KXBN* base, uint32_t window, KXBN_Pool* pool) {
  // The modulus has the kernels' favourite number of words, unless R^2 would be too large then.
  n_ = uint32_t(MontWords(KXBN_getsize(m)));
  if (64 * n_ >= kMaxBits) {
    n_ = KXBN_getsize(m);
    // A modulus too large for its R^2 is refused here, before anything is made for it.
    if (64 * n_ >= kMaxBits) return KXBN_BADARG;
  }
  mPrime_ = MontInverse(m->digits[0]);

  Arithmetic compute(pool);
  compute.make(n_ * 32, m_).copy(m_, m).call(KXBN_pad, m_, n_);
  compute.make(64 * n_ + 1, square_).setbit(square_, 64 * n_).reduce(square_, m).call(KXBN_pad, square_, n_);
  compute.make(uint32_t(MontWorkWords(n_)) * 32, work_);
  make(compute, power_);
  if (!compute.ok()) return compute.code();
  power_->digits[0] = 1;
  product(power_, power_, square_);  // the power starts as R mod m

  compute.make(n_ * 32, table_[0]).copy(table_[0], base).call(KXBN_pad, table_[0], n_);
  if (!compute.ok()) return compute.code();
  product(table_[0], table_[0], square_);
  if (window > 1) square(square_, table_[0]);
  for (uint32_t k = 1; k < window; ++k) {
    make(compute, table_[k]);
    if (!compute.ok()) return compute.code();
    product(table_[k], table_[k - 1], square_);
  }
  return KXBN_OK;
}

uint32_t Montgomery::power(KXBN* r, const KXBN* exp, uint32_t window) {
  bool initial = true;  // while the power is R mod m, its square is itself
  for (uint32_t position = KXBN_bits(exp); position > 0;) {
    const Window w = next_window(exp, &position, window);
    for (uint32_t i = w.zeros; i < w.bits && !initial; ++i) square(power_, power_);
    if (w.value != 0) {
      const KXBN* const entry = table_[w.value >> (w.zeros + 1)];
      if (initial) {
        std::copy_n(entry->digits, n_, power_->digits);  // 1 times the entry
      } else {
        product(power_, power_, entry);
      }
      initial = false;
    }
    for (uint32_t i = 0; i < w.zeros && !initial; ++i) square(power_, power_);
  }
  MontReduce(power_->digits, power_->digits, m_->digits, n_, mPrime_, work_->digits);
  KXBN_trim(power_);
  return KXBN_copy(r, power_);
}

}  // namespace

uint32_t KXBN_window(uint32_t bits) {
  if (bits < 32) return 1;
  return bits < 256 ? 8 : kMaxWindow;
}

uint32_t KXBN_modexp_mont(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  const uint32_t window = KXBN_window(KXBN_bits(exp));
  Montgomery montgomery;
  if (const uint32_t rc = montgomery.prepare(m, base, window, pool)) return rc;
  return montgomery.power(r, exp, window);
}

}  // namespace qex
