// RSA: the private operation, plain and by the Chinese remainder theorem (RFC 8017 5.1.2).
#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"
#include "crypto/pk/rsa.h"

namespace qex {
namespace {

// combine computes out = m2 + h * q with h = iqmp * (m1 - m2) mod p, the number that is m1 modulo p
// and m2 modulo q. h is from 0 to p - 1 also where m1 is the smaller one.
void combine(Arithmetic& compute, KXBN* out, const KXBN* m1, const KXBN* m2, const RSAKey* key) {
  Number difference, product;
  compute.make(KXBN_bits(key->p), difference, product).sub(difference, m1, m2);
  compute.mul(product, key->iqmp, difference).mod(difference, product, key->p);
  compute.mul(product, difference, key->q).add(out, m2, product);
}

[[nodiscard]] uint32_t private_crt(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool) {
  QEX_ASSERT(key->q != nullptr, Claim::QIsPresent);
  QEX_ASSERT(key->dmp1 != nullptr, Claim::Dmp1IsPresent);
  QEX_ASSERT(key->dmq1 != nullptr, Claim::Dmq1IsPresent);
  QEX_ASSERT(key->iqmp != nullptr, Claim::IqmpIsPresent);
  Arithmetic compute(pool);
  Number power, m1, m2;
  compute.make(2 * KXBN_bits(key->p) + 64, power);
  compute.call(rsa_exp, key->p, key->dmp1, input, m1.out(), pool);
  compute.call(rsa_exp, key->q, key->dmq1, input, m2.out(), pool);
  combine(compute, power, m1, m2, key);
  if (compute.ok()) *out = power.release();
  return compute.code();
}

}  // namespace

uint32_t rsa_private(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool) {
  *out = nullptr;
  if (key->p == nullptr) return rsa_exp(key->n, key->d, input, out, pool);
  return private_crt(key, input, out, pool);
}

}  // namespace qex
