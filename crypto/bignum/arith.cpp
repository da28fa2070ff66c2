// Big numbers: sums, shifts and products.
//
// Signs are dealt with here, words in words.h. A result operand may be an operand, so
// signs and sizes are read before anything is written, and digits only after KXBN_reserve,
// which may move them.
#include <algorithm>
#include <bit>

#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"
#include "crypto/bignum/internal.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

[[nodiscard]] int compare_magnitudes(const KXBN* a, const KXBN* b) {
  const uint32_t la = KXBN_getsize(a);
  const uint32_t lb = KXBN_getsize(b);
  if (la != lb) return la < lb ? -1 : 1;
  return CompareWords(a->digits, b->digits, la);
}

// add_magnitudes: |r| = |a| + |b|. The sign of r is set to `sign`.
[[nodiscard]] uint32_t add_magnitudes(KXBN* r, const KXBN* a, const KXBN* b, uint32_t sign) {
  if (KXBN_getsize(a) < KXBN_getsize(b)) std::swap(a, b);
  const uint32_t la = KXBN_getsize(a);
  const uint32_t lb = KXBN_getsize(b);
  if (const uint32_t rc = KXBN_reserve(r, size_t{la} + 1)) return rc;
  const uint32_t carry = AddWords(r->digits, a->digits, b->digits, lb);
  if (r != a) std::copy(a->digits + lb, a->digits + la, r->digits + lb);
  r->digits[la] = AddWord(r->digits + lb, la - lb, carry);
  r->used = la + 1;
  r->sign = sign;
  return KXBN_finish(r);
}

// sub_magnitudes: |r| = |a| - |b| for |a| >= |b|. The sign of r is set to `sign`.
[[nodiscard]] uint32_t sub_magnitudes(KXBN* r, const KXBN* a, const KXBN* b, uint32_t sign) {
  const uint32_t la = KXBN_getsize(a);
  const uint32_t lb = KXBN_getsize(b);
  if (const uint32_t rc = KXBN_reserve(r, la)) return rc;
  uint32_t borrow = SubWords(r->digits, a->digits, b->digits, lb);
  for (uint32_t i = lb; i < la; ++i) {
    const uint32_t word = a->digits[i];
    r->digits[i] = word - borrow;
    borrow = word < borrow ? 1 : 0;
  }
  r->used = la;
  r->sign = sign;
  return KXBN_finish(r);
}

// add_signed: r = a + b, where b counts as negative when `negative_b` says so.
[[nodiscard]] uint32_t add_signed(KXBN* r, const KXBN* a, const KXBN* b, bool negative_b) {
  const bool negative_a = is_negative(a);
  if (negative_a == negative_b) return add_magnitudes(r, a, b, negative_a);
  if (compare_magnitudes(a, b) >= 0) return sub_magnitudes(r, a, b, negative_a);
  return sub_magnitudes(r, b, a, negative_b);
}

}  // namespace

uint32_t KXBN_add(KXBN* r, const KXBN* a, const KXBN* b) {
  return add_signed(r, a, b, is_negative(b));
}

uint32_t KXBN_sub(KXBN* r, const KXBN* a, const KXBN* b) {
  return add_signed(r, a, b, !is_negative(b));
}

uint32_t KXBN_addword(KXBN* r, uint32_t w) {
  KXBN_trim(r);
  const uint32_t top = r->digits[r->used - 1];
  if (top > UINT32_MAX - w) {  // only here can w, or a carry of 1, leave the top word
    if (const uint32_t rc = KXBN_pad(r, r->used + 1)) return rc;
  }
  (void)AddWord(r->digits, r->used, w);
  return KXBN_finish(r);
}

uint32_t KXBN_lshift(KXBN* r, uint32_t count) {
  const uint32_t bits = KXBN_bits(r);
  KXBN_trim(r);
  if (bits == 0) return KXBN_OK;
  if (count > kMaxBits - bits) return KXBN_BADARG;
  const uint32_t words = count / 32;
  const uint32_t shift = count % 32;
  const uint32_t old = r->used;
  if (const uint32_t rc = KXBN_pad(r, old + words + 1)) return rc;
  // From the top downward, so that a word is read before it is overwritten.
  for (uint32_t i = old + 1; i-- > 0;) {
    const uint64_t high = i < old ? r->digits[i] : 0;
    const uint64_t low = i > 0 ? r->digits[i - 1] : 0;
    r->digits[i + words] = uint32_t((high << 32 | low) << shift >> 32);
  }
  ClearWords(r->digits, words);
  KXBN_trim(r);
  return KXBN_OK;
}

uint32_t KXBN_strip_twos(KXBN* n) {
  uint32_t words = 0;
  if (n->digits[0] == 0) {
    QEX_ASSERT(KXBN_getsize(n) >= 2, Claim::NumberIsNotZero);
    while (n->digits[words] == 0) ++words;
    std::copy(n->digits + words, n->digits + n->used, n->digits);
    n->used -= words;
  }
  const auto shift = uint32_t(std::countr_zero(n->digits[0]));
  for (uint32_t i = 0; i < n->used; ++i) {
    const uint64_t above = i + 1 < n->used ? n->digits[i + 1] : 0;
    n->digits[i] = uint32_t((above << 32 | n->digits[i]) >> shift);
  }
  KXBN_trim(n);
  return words * 32 + shift;
}

uint32_t KXBN_mul(KXBN* r, const KXBN* a, const KXBN* b, KXBN_Pool* pool) {
  if (KXBN_getsize(a) < KXBN_getsize(b)) std::swap(a, b);
  const uint32_t la = KXBN_getsize(a);
  const uint32_t lb = KXBN_getsize(b);
  // A product of la + lb words has at least la + lb - 1; one word beyond may turn out to be 0.
  if (la + lb > kMaxWords + 1) return KXBN_BADARG;
  if (r == a || r == b) {
    Arithmetic compute(pool);
    Number product;
    return compute.make(std::min((la + lb + 1) * 32, kMaxBits), product)
        .mul(product, a, b)
        .copy(r, product)
        .code();
  }
  if (const uint32_t rc = KXBN_reserve(r, la + lb)) return rc;
  ProductWords(r->digits, a->digits, la, b->digits, lb);
  r->used = la + lb;
  r->sign = (a->sign ^ b->sign) & 1;
  return KXBN_finish(r);
}

}  // namespace qex
