// Numbers made, freed and examined.
#include "crypto/bignum/bignum.h"

#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFailsAsItGrows;
using test::FailingAlloc;
using test::LiveBlocks;
using test::negated;
using test::ones;
using test::power_of_two;

TEST(BignumNew, FreshNumberIsZeroOfOneWord) {
  KXBN* n = nullptr;
  ASSERT_EQ(KXBN_new(nullptr, 100, &n), KXBN_OK);
  EXPECT_EQ(n->pool, nullptr);
  EXPECT_EQ(n->used, 1u);
  EXPECT_EQ(n->digits[0], 0u);
  EXPECT_EQ(n->sign, 0u);
  EXPECT_EQ(n->capacity, 4u);  // 100 bits
  KXBN_free(n);
}

TEST(BignumNew, RoomIsRoundedUpToWords) {
  const struct {
    int32_t bits;
    uint32_t words;
  } cases[] = {{0, 16}, {1, 1}, {32, 1}, {33, 2}, {512, 16}, {0x80000, 16384}};
  for (const auto& c : cases) {
    Big n;
    ASSERT_EQ(KXBN_new(nullptr, c.bits, n.out()), KXBN_OK) << c.bits;
    EXPECT_EQ(n->capacity, c.words) << c.bits;
  }
}

TEST(BignumNew, SizeOutOfRangeIsRefused) {
  for (const int32_t bits : {0x80001, INT32_MAX, -1, INT32_MIN}) {
    KXBN marker{};
    KXBN* n = &marker;
    EXPECT_EQ(KXBN_new(nullptr, bits, &n), KXBN_BADARG) << bits;
    EXPECT_EQ(n, nullptr) << bits;
  }
}

TEST(BignumNew, FreeOfNullIsAllowed) {
  KXBN_free(nullptr);
  KXBN_free4(nullptr, nullptr, nullptr, nullptr);
}

TEST(BignumNew, FourAreMadeAndFreedAtOnce) {
  const long before = LiveBlocks();
  KXBN *a, *b, *c, *d;
  ASSERT_EQ(KXBN_new4(nullptr, 64, &a, &b, &c, &d), KXBN_OK);
  EXPECT_EQ(LiveBlocks(), before + 4);
  for (const KXBN* n : {a, b, c, d}) EXPECT_EQ(test::hex_of(n), "0");
  KXBN_free4(a, b, c, d);
  EXPECT_EQ(LiveBlocks(), before);
}

// The digits that a number is made with are in its block; a number that grows leaves them there.
TEST(BignumNew, GrowingKeepsTheValue) {
  for (const char* value : {"0", "1", "fedcba9876543210"}) {
    const long before = LiveBlocks();
    KXBN* n = nullptr;
    ASSERT_EQ(KXBN_new(nullptr, 64, &n), KXBN_OK);
    ASSERT_EQ(KXBN_copy(n, Big(value)), KXBN_OK);
    EXPECT_EQ(n->capacity, 2u);
    ASSERT_EQ(KXBN_reserve(n, 3), KXBN_OK);
    EXPECT_EQ(test::hex_of(n), value);
    EXPECT_EQ(LiveBlocks(), before + 2);
    ASSERT_EQ(KXBN_reserve(n, 1000), KXBN_OK);
    EXPECT_EQ(test::hex_of(n), value);
    EXPECT_EQ(LiveBlocks(), before + 2);
    KXBN_free(n);
    EXPECT_EQ(LiveBlocks(), before);
  }
}

TEST(BignumNew, NullOutputIsSkipped) {
  KXBN *a, *d;
  ASSERT_EQ(KXBN_new4(nullptr, 64, &a, nullptr, nullptr, &d), KXBN_OK);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(d, nullptr);
  KXBN_free4(a, nullptr, nullptr, d);
}

TEST(BignumNew, FailureOfOneOfFourFreesTheOthers) {
  for (size_t nth = 0; nth < 4; ++nth) {
    const long before = LiveBlocks();
    FailingAlloc memory(nth);
    KXBN *a, *b, *c, *d;
    EXPECT_EQ(KXBN_new4(nullptr, 64, &a, &b, &c, &d), KXBN_NOMEM);
    EXPECT_EQ(LiveBlocks(), before) << nth;
    for (const KXBN* n : {a, b, c, d}) EXPECT_EQ(n, nullptr);
  }
  KXBN *a, *b;
  EXPECT_EQ(KXBN_new4(nullptr, -1, &a, nullptr, &b, nullptr), KXBN_BADARG);
}

TEST(BignumBits, BitLengthAndSize) {
  const struct {
    const char* hex;
    uint32_t bits, size;
  } cases[] = {{"0", 0, 1},
               {"1", 1, 1},
               {"ff", 8, 1},
               {"100", 9, 1},
               {"ffffffff", 32, 1},
               {"100000000", 33, 2},
               {"-8000000000000000", 64, 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(KXBN_bits(Big(c.hex)), c.bits) << c.hex;
    EXPECT_EQ(KXBN_getsize(Big(c.hex)), c.size) << c.hex;
  }
}

TEST(BignumBits, TopZeroWordsDoNotCount) {
  Big n("1ff");
  ASSERT_EQ(KXBN_pad(n, 5), KXBN_OK);
  ASSERT_EQ(n->used, 5u);
  EXPECT_EQ(KXBN_bits(n), 9u);
  EXPECT_EQ(KXBN_getsize(n), 1u);
  EXPECT_EQ(KXBN_cmp(n, Big("1ff")), 0);
  EXPECT_EQ(KXBN_test(n, KXBN_IS_POSITIVE), 1u);
  Big sum;
  ASSERT_EQ(KXBN_add(sum, n, n), KXBN_OK);
  EXPECT_EQ(sum.hex(), "3fe");
}

#ifndef NDEBUG
TEST(BignumBitsDeathTest, PaddingToLessThanTheNumberIsABrokenExpectation) {
  const Big n("10000000000000000");  // three words
  EXPECT_EQ(KXBN_pad(n, 3), KXBN_OK);
  EXPECT_DEATH((void)KXBN_pad(n, 2), "^Expectation failed: KXBN_getsize\\(n\\) <= words, file ");
}
#endif

TEST(BignumBits, TestbitBeyondTheNumberIsZero) {
  Big n("80000001");
  EXPECT_EQ(KXBN_testbit(n, 0), 1u);
  EXPECT_EQ(KXBN_testbit(n, 1), 0u);
  EXPECT_EQ(KXBN_testbit(n, 31), 1u);
  for (const uint32_t index : {32u, 0x7FFFFu, 0x80000u, 0x80001u, UINT32_MAX}) {
    EXPECT_EQ(KXBN_testbit(n, index), 0u) << index;
  }
}

TEST(BignumBits, SetbitGrowsAndClears) {
  Big n("1");
  ASSERT_EQ(KXBN_setbit(n, 1000, 1), KXBN_OK);
  ASSERT_EQ(KXBN_setbit(n, 0, 0), KXBN_OK);
  EXPECT_EQ(n.hex(), power_of_two(1000));
  ASSERT_EQ(KXBN_setbit(n, 2000, 0), KXBN_OK);
  ASSERT_EQ(KXBN_setbit(n, 1000, 0), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumBits, ClearingTheLastBitOfANegativeNumberGivesPlainZero) {
  Big n("-4");
  ASSERT_EQ(KXBN_setbit(n, 2, 0), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumBits, SetbitIndexOutOfRangeIsRefused) {
  Big n("1");
  ASSERT_EQ(KXBN_setbit(n, 0x7FFFF, 1), KXBN_OK);
  EXPECT_EQ(KXBN_bits(n), kMaxBits);
  EXPECT_EQ(KXBN_setbit(n, 0x80000, 1), KXBN_BADARG);
  EXPECT_EQ(KXBN_setbit(n, UINT32_MAX, 1), KXBN_BADARG);
}

TEST(BignumValue, SetwordReplacesValueAndSign) {
  Big n("-123456789abcdef0");
  KXBN_setword(n, 77);
  EXPECT_EQ(n.hex(), "4d");
}

TEST(BignumValue, CopyGrowsTheTarget) {
  Big source(negated(ones(2000)));
  Big target("1");
  ASSERT_EQ(KXBN_copy(target, source), KXBN_OK);
  EXPECT_EQ(target.hex(), source.hex());
  ASSERT_EQ(KXBN_copy(target, target), KXBN_OK);
  EXPECT_EQ(target.hex(), source.hex());
}

TEST(BignumValue, KindsOfNumbers) {
  const struct {
    const char* hex;
    uint32_t kinds[8];
  } cases[] = {{"0", {1, 0, 0, 1, 0, 0, 0, 0}},         {"1", {0, 0, 1, 1, 1, 1, 0, 0}},
               {"-1", {0, 1, 1, 0, 0, 0, 0, 0}},        {"2", {0, 0, 1, 1, 0, 1, 0, 0}},
               {"100000001", {0, 0, 1, 1, 0, 1, 0, 0}}, {"-100000000", {0, 1, 1, 0, 0, 0, 0, 0}}};
  for (const auto& c : cases) {
    for (uint32_t kind = 0; kind < 8; ++kind) {
      EXPECT_EQ(KXBN_test(Big(c.hex), kind), c.kinds[kind]) << c.hex << " kind " << kind;
    }
    EXPECT_EQ(KXBN_test(Big(c.hex), UINT32_MAX), 0u);
  }
}

TEST(BignumValue, ComparisonIsSigned) {
  const char* const rising[] = {"-100000000", "-ffffffff", "-1", "0", "1", "2", "ffffffff", "100000000"};
  for (size_t i = 0; i < std::size(rising); ++i) {
    for (size_t j = 0; j < std::size(rising); ++j) {
      EXPECT_EQ(KXBN_cmp(Big(rising[i]), Big(rising[j])), i < j   ? -1
                                                          : i > j ? 1
                                                                  : 0)
          << rising[i] << " " << rising[j];
    }
  }
}

TEST(BignumMemory, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big wide(ones(640));
  EachAllocationFailsAsItGrows([](KXBN* n) { return KXBN_setbit(n, 100, 1); });
  EachAllocationFailsAsItGrows([&](KXBN* n) { return KXBN_copy(n, wide); });
}

}  // namespace
}  // namespace qex
