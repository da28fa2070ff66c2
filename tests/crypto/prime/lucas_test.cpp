// The Jacobi symbol and the Lucas test against Python's integers.
#include "crypto/prime/lucas.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/pool.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFails;
using test::hex_of;
using test::Pool;
using test::power_of_two;

int symbol_of(const KXBN* a, const KXBN* n) {
  int symbol = 9;
  EXPECT_EQ(bnlucas_jacobi(&symbol, a, n, nullptr), KXBN_OK);
  return symbol;
}

TEST(JacobiSymbol, AgreesWithEulersCriterionForEachFactor) {
  const auto vectors = test::read_vectors("jacobi.txt");
  ASSERT_GT(vectors.size(), 140u);
  std::set<int> seen;
  for (const auto& v : vectors) {
    const int symbol = symbol_of(Big(v.at("A")), Big(v.at("N")));
    EXPECT_EQ(std::to_string(symbol), v.at("Symbol")) << v.at("A") << " / " << v.at("N");
    seen.insert(symbol);
  }
  EXPECT_EQ(seen.size(), 3u);
}

TEST(JacobiSymbol, OfAPrimeIdentifiesTheSquares) {
  for (const uint32_t p : {3u, 5u, 7u, 11u, 13u, 17u, 97u, 101u, 127u}) {
    std::set<uint32_t> squares;
    for (uint32_t x = 1; x < p; ++x) squares.insert(x * x % p);
    for (uint32_t a = 0; a < 3 * p; ++a) {
      const int expected = a % p == 0 ? 0 : squares.count(a % p) ? 1 : -1;
      EXPECT_EQ(symbol_of(Big(hex_of(a)), Big(hex_of(p))), expected) << a << "/" << p;
      const uint32_t minus = (3 * p - a) % p;
      const int negative = minus == 0 ? 0 : squares.count(minus) ? 1 : -1;
      EXPECT_EQ(symbol_of(Big(a == 0 ? "0" : test::negated(hex_of(a))), Big(hex_of(p))), negative)
          << -int(a) << "/" << p;
    }
  }
}

TEST(JacobiSymbol, ModuloOneIsOne) {
  for (const char* a : {"0", "1", "2", "-5", "1fffffffffffffff"}) {
    EXPECT_EQ(symbol_of(Big(a), Big("1")), 1) << a;
  }
}

TEST(JacobiSymbol, CommonFactorGivesZero) {
  EXPECT_EQ(symbol_of(Big("f"), Big("15")), 0);
  EXPECT_EQ(symbol_of(Big("0"), Big("15")), 0);
  EXPECT_EQ(symbol_of(Big("15"), Big("15")), 0);
}

TEST(JacobiSymbol, LongRunsOfZeroBitsAreCounted) {
  // (2/p) is -1 for p = 3 modulo 8, so the symbol alternates with the exponent.
  const Big p("10000000000000000000000000000000000000003");
  for (uint32_t exponent = 0; exponent < 160; ++exponent) {
    EXPECT_EQ(symbol_of(Big(power_of_two(exponent)), p), exponent % 2 == 0 ? 1 : -1) << exponent;
  }
}

TEST(JacobiSymbol, OfANegativeNIsRefused) {
  int symbol = 9;
  EXPECT_EQ(bnlucas_jacobi(&symbol, Big("5"), Big("-7"), nullptr), KXBN_BADARG);
  EXPECT_EQ(symbol, 0);
}

TEST(JacobiSymbolDeathTest, EvenNIsABrokenPrecondition) {
  for (const std::string& n : {std::string("0"), std::string("8"), power_of_two(64)}) {
    int symbol = 0;
    EXPECT_DEATH(static_cast<void>(bnlucas_jacobi(&symbol, Big("5"), Big(n), nullptr)),
                 "Assertion failed: is_odd\\(n->digits\\[0\\]\\), file \\.\\.\\\\bnlucas\\.c, line ");
  }
}

TEST(JacobiSymbol, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big a("-7"), n("1fffffffffffffffffffffffffffffff");
  EachAllocationFails([&] {
    int symbol = 9;
    return bnlucas_jacobi(&symbol, a, n, nullptr);
  });
}

TEST(LucasTest, PassesPrimesAndExactlyTheKnownComposites) {
  const auto vectors = test::read_vectors("lucas.txt");
  ASSERT_EQ(vectors.size(), 1u);
  const uint32_t limit = uint32_t(std::stoul(vectors[0].at("Limit")));
  std::vector<bool> passes(limit, true);  // primes, to begin with
  for (uint32_t i = 2; i * i < limit; ++i) {
    for (uint32_t j = i * i; j < limit; j += i) passes[j] = false;
  }
  passes[0] = passes[1] = false;
  std::istringstream list(vectors[0].at("Pass"));
  size_t count = 0;
  for (uint32_t n; list >> n; ++count) passes[n] = true;
  ASSERT_GT(count, 100u);

  // All numbers up to 30,000, above that the ones that pass and their neighbours.
  uint32_t checked = 0;
  for (uint32_t n = 0; n < limit; ++n) {
    if (n > 30000 && n % 97 != 0 && !(passes[n] && n % 5 == 0)) continue;
    ASSERT_EQ(bnlucas_test(Big(hex_of(n)), nullptr), passes[n] ? KXBN_OK : KXBN_NONPRIME) << n;
    ++checked;
  }
  EXPECT_GT(checked, 30000u);
}

TEST(LucasTest, EveryKnownPseudoprimePasses) {
  std::istringstream list(test::read_vectors("lucas.txt").at(0).at("Pass"));
  for (uint32_t n; list >> n;) EXPECT_EQ(bnlucas_test(Big(hex_of(n)), nullptr), KXBN_OK) << n;
}

TEST(LucasTest, DistinguishesLargePrimesFromMostComposites) {
  for (const auto& v : test::read_vectors("primes.txt")) {
    const bool passes = v.at("Kind") == "prime" || v.at("Kind").find("lucas") != std::string::npos;
    const uint32_t expected = passes ? KXBN_OK : KXBN_NONPRIME;
    EXPECT_EQ(bnlucas_test(Big(v.at("N")), nullptr), expected) << v.at("N");
  }
}

TEST(LucasTest, PerfectSquaresAreComposite) {
  for (const uint64_t root : {2ull, 3ull, 3607ull, 3613ull, 65537ull, 0x7fffffffull}) {
    EXPECT_EQ(bnlucas_test(Big(hex_of(root * root)), nullptr), KXBN_NONPRIME) << root;
  }
}

TEST(LucasTest, PrimeWithoutAQIsReportedComposite) {
  std::istringstream list(test::read_vectors("lucas.txt").at(0).at("NoQ"));
  size_t count = 0;
  for (std::string n; list >> n; ++count) EXPECT_EQ(bnlucas_test(Big(n), nullptr), KXBN_NONPRIME) << n;
  EXPECT_EQ(count, 3u);
}

TEST(LucasTest, PrimeWithALateQPasses) {
  std::istringstream list(test::read_vectors("lucas.txt").at(0).at("LateQ"));
  size_t count = 0;
  for (std::string n; list >> n; ++count) EXPECT_EQ(bnlucas_test(Big(n), nullptr), KXBN_OK) << n;
  EXPECT_EQ(count, 3u);
}

TEST(LucasTest, EvenSmallAndNegativeNumbersNeedNoSequence) {
  EXPECT_EQ(bnlucas_test(Big("2"), nullptr), KXBN_OK);
  for (const char* n : {"0", "1", "4", "-1", "-2", "-3", "-5", "fffffffffffffffffffffffe"}) {
    EXPECT_EQ(bnlucas_test(Big(n), nullptr), KXBN_NONPRIME) << n;
  }
}

TEST(LucasTest, NumberTooLargeForItsSuccessorGivesBadarg) {
  // N + 1 has one bit more than the largest number.
  EXPECT_EQ(bnlucas_test(Big(test::ones(kMaxBits)), nullptr), KXBN_BADARG);
}

TEST(LucasTest, PoolGetsItsNumbersBack) {
  const Pool pool(512);
  EXPECT_EQ(bnlucas_test(Big("1fffffffffffffff"), pool), KXBN_OK);
  EXPECT_EQ(pool->freeMask, UINT32_MAX);
  EXPECT_EQ(pool->next, nullptr);
}

TEST(LucasTest, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big prime("1fffffffffffffff");
  EachAllocationFails([&] { return bnlucas_test(prime, nullptr); });
}

}  // namespace
}  // namespace qex
