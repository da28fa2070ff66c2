// AsnAlloc gives zeroed blocks that do not overlap, and null when there is no memory.
#include "ber/memory.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/failing_alloc.h"

namespace qex::test {
namespace {

TEST(AsnAlloc, MemoryIsZeroed) {
  for (const size_t n : {1u, 7u, 1000u, 100000u}) {
    auto* p = static_cast<uint8_t*>(AsnAlloc(n));
    ASSERT_NE(p, nullptr);
    for (size_t i = 0; i < n; ++i) ASSERT_EQ(p[i], 0);
    for (size_t i = 0; i < n; ++i) p[i] = 0xFF;  // a later allocation may get this memory
    AsnFree(p);
  }
}

TEST(AsnAlloc, NoBytesStillGiveAPointerOfTheirOwn) {
  void* a = AsnAlloc(0);
  void* b = AsnAlloc(0);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(b, nullptr);
  EXPECT_NE(a, b);
  AsnFree(a);
  AsnFree(b);
}

TEST(AsnAlloc, NoBytesAreAskedForAsOne) {
  // What the heap gives for none is its own affair, and may be nothing.
  ForgetRequests();
  AsnFree(AsnAlloc(0));
  EXPECT_EQ(LargestRequest(), 1u);
}

TEST(AsnAlloc, FailureIsNull) {
  const FailingAlloc failing(0);
  EXPECT_EQ(AsnAlloc(8), nullptr);
}

TEST(AsnAlloc, FreeingNullIsAllowed) {
  AsnFree(nullptr);
}

}  // namespace
}  // namespace qex::test
