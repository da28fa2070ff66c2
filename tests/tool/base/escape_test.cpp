// Foreign text made fit to be shown.
#include "tool/base/escape.h"

#include <gtest/gtest.h>

namespace qex::tool {
namespace {

struct Row {
  const char* text;
  const char* shown;
};

TEST(Escape, SteeringAndHidingCharactersAreWrittenOut) {
  constexpr Row kRows[] = {
      {"plain", "plain"},
      {"\x1b[2J", "\\x1b[2J"},
      {"a\nb\tc\r", "a\\x0ab\\x09c\\x0d"},
      {"caf\xC3\xA9", "caf\xC3\xA9"},
      {"\xC2\x9B", "\\x9b"},                // C1
      {"\xC2\xAD", "\\xad"},                // soft hyphen
      {"\xE2\x80\x8B", "\\u200b"},          // zero-width space
      {"\xE2\x80\xAE", "\\u202e"},          // right-to-left override
      {"\xE2\x81\xA6", "\\u2066"},          // isolate
      {"\xEF\xBB\xBF", "\\ufeff"},          // byte order mark
      {"\xEF\xBF\xB9", "\\ufff9"},          // interlinear annotation
      {"\xF3\xA0\x81\x81", "\\ue0041"},     // tag
      {"\xED\xA0\x80", "\\xed\\xa0\\x80"},  // a surrogate is not UTF-8
      {"\xC0\xAF", "\\xc0\\xaf"},           // nor is an overlong form
      {"\xFF\xFE", "\\xff\\xfe"},
      {"\xE2\x82", "\\xe2\\x82"},  // cut off
      {"back\\slash", "back\\slash"},
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(Escaped(row.text), row.shown);
    EXPECT_EQ(Escaped(Escaped(row.text)), row.shown) << "a second pass changes nothing";
  }
}

TEST(Escape, LinesKeepTheirLineFeeds) {
  EXPECT_EQ(EscapedLines("a\x1b\nb\n"), "a\\x1b\nb\n");
  EXPECT_EQ(EscapedLines("a\rb"), "a\\x0db");
}

TEST(Escape, FoldedTextHasNoRunsOfBlanks) {
  EXPECT_EQ(Folded("  a \t\n  b  "), "a b");
  EXPECT_EQ(Folded("a\xC2\xA0\xE3\x80\x80\xE2\x80\x83"
                   "b"),
            "a b");
  EXPECT_EQ(Folded("\npass  signature    rsa 2048"), "pass signature rsa 2048");
  EXPECT_EQ(Folded("abcdef", 3), "abc...");
  EXPECT_EQ(Folded("abc", 3), "abc");
  EXPECT_EQ(Folded("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", 3), "\xC3\xA9\xC3\xA9\xC3\xA9...");
  EXPECT_EQ(Folded(""), "");
}

TEST(Escape, QuotedTextIsShort) {
  EXPECT_EQ(Quoted("x"), "\"x\"");
  EXPECT_LT(Quoted(std::string(10000, 'x')).size(), 200u);
}

TEST(Escape, Utf8IsRecognised) {
  EXPECT_TRUE(IsUtf8("caf\xC3\xA9\n"));
  EXPECT_TRUE(IsUtf8(""));
  EXPECT_FALSE(IsUtf8("\xE9"));
  EXPECT_FALSE(IsUtf8("a\xC3"));
}

}  // namespace
}  // namespace qex::tool
