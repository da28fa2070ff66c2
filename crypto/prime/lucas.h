// Primality: the Lucas test, and the Jacobi symbol that it chooses its parameters by (FIPS 186-4 C.3.3, C.5;
// HAC 2.149).
#pragma once

#include "crypto/bignum/bignum.h"

namespace qex {

// bnlucas_jacobi sets `*symbol` to the Jacobi symbol (a/n): -1, 0 or +1. `a` may be negative. Asserts
// "is_odd(n->digits[0])". Codes: KXBN_BADARG for a negative n, KXBN_NOMEM; `*symbol` is then 0.
[[nodiscard]] uint32_t bnlucas_jacobi(int* symbol, const KXBN* a, const KXBN* n, KXBN_Pool* pool);

// bnlucas_test returns KXBN_OK when `n` passes the Lucas test for P = 1 and the first Q of -1, 2, -3, ... -29
// with (1 - 4Q / n) = -1, and KXBN_NONPRIME when it fails or there is no such Q: a perfect square never has
// one. Codes besides these: KXBN_BADARG, KXBN_NOMEM. Some composites pass, different ones from those that
// pass Miller-Rabin; a few primes have no Q, and fail.
[[nodiscard]] uint32_t bnlucas_test(const KXBN* n, KXBN_Pool* pool);

}  // namespace qex
