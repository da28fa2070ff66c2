// Big numbers: modular exponentiation, the choice of the method.
//
// Montgomery's method needs an odd modulus and wants one whose top bit is the top bit of a
// word. For another odd modulus m it runs modulo an odd multiple M of m: the residue
// modulo M, reduced modulo m, is the residue modulo m.
#include "crypto/bignum/internal.h"

namespace qex {
namespace {

constexpr bool whole_words(uint32_t bits) {
  return bits % 32 == 0;
}

// modexp_odd: base^exp mod m for an odd m > 0 and 0 <= base < m.
uint32_t modexp_odd(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  if (whole_words(KXBN_bits(m))) return KXBN_modexp_mont(r, base, exp, m, pool);

  Scratch multiple;
  Scratch power;
  int candidate = 0;
  if (const uint32_t rc = multiple.make(pool, KXBN_bits(m))) return rc;
  if (const uint32_t rc = KXBN_odd_multiple(multiple, m, &candidate)) return rc;
  if (candidate < 0) return KXBN_modexp_binary(r, base, exp, m, pool);
  if (const uint32_t rc = power.make(pool, KXBN_bits(m))) return rc;
  if (const uint32_t rc = KXBN_modexp_mont(power, base, exp, multiple, pool)) return rc;
  return KXBN_mod(r, power, m, pool);
}

// modexp_negative: base^exp mod m for m < 0, with a result in (m, 0].
uint32_t modexp_negative(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  Scratch magnitude;
  Scratch power;
  if (const uint32_t rc = magnitude.make(pool, KXBN_bits(m))) return rc;
  if (const uint32_t rc = power.make(pool, KXBN_bits(m))) return rc;
  if (const uint32_t rc = KXBN_copy(magnitude, m)) return rc;
  magnitude->sign = 0;
  if (const uint32_t rc = KXBN_modexp(power, base, exp, magnitude, pool)) return rc;
  return KXBN_mod(r, power, m, pool);
}

}  // namespace

uint32_t KXBN_modexp(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  if (is_zero(m)) return KXBN_DIVZERO;
  if (is_negative(exp)) return KXBN_BADARG;
  if (is_negative(m)) return modexp_negative(r, base, exp, m, pool);
  if (is_negative(base) || KXBN_cmp(base, m) >= 0) {
    Scratch reduced;
    if (const uint32_t rc = reduced.make(pool, KXBN_bits(base))) return rc;
    if (const uint32_t rc = KXBN_mod(reduced, base, m, pool)) return rc;
    return KXBN_modexp(r, reduced, exp, m, pool);  // 0 <= reduced < m: once
  }
  if (KXBN_testbit(m, 0) == 0) return KXBN_modexp_binary(r, base, exp, m, pool);
  return modexp_odd(r, base, exp, m, pool);
}

uint32_t KXBN_odd_multiple(KXBN* M, const KXBN* m, int* candidate) {
  *candidate = -1;
  if (const uint32_t rc = KXBN_copy(M, m)) return rc;
  const uint32_t k = KXBN_bits(m) % 32;
  if (k == 0) {
    *candidate = 0;
    return KXBN_OK;
  }

  if (const uint32_t rc = KXBN_lshift(M, 32 - k)) return rc;
  if (const uint32_t rc = KXBN_add(M, M, m)) return rc;
  if (whole_words(KXBN_bits(M))) {
    *candidate = 1;
    return KXBN_OK;
  }

  if (const uint32_t rc = KXBN_sub(M, M, m)) return rc;
  if (const uint32_t rc = KXBN_sub(M, M, m)) return rc;
  if (whole_words(KXBN_bits(M))) {
    *candidate = 2;
    return KXBN_OK;
  }

  if (const uint32_t rc = KXBN_copy(M, m)) return rc;
  if (const uint32_t rc = KXBN_lshift(M, 64 - k)) return rc;
  if (const uint32_t rc = KXBN_sub(M, M, m)) return rc;
  if (whole_words(KXBN_bits(M))) *candidate = 3;
  return KXBN_OK;
}

uint32_t KXBN_modexp_binary(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  Scratch power;
  Scratch product;
  if (const uint32_t rc = power.make(pool, KXBN_bits(m))) return rc;
  if (const uint32_t rc = product.make(pool, KXBN_bits(m))) return rc;
  KXBN_setword(power, 1);
  for (uint32_t i = KXBN_bits(exp); i-- > 0;) {
    if (const uint32_t rc = KXBN_mul(product, power, power, pool)) return rc;
    if (const uint32_t rc = KXBN_mod(power, product, m, pool)) return rc;
    if (KXBN_testbit(exp, i) == 0) continue;
    if (const uint32_t rc = KXBN_mul(product, power, base, pool)) return rc;
    if (const uint32_t rc = KXBN_mod(power, product, m, pool)) return rc;
  }
  return KXBN_mod(r, power, m, pool);  // an exponent of 0 modulo 1 has not met a division yet
}

}  // namespace qex
