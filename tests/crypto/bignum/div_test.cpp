// Division and residues.
#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "crypto/bignum/number.h"
#include "tests/support/big.h"
#include "tests/support/failing_alloc.h"

namespace qex {
namespace {

using test::Big;
using test::FailingAlloc;
using test::LiveBlocks;
using test::negated;
using test::ones;
using test::power_of_two;

TEST(BignumDivrem, AgreesWithPythonsDivmod) {
  const auto vectors = test::read_vectors("bignum_divrem.txt");
  ASSERT_GT(vectors.size(), 300u);
  for (const auto& v : vectors) {
    Big q, a(v.at("A")), d(v.at("D"));
    ASSERT_EQ(KXBN_divrem(q, a, d), KXBN_OK);
    EXPECT_EQ(q.hex(), v.at("Q")) << v.at("A") << " / " << v.at("D");
    EXPECT_EQ(a.hex(), v.at("R")) << v.at("A") << " / " << v.at("D");
    Big rest(v.at("A"));
    ASSERT_EQ(KXBN_divrem(nullptr, rest, d), KXBN_OK);
    EXPECT_EQ(rest.hex(), v.at("R"));
  }
}

TEST(BignumDivrem, RoundsTowardsMinusInfinity) {
  const struct {
    const char *a, *d, *q, *r;
  } cases[] = {{"-7", "2", "-4", "1"}, {"7", "-2", "-4", "-1"}, {"-7", "-2", "3", "-1"},
               {"-6", "2", "-3", "0"}, {"-1", "7", "-1", "6"},  {"1", "-100000000", "-1", "-ffffffff"}};
  for (const auto& c : cases) {
    Big q, a(c.a);
    ASSERT_EQ(KXBN_divrem(q, a, Big(c.d)), KXBN_OK);
    EXPECT_EQ(q.hex(), c.q) << c.a << " / " << c.d;
    EXPECT_EQ(a.hex(), c.r) << c.a << " / " << c.d;
  }
}

// The law itself, on many numbers with runs of zeros and ones: a = q * d + r, 0 <= r < d.
TEST(BignumDivrem, QuotientTimesDivisorPlusRemainderIsTheDividend) {
  test::Random random(1);
  for (int i = 0; i < 20000; ++i) {
    const Big a(test::random_hex(random, 1 + random() % 400));
    const Big d(test::random_hex(random, 1 + random() % 300));
    Big q, r, back;
    ASSERT_EQ(KXBN_copy(r, a), KXBN_OK);
    ASSERT_EQ(KXBN_divrem(q, r, d), KXBN_OK);
    ASSERT_EQ(KXBN_mul(back, q, d, nullptr), KXBN_OK);
    ASSERT_EQ(KXBN_add(back, back, r), KXBN_OK);
    ASSERT_EQ(back.hex(), a.hex());
    ASSERT_TRUE(KXBN_cmp(r, d) < 0 && !is_negative(r)) << a.hex() << " / " << d.hex();
  }
}

TEST(BignumDivrem, DivisionByZeroIsRefused) {
  Big q, a("-5"), zero("0");
  EXPECT_EQ(KXBN_divrem(q, a, zero), KXBN_DIVZERO);
  EXPECT_EQ(KXBN_divrem(nullptr, a, zero), KXBN_DIVZERO);
  EXPECT_EQ(a.hex(), "-5");
  ASSERT_EQ(KXBN_pad(zero, 4), KXBN_OK);  // zero words at the top change nothing
  EXPECT_EQ(KXBN_divrem(q, a, zero), KXBN_DIVZERO);
  EXPECT_EQ(KXBN_mod(q, a, zero, nullptr), KXBN_DIVZERO);
}

TEST(BignumDivrem, SameRecordTwiceIsRefused) {
  Big q("1"), a("7"), d("2");
  EXPECT_EQ(KXBN_divrem(a, a, d), KXBN_BADARG);
  EXPECT_EQ(KXBN_divrem(q, a, a), KXBN_BADARG);
  EXPECT_EQ(KXBN_divrem(d, a, d), KXBN_BADARG);
  EXPECT_EQ(a.hex(), "7");
  EXPECT_EQ(d.hex(), "2");
}

TEST(BignumDivrem, LargestNumbersAreDivided) {
  Big q, a(ones(kMaxBits));
  ASSERT_EQ(KXBN_divrem(q, a, Big("-1")), KXBN_OK);
  EXPECT_EQ(q.hex(), negated(ones(kMaxBits)));
  EXPECT_EQ(a.hex(), "0");
  Big b(ones(kMaxBits));
  ASSERT_EQ(KXBN_divrem(q, b, Big("-2")), KXBN_OK);
  EXPECT_EQ(q.hex(), negated(power_of_two(kMaxBits - 1)));
  EXPECT_EQ(b.hex(), "-1");
  Big c("-1");
  ASSERT_EQ(KXBN_divrem(nullptr, c, Big(power_of_two(kMaxBits - 1))), KXBN_OK);
  EXPECT_EQ(c.hex(), ones(kMaxBits - 1));
}

TEST(BignumMod, ResultMayBeAnyOperand) {
  Big a("-64"), m("7"), r;
  ASSERT_EQ(KXBN_mod(r, a, m, nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), "5");  // -100 mod 7
  Big m2("7");
  ASSERT_EQ(KXBN_mod(m2, a, m2, nullptr), KXBN_OK);
  EXPECT_EQ(m2.hex(), "5");
  ASSERT_EQ(KXBN_mod(a, a, m, nullptr), KXBN_OK);
  EXPECT_EQ(a.hex(), "5");
  ASSERT_EQ(KXBN_mod(m, m, m, nullptr), KXBN_OK);
  EXPECT_EQ(m.hex(), "0");
  ASSERT_EQ(KXBN_mod(r, a, a, nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), "0");
}

TEST(BignumDivisionMemory, AllocationFailureIsReportedAndNothingLeaks) {
  const Big a(ones(2000)), m(power_of_two(900)), minus("-1"), odd(ones(1001));
  const auto run = [&](int operation) -> uint32_t {
    Number r, s;
    if (const uint32_t rc = r.make(nullptr, 32)) return rc;
    if (const uint32_t rc = s.make(nullptr, 32)) return rc;
    switch (operation) {
      case 0: return KXBN_mod(r, a, m, nullptr);
      case 1: return KXBN_mod(r, minus, m, nullptr);
      case 2:
        if (const uint32_t rc = KXBN_copy(r, m)) return rc;
        return KXBN_mod(r, a, r, nullptr);
      default:
        if (const uint32_t rc = KXBN_copy(r, a)) return rc;
        return KXBN_divrem(s, r, m);
    }
  };
  for (int operation = 0; operation < 4; ++operation) {
    for (size_t nth = 0;; ++nth) {
      const long before = LiveBlocks();
      FailingAlloc memory(nth);
      const uint32_t rc = run(operation);
      EXPECT_EQ(LiveBlocks(), before) << operation << " " << nth;
      EXPECT_EQ(rc, memory.refused() != 0 ? KXBN_NOMEM : KXBN_OK) << operation << " " << nth;
      if (memory.refused() == 0) {
        EXPECT_GE(nth, 3u);  // both numbers and at least one enlargement
        break;
      }
    }
  }
}

TEST(BignumDivisionMemory, DividendSurvivesAFailure) {
  Big q, a("-1");
  const Big d(power_of_two(5000));
  FailingAlloc memory(0);
  EXPECT_EQ(KXBN_divrem(q, a, d), KXBN_NOMEM);
  EXPECT_EQ(a.hex(), "-1");
}

}  // namespace
}  // namespace qex
