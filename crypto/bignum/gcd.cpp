// Big numbers: greatest common divisor and modular inverse.
#include <algorithm>

#include "crypto/bignum/internal.h"

namespace qex {
namespace {

// The running state of Euclid's algorithm with one cofactor: a * x0 = r0 and
// a * x1 = r1, both modulo m.
struct Euclid {
  Scratch x0, x1, r0, r1;
  Scratch quotient, product;

  [[nodiscard]] uint32_t start(const KXBN* a, const KXBN* m, KXBN_Pool* pool);
  [[nodiscard]] uint32_t step(KXBN_Pool* pool);
};

uint32_t Euclid::start(const KXBN* a, const KXBN* m, KXBN_Pool* pool) {
  const uint32_t bits = std::max(KXBN_bits(a), KXBN_bits(m));
  if (const uint32_t rc = KXBN_new4(pool, int32_t(bits), &x0.n, &x1.n, &r0.n, &r1.n)) return rc;
  if (const uint32_t rc = KXBN_new4(pool, int32_t(bits), &quotient.n, &product.n, nullptr, nullptr))
    return rc;
  KXBN_setword(x0, 1);
  if (const uint32_t rc = KXBN_copy(r0, a)) return rc;
  return KXBN_copy(r1, m);
}

// step divides r0 by r1, which is not 0. The remainder is smaller than r1, so |r1| falls from step to step.
uint32_t Euclid::step(KXBN_Pool* pool) {
  if (const uint32_t rc = KXBN_divrem(quotient, r0, r1)) return rc;
  if (const uint32_t rc = KXBN_mul(product, quotient, x1, pool)) return rc;
  if (const uint32_t rc = KXBN_sub(x0, x0, product)) return rc;
  std::swap(x0.n, x1.n);
  std::swap(r0.n, r1.n);
  return KXBN_OK;
}

}  // namespace

uint32_t KXBN_xgcd(const KXBN* a, const KXBN* m, KXBN** coefficient, KXBN** gcd, KXBN_Pool* pool) {
  *coefficient = nullptr;
  *gcd = nullptr;
  Euclid euclid;
  if (const uint32_t rc = euclid.start(a, m, pool)) return rc;
  while (!is_zero(euclid.r1)) {
    if (const uint32_t rc = euclid.step(pool)) return rc;
  }
  *coefficient = euclid.x0.release();
  *gcd = euclid.r0.release();
  return KXBN_OK;
}

uint32_t KXBN_modinv(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool) {
  if (is_zero(m)) return KXBN_DIVZERO;
  Scratch coefficient;
  Scratch gcd;
  if (const uint32_t rc = KXBN_xgcd(a, m, &coefficient.n, &gcd.n, pool)) return rc;
  if (KXBN_test(gcd, KXBN_IS_ONE) == 0 || is_negative(m)) return KXBN_NONPRIME;
  // |coefficient| < m: Euclid's cofactors never pass the modulus.
  if (is_negative(coefficient)) return KXBN_add(r, coefficient, m);
  return KXBN_copy(r, coefficient);
}

}  // namespace qex
