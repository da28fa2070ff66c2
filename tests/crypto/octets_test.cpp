// Words are read and written in either order at any address.
#include "crypto/octets.h"

#include <gtest/gtest.h>

#include <array>

namespace qex::test {
namespace {

// Eight octets that begin at each address in turn, with one on either side that stays as it is.
constexpr size_t kAddresses = 8;

TEST(Octets, WordsAreReadInTheOrderNamedAtEveryAddress) {
  for (size_t at = 0; at < kAddresses; ++at) {
    std::array<uint8_t, kAddresses + 8> memory{};
    for (size_t i = 0; i < 8; ++i) memory[at + i] = uint8_t(0x81 + i);
    const uint8_t* p = memory.data() + at;
    EXPECT_EQ(LoadBE32(p), 0x81828384u);
    EXPECT_EQ(LoadLE32(p), 0x84838281u);
    EXPECT_EQ(LoadBE64(p), 0x8182838485868788u);
    EXPECT_EQ((LoadOrdered<std::endian::little, uint64_t>(p)), 0x8887868584838281u);
  }
}

TEST(Octets, WordsAreWrittenInTheOrderNamedAtEveryAddress) {
  for (size_t at = 1; at <= kAddresses; ++at) {
    std::array<uint8_t, kAddresses + 10> memory{};
    uint8_t* p = memory.data() + at;
    StoreBE32(p, 0x81828384);
    StoreLE32(p + 4, 0x81828384);
    const uint8_t expected[] = {0, 0x81, 0x82, 0x83, 0x84, 0x84, 0x83, 0x82, 0x81, 0};
    for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(memory[at - 1 + i], expected[i]) << i;
  }
}

TEST(Octets, SixtyFourBitsAreWrittenInTheOrderNamed) {
  std::array<uint8_t, 8> memory{};
  StoreOrdered<std::endian::big>(memory.data(), uint64_t{0x0102030405060708});
  EXPECT_EQ(memory, (std::array<uint8_t, 8>{1, 2, 3, 4, 5, 6, 7, 8}));
  StoreOrdered<std::endian::little>(memory.data(), uint64_t{0x0102030405060708});
  EXPECT_EQ(memory, (std::array<uint8_t, 8>{8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST(Octets, PairHasItsHighWordFirst) {
  uint32_t pair[] = {0x81828384, 0x85868788};
  EXPECT_EQ(LoadPair(pair), 0x8182838485868788u);
  StorePair(pair, 0x0102030405060708);
  EXPECT_EQ(pair[0], 0x01020304u);
  EXPECT_EQ(pair[1], 0x05060708u);
}

}  // namespace
}  // namespace qex::test
