// The scratch pool: slots, their choice, and the chain.
#include <gtest/gtest.h>

#include <vector>

#include "crypto/bignum/bignum.h"
#include "crypto/bignum/internal.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/pool.h"

namespace qex {
namespace {

using test::FailingAlloc;
using test::LiveBlocks;
using test::Pool;

KXBN* take(KXBN_Pool* pool, int32_t bits) {
  KXBN* n = nullptr;
  EXPECT_EQ(KXBN_new(pool, bits, &n), KXBN_OK);
  return n;
}

TEST(BignumPool, AllSlotsAreFreeAtCreation) {
  Pool pool(1024);
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu);
  EXPECT_EQ(pool->bitSize, 1024u);
  EXPECT_EQ(pool->next, nullptr);
  for (const KXBN& slot : pool->slots) EXPECT_EQ(slot.digits, nullptr);
}

TEST(BignumPool, SizeOutOfRangeIsRefused) {
  KXBN_Pool* pool = nullptr;
  EXPECT_EQ(KXBN_pool_new(-1, &pool), KXBN_BADARG);
  EXPECT_EQ(KXBN_pool_new(0x80001, &pool), KXBN_BADARG);
  EXPECT_EQ(pool, nullptr);
}

TEST(BignumPool, NumberHasAtLeastThePoolsSize) {
  Pool pool(1024);
  const KXBN* small = take(pool, 1);
  EXPECT_EQ(small->capacity, 32u);
  EXPECT_EQ(small->pool, pool);
  EXPECT_EQ(take(pool, 2048)->capacity, 64u);
  EXPECT_EQ(take(pool, 0)->capacity, 32u);
  Pool tiny(1);
  EXPECT_EQ(take(tiny, 0)->capacity, 16u);  // the default of 512 bits
}

TEST(BignumPool, RequestOutOfRangeIsRefused) {
  Pool pool(64);
  KXBN* n = nullptr;
  EXPECT_EQ(KXBN_new(pool, -1, &n), KXBN_BADARG);
  EXPECT_EQ(KXBN_new(pool, 0x80001, &n), KXBN_BADARG);
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu);
}

TEST(BignumPool, SlotsAreTakenFromTheLowestUpward) {
  Pool pool(64);
  for (uint32_t k = 0; k < 32; ++k) EXPECT_EQ(take(pool, 64), &pool->slots[k]);
  EXPECT_EQ(pool->freeMask, 0u);
}

TEST(BignumPool, EverySlotIsFoundWhenItAloneIsFree) {
  Pool pool(64);
  for (uint32_t k = 0; k < 32; ++k) (void)take(pool, 64);
  for (uint32_t k = 0; k < 32; ++k) {
    KXBN_free(&pool->slots[k]);
    EXPECT_EQ(pool->freeMask, 1u << k);
    EXPECT_EQ(take(pool, 64), &pool->slots[k]);
  }
}

TEST(BignumPool, FreedRecordKeepsItsDigits) {
  Pool pool(64);
  KXBN* n = take(pool, 256);
  KXBN_setword(n, 7);
  n->sign = 1;
  const uint32_t* digits = n->digits;
  KXBN_free(n);
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu);
  FailingAlloc memory(0);  // nothing is allocated
  KXBN* again = take(pool, 256);
  EXPECT_EQ(again, n);
  EXPECT_EQ(again->digits, digits);
  EXPECT_EQ(again->digits[0], 0u);
  EXPECT_EQ(again->used, 1u);
  EXPECT_EQ(again->sign, 0u);
}

TEST(BignumPool, FirstSlotWithRoomEnoughIsTaken) {
  Pool pool(32);
  KXBN* slots[] = {take(pool, 32), take(pool, 256), take(pool, 512)};
  for (KXBN* n : slots) KXBN_free(n);
  EXPECT_EQ(take(pool, 200), slots[1]);  // slot 0 is too small, slot 1 comes before 2
  EXPECT_EQ(take(pool, 200), slots[2]);
}

TEST(BignumPool, SlotWithExactlyTheRoomIsTaken) {
  Pool pool(32);
  KXBN* slots[] = {take(pool, 32), take(pool, 256)};
  for (KXBN* n : slots) KXBN_free(n);
  EXPECT_EQ(take(pool, int32_t(32 * slots[1]->capacity)), slots[1]);
}

TEST(BignumPool, ElseTheFirstSlotWithDigitsIsEnlarged) {
  Pool pool(32);
  KXBN* slots[] = {take(pool, 64), take(pool, 128), take(pool, 64)};
  KXBN_free(slots[1]);
  KXBN_free(slots[2]);
  KXBN* n = take(pool, 1024);
  EXPECT_EQ(n, slots[1]);
  EXPECT_EQ(n->capacity, 32u);
}

TEST(BignumPool, ASlotWithDigitsIsPreferredToALowerOneWithout) {
  Pool pool(32);
  KXBN* made[3] = {take(pool, 64), take(pool, 64), take(pool, 64)};
  free(made[0]->digits);  // as if slot 0 had never been used
  *made[0] = KXBN{};
  pool->freeMask = 0xFFFFFFFFu;
  EXPECT_EQ(take(pool, 256), made[1]);
}

TEST(BignumPool, FullPoolGetsAnotherDirectlyAfterTheFirst) {
  Pool pool(96);
  for (int k = 0; k < 32; ++k) (void)take(pool, 96);
  const KXBN* n = take(pool, 96);
  KXBN_Pool* second = pool->next;
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(n, &second->slots[0]);
  EXPECT_EQ(second->bitSize, 96u);
  for (int k = 1; k < 32; ++k) EXPECT_EQ(take(pool, 96), &second->slots[k]);
  n = take(pool, 96);
  ASSERT_NE(pool->next, second);
  EXPECT_EQ(pool->next->next, second);
  EXPECT_EQ(n, &pool->next->slots[0]);
}

TEST(BignumPool, FreeSlotAnywhereInTheChainIsFound) {
  Pool pool(96);
  std::vector<KXBN*> numbers;
  for (int k = 0; k < 70; ++k) numbers.push_back(take(pool, 96));
  KXBN_Pool* last = pool->next->next;
  ASSERT_NE(last, nullptr);
  for (int k = 0; k < 32; ++k) {
    if (pool->next->freeMask == 0) break;
    (void)take(pool, 96);
  }
  KXBN* freed = &last->slots[9];
  KXBN_free(freed);
  EXPECT_EQ(last->freeMask, 1u << 9);
  EXPECT_EQ(take(pool, 96), freed);
}

TEST(BignumPool, AnotherPoolOfTooLargeASizeIsRefused) {
  Pool pool(32);
  for (int k = 0; k < 32; ++k) (void)take(pool, 32);
  pool->bitSize = 0x80001;
  KXBN* n = nullptr;
  EXPECT_EQ(KXBN_new(pool, 32, &n), KXBN_BADARG);
  EXPECT_EQ(n, nullptr);
  EXPECT_EQ(pool->next, nullptr);
}

TEST(BignumPool, AllocationFailureLeavesTheSlotFree) {
  Pool pool(32);
  {
    FailingAlloc memory(0);
    KXBN* n = nullptr;
    EXPECT_EQ(KXBN_new(pool, 64, &n), KXBN_NOMEM);
    EXPECT_EQ(n, nullptr);
  }
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu);
  KXBN_free(take(pool, 64));
  {
    FailingAlloc memory(0);  // of the enlargement
    KXBN* n = nullptr;
    EXPECT_EQ(KXBN_new(pool, 640, &n), KXBN_NOMEM);
  }
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu);
  EXPECT_EQ(take(pool, 640)->capacity, 20u);
}

TEST(BignumPool, AllocationFailureOfPoolsIsReported) {
  KXBN_Pool* none = nullptr;
  {
    FailingAlloc memory(0);
    EXPECT_EQ(KXBN_pool_new(32, &none), KXBN_NOMEM);
    EXPECT_EQ(none, nullptr);
  }
  Pool pool(32);
  for (int k = 0; k < 32; ++k) (void)take(pool, 32);
  FailingAlloc memory(0);
  KXBN* n = nullptr;
  EXPECT_EQ(KXBN_new(pool, 32, &n), KXBN_NOMEM);
  EXPECT_EQ(pool->next, nullptr);
}

TEST(BignumPool, FreeingThePoolFreesEverythingInIt) {
  const long before = LiveBlocks();
  KXBN_Pool* pool = nullptr;
  ASSERT_EQ(KXBN_pool_new(32, &pool), KXBN_OK);
  for (int k = 0; k < 100; ++k) (void)take(pool, 32 * (k + 1));
  KXBN_pool_free(pool);
  EXPECT_EQ(LiveBlocks(), before);
  KXBN_pool_free(nullptr);
}

TEST(BignumPool, FourNumbersComeFromThePool) {
  Pool pool(32);
  KXBN *a, *b, *c, *d;
  ASSERT_EQ(KXBN_new4(pool, 32, &a, &b, &c, &d), KXBN_OK);
  EXPECT_EQ(pool->freeMask, 0xFFFFFFF0u);
  KXBN_free4(b, a, nullptr, d);
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFBu);
  KXBN_free(c);
}

TEST(BignumPool, NumberOfAPoolGrowsAndKeepsItsRoom) {
  Pool pool(32);
  KXBN* n = take(pool, 32);
  ASSERT_EQ(KXBN_setbit(n, 1000, 1), KXBN_OK);
  EXPECT_EQ(n->capacity, 32u);
  KXBN_free(n);
  EXPECT_EQ(pool->slots[0].capacity, 32u);
}

TEST(BignumPoolDeathTest, PoolThatYieldsNoSlotIsAnAssertion) {
  EXPECT_DEATH(
      {
        KXBN_Pool* pool = nullptr;
        KXBN* n = nullptr;
        if (KXBN_pool_new(32, &pool) != KXBN_OK) exit(0);
        pool->freeMask = 0;
        (void)KXBN_pool_take(pool, 1, &n);
      },
      "^Assertion failed: 0, file \\.\\.\\\\bignum\\.c, line 258\n");
}

#ifndef NDEBUG
TEST(BignumPoolDeathTest, NumberOfNoWordsIsABrokenExpectation) {
  EXPECT_DEATH(
      {
        const Pool pool(32);
        KXBN* n = nullptr;
        (void)KXBN_pool_take(pool, 0, &n);
      },
      "^Expectation failed: words > 0, file ");
}
#endif

}  // namespace
}  // namespace qex
