// The source of random numbers: the caller's function and its context.
#pragma once

#include "crypto/bignum/bignum.h"

namespace qex {

// RandomSource draws numbers for primality tests, keys and signatures. For the last two it has to be
// a generator that an adversary cannot predict; nothing here checks that.
struct RandomSource {
  // fill sets `n` to a number from 0 to 2^bits - 1, each with the same probability. Its code is passed up:
  // KXBN_OK, or one of those of a big-number operation.
  uint32_t (*fill)(void* context, KXBN* n, uint32_t bits);
  void* context;
};

}  // namespace qex
