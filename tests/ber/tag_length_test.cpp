// Identifier octets, length octets and end-of-contents: values, octets counted, and failures.
#include "ber/tag_length.h"

#include <gtest/gtest.h>

#include "tests/support/codec_errors.h"
#include "tests/support/error_capture.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

constexpr char kLenPastEnd[] = "BDecLen: ERROR - decoded past end of data\n";
constexpr char kLenOverflow[] = "BDecLen: ERROR - length overflow\n";

TEST(BDecTag, IdentifierOctetsAreKeptLeftAligned) {
  const struct {
    const char* octets;
    AsnTag tag;
    AsnLen bytes;
  } cases[] = {
      {"30", 0x30000000, 1},       {"31 00", 0x31000000, 1},       {"04 01", 0x04000000, 1},
      {"24 80", 0x24000000, 1},    {"A0 03", 0xA0000000, 1},       {"88 00", 0x88000000, 1},
      {"00 00", 0x00000000, 1},    {"1F 1E 00", 0x1F1E0000, 2},    {"BF 81 02 00", 0xBF810200, 3},
      {"5F 7F 80", 0x5F7F0000, 2}, {"FF FF FF 7F", 0xFFFFFF7F, 4}, {"1F 00", 0x1F000000, 2},
      {"1E 81", 0x1E000000, 1},    {"0F 81", 0x0F000000, 1},  // only five set bits announce further octets
  };
  for (const auto& c : cases) {
    for (const size_t block : {1u, 2u, 100u}) {
      Input in(InBlocksOf(block, FromHex(c.octets)));
      AsnLen bytes = 7;
      AsnTag tag = 0;
      EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { tag = BDecTag(in.handle(), &bytes, env); }), kDecoded);
      EXPECT_EQ(tag, c.tag) << c.octets;
      EXPECT_EQ(bytes, 7 + c.bytes) << c.octets;
    }
  }
}

TEST(BDecTag, AFourthOctetThatAnnouncesAnotherIsAcceptedAndTheNextOneIsTheLength) {
  Input in("1F 81 82 83 04");
  AsnLen bytes = 0;
  AsnTag tag = 0;
  AsnLen len = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) {
              tag = BDecTag(in.handle(), &bytes, env);
              len = BDecLen(in.handle(), &bytes, env);
            }),
            kDecoded);
  EXPECT_EQ(tag, 0x1F818283u);
  EXPECT_EQ(len, 4u);
  EXPECT_EQ(bytes, 5u);
}

TEST(BDecTag, RunningOutOfDataIsRefused) {
  for (const char* octets : {"", "1F", "1F 81", "1F 81 82"}) {
    Input in(octets);
    AsnLen bytes = 0;
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecTag(in.handle(), &bytes, env); }),
              (Outcome{-26, kTagPastEnd}))
        << octets;
  }
}

TEST(BDecLen, ShortAndLongForms) {
  const struct {
    const char* octets;
    AsnLen len;
    AsnLen bytes;
  } cases[] = {
      {"00", 0, 1},
      {"7F", 127, 1},
      {"80", INDEFINITE_LEN, 1},
      {"81 80", 128, 2},
      {"81 05", 5, 2},
      {"82 01 00", 256, 3},
      {"82 00 05", 5, 3},
      {"83 01 00 00", 65536, 4},
      {"84 01 02 03 04", 0x01020304, 5},
      {"84 FF FF FF FE", 0xFFFFFFFE, 5},
      {"84 FF FF FF FF", INDEFINITE_LEN, 5},
  };
  for (const auto& c : cases) {
    for (const size_t block : {1u, 3u, 100u}) {
      Input in(InBlocksOf(block, FromHex(c.octets)));
      AsnLen bytes = 2;
      AsnLen len = 0;
      EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { len = BDecLen(in.handle(), &bytes, env); }), kDecoded);
      EXPECT_EQ(len, c.len) << c.octets;
      EXPECT_EQ(bytes, 2 + c.bytes) << c.octets;
    }
  }
}

TEST(BDecLen, Failures) {
  const struct {
    const char* octets;
    Outcome outcome;
  } cases[] = {
      {"", {-13, kLenPastEnd}},
      {"85 00 00 00 00 01", {-14, kLenOverflow}},
      {"86", {-14, kLenOverflow}},
      {"FF", {-14, kLenOverflow}},
      {"81", {-15, kLenPastEnd}},
      {"82 01", {-15, kLenPastEnd}},
      {"84 01 02 03", {-15, kLenPastEnd}},
  };
  for (const auto& c : cases) {
    Input in(c.octets);
    AsnLen bytes = 0;
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecLen(in.handle(), &bytes, env); }), c.outcome) << c.octets;
  }
}

TEST(BDecLen, LengthOfFiveOctetsIsRefusedAfterOneOctetHasBeenCounted) {
  Input in("85 00 00 00 00 01");
  AsnLen bytes = 0;
  OutcomeOf([&](AsnJmpEnv& env) { BDecLen(in.handle(), &bytes, env); });
  EXPECT_EQ(bytes, 1u);
}

TEST(BDecEoc, TwoZeroOctetsAreCounted) {
  Input in("00 00");
  AsnLen bytes = 3;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecEoc(in.handle(), &bytes, env); }), kDecoded);
  EXPECT_EQ(bytes, 5u);
}

TEST(BDecEoc, AnythingElseIsRefused) {
  for (const char* octets : {"00 01", "01 00", "00", "", "05 00"}) {
    Input in(octets);
    AsnLen bytes = 0;
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecEoc(in.handle(), &bytes, env); }), (Outcome{-16, kBadEoc}))
        << octets;
    EXPECT_EQ(bytes, 0u);
  }
}

TEST(BDecSecondEocOctet, AZeroOctetIsCountedAndAnythingElseRefused) {
  AsnLen bytes = 1;
  Input zero("00");
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecSecondEocOctet(zero.handle(), &bytes, env); }), kDecoded);
  EXPECT_EQ(bytes, 2u);
  for (const char* octets : {"01", ""}) {
    Input in(octets);
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecSecondEocOctet(in.handle(), &bytes, env); }),
              (Outcome{-28, kBadSecondOctet}));
  }
}

TEST(BEncDefLen, WritesTheDefiniteForm) {
  const struct {
    AsnLen len;
    const char* octets;
  } cases[] = {
      {0, "00"},       {127, "7f"},       {128, "8180"},       {255, "81ff"},
      {256, "820100"}, {65535, "82ffff"}, {65536, "83010000"}, {0xFFFFFFFF, "84ffffffff"},
  };
  for (const auto& c : cases) {
    for (const size_t block : {1u, 2u, 2048u}) {
      const BlockSize size(block);
      AsnLen written = 0;
      EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncDefLen(b, c.len); }, &written)), c.octets);
      EXPECT_EQ(written, std::string(c.octets).size() / 2);
    }
  }
}

TEST(BEncDefLen, FourOctetsStartAt16777126) {
  const auto encoded = [](AsnLen len) {
    return ToHex(Encoded([len](ExpBuf** b) { return BEncDefLen(b, len); }));
  };
  EXPECT_EQ(encoded(16777125), "83ffffa5");
  EXPECT_EQ(encoded(16777126), "8400ffffa6");
  EXPECT_EQ(encoded(16777215), "8400ffffff");
  EXPECT_EQ(encoded(16777216), "8401000000");
}

TEST(BEncTag, WritesTheFirstOctet) {
  AsnLen written = 0;
  EXPECT_EQ(ToHex(Encoded([](ExpBuf** b) { return BEncTag(b, 0xA1000000); }, &written)), "a1");
  EXPECT_EQ(written, 1u);
}

TEST(BEncLenAndTag, WritesLengthAndTagBeforeTheContentAndCountsAll) {
  AsnLen written = 0;
  EXPECT_EQ(ToHex(Encoded(
                [](ExpBuf** b) {
                  const uint8_t content[] = {1, 2};
                  ExpBufPutSegRvs(b, content, 2);
                  return BEncLenAndTag(b, 0x30000000, 2);
                },
                &written)),
            "30020102");
  EXPECT_EQ(written, 4u);
}

TEST(AsnRaise, ACodeWithoutATextReachesTheRecoveryPoint) {
  EXPECT_EQ(OutcomeOf([](AsnJmpEnv& env) { AsnRaise(env, -641); }), (Outcome{-641, ""}));
}

TEST(AsnFail, TheTextIsReportedOnceBeforeTheJump) {
  const ErrorCapture capture;
  EXPECT_EQ(AsnCatch([](AsnJmpEnv& env) { AsnFail(env, -5, "why\n"); }), -5);
  EXPECT_EQ(capture.text(), "why\n");
  EXPECT_EQ(capture.count(), 1u);
  EXPECT_EQ(capture.severity(), 1);
}

TEST(AsnCatch, EachRecoveryPointHasItsOwnDepth) {
  EXPECT_EQ(AsnCatch([](AsnJmpEnv& env) { env.openTypeDepth = 9; }), 0);
  EXPECT_EQ(AsnCatch([](AsnJmpEnv& env) { EXPECT_EQ(env.openTypeDepth, 0u); }), 0);
}

}  // namespace
}  // namespace qex::test
