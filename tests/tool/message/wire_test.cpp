// The examples of RFC 8949, appendix A, that JSON has a value for, and invalid encodings.
#include "tool/message/wire.h"

#include <gtest/gtest.h>

#include "tool/base/bytes.h"
#include "tool/base/json.h"

namespace qex::test {
namespace {

using tool::FromWire;
using tool::Json;
using tool::WireFrom;

std::string octets(const std::string& hex) {
  const tool::Bytes bytes = tool::FromHex(hex).value();
  return {bytes.begin(), bytes.end()};
}

struct Example {
  const char* hex;
  const char* json;
};

constexpr Example kExamples[] = {
    {"00", "0"},
    {"17", "23"},
    {"1818", "24"},
    {"1903e8", "1000"},
    {"1a000f4240", "1000000"},
    {"1b000000e8d4a51000", "1000000000000"},
    {"1bffffffffffffffff", "18446744073709551615"},
    {"20", "-1"},
    {"3863", "-100"},
    {"3903e7", "-1000"},
    {"f4", "false"},
    {"f5", "true"},
    {"f6", "null"},
    {"60", "\"\""},
    {"6449455446", "\"IETF\""},
    {"62225c", "\"\\\"\\\\\""},
    {"64f0908591", "\"\xF0\x90\x85\x91\""},
    {"80", "[]"},
    {"8301820203820405", "[1,[2,3],[4,5]]"},
    {"a0", "{}"},
    {"a26161016162820203", "{\"a\":1,\"b\":[2,3]}"},
    {"826161a161626163", "[\"a\",{\"b\":\"c\"}]"},
};

TEST(Wire, TheExamplesOfTheStandardAreReadAndWritten) {
  for (const Example& example : kExamples) {
    SCOPED_TRACE(example.hex);
    EXPECT_EQ(FromWire(octets(example.hex)), Json::parse(example.json));
    EXPECT_EQ(WireFrom(Json::parse(example.json)), octets(example.hex));
  }
}

TEST(Wire, OctetsStayOctets) {
  const Json value = FromWire(octets("4401020304"));
  ASSERT_TRUE(value.is_binary());
  EXPECT_EQ(tool::Bytes(value.get_binary()), (tool::Bytes{1, 2, 3, 4}));
  EXPECT_EQ(WireFrom(value), octets("4401020304"));
}

TEST(Wire, TheGreatestNumbersFit) {
  EXPECT_EQ(FromWire(octets("3b7fffffffffffffff")), Json(INT64_MIN));
  EXPECT_TRUE(FromWire(octets("3bffffffffffffffff")).is_discarded());
}

TEST(Wire, InvalidEncodingsAreRefused) {
  // Cut off, longer than announced, indefinite lengths, tags, floating-point numbers, reserved values, a name
  // that is not a text.
  for (const char* hex : {"",
                          "18",
                          "19 03",
                          "62 61",
                          "4401",
                          "81",
                          "a161 61",
                          "0000",
                          "9f01ff",
                          "5f4100ff",
                          "bf616101ff",
                          "c11a514b67b0",
                          "f97e00",
                          "fb3ff199999999999a",
                          "1c",
                          "1f",
                          "ff",
                          "f7",
                          "f0",
                          "a10102",
                          "9bffffffffffffffff",
                          "5bffffffffffffffff",
                          "bbffffffffffffffff"}) {
    std::string digits = hex;
    std::erase(digits, ' ');
    EXPECT_TRUE(FromWire(octets(digits)).is_discarded()) << hex;
  }
}

TEST(Wire, DeepNestingIsRefused) {
  EXPECT_FALSE(FromWire(std::string(60, '\x81') + '\0').is_discarded());
  EXPECT_TRUE(FromWire(std::string(1000000, '\x81') + '\0').is_discarded());
}

}  // namespace
}  // namespace qex::test
