// Error texts reach the handler that is set.
#include "ber/error_hook.h"

#include <gtest/gtest.h>

#include "tests/support/error_capture.h"

namespace qex::test {
namespace {

TEST(AsnError, TheHandlerGetsTheTextWithSeverity1) {
  const ErrorCapture capture;
  AsnError("100% so\n");
  EXPECT_EQ(capture.text(), "100% so\n");
  EXPECT_EQ(capture.severity(), 1);
  EXPECT_EQ(capture.count(), 1u);
}

TEST(AsnError, TheDefaultHandlerWritesTheTextUnchangedToTheErrorStream) {
  testing::internal::CaptureStderr();
  AsnError("50%s done %n\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "50%s done %n\n");
}

TEST(AsnError, TheDefaultHandlerIgnoresTheSeverity) {
  testing::internal::CaptureStderr();
  AsnErrorHandler("a", 0);
  AsnErrorHandler("b", 99);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ab");
}

}  // namespace
}  // namespace qex::test
