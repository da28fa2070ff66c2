// Numbers made, freed, converted, examined, added, shifted and multiplied.
#include "crypto/bignum/bignum.h"

#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
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

// set gives an existing number an arbitrary value.
void set(KXBN* n, const std::string& hex) {
  ASSERT_EQ(KXBN_copy(n, Big(hex)), KXBN_OK);
}

TEST(BignumNew, FreshNumberIsZeroOfOneWord) {
  KXBN* n = nullptr;
  ASSERT_EQ(KXBN_new(nullptr, 100, &n), KXBN_OK);
  EXPECT_EQ(n->pool, nullptr);
  EXPECT_EQ(n->used, 1u);
  EXPECT_EQ(n->digits[0], 0u);
  EXPECT_EQ(n->sign, 0u);
  EXPECT_EQ(n->capacity, 4u);  // 100 bits
  KXBN_free(n);
}

TEST(BignumNew, RoomIsRoundedUpToWords) {
  const struct {
    int32_t bits;
    uint32_t words;
  } cases[] = {{0, 16}, {1, 1}, {32, 1}, {33, 2}, {512, 16}, {0x80000, 16384}};
  for (const auto& c : cases) {
    Big n;
    ASSERT_EQ(KXBN_new(nullptr, c.bits, n.out()), KXBN_OK) << c.bits;
    EXPECT_EQ(n->capacity, c.words) << c.bits;
  }
}

TEST(BignumNew, SizeOutOfRangeIsRefused) {
  for (const int32_t bits : {0x80001, INT32_MAX, -1, INT32_MIN}) {
    KXBN marker{};
    KXBN* n = &marker;
    EXPECT_EQ(KXBN_new(nullptr, bits, &n), KXBN_BADARG) << bits;
    EXPECT_EQ(n, nullptr) << bits;
  }
}

TEST(BignumNew, FreeOfNullIsAllowed) {
  KXBN_free(nullptr);
  KXBN_free4(nullptr, nullptr, nullptr, nullptr);
}

TEST(BignumNew, FourAreMadeAndFreedAtOnce) {
  const long before = LiveBlocks();
  KXBN *a, *b, *c, *d;
  ASSERT_EQ(KXBN_new4(nullptr, 64, &a, &b, &c, &d), KXBN_OK);
  EXPECT_EQ(LiveBlocks(), before + 8);
  for (const KXBN* n : {a, b, c, d}) EXPECT_EQ(test::hex_of(n), "0");
  KXBN_free4(a, b, c, d);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(BignumNew, NullOutputIsSkipped) {
  KXBN *a, *d;
  ASSERT_EQ(KXBN_new4(nullptr, 64, &a, nullptr, nullptr, &d), KXBN_OK);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(d, nullptr);
  KXBN_free4(a, nullptr, nullptr, d);
}

TEST(BignumNew, FailureOfOneOfFourFreesTheOthers) {
  for (size_t nth = 0; nth < 8; ++nth) {
    const long before = LiveBlocks();
    FailingAlloc memory(nth);
    KXBN *a, *b, *c, *d;
    EXPECT_EQ(KXBN_new4(nullptr, 64, &a, &b, &c, &d), KXBN_NOMEM);
    EXPECT_EQ(LiveBlocks(), before) << nth;
    for (const KXBN* n : {a, b, c, d}) EXPECT_EQ(n, nullptr);
  }
  KXBN *a, *b;
  EXPECT_EQ(KXBN_new4(nullptr, -1, &a, nullptr, &b, nullptr), KXBN_BADARG);
}

TEST(BignumBytes, BigEndianOctetsAreRead) {
  const uint8_t octets[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
  Big n;
  ASSERT_EQ(KXBN_frombytes(n.out(), octets, sizeof octets, nullptr), KXBN_OK);
  EXPECT_EQ(n.hex(), "10203040506");
  EXPECT_EQ(n->capacity, (7u * 8 + 64 + 31) / 32);
}

TEST(BignumBytes, LittleEndianOctetsAreRead) {
  const uint8_t octets[] = {0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0x00};
  Big n;
  ASSERT_EQ(KXBN_frombytes_le(n.out(), octets, sizeof octets, nullptr), KXBN_OK);
  EXPECT_EQ(n.hex(), "10203040506");
}

TEST(BignumBytes, NoOctetsAreZero) {
  Big n;
  ASSERT_EQ(KXBN_frombytes(n.out(), nullptr, 0, nullptr), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumBytes, OutputIsPaddedOnTheLeft) {
  uint8_t buffer[8];
  ASSERT_EQ(KXBN_tobytes(Big("10203040506"), buffer, sizeof buffer), KXBN_OK);
  const uint8_t expected[] = {0, 0, 1, 2, 3, 4, 5, 6};
  EXPECT_EQ(memcmp(buffer, expected, sizeof expected), 0);
}

TEST(BignumBytes, LittleEndianOutputIsPaddedOnTheRight) {
  uint8_t buffer[8];
  ASSERT_EQ(KXBN_tobytes_le(Big("10203040506"), buffer, sizeof buffer), KXBN_OK);
  const uint8_t expected[] = {6, 5, 4, 3, 2, 1, 0, 0};
  EXPECT_EQ(memcmp(buffer, expected, sizeof expected), 0);
}

TEST(BignumBytes, ZeroTakesOneOctet) {
  uint8_t buffer[1] = {0xAA};
  EXPECT_EQ(KXBN_tobytes(Big("0"), buffer, 0), KXBN_BADARG);
  EXPECT_EQ(buffer[0], 0xAA);
  EXPECT_EQ(KXBN_tobytes(Big("0"), buffer, 1), KXBN_OK);
  EXPECT_EQ(buffer[0], 0);
}

TEST(BignumBytes, OutputTooSmallIsRefused) {
  uint8_t buffer[3];
  EXPECT_EQ(KXBN_tobytes(Big("10000"), buffer, 2), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes_le(Big("10000"), buffer, 2), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes(Big("10000"), buffer, 3), KXBN_OK);
}

TEST(BignumBytes, MoreThan65536OctetsAreRefused) {
  std::vector<uint8_t> octets(65537, 1);
  KXBN* n = nullptr;
  EXPECT_EQ(KXBN_frombytes(&n, octets.data(), 65537, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_frombytes_le(&n, octets.data(), 65537, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_frombytes(&n, octets.data(), SIZE_MAX, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes(Big("1"), octets.data(), 65537), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes(Big("1"), octets.data(), 65536), KXBN_OK);
  EXPECT_EQ(octets[65535], 1);
}

TEST(BignumBytes, RoomBeyondTheLargestNumberIsRefused) {
  std::vector<uint8_t> octets(65536, 0xFF);
  Big n;
  ASSERT_EQ(KXBN_frombytes(n.out(), octets.data(), 65528, nullptr), KXBN_OK);
  EXPECT_EQ(KXBN_bits(n), 65528u * 8);
  KXBN* refused = nullptr;
  EXPECT_EQ(KXBN_frombytes(&refused, octets.data(), 65529, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_frombytes(&refused, octets.data(), 65536, nullptr), KXBN_BADARG);
  EXPECT_EQ(refused, nullptr);
}

TEST(BignumBits, BitLengthAndSize) {
  const struct {
    const char* hex;
    uint32_t bits, size;
  } cases[] = {{"0", 0, 1},
               {"1", 1, 1},
               {"ff", 8, 1},
               {"100", 9, 1},
               {"ffffffff", 32, 1},
               {"100000000", 33, 2},
               {"-8000000000000000", 64, 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(KXBN_bits(Big(c.hex)), c.bits) << c.hex;
    EXPECT_EQ(KXBN_getsize(Big(c.hex)), c.size) << c.hex;
  }
}

TEST(BignumBits, TopZeroWordsDoNotCount) {
  Big n("1ff");
  ASSERT_EQ(KXBN_pad(n, 5), KXBN_OK);
  ASSERT_EQ(n->used, 5u);
  EXPECT_EQ(KXBN_bits(n), 9u);
  EXPECT_EQ(KXBN_getsize(n), 1u);
  EXPECT_EQ(KXBN_cmp(n, Big("1ff")), 0);
  EXPECT_EQ(KXBN_test(n, KXBN_IS_POSITIVE), 1u);
  Big sum;
  ASSERT_EQ(KXBN_add(sum, n, n), KXBN_OK);
  EXPECT_EQ(sum.hex(), "3fe");
}

#ifndef NDEBUG
TEST(BignumBitsDeathTest, PaddingToLessThanTheNumberIsABrokenExpectation) {
  const Big n("10000000000000000");  // three words
  EXPECT_EQ(KXBN_pad(n, 3), KXBN_OK);
  EXPECT_DEATH((void)KXBN_pad(n, 2), "^Expectation failed: KXBN_getsize\\(n\\) <= words, file ");
}
#endif

TEST(BignumBits, TestbitBeyondTheNumberIsZero) {
  Big n("80000001");
  EXPECT_EQ(KXBN_testbit(n, 0), 1u);
  EXPECT_EQ(KXBN_testbit(n, 1), 0u);
  EXPECT_EQ(KXBN_testbit(n, 31), 1u);
  for (const uint32_t index : {32u, 0x7FFFFu, 0x80000u, 0x80001u, UINT32_MAX}) {
    EXPECT_EQ(KXBN_testbit(n, index), 0u) << index;
  }
}

TEST(BignumBits, SetbitGrowsAndClears) {
  Big n("1");
  ASSERT_EQ(KXBN_setbit(n, 1000, 1), KXBN_OK);
  ASSERT_EQ(KXBN_setbit(n, 0, 0), KXBN_OK);
  EXPECT_EQ(n.hex(), power_of_two(1000));
  ASSERT_EQ(KXBN_setbit(n, 2000, 0), KXBN_OK);
  ASSERT_EQ(KXBN_setbit(n, 1000, 0), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumBits, ClearingTheLastBitOfANegativeNumberGivesPlainZero) {
  Big n("-4");
  ASSERT_EQ(KXBN_setbit(n, 2, 0), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumBits, SetbitIndexOutOfRangeIsRefused) {
  Big n("1");
  ASSERT_EQ(KXBN_setbit(n, 0x7FFFF, 1), KXBN_OK);
  EXPECT_EQ(KXBN_bits(n), kMaxBits);
  EXPECT_EQ(KXBN_setbit(n, 0x80000, 1), KXBN_BADARG);
  EXPECT_EQ(KXBN_setbit(n, UINT32_MAX, 1), KXBN_BADARG);
}

TEST(BignumValue, SetwordReplacesValueAndSign) {
  Big n("-123456789abcdef0");
  KXBN_setword(n, 77);
  EXPECT_EQ(n.hex(), "4d");
}

TEST(BignumValue, CopyGrowsTheTarget) {
  Big source(negated(ones(2000)));
  Big target("1");
  ASSERT_EQ(KXBN_copy(target, source), KXBN_OK);
  EXPECT_EQ(target.hex(), source.hex());
  ASSERT_EQ(KXBN_copy(target, target), KXBN_OK);
  EXPECT_EQ(target.hex(), source.hex());
}

TEST(BignumValue, KindsOfNumbers) {
  const struct {
    const char* hex;
    uint32_t kinds[8];
  } cases[] = {{"0", {1, 0, 0, 1, 0, 0, 0, 0}},         {"1", {0, 0, 1, 1, 1, 1, 0, 0}},
               {"-1", {0, 1, 1, 0, 0, 0, 0, 0}},        {"2", {0, 0, 1, 1, 0, 1, 0, 0}},
               {"100000001", {0, 0, 1, 1, 0, 1, 0, 0}}, {"-100000000", {0, 1, 1, 0, 0, 0, 0, 0}}};
  for (const auto& c : cases) {
    for (uint32_t kind = 0; kind < 8; ++kind) {
      EXPECT_EQ(KXBN_test(Big(c.hex), kind), c.kinds[kind]) << c.hex << " kind " << kind;
    }
    EXPECT_EQ(KXBN_test(Big(c.hex), UINT32_MAX), 0u);
  }
}

TEST(BignumValue, ComparisonIsSigned) {
  const char* const rising[] = {"-100000000", "-ffffffff", "-1", "0", "1", "2", "ffffffff", "100000000"};
  for (size_t i = 0; i < std::size(rising); ++i) {
    for (size_t j = 0; j < std::size(rising); ++j) {
      EXPECT_EQ(KXBN_cmp(Big(rising[i]), Big(rising[j])), i < j   ? -1
                                                          : i > j ? 1
                                                                  : 0)
          << rising[i] << " " << rising[j];
    }
  }
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

// Every allocation of each operation fails once; the code is 3 and nothing leaks.
template <class Operation>
void fail_every_allocation(const char* name, Operation operation, size_t least) {
  size_t nth = 0;
  for (;; ++nth) {
    const long before = LiveBlocks();
    FailingAlloc memory(nth);
    const uint32_t rc = operation();
    EXPECT_EQ(LiveBlocks(), before) << name << " " << nth;
    if (memory.refused() == 0) {
      EXPECT_EQ(rc, KXBN_OK) << name;
      break;
    }
    EXPECT_EQ(rc, KXBN_NOMEM) << name << " " << nth;
  }
  EXPECT_GE(nth, least) << name;
}

// small makes a number whose next word needs an allocation, inside the count.
struct Small {
  KXBN* n = nullptr;
  uint32_t rc;
  explicit Small(uint32_t word) {
    rc = KXBN_new(nullptr, 32, &n);
    if (rc == KXBN_OK) KXBN_setword(n, word);
  }
  ~Small() { KXBN_free(n); }
};

TEST(BignumMemory, AllocationFailureIsReportedAndNothingLeaks) {
  const uint8_t octets[40] = {1};
  const Big wide(ones(640));
  fail_every_allocation(
      "frombytes",
      [&] {
        KXBN* n = nullptr;
        const uint32_t rc = KXBN_frombytes(&n, octets, sizeof octets, nullptr);
        KXBN_free(n);
        return rc;
      },
      2);
  const auto grow = [&](const char* name, auto operation) {
    fail_every_allocation(
        name,
        [&] {
          Small n(UINT32_MAX);
          return n.rc != KXBN_OK ? n.rc : uint32_t(operation(n.n));
        },
        3);
  };
  grow("setbit", [](KXBN* n) { return KXBN_setbit(n, 100, 1); });
  grow("copy", [&](KXBN* n) { return KXBN_copy(n, wide); });
  grow("add", [&](KXBN* n) { return KXBN_add(n, n, wide); });
  grow("sub", [&](KXBN* n) { return KXBN_sub(n, n, wide); });
  grow("addword", [](KXBN* n) { return KXBN_addword(n, 1); });
  grow("lshift", [](KXBN* n) { return KXBN_lshift(n, 1); });
  grow("mul", [&](KXBN* n) { return KXBN_mul(n, n, wide, nullptr); });
  grow("mul apart", [&](KXBN* n) { return KXBN_mul(n, wide, wide, nullptr); });
}

}  // namespace
}  // namespace qex
