// Tests of actions that happen once per process run in a process of their own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace qex::test {

enum class Switch { Off, On };  // of QEX_VERIFY_ESSCERTIDV2

// InFreshProcess starts this program again for `body`, with the environment variable QEX_VERIFY_ESSCERTIDV2
// set to `value` (null: not set), and expects that nothing in it fails. Do not call it between other slow
// expectations: the test runs again up to this place in the new process.
template <class F>
void InFreshProcess(const char* value, F body) {
  constexpr const char* kSwitch = "QEX_VERIFY_ESSCERTIDV2";
  const char* const standing = std::getenv(kSwitch);
  const std::string before = standing == nullptr ? "" : standing;
  if (value == nullptr) {
    unsetenv(kSwitch);
  } else {
    setenv(kSwitch, value, 1);
  }
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        body();
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
      },
      ::testing::ExitedWithCode(0), "");
  if (standing == nullptr) {
    unsetenv(kSwitch);
  } else {
    setenv(kSwitch, before.c_str(), 1);
  }
}

}  // namespace qex::test
