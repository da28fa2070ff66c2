// The word kernels: carries at their bounds, both digit widths, and the slow obvious way.
#include "crypto/bignum/words.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "crypto/bignum/digits.h"
#include "tests/support/big.h"

namespace qex {
namespace {

using Words = std::vector<uint32_t>;

constexpr uint32_t kOnes = UINT32_MAX;

Words random_words(test::Random& random, size_t n) {
  Words w(n);
  for (uint32_t& x : w) {
    const uint32_t kind = random() % 6;
    x = kind == 0 ? 0 : kind == 1 ? kOnes : random();
  }
  return w;
}

// The slow obvious way, word by word.
Words product(const Words& a, const Words& b) {
  Words r(a.size() + b.size(), 0);
  for (size_t i = 0; i < a.size(); ++i) {
    uint64_t carry = 0;
    for (size_t j = 0; j < b.size(); ++j) {
      carry += uint64_t{a[i]} * b[j] + r[i + j];
      r[i + j] = uint32_t(carry);
      carry >>= 32;
    }
    r[i + b.size()] = uint32_t(carry);
  }
  return r;
}

int compare(const Words& a, const Words& b) {
  for (size_t i = std::max(a.size(), b.size()); i-- > 0;) {
    const uint32_t x = i < a.size() ? a[i] : 0;
    const uint32_t y = i < b.size() ? b[i] : 0;
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

// remainder shifts the bits of x into r one by one and subtracts m whenever it fits.
Words remainder(const Words& x, const Words& m) {
  Words r(m.size() + 1, 0);
  for (size_t bit = x.size() * 32; bit-- > 0;) {
    uint32_t in = x[bit / 32] >> bit % 32 & 1;
    for (uint32_t& word : r) {
      const uint32_t out = word >> 31;
      word = word << 1 | in;
      in = out;
    }
    if (compare(r, m) < 0) continue;
    uint64_t borrow = 0;
    for (size_t i = 0; i < r.size(); ++i) {
      const uint64_t t = uint64_t{r[i]} - (i < m.size() ? m[i] : 0) - borrow;
      r[i] = uint32_t(t);
      borrow = t >> 63;
    }
  }
  r.resize(m.size());
  return r;
}

TEST(WordKernels, ClearSetsEveryWord) {
  Words r = {1, 2, 3};
  ClearWords(r.data(), 2);
  EXPECT_EQ(r, (Words{0, 0, 3}));
  ClearWords(nullptr, 0);
}

TEST(WordKernels, CompareStartsAtTheTop) {
  const Words a = {9, 1}, b = {0, 2};
  EXPECT_EQ(CompareWords(a.data(), b.data(), 2), -1);
  EXPECT_EQ(CompareWords(b.data(), a.data(), 2), 1);
  EXPECT_EQ(CompareWords(a.data(), a.data(), 2), 0);
  EXPECT_EQ(CompareWords(a.data(), b.data(), 0), 0);
}

TEST(WordKernels, AddWordCarriesThroughAllOnes) {
  for (size_t n = 1; n < 6; ++n) {
    Words r(n, kOnes);
    EXPECT_EQ(AddWord(r.data(), n, 1), 1u);
    EXPECT_EQ(r, Words(n, 0));
    EXPECT_EQ(AddWord(r.data(), n, kOnes), 0u);
    EXPECT_EQ(r[0], kOnes);
  }
  EXPECT_EQ(AddWord(nullptr, 0, 7), 7u);
}

TEST(WordKernels, SumsAndDifferencesCarryAcrossDigits) {
  for (size_t n = 0; n < 8; ++n) {
    Words a(n, kOnes), one(n, 0), r(n);
    if (n > 0) one[0] = 1;
    EXPECT_EQ(AddWords(r.data(), a.data(), one.data(), n), n > 0 ? 1u : 0u);
    EXPECT_EQ(r, Words(n, 0));
    EXPECT_EQ(SubWords(r.data(), r.data(), one.data(), n), n > 0 ? 1u : 0u);
    EXPECT_EQ(r, a);
  }
}

// a * w with everything at its largest: (B^n - 1)(B - 1) = B^(n+1) - B^n - B + 1.
TEST(WordKernels, LargestFactorsCarryWithoutLoss) {
  for (size_t n = 1; n < 8; ++n) {
    const Words a(n, kOnes);
    Words r(n);
    EXPECT_EQ(MulWords(r.data(), a.data(), n, kOnes), kOnes - 1);
    Words expected(n, kOnes);
    expected[0] = 1;
    if (n == 1) expected = {1};
    EXPECT_EQ(r, expected) << n;
    Words sum(n, kOnes);  // (B^n - 1)(B - 1) + B^n - 1 = (B^n - 1) B
    EXPECT_EQ(MulAddWords(sum.data(), a.data(), n, kOnes), kOnes);
    expected = Words(n, kOnes);
    expected[0] = 0;
    EXPECT_EQ(sum, expected) << n;
    EXPECT_EQ(MulSubWords(sum.data(), a.data(), n, kOnes), kOnes);  // and back
    EXPECT_EQ(sum, Words(n, kOnes)) << n;
  }
}

TEST(WordKernels, RowsAgreeWithTheObviousProduct) {
  test::Random random(6);
  for (int i = 0; i < 3000; ++i) {
    const size_t n = 1 + random() % 9;
    const Words a = random_words(random, n);
    const uint32_t w = random_words(random, 1)[0];
    const Words expected = product(a, {w});
    Words r(n);
    ASSERT_EQ(MulWords(r.data(), a.data(), n, w), expected[n]);
    ASSERT_TRUE(std::equal(r.begin(), r.end(), expected.begin()));

    Words sum = random_words(random, n);
    const Words before = sum;
    Words total(n + 1);
    total[n] = expected[n] + AddWords(total.data(), sum.data(), expected.data(), n);
    ASSERT_EQ(MulAddWords(sum.data(), a.data(), n, w), total[n]);
    ASSERT_TRUE(std::equal(sum.begin(), sum.end(), total.begin()));
    ASSERT_EQ(MulSubWords(sum.data(), a.data(), n, w), total[n]);
    ASSERT_EQ(sum, before);
  }
}

TEST(WordKernels, ProductsOfAllShapesAgreeWithTheObviousOne) {
  test::Random random(7);
  for (size_t la = 1; la < 12; ++la) {
    for (size_t lb = 1; lb <= la; ++lb) {
      for (int i = 0; i < 20; ++i) {
        const Words a = i == 0 ? Words(la, kOnes) : random_words(random, la);
        const Words b = i == 0 ? Words(lb, kOnes) : random_words(random, lb);
        Words r(la + lb, 0xDEADBEEF);
        ProductWords(r.data(), a.data(), la, b.data(), lb);
        ASSERT_EQ(r, product(a, b)) << la << " x " << lb;
      }
    }
  }
}

TEST(WordKernels, DivisionGivesQuotientAndRemainder) {
  uint32_t r = 0;
  EXPECT_EQ(DivWords(0, 7, 2, &r), 3u);
  EXPECT_EQ(r, 1u);
  EXPECT_EQ(DivWords(0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFF, &r), 0xFFFFFFFFu);
  EXPECT_EQ(r, 0xFFFFFFFEu);
}

#ifndef NDEBUG
TEST(WordKernelsDeathTest, VectorsThatOverlapInPartAreABrokenExpectation) {
  uint32_t v[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const uint32_t apart[4] = {};
  const char* const kMessage = "^Expectation failed: .*apart";
  EXPECT_EQ(AddWords(v, v, apart, 4), 0u);
  EXPECT_EQ(AddWords(v, v + 4, v + 8, 4), 0u);  // neighbours do not overlap
  EXPECT_DEATH((void)AddWords(v + 1, v, apart, 4), kMessage);
  EXPECT_DEATH((void)AddWords(v, apart, v + 3, 4), kMessage);
  EXPECT_DEATH((void)SubWords(v + 1, v, apart, 4), kMessage);
  EXPECT_DEATH((void)SubWords(v, apart, v + 3, 4), kMessage);
  EXPECT_DEATH((void)MulWords(v + 1, v, 4, 3), kMessage);
  EXPECT_DEATH((void)MulAddWords(v + 1, v, 4, 3), kMessage);
  EXPECT_DEATH((void)MulSubWords(v + 1, v, 4, 3), kMessage);
  EXPECT_DEATH(ProductWords(v, v + 7, 4, apart, 4), kMessage);
  EXPECT_DEATH(ProductWords(v, apart, 4, v + 7, 4), kMessage);
}

TEST(WordKernelsDeathTest, ProductWantsTheLongerVectorFirstAndNoneEmpty) {
  uint32_t r[4];
  const uint32_t a[] = {1, 2}, b[] = {3};
  const char* const kMessage = "^Expectation failed: la >= lb && lb >= 1";
  EXPECT_DEATH(ProductWords(r, b, 1, a, 2), kMessage);
  EXPECT_DEATH(ProductWords(r, a, 2, b, 0), kMessage);
}

TEST(WordKernelsDeathTest, MontgomeryKernelsCheckModulusOperandsAndRoom) {
  const uint32_t m[] = {0xFFFFFFFB, 0xFFFFFFFF}, even[] = {2, 1}, equal[] = {0xFFFFFFFB, 0xFFFFFFFF};
  const uint32_t inverse = MontInverse(m[0]);
  uint32_t r[] = {1, 0}, work[MontWorkWords(2)];
  const char* const kModulus = "^Expectation failed: .*is_montgomery";
  const char* const kOperand = "^Expectation failed: .*is_operand";
  EXPECT_DEATH((void)MontInverse(2), "^Expectation failed: \\(m0 & 1\\) != 0");
  EXPECT_DEATH(MontSquare(r, r, even, 2, inverse, work), kModulus);
  EXPECT_DEATH(MontSquare(r, r, m, 2, inverse + 1, work), kModulus);
  EXPECT_DEATH(MontSquare(r, r, m, 0, inverse, work), kModulus);
  EXPECT_DEATH(MontReduce(work, r, m, 2, inverse, work), kModulus);
  EXPECT_DEATH(MontProduct(r, equal, r, m, 2, inverse, work), kOperand);
  EXPECT_DEATH(MontProduct(r, r, equal, m, 2, inverse, work), kOperand);
  EXPECT_DEATH(MontSquare(r, equal, m, 2, inverse, work), kOperand);
  EXPECT_DEATH(MontReduce(r, equal, m, 2, inverse, work), kOperand);
}
#endif

TEST(WordKernelsDeathTest, QuotientOfMoreThanAWordIsAnAssertion) {
  uint32_t r;
  EXPECT_DEATH((void)DivWords(5, 0, 5, &r),
               "^Assertion failed: thi < b, file \\.\\.\\\\bignum86\\.c, line 392\n");
  EXPECT_DEATH((void)DivWords(0, 1, 0, &r), "Assertion failed: thi < b");
}

TEST(MontgomeryKernels, InverseTimesModulusIsMinusOne) {
  test::Random random(8);
  for (int i = 0; i < 1000; ++i) {
    const uint32_t m = random() | 1;
    EXPECT_EQ(MontInverse(m) * m, kOnes) << m;
  }
  EXPECT_EQ(MontInverse(1), kOnes);
  EXPECT_EQ(MontInverse(kOnes), 1u);
}

struct Operands {
  Words a, b, m;
};

// Operands for n words; the first ones are the largest that there are.
Operands operands(test::Random& random, size_t n, int i) {
  Words m = i < 2 ? Words(n, kOnes) : random_words(random, n);
  m[0] |= 1;
  m[n - 1] |= 0x80000000;
  Words a = remainder(random_words(random, n), m);
  Words b = remainder(random_words(random, n), m);
  if (i % 2 == 0) {
    a = m;
    a[0] -= 1;
    b = a;
  }
  return {a, b, m};
}

// x * R mod m must be the value that Montgomery's method divided by R.
void expect_times_r(const Words& x, const Words& value, const Words& m) {
  Words shifted(m.size(), 0);
  shifted.insert(shifted.end(), x.begin(), x.end());
  ASSERT_LT(compare(x, m), 0);
  ASSERT_EQ(remainder(shifted, m), remainder(value, m));
}

TEST(MontgomeryKernels, ResultTimesRIsTheProduct) {
  test::Random random(9);
  for (size_t n = 1; n < 10; ++n) {
    for (int i = 0; i < 40; ++i) {
      const auto [a, b, m] = operands(random, n, i);
      const uint32_t inverse = MontInverse(m[0]);
      Words work(MontWorkWords(n), 0xDEADBEEF), r(n);
      MontProduct(r.data(), a.data(), b.data(), m.data(), n, inverse, work.data());
      expect_times_r(r, product(a, b), m);
      MontSquare(r.data(), a.data(), m.data(), n, inverse, work.data());
      expect_times_r(r, product(a, a), m);
      MontReduce(r.data(), a.data(), m.data(), n, inverse, work.data());
      expect_times_r(r, a, m);
    }
  }
}

TEST(MontgomeryKernels, ResultMayBeAnOperand) {
  test::Random random(10);
  for (size_t n = 1; n < 6; ++n) {
    const auto [a, b, m] = operands(random, n, 3);
    const uint32_t inverse = MontInverse(m[0]);
    Words work(MontWorkWords(n)), expected(n), r = a;
    MontProduct(expected.data(), a.data(), b.data(), m.data(), n, inverse, work.data());
    MontProduct(r.data(), r.data(), b.data(), m.data(), n, inverse, work.data());
    EXPECT_EQ(r, expected);
    r = b;
    MontProduct(r.data(), a.data(), r.data(), m.data(), n, inverse, work.data());
    EXPECT_EQ(r, expected);
    MontSquare(expected.data(), a.data(), m.data(), n, inverse, work.data());
    r = a;
    MontSquare(r.data(), r.data(), m.data(), n, inverse, work.data());
    EXPECT_EQ(r, expected);
  }
}

#if defined(__SIZEOF_INT128__)
// buffer hides the size from the compiler, which would warn of impossible paths.
[[gnu::noinline]] Words buffer(size_t n) {
  return Words(n);
}

TEST(DigitKernels, BothWidthsGiveTheSameResult) {
  if (!digits::kWide) GTEST_SKIP() << "words are not halves of a 64-bit digit here";
  test::Random random(11);
  for (size_t n = 2; n < 12; n += 2) {
    for (int i = 0; i < 100; ++i) {
      const auto [a, b, m] = operands(random, n, i);
      const uint32_t narrow_inverse = MontInverse(m[0]);
      const uint64_t wide_inverse =
          digits::mont_inverse<uint64_t>(digits::load<uint64_t>(m.data(), 0), narrow_inverse);
      Words work = buffer(MontWorkWords(n)), narrow = buffer(n), wide = buffer(n);
      digits::mont_product<uint32_t>(narrow.data(), a.data(), b.data(), m.data(), n, narrow_inverse,
                                     work.data());
      digits::mont_product<uint64_t>(wide.data(), a.data(), b.data(), m.data(), n / 2, wide_inverse,
                                     work.data());
      ASSERT_EQ(narrow, wide);
      digits::mont_square<uint32_t>(narrow.data(), a.data(), m.data(), n, narrow_inverse, work.data());
      digits::mont_square<uint64_t>(wide.data(), a.data(), m.data(), n / 2, wide_inverse, work.data());
      ASSERT_EQ(narrow, wide);
      digits::mont_reduce<uint32_t>(narrow.data(), a.data(), m.data(), n, narrow_inverse, work.data());
      digits::mont_reduce<uint64_t>(wide.data(), a.data(), m.data(), n / 2, wide_inverse, work.data());
      ASSERT_EQ(narrow, wide);
      ASSERT_EQ(digits::add<uint32_t>(narrow.data(), a.data(), m.data(), n, 1),
                digits::add<uint64_t>(wide.data(), a.data(), m.data(), n / 2, 1));
      ASSERT_EQ(narrow, wide);
      ASSERT_EQ(digits::sub<uint32_t>(narrow.data(), a.data(), b.data(), n, 1),
                digits::sub<uint64_t>(wide.data(), a.data(), b.data(), n / 2, 1));
      ASSERT_EQ(narrow, wide);
    }
  }
}
#endif

}  // namespace
}  // namespace qex
