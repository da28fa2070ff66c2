// Numbers from and to octets.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "crypto/bignum/bignum.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFails;

TEST(BignumBytes, BigEndianOctetsAreRead) {
  const uint8_t octets[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
  Big n;
  ASSERT_EQ(KXBN_frombytes(n.out(), octets, sizeof octets, nullptr), KXBN_OK);
  EXPECT_EQ(n.hex(), "10203040506");
  EXPECT_EQ(n->capacity, (7u * 8 + 64 + 31) / 32);
}

TEST(BignumBytes, LittleEndianOctetsAreRead) {
  const uint8_t octets[] = {0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0x00};
  Big n;
  ASSERT_EQ(KXBN_frombytes_le(n.out(), octets, sizeof octets, nullptr), KXBN_OK);
  EXPECT_EQ(n.hex(), "10203040506");
}

TEST(BignumBytes, NoOctetsAreZero) {
  Big n;
  ASSERT_EQ(KXBN_frombytes(n.out(), nullptr, 0, nullptr), KXBN_OK);
  EXPECT_EQ(n.hex(), "0");
}

TEST(BignumBytes, OutputIsPaddedOnTheLeft) {
  uint8_t buffer[8];
  ASSERT_EQ(KXBN_tobytes(Big("10203040506"), buffer, sizeof buffer), KXBN_OK);
  const uint8_t expected[] = {0, 0, 1, 2, 3, 4, 5, 6};
  EXPECT_EQ(memcmp(buffer, expected, sizeof expected), 0);
}

TEST(BignumBytes, LittleEndianOutputIsPaddedOnTheRight) {
  uint8_t buffer[8];
  ASSERT_EQ(KXBN_tobytes_le(Big("10203040506"), buffer, sizeof buffer), KXBN_OK);
  const uint8_t expected[] = {6, 5, 4, 3, 2, 1, 0, 0};
  EXPECT_EQ(memcmp(buffer, expected, sizeof expected), 0);
}

TEST(BignumBytes, OctetsAroundTheOutputAreNotTouched) {
  for (size_t length = 7; length <= 13; ++length) {
    std::vector<uint8_t> memory(length + 2, 0x55);
    for (const auto write : {KXBN_tobytes, KXBN_tobytes_le}) {
      ASSERT_EQ(write(Big("10203040506aa"), memory.data() + 1, length), KXBN_OK);
      EXPECT_EQ(memory.front(), 0x55) << length;
      EXPECT_EQ(memory.back(), 0x55) << length;
    }
  }
}

TEST(BignumBytes, PaddingIsZeroWhateverTheNumberHeldBefore) {
  Big n("0123456789abcdef");
  KXBN_setword(n, 0xffffffff);  // the second word stays in its place, out of use
  uint8_t buffer[8];
  ASSERT_EQ(KXBN_tobytes(n, buffer, sizeof buffer), KXBN_OK);
  const uint8_t expected[] = {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(memcmp(buffer, expected, sizeof expected), 0);
}

TEST(BignumBytes, ZeroTakesOneOctet) {
  uint8_t buffer[1] = {0xAA};
  EXPECT_EQ(KXBN_tobytes(Big("0"), buffer, 0), KXBN_BADARG);
  EXPECT_EQ(buffer[0], 0xAA);
  EXPECT_EQ(KXBN_tobytes(Big("0"), buffer, 1), KXBN_OK);
  EXPECT_EQ(buffer[0], 0);
}

TEST(BignumBytes, OutputTooSmallIsRefused) {
  uint8_t buffer[3];
  EXPECT_EQ(KXBN_tobytes(Big("10000"), buffer, 2), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes_le(Big("10000"), buffer, 2), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes(Big("10000"), buffer, 3), KXBN_OK);
}

TEST(BignumBytes, MoreThan65536OctetsAreRefused) {
  std::vector<uint8_t> octets(65537, 1);
  KXBN* n = nullptr;
  EXPECT_EQ(KXBN_frombytes(&n, octets.data(), 65537, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_frombytes_le(&n, octets.data(), 65537, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_frombytes(&n, octets.data(), SIZE_MAX, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes(Big("1"), octets.data(), 65537), KXBN_BADARG);
  EXPECT_EQ(KXBN_tobytes(Big("1"), octets.data(), 65536), KXBN_OK);
  EXPECT_EQ(octets[65535], 1);
}

TEST(BignumBytes, RoomBeyondTheLargestNumberIsRefused) {
  std::vector<uint8_t> octets(65536, 0xFF);
  Big n;
  ASSERT_EQ(KXBN_frombytes(n.out(), octets.data(), 65528, nullptr), KXBN_OK);
  EXPECT_EQ(KXBN_bits(n), 65528u * 8);
  KXBN* refused = nullptr;
  EXPECT_EQ(KXBN_frombytes(&refused, octets.data(), 65529, nullptr), KXBN_BADARG);
  EXPECT_EQ(KXBN_frombytes(&refused, octets.data(), 65536, nullptr), KXBN_BADARG);
  EXPECT_EQ(refused, nullptr);
}

TEST(BignumBytes, AllocationFailuresAreReportedAndLeaveNothing) {
  const uint8_t octets[40] = {1};
  EachAllocationFails(
      [&] {
        Number n;
        return KXBN_frombytes(n.out(), octets, sizeof octets, nullptr);
      },
      {.least = 1});
}

}  // namespace
}  // namespace qex
