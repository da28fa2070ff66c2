// Exponentiation by Montgomery's method.
#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "tests/support/big.h"
#include "tests/support/failing_alloc.h"

namespace qex {
namespace {

using test::Big;
using test::FailingAlloc;
using test::ones;

TEST(BignumMontgomery, LargestOddModulusWorks) {
  // (m - 1)^2 = 1 mod m.
  const Big m(ones(8191 * 32));
  Big base, r;
  ASSERT_EQ(KXBN_sub(base, m, Big("1")), KXBN_OK);
  ASSERT_EQ(KXBN_modexp(r, base, Big("2"), m, nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), "1");
}

TEST(BignumMontgomery, ModulusThatIsTooLargeIsRefusedBeforeAnythingIsMade) {
  const Big three("3"), large(ones(8192 * 32));
  Big r;
  FailingAlloc memory(0);
  EXPECT_EQ(KXBN_modexp(r, three, three, large, nullptr), KXBN_BADARG);
  EXPECT_EQ(memory.refused(), 0u);
}

TEST(BignumMontgomery, AgreesWithTheBinaryMethod) {
  test::Random random(5);
  for (int i = 0; i < 400; ++i) {
    const uint32_t bits = 32 * (1 + random() % 12);
    const Big m(test::random_hex(random, bits));
    m->digits[0] |= 1;
    Big base(test::random_hex(random, bits)), fast, slow;
    ASSERT_EQ(KXBN_mod(base, base, m, nullptr), KXBN_OK);
    const Big e(test::random_hex(random, random() % 330));
    ASSERT_EQ(KXBN_modexp_mont(fast, base, e, m, nullptr), KXBN_OK);
    ASSERT_EQ(KXBN_modexp_binary(slow, base, e, m, nullptr), KXBN_OK);
    ASSERT_EQ(fast.hex(), slow.hex()) << base.hex() << " ^ " << e.hex() << " mod " << m.hex();
  }
}

TEST(BignumMontgomery, WindowFollowsTheExponentsLength) {
  const struct {
    uint32_t bits, entries;
  } cases[] = {{0, 1}, {17, 1}, {31, 1}, {32, 8}, {255, 8}, {256, 16}, {kMaxBits, 16}};
  for (const auto& c : cases) EXPECT_EQ(KXBN_window(c.bits), c.entries) << c.bits;
}

}  // namespace
}  // namespace qex
