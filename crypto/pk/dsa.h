// DSA: verification, signing and the check of a key (FIPS 186-4 4.6, 4.7).
//
// Verification takes keys and signatures from anyone: whatever the numbers are, it ends in a code
// or a result. Signing takes a time that depends on private numbers and wipes nothing.
#pragma once

#include "crypto/bignum/bignum.h"
#include "crypto/prime/random_source.h"

namespace qex {

// The numbers belong to whoever filled the record.
struct DSAKey {
  KXBN* p;  // prime modulus
  KXBN* q;  // prime divisor of p - 1
  KXBN* g;  // generator of the subgroup of order q
  KXBN* x;  // private key; null for verification
  KXBN* y;  // public value, g^x mod p
};

struct DSASig {
  KXBN* r;
  KXBN* s;
};

// A digest that was computed already.
struct DigestBuf {
  uint8_t octets[64];
  uint32_t length;  // octets that are valid
};

enum DSA_Result : uint32_t {
  DSA_VALID = 0,
  DSA_INVALID = 1,
  DSA_PENDING = 6,  // the check was not completed
};

// dsa_verify checks `sig` over the leftmost octets of `digest`, as many as q has whole octets. It sets
// `*result` to DSA_VALID or DSA_INVALID; with a code other than KXBN_OK it is DSA_PENDING. Codes: those of
// dsa_verify_int and KXBN_frombytes.
[[nodiscard]] uint32_t dsa_verify(const DigestBuf* digest, const DSAKey* key, const DSASig* sig,
                                  KXBN_Pool* pool, uint32_t* result);

// dsa_verify_int is dsa_verify over the integer z. An r or s outside 1 to q - 1 makes the signature invalid,
// with KXBN_OK. Codes: KXBN_DIVZERO when p is 0; KXBN_NONPRIME when s has no inverse modulo q, which then is
// no prime; KXBN_BADARG, KXBN_NOMEM.
[[nodiscard]] uint32_t dsa_verify_int(const KXBN* z, const DSAKey* key, const DSASig* sig, KXBN_Pool* pool,
                                      uint32_t* result);

// dsa_sign signs `digest` with a random k from 1 to q - 1 (FIPS 186-4 B.2.1). r and s are stored in `sig`:
// copied into the numbers that are there, else as new numbers. Codes: those of dsa_sign_int, KXBN_BADARG also
// without a random source or for a q below 2; the source's own.
[[nodiscard]] uint32_t dsa_sign(const DigestBuf* digest, const DSAKey* key, const RandomSource* random,
                                KXBN_Pool* pool, DSASig* sig);

// dsa_sign_int signs the integer z with a given k, which must be secret, unpredictable and never used twice.
// Codes: KXBN_BADARG when k is not from 1 to q - 1 or the key has no x; KXBN_DIVZERO when p is 0;
// KXBN_NONPRIME when this k gives no signature (no inverse modulo q, or an r or s of 0): another is needed;
// KXBN_BADARG, KXBN_NOMEM. Fields of `sig` that were null are then null, the value of others means nothing.
[[nodiscard]] uint32_t dsa_sign_int(const KXBN* z, const DSAKey* key, const KXBN* k, KXBN_Pool* pool,
                                    DSASig* sig);

// dsa_check_key returns KXBN_OK for a consistent key: 0 < x < q, y = g^x mod p and 0 < y < p. Conditions on
// an absent x or y are skipped. Codes: KXBN_BADARG for any other key; those of KXBN_modexp.
[[nodiscard]] uint32_t dsa_check_key(const DSAKey* key, KXBN_Pool* pool);

}  // namespace qex
