// Sums, shifts and products.
#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFailsAsItGrows;
using test::negated;
using test::ones;
using test::power_of_two;

// set gives an existing number an arbitrary value.
void set(KXBN* n, const std::string& hex) {
  ASSERT_EQ(KXBN_copy(n, Big(hex)), KXBN_OK);
}

struct Sum {
  const char *a, *b, *sum, *difference;
};

// From Python.
constexpr Sum kSums[] = {
    {"0", "0", "0", "0"},
    {"1", "2", "3", "-1"},
    {"5", "-5", "0", "a"},
    {"-5", "-5", "-a", "0"},
    {"-7", "3", "-4", "-a"},
    {"3", "-7", "-4", "a"},
    {"ffffffff", "1", "100000000", "fffffffe"},
    {"-100000000", "1", "-ffffffff", "-100000001"},
    {"ffffffffffffffffffffffff", "1", "1000000000000000000000000", "fffffffffffffffffffffffe"},
    {"1", "ffffffffffffffffffffffff", "1000000000000000000000000", "-fffffffffffffffffffffffe"},
    {"1000000000000000000000000", "ffffffffffffffffffffffff", "1ffffffffffffffffffffffff", "1"},
    {"ffffffffffffffff", "ffffffffffffffff", "1fffffffffffffffe", "0"},
};

TEST(BignumAdd, SumsAndDifferences) {
  for (const Sum& c : kSums) {
    Big r;
    ASSERT_EQ(KXBN_add(r, Big(c.a), Big(c.b)), KXBN_OK);
    EXPECT_EQ(r.hex(), c.sum) << c.a << " + " << c.b;
    ASSERT_EQ(KXBN_sub(r, Big(c.a), Big(c.b)), KXBN_OK);
    EXPECT_EQ(r.hex(), c.difference) << c.a << " - " << c.b;
  }
}

TEST(BignumAdd, ResultMayBeAnOperand) {
  for (const Sum& c : kSums) {
    Big a(c.a), b(c.b), a2(c.a), b2(c.b);
    ASSERT_EQ(KXBN_add(a, a, b), KXBN_OK);
    EXPECT_EQ(a.hex(), c.sum);
    ASSERT_EQ(KXBN_add(b, a2, b), KXBN_OK);
    EXPECT_EQ(b.hex(), c.sum);
    Big a3(c.a), b3(c.b);
    ASSERT_EQ(KXBN_sub(a2, a2, b2), KXBN_OK);
    EXPECT_EQ(a2.hex(), c.difference);
    ASSERT_EQ(KXBN_sub(b3, a3, b3), KXBN_OK);
    EXPECT_EQ(b3.hex(), c.difference);
    ASSERT_EQ(KXBN_sub(a3, a3, a3), KXBN_OK);
    EXPECT_EQ(a3.hex(), "0");
  }
}

TEST(BignumAdd, SumBeyondTheLargestNumberIsRefused) {
  Big largest(ones(kMaxBits));
  Big r;
  EXPECT_EQ(KXBN_add(r, largest, Big("1")), KXBN_BADARG);
  EXPECT_EQ(KXBN_sub(r, Big("-1"), largest), KXBN_BADARG);
  EXPECT_EQ(KXBN_addword(largest, 1), KXBN_BADARG);
  set(r, ones(kMaxBits));
  ASSERT_EQ(KXBN_sub(r, r, Big("1")), KXBN_OK);
  ASSERT_EQ(KXBN_add(r, r, Big("1")), KXBN_OK);
  EXPECT_EQ(r.hex(), ones(kMaxBits));
}

TEST(BignumAddword, CarriesUpwardAndGrows) {
  Big n(ones(96));
  n->capacity = 3;  // as if there were no room
  ASSERT_EQ(KXBN_addword(n, 1), KXBN_OK);
  EXPECT_EQ(n.hex(), power_of_two(96));
  Big m("ffffffff");
  ASSERT_EQ(KXBN_addword(m, UINT32_MAX), KXBN_OK);
  EXPECT_EQ(m.hex(), "1fffffffe");
  ASSERT_EQ(KXBN_addword(m, 0), KXBN_OK);
  EXPECT_EQ(m.hex(), "1fffffffe");
}

TEST(BignumAddword, SignIsNotConsulted) {
  Big n("-5");
  ASSERT_EQ(KXBN_addword(n, 2), KXBN_OK);
  EXPECT_EQ(n.hex(), "-7");
}

TEST(BignumShift, ShiftsByBitsAndWords) {
  for (const uint32_t count : {0u, 1u, 31u, 32u, 33u, 64u, 1000u}) {
    Big n("-1");
    ASSERT_EQ(KXBN_lshift(n, count), KXBN_OK);
    EXPECT_EQ(n.hex(), negated(power_of_two(count))) << count;
  }
  Big n("123456789abcdef0fedcba98");
  ASSERT_EQ(KXBN_lshift(n, 36), KXBN_OK);
  EXPECT_EQ(n.hex(), "123456789abcdef0fedcba98000000000");
}

TEST(BignumShift, ZeroStaysZeroAtAnyCount) {
  Big n("0");
  ASSERT_EQ(KXBN_lshift(n, UINT32_MAX), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumShift, BeyondTheLargestNumberIsRefused) {
  Big n("1");
  EXPECT_EQ(KXBN_lshift(n, kMaxBits), KXBN_BADARG);
  EXPECT_EQ(KXBN_lshift(n, UINT32_MAX), KXBN_BADARG);
  ASSERT_EQ(KXBN_lshift(n, kMaxBits - 1), KXBN_OK);
  EXPECT_EQ(KXBN_bits(n), kMaxBits);
}

TEST(BignumShift, PowersOfTwoAreStrippedAndCounted) {
  for (const uint32_t count : {0u, 1u, 31u, 32u, 33u, 64u, 95u, 1000u}) {
    for (const char* odd : {"1", "3", "80000001", "fedcba9876543210fedcba98765432100000001"}) {
      Big n(odd);
      ASSERT_EQ(KXBN_lshift(n, count), KXBN_OK);
      EXPECT_EQ(KXBN_strip_twos(n), count) << odd;
      EXPECT_EQ(n.hex(), odd) << count;
    }
  }
  Big padded("6");
  ASSERT_EQ(KXBN_pad(padded, 4), KXBN_OK);
  EXPECT_EQ(KXBN_strip_twos(padded), 1u);
  EXPECT_EQ(padded.hex(), "3");
}

TEST(BignumShiftDeathTest, ZeroHasNoOddPart) {
  const Big zero("0");
  EXPECT_DEATH((void)KXBN_strip_twos(zero),
               "^Assertion failed: KXBN_getsize\\(n\\) >= 2, file \\.\\.\\\\bnlucas\\.c, line 74\n");
}

TEST(BignumMul, SignsAndZero) {
  const struct {
    const char *a, *b, *product;
  } cases[] = {{"3", "5", "f"},   {"-3", "5", "-f"}, {"3", "-5", "-f"},
               {"-3", "-5", "f"}, {"0", "-5", "0"},  {"-ffffffff", "ffffffff", "-fffffffe00000001"}};
  for (const auto& c : cases) {
    Big r;
    ASSERT_EQ(KXBN_mul(r, Big(c.a), Big(c.b), nullptr), KXBN_OK);
    EXPECT_EQ(r.hex(), c.product) << c.a << " * " << c.b;
  }
}

// (2^a - 1)(2^b - 1) = 2^(a+b) - 2^a - 2^b + 1 holds every carry that there is.
TEST(BignumMul, ProductsOfAllOnes) {
  for (const uint32_t a : {32u, 64u, 96u, 160u, 2048u}) {
    for (const uint32_t b : {32u, 64u, 96u, 128u, 1056u}) {
      Big product, expected(power_of_two(a + b));
      ASSERT_EQ(KXBN_mul(product, Big(ones(a)), Big(ones(b)), nullptr), KXBN_OK);
      ASSERT_EQ(KXBN_sub(expected, expected, Big(power_of_two(a))), KXBN_OK);
      ASSERT_EQ(KXBN_sub(expected, expected, Big(power_of_two(b))), KXBN_OK);
      ASSERT_EQ(KXBN_addword(expected, 1), KXBN_OK);
      EXPECT_EQ(product.hex(), expected.hex()) << a << " " << b;
    }
  }
}

TEST(BignumMul, ResultMayBeAnOperand) {
  Big a("-123456789abcdef"), b("fedcba987654321"), c("-ffffffffffffffffff");
  ASSERT_EQ(KXBN_mul(a, a, b, nullptr), KXBN_OK);
  EXPECT_EQ(a.hex(), "-121fa00ad77d7422236d88fe5618cf");  // from Python
  a = Big("-123456789abcdef");
  ASSERT_EQ(KXBN_mul(b, a, b, nullptr), KXBN_OK);
  EXPECT_EQ(b.hex(), "-121fa00ad77d7422236d88fe5618cf");
  ASSERT_EQ(KXBN_mul(c, c, c, nullptr), KXBN_OK);
  EXPECT_EQ(c.hex(), "fffffffffffffffffe000000000000000001");
}

TEST(BignumMul, ProductBeyondTheLargestNumberIsRefused) {
  Big half(power_of_two(kMaxBits / 2));
  Big r;
  EXPECT_EQ(KXBN_mul(r, half, half, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_mul(half, half, half, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_mul(r, Big(power_of_two(kMaxBits / 2 - 1)), half, nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), power_of_two(kMaxBits - 1));
  // The words of the factors add up to one too many, the product has room.
  EXPECT_EQ(KXBN_mul(r, Big(ones(kMaxBits)), Big("1"), nullptr), KXBN_OK);
  EXPECT_EQ(r.hex(), ones(kMaxBits));
  EXPECT_EQ(KXBN_mul(r, Big(ones(kMaxBits)), Big("2"), nullptr), KXBN_BADARG);
  EXPECT_EQ(r.hex(), "0");
}

TEST(BignumArithMemory, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big wide(ones(640));
  EachAllocationFailsAsItGrows([&](KXBN* n) { return KXBN_add(n, n, wide); });
  EachAllocationFailsAsItGrows([&](KXBN* n) { return KXBN_sub(n, n, wide); });
  EachAllocationFailsAsItGrows([](KXBN* n) { return KXBN_addword(n, 1); });
  EachAllocationFailsAsItGrows([](KXBN* n) { return KXBN_lshift(n, 1); });
  EachAllocationFailsAsItGrows([&](KXBN* n) { return KXBN_mul(n, n, wide, nullptr); });
  EachAllocationFailsAsItGrows([&](KXBN* n) { return KXBN_mul(n, wide, wide, nullptr); });
}

}  // namespace
}  // namespace qex
