// Big numbers: greatest common divisor and modular inverse.
#include <algorithm>

#include "crypto/bignum/arithmetic.h"

namespace qex {
namespace {

// The running state of Euclid's algorithm with one cofactor: a * x0 = r0 and
// a * x1 = r1, both modulo m.
struct Euclid {
  Number x0, x1, r0, r1;
  Number quotient, product;

  void start(Arithmetic& compute, const KXBN* a, const KXBN* m);
  void step(Arithmetic& compute);
};

void Euclid::start(Arithmetic& compute, const KXBN* a, const KXBN* m) {
  compute.make(std::max(KXBN_bits(a), KXBN_bits(m)), x0, x1, r0, r1, quotient, product);
  compute.setword(x0, 1).copy(r0, a).copy(r1, m);
}

// step divides r0 by r1, which is not 0. The remainder is smaller than r1, so |r1| falls from step to step.
void Euclid::step(Arithmetic& compute) {
  compute.divrem(quotient, r0, r1).mul(product, quotient, x1).sub(x0, x0, product);
  swap(x0, x1);
  swap(r0, r1);
}

}  // namespace

uint32_t KXBN_xgcd(const KXBN* a, const KXBN* m, KXBN** coefficient, KXBN** gcd, KXBN_Pool* pool) {
  *coefficient = nullptr;
  *gcd = nullptr;
  Arithmetic compute(pool);
  Euclid euclid;
  euclid.start(compute, a, m);
  while (compute.ok() && !is_zero(euclid.r1)) euclid.step(compute);
  if (!compute.ok()) return compute.code();
  *coefficient = euclid.x0.release();
  *gcd = euclid.r0.release();
  return KXBN_OK;
}

uint32_t KXBN_modinv(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool) {
  if (is_zero(m)) return KXBN_DIVZERO;
  Number coefficient, gcd;
  if (const uint32_t rc = KXBN_xgcd(a, m, coefficient.out(), gcd.out(), pool)) return rc;
  if (!is_one(gcd)) return KXBN_NONPRIME;  // below a negative m the last divisor is negative, too
  // |coefficient| < m: Euclid's cofactors never pass the modulus.
  if (is_negative(coefficient)) return KXBN_add(r, coefficient, m);
  return KXBN_copy(r, coefficient);
}

}  // namespace qex
