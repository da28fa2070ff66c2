// RSA: the private operation, plain and by the Chinese remainder theorem (RFC 8017 5.1.2).
#include "crypto/assertion.h"
#include "crypto/bignum/internal.h"
#include "crypto/pk/rsa.h"

namespace qex {
namespace {

// combine computes out = m2 + h * q with h = iqmp * (m1 - m2) mod p, the number that is m1 modulo p
// and m2 modulo q. h is from 0 to p - 1 also where m1 is the smaller one.
uint32_t combine(KXBN* out, const KXBN* m1, const KXBN* m2, const RSAKey* key, KXBN_Pool* pool) {
  Scratch difference, product;
  const uint32_t bits = KXBN_bits(key->p);
  if (const uint32_t rc = difference.make(pool, bits)) return rc;
  if (const uint32_t rc = product.make(pool, bits)) return rc;
  if (const uint32_t rc = KXBN_sub(difference, m1, m2)) return rc;
  if (const uint32_t rc = KXBN_mul(product, key->iqmp, difference, pool)) return rc;
  if (const uint32_t rc = KXBN_mod(difference, product, key->p, pool)) return rc;
  if (const uint32_t rc = KXBN_mul(product, difference, key->q, pool)) return rc;
  return KXBN_add(out, m2, product);
}

uint32_t private_crt(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool) {
  QEX_ASSERT(key->q != nullptr, "!!(key->q)", "..\\rsa.c", 554);
  QEX_ASSERT(key->dmp1 != nullptr, "!!(key->dmp1)", "..\\rsa.c", 555);
  QEX_ASSERT(key->dmq1 != nullptr, "!!(key->dmq1)", "..\\rsa.c", 556);
  QEX_ASSERT(key->iqmp != nullptr, "!!(key->iqmp)", "..\\rsa.c", 557);
  Scratch power, m1, m2;
  if (const uint32_t rc = power.make(pool, 2 * KXBN_bits(key->p) + 64)) return rc;
  if (const uint32_t rc = rsa_exp(key->p, key->dmp1, input, &m1.n, pool)) return rc;
  if (const uint32_t rc = rsa_exp(key->q, key->dmq1, input, &m2.n, pool)) return rc;
  if (const uint32_t rc = combine(power, m1, m2, key, pool)) return rc;
  *out = power.release();
  return KXBN_OK;
}

}  // namespace

uint32_t rsa_private(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool) {
  *out = nullptr;
  if (key->p == nullptr) return rsa_exp(key->n, key->d, input, out, pool);
  return private_crt(key, input, out, pool);
}

}  // namespace qex
