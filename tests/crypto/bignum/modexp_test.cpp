// Modular exponentiation: the choice of the method, and the methods that divide.
#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/pool.h"

namespace qex {
namespace {

using test::Big;
using test::FailingAlloc;
using test::negated;
using test::ones;
using test::Pool;
using test::power_of_two;

TEST(BignumModexp, AgreesWithPythonsPow) {
  const auto vectors = test::read_vectors("bignum_modexp.txt");
  ASSERT_GT(vectors.size(), 900u);
  const Pool pool(512);
  for (const auto& v : vectors) {
    const Big a(v.at("A")), e(v.at("E")), m(v.at("M"));
    Big r;
    ASSERT_EQ(KXBN_modexp(r, a, e, m, nullptr), KXBN_OK);
    EXPECT_EQ(r.hex(), v.at("ModExp")) << a.hex() << " ^ " << e.hex() << " mod " << m.hex();
    ASSERT_EQ(KXBN_modexp(r, a, e, m, pool), KXBN_OK);
    EXPECT_EQ(r.hex(), v.at("ModExp")) << "from a pool";
  }
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu);  // every working number went back
}

TEST(BignumModexp, BaseNotBelowTheModulusIsReduced) {
  Big r, s;
  ASSERT_EQ(KXBN_modexp(r, Big("fffffffffffffffff"), Big("3"), Big("f1f1f1f1"), nullptr), KXBN_OK);
  Big reduced;
  ASSERT_EQ(KXBN_mod(reduced, Big("fffffffffffffffff"), Big("f1f1f1f1"), nullptr), KXBN_OK);
  ASSERT_EQ(KXBN_modexp(s, reduced, Big("3"), Big("f1f1f1f1"), nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), s.hex());
}

TEST(BignumModexp, ExponentOfZeroGivesOneButModuloOneZero) {
  Big r;
  for (const char* m : {"2", "3", "ffffffff", "100000000", "10000000000000001"}) {
    ASSERT_EQ(KXBN_modexp(r, Big("5"), Big("0"), Big(m), nullptr), KXBN_OK);
    EXPECT_EQ(r.hex(), "1") << m;
  }
  for (const char* e : {"0", "1", "10001"}) {
    ASSERT_EQ(KXBN_modexp(r, Big("5"), Big(e), Big("1"), nullptr), KXBN_OK);
    EXPECT_EQ(r.hex(), "0") << e;
  }
}

TEST(BignumModexp, ModulusOfZeroIsRefused) {
  Big r;
  EXPECT_EQ(KXBN_modexp(r, Big("5"), Big("3"), Big("0"), nullptr), KXBN_DIVZERO);
  EXPECT_EQ(KXBN_modexp(r, Big("0"), Big("0"), Big("0"), nullptr), KXBN_DIVZERO);
}

TEST(BignumModexp, NegativeExponentIsRefused) {
  Big r;
  EXPECT_EQ(KXBN_modexp(r, Big("5"), Big("-1"), Big("7"), nullptr), KXBN_BADARG);
}

TEST(BignumModexp, ResultMayBeAnyOperand) {
  for (const char* modulus : {"3e9", "3e8", "c0000001"}) {
    Big expected;
    ASSERT_EQ(KXBN_modexp(expected, Big("1234"), Big("11"), Big(modulus), nullptr), KXBN_OK);
    Big base("1234"), exp("11"), m(modulus);
    ASSERT_EQ(KXBN_modexp(base, base, exp, m, nullptr), KXBN_OK);
    EXPECT_EQ(base.hex(), expected.hex());
    Big base2("1234");
    ASSERT_EQ(KXBN_modexp(exp, base2, exp, m, nullptr), KXBN_OK);
    EXPECT_EQ(exp.hex(), expected.hex());
    ASSERT_EQ(KXBN_modexp(m, base2, Big("11"), m, nullptr), KXBN_OK);
    EXPECT_EQ(m.hex(), expected.hex());
  }
}

TEST(BignumModexp, ModulusWithATooLargeSquareIsRefused) {
  Big r;
  const Big one("1"), two("2"), three("3");
  // Odd: R^2 has 64 bits a word and one more. Even: only the products that occur count.
  EXPECT_EQ(KXBN_modexp(r, three, three, Big(ones(8192 * 32)), nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_modexp(r, three, three, Big(ones(kMaxBits)), nullptr), KXBN_BADARG);
  ASSERT_EQ(KXBN_modexp(r, three, three, Big(power_of_two(kMaxBits - 1)), nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), "1b");
  const Big large(ones(8193 * 32));
  EXPECT_EQ(KXBN_modexp(r, large, two, Big(power_of_two(8193 * 32)), nullptr), KXBN_BADARG);
}

TEST(BignumOddMultiple, CandidatesAreTriedInOrder) {
  const auto vectors = test::read_vectors("odd_multiple.txt");
  ASSERT_GT(vectors.size(), 300u);
  int taken[4] = {};
  for (const auto& v : vectors) {
    Big multiple;
    int candidate = -2;
    ASSERT_EQ(KXBN_odd_multiple(multiple, Big(v.at("m")), &candidate), KXBN_OK);
    ASSERT_EQ(std::to_string(candidate), v.at("Candidate")) << v.at("m");
    EXPECT_EQ(multiple.hex(), v.at("M")) << v.at("m");
    ++taken[candidate];
  }
  for (const int count : taken) EXPECT_GT(count, 0);
}

// A modulus of each candidate, against the method that divides.
TEST(BignumOddMultiple, EveryCandidateGivesTheSamePowerAsTheBinaryMethod) {
  test::Random random(3);
  for (const auto& v : test::read_vectors("odd_multiple.txt")) {
    const Big m(v.at("m"));
    const Big e(test::random_hex(random, 40));
    Big base(test::random_hex(random, KXBN_bits(m) + 5)), fast, slow;
    ASSERT_EQ(KXBN_mod(base, base, m, nullptr), KXBN_OK);
    ASSERT_EQ(KXBN_modexp(fast, base, e, m, nullptr), KXBN_OK);
    ASSERT_EQ(KXBN_modexp_binary(slow, base, e, m, nullptr), KXBN_OK);
    ASSERT_EQ(fast.hex(), slow.hex()) << base.hex() << " ^ " << e.hex() << " mod " << m.hex();
  }
}

TEST(BignumOddMultiple, MultipleBeyondTheLargestNumberIsRefused) {
  Big multiple;
  int candidate = 0;
  EXPECT_EQ(KXBN_odd_multiple(multiple, Big(ones(kMaxBits - 1)), &candidate), KXBN_BADARG);
}

TEST(BignumModexpBinary, BinaryMethodTakesOddAndEvenModuli) {
  test::Random random(4);
  for (int i = 0; i < 50; ++i) {
    const Big m(test::random_hex(random, 64 + random() % 4 * 32));
    Big base(test::random_hex(random, 60)), expected("1"), r;
    const uint32_t e = random() % 40;
    for (uint32_t k = 0; k < e; ++k) {
      ASSERT_EQ(KXBN_mul(expected, expected, base, nullptr), KXBN_OK);
      ASSERT_EQ(KXBN_mod(expected, expected, m, nullptr), KXBN_OK);
    }
    Big exponent;
    KXBN_setword(exponent, e);
    ASSERT_EQ(KXBN_modexp_binary(r, base, exponent, m, nullptr), KXBN_OK);
    EXPECT_EQ(r.hex(), expected.hex());
  }
}

TEST(BignumModexpMemory, AllocationFailureIsReportedAndNothingLeaks) {
  const Big base(ones(700)), negative(negated(ones(300))), small("3"), e17("10001"), e300(ones(300));
  // Montgomery, odd multiple, even, negative modulus.
  const Big moduli[] = {Big(ones(640)), Big(ones(630)), Big(power_of_two(600)), Big(negated(ones(630)))};
  for (const Big& m : moduli) {
    for (const Big* b : {&base, &negative, &small}) {
      for (const Big* e : {&e17, &e300}) {
        test::EachAllocationFails([&]() -> uint32_t {
          Number r;
          if (const uint32_t rc = r.make(nullptr, 32)) return rc;
          return KXBN_modexp(r, *b, *e, m, nullptr);
        });
      }
    }
  }
}

TEST(BignumModexpMemory, AllocationFailureGivesEveryPoolSlotBack) {
  const Big base(ones(700)), e(ones(300)), m(ones(630));
  for (size_t nth = 0;; ++nth) {
    const Pool pool(64);
    Big r;
    uint32_t rc;
    bool failed;
    {
      FailingAlloc memory(nth);
      rc = KXBN_modexp(r, base, e, m, pool);
      failed = memory.refused() != 0;
    }
    EXPECT_EQ(rc, failed ? KXBN_NOMEM : KXBN_OK);
    EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu) << nth;
    if (!failed) break;
  }
}

}  // namespace
}  // namespace qex
