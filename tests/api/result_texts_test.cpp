// The table of result codes with their texts.
#include "api/result_texts.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "api/qex.h"

namespace qex::test {
namespace {

TEST(ResultTexts, EveryCodeOccursOnceFrom0Downward) {
  const auto rows = ResultTexts();
  ASSERT_EQ(rows.size(), 17u);
  int32_t expected = 0;
  for (const ResultText& row : rows) {
    if (expected == -4) --expected;  // never returned
    EXPECT_EQ(row.code, expected--);
  }
  EXPECT_EQ(rows.back().code, QEX_E_NOPOLICY);
}

TEST(ResultTexts, NamesAreThoseOfTheHeader) {
  const struct {
    int32_t code;
    const char* name;
  } names[] = {
      {QEX_OK, "QEX_OK"},
      {QEX_E_ARG, "QEX_E_ARG"},
      {QEX_E_NOMEM, "QEX_E_NOMEM"},
      {QEX_E_SIZE, "QEX_E_SIZE"},
      {QEX_E_MISSING, "QEX_E_MISSING"},
      {QEX_E_DECODE, "QEX_E_DECODE"},
      {QEX_E_BADTOKEN, "QEX_E_BADTOKEN"},
      {QEX_E_SIGNATURE, "QEX_E_SIGNATURE"},
      {QEX_E_REJECTED, "QEX_E_REJECTED"},
      {QEX_E_NOTOKEN, "QEX_E_NOTOKEN"},
      {QEX_E_LENGTH, "QEX_E_LENGTH"},
      {QEX_E_FRAMING, "QEX_E_FRAMING"},
      {QEX_E_UNSUPPORTED, "QEX_E_UNSUPPORTED"},
      {QEX_E_NOCERT, "QEX_E_NOCERT"},
      {QEX_E_NOTAC, "QEX_E_NOTAC"},
      {QEX_E_MISMATCH, "QEX_E_MISMATCH"},
      {QEX_E_NOPOLICY, "QEX_E_NOPOLICY"},
  };
  for (const auto& row : names) {
    const ResultText* const found = FindResultText(row.code);
    ASSERT_NE(found, nullptr) << row.name;
    EXPECT_STREQ(found->name, row.name);
  }
}

TEST(ResultTexts, EveryTextIsOneLineOfItsOwn) {
  std::set<std::string> texts;
  for (const ResultText& row : ResultTexts()) {
    const std::string text = row.text;
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_TRUE(texts.insert(text).second) << text;
  }
}

TEST(ResultTexts, CodesThatNoFunctionReturnsHaveNone) {
  for (const int32_t code : {-4, 1, -18, 100, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(FindResultText(code), nullptr) << code;
  }
}

}  // namespace
}  // namespace qex::test
