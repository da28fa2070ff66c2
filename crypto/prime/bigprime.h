// Primality: trial division and Miller-Rabin (HAC 4.2; FIPS 186-4 C.3.1).
//
// A test answers with a result code: KXBN_OK when the number passed, that is when it is
// a probable prime, and KXBN_NONPRIME when it is composite.
#pragma once

#include <array>
#include <cstddef>

#include "crypto/bignum/bignum.h"
#include "crypto/prime/random_source.h"

namespace qex {

inline constexpr size_t kSmallPrimeCount = 504;

// kSmallPrimes holds the first primes, 2 to 3607.
extern const std::array<uint32_t, kSmallPrimeCount> kSmallPrimes;

// bigprime_rounds returns how many rounds of Miller-Rabin a random candidate of `bits` bits needs for an
// error bound: 0 for the fewest rounds to 2 for the most. Asserts "!\"invalid primality error bound\""
// for any other bound.
[[nodiscard]] uint32_t bigprime_rounds(uint32_t bits, uint32_t bound);

// bigprime_trial_division returns KXBN_NONPRIME when a small prime divides `n`. Below 32 bits
// the answer is exact: KXBN_OK for the primes, KXBN_NONPRIME for all else, negative numbers included.
[[nodiscard]] uint32_t bigprime_trial_division(const KXBN* n);

// bigprime_miller_rabin tests `n` to the base 2, then to random ones. Fewer than 1 round asked for means as
// many as error bound 0 takes; at least 2 are made. Codes: KXBN_NONPRIME for a composite, also for a number
// of fewer than 2 bits or below zero; KXBN_BADARG without a random source; the source's own; KXBN_BADARG,
// KXBN_NOMEM.
[[nodiscard]] uint32_t bigprime_miller_rabin(const KXBN* n, int32_t rounds, const RandomSource* random,
                                             KXBN_Pool* pool);

// bigprime_test is trial division, then Miller-Rabin with the rounds for `bound`. Codes: those of the two;
// KXBN_BADARG without a random source.
[[nodiscard]] uint32_t bigprime_test(const KXBN* n, uint32_t bound, const RandomSource* random,
                                     KXBN_Pool* pool);

}  // namespace qex
