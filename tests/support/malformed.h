// Samples cut off after every octet, and with every octet changed, for tests of rules that hold for any
// input.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <set>
#include <vector>

#include "api/frame.h"
#include "ber/error_hook.h"
#include "tests/support/der.h"
#include "tests/support/guarded.h"

namespace qex::test {

// ExpectCode expects a code of the table of the export `name`.
using Codes = std::set<int32_t>;
inline void ExpectCode(const char* name, int32_t code, const Codes& allowed) {
  EXPECT_TRUE(allowed.contains(code)) << name << " returned " << code;
}

// ChangedOctets returns the replacements of an octet: with QEX_TEST_ALL_BYTES=1 all 255 other values, else up
// to eight that are likely to matter.
inline std::vector<uint8_t> ChangedOctets(uint8_t octet) {
  std::vector<uint8_t> values;
  if (std::getenv("QEX_TEST_ALL_BYTES") != nullptr) {
    for (int value = 0; value < 256; ++value) values.push_back(uint8_t(value));
  } else {
    values = {0x00, 0x80, 0xFF, uint8_t(octet ^ 0x20), uint8_t(octet + 1), uint8_t(octet - 1), 0x30, 0x1F};
  }
  std::erase(values, octet);
  return values;
}

// MalformedInput is a fixture under which the codec's reports go nowhere: they would be millions of lines.
class MalformedInput : public ::testing::Test {
 protected:
  using Reader = std::function<void(const uint8_t* data, uint32_t length)>;

  void SetUp() override {
    EXPECT_TRUE(EnsureAsnInit());  // so that later counts do not include the tables
    before_ = AsnErrorHandler;
    AsnErrorHandler = [](const char*, int) {};
  }
  void TearDown() override { AsnErrorHandler = before_; }

  // TryAll runs `read` on every prefix of the sample and on it with each octet changed, at the end of
  // readable memory, up to the first input that breaks a rule.
  static void TryAll(const Octets& sample, const Reader& read) {
    ASSERT_FALSE(sample.empty());
    for (size_t n = 0; n <= sample.size() && !HasFailure(); ++n) {
      const Guarded input(Octets(sample.begin(), sample.begin() + ptrdiff_t(n)));
      read(input.data(), input.size());
      if (HasFailure()) ADD_FAILURE() << "the first " << n << " octets";
    }
    Guarded input(sample);
    for (size_t i = 0; i < sample.size() && !HasFailure(); ++i) {
      for (const uint8_t value : ChangedOctets(sample[i])) {
        input[i] = value;
        read(input.data(), input.size());
        if (HasFailure()) {
          ADD_FAILURE() << "octet " << i << " as " << int{value};
          break;
        }
      }
      input[i] = sample[i];
    }
    EXPECT_EQ(input.octets(), sample) << "input is never written";
  }

 private:
  void (*before_)(const char*, int) = nullptr;
};

}  // namespace qex::test
