// The counts of message octets and bits, against arithmetic in 64 bits.
#include "crypto/digest/block_buffer.h"

#include <gtest/gtest.h>

namespace {

constexpr uint64_t kCounts[] = {
    0,          1,           0x1fffffff,         0xffffffff,         0x100000000,
    0xfffffff8, 0xffffffff8, 0x1fffffffffffffff, 0xfffffffffffffff8, 0xffffffffffffffff};
constexpr uint32_t kLengths[] = {0,          1,          64,         0x1fffffff, 0x20000000,
                                 0x20000001, 0x80000000, 0xfffffff8, 0xffffffff};

TEST(BlockBuffer, BitsAreCountedModuloTwoToThe64) {
  for (uint64_t count : kCounts) {
    for (uint32_t length : kLengths) {
      uint32_t low = uint32_t(count);
      uint32_t high = uint32_t(count >> 32);
      qex::AddBitCount(&low, &high, length);
      EXPECT_EQ(uint64_t{high} << 32 | low, count + uint64_t{8} * length) << count << " + 8 * " << length;
    }
  }
}

TEST(BlockBuffer, OctetsAreCountedModuloTwoToThe64) {
  for (uint64_t count : kCounts) {
    for (uint32_t length : kLengths) {
      uint32_t low = uint32_t(count);
      uint32_t high = uint32_t(count >> 32);
      qex::AddByteCount(&low, &high, length);
      EXPECT_EQ(uint64_t{high} << 32 | low, count + length) << count << " + " << length;
    }
  }
}

}  // namespace
