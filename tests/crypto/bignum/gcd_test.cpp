// Greatest common divisor and modular inverse.
#include <gtest/gtest.h>

#include "crypto/bignum/number.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFailsAsItGrows;
using test::ones;
using test::power_of_two;

TEST(BignumModinv, AgreesWithPython) {
  const auto vectors = test::read_vectors("bignum_modinv.txt");
  ASSERT_GT(vectors.size(), 100u);
  for (const auto& v : vectors) {
    Big r;
    const uint32_t rc = KXBN_modinv(r, Big(v.at("A")), Big(v.at("M")), nullptr);
    if (v.at("Inverse") == "none") {
      EXPECT_EQ(rc, KXBN_NONPRIME) << v.at("A") << " mod " << v.at("M");
    } else {
      ASSERT_EQ(rc, KXBN_OK) << v.at("A") << " mod " << v.at("M");
      EXPECT_EQ(r.hex(), v.at("Inverse")) << v.at("A") << " mod " << v.at("M");
    }
  }
}

TEST(BignumModinv, SixModuloNineHasNoInverse) {
  Big r;
  EXPECT_EQ(KXBN_modinv(r, Big("6"), Big("9"), nullptr), KXBN_NONPRIME);
}

TEST(BignumModinv, ModulusOfZeroOrLessIsRefused) {
  Big r;
  EXPECT_EQ(KXBN_modinv(r, Big("1"), Big("0"), nullptr), KXBN_DIVZERO);
  EXPECT_EQ(KXBN_modinv(r, Big("3"), Big("-7"), nullptr), KXBN_NONPRIME);
  EXPECT_EQ(KXBN_modinv(r, Big("1"), Big("-1"), nullptr), KXBN_NONPRIME);
}

TEST(BignumModinv, ResultMayBeAnOperand) {
  Big a("3"), m("7");
  ASSERT_EQ(KXBN_modinv(a, a, m, nullptr), KXBN_OK);
  EXPECT_EQ(a.hex(), "5");
  ASSERT_EQ(KXBN_modinv(m, a, m, nullptr), KXBN_OK);
  EXPECT_EQ(m.hex(), "3");
}

TEST(BignumXgcd, CoefficientAndDivisorFulfilTheLaw) {
  test::Random random(2);
  for (int i = 0; i < 300; ++i) {
    const Big common(test::random_hex(random, 1 + random() % 60));
    Big a(test::random_hex(random, 1 + random() % 300));
    Big m(test::random_hex(random, 1 + random() % 300));
    ASSERT_EQ(KXBN_mul(a, a, common, nullptr), KXBN_OK);
    ASSERT_EQ(KXBN_mul(m, m, common, nullptr), KXBN_OK);
    Number x, g;
    ASSERT_EQ(KXBN_xgcd(a, m, x.out(), g.out(), nullptr), KXBN_OK);
    Big law;
    ASSERT_EQ(KXBN_mul(law, a, x, nullptr), KXBN_OK);
    ASSERT_EQ(KXBN_sub(law, law, g), KXBN_OK);
    ASSERT_EQ(KXBN_mod(law, law, m, nullptr), KXBN_OK);
    EXPECT_EQ(law.hex(), "0");
    ASSERT_EQ(KXBN_mod(law, a, g, nullptr), KXBN_OK);
    EXPECT_EQ(law.hex(), "0");
    ASSERT_EQ(KXBN_mod(law, m, g, nullptr), KXBN_OK);
    EXPECT_EQ(law.hex(), "0");
    ASSERT_EQ(KXBN_mod(law, g, common, nullptr), KXBN_OK);
    EXPECT_EQ(law.hex(), "0");
  }
}

TEST(BignumXgcd, ZeroOperandsEnd) {
  Number x, g;
  ASSERT_EQ(KXBN_xgcd(Big("0"), Big("0"), x.out(), g.out(), nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(g), "0");
  ASSERT_EQ(KXBN_xgcd(Big("0"), Big("c"), x.out(), g.out(), nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(g), "c");
}

TEST(BignumModinv, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big a(ones(2000)), m(power_of_two(900));
  EachAllocationFailsAsItGrows([&](KXBN* n) { return KXBN_modinv(n, a, m, nullptr); });
}

}  // namespace
}  // namespace qex
