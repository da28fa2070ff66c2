// Durations and points in time, against numbers and texts from Python.
#include "api/timing_values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support/attribute_certificate_maker.h"
#include "tests/support/guarded.h"

namespace qex::test {
namespace {

static_assert(sizeof(float) == 4);

// TimeRecord is a TimeValue of the given contents octets.
struct TimeRecord {
  Records records;
  TimeValue value{};

  explicit TimeRecord(const TimeParts& parts) {
    value.major = records.octs(parts.major);
    value.fractionalSeconds = records.octs(parts.fraction);
    if (parts.sign.has_value()) value.sign = records.make<AsnInt>(*parts.sign);
  }
};

// TimeText is the result of TimeToText over room filled with another octet.
struct TimeText {
  bool rendered;
  std::string text;
  Octets rest;  // the terminator

  explicit TimeText(const TimeParts& parts) {
    const TimeRecord time(parts);
    Guarded room(kTimeTextSize);
    rendered = TimeToText(time.value, reinterpret_cast<char*>(room.data()));
    const Octets octets = room.octets();
    const auto end = std::find(octets.begin(), octets.end(), uint8_t{0});
    text.assign(octets.begin(), end);
    if (end != octets.end()) rest.assign(end + 1, octets.end());
  }
};

class TimingValues : public ::testing::Test {
 protected:
  // lines returns those of the file that begin with `kind`.
  static std::vector<std::string> lines(char kind) {
    std::vector<std::string> all;
    std::ifstream file(QEX_TEST_DATA "/timing_values.txt");
    for (std::string line; std::getline(file, line);) {
      if (line.size() > 1 && line[0] == kind && line[1] == ' ') all.push_back(line.substr(2));
    }
    return all;
  }
};

// Octets before the mark; an INTEGER of no octets leaves two blanks in a row.
std::vector<std::string> words_of(const std::string& line) {
  std::vector<std::string> words(1);
  for (const char c : line) {
    if (c == ' ') {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  return words;
}

std::string bits_of(float number) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", std::bit_cast<uint32_t>(number));
  return text;
}

TEST_F(TimingValues, DurationsAreComputedInSinglePrecision) {
  const std::vector<std::string> all = lines('D');
  ASSERT_GT(all.size(), 400u);
  for (const std::string& line : all) {
    const std::vector<std::string> words = words_of(line);
    ASSERT_EQ(words.size(), 6u) << line;
    TimeParts parts{FromHex(words[0]), FromHex(words[1]), {}};
    if (words[2] != "-") parts.sign = int32_t(std::stol(words[2]));
    const TimeRecord time(parts);
    float seconds = -1234.5f;
    EXPECT_EQ(DurationSeconds(time.value, &seconds), words[5] == "1") << line;
    EXPECT_EQ(bits_of(seconds), words[4]) << line << ", got " << seconds;
  }
}

TEST_F(TimingValues, PointsInTimeAreRenderedInUtc) {
  const std::vector<std::string> all = lines('T');
  ASSERT_GT(all.size(), 500u);
  for (const std::string& line : all) {
    const std::vector<std::string> words = words_of(line);
    ASSERT_EQ(words.size(), 3u) << line;
    const TimeText time({FromHex(words[0]), {0}, {}});
    EXPECT_EQ(time.rendered, words[2] != "-") << line;
    EXPECT_EQ(time.text, words[2] == "-" ? "" : words[2]) << line;
  }
}

TEST_F(TimingValues, BytesAfterATextAreUntouched) {
  const TimeText rendered(Seconds(3913056000));
  EXPECT_EQ(rendered.text, "20240101000000Z");
  EXPECT_EQ(rendered.rest, Octets{});  // 15 characters and the terminator fill it
  const TimeText not_rendered(Seconds(0));
  EXPECT_EQ(not_rendered.text, "");
  EXPECT_EQ(not_rendered.rest, Octets(kTimeTextSize - 1, Guarded::kFill));
}

TEST_F(TimingValues, FractionAndSignDoNotCountInAPointInTime) {
  for (const TimeParts& parts :
       {Seconds(3913056000, 999999), Seconds(3913056000, 0, -1), Seconds(3913056000, -1, 0),
        TimeParts{{0, 0xE9, 0x3C, 0x7F, 0}, Octets(20, 1), 2}}) {
    EXPECT_EQ(TimeText(parts).text, "20240101000000Z");
    EXPECT_TRUE(TimeText(parts).rendered);
  }
}

TEST_F(TimingValues, DoNotDependOnTheTimeZone) {
  setenv("TZ", "XYZ-5:30", 1);
  tzset();
  EXPECT_EQ(TimeText(Seconds(3913056000)).text, "20240101000000Z");
  unsetenv("TZ");
  tzset();
}

TEST_F(TimingValues, AMinusZeroIsWrittenAsOne) {
  const TimeRecord time(Seconds(0, 0, -1));
  float seconds = 1;
  EXPECT_TRUE(DurationSeconds(time.value, &seconds));
  EXPECT_EQ(std::bit_cast<uint32_t>(seconds), 0x80000000u);
}

}  // namespace
}  // namespace qex::test
