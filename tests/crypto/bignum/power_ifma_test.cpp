// The algorithm of the form "ifma" over its instructions in plain C++: on every machine that has 64-bit
// digits, and under every sanitizer. power_test.cpp runs the form itself where the processor has them.
#include <gtest/gtest.h>

#include "crypto/bignum/digits.h"

#if defined(__SIZEOF_INT128__)

#include <array>

#include "crypto/bignum/ifma.h"
#include "crypto/bignum/power_steps.h"
#include "tests/crypto/bignum/power_cases.h"

namespace qex {
namespace {

// PlainLanes does what the instruction manual says of each instruction, and notices lanes that overflow.
struct PlainLanes {
  static inline bool overflow = false;
  using Vector = std::array<uint64_t, 8>;
  static constexpr uint64_t kMask = (uint64_t{1} << 52) - 1;

  template <class Operation>
  static Vector each(Operation operation) {
    Vector r;
    for (size_t i = 0; i < r.size(); ++i) r[i] = operation(i);
    return r;
  }
  static uint64_t sum(uint64_t a, uint64_t b) {
    overflow |= b > ~a;
    return a + b;
  }
  static unsigned __int128 product(uint64_t a, uint64_t b) {
    return static_cast<unsigned __int128>(a & kMask) * (b & kMask);
  }

  static Vector zero() { return {}; }
  static Vector load(const uint64_t* p) {
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    return each([p](size_t i) { return p[i]; });
  }
  static void store(uint64_t* p, const Vector& a) {
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    for (size_t i = 0; i < a.size(); ++i) p[i] = a[i];
  }
  static Vector broadcast(uint64_t d) {
    return each([d](size_t) { return d; });
  }
  static Vector broadcast_first(const Vector& a) { return broadcast(a[0]); }
  static Vector add_low(const Vector& s, const Vector& a, const Vector& b) {
    return each([&](size_t i) { return sum(s[i], uint64_t(product(a[i], b[i])) & kMask); });
  }
  static Vector add_high(const Vector& s, const Vector& a, const Vector& b) {
    return each([&](size_t i) { return sum(s[i], uint64_t(product(a[i], b[i]) >> 52)); });
  }
  static Vector add(const Vector& a, const Vector& b) {
    return each([&](size_t i) { return sum(a[i], b[i]); });
  }
  static Vector add_one(const Vector& a, uint8_t lanes) {
    return each([&](size_t i) { return a[i] + (lanes >> i & 1u); });
  }
  static Vector both(const Vector& a, const Vector& b) {
    return each([&](size_t i) { return a[i] & b[i]; });
  }
  static Vector above_52(const Vector& a) {
    return each([&](size_t i) { return a[i] >> 52; });
  }
  static Vector first_above_52(const Vector& a) { return {a[0] >> 52}; }
  static Vector down(const Vector& a, const Vector& next) {
    return each([&](size_t i) { return i < 7 ? a[i + 1] : next[0]; });
  }
  static Vector up(const Vector& previous, const Vector& a) {
    return each([&](size_t i) { return i > 0 ? a[i - 1] : previous[7]; });
  }
  template <class Test>
  static uint8_t lanes_where(Test test) {
    unsigned lanes = 0;
    for (size_t i = 0; i < 8; ++i) lanes |= unsigned{test(i)} << i;
    return uint8_t(lanes);
  }
  static uint8_t lanes_above(const Vector& a, const Vector& b) {
    return lanes_where([&](size_t i) { return a[i] > b[i]; });
  }
  static uint8_t lanes_equal(const Vector& a, const Vector& b) {
    return lanes_where([&](size_t i) { return a[i] == b[i]; });
  }
  static uint64_t row(uint32_t* r, const uint32_t* a, size_t n, uint64_t w, uint64_t carry) {
    return digits::mul_add<uint64_t>(r, a, n, w, carry);
  }
};

void power_plain_lanes(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n) {
  PowerSteps<IfmaKernel<PlainLanes>>(m, n).compute(r, terms, count);
}

TEST(BignumPowerIfma, ModuliOfEveryNumberOfDigits) {
  if (!digits::kWide) GTEST_SKIP() << "octets are loaded as on x86-64";
  EXPECT_GT(test::ExpectPowers("plain lanes", power_plain_lanes, kIfmaMinBits, kIfmaMaxBits), 1500u);
  EXPECT_FALSE(PlainLanes::overflow);
}

// Moduli with digits of all ones, where carries run through every lane.
TEST(BignumPowerIfma, PowersOfTwoModuloOnes) {
  if (!digits::kWide) GTEST_SKIP() << "octets are loaded as on x86-64";
  for (uint32_t bits = kIfmaMinBits; bits <= kIfmaMaxBits; bits += 13) {
    test::Words m((bits + 31) / 32, 0xFFFFFFFF);
    m.back() >>= (32 - bits % 32) % 32;
    // 2^bits = 1 modulo 2^bits - 1: the power of 2 by `bits` is 1, by one less it has only its top bit.
    test::Words two(m.size()), expected(m.size());
    two[0] = 2;
    expected[0] = 1;
    EXPECT_EQ(test::PowerOf(power_plain_lanes, m, {two}, {{bits}}), expected) << bits;
    expected[0] = 0;
    expected[(bits - 1) / 32] = uint32_t{1} << (bits - 1) % 32;
    EXPECT_EQ(test::PowerOf(power_plain_lanes, m, {two}, {{bits - 1}}), expected) << bits;
  }
}

}  // namespace
}  // namespace qex

#endif
