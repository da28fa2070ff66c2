// Big numbers: modular exponentiation, the choice of the method.
//
// Montgomery's method needs an odd modulus and wants one whose top bit is the top bit of a
// word. For another odd modulus m it runs modulo an odd multiple M of m: the residue
// modulo M, reduced modulo m, is the residue modulo m.
#include <algorithm>

#include "crypto/bignum/arithmetic.h"
#include "crypto/bignum/internal.h"
#include "crypto/bignum/power.h"

namespace qex {
namespace {

constexpr bool whole_words(uint32_t bits) {
  return bits % 32 == 0;
}

// modexp_odd: base^exp mod m for an odd m > 0 and 0 <= base < m.
[[nodiscard]] uint32_t modexp_odd(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m,
                                  KXBN_Pool* pool) {
  if (whole_words(KXBN_bits(m))) return KXBN_modexp_mont(r, base, exp, m, pool);

  Arithmetic compute(pool);
  Number multiple, power;
  int candidate = 0;
  compute.make(KXBN_bits(m), multiple).call(KXBN_odd_multiple, multiple, m, &candidate);
  if (compute.ok() && candidate < 0) return KXBN_modexp_binary(r, base, exp, m, pool);
  compute.make(KXBN_bits(m), power).call(KXBN_modexp_mont, power, base, exp, multiple, pool);
  return compute.mod(r, power, m).code();
}

// modexp_negative: base^exp mod m for m < 0, with a result in (m, 0].
[[nodiscard]] uint32_t modexp_negative(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m,
                                       KXBN_Pool* pool) {
  Arithmetic compute(pool);
  Number magnitude, power;
  compute.make(KXBN_bits(m), magnitude, power).copy(magnitude, m);
  if (!compute.ok()) return compute.code();
  magnitude->sign = 0;
  return compute.modexp(power, base, exp, magnitude).mod(r, power, m).code();
}

// PublicPower is a product of powers as PowerOdd (power.h) computes it.
class PublicPower {
 public:
  // takes returns whether PowerOdd takes the modulus.
  [[nodiscard]] static bool takes(const KXBN* m) {
    return !is_negative(m) && KXBN_testbit(m, 0) != 0 && KXBN_getsize(m) <= kPowerMaxWords && !is_one(m);
  }

  explicit PublicPower(const KXBN* m) : m_(m), n_(KXBN_getsize(m)) {}

  // add adds a factor; false, and nothing is added, when PowerOdd does not take it.
  [[nodiscard]] bool add(const KXBN* base, const KXBN* exp) {
    if (is_negative(exp) || KXBN_getsize(exp) > kPowerMaxWords) return false;
    if (is_negative(base) || KXBN_cmp(base, m_) >= 0) return false;
    const uint32_t size = KXBN_getsize(base);
    uint32_t* const padded = bases_[count_];
    std::copy_n(base->digits, size, padded);
    std::fill(padded + size, padded + n_, 0);
    terms_[count_++] = {padded, exp->digits, KXBN_bits(exp)};
    return true;
  }

  // store computes the product into r. Codes: KXBN_NOMEM.
  [[nodiscard]] uint32_t store(KXBN* r) {
    uint32_t words[kPowerMaxWords];
    PowerOdd(words, terms_, count_, m_->digits, n_);
    size_t size = n_;
    while (size > 1 && words[size - 1] == 0) --size;
    if (const uint32_t rc = KXBN_reserve(r, size)) return rc;
    std::copy_n(words, size, r->digits);
    r->used = uint32_t(size);
    r->sign = 0;
    return KXBN_OK;
  }

 private:
  const KXBN* m_;
  size_t n_;
  size_t count_ = 0;
  PowerTerm terms_[kPowerMaxTerms];
  uint32_t bases_[kPowerMaxTerms][kPowerMaxWords];
};

}  // namespace

uint32_t KXBN_modexp(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  if (is_zero(m)) return KXBN_DIVZERO;
  if (is_negative(exp)) return KXBN_BADARG;
  if (is_negative(m)) return modexp_negative(r, base, exp, m, pool);
  if (is_negative(base) || KXBN_cmp(base, m) >= 0) {
    Arithmetic compute(pool);
    Number reduced;
    compute.make(KXBN_bits(base), reduced).mod(reduced, base, m);
    return compute.modexp(r, reduced, exp, m).code();  // 0 <= reduced < m: once
  }
  if (KXBN_testbit(m, 0) == 0) return KXBN_modexp_binary(r, base, exp, m, pool);
  return modexp_odd(r, base, exp, m, pool);
}

uint32_t KXBN_modexp_public(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  if (PublicPower::takes(m)) {
    PublicPower power(m);
    if (power.add(base, exp)) return power.store(r);
  }
  return KXBN_modexp(r, base, exp, m, pool);
}

uint32_t KXBN_modexp2_public(KXBN* r, const KXBN* base1, const KXBN* exp1, const KXBN* base2,
                             const KXBN* exp2, const KXBN* m, KXBN_Pool* pool) {
  if (PublicPower::takes(m)) {
    PublicPower power(m);
    if (power.add(base1, exp1) && power.add(base2, exp2)) return power.store(r);
  }
  Arithmetic compute(pool);
  Number power1, power2, product;
  compute.make(KXBN_bits(m), power1, power2, product);
  compute.modexp(power1, base1, exp1, m).modexp(power2, base2, exp2, m);
  return compute.mul(product, power1, power2).mod(r, product, m).code();
}

uint32_t KXBN_odd_multiple(KXBN* M, const KXBN* m, int* candidate) {
  *candidate = -1;
  Arithmetic compute(nullptr);
  // take makes M the candidate when it fits. The search ends then, and when a step has failed.
  const auto take = [&](int number) {
    if (compute.ok() && whole_words(KXBN_bits(M))) *candidate = number;
    return *candidate == number || !compute.ok();
  };
  const uint32_t k = KXBN_bits(m) % 32;
  compute.copy(M, m);
  if (take(0)) return compute.code();
  compute.lshift(M, 32 - k).add(M, M, m);
  if (take(1)) return compute.code();
  compute.sub(M, M, m).sub(M, M, m);
  if (take(2)) return compute.code();
  compute.copy(M, m).lshift(M, 64 - k).sub(M, M, m);
  take(3);
  return compute.code();
}

uint32_t KXBN_modexp_binary(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  Arithmetic compute(pool);
  Number power, product;
  compute.make(KXBN_bits(m), power, product).setword(power, 1);
  for (uint32_t i = KXBN_bits(exp); compute.ok() && i-- > 0;) {
    compute.mul(product, power, power).mod(power, product, m);
    if (KXBN_testbit(exp, i) != 0) compute.mul(product, power, base).mod(power, product, m);
  }
  return compute.mod(r, power, m).code();  // an exponent of 0 modulo 1 has not met a division yet
}

}  // namespace qex
