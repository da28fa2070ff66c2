// Constructed OCTET STRING and BIT STRING: components, ends, depth, and wrong lengths.
#include "ber/constructed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "ber/primitives.h"
#include "tests/ber/trailing_zeros.h"
#include "tests/support/codec_errors.h"
#include "tests/support/error_capture.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/octets.h"
#include "tests/support/small_stack.h"

namespace qex::test {
namespace {

const Outcome kEarlierUnused = {
    -1,
    "FillBitStringStk: ERROR - a component of a constructed BIT STRING that is not the last has "
    "non-zero unused bits\n"};
const Outcome kBitsShort = {-2, "FillBitStringStk: ERROR - expecting more data\n"};
const Outcome kBitsTag = {
    -3, "FillBitStringStk: ERROR - decoded non-BIT STRING tag inside a constructed BIT STRING\n"};
const Outcome kOctsShort = {-18, "BDecConsOctetString: ERROR - attempt to decode past end of data\n"};
const Outcome kOctsTag = {
    -19, "BDecConsOctetString: ERROR - decoded non-OCTET STRING tag inside a constructed OCTET STRING\n"};
const Outcome kNoNextTag = {-26, kTagPastEnd};
const Outcome kHalfEoc = {-28, kBadSecondOctet};
const Outcome kNoMemory = {-27, ""};

// Each test starts as the process does: no BIT STRING has ended in unused bits.
class Constructed : public testing::Test {
 protected:
  void SetUp() override { lastUnusedBits = 0; }
  void TearDown() override { lastUnusedBits = 0; }
};

struct Result {
  Outcome outcome;
  uint32_t count = 0;
  std::string octets;  // in hexadecimal
  AsnLen bytes = 0;
};

Result octs_from(Input& in) {
  Result r;
  AsnOcts v{};
  r.outcome = OutcomeOf([&](AsnJmpEnv& env) { BDecAsnOcts(in.handle(), &v, &r.bytes, env); });
  if (r.outcome == kDecoded) {
    EXPECT_EQ(v.octs[v.count], 0);
  }
  r.count = v.count;
  r.octets = ToHex(v);
  FreeAsnOcts(&v);
  return r;
}
Result octs(std::string_view hex) {
  Input in(hex);
  return octs_from(in);
}

Result bits_from(Input& in) {
  Result r;
  AsnBits v{};
  r.outcome = OutcomeOf([&](AsnJmpEnv& env) { BDecAsnBits(in.handle(), &v, &r.bytes, env); });
  r.count = v.count;
  r.octets = ToHex(v.octs, BitOctets(v.count));
  FreeAsnBits(&v);
  return r;
}
Result bits(std::string_view hex) {
  Input in(hex);
  return bits_from(in);
}

TEST_F(Constructed, OctetStringsOfEveryShape) {
  const struct {
    const char* hex;
    const char* octets;
  } cases[] = {
      {"24 07 04 02 61 62 04 01 63", "616263"},
      {"24 80 04 02 61 62 04 01 63 00 00", "616263"},
      {"24 00", ""},
      {"24 80 00 00", ""},
      {"24 02 04 00", ""},
      {"24 05 24 03 04 01 61", "61"},
      {"24 80 24 80 04 01 61 00 00 04 01 62 00 00", "6162"},
      {"24 80 24 03 04 01 61 24 00 24 80 00 00 04 01 62 00 00", "6162"},
      {"24 07 24 80 04 01 61 00 00", "61"},
      {"24 04 24 00 24 00", ""},
      {"24 81 03 04 01 61", "61"},
      {"24 84 FF FF FF FF 04 01 61 00 00", "61"},  // indefinite in four octets
  };
  for (const auto& c : cases) {
    const Result r = octs(c.hex);
    EXPECT_EQ(r.outcome, kDecoded) << c.hex;
    EXPECT_EQ(r.octets, c.octets) << c.hex;
    EXPECT_EQ(r.bytes, FromHex(c.hex).size()) << c.hex;
  }
}

TEST_F(Constructed, OctetStringFailures) {
  const struct {
    const char* hex;
    Outcome outcome;
  } cases[] = {
      {"24 03 23 01 00", kOctsTag},
      {"24 80 0C 01 61 00 00", kOctsTag},
      {"24 02 00 00", kOctsTag},        // an end-of-contents in a definite length
      {"24 80 24 02 00 00", kOctsTag},  // so too inside an indefinite one
      {"24 80 04 05 61 62", kOctsShort},
      {"24 80 04 01", kOctsShort},
      {"24 80 04 80 61 00 00", kOctsShort},
      {"24 80 04 84 FF FF FF FE 61", kOctsShort},
      {"24 80 00 01", kHalfEoc},
      {"24 80 00", kHalfEoc},
      {"24 80 24 80 00 00 00 05", kHalfEoc},
      {"24 80 04 01 61", kNoNextTag},
      {"24 80", kNoNextTag},
      {"24 84 FF FF FF FE 04 01 61", kNoNextTag},
      {"24 80 04", {-13, "BDecLen: ERROR - decoded past end of data\n"}},
      {"24 80 04 82 01", {-15, "BDecLen: ERROR - decoded past end of data\n"}},
      {"24 80 04 85", {-14, "BDecLen: ERROR - length overflow\n"}},
  };
  for (const auto& c : cases) {
    ForgetRequests();
    const long before = LiveBlocks();
    EXPECT_EQ(octs(c.hex).outcome, c.outcome) << c.hex;
    EXPECT_LT(LargestRequest(), 4096u) << c.hex;
    EXPECT_EQ(LiveBlocks(), before) << c.hex;
  }
}

TEST_F(Constructed, AComponentMayRunPastADefiniteLengthAndIsCountedInFull) {
  const Result r = octs("24 03 04 03 61 62 63 04 01 64");
  EXPECT_EQ(r.outcome, kDecoded);
  EXPECT_EQ(r.octets, "616263");
  EXPECT_EQ(r.bytes, 7u);
  // Past the ends of two strings at once; the third one goes on.
  const Result nested = octs("24 0A 24 04 24 02 04 03 61 62 63 04 01 64");
  EXPECT_EQ(nested.outcome, kDecoded);
  EXPECT_EQ(nested.octets,
            "616263"
            "64");
  EXPECT_EQ(nested.bytes, 14u);
}

TEST_F(Constructed, ComponentsAcrossBlocks) {
  const Octets encoding =
      FromHex("24 80 04 05 61 62 63 64 65 24 80 04 03 66 67 68 00 00 04 00 04 01 69 00 00");
  for (size_t block = 1; block <= encoding.size(); ++block) {
    Input in(InBlocksOf(block, encoding));
    const Result r = octs_from(in);
    EXPECT_EQ(r.outcome, kDecoded);
    EXPECT_EQ(r.octets, "616263646566676869") << block;
    EXPECT_EQ(r.bytes, encoding.size());
  }
}

// More segments than the first allocation holds.
TEST_F(Constructed, ManyComponents) {
  Octets encoding = {0x24, 0x80};
  std::string expected;
  for (int i = 0; i < 100000; ++i) {
    const auto octet = uint8_t(i * 31);
    encoding.insert(encoding.end(), {0x04, 0x01, octet});
    expected += ToHex(&octet, 1);
  }
  encoding.insert(encoding.end(), {0, 0});
  Input in(encoding);
  const Result r = octs_from(in);
  EXPECT_EQ(r.outcome, kDecoded);
  EXPECT_EQ(r.count, 100000u);
  EXPECT_EQ(r.octets, expected);
}

// The value of X.690 8.6.4.2 in its constructed form.
TEST_F(Constructed, BitStringOfTwoComponents) {
  const Result r = bits("23 80 03 03 00 0A 3B 03 05 04 5F 29 1C D0 00 00");
  EXPECT_EQ(r.outcome, kDecoded);
  EXPECT_EQ(r.count, 44u);
  EXPECT_EQ(r.octets, "0a3b5f291cd0");
  EXPECT_EQ(r.bytes, 16u);
  EXPECT_EQ(lastUnusedBits, 4);
}

TEST_F(Constructed, BitStringsOfEveryShape) {
  const struct {
    const char* hex;
    uint32_t count;
    const char* octets;
  } cases[] = {
      {"23 00", 0, ""},
      {"23 80 00 00", 0, ""},
      {"23 03 03 01 00", 0, ""},
      {"23 02 03 00", 0, ""},
      {"23 09 23 07 03 02 00 AA 03 01 00", 8, "aa"},
      {"23 80 23 80 03 02 00 AA 00 00 23 04 03 02 00 55 00 00", 16, "aa55"},
      {"23 06 03 02 00 FF 03 00", 8, "ff"},  // an empty component says nothing of unused bits
  };
  for (const auto& c : cases) {
    const Result r = bits(c.hex);
    EXPECT_EQ(r.outcome, kDecoded) << c.hex;
    EXPECT_EQ(r.count, c.count) << c.hex;
    EXPECT_EQ(r.octets, c.octets) << c.hex;
    EXPECT_EQ(r.bytes, FromHex(c.hex).size()) << c.hex;
  }
}

TEST_F(Constructed, BitStringFailures) {
  const struct {
    const char* hex;
    Outcome outcome;
  } cases[] = {
      {"23 08 03 02 04 F0 03 02 00 FF", kEarlierUnused},
      {"23 06 03 02 04 F0 03 00", kEarlierUnused},  // an empty one is a component too
      {"23 80 23 80 03 02 01 F0 00 00 03 02 00 FF 00 00", kEarlierUnused},
      {"23 80 03 05 00 F0", kBitsShort},
      {"23 80 03 01", kBitsShort},
      {"23 80 03 80", kBitsShort},
      {"23 80 03 84 FF FF FF FE 00", kBitsShort},
      {"23 03 24 01 00", kBitsTag},
      {"23 03 04 01 00", kBitsTag},
      {"23 02 00 00", kBitsTag},
      {"23 80 00 01", kHalfEoc},
      {"23 80 00", kHalfEoc},
      {"23 80 03 02 00 FF", kNoNextTag},
  };
  for (const auto& c : cases) {
    lastUnusedBits = 0;
    ForgetRequests();
    const long before = LiveBlocks();
    EXPECT_EQ(bits(c.hex).outcome, c.outcome) << c.hex;
    EXPECT_LT(LargestRequest(), 4096u) << c.hex;
    EXPECT_EQ(LiveBlocks(), before) << c.hex;
  }
}

TEST_F(Constructed, OnceAConstructedBitStringEndedInUnusedBitsEveryLaterOneIsRefused) {
  EXPECT_EQ(bits("23 04 03 02 04 F0").outcome, kDecoded);
  EXPECT_EQ(bits("23 04 03 02 00 FF").outcome, kEarlierUnused);
  EXPECT_EQ(bits("23 02 03 00").outcome, kEarlierUnused);
  EXPECT_EQ(bits("23 04 03 02 00 FF").outcome, kEarlierUnused);  // not the next one only
}

TEST_F(Constructed, AConstructedBitStringWithoutComponentsIsNotRefusedAndHasNoBits) {
  lastUnusedBits = 3;
  const Result r = bits("23 00");
  EXPECT_EQ(r.outcome, kDecoded);
  EXPECT_EQ(r.count, 0u);
}

TEST_F(Constructed, PrimitiveBitStringsNeitherLookAtTheWordNorChangeIt) {
  lastUnusedBits = 3;
  EXPECT_EQ(bits("03 02 04 F0").outcome, kDecoded);
  EXPECT_EQ(lastUnusedBits, 3);
  lastUnusedBits = 0;
  EXPECT_EQ(bits("03 02 04 F0").outcome, kDecoded);
  EXPECT_EQ(lastUnusedBits, 0);
}

TEST_F(Constructed, UnusedBitsBeyondTheOctetsGiveNoBits) {
  EXPECT_EQ(bits("23 03 03 01 05").count, 0u);
  lastUnusedBits = 0;
  EXPECT_EQ(bits("23 04 03 02 FF AA").count, 0u);
  lastUnusedBits = 0;
  const Result r = bits("23 08 03 02 00 AA 03 02 09 BB");
  EXPECT_EQ(r.outcome, kDecoded);
  EXPECT_EQ(r.count, 7u);
}

TEST_F(Constructed, AComponentThatEndsEarlyHasLeftItsUnusedBits) {
  EXPECT_EQ(bits("23 80 03 05 02 F0").outcome, kBitsShort);
  EXPECT_EQ(lastUnusedBits, 2);
}

// 2^29 octets: one bit more than a count of 32 bits. The octets are never touched.
TEST_F(Constructed, ABitCountBeyond32BitsIsRefused) {
  TrailingZeros in(FromHex("23 84 20 00 00 07 03 84 20 00 00 01 00"), size_t{1} << 29);
  ASSERT_TRUE(in.held());
  AsnBits value{};
  AsnLen bytes = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnBits(in.handle(), &value, &bytes, env); }),
            (Outcome{-4, "BDecAsnBitsContent: ERROR - decoded past end of data\n"}));
}

TEST_F(Constructed, EveryAllocationThatFailsRaisesMinus27AndLeavesNothing) {
  // One more of each than a stack holds without the heap.
  constexpr size_t kMore = DecoderStack<Segment>::kInside + 1;
  for (const bool octets : {true, false}) {
    std::string hex;
    for (size_t i = 0; i <= kMore; ++i) hex += octets ? "2480" : "2380";
    for (size_t i = 0; i < kMore; ++i) hex += octets ? "040161" : "03020061";
    for (size_t i = 0; i <= kMore; ++i) hex += "0000";
    size_t allowed = 0;
    for (;; ++allowed) {
      Input in(hex.c_str());
      const long before = LiveBlocks();
      Outcome outcome;
      {
        const FailingAlloc failing(allowed);
        outcome = octets ? octs_from(in).outcome : bits_from(in).outcome;
      }
      EXPECT_EQ(LiveBlocks(), before);
      if (outcome == kDecoded) break;
      EXPECT_EQ(outcome, kNoMemory);
    }
    EXPECT_EQ(allowed, 3u);  // open strings, segments, result
  }
}

constexpr size_t kLevels = 1000000;

TEST_F(Constructed, AMillionIndefiniteLevelsDecodeOnASmallStack) {
  for (const uint8_t tag : {uint8_t{0x24}, uint8_t{0x23}}) {
    Octets encoding;
    for (size_t i = 0; i < kLevels; ++i) encoding.insert(encoding.end(), {tag, 0x80});
    const Octets open = encoding;
    if (tag == 0x24) {
      encoding.insert(encoding.end(), {0x04, 0x01, 0x61});
    } else {
      encoding.insert(encoding.end(), {0x03, 0x02, 0x00, 0x61});
    }
    encoding.insert(encoding.end(), 2 * kLevels, 0x00);
    OnSmallStack([&] {
      Input in(encoding);
      ForgetRequests();
      const Result r = tag == 0x24 ? octs_from(in) : bits_from(in);
      EXPECT_EQ(r.outcome, kDecoded);
      EXPECT_EQ(r.octets, "61");
      EXPECT_EQ(r.bytes, encoding.size());
      EXPECT_LE(LargestRequest(), 16 * kLevels);

      Input unfinished(open);
      EXPECT_EQ((tag == 0x24 ? octs_from(unfinished) : bits_from(unfinished)).outcome, kNoNextTag);
    });
  }
}

TEST_F(Constructed, AMillionDefiniteLevelsDecodeOnASmallStack) {
  Octets backward = {0x61, 0x01, 0x04};
  for (size_t i = 0; i < kLevels; ++i) {
    const size_t n = backward.size();
    size_t octets = 0;
    for (size_t rest = n; rest != 0; rest >>= 8, ++octets) backward.push_back(uint8_t(rest));
    backward.push_back(uint8_t(0x80 + octets));
    backward.push_back(0x24);
  }
  std::reverse(backward.begin(), backward.end());
  OnSmallStack([&] {
    Input in(backward);
    const Result r = octs_from(in);
    EXPECT_EQ(r.outcome, kDecoded);
    EXPECT_EQ(r.octets, "61");
    EXPECT_EQ(r.bytes, backward.size());
  });
}

// A slow obvious decoder in the same grammar, for random encodings.
struct Slow {
  const Octets& in;
  size_t at = 0;
  Octets out;

  void string(size_t n, bool open) {
    const size_t start = at;
    while (open || at - start < n) {
      const uint8_t tag = in[at++];
      uint8_t len = in[at++];
      if (tag == 0) return;
      if (tag == 0x24) {
        string(len == 0x80 ? 0 : len, len == 0x80);
      } else {
        for (; len != 0; --len) out.push_back(in[at++]);
      }
    }
  }
};

Octets random_string(std::mt19937& random, int depth) {
  Octets content;
  for (unsigned parts = random() % 4; parts != 0; --parts) {
    if (depth > 0 && random() % 2 != 0) {
      content = content + random_string(random, depth - 1);
    } else {
      const auto n = uint8_t(random() % 4);
      content.insert(content.end(), {0x04, n});
      for (uint8_t i = 0; i < n; ++i) content.push_back(uint8_t(random()));
    }
  }
  if (content.size() < 128 && random() % 2 != 0) {
    return Octets{0x24, uint8_t(content.size())} + content;
  }
  return Octets{0x24, 0x80} + content + Octets{0, 0};
}

TEST_F(Constructed, RandomStringsAgreeWithARecursiveDecoder) {
  std::mt19937 random(21);
  for (int round = 0; round < 2000; ++round) {
    const Octets encoding = random_string(random, 5);
    Slow slow{encoding, 2, {}};
    slow.string(encoding[1], encoding[1] == 0x80);
    Input in(InBlocksOf(1 + random() % 9, encoding));
    const Result r = octs_from(in);
    ASSERT_EQ(r.outcome, kDecoded) << ToHex(encoding);
    ASSERT_EQ(r.octets, ToHex(slow.out)) << ToHex(encoding);
    ASSERT_EQ(r.bytes, encoding.size());
  }
}

}  // namespace
}  // namespace qex::test
