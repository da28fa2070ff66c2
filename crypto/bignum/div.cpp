// Big numbers: division and residues, rounded towards minus infinity.
//
// Long division, word by word. The divisor is normalised on the fly: of its two top words,
// shifted so that the top bit is set, the upper 32 bits estimate every quotient word
// (HAC 14.20); the dividend is shifted likewise only for the estimate.
#include <algorithm>
#include <bit>

#include "crypto/bignum/arithmetic.h"
#include "crypto/bignum/internal.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

struct Divisor {
  const uint32_t* words;
  uint32_t length;
  uint32_t top;    // words[length - 1], not 0
  uint32_t shift;  // sets the top bit of `top`
  uint32_t value;  // the upper 32 bits of the shifted divisor
};

Divisor normalise(const KXBN* d) {
  const uint32_t length = KXBN_getsize(d);
  const uint32_t top = d->digits[length - 1];
  const uint64_t pair = uint64_t{top} << 32 | (length > 1 ? d->digits[length - 2] : 0);
  const auto shift = uint32_t(std::countl_zero(top));
  return {d->digits, length, top, shift, uint32_t(pair << shift >> 32)};
}

// estimate returns a quotient word for the dividend words u2:u1:u0, where u2 is one place above the divisor's
// top word and no greater than it. It is at most 2 too large; where the true quotient is more than a word it
// is the largest word.
[[nodiscard]] uint32_t estimate(const Divisor& d, uint32_t u2, uint32_t u1, uint32_t u0) {
  const auto hi = uint32_t((uint64_t{u2} << 32 | u1) << d.shift >> 32);
  const auto lo = uint32_t((uint64_t{u1} << 32 | u0) << d.shift >> 32);
  if (hi >= d.value) return UINT32_MAX;
  uint32_t remainder;
  return DivWords(hi, lo, d.value, &remainder);
}

// subtract_multiple: a[0..d.length) and the word above it, `*above`, -= word * d. A word
// that was too large is lowered until the difference is not negative; returns the
// word that was subtracted.
[[nodiscard]] uint32_t subtract_multiple(uint32_t* a, uint32_t* above, const Divisor& d, uint32_t word) {
  int64_t top = int64_t{*above} - MulSubWords(a, d.words, d.length, word);
  for (; top < 0; --word) top += AddWords(a, a, d.words, d.length);
  *above = uint32_t(top);
  return word;
}

// divide_words: a[0..la) becomes the remainder by d. The quotient is added into
// q[0..lq), which is 0 and long enough, unless q is null.
//
// Every turn either drops a zero top word or subtracts at least one multiple of d, at
// the highest place that it fits. At one place there are at most three turns.
void divide_words(uint32_t* q, uint32_t lq, uint32_t* a, uint32_t la, const Divisor& d) {
  const auto word_below = [&](uint32_t top, uint32_t i) { return top >= i ? a[top - i] : 0; };
  for (uint32_t top = la; top >= d.length;) {
    const uint32_t head = a[top - 1];
    if (head == 0) {
      --top;
      continue;
    }
    uint32_t place = top - d.length;
    uint32_t word = 1;
    uint32_t nothing = 0;
    if (head > d.top) {
      word = estimate(d, 0, head, word_below(top, 2));
      word = subtract_multiple(a + place, &nothing, d, word);
    } else if (place > 0) {
      --place;
      word = estimate(d, head, a[top - 2], word_below(top, 3));
      word = subtract_multiple(a + place, &a[top - 1], d, word);
    } else {
      if (CompareWords(a, d.words, d.length) < 0) break;
      (void)SubWords(a, a, d.words, d.length);
    }
    if (q != nullptr) (void)AddWord(q + place, lq - place, word);
  }
}

// quotient_words returns the words of the largest |a| / |d| + 1. The 1 comes with a
// remainder: a divisor of one word is then at least 2, and the sum has la words.
[[nodiscard]] uint32_t quotient_words(uint32_t la, uint32_t ld) {
  return la < ld ? 1 : std::min(la - ld + 2, la);
}

}  // namespace

uint32_t KXBN_divrem(KXBN* q, KXBN* a, const KXBN* d) {
  if (a == d || q == a || q == d) return KXBN_BADARG;
  if (is_zero(d)) return KXBN_DIVZERO;
  KXBN_trim(a);
  const Divisor divisor = normalise(d);
  const bool negative_d = is_negative(d);
  const bool differ = is_negative(a) != negative_d;

  // All allocations first, so that no later step can fail half way.
  const uint32_t la = a->used;
  const uint32_t lq = quotient_words(la, divisor.length);
  if (const uint32_t rc = KXBN_reserve(a, divisor.length)) return rc;
  if (q != nullptr) {
    if (const uint32_t rc = KXBN_reserve(q, lq)) return rc;
    ClearWords(q->digits, lq);
    q->used = lq;
    q->sign = differ;
  }

  divide_words(q == nullptr ? nullptr : q->digits, lq, a->digits, la, divisor);
  KXBN_trim(a);
  if (differ && !is_zero(a)) {
    // Rounding down: one more multiple of d, and the remainder changes sides.
    const uint32_t rest = a->used;
    ClearWords(a->digits + rest, divisor.length - rest);
    (void)SubWords(a->digits, divisor.words, a->digits, divisor.length);
    a->used = divisor.length;
    if (q != nullptr) (void)AddWord(q->digits, lq, 1);
  }
  a->sign = negative_d;
  KXBN_trim(a);
  if (q != nullptr) KXBN_trim(q);
  return KXBN_OK;
}

uint32_t KXBN_mod(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool) {
  if (is_zero(m)) return KXBN_DIVZERO;
  if (r == m) {
    Arithmetic compute(pool);
    Number rest;
    return compute.make(KXBN_bits(a), rest).mod(rest, a, m).copy(r, rest).code();
  }
  if (const uint32_t rc = KXBN_copy(r, a)) return rc;
  return KXBN_divrem(nullptr, r, m);
}

}  // namespace qex
