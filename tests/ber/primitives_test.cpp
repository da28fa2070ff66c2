// BOOLEAN, INTEGER and NULL: exact octets, round trips, and each failure with code and text.
#include "ber/primitives.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/error_capture.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

constexpr char kBoolLen[] = "BDecAsnBoolContent: ERROR - BOOLEAN length must be 1\n";
constexpr char kBoolEnd[] = "BDecAsnBoolContent: ERROR - decoded past end of data\n";
constexpr char kIntBig[] = "BDecAsnIntContent: ERROR - integer to big to decode.\n";
constexpr char kIntEnd[] = "BDecAsnIntContent: ERROR - decoded past end of data \n";
constexpr char kUIntBig[] = "BDecUAsnIntContent: ERROR - integer to big to decode.\n";
constexpr char kUIntNegative[] = "BDecUAsnIntContent: ERROR - integer is negative.\n";
constexpr char kUIntEnd[] = "BDecUIntegerContent: ERROR - decoded past end of data\n";
constexpr char kNullLen[] = "BDecAsnNullContent: ERROR - NULL type's len must be 0\n";

// A value decoded from content octets, and the outcome.
template <class T>
struct Decoding {
  Outcome outcome;
  T value{};
  AsnLen bytes = 0;
};

template <class T, class F>
Decoding<T> content(F decode, std::string_view hex, AsnLen len) {
  Input in(hex);
  Decoding<T> d;
  d.outcome = OutcomeOf([&](AsnJmpEnv& env) { decode(in.handle(), 0, len, &d.value, &d.bytes, env); });
  return d;
}

template <class T, class F>
Decoding<T> content(F decode, std::string_view hex) {
  return content<T>(decode, hex, AsnLen(FromHex(hex).size()));
}

template <class T, class F>
Decoding<T> full(F decode, std::string_view hex, size_t block = 100) {
  Input in(InBlocksOf(block, FromHex(hex)));
  Decoding<T> d;
  d.outcome = OutcomeOf([&](AsnJmpEnv& env) { decode(in.handle(), &d.value, &d.bytes, env); });
  return d;
}

template <class T, class F>
std::string encoded(F encode, T value, AsnLen* written = nullptr) {
  return ToHex(Encoded([&](ExpBuf** b) { return encode(b, &value); }, written));
}

TEST(AsnBool, EveryNonZeroOctetIsTrueAndDecodesAs1) {
  EXPECT_EQ(full<AsnBool>(BDecAsnBool, "01 01 00").value, 0);
  for (const char* octets : {"01 01 01", "01 01 80", "01 01 FF"}) {
    const auto d = full<AsnBool>(BDecAsnBool, octets);
    EXPECT_EQ(d.outcome, kDecoded);
    EXPECT_EQ(d.value, 1);
    EXPECT_EQ(d.bytes, 3u);
  }
}

TEST(AsnBool, TrueIsWrittenAsFF) {
  AsnLen written = 0;
  EXPECT_EQ(encoded<AsnBool>(BEncAsnBool, 1, &written), "0101ff");
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(encoded<AsnBool>(BEncAsnBool, 0), "010100");
  EXPECT_EQ(encoded<AsnBool>(BEncAsnBoolContent, 7, &written), "ff");
  EXPECT_EQ(written, 1u);
}

TEST(AsnBool, Failures) {
  EXPECT_EQ(content<AsnBool>(BDecAsnBoolContent, "").outcome, (Outcome{-5, kBoolLen}));
  EXPECT_EQ(content<AsnBool>(BDecAsnBoolContent, "01 01").outcome, (Outcome{-5, kBoolLen}));
  EXPECT_EQ(content<AsnBool>(BDecAsnBoolContent, "01", INDEFINITE_LEN).outcome, (Outcome{-5, kBoolLen}));
  EXPECT_EQ(content<AsnBool>(BDecAsnBoolContent, "", 1).outcome, (Outcome{-6, kBoolEnd}));
}

TEST(AsnInt, ContentIsTwosComplement) {
  const struct {
    const char* octets;
    AsnInt value;
  } cases[] = {
      {"80", -128},
      {"00 80", 128},
      {"7F", 127},
      {"FF", -1},
      {"FF 7F", -129},
      {"00", 0},
      {"00 00 00 01", 1},
      {"7F FF FF FF", INT32_MAX},
      {"80 00 00 00", INT32_MIN},
      {"FF FF FF", -1},
  };
  for (const auto& c : cases) {
    const auto d = content<AsnInt>(BDecAsnIntContent, c.octets);
    EXPECT_EQ(d.outcome, kDecoded) << c.octets;
    EXPECT_EQ(d.value, c.value) << c.octets;
    EXPECT_EQ(d.bytes, FromHex(c.octets).size());
  }
}

TEST(AsnInt, AContentOfNoOctetsReadsOneAndCountsNone) {
  const auto d = content<AsnInt>(BDecAsnIntContent, "85 01", 0);
  EXPECT_EQ(d.outcome, kDecoded);
  EXPECT_EQ(d.value, -123);
  EXPECT_EQ(d.bytes, 0u);
  EXPECT_EQ(content<AsnInt>(BDecAsnIntContent, "", 0).outcome, (Outcome{-8, kIntEnd}));
}

TEST(AsnInt, Failures) {
  EXPECT_EQ(content<AsnInt>(BDecAsnIntContent, "00 00 00 00 01").outcome, (Outcome{-7, kIntBig}));
  EXPECT_EQ(content<AsnInt>(BDecAsnIntContent, "", INDEFINITE_LEN).outcome, (Outcome{-7, kIntBig}));
  EXPECT_EQ(content<AsnInt>(BDecAsnIntContent, "01 02 03", 4).outcome, (Outcome{-8, kIntEnd}));
}

TEST(AsnInt, EncodingIsMinimal) {
  const struct {
    AsnInt value;
    const char* octets;
  } cases[] = {
      {0, "020100"},
      {127, "02017f"},
      {128, "02020080"},
      {-128, "020180"},
      {-129, "0202ff7f"},
      {-1, "0201ff"},
      {255, "020200ff"},
      {256, "02020100"},
      {32767, "02027fff"},
      {32768, "0203008000"},
      {-32768, "02028000"},
      {-32769, "0203ff7fff"},
      {8388607, "02037fffff"},
      {8388608, "020400800000"},
      {-8388608, "0203800000"},
      {-8388609, "0204ff7fffff"},
      {INT32_MAX, "02047fffffff"},
      {INT32_MIN, "020480000000"},
  };
  for (const auto& c : cases) {
    AsnLen written = 0;
    EXPECT_EQ(encoded(BEncAsnInt, c.value, &written), c.octets);
    EXPECT_EQ(written, std::string(c.octets).size() / 2);
  }
}

TEST(AsnInt, RoundTrip) {
  std::mt19937 random(5);
  for (int i = 0; i < 2000; ++i) {
    const auto value = AsnInt(random()) >> random() % 32;
    for (const size_t block : {1u, 100u}) {
      const auto d = full<AsnInt>(BDecAsnInt, encoded(BEncAsnInt, value), block);
      ASSERT_EQ(d.outcome, kDecoded);
      ASSERT_EQ(d.value, value);
    }
  }
}

TEST(UAsnInt, Content) {
  const struct {
    const char* octets;
    UAsnInt value;
  } cases[] = {
      {"00 FF FF FF FF", 4294967295u}, {"00", 0}, {"7F", 127}, {"00 80", 128}, {"7F FF FF FF", 0x7FFFFFFF},
      {"00 80 00 00 00", 0x80000000},
  };
  for (const auto& c : cases) {
    const auto d = content<UAsnInt>(BDecUAsnIntContent, c.octets);
    EXPECT_EQ(d.outcome, kDecoded) << c.octets;
    EXPECT_EQ(d.value, c.value) << c.octets;
    EXPECT_EQ(d.bytes, FromHex(c.octets).size());
  }
  const auto none = content<UAsnInt>(BDecUAsnIntContent, "05", 0);
  EXPECT_EQ(none.value, 5u);
  EXPECT_EQ(none.bytes, 0u);
}

TEST(UAsnInt, Failures) {
  const struct {
    const char* octets;
    AsnLen len;
    Outcome outcome;
  } cases[] = {
      {"00 00 00 00 00 01", 6, {-9, kUIntBig}},
      {"80 00 00 00 00 01", 6, {-9, kUIntBig}},
      {"", INDEFINITE_LEN, {-9, kUIntBig}},
      {"80", 1, {-10, kUIntNegative}},
      {"80 00 00 00 00", 5, {-10, kUIntNegative}},
      {"01 00 00 00 00", 5, {-11, kUIntNegative}},
      {"", 1, {-12, kUIntEnd}},
      {"00 01 02", 4, {-12, kUIntEnd}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(content<UAsnInt>(BDecUAsnIntContent, c.octets, c.len).outcome, c.outcome) << c.octets;
  }
}

TEST(UAsnInt, EncodingIsMinimalAndNeverNegative) {
  EXPECT_EQ(encoded<UAsnInt>(BEncUAsnInt, 2147483648u), "02050080000000");
  EXPECT_EQ(encoded<UAsnInt>(BEncUAsnIntContent, 2147483648u), "0080000000");
  EXPECT_EQ(encoded<UAsnInt>(BEncUAsnInt, 4294967295u), "020500ffffffff");
  EXPECT_EQ(encoded<UAsnInt>(BEncUAsnInt, 0), "020100");
  EXPECT_EQ(encoded<UAsnInt>(BEncUAsnInt, 128), "02020080");
  EXPECT_EQ(encoded<UAsnInt>(BEncUAsnInt, 0x7FFFFFFF), "02047fffffff");
}

TEST(UAsnInt, RoundTrip) {
  std::mt19937 random(6);
  for (int i = 0; i < 2000; ++i) {
    const auto value = UAsnInt(random()) >> random() % 32;
    const auto d = full<UAsnInt>(BDecUAsnInt, encoded(BEncUAsnInt, value), 2);
    ASSERT_EQ(d.outcome, kDecoded);
    ASSERT_EQ(d.value, value);
  }
}

TEST(AsnNull, HasNoContent) {
  const auto d = full<AsnNull>(BDecAsnNull, "05 00");
  EXPECT_EQ(d.outcome, kDecoded);
  EXPECT_EQ(d.bytes, 2u);
  AsnLen written = 9;
  EXPECT_EQ(encoded(BEncAsnNull, AsnNull{}, &written), "0500");
  EXPECT_EQ(written, 2u);
  EXPECT_EQ(encoded(BEncAsnNullContent, AsnNull{}, &written), "");
  EXPECT_EQ(written, 0u);
}

TEST(AsnNull, ALengthOtherThan0IsRefused) {
  EXPECT_EQ(full<AsnNull>(BDecAsnNull, "05 01 00").outcome, (Outcome{-17, kNullLen}));
  EXPECT_EQ(full<AsnNull>(BDecAsnNull, "05 80 00 00").outcome, (Outcome{-17, kNullLen}));
}

TEST(AsnNull, ANullPointerWritesNothing) {
  AsnLen written = 9;
  EXPECT_EQ(ToHex(Encoded([](ExpBuf** b) { return BEncAsnNull(b, nullptr); }, &written)), "");
  EXPECT_EQ(written, 0u);
}

TEST(WrongTag, EachFullDecoderHasItsText) {
  const auto outcome = [](auto decode, auto value, const char* hex) {
    Input in(hex);
    AsnLen bytes = 0;
    return OutcomeOf([&](AsnJmpEnv& env) { decode(in.handle(), &value, &bytes, env); });
  };
  EXPECT_EQ(outcome(BDecAsnBool, AsnBool{}, "02 01 00"),
            (Outcome{-40, "BDecAsnBool: ERROR - wrong tag on BOOLEAN.\n"}));
  EXPECT_EQ(outcome(BDecAsnBool, AsnBool{}, "21 01 00").code, -40);
  EXPECT_EQ(outcome(BDecAsnInt, AsnInt{}, "22 01 00"),
            (Outcome{-40, "BDecAsnInt: ERROR wrong tag on INTEGER.\n"}));
  EXPECT_EQ(outcome(BDecUAsnInt, UAsnInt{}, "0A 01 00"),
            (Outcome{-40, "BDecAsnInt: ERROR wrong tag on INTGER.\n"}));
  EXPECT_EQ(outcome(BDecAsnBits, AsnBits{}, "04 01 00"),
            (Outcome{-40, "BDecAsnBits: ERROR - wrong tag on BIT STRING.\n"}));
  EXPECT_EQ(outcome(BDecAsnOcts, AsnOcts{}, "03 01 00"),
            (Outcome{-40, "BDecAsnOcts: ERROR - wrong tag on OCTET STRING.\n"}));
  EXPECT_EQ(outcome(BDecAsnNull, AsnNull{}, "06 00"),
            (Outcome{-40, "BDecAsnNull: ERROR wrong tag on NULL.\n"}));
  EXPECT_EQ(outcome(BDecAsnOid, AsnOid{}, "26 01 2A"),
            (Outcome{-40, "BDecAsnOid: ERROR - wrong tag on OBJECT IDENTIFIER.\n"}));
}

TEST(Print, SimpleValues) {
  const auto printed = [](auto print, auto value) { return Printed([&](FILE* f) { print(f, &value, 8); }); };
  EXPECT_EQ(printed(PrintAsnBool, AsnBool{1}), "TRUE");
  EXPECT_EQ(printed(PrintAsnBool, AsnBool{0}), "FALSE");
  EXPECT_EQ(printed(PrintAsnInt, AsnInt{INT32_MIN}), "-2147483648");
  EXPECT_EQ(printed(PrintUAsnInt, UAsnInt{4294967295u}), "4294967295");
  EXPECT_EQ(printed(PrintAsnNull, AsnNull{}), "NULL");
}

TEST(Free, SimpleValuesHoldNothing) {
  AsnBool truth = 1;
  AsnInt number = 2;
  UAsnInt natural = 3;
  AsnNull nothing{};
  FreeAsnBool(&truth);
  FreeAsnInt(&number);
  FreeUAsnInt(&natural);
  FreeAsnNull(&nothing);
  EXPECT_EQ(number, 2);
}

}  // namespace
}  // namespace qex::test
