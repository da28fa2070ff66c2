// Expectations are checked where NDEBUG is not set, and cost nothing where it is.
#include "ground/expect.h"

#include <gtest/gtest.h>

namespace qex {
namespace {

TEST(Expect, TrueConditionHasNoEffect) {
  QEX_EXPECT(1 + 1 == 2);
  const int n = 3;
  QEX_EXPECT(n == 3);
}

#ifdef NDEBUG
TEST(Expect, ConditionIsNotEvaluatedInARelease) {
  int evaluated = 0;
  QEX_EXPECT(++evaluated == 0);
  EXPECT_EQ(evaluated, 0);
}
#else
TEST(ExpectDeathTest, FalseConditionStopsTheProcessWithItsPlace) {
  EXPECT_DEATH(QEX_EXPECT(1 + 1 == 3),
               "^Expectation failed: 1 \\+ 1 == 3, file .*expect_test\\.cpp, line [0-9]+\n");
}
#endif

}  // namespace
}  // namespace qex
