// Big numbers: modular exponentiation, the choice of the method.
//
// Montgomery's method needs an odd modulus and wants one whose top bit is the top bit of a
// word. For another odd modulus m it runs modulo an odd multiple M of m: the residue
// modulo M, reduced modulo m, is the residue modulo m.
#include "crypto/bignum/arithmetic.h"
#include "crypto/bignum/internal.h"

namespace qex {
namespace {

[[nodiscard]] constexpr bool whole_words(uint32_t bits) {
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
