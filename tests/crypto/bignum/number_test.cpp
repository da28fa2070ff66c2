// The owner of a number: what it frees, and what it hands over.
#include "crypto/bignum/number.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/big.h"
#include "tests/support/failing_alloc.h"

namespace qex {
namespace {

using test::LiveBlocks;

constexpr long kBlocks = 1;  // the record with its digits

TEST(Number, OwnsNothingAtFirst) {
  const Number n;
  EXPECT_EQ(n, nullptr);
}

TEST(Number, FreesWhatItOwnsAtTheEndAndBeforeItTakesAnother) {
  const long before = LiveBlocks();
  {
    const uint8_t octets[] = {1, 0};
    Number n;
    ASSERT_EQ(n.make(nullptr, 64), KXBN_OK);
    EXPECT_EQ(n->capacity, 2u);
    ASSERT_EQ(n.make(nullptr, 32), KXBN_OK);
    EXPECT_EQ(LiveBlocks(), before + kBlocks);
    ASSERT_EQ(n.frombytes(octets, sizeof octets), KXBN_OK);
    EXPECT_EQ(test::hex_of(n), "100");
    ASSERT_EQ(KXBN_new(nullptr, 32, n.out()), KXBN_OK);
    EXPECT_EQ(LiveBlocks(), before + kBlocks);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(Number, ReleasedNumberBelongsToTheCaller) {
  KXBN* released = nullptr;
  {
    Number n;
    ASSERT_EQ(n.make(nullptr, 32), KXBN_OK);
    released = n.release();
    EXPECT_EQ(n, nullptr);
  }
  KXBN_setword(released, 7);
  EXPECT_EQ(test::hex_of(released), "7");
  KXBN_free(released);
}

TEST(Number, MovesAndSwaps) {
  const long before = LiveBlocks();
  {
    Number a, b;
    ASSERT_EQ(a.make(nullptr, 32), KXBN_OK);
    ASSERT_EQ(b.make(nullptr, 32), KXBN_OK);
    KXBN_setword(a, 1);
    KXBN_setword(b, 2);
    swap(a, b);
    EXPECT_EQ(test::hex_of(a), "2");
    EXPECT_EQ(test::hex_of(b), "1");
    a = std::move(b);  // frees what it held
    EXPECT_EQ(test::hex_of(a), "1");
    EXPECT_EQ(LiveBlocks(), before + kBlocks);
    const Number c(std::move(a));
    EXPECT_EQ(test::hex_of(c), "1");
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(Number, FailureLeavesNothing) {
  Number n;
  ASSERT_EQ(n.make(nullptr, 32), KXBN_OK);
  EXPECT_EQ(n.make(nullptr, kMaxBits + 1), KXBN_BADARG);
  EXPECT_EQ(n, nullptr);
}

}  // namespace
}  // namespace qex
