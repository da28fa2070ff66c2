// Object identifiers as text, and texts as object identifiers.
#include "api/oid_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/der.h"
#include "tests/support/guarded.h"

namespace qex::test {
namespace {

// --- OidToText -----------------------------------------------------------------

struct Text {
  size_t length;
  std::string text;
  bool cut;
  bool operator==(const Text&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Text& text) {
  return out << text.length << " \"" << text.text << "\"" << (text.cut ? " cut" : "");
}

Text text_of(const Octets& contents, size_t size = 128) {
  const Guarded input(contents);
  Guarded output(size);
  bool cut = false;
  const size_t length =
      OidToText(input.data(), input.size(), reinterpret_cast<char*>(output.data()), size, &cut);
  const Octets octets = output.octets();
  const auto end = std::find(octets.begin(), octets.end(), 0);
  return {length, end == octets.end() ? "not terminated" : std::string(octets.begin(), end), cut};
}

TEST(OidToText, WritesDottedDecimalText) {
  const struct {
    Octets contents;
    const char* text;
  } rows[] = {
      {{0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x01}, "1.2.840.113549.1.9.1"},
      {{0x55, 0x04, 0x03}, "2.5.4.3"},
      {{0x2B}, "1.3"},
      {{0x00}, "0.0"},
      {{0x27}, "0.39"},
      {{0x28}, "1.0"},
      {{0x4F}, "1.39"},
      {{0x50}, "2.0"},
      {{0x7F}, "2.47"},
      {{0x2A, 0x00}, "1.2.0"},
      {{0x2A, 0x7F}, "1.2.127"},
      {{0x2A, 0x81, 0x00}, "1.2.128"},
      {{0x2A, 0x80, 0x80, 0x01}, "1.2.1"},
      {{0x2A, 0x8F, 0xFF, 0xFF, 0xFF, 0x7F}, "1.2.4294967295"},
      {{0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}, "2.16.840.1.101.3.4.2.1"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(text_of(row.contents), (Text{std::string(row.text).size(), row.text, false}));
  }
}

// Deliberate: the first octet alone gives the first two arcs.
TEST(OidToText, FirstOctetAloneGivesTheFirstTwoArcs) {
  // 2.100.3 is 81 34 03: 0x81 - 80 is 49, and 34 is read as the next arc.
  EXPECT_EQ(text_of({0x81, 0x34, 0x03}).text, "2.49.52.3");
  EXPECT_EQ(text_of({0x80}).text, "2.48");
  EXPECT_EQ(text_of({0xFF, 0x01}).text, "2.175.1");
  // The result of TextToOid for 2.100.3.
  EXPECT_EQ(text_of({0xB4, 0x03}).text, "2.100.3");
}

TEST(OidToText, ArcsWrapAt32Bits) {
  EXPECT_EQ(text_of({0x2A, 0x90, 0x80, 0x80, 0x80, 0x00}).text, "1.2.0");
  EXPECT_EQ(text_of({0x2A, 0x90, 0x80, 0x80, 0x80, 0x05}).text, "1.2.5");
}

TEST(OidToText, NothingIsWrittenForNoContents) {
  char text[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(OidToText(nullptr, 5, text, sizeof text), 0u);
  EXPECT_EQ(OidToText(reinterpret_cast<const uint8_t*>("\x2A"), 0, text, sizeof text), 0u);
  EXPECT_EQ(std::string(text, 4), "xxxx");
}

TEST(OidToText, ContentsThatEndInsideAnArcGive0AfterTheTextSoFar) {
  EXPECT_EQ(text_of({0x2A, 0x86}), (Text{0, "1.2", false}));
  EXPECT_EQ(text_of({0x55, 0x04, 0x81}), (Text{0, "2.5.4", false}));
}

TEST(OidToText, StopsAtTheSizeAndIsAlwaysTerminated) {
  const Octets contents = der::oid_content("1.2.840.113549");  // 14 characters
  for (size_t size = 1; size <= 20; ++size) {
    const Text whole{14, "1.2.840.113549", false};
    const Text got = text_of(contents, size);
    if (size > 14) {
      EXPECT_EQ(got, whole) << size;
    } else {
      EXPECT_TRUE(got.cut) << size;
      EXPECT_LT(got.text.size(), size);
      EXPECT_EQ(got.text, whole.text.substr(0, got.text.size())) << size;
    }
  }
}

TEST(OidToText, TextThatFillsItsFieldToTheTerminatorIsNotCut) {
  // "1.2" and 62 arcs of one digit: 127 characters.
  Octets contents{0x2A};
  contents.insert(contents.end(), 62, uint8_t{5});
  EXPECT_EQ(text_of(contents).length, 127u);
  EXPECT_FALSE(text_of(contents).cut);
  contents.push_back(5);
  EXPECT_TRUE(text_of(contents).cut);
  EXPECT_LE(text_of(contents).text.size(), 127u);
}

// --- TextToOid -----------------------------------------------------------------

// octets_of calls with the text at the end of readable memory.
Octets octets_of(const std::string& text) {
  Octets characters(text.begin(), text.end());
  characters.push_back(0);
  const Guarded input(characters);
  Guarded output(kMaxOidOctets);
  const uint32_t n = TextToOid(reinterpret_cast<const char*>(input.data()), output.data());
  EXPECT_LE(n, kMaxOidOctets);
  return Octets(output.data(), output.data() + n);
}

TEST(TextToOid, EncodesItsArcs) {
  const struct {
    const char* text;
    Octets contents;
  } rows[] = {
      {"2.16.840.1.101.3.4.2.1", {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}},
      {"1.2.840.113549.1.9.1", {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x01}},
      {"1.2.3", {0x2A, 0x03}},
      {"0.0", {0x00}},
      {"0.39", {0x27}},
      {"1.0", {0x28}},
      {"1.39", {0x4F}},
      {"2.0", {0x50}},
      {"2.47", {0x7F}},
      {"2.100.3", {0xB4, 0x03}},
      {"2.175", {0xFF}},
      {"1.2.0", {0x2A, 0x00}},
      {"1.2.127", {0x2A, 0x7F}},
      {"1.2.128", {0x2A, 0x81, 0x00}},
      {"1.2.16383", {0x2A, 0xFF, 0x7F}},
      {"1.2.2147483647", {0x2A, 0x87, 0xFF, 0xFF, 0xFF, 0x7F}},
      {"1.02.3", {0x2A, 0x03}},
      {"1.2.003", {0x2A, 0x03}},
      {"1.2.000000003", {0x2A, 0x03}},
      {"1.2.0000000003", {0x2A, 0x03}},
  };
  for (const auto& row : rows) EXPECT_EQ(octets_of(row.text), row.contents) << row.text;
}

TEST(TextToOid, RefusesMalformedText) {
  EXPECT_EQ(TextToOid(nullptr, nullptr), 0u);
  const char* const rejected[] = {
      "",
      ".",
      "..",
      "1",
      "2",
      "3.1",
      "1.40",
      "0.40",
      "1..2",
      ".1",
      "1.2.",
      "1.2a",
      "1 .2",
      " 1.2",
      "1.2 ",
      "-1.2",
      "1.-2",
      "+1.2",
      "10.2",
      "01.2",
      "2.176",
      "2.1000",
      "2.0175",
      "1.0002",
      "1.2,3",
      "1.2.3..4",
      "1.2\n",
      "9.1",
      "1.2.2147483648",
      "1.2.4294967295",
      "1.2.9999999999",
      "1.2.21474836480",
      "1.2.22222222222",
  };
  for (const char* text : rejected) EXPECT_EQ(octets_of(text), Octets{}) << "\"" << text << "\"";
}

TEST(TextToOid, TakesUpTo255Characters) {
  std::string text = "1.2.333";
  while (text.size() + 2 <= 255) text += ".4";
  ASSERT_EQ(text.size(), 255u);
  EXPECT_EQ(octets_of(text), der::oid_content(text));
  EXPECT_EQ(octets_of(text + "4"), Octets{});
}

// Deliberate: a group of zeros between groups that are not zero is dropped.
TEST(TextToOid, DropsGroupsOfZerosAboveTheLowest) {
  const struct {
    const char* text;
    Octets contents;
  } rows[] = {
      {"1.2.16384", {0x2A, 0x81, 0x00}},          // 1, 0, 0
      {"1.2.16385", {0x2A, 0x81, 0x01}},          // 1, 0, 1
      {"1.2.16512", {0x2A, 0x81, 0x81, 0x00}},    // 1, 1, 0
      {"1.2.2097152", {0x2A, 0x81, 0x00}},        // 1, 0, 0, 0
      {"1.2.2097280", {0x2A, 0x81, 0x81, 0x00}},  // 1, 0, 1, 0
      {"1.2.268435456", {0x2A, 0x81, 0x00}},      // 1, 0, 0, 0, 0
      {"1.2.1879048192", {0x2A, 0x87, 0x00}},     // 7, 0, 0, 0, 0
  };
  for (const auto& row : rows) EXPECT_EQ(octets_of(row.text), row.contents) << row.text;
}

// Deliberate: arcs of ten and more digits are compared as text; those that pass are read as the largest
// number.
TEST(TextToOid, ArcOfElevenDigitsBelow2147483648AsTextIsTheLargestNumber) {
  const Octets largest{0x2A, 0x87, 0xFF, 0xFF, 0xFF, 0x7F};
  EXPECT_EQ(octets_of("1.2.10000000000"), largest);
  EXPECT_EQ(octets_of("1.2.19999999999"), largest);
  EXPECT_EQ(octets_of("1.2.20000000000"), largest);
  EXPECT_EQ(octets_of("1.2.1" + std::string(200, '0')), largest);
}

TEST(TextToOid, IsUndoneByOidToText) {
  for (const char* text :
       {"0.0", "0.9.2342.19200300.100.1.25", "1.3.6.1.4.1.601.10.4.1", "2.5.29.37", "1.2.3.4.5"}) {
    EXPECT_EQ(text_of(octets_of(text)).text, text);
  }
}

TEST(OidToText, IdentifierOfNoOctetsIsNotCut) {
  char text[8];
  bool cut = true;
  EXPECT_EQ(OidToText(nullptr, 0, text, sizeof text, &cut), 0u);
  EXPECT_FALSE(cut);
}

}  // namespace
}  // namespace qex::test
