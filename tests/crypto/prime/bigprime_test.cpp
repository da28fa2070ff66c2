// Trial division and Miller-Rabin against numbers whose nature Python knows.
#include "crypto/prime/bigprime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/pool.h"
#include "tests/support/random_source.h"

namespace qex {
namespace {

using test::Big;
using test::ConstantSource;
using test::EachAllocationFails;
using test::hex_of;
using test::ListSource;
using test::Pool;
using test::SeededSource;

// is_prime is exact and slow, by other means than the library's.
bool is_prime(uint64_t n) {
  for (uint64_t d = 2; d <= uint64_t(std::sqrt(double(n))) + 1 && d < n; ++d) {
    if (n % d == 0) return false;
  }
  return n > 1;
}

TEST(SmallPrimes, AreTheFirst504Primes) {
  size_t i = 0;
  for (uint32_t n = 0; n <= 3607; ++n) {
    if (!is_prime(n)) continue;
    ASSERT_LT(i, kSmallPrimes.size());
    EXPECT_EQ(kSmallPrimes[i++], n);
  }
  EXPECT_EQ(i, 504u);
}

TEST(PrimeRounds, FollowTheTable) {
  // Each row's rounds at its least size, and those of the row below one bit short of it.
  const struct {
    uint32_t bits, rounds[3];
  } rows[] = {
      {kMaxBits, {1, 2, 2}}, {4096, {1, 2, 2}},   {4095, {1, 2, 2}},   {3072, {1, 2, 2}},
      {3071, {2, 3, 3}},     {2048, {2, 3, 3}},   {2047, {2, 3, 4}},   {1536, {2, 3, 4}},
      {1535, {3, 5, 6}},     {1024, {3, 5, 6}},   {1023, {5, 9, 12}},  {512, {5, 9, 12}},
      {511, {7, 12, 16}},    {384, {7, 12, 16}},  {383, {10, 20, 27}}, {256, {10, 20, 27}},
      {255, {12, 24, 32}},   {224, {12, 24, 32}}, {223, {15, 29, 37}}, {192, {15, 29, 37}},
      {191, {19, 35, 43}},   {160, {19, 35, 43}}, {159, {22, 38, 46}}, {140, {22, 38, 46}},
      {139, {28, 44, 52}},   {100, {28, 44, 52}}, {99, {39, 55, 63}},  {0, {39, 55, 63}},
  };
  for (const auto& row : rows) {
    for (uint32_t bound = 0; bound < 3; ++bound) {
      EXPECT_EQ(bigprime_rounds(row.bits, bound), row.rounds[bound]) << row.bits << " " << bound;
    }
  }
}

TEST(PrimeRoundsDeathTest, OtherBoundIsABrokenPrecondition) {
  for (const uint32_t bound : {3u, UINT32_MAX}) {
    EXPECT_DEATH(
        static_cast<void>(bigprime_rounds(1024, bound)),
        "Assertion failed: !\"invalid primality error bound\", file \\.\\.\\\\bigprime\\.c, line 1295");
  }
}

TEST(TrialDivision, IsExactBelow32Bits) {
  for (uint32_t n = 0; n < 20000; ++n) {
    ASSERT_EQ(bigprime_trial_division(Big(hex_of(n))), is_prime(n) ? KXBN_OK : KXBN_NONPRIME) << n;
  }
  // Around the square of the last small prime, and at the end of the range.
  for (const uint64_t from : {uint64_t{3607} * 3607 - 50, uint64_t{3613} * 3613 - 50, uint64_t{0x7fffff00}}) {
    for (uint64_t n = from; n < from + 256; ++n) {
      ASSERT_EQ(bigprime_trial_division(Big(hex_of(n))), is_prime(n) ? KXBN_OK : KXBN_NONPRIME) << n;
    }
  }
}

TEST(TrialDivision, From32BitsOnSeesSmallFactorsOnly) {
  const struct {
    uint64_t n;
    uint32_t code;
  } cases[] = {
      {0x80000000, KXBN_NONPRIME},                      // 2^31
      {uint64_t{65521} * 65519, KXBN_OK},               // 32 bits, both factors prime
      {uint64_t{65537} * 65539, KXBN_OK},               // 33 bits
      {uint64_t{3607} * 65537 * 65537, KXBN_NONPRIME},  //
      {uint64_t{3613} * 65537 * 65537, KXBN_OK},
      {(uint64_t{1} << 61) - 1, KXBN_OK},
  };
  for (const auto& c : cases) EXPECT_EQ(bigprime_trial_division(Big(hex_of(c.n))), c.code) << c.n;
}

TEST(TrialDivision, ProductOfTheLastSmallPrimeIsRejected) {
  EXPECT_EQ(bigprime_trial_division(Big(hex_of(uint64_t{3607} * 65537))), KXBN_NONPRIME);
}

TEST(TrialDivision, EverySmallPrimeIsSeen) {
  const Big large("1fffffffffffffff");  // 2^61 - 1
  for (const uint32_t p : kSmallPrimes) {
    const Big n;
    ASSERT_EQ(KXBN_mul(n, large, Big(hex_of(p)), nullptr), KXBN_OK);
    ASSERT_EQ(bigprime_trial_division(n), KXBN_NONPRIME) << p;
  }
}

TEST(TrialDivision, NegativeNumbersAreNotPrime) {
  for (const char* n : {"-1", "-2", "-3", "-d", "-1fffffffffffffff"}) {
    EXPECT_EQ(bigprime_trial_division(Big(n)), KXBN_NONPRIME) << n;
  }
}

TEST(MillerRabin, DistinguishesPrimesFromComposites) {
  const auto vectors = test::read_vectors("primes.txt");
  ASSERT_GT(vectors.size(), 60u);
  SeededSource random(1);
  for (const auto& v : vectors) {
    const uint32_t expected = v.at("Kind") == "prime" ? KXBN_OK : KXBN_NONPRIME;
    EXPECT_EQ(bigprime_miller_rabin(Big(v.at("N")), 10, &random, nullptr), expected) << v.at("N");
  }
}

TEST(MillerRabin, DistinguishesPrimesFromCompositesDownToTheSmallest) {
  SeededSource random(2);
  for (uint32_t n = 0; n < 3000; ++n) {
    ASSERT_EQ(bigprime_miller_rabin(Big(hex_of(n)), 20, &random, nullptr),
              is_prime(n) ? KXBN_OK : KXBN_NONPRIME)
        << n;
  }
}

TEST(MillerRabin, FirstBaseIs2) {
  // Strong pseudoprimes to the base 2 need a second base; other composites get none.
  for (const auto& v : test::read_vectors("primes.txt")) {
    if (v.at("Kind") == "prime") continue;
    SeededSource random(3);
    ASSERT_EQ(bigprime_miller_rabin(Big(v.at("N")), 64, &random, nullptr), KXBN_NONPRIME);
    const bool strong = v.at("Kind").find("2-strong") != std::string::npos;
    EXPECT_EQ(random.calls > 0, strong) << v.at("N");
  }
}

TEST(MillerRabin, FirstBaseIs2AndNot4) {
  // 341 - 1 = 4 * 85 and 2^85 = 32, 2^170 = 1 modulo 341 = 11 * 31: base 2 shows a factor, base 4 does not.
  SeededSource random(3);
  EXPECT_EQ(bigprime_miller_rabin(Big("155"), 64, &random, nullptr), KXBN_NONPRIME);
  EXPECT_EQ(random.calls, 0);
}

TEST(MillerRabin, OneRoundIsRaisedToTwo) {
  const Big prime(hex_of((uint64_t{1} << 61) - 1));
  for (const int32_t rounds : {1, 2}) {
    SeededSource random(4);
    EXPECT_EQ(bigprime_miller_rabin(prime, rounds, &random, nullptr), KXBN_OK);
    EXPECT_EQ(random.calls, 1) << rounds;
  }
}

TEST(MillerRabin, FewerThanOneRoundIsAsManyAsBound0Takes) {
  const Big prime(hex_of((uint64_t{1} << 61) - 1));
  for (const int32_t rounds : {0, -1, INT32_MIN}) {
    SeededSource random(5);
    EXPECT_EQ(bigprime_miller_rabin(prime, rounds, &random, nullptr), KXBN_OK);
    EXPECT_EQ(random.calls, 38) << rounds;
    EXPECT_EQ(random.lastBits, 61u);
  }
}

TEST(MillerRabin, FewerThanTwoBitsAndNegativeNumbersAreComposite) {
  SeededSource random(6);
  for (const char* n : {"0", "1", "-1", "-2", "-3", "-1fffffffffffffff"}) {
    EXPECT_EQ(bigprime_miller_rabin(Big(n), 5, &random, nullptr), KXBN_NONPRIME) << n;
  }
}

TEST(MillerRabin, BaseNotBelowTheCandidateLosesItsTopBit) {
  // 3277 = 29 * 113 is a strong pseudoprime to the base 2.
  const struct {
    uint32_t base, code;
  } cases[] = {
      {3283, KXBN_OK},        // 1235 proves nothing; 6 would
      {3306, KXBN_OK},        // 1258; 29
      {3279, KXBN_NONPRIME},  // 1231 does; 2 would not
      {3281, KXBN_NONPRIME},  // 1233; 4
  };
  for (const auto& c : cases) {
    ListSource random({hex_of(c.base)});
    EXPECT_EQ(bigprime_miller_rabin(Big(hex_of(3277)), 2, &random, nullptr), c.code) << c.base;
  }
}

TEST(MillerRabin, BaseBelowTwoIsRaisedByThree) {
  // 2047 = 23 * 89 is a strong pseudoprime to the bases 2 and 4, and not to 3.
  ListSource zero({"0"});
  EXPECT_EQ(bigprime_miller_rabin(Big("7ff"), 2, &zero, nullptr), KXBN_NONPRIME);
  ListSource one({"1"});
  EXPECT_EQ(bigprime_miller_rabin(Big("7ff"), 2, &one, nullptr), KXBN_OK);
}

TEST(MillerRabin, NoBaseMakesTwoOrThreeComposite) {
  for (const char* prime : {"2", "3"}) {
    for (const char* base : {"0", "1", "2", "3"}) {
      const ConstantSource random(base);
      EXPECT_EQ(bigprime_miller_rabin(Big(prime), 10, &random, nullptr), KXBN_OK) << prime << " " << base;
    }
  }
}

TEST(MillerRabin, CodeOfTheRandomSourceIsPassedUp) {
  const Big prime(hex_of((uint64_t{1} << 61) - 1));
  ListSource random({"5", "7"}, 77);
  EXPECT_EQ(bigprime_miller_rabin(prime, 3, &random, nullptr), KXBN_OK);
  EXPECT_EQ(bigprime_miller_rabin(prime, 2, &random, nullptr), 77u);
  EXPECT_EQ(bigprime_miller_rabin(prime, 2, nullptr, nullptr), KXBN_BADARG);
}

TEST(PrimeTest, DistinguishesPrimesFromCompositesForEveryBound) {
  SeededSource random(7);
  for (const auto& v : test::read_vectors("primes.txt")) {
    const uint32_t expected = v.at("Kind") == "prime" ? KXBN_OK : KXBN_NONPRIME;
    const uint32_t step = v.at("N").size() > 300 ? 2 : 1;  // the long ones with fewer bounds
    for (uint32_t bound = 0; bound < 3; bound += step) {
      EXPECT_EQ(bigprime_test(Big(v.at("N")), bound, &random, nullptr), expected) << v.at("N");
    }
  }
  for (uint32_t n = 0; n < 3000; ++n) {
    ASSERT_EQ(bigprime_test(Big(hex_of(n)), 0, &random, nullptr), is_prime(n) ? KXBN_OK : KXBN_NONPRIME) << n;
  }
}

TEST(PrimeTest, SmallFactorsAreFoundBeforeAnyRound) {
  for (const auto& v : test::read_vectors("primes.txt")) {
    if (v.at("Kind").find("small") == std::string::npos) continue;
    EXPECT_EQ(bigprime_trial_division(Big(v.at("N"))), KXBN_NONPRIME) << v.at("N");
  }
  EXPECT_EQ(bigprime_trial_division(Big("100040003")), KXBN_OK);  // 65537 * 65539
  SeededSource random(8);
  EXPECT_EQ(bigprime_test(Big("100040003"), 0, &random, nullptr), KXBN_NONPRIME);
}

TEST(PrimeTest, RoundsAreThoseOfTheBound) {
  const Big prime(hex_of((uint64_t{1} << 61) - 1));
  const int draws[] = {38, 54, 62};
  for (uint32_t bound = 0; bound < 3; ++bound) {
    SeededSource random(9);
    EXPECT_EQ(bigprime_test(prime, bound, &random, nullptr), KXBN_OK);
    EXPECT_EQ(random.calls, draws[bound]);
  }
}

TEST(PrimeTest, WithoutARandomSourceIsRefused) {
  EXPECT_EQ(bigprime_test(Big("4"), 0, nullptr, nullptr), KXBN_BADARG);
  EXPECT_EQ(bigprime_test(Big("5"), 0, nullptr, nullptr), KXBN_BADARG);
}

TEST(PrimeTest, PoolGetsItsNumbersBack) {
  const Pool pool(512);
  SeededSource random(10);
  EXPECT_EQ(bigprime_test(Big("1fffffffffffffff"), 0, &random, pool), KXBN_OK);
  EXPECT_EQ(bigprime_test(Big("1fffffffffffffff"), 0, &random, pool), KXBN_OK);
  EXPECT_EQ(pool->freeMask, UINT32_MAX);
  EXPECT_EQ(pool->next, nullptr);
}

TEST(PrimeTest, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big prime("1fffffffffffffff"), composite("7ff"), base("3");
  EachAllocationFails([&] {
    SeededSource random(11);
    return bigprime_test(prime, 0, &random, nullptr);
  });
  EachAllocationFails(
      [&] {
        const RandomSource random{
            [](void* context, KXBN* n, uint32_t) { return KXBN_copy(n, static_cast<const KXBN*>(context)); },
            static_cast<KXBN*>(base)};
        return bigprime_miller_rabin(composite, 2, &random, nullptr);
      },
      {.expected = KXBN_NONPRIME});
}

}  // namespace
}  // namespace qex
