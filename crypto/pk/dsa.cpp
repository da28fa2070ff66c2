// DSA: verification, signing and the check of a key.
#include "crypto/pk/dsa.h"

#include <algorithm>

#include "crypto/bignum/arithmetic.h"

namespace qex {
namespace {

// Draws of k after which signing gives up. For a real key one suffices; a q such as 2, or a g of 0,
// may never give a signature.
constexpr int kMaxDraws = 32;

// Bits drawn beyond those of q, so that k is nearly uniform (FIPS 186-4 B.2.1).
constexpr uint32_t kExtraBits = 64;

// digest_number makes z of the leftmost octets of the digest.
//
// Deliberate: whole octets of q's length, rounded down, even if its bits are not a multiple of 8.
[[nodiscard]] uint32_t digest_number(KXBN** z, const DigestBuf* digest, const KXBN* q, KXBN_Pool* pool) {
  const uint32_t length = std::min(digest->length, uint32_t{sizeof digest->octets});
  return KXBN_frombytes(z, digest->octets, std::min(KXBN_bits(q) / 8, length), pool);
}

// in_range returns whether 0 < n < bound.
[[nodiscard]] bool in_range(const KXBN* n, const KXBN* bound) {
  return KXBN_test(n, KXBN_IS_POSITIVE) != 0 && KXBN_cmp(n, bound) < 0;
}

// store puts `made` in place of a null number, or its value into the number that is there.
void store(KXBN** field, Number& made) {
  if (*field == nullptr) *field = made.release();
}
[[nodiscard]] uint32_t store_value(KXBN* field, const KXBN* made) {
  return field == nullptr ? uint32_t{KXBN_OK} : KXBN_copy(field, made);
}

// draw_k sets k to a random number from 1 to q - 1.
[[nodiscard]] uint32_t draw_k(KXBN* k, const KXBN* q, const RandomSource* random, KXBN_Pool* pool) {
  Arithmetic compute(pool);
  Number one, limit;
  compute.make(32, one).make(KXBN_bits(q), limit).setword(one, 1).sub(limit, q, one);
  compute.call(random->fill, random->context, k, KXBN_bits(q) + kExtraBits);
  return compute.mod(k, k, limit).add(k, k, one).code();
}

}  // namespace

uint32_t dsa_verify(const DigestBuf* digest, const DSAKey* key, const DSASig* sig, KXBN_Pool* pool,
                    uint32_t* result) {
  *result = DSA_PENDING;
  Number z;
  if (const uint32_t rc = digest_number(z.out(), digest, key->q, pool)) return rc;
  return dsa_verify_int(z, key, sig, pool, result);
}

uint32_t dsa_verify_int(const KXBN* z, const DSAKey* key, const DSASig* sig, KXBN_Pool* pool,
                        uint32_t* result) {
  *result = DSA_PENDING;
  if (!in_range(sig->r, key->q) || !in_range(sig->s, key->q)) {
    *result = DSA_INVALID;
    return KXBN_OK;
  }

  Arithmetic compute(pool);
  Number w, u1, product;
  compute.make(KXBN_bits(key->p), w, u1, product).modinv_public(w, sig->s, key->q);
  compute.mul(product, z, w).mod(u1, product, key->q);
  Number& u2 = w;
  compute.mul(product, sig->r, w).mod(u2, product, key->q);
  // v = (g^u1 * y^u2 mod p) mod q
  Number& v = product;
  compute.modexp2_public(v, key->g, u1, key->y, u2, key->p).mod(v, v, key->q);
  if (!compute.ok()) return compute.code();
  *result = KXBN_cmp(v, sig->r) == 0 ? DSA_VALID : DSA_INVALID;
  return KXBN_OK;
}

uint32_t dsa_sign(const DigestBuf* digest, const DSAKey* key, const RandomSource* random, KXBN_Pool* pool,
                  DSASig* sig) {
  if (random == nullptr || is_negative(key->q) || KXBN_bits(key->q) < 2) return KXBN_BADARG;
  Arithmetic compute(pool);
  Number z, k;
  compute.call(digest_number, z.out(), digest, key->q, pool).make(KXBN_bits(key->q), k);
  for (int i = 0; i < kMaxDraws; ++i) {
    if (!compute.call(draw_k, k, key->q, random, pool).ok()) return compute.code();
    const uint32_t rc = dsa_sign_int(z, key, k, pool, sig);
    if (rc != KXBN_NONPRIME) return rc;
  }
  return KXBN_NONPRIME;
}

uint32_t dsa_sign_int(const KXBN* z, const DSAKey* key, const KXBN* k, KXBN_Pool* pool, DSASig* sig) {
  if (key->x == nullptr || !in_range(k, key->q)) return KXBN_BADARG;
  Arithmetic compute(pool);
  Number r, s, inverse, product;
  compute.make(KXBN_bits(key->p), r, s, inverse, product);
  compute.modexp(product, key->g, k, key->p).mod(r, product, key->q);
  // s = (x * r + z) / k mod q
  compute.modinv(inverse, k, key->q);
  compute.mul(product, key->x, r).add(product, product, z).mod(s, product, key->q);
  compute.mul(product, inverse, s).mod(s, product, key->q);
  if (!compute.ok()) return compute.code();
  if (is_zero(r) || is_zero(s)) return KXBN_NONPRIME;

  // Steps that can fail come first, so that no half of a new signature remains.
  if (!compute.call(store_value, sig->r, r).call(store_value, sig->s, s).ok()) return compute.code();
  store(&sig->r, r);
  store(&sig->s, s);
  return KXBN_OK;
}

uint32_t dsa_check_key(const DSAKey* key, KXBN_Pool* pool) {
  if (key->x != nullptr && !in_range(key->x, key->q)) return KXBN_BADARG;
  if (key->y == nullptr) return KXBN_OK;
  if (!in_range(key->y, key->p)) return KXBN_BADARG;
  if (key->x == nullptr) return KXBN_OK;

  Arithmetic compute(pool);
  Number power;
  compute.make(KXBN_bits(key->p), power).modexp(power, key->g, key->x, key->p);
  if (!compute.ok()) return compute.code();
  return KXBN_cmp(power, key->y) == 0 ? KXBN_OK : KXBN_BADARG;
}

}  // namespace qex
