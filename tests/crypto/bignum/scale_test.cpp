// x * 2^shift mod m, against Python's integers through the products of powers, and the estimate of a digit.
#include "crypto/bignum/scale.h"

#include <gtest/gtest.h>

#include "tests/support/big.h"

namespace qex {
namespace {

using test::Big;

// With digits of 32 bits the compiler divides what the reciprocal estimates: three digits by two are a
// quotient of one digit and a remainder, by long division bit by bit.
TEST(BignumScale, ReciprocalGivesTheQuotient) {
  test::Random random(14);
  const auto digit = [&] {
    static constexpr uint32_t kEdges[] = {0,          1,          2,          0x7FFFFFFF,
                                          0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
    return random() % 2 == 0 ? random() : kEdges[random() % 8];
  };
  for (int i = 0; i < 200000; ++i) {
    const uint32_t d1 = digit() | 0x80000000, d0 = digit();
    const uint64_t d = uint64_t{d1} << 32 | d0;
    const uint32_t u2 = random() % 4 == 0 ? d1 : digit(), u1 = random() % 4 == 0 ? d0 - 1 : digit(),
                   u0 = digit();
    uint64_t r = uint64_t{u2} << 32 | u1;
    uint32_t q = 0;
    if (r >= d) {
      q = UINT32_MAX;
    } else {
      for (int bit = 32; bit-- > 0;) {
        const bool out = r >> 63 != 0;
        r = r << 1 | (u0 >> bit & 1);
        const bool fits = out || r >= d;
        if (fits) r -= d;
        q = q << 1 | (fits ? 1u : 0u);
      }
    }
    ASSERT_EQ((digits::Reciprocal<uint32_t>(d1, d0).quotient(u2, u1, u0)), q)
        << u2 << ' ' << u1 << ' ' << u0 << " / " << d1 << ' ' << d0;
  }
}

template <class Digit>
void expect_shift_and_remainder(test::Random& random, size_t n) {
  constexpr uint32_t kBits = 8 * sizeof(Digit);
  const uint32_t bits = uint32_t(n) * kBits - random() % kBits;
  const Big m(test::random_hex(random, bits));
  Big x(test::random_hex(random, bits)), expected;
  ASSERT_EQ(KXBN_mod(x, x, m, nullptr), KXBN_OK);
  const uint32_t shift = random() % (2 * bits);
  ASSERT_EQ(KXBN_copy(expected, x), KXBN_OK);
  ASSERT_EQ(KXBN_lshift(expected, shift), KXBN_OK);
  ASSERT_EQ(KXBN_mod(expected, expected, m, nullptr), KXBN_OK);

  const size_t size = n * sizeof(Digit) / 4;
  const auto padded = [size](const Big& a) {
    std::vector<uint32_t> w(a->digits, a->digits + KXBN_getsize(a));
    w.resize(size);
    return w;
  };
  std::vector<uint32_t> r = padded(x), work(digits::scale_digits<Digit>(n, shift) * sizeof(Digit) / 4);
  digits::scale<Digit>(r.data(), r.data(), shift, padded(m).data(), n, work.data(), digits::mul_add<Digit>);
  EXPECT_EQ(r, padded(expected)) << x.hex() << " << " << shift << " mod " << m.hex();
}

TEST(BignumScale, EqualsShiftAndRemainder) {
  test::Random random(15);
  for (size_t n = 1; n <= 40; ++n) {
    for (int i = 0; i < 40; ++i) {
      expect_shift_and_remainder<uint32_t>(random, n);
      if constexpr (digits::kWide) expect_shift_and_remainder<uint64_t>(random, n);
    }
  }
}

}  // namespace
}  // namespace qex
