// The end of an HTTP head.
#include "api/framing.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/support/guarded.h"

namespace qex::test {
namespace {

size_t head_length(std::string_view text) {
  const Guarded data(std::vector<uint8_t>(text.begin(), text.end()));
  return HttpHeadLength(data.data(), data.size());
}

TEST(HttpHeadLength, CountsTheEmptyLineThatEndsTheHead) {
  EXPECT_EQ(head_length("HTTP/1.0 200 OK\r\nA: b\r\n\r\n"), 25u);
  EXPECT_EQ(head_length("HTTP/1.0 200 OK\nA: b\n\n"), 22u);
  EXPECT_EQ(head_length("HTTP/1.0 200 OK\r\nA: b\n\r\n"), 24u);
  EXPECT_EQ(head_length("HTTP/1.0 200 OK\nA: b\r\n\n"), 23u);
}

TEST(HttpHeadLength, DoesNotCountTheBody) {
  EXPECT_EQ(head_length("A: b\r\n\r\nbody\r\n\r\n"), 8u);
  EXPECT_EQ(head_length("A: b\n\n\n\n"), 6u);
}

TEST(HttpHeadLength, Is0WhereTheHeadHasNoEnd) {
  for (const char* text : {"", "A", "A: b", "A: b\r\n\r", "A: b\r\nC: d"}) {
    EXPECT_EQ(head_length(text), 0u) << text;
  }
}

TEST(HttpHeadLength, TakesALoneLineFeedAtTheEndOfTheData) {
  EXPECT_EQ(head_length("A: b\r\n"), 6u);
  EXPECT_EQ(head_length("A: b\n"), 5u);
  EXPECT_EQ(head_length("\n"), 1u);
}

}  // namespace
}  // namespace qex::test
