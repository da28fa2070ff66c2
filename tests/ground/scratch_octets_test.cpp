// Octets for the time of a call: what they hold, and that they go.
#include "ground/scratch_octets.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/failing_alloc.h"

namespace qex {
namespace {

using test::FailingAlloc;
using test::LiveBlocks;

TEST(ScratchOctets, AreZeroAndWritable) {
  constexpr size_t kSize = 300;
  const ScratchOctets scratch(kSize);
  ASSERT_TRUE(scratch);
  EXPECT_EQ(std::count(scratch.octets(), scratch.octets() + kSize, 0), long{kSize});
  std::fill_n(scratch.octets(), kSize, uint8_t{0xa5});
  EXPECT_EQ(scratch.octets()[kSize - 1], 0xa5);
}

TEST(ScratchOctets, AreOneBlockUntilTheEndOfTheirOwn) {
  const long before = LiveBlocks();
  {
    const ScratchOctets scratch(16);
    EXPECT_NE(scratch.octets(), nullptr);
    EXPECT_EQ(LiveBlocks(), before + 1);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(ScratchOctets, SizeOfZeroIsNoFailure) {
  const ScratchOctets scratch(0);
  EXPECT_TRUE(scratch);
  EXPECT_NE(scratch.octets(), nullptr);
}

TEST(ScratchOctets, FailingAllocationLeavesNone) {
  const long before = LiveBlocks();
  const FailingAlloc memory(0);
  const ScratchOctets scratch(16);
  EXPECT_FALSE(scratch);
  EXPECT_EQ(scratch.octets(), nullptr);
  EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace
}  // namespace qex
