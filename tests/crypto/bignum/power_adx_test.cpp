// The row of the form "adx" against the portable one. power_test.cpp has its products of powers.
#include <gtest/gtest.h>

#if defined(__x86_64__)

#include "crypto/bignum/adx.h"
#include "crypto/bignum/digits.h"
#include "tests/crypto/bignum/power_cases.h"
#include "tests/support/big.h"

namespace qex {
namespace {

TEST(BignumPowerAdx, RowAgreesWithThePortableOne) {
  constexpr uint32_t kNeeded = kFeatureBmi2 | kFeatureAdx;
  if ((CpuFeatures() & kNeeded) != kNeeded) GTEST_SKIP() << "needs BMI2 and ADX";
  test::Random random(13);
  const auto word = [&] {
    const uint32_t kind = random() % 4;
    return kind == 0 ? 0u : kind == 1 ? random() : 0xFFFFFFFFu;
  };
  for (size_t n = 0; n <= 40; ++n) {
    for (int i = 0; i < 200; ++i) {
      test::Words a(2 * n), r(2 * n + 2);
      for (uint32_t& w : a) w = i == 0 ? 0xFFFFFFFF : word();
      for (uint32_t& w : r) w = i == 0 ? 0xFFFFFFFF : word();
      const uint64_t w = i == 0 ? ~uint64_t{0} : uint64_t{word()} << 32 | word();
      const uint64_t carry = i == 0 ? ~uint64_t{0} : uint64_t{word()} << 32 | word();
      test::Words expected = r;
      const uint64_t out = digits::mul_add<uint64_t>(expected.data(), a.data(), n, w, carry);
      ASSERT_EQ(MulAddAdx(r.data(), a.data(), n, w, carry), out) << n;
      ASSERT_EQ(r, expected) << n;
    }
  }
}

}  // namespace
}  // namespace qex

#endif
