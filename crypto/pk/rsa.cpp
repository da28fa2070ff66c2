// RSA: the public operation.
#include "crypto/pk/rsa.h"

#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"

namespace qex {

namespace {

// exp_by is rsa_exp by `power`, an operation with the operands of KXBN_modexp.
template <class Power>
[[nodiscard]] uint32_t exp_by(Power power, const KXBN* mod, const KXBN* exp, const KXBN* input, KXBN** out,
                              KXBN_Pool* pool) {
  QEX_ASSERT(mod != nullptr, Claim::ModulusIsPresent);
  QEX_ASSERT(exp != nullptr, Claim::ExponentIsPresent);
  Arithmetic compute(pool);
  Number result;
  compute.make(KXBN_bits(mod) + 64, result).call(power, result, input, exp, mod, pool);
  *out = compute.ok() ? result.release() : nullptr;
  return compute.code();
}

}  // namespace

uint32_t rsa_exp(const KXBN* mod, const KXBN* exp, const KXBN* input, KXBN** out, KXBN_Pool* pool) {
  return exp_by(KXBN_modexp, mod, exp, input, out, pool);
}

uint32_t rsa_public(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool) {
  return exp_by(KXBN_modexp_public, key->n, key->e, input, out, pool);
}

uint32_t rsa_verify_raw(const RSAKey* key, const KXBN* expected, const KXBN* signature, uint32_t* result) {
  *result = 0;
  Number opened;
  if (const uint32_t rc = rsa_public(key, signature, opened.out(), nullptr)) return rc;
  *result = KXBN_cmp(opened, expected) == 0 ? 1 : 0;
  return KXBN_OK;
}

}  // namespace qex
