// RSA: the key record, the public and the private operation (RFC 8017 5.2.2, 5.1.2), and key generation.
//
// Only the arithmetic: the caller compares padding and digest. The time of private operations depends on the
// private numbers, and the memory that they used is not wiped.
#pragma once

#include "crypto/bignum/bignum.h"
#include "crypto/prime/random_source.h"

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

// rsa_public is rsa_exp with the modulus and the public exponent of `key`, by the fastest instructions of the
// processor.
[[nodiscard]] uint32_t rsa_public(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool);

// rsa_verify_raw sets `*result` to 1 when the public operation on `signature` gives `expected`, else
// to 0. Codes: those of rsa_public; `*result` is then 0.
[[nodiscard]] uint32_t rsa_verify_raw(const RSAKey* key, const KXBN* expected, const KXBN* signature,
                                      uint32_t* result);

// rsa_private stores in `*out` a new number, input^d mod n: by rsa_exp when `p` is null, else by the Chinese
// remainder theorem, for which it asserts that the other four values are present and reads neither n nor d.
// Codes: those of rsa_exp; KXBN_BADARG when p has more than about half of kMaxBits; `*out` is then null.
[[nodiscard]] uint32_t rsa_private(const RSAKey* key, const KXBN* input, KXBN** out, KXBN_Pool* pool);

// rsa_generate_key fills `*key` with new numbers: a modulus of `bits` bits from two primes of half as many, p
// > q, for the public exponent e. Primes of fewer than 512 bits fail the assertion "!\"invalid rsa prime
// size\"". Codes: KXBN_BADARG without a random source, when bits is odd or above kMaxBits, and for an e that
// is even, below 3 or longer than 256 bits; KXBN_NONPRIME when the random source keeps giving unusable
// numbers; the source's own; KXBN_BADARG, KXBN_NOMEM. All fields are then null.
[[nodiscard]] uint32_t rsa_generate_key(RSAKey* key, uint32_t bits, const KXBN* e, const RandomSource* random,
                                        KXBN_Pool* pool);

// rsa_free_key frees the numbers of a key that the caller owns and sets all fields to null.
void rsa_free_key(RSAKey* key);

}  // namespace qex
