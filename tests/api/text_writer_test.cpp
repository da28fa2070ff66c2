// TextWriter cuts a text to its field, and writes nothing after the field.
#include "api/text_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qex::test {
namespace {

constexpr char kUntouched = 'x';

// A field of `size` characters with room after it that must stay as it is.
struct TextField {
  explicit TextField(size_t fieldSize) : size(fieldSize), memory(fieldSize + 16, kUntouched) {}

  TextWriter writer() { return {memory.data(), size}; }
  // Whether the field holds as much of `text` as fits and its end, and nothing after it has changed.
  void expect(const std::string& text) const {
    const std::string fitting = size == 0 ? "" : text.substr(0, size - 1);
    if (size != 0) {
      EXPECT_STREQ(memory.data(), fitting.c_str());
    }
    EXPECT_EQ(std::string(memory.begin() + ptrdiff_t(size), memory.end()), std::string(16, kUntouched));
  }

  size_t size;
  std::vector<char> memory;
};

TEST(TextWriter, StartsWithAnEmptyText) {
  TextField field(8);
  const TextWriter writer = field.writer();
  field.expect("");
  EXPECT_EQ(writer.used(), 0u);
  EXPECT_FALSE(writer.cut());
}

TEST(TextWriter, AppendsUpToTheTerminator) {
  TextField field(6);
  TextWriter writer = field.writer();
  writer.append("ab");
  writer.append("cde");
  field.expect("abcde");
  EXPECT_EQ(writer.used(), 5u);
  EXPECT_FALSE(writer.cut());
}

TEST(TextWriter, CutsWhatDoesNotFit) {
  TextField field(6);
  TextWriter writer = field.writer();
  writer.append("abc");
  writer.append("def");
  field.expect("abcdef");
  EXPECT_EQ(writer.used(), 5u);
  EXPECT_TRUE(writer.cut());
  writer.append("");
  EXPECT_TRUE(writer.cut()) << "what was cut stays cut";
}

TEST(TextWriter, NothingToAppendCutsNothing) {
  TextField field(1);
  TextWriter writer = field.writer();
  writer.append("");
  EXPECT_FALSE(writer.cut());
  writer.append("a");
  field.expect("");
  EXPECT_TRUE(writer.cut());
}

TEST(TextWriter, FieldOfNoCharactersIsNotTouched) {
  TextField field(0);
  TextWriter writer = field.writer();
  writer.append("a");
  writer.append_arc(7);
  field.expect("");
  EXPECT_EQ(writer.used(), 0u);
  EXPECT_TRUE(writer.cut());
}

TEST(TextWriter, NumbersAreDecimal) {
  TextField field(32);
  TextWriter writer = field.writer();
  writer.append(uint32_t{0});
  writer.append(" ");
  writer.append(UINT32_MAX);
  field.expect("0 4294967295");
  EXPECT_EQ(writer.used(), 12u);
}

// Where the longest arc fits it is written in place, elsewhere by way of a copy; no size shows a difference.
TEST(TextWriter, ArcsAreCutAtEverySize) {
  for (const char* number : {"0", "9", "10", "99", "840", "113549", "1000000000", "4294967295"}) {
    for (size_t size = 0; size <= 24; ++size) {
      SCOPED_TRACE(std::string(number) + " in " + std::to_string(size));
      TextField field(size);
      TextWriter writer = field.writer();
      writer.append("1.2");
      writer.append_arc(uint32_t(std::stoul(number)));
      const std::string whole = std::string("1.2.") + number;
      field.expect(whole);
      EXPECT_EQ(writer.used(), size == 0 ? 0 : std::min(whole.size(), size - 1));
      EXPECT_EQ(writer.cut(), whole.size() + 1 > size);
    }
  }
}

}  // namespace
}  // namespace qex::test
