// Big numbers: pools.
//
// A number of a pool is a slot; its digits are a block of their own that stays with the slot.
#include <bit>
#include <cstdlib>

#include "crypto/assertion.h"
#include "crypto/bignum/internal.h"
#include "ground/expect.h"

namespace qex {
namespace {

// slot_for returns the index of the free slot to take, or kPoolSlots when none is free.
[[nodiscard]] uint32_t slot_for(const KXBN_Pool* pool, uint32_t words) {
  uint32_t with_digits = kPoolSlots;
  for (uint32_t mask = pool->freeMask; mask != 0; mask &= mask - 1) {
    const auto k = uint32_t(std::countr_zero(mask));
    if (pool->slots[k].capacity >= words) return k;
    if (with_digits == kPoolSlots && pool->slots[k].digits != nullptr) with_digits = k;
  }
  if (with_digits != kPoolSlots) return with_digits;
  return uint32_t(std::countr_zero(pool->freeMask));  // 32 for a mask of 0
}

}  // namespace

uint32_t KXBN_pool_new(int32_t bits, KXBN_Pool** out) {
  *out = nullptr;
  if (bits < 0 || uint32_t(bits) > kMaxBits) return KXBN_BADARG;
  auto* const pool = static_cast<KXBN_Pool*>(std::calloc(1, sizeof(KXBN_Pool)));
  if (pool == nullptr) return KXBN_NOMEM;
  pool->bitSize = uint32_t(bits);
  pool->freeMask = UINT32_MAX;
  *out = pool;
  return KXBN_OK;
}

void KXBN_pool_free(KXBN_Pool* pool) {
  while (pool != nullptr) {
    KXBN_Pool* const next = pool->next;
    for (KXBN& slot : pool->slots) std::free(slot.digits);
    std::free(pool);
    pool = next;
  }
}

uint32_t KXBN_pool_take(KXBN_Pool* pool, uint32_t words, KXBN** out) {
  QEX_EXPECT(words > 0);
  const uint32_t k = slot_for(pool, words);
  QEX_ASSERT(k < kPoolSlots, Claim::PoolHasSlot);
  KXBN* const n = &pool->slots[k];
  if (const uint32_t rc = KXBN_reserve(n, words)) return rc;
  pool->freeMask &= ~(uint32_t{1} << k);
  n->pool = pool;
  KXBN_setword(n, 0);
  *out = n;
  return KXBN_OK;
}

uint32_t KXBN_pool_with_slot(KXBN_Pool* first, KXBN_Pool** out) {
  KXBN_Pool* pool = first;
  do {
    if (pool->freeMask != 0) {
      *out = pool;
      return KXBN_OK;
    }
    pool = pool->next;
  } while (pool != nullptr);
  if (const uint32_t rc = KXBN_pool_new(int32_t(first->bitSize), out)) return rc;
  (*out)->next = first->next;
  first->next = *out;
  return KXBN_OK;
}

}  // namespace qex
