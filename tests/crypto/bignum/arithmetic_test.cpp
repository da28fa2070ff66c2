// Computations of several steps: what they compute, and that nothing follows a failure.
#include "crypto/bignum/arithmetic.h"

#include <gtest/gtest.h>

#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/pool.h"

namespace qex {
namespace {

using test::Big;
using test::LiveBlocks;
using test::Pool;

TEST(Arithmetic, StepsAreCarriedOutInTheirOrder) {
  const Big a("64"), b("7"), m("1f");  // 100, 7, 31
  Big r, q, x;
  Arithmetic compute(nullptr);
  compute.mul(r, a, b).addword(r, 5).mod(r, r, m);  // 705 = 22 * 31 + 23
  EXPECT_EQ(r.hex(), "17");
  compute.modexp(r, a, b, m).modinv(x, b, m);  // 100^7 = 28 and 7 * 9 = 1 modulo 31
  EXPECT_EQ(r.hex(), "1c");
  EXPECT_EQ(x.hex(), "9");
  compute.copy(r, a).divrem(q, r, b);  // 100 = 14 * 7 + 2
  EXPECT_EQ(q.hex(), "e");
  EXPECT_EQ(r.hex(), "2");
  compute.copy(r, a).reduce(r, m).lshift(r, 4).setbit(r, 0).clearbit(r, 4).sub(r, r, b).add(r, r, b);
  EXPECT_EQ(r.hex(), "61");  // 7 * 16 + 1 - 16
  EXPECT_EQ(compute.code(), KXBN_OK);
}

TEST(Arithmetic, NothingFollowsAFailure) {
  const Big zero("0"), one("1"), three("3");
  Big r("5"), q("6");
  Number made, other;
  const uint8_t octet = 9;
  int calls = 0;
  Arithmetic compute(nullptr);
  compute.mod(q, one, zero);
  EXPECT_FALSE(compute.ok());
  EXPECT_EQ(compute.code(), KXBN_DIVZERO);
  const long before = LiveBlocks();
  compute.make(32, made).frombytes(made, &octet, 1).xgcd(one, three, made, other).setword(r, 1).setbit(r, 9);
  compute.clearbit(r, 0).copy(r, one).add(r, one, one).sub(r, one, three).addword(r, 1).lshift(r, 1);
  compute.mul(r, three, three).divrem(q, r, three).mod(r, r, three).reduce(r, three);
  compute.modexp(r, three, three, three).modinv(r, one, three);
  compute.call([&] { return ++calls == 0 ? KXBN_OK : KXBN_BADARG; });
  EXPECT_EQ(compute.code(), KXBN_DIVZERO);
  EXPECT_EQ(r.hex(), "5");
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(Arithmetic, NumbersAreMadeInTheirOrderFromThePool) {
  const Pool pool(64);
  {
    Number a, b, c;
    Arithmetic compute(pool);
    compute.make(256, a, b).make(32, c);
    ASSERT_TRUE(compute.ok());
    EXPECT_EQ(a, &pool->slots[0]);
    EXPECT_EQ(b, &pool->slots[1]);
    EXPECT_EQ(c, &pool->slots[2]);
    EXPECT_EQ(a->capacity, 8u);
    EXPECT_EQ(c->capacity, 2u);
  }
  EXPECT_EQ(pool->freeMask, UINT32_MAX);
}

TEST(Arithmetic, AllocationFailuresEndTheComputation) {
  const Big a(test::ones(600)), m(test::ones(400));
  test::EachAllocationFails([&] {
    Number r, product;
    Arithmetic compute(nullptr);
    return compute.make(32, r, product).mul(product, a, a).mod(r, product, m).code();
  });
}

TEST(Arithmetic, CallTakesAnyOperationThatReturnsACode) {
  Number n;
  Arithmetic compute(nullptr);
  compute.call(KXBN_new, nullptr, 64, n.out()).call([&] { return KXBN_copy(n, Big("7")); });
  ASSERT_TRUE(compute.ok());
  EXPECT_EQ(test::hex_of(n), "7");
  EXPECT_EQ(compute.call([] { return 77u; }).code(), 77u);
}

}  // namespace
}  // namespace qex
