// The times of tokens, and those of the command line.
#include "tool/message/gen_time.h"

#include <gtest/gtest.h>

namespace qex::tool {
namespace {

struct Time {
  const char* text;
  const char* iso;
  int64_t seconds;  // from `date -u -d ... +%s`
};

TEST(GenTime, CalendarTimesAreRead) {
  constexpr Time kTimes[] = {
      {"19700101000000Z", "1970-01-01T00:00:00Z", 0},
      {"20260918101112Z", "2026-09-18T10:11:12Z", 1789726272},
      {"20240229235959.5Z", "2024-02-29T23:59:59.5Z", 1709251199},
      {"20000229000000.001Z", "2000-02-29T00:00:00.001Z", 951782400},
      {"00010101000000Z", "0001-01-01T00:00:00Z", -62135596800},
      {"99991231235959Z", "9999-12-31T23:59:59Z", 253402300799},
  };
  for (const Time& time : kTimes) {
    const auto read = ParseGenTime(time.text);
    ASSERT_TRUE(read) << time.text;
    EXPECT_EQ(read->iso, time.iso);
    EXPECT_EQ(read->seconds, time.seconds) << time.text;
  }
}

TEST(GenTime, OtherTextsAreNone) {
  for (const char* text : {"",
                           "Z",
                           "20260918101112",
                           "202609181011Z",
                           "2026091810Z",
                           "20260918101112+0100",
                           "20260918101112.Z",
                           "20260918101112.50Z",
                           "20260918101112.0Z",
                           "20260918101112,5Z",
                           "20260918101112.5",
                           "20260918101160Z",
                           "20260918106012Z",
                           "20260918241112Z",
                           "20261318101112Z",
                           "20260018101112Z",
                           "20260900101112Z",
                           "20260931101112Z",
                           "20230229101112Z",
                           "19000229101112Z",
                           "00000101000000Z",
                           "20260918101112ZZ",
                           " 20260918101112Z",
                           "2026091810111Z",
                           "20260918101112.5 Z",
                           "2026-09-18T10:11:12Z",
                           "20260918101112z",
                           "20260918101112.-5Z"}) {
    EXPECT_FALSE(ParseGenTime(text)) << text;
  }
  EXPECT_FALSE(ParseGenTime(std::string_view("20260918101112\0Z", 16)));
}

TEST(IsoTime, TimesOfTheCommandLineAreRead) {
  EXPECT_EQ(ParseIsoTime("2026-09-18T10:11:12Z"), 1789726272);
  EXPECT_EQ(ParseIsoTime("2026-09-18T10:11Z"), 1789726260);
  EXPECT_EQ(ParseIsoTime("2026-09-18"), 1789689600);
  EXPECT_EQ(ParseIsoTime("1970-01-01T00:00:00Z"), 0);
}

TEST(IsoTime, OtherTextsAreNone) {
  for (const char* text :
       {"", "now", "2026-09", "2026-9-18", "2026-09-31", "2026-09-18T", "2026-09-18T10:11:12",
        "2026-09-18T10:11:12+01:00", "2026-09-18 10:11:12Z", "2026-09-18T25:00Z", "2026-09-18T1011Z",
        "20260918", "2026-09-18Z", "2026-09-18T10:11:60Z"}) {
    EXPECT_FALSE(ParseIsoTime(text)) << text;
  }
}

TEST(IsoTime, TimesAreRendered) {
  EXPECT_EQ(IsoTime(0), "1970-01-01T00:00:00Z");
  EXPECT_EQ(IsoTime(-1), "1969-12-31T23:59:59Z");
  EXPECT_EQ(IsoTime(1789726272), "2026-09-18T10:11:12Z");
}

}  // namespace
}  // namespace qex::tool
