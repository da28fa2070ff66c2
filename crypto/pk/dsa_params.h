// DSA: generation of domain parameters from a seed, so that everyone can see that p and q were not chosen
// (FIPS 186-2 appendix 2.2 for a q of 160 bits, FIPS 186-4 A.1.1.2 for longer ones).
#pragma once

#include "crypto/digest/hashinfo.h"
#include "crypto/pk/dsa.h"

namespace qex {

// The demand on the parameters.
struct DSAParams {
  uint32_t L;             // bits of p: 512 or more, a multiple of 64, other than N
  uint32_t N;             // bits of q: 160, 224, 256, 384 or 512; 0: as many as the digest has
  uint32_t seedBits;      // length of the seed: 160 or more, a multiple of 8
  const KXBN* seed;       // the only seed to be tried; null: seeds are drawn
  uint32_t counterLimit;  // the last counter tried with a seed, below 4096; 0: 4095
  uint32_t h;             // g is a power of h or the next above that suits, 2 to 0x7fffffff; 0: 2
  const HashInfo* qhf;    // digest; null: SHA-1
};

// The evidence: the values from which the parameters were made.
struct DSAEvidence {
  KXBN* seed;
  uint32_t counter;
  uint32_t h;
};

// dsa_generate_params stores new numbers p, q and g in `key`, with x and y null, and in `evidence`, unless it
// is null, the values from which they were made. The random source serves the primality tests too. Asserts
// "sizeof(hashctx) >= hi->ctxsz", that a digest for a q of 160 bits has 160, and that any other has at least
// as many bits as q. Codes: KXBN_BADARG for a demand outside the ranges above, a seed that is negative or
// longer than seedBits, and without a random source; KXBN_NONPRIME when the given seed leads to no prime q,
// or to no prime p up to the last counter, or when the random source keeps giving such seeds; the source's
// own; KXBN_BADARG, KXBN_NOMEM. All numbers are then null.
[[nodiscard]] uint32_t dsa_generate_params(DSAKey* key, DSAEvidence* evidence, const DSAParams* params,
                                           const RandomSource* random, KXBN_Pool* pool);

}  // namespace qex
