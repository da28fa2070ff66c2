// DSA: verification, signing and the check of a key.
#include "crypto/pk/dsa.h"

#include <algorithm>

#include "crypto/bignum/internal.h"

namespace qex {
namespace {

// Draws of k after which signing gives up. For a real key one suffices; a q such as 2, or a g of 0,
// may never give a signature.
constexpr int kMaxDraws = 32;

// Bits drawn beyond those of q, so that k is nearly uniform (FIPS 186-4 B.2.1).
constexpr uint32_t kExtraBits = 64;

// digest_number makes z of the leftmost octets of the digest.
//
// Deliberate: whole octets of q's length, rounded down, also where it is no multiple of 8 bits.
uint32_t digest_number(KXBN** z, const DigestBuf* digest, const KXBN* q, KXBN_Pool* pool) {
  const uint32_t length = std::min(digest->length, uint32_t{sizeof digest->octets});
  return KXBN_frombytes(z, digest->octets, std::min(KXBN_bits(q) / 8, length), pool);
}

// in_range tells whether 0 < n < bound.
bool in_range(const KXBN* n, const KXBN* bound) {
  return KXBN_test(n, KXBN_IS_POSITIVE) != 0 && KXBN_cmp(n, bound) < 0;
}

// product_mod computes r = a * b mod m through `product`, which is none of the others.
uint32_t product_mod(KXBN* r, KXBN* product, const KXBN* a, const KXBN* b, const KXBN* m, KXBN_Pool* pool) {
  if (const uint32_t rc = KXBN_mul(product, a, b, pool)) return rc;
  return KXBN_mod(r, product, m, pool);
}

// commitment computes v = (g^u1 * y^u2 mod p) mod q.
uint32_t commitment(KXBN* v, const DSAKey* key, const KXBN* u1, const KXBN* u2, KXBN* t1, KXBN* t2,
                    KXBN_Pool* pool) {
  if (const uint32_t rc = KXBN_modexp(t1, key->g, u1, key->p, pool)) return rc;
  if (const uint32_t rc = KXBN_modexp(t2, key->y, u2, key->p, pool)) return rc;
  if (const uint32_t rc = KXBN_mul(v, t1, t2, pool)) return rc;
  if (const uint32_t rc = KXBN_mod(v, v, key->p, pool)) return rc;
  return KXBN_mod(v, v, key->q, pool);
}

// store puts `made` in place of a null number, or its value into the number that is there.
void store(KXBN** field, Scratch& made) {
  if (*field == nullptr) *field = made.release();
}
uint32_t store_value(KXBN* field, const Scratch& made) {
  return field == nullptr ? uint32_t{KXBN_OK} : KXBN_copy(field, made);
}

// draw_k sets k to a random number from 1 to q - 1.
uint32_t draw_k(KXBN* k, const KXBN* q, const RandomSource* random, KXBN_Pool* pool) {
  Scratch one, limit;
  if (const uint32_t rc = one.make(pool, 32)) return rc;
  if (const uint32_t rc = limit.make(pool, KXBN_bits(q))) return rc;
  KXBN_setword(one, 1);
  if (const uint32_t rc = KXBN_sub(limit, q, one)) return rc;
  if (const uint32_t rc = random->fill(random->context, k, KXBN_bits(q) + kExtraBits)) return rc;
  if (const uint32_t rc = KXBN_mod(k, k, limit, pool)) return rc;
  return KXBN_add(k, k, one);
}

}  // namespace

uint32_t dsa_verify(const DigestBuf* digest, const DSAKey* key, const DSASig* sig, KXBN_Pool* pool,
                    uint32_t* result) {
  *result = DSA_PENDING;
  Scratch z;
  if (const uint32_t rc = digest_number(&z.n, digest, key->q, pool)) return rc;
  return dsa_verify_int(z, key, sig, pool, result);
}

uint32_t dsa_verify_int(const KXBN* z, const DSAKey* key, const DSASig* sig, KXBN_Pool* pool,
                        uint32_t* result) {
  *result = DSA_PENDING;
  if (!in_range(sig->r, key->q) || !in_range(sig->s, key->q)) {
    *result = DSA_INVALID;
    return KXBN_OK;
  }

  Scratch w, u1, u2, v, t1, t2;
  const auto bits = int32_t(KXBN_bits(key->p));
  if (const uint32_t rc = KXBN_new4(pool, bits, &w.n, &u1.n, &u2.n, &v.n)) return rc;
  if (const uint32_t rc = KXBN_new4(pool, bits, &t1.n, &t2.n, nullptr, nullptr)) return rc;
  if (const uint32_t rc = KXBN_modinv(w, sig->s, key->q, pool)) return rc;
  if (const uint32_t rc = product_mod(u1, t2, z, w, key->q, pool)) return rc;
  if (const uint32_t rc = product_mod(u2, t1, sig->r, w, key->q, pool)) return rc;
  if (const uint32_t rc = commitment(v, key, u1, u2, t1, t2, pool)) return rc;
  *result = KXBN_cmp(v, sig->r) == 0 ? DSA_VALID : DSA_INVALID;
  return KXBN_OK;
}

uint32_t dsa_sign(const DigestBuf* digest, const DSAKey* key, const RandomSource* random, KXBN_Pool* pool,
                  DSASig* sig) {
  if (random == nullptr || is_negative(key->q) || KXBN_bits(key->q) < 2) return KXBN_BADARG;
  Scratch z, k;
  if (const uint32_t rc = digest_number(&z.n, digest, key->q, pool)) return rc;
  if (const uint32_t rc = KXBN_new(pool, int32_t(KXBN_bits(key->q)), &k.n)) return rc;
  for (int i = 0; i < kMaxDraws; ++i) {
    if (const uint32_t rc = draw_k(k, key->q, random, pool)) return rc;
    const uint32_t rc = dsa_sign_int(z, key, k, pool, sig);
    if (rc != KXBN_NONPRIME) return rc;
  }
  return KXBN_NONPRIME;
}

uint32_t dsa_sign_int(const KXBN* z, const DSAKey* key, const KXBN* k, KXBN_Pool* pool, DSASig* sig) {
  if (key->x == nullptr || !in_range(k, key->q)) return KXBN_BADARG;
  Scratch r, s, inverse, product;
  const auto bits = int32_t(KXBN_bits(key->p));
  if (const uint32_t rc = KXBN_new4(pool, bits, &r.n, &s.n, &inverse.n, &product.n)) return rc;
  if (const uint32_t rc = KXBN_modexp(product, key->g, k, key->p, pool)) return rc;
  if (const uint32_t rc = KXBN_mod(r, product, key->q, pool)) return rc;

  // s = (x * r + z) / k mod q
  if (const uint32_t rc = KXBN_modinv(inverse, k, key->q, pool)) return rc;
  if (const uint32_t rc = KXBN_mul(product, key->x, r, pool)) return rc;
  if (const uint32_t rc = KXBN_add(product, product, z)) return rc;
  if (const uint32_t rc = KXBN_mod(s, product, key->q, pool)) return rc;
  if (const uint32_t rc = product_mod(s, product, inverse, s, key->q, pool)) return rc;
  if (is_zero(r) || is_zero(s)) return KXBN_NONPRIME;

  // What can fail comes first, so that no half of a new signature is left.
  if (const uint32_t rc = store_value(sig->r, r)) return rc;
  if (const uint32_t rc = store_value(sig->s, s)) return rc;
  store(&sig->r, r);
  store(&sig->s, s);
  return KXBN_OK;
}

uint32_t dsa_check_key(const DSAKey* key, KXBN_Pool* pool) {
  if (key->x != nullptr && !in_range(key->x, key->q)) return KXBN_BADARG;
  if (key->y == nullptr) return KXBN_OK;
  if (!in_range(key->y, key->p)) return KXBN_BADARG;
  if (key->x == nullptr) return KXBN_OK;

  Scratch power;
  if (const uint32_t rc = KXBN_new(pool, int32_t(KXBN_bits(key->p)), &power.n)) return rc;
  if (const uint32_t rc = KXBN_modexp(power, key->g, key->x, key->p, pool)) return rc;
  return KXBN_cmp(power, key->y) == 0 ? KXBN_OK : KXBN_BADARG;
}

}  // namespace qex
