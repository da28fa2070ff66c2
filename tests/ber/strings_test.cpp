// OCTET STRING and BIT STRING in their primitive form, and operations on their values.
#include <gtest/gtest.h>

#include <random>

#include "ber/constructed.h"
#include "ber/memory.h"
#include "ber/primitives.h"
#include "tests/ber/trailing_zeros.h"
#include "tests/support/error_capture.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

const Outcome kOctsEnd = {-20, "BDecOctetString: ERROR - decoded past end of data\n"};
const Outcome kBitsEnd = {-4, "BDecAsnBitsContent: ERROR - decoded past end of data\n"};

template <class T, void (*Decode)(ExpBuf**, T*, AsnLen*, AsnJmpEnv&), void (*Free)(T*)>
struct Decoded {
  T value{};
  AsnLen bytes = 0;
  Outcome outcome;

  explicit Decoded(const Octets& octets, size_t block = SIZE_MAX / 2) {
    Input in(InBlocksOf(block, octets));
    outcome = OutcomeOf([&](AsnJmpEnv& env) { Decode(in.handle(), &value, &bytes, env); });
  }
  explicit Decoded(std::string_view hex) : Decoded(FromHex(hex)) {}
  ~Decoded() { Free(&value); }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;
};
using Octs = Decoded<AsnOcts, BDecAsnOcts, FreeAsnOcts>;
using Bits = Decoded<AsnBits, BDecAsnBits, FreeAsnBits>;

std::string octets_of(const AsnBits& v) {
  return ToHex(v.octs, BitOctets(v.count));
}

TEST(AsnOcts, PrimitiveFormIsFollowedByAZeroOctetThatIsNotCounted) {
  const Octs d("04 03 61 62 63 64");
  EXPECT_EQ(d.outcome, kDecoded);
  ASSERT_EQ(d.value.count, 3u);
  EXPECT_STREQ(reinterpret_cast<const char*>(d.value.octs), "abc");
  EXPECT_EQ(d.bytes, 5u);
}

TEST(AsnOcts, AnEmptyValueIsPresent) {
  const Octs d("04 00");
  EXPECT_EQ(d.outcome, kDecoded);
  EXPECT_EQ(d.value.count, 0u);
  EXPECT_NE(d.value.octs, nullptr);
}

TEST(AsnOcts, RoundTripAcrossBlocksOfEverySize) {
  std::mt19937 random(11);
  for (const size_t n : {0u, 1u, 127u, 128u, 255u, 256u, 5000u, 70000u}) {
    Octets octets(n);
    for (uint8_t& octet : octets) octet = uint8_t(random());
    const AsnOcts value = {uint32_t(n), octets.data()};
    for (const size_t block : {1u, 3u, 1024u, 2048u, 100000u}) {
      const BlockSize size(block);
      AsnLen written = 0;
      const Octets encoding = Encoded([&](ExpBuf** b) { return BEncAsnOcts(b, &value); }, &written);
      ASSERT_EQ(written, encoding.size());
      const Octs d(encoding, block);
      ASSERT_EQ(d.outcome, kDecoded);
      ASSERT_EQ(d.bytes, encoding.size());
      ASSERT_TRUE(AsnOctsEqual(d.value, value));
      ASSERT_EQ(d.value.octs[n], 0);
    }
  }
}

TEST(AsnOcts, EncodingIsLengthAndOctets) {
  uint8_t octets[] = {0x01, 0x23, 0xAB};
  const AsnOcts value = {3, octets};
  AsnLen written = 0;
  EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAsnOcts(b, &value); }, &written)), "04030123ab");
  EXPECT_EQ(written, 5u);
  EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAsnOctsContent(b, &value); }, &written)), "0123ab");
  EXPECT_EQ(written, 3u);
}

TEST(AsnOcts, AnAnnouncedLengthBeyondTheDataIsRefusedWithoutAllocating) {
  for (const char* hex :
       {"04 02 61", "04 01", "04 84 FF FF FF FE 61", "04 84 7F FF FF FF", "04 80 61 00 00"}) {
    ForgetRequests();
    const long before = LiveBlocks();
    const Octs d(hex);
    EXPECT_EQ(d.outcome, kOctsEnd) << hex;
    EXPECT_LT(LargestRequest(), 1000u) << hex;
    EXPECT_EQ(LiveBlocks(), before);
    EXPECT_EQ(d.value.octs, nullptr);
  }
}

TEST(AsnOcts, AnAllocationThatFailsRaisesMinus27WithoutAText) {
  Input in("04 02 61 62");
  AsnOcts value{};
  AsnLen bytes = 0;
  const FailingAlloc failing(0);
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnOcts(in.handle(), &value, &bytes, env); }),
            (Outcome{-27, ""}));
}

TEST(AsnOcts, EqualityIsOfCountAndOctets) {
  uint8_t a[] = {1, 2, 3};
  uint8_t b[] = {1, 2, 4};
  EXPECT_TRUE(AsnOctsEqual({2, a}, {2, b}));
  EXPECT_FALSE(AsnOctsEqual({3, a}, {3, b}));
  EXPECT_FALSE(AsnOctsEqual({2, a}, {3, a}));
  EXPECT_TRUE(AsnOctsEqual({0, nullptr}, {0, a}));
}

TEST(AsnOcts, FreeLeaksNothing) {
  AsnOcts value{};
  FreeAsnOcts(&value);
  Input in("04 01 61");
  AsnLen bytes = 0;
  const long before = LiveBlocks();
  EXPECT_EQ(AsnCatch([&](AsnJmpEnv& env) { BDecAsnOcts(in.handle(), &value, &bytes, env); }), 0);
  EXPECT_EQ(LiveBlocks(), before + 1);
  FreeAsnOcts(&value);
  EXPECT_EQ(LiveBlocks(), before);
  EXPECT_EQ(value.octs, nullptr);
  EXPECT_EQ(value.count, 0u);
}

TEST(AsnOcts, PrintShowsHexadecimalAndPrintableCharacters) {
  uint8_t octets[] = {'a', 'B', ' ', '~', 0x00, 0x7F, 0xE9, '"'};
  const AsnOcts value = {8, octets};
  EXPECT_EQ(Printed([&](FILE* f) { PrintAsnOcts(f, &value, 4); }),
            "'6142207e007fe922'H  -- \"aB ~...\"\" --");
  const AsnOcts empty{};
  EXPECT_EQ(Printed([&](FILE* f) { PrintAsnOcts(f, &empty, 4); }), "''H  -- \"\" --");
}

// The value of X.690 8.6.4.2.
TEST(AsnBits, PrimitiveForm) {
  const Bits d("03 07 04 0A 3B 5F 29 1C D0");
  EXPECT_EQ(d.outcome, kDecoded);
  EXPECT_EQ(d.value.count, 44u);
  EXPECT_EQ(octets_of(d.value), "0a3b5f291cd0");
  EXPECT_EQ(d.bytes, 9u);
}

TEST(AsnBits, NoBitsAreWrittenAsTheSingleOctet00) {
  const AsnBits none{};
  AsnLen written = 0;
  EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAsnBits(b, &none); }, &written)), "030100");
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAsnBitsContent(b, &none); }, &written)), "00");
  EXPECT_EQ(written, 1u);
  const Bits d("03 01 00");
  EXPECT_EQ(d.outcome, kDecoded);
  EXPECT_EQ(d.value.count, 0u);
  EXPECT_NE(d.value.octs, nullptr);
}

TEST(AsnBits, UnusedBitsFillTheLastOctet) {
  uint8_t octets[] = {0xFF, 0x80};
  const struct {
    uint32_t bits;
    const char* encoding;
  } cases[] = {{1, "030207ff"}, {7, "030201ff"}, {8, "030200ff"}, {9, "030307ff80"}, {16, "030300ff80"}};
  for (const auto& c : cases) {
    const AsnBits value = {c.bits, octets};
    EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAsnBits(b, &value); })), c.encoding);
  }
}

TEST(AsnBits, UnusedBitsAreNotCheckedForRange) {
  const struct {
    const char* hex;
    uint32_t bits;
  } cases[] = {
      {"03 03 09 FF FF", 7}, {"03 03 10 FF FF", 0}, {"03 03 11 FF FF", 0},
      {"03 02 FF FF", 0},    {"03 01 07", 0},
  };
  for (const auto& c : cases) {
    const Bits d(c.hex);
    EXPECT_EQ(d.outcome, kDecoded) << c.hex;
    EXPECT_EQ(d.value.count, c.bits) << c.hex;
    EXPECT_NE(d.value.octs, nullptr);
  }
}

TEST(AsnBits, Failures) {
  for (const char* hex :
       {"03 00", "03 00 00", "03 01", "03 03 00 FF", "03 84 FF FF FF FE 00", "03 80 00 FF 00 00"}) {
    ForgetRequests();
    const long before = LiveBlocks();
    const Bits d(hex);
    EXPECT_EQ(d.outcome, kBitsEnd) << hex;
    EXPECT_LT(LargestRequest(), 1000u);
    EXPECT_EQ(LiveBlocks(), before);
  }
}

// 2^29 octets hold one bit more than a 32-bit count can say. The octets are never touched.
TEST(AsnBits, ABitCountBeyond32BitsIsRefused) {
  TrailingZeros in(FromHex("03 84 20 00 00 01 00"), size_t{1} << 29);
  ASSERT_TRUE(in.held());
  AsnBits value{};
  AsnLen bytes = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnBits(in.handle(), &value, &bytes, env); }), kBitsEnd);
}

TEST(AsnBits, AnAllocationThatFailsRaisesMinus27WithoutAText) {
  Input in("03 02 00 62");
  AsnBits value{};
  AsnLen bytes = 0;
  const FailingAlloc failing(0);
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnBits(in.handle(), &value, &bytes, env); }),
            (Outcome{-27, ""}));
}

TEST(AsnBits, RoundTripAcrossBlocks) {
  std::mt19937 random(12);
  for (const uint32_t count : {0u, 1u, 8u, 1001u, 40000u}) {
    Octets octets(BitOctets(count));
    for (uint8_t& octet : octets) octet = uint8_t(random());
    const AsnBits value = {count, octets.data()};
    for (const size_t block : {1u, 7u, 2048u}) {
      const BlockSize size(block);
      const Octets encoding = Encoded([&](ExpBuf** b) { return BEncAsnBits(b, &value); });
      const Bits d(encoding, block);
      ASSERT_EQ(d.outcome, kDecoded);
      ASSERT_TRUE(AsnBitsEqual(d.value, value));
    }
  }
}

TEST(AsnBits, SetClearAndTestOfSingleBits) {
  uint8_t octets[3] = {};
  AsnBits v = {20, octets};
  AsnBitsSet(&v, 0);
  AsnBitsSet(&v, 9);
  AsnBitsSet(&v, 19);
  AsnBitsSet(&v, 20);  // beyond the count: nothing
  AsnBitsSet(&v, UINT32_MAX);
  EXPECT_EQ(ToHex(octets, 3), "804010");
  EXPECT_TRUE(AsnBitsTest(&v, 9));
  EXPECT_FALSE(AsnBitsTest(&v, 10));
  octets[2] = 0xFF;
  EXPECT_FALSE(AsnBitsTest(&v, 20));
  AsnBitsClear(&v, 20);
  AsnBitsClear(&v, 9);
  EXPECT_EQ(ToHex(octets, 3), "8000ff");
}

TEST(AsnBits, EachBitIsSetClearedAndTestedInItsPlace) {
  for (uint32_t i = 0; i < 24; ++i) {
    // X.690 8.6.2.2: bit 0 is the most significant one of the first octet.
    const uint32_t place = uint32_t{0x800000} >> i;
    const Octets one = {uint8_t(place >> 16), uint8_t(place >> 8), uint8_t(place)};
    uint8_t octets[3] = {};
    AsnBits v = {24, octets};
    AsnBitsSet(&v, i);
    EXPECT_EQ(Octets(octets, octets + 3), one) << i;
    for (uint32_t j = 0; j < 24; ++j) EXPECT_EQ(AsnBitsTest(&v, j), i == j) << i << " " << j;
    for (uint8_t& octet : octets) octet = uint8_t(~octet);
    AsnBitsSet(&v, i);
    EXPECT_EQ(ToHex(octets, 3), "ffffff") << i;
    AsnBitsClear(&v, i);
    for (uint8_t& octet : octets) octet = uint8_t(~octet);
    EXPECT_EQ(Octets(octets, octets + 3), one) << i;
  }
}

TEST(AsnBits, SettingAndClearingKeepTheOtherBitsOfTheOctet) {
  uint8_t octets[] = {0xF0, 0xA5, 0x5A};
  AsnBits v = {24, octets};
  AsnBitsClear(&v, 8);
  EXPECT_EQ(ToHex(octets, 3), "f0255a");
  AsnBitsSet(&v, 16);
  EXPECT_EQ(ToHex(octets, 3), "f025da");
}

TEST(AsnBits, FreeLeavesNoPointer) {
  const long before = LiveBlocks();
  AsnBits v = {8, static_cast<uint8_t*>(AsnAlloc(1))};
  FreeAsnBits(&v);
  EXPECT_EQ(v.octs, nullptr);
  EXPECT_EQ(v.count, 0u);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(AsnBits, EqualityIsOverWholeOctets) {
  uint8_t a[] = {0xF0};
  uint8_t b[] = {0xF1};
  EXPECT_TRUE(AsnBitsEqual({4, a}, {4, a}));
  EXPECT_FALSE(AsnBitsEqual({4, a}, {4, b}));
  EXPECT_FALSE(AsnBitsEqual({4, a}, {5, a}));
  EXPECT_TRUE(AsnBitsEqual({0, nullptr}, {0, b}));
}

TEST(AsnBits, PrintShowsWholeOctets) {
  uint8_t octets[] = {0x0A, 0xFC};
  const AsnBits value = {12, octets};
  EXPECT_EQ(Printed([&](FILE* f) { PrintAsnBits(f, &value, 4); }), "'0afc'H");
}

TEST(BitOctets, NothingWrapsAtTheLargestCount) {
  EXPECT_EQ(BitOctets(0), 0u);
  EXPECT_EQ(BitOctets(1), 1u);
  EXPECT_EQ(BitOctets(8), 1u);
  EXPECT_EQ(BitOctets(9), 2u);
  EXPECT_EQ(BitOctets(UINT32_MAX), size_t{1} << 29);
}

}  // namespace
}  // namespace qex::test
