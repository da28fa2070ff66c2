// DSA: generation of domain parameters.
//
// Both standards hash the seed and the numbers after it, one after the other: first for q, then, counter by
// counter, for as many digests as p is long. They differ in how many digests q takes.
#include "crypto/pk/dsa_params.h"

#include <algorithm>
#include <utility>

#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"
#include "crypto/prime/bigprime.h"
#include "ground/scratch_octets.h"

namespace qex {
namespace {

constexpr uint32_t kMinSeedBits = 160;
constexpr uint32_t kCounters = 4096;
constexpr uint32_t kMaxH = 0x7fffffff;
constexpr uint32_t kMaxDigest = 64;
constexpr uint32_t kQBits[] = {160, 224, 256, 384, 512};

// Seeds drawn, and searches for p begun, after which a source of random numbers is assumed to be stuck. One
// seed in some 200 gives a prime q, and with p of up to 3072 bits 49 of 50 searches end well.
constexpr uint32_t kMaxSeeds = 16384;
constexpr uint32_t kMaxSearches = 64;

[[nodiscard]] constexpr uint32_t p_bound(uint32_t bits) {
  return bits >= 3072 ? 2 : bits >= 2048 ? 1 : 0;
}
[[nodiscard]] constexpr uint32_t q_bound(uint32_t bits) {
  return bits >= 256 ? 2 : bits >= 224 ? 1 : 0;
}

void hash(const HashInfo* hi, const uint8_t* data, uint32_t length, uint8_t* out) {
  alignas(uint64_t) uint8_t hashctx[250];
  QEX_ASSERT(sizeof(hashctx) >= hi->ctxsz, Claim::DigestContextFits);
  hi->init(hashctx);
  hi->update(hashctx, data, length);
  hi->final(hashctx, out);
}

// The demand with its defaults filled in, and the shared state of the generation.
struct Setting {
  uint32_t L, N, seedBits, counterLimit, h;
  const HashInfo* qhf;
  const RandomSource* random;
  KXBN_Pool* pool;
};

// The digests of a seed and of the numbers after it, modulo 2^seedBits.
class SeedDigests {
 public:
  explicit SeedDigests(const Setting& set) : qhf_(set.qhf), length_(set.seedBits / 8), number_(length_) {}

  [[nodiscard]] uint32_t start(const KXBN* seed) {
    return number_ ? KXBN_tobytes(seed, number_.octets(), length_) : uint32_t{KXBN_NOMEM};
  }

  // next writes the digest of the number, and goes on to the one after it.
  void next(uint8_t* out) {
    hash(qhf_, number_.octets(), length_, out);
    for (uint32_t i = length_; i-- > 0;) {
      uint8_t& octet = number_.octets()[i];
      octet = uint8_t(octet + 1);
      if (octet != 0) break;  // no carry into the next one
    }
  }

 private:
  const HashInfo* qhf_;
  uint32_t length_;
  ScratchOctets number_;
};

// resolve checks the demand, replaces 0 by its default, and sets `*set`.
[[nodiscard]] uint32_t resolve(Setting* set, const DSAParams* params, const RandomSource* random,
                               KXBN_Pool* pool) {
  *set = {params->L,
          params->N,
          params->seedBits,
          params->counterLimit == 0 ? kCounters - 1 : params->counterLimit,
          params->h == 0 ? 2 : params->h,
          params->qhf == nullptr ? &kSHA1Info : params->qhf,
          random,
          pool};
  if (set->N == 0) set->N = set->qhf->hashsz * 8;
  const KXBN* const seed = params->seed;
  if (random == nullptr) return KXBN_BADARG;
  if (set->seedBits < kMinSeedBits || set->seedBits % 8 != 0 || set->seedBits > kMaxBits) return KXBN_BADARG;
  if (seed != nullptr && (is_negative(seed) || KXBN_bits(seed) > set->seedBits)) return KXBN_BADARG;
  if (set->counterLimit >= kCounters) return KXBN_BADARG;
  if (set->h < 2 || set->h > kMaxH) return KXBN_BADARG;
  if (set->L < 512 || set->L % 64 != 0 || set->L > kMaxBits) return KXBN_BADARG;
  if (std::find(std::begin(kQBits), std::end(kQBits), set->N) == std::end(kQBits)) return KXBN_BADARG;
  return set->L == set->N ? KXBN_BADARG : KXBN_OK;
}

// make_q makes q from the first digest, or for 160 bits from the sum modulo 2 of the first two: its lowest N
// bits, with the top and the bottom bit set. Codes: KXBN_NONPRIME when it is not prime.
[[nodiscard]] uint32_t make_q(const Setting& set, SeedDigests* digests, KXBN** q) {
  const HashInfo* const qhf = set.qhf;
  const uint32_t Nbytes = set.N / 8;
  uint8_t octets[kMaxDigest];
  digests->next(octets);
  uint8_t* const u = octets + qhf->hashsz - Nbytes;
  if (set.N == 160) {
    uint8_t second[kMaxDigest];
    digests->next(second);
    for (uint32_t i = 0; i < Nbytes; ++i) u[i] ^= second[i];
  }
  u[0] |= 0x80;
  u[Nbytes - 1] |= 1;
  if (const uint32_t rc = KXBN_frombytes(q, u, Nbytes, set.pool)) return rc;
  return bigprime_test(*q, q_bound(set.N), set.random, set.pool);
}

// find_p sets p to the first prime = 1 modulo 2q that the digests lead to, and `*counter` to where it was.
// Codes: KXBN_NONPRIME when there is none up to the last counter.
[[nodiscard]] uint32_t find_p(const Setting& set, SeedDigests* digests, const KXBN* q, KXBN* p,
                              uint32_t* counter) {
  const uint32_t hashsz = set.qhf->hashsz;
  const uint32_t Lbytes = set.L / 8;
  const uint32_t count = (set.L - 1) / (hashsz * 8) + 1;
  const size_t size = size_t{count} * hashsz;
  const ScratchOctets scratch(size);
  if (!scratch) return KXBN_NOMEM;
  uint8_t* const octets = scratch.octets();
  Arithmetic compute(set.pool);
  Number twice_q, remainder;
  compute.make(set.L, twice_q, remainder).add(twice_q, q, q);
  if (!compute.ok()) return compute.code();

  uint32_t rc = KXBN_NONPRIME;
  for (*counter = 0; *counter <= set.counterLimit; ++*counter) {
    // p = X - (X mod 2q) + 1. X is the digests, the first one lowest, cut to L bits with the top one set.
    for (uint32_t i = 0; i < count; ++i) digests->next(octets + size - size_t{i + 1} * hashsz);
    uint8_t* const top = octets + size - Lbytes;
    *top |= 0x80;
    Number x;
    compute.frombytes(x, top, Lbytes).mod(remainder, x, twice_q).sub(p, x, remainder).addword(p, 1);
    if (!compute.ok()) return compute.code();
    if (KXBN_bits(p) < set.L) continue;
    rc = bigprime_test(p, p_bound(set.L), set.random, set.pool);
    if (rc != KXBN_NONPRIME) return rc;
  }
  QEX_ASSERT(rc == KXBN_NONPRIME, Claim::SearchFoundNoPrime);
  return rc;
}

// find_g sets g = h^((p - 1) / q) mod p for the first h from set.h for which it is not 1.
[[nodiscard]] uint32_t find_g(const Setting& set, const KXBN* p, const KXBN* q, KXBN* g, uint32_t* h) {
  Arithmetic compute(set.pool);
  Number base, exponent, dividend;
  compute.make(set.L, base, exponent, dividend).setword(base, 1);
  compute.sub(dividend, p, base).divrem(exponent, dividend, q);
  for (*h = set.h; *h <= kMaxH; ++*h) {
    compute.setword(base, *h).modexp(g, base, exponent, p);
    if (!compute.ok() || !is_one(g)) return compute.code();
  }
  return KXBN_NONPRIME;
}

// The numbers on the way, freed unless they are handed over.
struct Found {
  Number p, q, g, seed;
  uint32_t counter = 0;
  uint32_t h = 0;
};

// try_seed goes all the way with found->seed. `*searches` counts the seeds that had a prime q.
[[nodiscard]] uint32_t try_seed(const Setting& set, Found* found, uint32_t* searches) {
  SeedDigests digests(set);
  Number q;
  if (const uint32_t rc = digests.start(found->seed)) return rc;
  if (const uint32_t rc = make_q(set, &digests, q.out())) return rc;
  ++*searches;
  if (const uint32_t rc = find_p(set, &digests, q, found->p, &found->counter)) return rc;
  if (const uint32_t rc = find_g(set, found->p, q, found->g, &found->h)) return rc;
  found->q = std::move(q);
  return KXBN_OK;
}

[[nodiscard]] uint32_t generate(const Setting& set, const KXBN* seed, Found* found) {
  uint32_t searches = 0;
  Arithmetic compute(set.pool);
  compute.make(set.L, found->p, found->g).make(set.seedBits, found->seed);
  if (seed != nullptr) compute.copy(found->seed, seed).call(try_seed, set, found, &searches);
  if (seed != nullptr || !compute.ok()) return compute.code();
  for (uint32_t i = 0; i < kMaxSeeds && searches < kMaxSearches; ++i) {
    if (const uint32_t rc = set.random->fill(set.random->context, found->seed, set.seedBits)) return rc;
    const uint32_t rc = try_seed(set, found, &searches);
    if (rc != KXBN_NONPRIME) return rc;
  }
  return KXBN_NONPRIME;
}

}  // namespace

uint32_t dsa_generate_params(DSAKey* key, DSAEvidence* evidence, const DSAParams* params,
                             const RandomSource* random, KXBN_Pool* pool) {
  *key = DSAKey{};
  if (evidence != nullptr) *evidence = DSAEvidence{};
  Setting set;
  if (const uint32_t rc = resolve(&set, params, random, pool)) return rc;
  const uint32_t Nbytes = set.N / 8;
  if (set.N == 160) {
    QEX_ASSERT(params->N == 0 || params->N == set.qhf->hashsz * 8, Claim::DigestHasTheBitsOfQ);
  }
  QEX_ASSERT(set.qhf->hashsz >= Nbytes, Claim::DigestCoversQ);

  Found found;
  if (const uint32_t rc = generate(set, params->seed, &found)) return rc;
  key->p = found.p.release();
  key->q = found.q.release();
  key->g = found.g.release();
  if (evidence != nullptr) *evidence = {found.seed.release(), found.counter, found.h};
  return KXBN_OK;
}

}  // namespace qex
