// Shared by the sources of the big numbers and their tests.
#pragma once

#include "crypto/bignum/bignum.h"

namespace qex {

inline constexpr uint32_t kMaxWords = kMaxBits / 32;

// A result is formed before its exact size is known: a sum needs one word more than its operands, a product
// through a temporary two. Arrays may be that much longer than the largest number; KXBN_finish refuses a
// result that uses the excess.
inline constexpr uint32_t kSlackWords = 2;

// KXBN_reserve gives `n` room for `words` words and keeps its value. Codes: KXBN_BADARG above kMaxWords +
// kSlackWords, KXBN_NOMEM; n is then unchanged.
[[nodiscard]] uint32_t KXBN_reserve(KXBN* n, size_t words);

// KXBN_finish drops top zero words; zero loses its sign. Codes: KXBN_BADARG for more than kMaxBits bits; n is
// then 0.
[[nodiscard]] uint32_t KXBN_finish(KXBN* n);

// KXBN_trim does the same to a number that cannot have grown.
void KXBN_trim(KXBN* n);

// KXBN_pad extends n with top zeros to exactly `words` words; it must not be longer before. Codes: those of
// KXBN_reserve.
[[nodiscard]] uint32_t KXBN_pad(KXBN* n, uint32_t words);

// KXBN_pool_with_slot stores the first pool of the chain `first` that has a free slot. When none has, it
// puts a new pool directly after `first`. Codes: those of KXBN_pool_new.
[[nodiscard]] uint32_t KXBN_pool_with_slot(KXBN_Pool* first, KXBN_Pool** out);

// KXBN_odd_multiple looks for a multiple of the odd number m by an odd factor whose bit length is a multiple
// of 32. It sets M and returns, in `*candidate`, which one was taken: 0 for m itself, 1 to 3 for the factors
// 2^(32-k) + 1, 2^(32-k) - 1 and 2^(64-k) - 1, tried in this order, where k is the bit length of m modulo 32;
// -1 for none. Codes: KXBN_BADARG, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_odd_multiple(KXBN* M, const KXBN* m, int* candidate);

// KXBN_modexp_binary computes r = base^exp mod m by squaring and multiplying, each followed by a division,
// for m > 0, exp >= 0 and 0 <= base < m. Codes: KXBN_BADARG, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_modexp_binary(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m,
                                          KXBN_Pool* pool);

// KXBN_modexp_mont does the same by Montgomery's method with a sliding window, for an odd m whose bit length
// is a multiple of 32. Codes: KXBN_BADARG, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_modexp_mont(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m,
                                        KXBN_Pool* pool);

// KXBN_window returns the entries in the table of odd powers for an exponent of `bits` bits.
[[nodiscard]] uint32_t KXBN_window(uint32_t bits);

}  // namespace qex
