// Operations on public values answer like the general ones, whether PowerOdd takes the operands or not.
#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "tests/support/big.h"
#include "tests/support/failing_alloc.h"

namespace qex {
namespace {

using test::Big;
using test::ones;
using test::power_of_two;

TEST(BignumModexpPublic, AnswersLikeModexp) {
  const std::string large = ones(8192), larger = ones(8224);
  const std::string moduli[] = {
      "0", "1", "2", "3", "-7", "64", "65", "ffffffff", large, larger, power_of_two(300)};
  const std::string bases[] = {"0", "1", "2", "-5", "64", ones(300), large};
  const std::string exponents[] = {"0", "1", "-1", "3", "10001"};
  for (const std::string& m : moduli) {
    for (const std::string& b : bases) {
      for (const std::string& e : exponents) {
        Big slow, fast;
        const uint32_t rc = KXBN_modexp(slow, Big(b), Big(e), Big(m), nullptr);
        ASSERT_EQ(KXBN_modexp_public(fast, Big(b), Big(e), Big(m), nullptr), rc) << b << ' ' << e << ' ' << m;
        if (rc == KXBN_OK) {
          EXPECT_EQ(fast.hex(), slow.hex()) << b << " ^ " << e << " mod " << m;
        }
      }
    }
  }
}

TEST(BignumModexpPublic, ExponentBeyondAllModuliIsTaken) {
  Big slow, fast;
  const Big e(ones(8193)), m(ones(521));
  ASSERT_EQ(KXBN_modexp(slow, Big("3"), e, m, nullptr), KXBN_OK);
  ASSERT_EQ(KXBN_modexp_public(fast, Big("3"), e, m, nullptr), KXBN_OK);
  EXPECT_EQ(fast.hex(), slow.hex());
}

TEST(BignumModexpPublic, ProductOfTwoAnswersLikeItsSteps) {
  const std::string moduli[] = {"0", "1", "2", "3", "-7", "64", "65", ones(1024), ones(8224)};
  const std::string bases[] = {"0", "1", "-5", "64", ones(1023), ones(1025)};
  const std::string exponents[] = {"0", "-1", "10001", ones(160)};
  for (const std::string& m : moduli) {
    for (const std::string& b : bases) {
      for (const std::string& e : exponents) {
        Big first, second, slow, fast;
        const Big base1("2"), exp1("7"), base2(b), exp2(e), modulus(m);
        uint32_t rc = KXBN_modexp(first, base1, exp1, modulus, nullptr);
        if (rc == KXBN_OK) rc = KXBN_modexp(second, base2, exp2, modulus, nullptr);
        if (rc == KXBN_OK) rc = KXBN_mul(slow, first, second, nullptr);
        if (rc == KXBN_OK) rc = KXBN_mod(slow, slow, modulus, nullptr);
        ASSERT_EQ(KXBN_modexp2_public(fast, base1, exp1, base2, exp2, modulus, nullptr), rc)
            << b << ' ' << e << ' ' << m;
        if (rc == KXBN_OK) {
          EXPECT_EQ(fast.hex(), slow.hex()) << b << " ^ " << e << " mod " << m;
        }
      }
    }
  }
}

TEST(BignumModinvPublic, AnswersLikeModinv) {
  // Primes: 3, 7, 2^61 - 1, 2^127 - 1, 2^521 - 1. The others are composite, even, negative, 0 or 1.
  const std::string moduli[] = {"0",       "1",        "3",        "7",       "-7",
                                "9",       "40",       "41",       ones(61),  ones(127),
                                ones(128), ones(64),   ones(32),   ones(521), "ffffffffffffffc5",
                                ones(512), ones(1024), "100000001"};
  const std::string values[] = {"0",      "1",      "2",      "3",  "6",        "-3",          "8",
                                ones(60), ones(61), ones(64), "29", "fffffffe", "1fffffffffff"};
  for (const std::string& m : moduli) {
    for (const std::string& a : values) {
      Big slow, fast;
      const uint32_t rc = KXBN_modinv(slow, Big(a), Big(m), nullptr);
      ASSERT_EQ(KXBN_modinv_public(fast, Big(a), Big(m), nullptr), rc) << a << " mod " << m;
      if (rc == KXBN_OK) {
        EXPECT_EQ(fast.hex(), slow.hex()) << "1 / " << a << " mod " << m;
      }
    }
  }
}

TEST(BignumModinvPublic, InverseModuloAPrimeTimesTheNumberIsOne) {
  test::Random random(16);
  for (const uint32_t bits : {61u, 89u, 107u, 127u}) {  // 2^bits - 1 is prime
    for (int i = 0; i < 50; ++i) {
      const Big m(ones(bits)), a(test::random_hex(random, 1 + random() % (bits - 1)));
      Big inverse, product;
      ASSERT_EQ(KXBN_modinv_public(inverse, a, m, nullptr), KXBN_OK);
      EXPECT_LT(KXBN_cmp(inverse, m), 0);
      ASSERT_EQ(KXBN_mul(product, inverse, a, nullptr), KXBN_OK);
      ASSERT_EQ(KXBN_mod(product, product, m, nullptr), KXBN_OK);
      EXPECT_EQ(product.hex(), "1") << a.hex() << " mod " << m.hex();
    }
  }
}

TEST(BignumPublic, NothingIsAllocatedWhereTheResultHasRoom) {
  const Big a(ones(1000)), b("3"), e("10001"), m(ones(1024)), q(ones(127));
  Big r;
  ASSERT_EQ(KXBN_copy(r, m), KXBN_OK);
  test::FailingAlloc memory(0);
  EXPECT_EQ(KXBN_modexp_public(r, a, e, m, nullptr), KXBN_OK);
  EXPECT_EQ(KXBN_modexp2_public(r, a, e, b, e, m, nullptr), KXBN_OK);
  EXPECT_EQ(KXBN_modinv_public(r, b, q, nullptr), KXBN_OK);
  EXPECT_EQ(memory.refused(), 0u);
}

}  // namespace
}  // namespace qex
