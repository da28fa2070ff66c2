// RSA: key generation with primes that have auxiliary primes (FIPS 186-4 B.3.6 and C.9).
//
// A prime p of L bits is drawn with a prime p1 that divides p - 1 and a prime p2 that divides
// p + 1: p is the first suitable number of one residue class modulo 2 * p1 * p2 above a random X.
#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"
#include "crypto/pk/rsa.h"
#include "crypto/prime/bigprime.h"

namespace qex {
namespace {

constexpr uint32_t kMaxExponentBits = 256;  // FIPS 186-4 B.3.1

// Draws of one number after which a source of random numbers is assumed to be stuck. With a good
// one a draw that has to be repeated is a matter of chance, seldom of more than two or three.
constexpr int kMaxDraws = 64;

// aux_prime_bits returns the length of the auxiliary primes (FIPS 186-4 table B.1) for a prime of `bits`
// bits.
[[nodiscard]] uint32_t aux_prime_bits(uint32_t bits) {
  if (bits >= 1536) return 171;
  if (bits >= 1024) return 141;
  QEX_ASSERT(bits >= 512, Claim::PrimeSizeIsKnown);
  return 101;
}

[[nodiscard]] constexpr uint32_t error_bound(uint32_t prime_bits) {
  return prime_bits >= 1536 ? 2 : 1;
}

// The inputs of every step of one generation.
struct Setting {
  uint32_t bits;  // of each of the two primes
  const KXBN* e;
  const RandomSource* random;
  KXBN_Pool* pool;

  // room is for any number on the way: a product of two primes.
  [[nodiscard]] uint32_t room() const { return 2 * bits; }
  [[nodiscard]] uint32_t prime(const KXBN* n) const {
    return bigprime_test(n, error_bound(bits), random, pool);
  }
};

// is_coprime: KXBN_OK when e and n have no common factor, else KXBN_NONPRIME.
[[nodiscard]] uint32_t is_coprime(const Setting& set, const KXBN* n) {
  Arithmetic compute(set.pool);
  Number inverse;
  return compute.make(set.room(), inverse).modinv(inverse, set.e, n).code();
}

// draw sets n to a random number of exactly `bits` bits.
void draw(Arithmetic& compute, const Setting& set, KXBN* n, uint32_t bits) {
  compute.call(set.random->fill, set.random->context, n, bits).setbit(n, bits - 1);
}

// draw_aux_prime sets n to the first prime that is not below a random odd number of `bits` bits.
[[nodiscard]] uint32_t draw_aux_prime(const Setting& set, KXBN* n, uint32_t bits) {
  Arithmetic compute(set.pool);
  draw(compute, set, n, bits);
  compute.setbit(n, 0);
  while (compute.ok()) {
    const uint32_t rc = set.prime(n);
    if (rc != KXBN_NONPRIME) return rc;
    compute.addword(n, 2);
  }
  return compute.code();
}

// crt_residue computes r = 1 mod p1 and -1 mod p2, odd, for p1 given doubled. All three numbers differ.
void crt_residue(Arithmetic& compute, const Setting& set, KXBN* r, const KXBN* twice_p1, const KXBN* p2) {
  Number inverse, product;
  compute.make(set.room(), inverse, product);
  compute.modinv(inverse, p2, twice_p1).mul(r, inverse, p2);
  compute.modinv(inverse, twice_p1, p2).mul(product, inverse, twice_p1);
  compute.sub(r, r, product);
}

// The arithmetic progression that a prime is sought in: all numbers = residue modulo step.
struct Progression {
  Number residue, step;
};

[[nodiscard]] uint32_t draw_progression(const Setting& set, Progression* out) {
  const uint32_t aux_bits = aux_prime_bits(set.bits);
  Arithmetic compute(set.pool);
  Number p1, p2;
  compute.make(set.room(), out->residue, out->step, p1, p2);
  for (int i = 0; i < kMaxDraws; ++i) {
    compute.call(draw_aux_prime, set, p1, aux_bits).call(draw_aux_prime, set, p2, aux_bits);
    if (!compute.ok()) return compute.code();
    if (KXBN_cmp(p1, p2) == 0) continue;
    compute.lshift(p1, 1).mul(out->step, p1, p2);
    crt_residue(compute, set, out->residue, p1, p2);
    return compute.code();
  }
  return KXBN_NONPRIME;
}

// first_above computes y = the least number of the progression that is not below x.
void first_above(Arithmetic& compute, const Setting& set, KXBN* y, const KXBN* x,
                 const Progression& numbers) {
  Number distance;
  compute.make(set.room(), distance).sub(y, numbers.residue, x);
  compute.mod(distance, y, numbers.step).add(y, x, distance);
}

// search goes up from y to the first prime p with p - 1 coprime to e: KXBN_OK, or KXBN_NONPRIME when there is
// none of set.bits bits.
[[nodiscard]] uint32_t search(const Setting& set, KXBN* y, const Progression& numbers) {
  Arithmetic compute(set.pool);
  Number one, minus_one;
  compute.make(set.room(), one, minus_one).setword(one, 1);
  while (compute.ok() && KXBN_bits(y) <= set.bits) {
    if (!compute.sub(minus_one, y, one).ok()) break;
    uint32_t rc = is_coprime(set, minus_one);
    if (rc == KXBN_OK) rc = set.prime(y);
    if (rc != KXBN_NONPRIME) return rc;
    compute.add(y, y, numbers.step);
  }
  return compute.ok() ? uint32_t{KXBN_NONPRIME} : compute.code();
}

// draw_prime sets `prime` to a random prime of set.bits bits, and x to the number from which it was
// sought. Both top bits of x are set, so that the product of two such primes has 2 * set.bits bits.
[[nodiscard]] uint32_t draw_prime(const Setting& set, KXBN* prime, KXBN* x) {
  Arithmetic compute(set.pool);
  Progression numbers;
  if (const uint32_t rc = draw_progression(set, &numbers)) return rc;
  for (int i = 0; i < kMaxDraws; ++i) {
    draw(compute, set, x, set.bits);
    compute.setbit(x, set.bits - 2);
    first_above(compute, set, prime, x, numbers);
    if (!compute.ok()) return compute.code();
    const uint32_t rc = search(set, prime, numbers);
    if (rc != KXBN_NONPRIME) return rc;
  }
  return KXBN_NONPRIME;
}

// are_apart: KXBN_OK when |a - b| > 2^(set.bits - 100), which keeps Fermat's factorisation away, else
// KXBN_NONPRIME.
[[nodiscard]] uint32_t are_apart(const Setting& set, const KXBN* a, const KXBN* b) {
  Arithmetic compute(set.pool);
  Number difference;
  if (!compute.make(set.room(), difference).sub(difference, a, b).ok()) return compute.code();
  return KXBN_bits(difference) > set.bits - 100 + 1 ? KXBN_OK : KXBN_NONPRIME;
}

// draw_primes sets p > q.
[[nodiscard]] uint32_t draw_primes(const Setting& set, Number& p, Number& q) {
  Arithmetic compute(set.pool);
  Number xp, xq;
  if (!compute.make(set.room(), p, q, xp, xq).call(draw_prime, set, p, xp).ok()) return compute.code();
  for (int i = 0; i < kMaxDraws; ++i) {
    if (const uint32_t rc = draw_prime(set, q, xq)) return rc;
    uint32_t rc = are_apart(set, xp, xq);
    if (rc == KXBN_OK) rc = are_apart(set, p, q);
    if (rc == KXBN_NONPRIME) continue;
    if (rc == KXBN_OK && KXBN_cmp(p, q) < 0) swap(p, q);
    return rc;
  }
  return KXBN_NONPRIME;
}

// The numbers of a key on the way, freed unless they are handed over.
struct KeyParts {
  Number n, e, d, p, q, dmp1, dmq1, iqmp;
};

// derive computes all parts from p and q: d = 1/e modulo lcm(p - 1, q - 1).
[[nodiscard]] uint32_t derive(const Setting& set, KeyParts* key) {
  Arithmetic compute(set.pool);
  Number one, p1, q1, product, lcm, coefficient, gcd;
  compute.make(set.room(), key->n, key->e, key->d, key->dmp1, key->dmq1, key->iqmp);
  compute.make(set.room(), one, p1, q1, product, lcm).setword(one, 1);
  compute.sub(p1, key->p, one).sub(q1, key->q, one).xgcd(p1, q1, coefficient, gcd);
  compute.mul(product, p1, q1).divrem(lcm, product, gcd);

  compute.mul(key->n, key->p, key->q).copy(key->e, set.e).modinv(key->d, set.e, lcm);
  compute.mod(key->dmp1, key->d, p1).mod(key->dmq1, key->d, q1).modinv(key->iqmp, key->q, key->p);
  return compute.code();
}

}  // namespace

uint32_t rsa_generate_key(RSAKey* key, uint32_t bits, const KXBN* e, const RandomSource* random,
                          KXBN_Pool* pool) {
  *key = RSAKey{};
  if (random == nullptr || bits % 2 != 0 || bits > kMaxBits) return KXBN_BADARG;
  const uint32_t exponent_bits = KXBN_bits(e);
  if (is_negative(e) || exponent_bits < 2 || exponent_bits > kMaxExponentBits || KXBN_testbit(e, 0) == 0) {
    return KXBN_BADARG;
  }

  const Setting set{bits / 2, e, random, pool};
  for (int i = 0; i < kMaxDraws; ++i) {
    KeyParts parts;
    if (const uint32_t rc = draw_primes(set, parts.p, parts.q)) return rc;
    if (const uint32_t rc = derive(set, &parts)) return rc;
    if (KXBN_bits(parts.d) <= set.bits) continue;  // FIPS 186-4 B.3.1: a short d is open to attack
    *key = {parts.n.release(), parts.e.release(),    parts.d.release(),    parts.p.release(),
            parts.q.release(), parts.dmp1.release(), parts.dmq1.release(), parts.iqmp.release()};
    return KXBN_OK;
  }
  return KXBN_NONPRIME;
}

void rsa_free_key(RSAKey* key) {
  KXBN_free4(key->n, key->e, key->d, key->p);
  KXBN_free4(key->q, key->dmp1, key->dmq1, key->iqmp);
  *key = RSAKey{};
}

}  // namespace qex
