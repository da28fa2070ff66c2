// Big numbers: allocation, bits and comparison.
//
// A record of the heap is one block with its digits after it, until they need more room: they are then a
// block of their own. One of a pool is a slot (pool.cpp).
#include "crypto/bignum/bignum.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>

#include "crypto/assertion.h"
#include "crypto/bignum/internal.h"
#include "crypto/bignum/words.h"
#include "ground/expect.h"

namespace qex {
namespace {

[[nodiscard]] constexpr uint32_t words_for(uint32_t bits) {
  return bits / 32 + (bits % 32 != 0);
}

// HeapNumber is a record and, in the same block, the digits that it is made with.
struct HeapNumber {
  KXBN record;
  uint32_t digits[1];  // as many as there is room for
};

// first_digits returns the digits in the block of a record of the heap.
uint32_t* first_digits(KXBN* n) {
  return reinterpret_cast<uint32_t*>(reinterpret_cast<std::byte*>(n) + offsetof(HeapNumber, digits));
}

[[nodiscard]] uint32_t new_on_heap(uint32_t words, KXBN** out) {
  auto* const n = static_cast<KXBN*>(std::malloc(offsetof(HeapNumber, digits) + words * sizeof(uint32_t)));
  if (n == nullptr) return KXBN_NOMEM;
  *n = KXBN{nullptr, first_digits(n), 1, words, 0};
  n->digits[0] = 0;
  *out = n;
  return KXBN_OK;
}

// is_first returns whether n still has the digits that it was made with. A slot of a pool never has.
[[nodiscard]] bool is_first(KXBN* n) {
  return n->pool == nullptr && n->digits == first_digits(n);
}

}  // namespace

uint32_t KXBN_new(KXBN_Pool* pool, int32_t bits, KXBN** out) {
  *out = nullptr;
  if (bits < 0 || uint32_t(bits) > kMaxBits) return KXBN_BADARG;
  const uint32_t asked = bits == 0 ? kDefaultBits : uint32_t(bits);
  if (pool == nullptr) return new_on_heap(words_for(asked), out);

  KXBN_Pool* chosen = nullptr;
  if (const uint32_t rc = KXBN_pool_with_slot(pool, &chosen)) return rc;
  return KXBN_pool_take(chosen, words_for(std::max(asked, pool->bitSize)), out);
}

uint32_t KXBN_new4(KXBN_Pool* pool, int32_t bits, KXBN** a, KXBN** b, KXBN** c, KXBN** d) {
  KXBN** const outs[] = {a, b, c, d};
  for (KXBN** out : outs) {
    if (out != nullptr) *out = nullptr;
  }
  for (KXBN** out : outs) {
    if (out == nullptr) continue;
    const uint32_t rc = KXBN_new(pool, bits, out);
    if (rc == KXBN_OK) continue;
    for (KXBN** made : outs) {
      if (made == nullptr) continue;
      KXBN_free(*made);
      *made = nullptr;
    }
    return rc;
  }
  return KXBN_OK;
}

void KXBN_free(KXBN* n) {
  if (n == nullptr) return;
  if (n->pool != nullptr) {
    n->pool->freeMask |= uint32_t{1} << (n - n->pool->slots);
    return;
  }
  if (!is_first(n)) std::free(n->digits);
  std::free(n);
}

void KXBN_free4(KXBN* a, KXBN* b, KXBN* c, KXBN* d) {
  KXBN_free(a);
  KXBN_free(b);
  KXBN_free(c);
  KXBN_free(d);
}

uint32_t KXBN_reserve(KXBN* n, size_t words) {
  if (words <= n->capacity) return KXBN_OK;
  if (words > kMaxWords + kSlackWords) return KXBN_BADARG;
  const bool first = is_first(n);
  void* const old = first ? nullptr : n->digits;
  auto* const digits = static_cast<uint32_t*>(std::realloc(old, words * sizeof(uint32_t)));
  if (digits == nullptr) return KXBN_NOMEM;
  if (first) std::copy_n(n->digits, n->used, digits);
  n->digits = digits;
  n->capacity = uint32_t(words);
  return KXBN_OK;
}

void KXBN_trim(KXBN* n) {
  n->used = KXBN_getsize(n);
  if (n->used == 1 && n->digits[0] == 0) n->sign = 0;
}

uint32_t KXBN_finish(KXBN* n) {
  KXBN_trim(n);
  if (n->used <= kMaxWords) return KXBN_OK;
  KXBN_setword(n, 0);
  return KXBN_BADARG;
}

uint32_t KXBN_pad(KXBN* n, uint32_t words) {
  QEX_EXPECT(KXBN_getsize(n) <= words);
  if (const uint32_t rc = KXBN_reserve(n, words)) return rc;
  n->used = KXBN_getsize(n);
  ClearWords(n->digits + n->used, words - n->used);
  n->used = words;
  return KXBN_OK;
}

uint32_t KXBN_getsize(const KXBN* n) {
  uint32_t size = n->used;
  while (size > 1 && n->digits[size - 1] == 0) --size;
  return size;
}

uint32_t KXBN_bits(const KXBN* n) {
  const uint32_t size = KXBN_getsize(n);
  return (size - 1) * 32 + uint32_t(std::bit_width(n->digits[size - 1]));
}

uint32_t KXBN_testbit(const KXBN* n, uint32_t index) {
  if (index / 32 >= n->used) return 0;
  return n->digits[index / 32] >> index % 32 & 1;
}

uint32_t KXBN_setbit(KXBN* n, uint32_t index, uint32_t value) {
  if (index >= kMaxBits) return KXBN_BADARG;
  const uint32_t word = index / 32;
  const uint32_t bit = uint32_t{1} << index % 32;
  if (value == 0) {
    if (word < n->used) n->digits[word] &= ~bit;
    KXBN_trim(n);
    return KXBN_OK;
  }
  if (word >= n->used) {
    if (const uint32_t rc = KXBN_pad(n, word + 1)) return rc;
  }
  n->digits[word] |= bit;
  KXBN_trim(n);
  return KXBN_OK;
}

void KXBN_setword(KXBN* n, uint32_t w) {
  n->digits[0] = w;
  n->used = 1;
  n->sign = 0;
}

uint32_t KXBN_copy(KXBN* dst, const KXBN* src) {
  if (dst == src) return KXBN_OK;
  const uint32_t size = KXBN_getsize(src);
  if (const uint32_t rc = KXBN_reserve(dst, size)) return rc;
  std::copy_n(src->digits, size, dst->digits);
  dst->used = size;
  dst->sign = src->sign & 1;
  KXBN_trim(dst);
  return KXBN_OK;
}

uint32_t KXBN_test(const KXBN* n, uint32_t kind) {
  const uint32_t size = KXBN_getsize(n);
  const bool zero = size == 1 && n->digits[0] == 0;
  const bool negative = !zero && (n->sign & 1) != 0;
  switch (kind) {
    case KXBN_IS_ZERO: return zero;
    case KXBN_IS_NEGATIVE: return negative;
    case KXBN_IS_NONZERO: return !zero;
    case KXBN_IS_NOT_NEGATIVE: return !negative;
    case KXBN_IS_ONE: return size == 1 && n->digits[0] == 1 && !negative;
    case KXBN_IS_POSITIVE: return !zero && !negative;
    default: return 0;
  }
}

int KXBN_cmp(const KXBN* a, const KXBN* b) {
  const bool negative = is_negative(a);
  if (negative != is_negative(b)) return negative ? -1 : 1;
  const uint32_t la = KXBN_getsize(a);
  const uint32_t lb = KXBN_getsize(b);
  const int magnitude = la != lb ? (la < lb ? -1 : 1) : CompareWords(a->digits, b->digits, la);
  return negative ? -magnitude : magnitude;
}

}  // namespace qex
