// The arena of decoded values: what it takes from the heap, and that it gives all of it back.
#include "ber/arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "ber/list.h"
#include "ber/memory.h"
#include "tests/support/error_capture.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/instrumentation.h"

namespace qex::test {
namespace {

// Bytes that a part fills and that no other part may touch.
struct ArenaPart {
  uint8_t* start;
  size_t bytes;
  uint8_t fill;

  bool intact() const {
    for (size_t i = 0; i < bytes; ++i) {
      if (start[i] != fill) return false;
    }
    return true;
  }
};

TEST(Arena, PartsAreAlignedAndApart) {
  Arena arena;
  std::vector<ArenaPart> parts;
  for (size_t i = 0; i < 3000; ++i) {
    const size_t bytes = i % 7 == 6 ? 50 * i : i % 90;  // some too large for a chunk
    auto* const start = static_cast<uint8_t*>(arena.take(bytes));
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(start) % Arena::kAlignment, 0u);
    parts.push_back({start, bytes, uint8_t(i)});
    if (bytes != 0) std::memset(start, uint8_t(i), bytes);
  }
  for (const ArenaPart& part : parts) EXPECT_TRUE(part.intact());
}

TEST(Arena, NoBytesStillGiveAPointerOfTheirOwn) {
  Arena arena;
  void* const a = arena.take(0);
  void* const b = arena.take(0);
  void* const c = arena.take(1);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(b, nullptr);
  EXPECT_NE(a, b);
  EXPECT_NE(b, c);
}

TEST(Arena, ZeroedBytesAreZeroWhereverTheyComeFrom) {
  for (const uint8_t rest : {uint8_t{0xFF}, uint8_t{0x01}}) {
    Arena arena;  // the second one gets memory that the first has used
    for (size_t bytes = 0; bytes < 3000; bytes += 13) {
      auto* const start = static_cast<uint8_t*>(arena.take_zeroed(bytes));
      ASSERT_NE(start, nullptr);
      EXPECT_TRUE((ArenaPart{start, bytes, 0}).intact()) << bytes;
      if (bytes != 0) std::memset(start, rest, bytes);
    }
  }
}

TEST(Arena, NothingIsAllocatedBeforeTheFirstPart) {
  const FailingAlloc failing(0);
  Arena arena;
  arena.expect(1000000);
  EXPECT_EQ(failing.refused(), 0u);
}

// --- Chunks --------------------------------------------------------------------------------------

// blocks_for returns how many blocks an arena has after `parts` parts of `bytes` bytes each, and leaves none.
long blocks_for(size_t parts, size_t bytes, size_t expected = 0) {
  const long before = LiveBlocks();
  long taken = 0;
  {
    Arena arena;
    arena.expect(expected);
    for (size_t i = 0; i < parts; ++i) EXPECT_NE(arena.take(bytes), nullptr);
    taken = LiveBlocks() - before;
  }
  EXPECT_EQ(LiveBlocks(), before);
  return taken;
}

size_t aligned(size_t bytes) {
  return (bytes + Arena::kAlignment - 1) / Arena::kAlignment * Arena::kAlignment;
}

TEST(Arena, ChunksGrow) {
  if (kSanitized) GTEST_SKIP() << "each part is a block";
  EXPECT_EQ(blocks_for(0, 8), 0);
  EXPECT_EQ(blocks_for(125, 8), 1);
  EXPECT_EQ(blocks_for(126, 8), 2);
  EXPECT_EQ(blocks_for(1000 / Arena::kAlignment, 0), 1) << "no bytes take as much as one";
  EXPECT_EQ(blocks_for(1000 / Arena::kAlignment + 1, 1), 2);
  EXPECT_EQ(blocks_for(125 + 250, 8), 2);
  EXPECT_EQ(blocks_for(125 + 250 + 1, 8), 3);
  // 1000, 2000, 4000, 8000, 16000, 32000 bytes, then 32768 at a time.
  EXPECT_EQ(blocks_for(63000 / 8, 8), 6);
  EXPECT_EQ(blocks_for(63000 / 8 + 10 * 4096, 8), 16);
}

TEST(Arena, TheInputDecidesTheFirstChunkWithinBounds) {
  if (kSanitized) GTEST_SKIP() << "each part is a block";
  ForgetRequests();
  const struct {
    size_t octets;
    size_t room;
  } cases[] = {{0, 1000},     {250, 1000},      {251, aligned(1004)}, {5000, 20000}, {8191, aligned(32764)},
               {8192, 32768}, {SIZE_MAX, 32768}};
  for (const auto& one : cases) {
    ForgetRequests();
    EXPECT_EQ(blocks_for(one.room / 8, 8, one.octets), 1) << one.octets;
    EXPECT_EQ(LargestRequest(), one.room + sizeof(void*)) << one.octets;
    EXPECT_EQ(blocks_for(one.room / 8 + 1, 8, one.octets), 2) << one.octets;
  }
}

// A part that is large for a chunk leaves the current one in use.
TEST(Arena, LargePartsHaveChunksOfTheirOwn) {
  if (kSanitized) GTEST_SKIP() << "each part is a block";
  ForgetRequests();
  EXPECT_EQ(blocks_for(1, 126), 1);  // an eighth of 1000 is 125
  EXPECT_EQ(LargestRequest(), 126 + sizeof(void*));
  const long before = LiveBlocks();
  Arena arena;
  auto* const first = static_cast<uint8_t*>(arena.take(8));
  EXPECT_NE(arena.take(100000), nullptr);
  EXPECT_EQ(LiveBlocks() - before, 2);
  EXPECT_EQ(arena.take(8), first + 8);
  EXPECT_EQ(LiveBlocks() - before, 2);
}

TEST(Arena, ChunksGrowAfterLargePartsToo) {
  if (kSanitized) GTEST_SKIP() << "each part is a block";
  EXPECT_EQ(blocks_for(10, 1000), 4);  // 1000, 1000 and 1000 alone, then 8 in one of 8000
}

TEST(Arena, LittleIsLeftUnused) {
  if (kSanitized) GTEST_SKIP() << "each part is a block";
  for (const size_t bytes : {8u, 24u, 200u, 4096u}) {
    const size_t parts = 5000000 / bytes;
    const long blocks = blocks_for(parts, bytes);
    EXPECT_LE(size_t(blocks) * Arena::kLargestChunk, parts * bytes * 101 / 100 + 8 * Arena::kLargestChunk);
  }
}

TEST(Arena, UnderAddressSanitizerEachPartIsABlock) {
#if defined(__SANITIZE_ADDRESS__) || QEX_HAS_FEATURE(address_sanitizer)
  EXPECT_EQ(blocks_for(100, 8), 100);
  EXPECT_EQ(blocks_for(3, 0), 3);
#else
  EXPECT_EQ(blocks_for(100, 8), 1);
#endif
}

// --- Failure -------------------------------------------------------------------------------------

TEST(Arena, EachChunkThatCannotBeAllocatedIsNullAndTheRestIsKept) {
  if (kSanitized) GTEST_SKIP() << "each part is a block";
  const long before = LiveBlocks();
  for (size_t allowed = 0; allowed < 4; ++allowed) {
    Arena arena;
    const FailingAlloc failing(allowed, 1);
    size_t parts = 0;
    while (arena.take(40) != nullptr) ++parts;
    EXPECT_EQ(failing.refused(), 1u);
    EXPECT_EQ(parts, (std::vector<size_t>{0, 25, 75, 175}[allowed]));
    EXPECT_NE(arena.take(40), nullptr) << "the next allocation succeeds again";
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(Arena, APartOfItsOwnThatCannotBeAllocatedIsNull) {
  Arena arena;
  EXPECT_NE(arena.take(8), nullptr);
  {
    const FailingAlloc failing(0);
    EXPECT_EQ(arena.take(5000), nullptr);
    EXPECT_EQ(arena.take_zeroed(5000), nullptr);
  }
  EXPECT_EQ(arena.take(SIZE_MAX), nullptr) << "no sum wraps";
  EXPECT_NE(arena.take(5000), nullptr);
}

// --- What decoders see ---------------------------------------------------------------------------

TEST(AsnNew, ComesFromTheArenaOfTheRecoveryPointOrFromTheHeap) {
  const long before = LiveBlocks();
  {
    Arena arena;
    EXPECT_EQ(AsnCatch(
                  [](AsnJmpEnv& env) {
                    EXPECT_EQ(*static_cast<uint64_t*>(AsnNew(8, env)), 0u);
                    std::memset(AsnNewOctets(9, env), 0xFF, 9);
                    EXPECT_EQ(*static_cast<uint64_t*>(AsnNew(8, env)), 0u);
                  },
                  &arena),
              0);
  }
  EXPECT_EQ(LiveBlocks(), before) << "released with the arena";
  EXPECT_EQ(AsnCatch([&](AsnJmpEnv& env) {
              void* const p = AsnNew(8, env);
              EXPECT_EQ(*static_cast<uint64_t*>(p), 0u);
              void* const octets = AsnNewOctets(0, env);
              EXPECT_EQ(LiveBlocks(), before + 2);
              AsnFree(octets);
              AsnFree(p);
            }),
            0);
}

TEST(AsnNew, RaisesMinus27WithoutATextWhenAllocationFails) {
  Arena arena;
  for (Arena* const where : {static_cast<Arena*>(nullptr), &arena}) {
    const ErrorCapture quiet;
    const FailingAlloc failing(0);
    EXPECT_EQ(AsnCatch([](AsnJmpEnv& env) { static_cast<void>(AsnNew(8, env)); }, where), -27);
    EXPECT_EQ(AsnCatch([](AsnJmpEnv& env) { static_cast<void>(AsnNewOctets(8, env)); }, where), -27);
    EXPECT_EQ(quiet.count(), 0u);
  }
}

TEST(AsnNew, AppendsNodesToLists) {
  const long before = LiveBlocks();
  {
    Arena arena;
    AsnList list{};
    list.dataSize = sizeof(void*);
    int first = 1, second = 2;
    EXPECT_EQ(AsnCatch(
                  [&](AsnJmpEnv& env) {
                    for (int* const element : {&first, &second}) {
                      *static_cast<void**>(AsnListAppendNew(&list, env)) = element;
                    }
                  },
                  &arena),
              0);
    EXPECT_EQ(list.count, 2);
    EXPECT_EQ(list.first->data[0], &first);
    EXPECT_EQ(list.last->data[0], &second);
    EXPECT_EQ(list.last->prev, list.first);
    list.count = INT32_MAX;
    EXPECT_EQ(AsnCatch([&](AsnJmpEnv& env) { static_cast<void>(AsnListAppendNew(&list, env)); }, &arena),
              -27);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace
}  // namespace qex::test
