// Products of powers by the portable form, which every machine has.
#include <gtest/gtest.h>

#include "tests/crypto/bignum/power_cases.h"

namespace qex {
namespace {

TEST(BignumPowerPortable, ModuliOfEveryLength) {
  EXPECT_GT(test::ExpectPowers("portable", PowerPortable, 1, 8192), 5000u);
}

}  // namespace
}  // namespace qex
