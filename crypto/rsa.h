// RSA: the key record and the public operation (RFC 8017 5.2.2).
//
// Only the arithmetic: padding and digest are compared by the caller.
#pragma once

#include "crypto/bignum.h"

namespace qex {

// A public key has n and e, and null in all other fields. The numbers belong to whoever filled the record.
struct RSAKey {
  KXBN* n;     // modulus
  KXBN* e;     // public exponent
  KXBN* d;     // private exponent
  KXBN* p;     // first prime; null also for a private key without the values below
  KXBN* q;     // second prime
  KXBN* dmp1;  // d mod (p - 1)
  KXBN* dmq1;  // d mod (q - 1)
  KXBN* iqmp;  // 1/q mod p
};

// rsa_exp stores in `*out` a new number, input^exp mod `mod`. An input not below the modulus is reduced,
// not refused. Asserts that both `mod` and `exp` are present. Codes: those of KXBN_new for
// 64 bits more than the modulus has, and of KXBN_modexp; `*out` is then null.
[[nodiscard]] uint32_t rsa_exp(const KXBN* mod, const KXBN* exp, const KXBN* input, KXBN** out,
                               KXBN_Pool* pool);

// rsa_public is rsa_exp with the modulus and the public exponent of `key`.
[[nodiscard]] uint32_t rsa_public(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool);

// rsa_verify_raw sets `*result` to 1 when the public operation on `signature` gives `expected`, else
// to 0. Codes: those of rsa_public; `*result` is then 0.
[[nodiscard]] uint32_t rsa_verify_raw(const RSAKey* key, const KXBN* expected, const KXBN* signature,
                                      uint32_t* result);

}  // namespace qex
