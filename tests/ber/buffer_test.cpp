// Chains of blocks: reading, writing, and their ends.
#include "ber/buffer.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/failing_alloc.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

Octets counting(size_t n) {
  Octets octets(n);
  for (size_t i = 0; i < n; ++i) octets[i] = uint8_t(i * 7 + i / 256);
  return octets;
}

void expect_order(const ExpBuf* block) {
  EXPECT_LE(block->blockStart, block->first);
  EXPECT_LE(block->first, block->cursor);
  EXPECT_LE(block->cursor, block->end);
  EXPECT_LE(block->end, block->blockEnd);
}

TEST(ExpBuf, ANewBlockIsEmptyAndSetForWritingBackward) {
  const BlockSize size(100);
  ExpBuf* block = ExpBufNew();
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block->blockEnd - block->blockStart, 100);
  EXPECT_EQ(block->first, block->blockEnd);
  EXPECT_EQ(block->end, block->blockEnd);
  EXPECT_EQ(block->cursor, block->blockEnd);
  EXPECT_EQ(block->nextBlock, nullptr);
  EXPECT_EQ(block->prevBlock, nullptr);
  EXPECT_EQ(block->readError, 0);
  EXPECT_EQ(block->writeError, 0);
  ExpBufFreeChain(block);
}

TEST(ExpBuf, ANewBlockMayHaveASizeOfItsOwn) {
  const BlockSize size(100);
  ExpBufHolder chain(3);
  const Octets run = {1, 2, 3};
  ExpBufPutSegRvs(chain.handle(), run.data(), run.size());
  const ExpBuf* const first = chain.block();
  EXPECT_EQ(first->blockEnd - first->blockStart, 3);
  ExpBufPutByteRvs(chain.handle(), 0);
  EXPECT_NE(chain.block(), first);
  EXPECT_EQ(chain.block()->blockEnd - chain.block()->blockStart, 100);
  ExpBufRewind(chain.handle());
  EXPECT_EQ(ToHex(OctetsOf(chain.block())), "00010203");
}

TEST(ExpBuf, AChainMayBeEmptiedAndWrittenAgain) {
  const BlockSize size(2);
  ExpBufHolder chain;
  const long before = LiveBlocks();
  for (const size_t n : {size_t{7}, size_t{1}, size_t{2}, size_t{0}, size_t{8}}) {
    const Octets run(n, uint8_t(n));
    ExpBufPutSegRvs(chain.handle(), run.data(), n / 2);
    for (size_t i = n / 2; i < n; ++i) ExpBufPutByteRvs(chain.handle(), uint8_t(n));
    ExpBufRewind(chain.handle());
    EXPECT_EQ(OctetsOf(chain.block()), run);
    EXPECT_EQ(ExpBufLength(chain.block()), n);
    Octets read(n + 1);
    EXPECT_EQ(ExpBufCopyOut(read.data(), chain.handle(), n + 1), n);  // a read error
    chain.empty();
    EXPECT_EQ(chain.block()->nextBlock, nullptr);
    EXPECT_FALSE(chain.failed());
    EXPECT_EQ(ExpBufLength(chain.block()), 0u);
  }
  EXPECT_LE(LiveBlocks() - before, 4) << "blocks are used again";
}

TEST(ExpBuf, EmptyingClearsAWriteError) {
  const BlockSize size(1);
  ExpBufHolder chain;
  {
    const FailingAlloc failing(0);
    ExpBufPutByteRvs(chain.handle(), 1);
    ExpBufPutByteRvs(chain.handle(), 2);
  }
  EXPECT_TRUE(chain.failed());
  chain.empty();
  EXPECT_FALSE(chain.failed());
  ExpBufPutByteRvs(chain.handle(), 3);
  EXPECT_EQ(ToHex(OctetsOf(chain.block())), "03");
}

TEST(ExpBuf, AHolderMayGetItsFirstBlockLater) {
  const BlockSize size(100);
  const long before = LiveBlocks();
  ExpBufHolder chain(nullptr);
  EXPECT_TRUE(chain.failed());
  EXPECT_EQ(LiveBlocks(), before);
  {
    const FailingAlloc failing(0);
    chain.empty();
    EXPECT_TRUE(chain.failed());
  }
  chain.empty();
  EXPECT_FALSE(chain.failed());
  ExpBufPutByteRvs(chain.handle(), 7);
  EXPECT_EQ(ToHex(OctetsOf(chain.block())), "07");
}

TEST(ExpBuf, BlockSizeStartsAt1024AndIsNeverZero) {
  EXPECT_EQ(kInitialBlockSize, 1024u);
  EXPECT_EQ(kLibraryBlockSize, 2048u);
  const BlockSize restore(0);
  EXPECT_EQ(ExpBufBlockSize(), 1u);
  EXPECT_EQ(ToHex(Encoded([](ExpBuf** b) {
              ExpBufPutByteRvs(b, 2);
              ExpBufPutByteRvs(b, 1);
              return 2u;
            })),
            "0102");
}

TEST(ExpBuf, NewLeaksNothingWhenMemoryRunsOut) {
  const long before = LiveBlocks();
  {
    const FailingAlloc failing(0);
    EXPECT_EQ(ExpBufNew(), nullptr);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(ExpBuf, WrappedDataAreReadInPlace) {
  Input in("010203");
  EXPECT_EQ(in.block()->first, in.data());
  EXPECT_EQ(in.block()->cursor, in.data());
  EXPECT_EQ(in.block()->blockStart, in.data());
  EXPECT_EQ(in.block()->end, in.data() + 3);
  EXPECT_EQ(in.block()->blockEnd, in.data() + 3);
  EXPECT_EQ(ExpBufGetByte(in.handle()), 1);
  EXPECT_EQ(ExpBufPeekByte(in.handle()), 2);
  EXPECT_EQ(ExpBufGetByte(in.handle()), 2);
  EXPECT_EQ(ExpBufGetByte(in.handle()), 3);
  EXPECT_EQ(in.block()->readError, 0);
  expect_order(in.block());
}

TEST(ExpBuf, WrappingClearsTheFlags) {
  ExpBuf block{};
  block.readError = 1;
  block.writeError = 1;
  const uint8_t octet = 9;
  ExpBufWrapData(&block, &octet, 1);
  EXPECT_EQ(block.readError, 0);
  EXPECT_EQ(block.writeError, 0);
}

TEST(ExpBuf, GetByteOfNoDataReturns0SetsReadErrorAndStays) {
  ExpBuf block;
  ExpBufWrapData(&block, nullptr, 0);
  ExpBuf* b = &block;
  EXPECT_EQ(ExpBufGetByte(&b), 0);
  EXPECT_EQ(block.readError, 1);
  EXPECT_EQ(b, &block);
  EXPECT_EQ(block.cursor, block.end);
}

TEST(ExpBuf, PeekByteAtTheEndReadsNothing) {
  Input in("");
  EXPECT_EQ(ExpBufPeekByte(in.handle()), 0);
  EXPECT_EQ(in.block()->readError, 1);
}

TEST(ExpBuf, ReadErrorStaysSet) {
  Input in("05");
  ExpBufGetByte(in.handle());
  EXPECT_EQ(in.block()->readError, 0);
  ExpBufGetByte(in.handle());
  EXPECT_EQ(in.block()->readError, 1);
  uint8_t octet;
  ExpBufCopyOut(&octet, in.handle(), 0);
  EXPECT_EQ(in.block()->readError, 1);
}

TEST(ExpBuf, TheLastByteOfABlockMovesPastEmptyBlocks) {
  Input in(std::vector<Octets>{{1}, {}, {}, {2}});
  EXPECT_EQ(ExpBufGetByte(in.handle()), 1);
  EXPECT_EQ(in.index(), 3u);
  EXPECT_EQ(ExpBufGetByte(in.handle()), 2);
  EXPECT_EQ(in.index(), 3u);
}

TEST(ExpBuf, WhenOnlyEmptyBlocksFollowTheHandleStopsAtTheLast) {
  Input in(std::vector<Octets>{{1}, {}, {}});
  EXPECT_EQ(ExpBufGetByte(in.handle()), 1);
  EXPECT_EQ(in.index(), 2u);
  EXPECT_EQ(in.block()->readError, 0);
  EXPECT_EQ(ExpBufGetByte(in.handle()), 0);
  EXPECT_EQ(in.block()->readError, 1);
}

TEST(ExpBuf, ABlockIsEnteredAtItsFirstByte) {
  Input in(std::vector<Octets>{{1}, {2, 3}});
  in.block()->nextBlock->cursor = in.block()->nextBlock->end;
  ExpBufGetByte(in.handle());
  EXPECT_EQ(ExpBufGetByte(in.handle()), 2);
}

TEST(ExpBuf, CopyOutCrossesBlocks) {
  const Octets all = counting(20);
  Input in(InBlocksOf(3, all));
  EXPECT_EQ(ExpBufGetByte(in.handle()), all[0]);
  Octets rest(19);
  EXPECT_EQ(ExpBufCopyOut(rest.data(), in.handle(), 19), 19u);
  EXPECT_EQ(Octets{all[0]} + rest, all);
  EXPECT_EQ(in.block()->readError, 0);
}

TEST(ExpBuf, PartsOfABlockAreReadOneAfterTheOther) {
  const uint8_t data[] = {1, 2, 3, 4, 5};
  ExpBuf buf;
  ExpBufWrapData(&buf, data, sizeof data);
  ExpBuf* at = &buf;
  uint8_t out[2] = {};
  EXPECT_EQ(ExpBufCopyOut(out, &at, 2), 2u);
  EXPECT_EQ(ExpBufCopyOut(out, &at, 2), 2u);
  EXPECT_EQ(out[0], 3);
  EXPECT_EQ(out[1], 4);
  EXPECT_EQ(ExpBufGetByte(&at), 5);
}

TEST(ExpBuf, CopyOutBeyondTheDataSetsReadErrorWhereItEnds) {
  Input in(std::vector<Octets>{{1, 2}, {3}});
  uint8_t out[8] = {};
  EXPECT_EQ(ExpBufCopyOut(out, in.handle(), 8), 3u);
  EXPECT_EQ(in.index(), 1u);
  EXPECT_EQ(in.block()->readError, 1);
  EXPECT_EQ(ToHex(out, 4), "01020300");
}

TEST(ExpBuf, CopyOutOfTheLastByteSucceeds) {
  Input in("0102");
  uint8_t out[2];
  EXPECT_EQ(ExpBufCopyOut(out, in.handle(), 2), 2u);
  EXPECT_EQ(ExpBufCopyOut(out, in.handle(), 0), 0u);
  EXPECT_EQ(in.block()->readError, 0);
}

TEST(ExpBuf, GetSegmentGivesTheRunOfOneBlockWithoutCopying) {
  Input in(std::vector<Octets>{{1, 2, 3}, {}, {4, 5}});
  size_t n = 2;
  EXPECT_EQ(ExpBufGetSegment(in.handle(), &n), in.data());
  EXPECT_EQ(n, 2u);
  n = 100;
  EXPECT_EQ(ExpBufGetSegment(in.handle(), &n), in.data() + 2);
  EXPECT_EQ(n, 1u);
  EXPECT_EQ(in.index(), 2u);
  n = 100;
  const uint8_t* run = ExpBufGetSegment(in.handle(), &n);
  ASSERT_EQ(n, 2u);
  EXPECT_EQ(run[0], 4);
  n = 100;
  EXPECT_EQ(ExpBufGetSegment(in.handle(), &n), nullptr);
  EXPECT_EQ(n, 0u);
}

TEST(ExpBuf, ExpectReturnsWhetherEnoughBytesRemain) {
  Input in(std::vector<Octets>{{1, 2, 3}, {}, {4, 5}});
  EXPECT_TRUE(ExpBufExpect(in.handle(), 0));
  EXPECT_TRUE(ExpBufExpect(in.handle(), 5));
  EXPECT_EQ(in.block()->nextBlock->nextBlock->readError, 0);
  EXPECT_FALSE(ExpBufExpect(in.handle(), 6));
  EXPECT_EQ(in.block()->nextBlock->nextBlock->readError, 1);
  EXPECT_FALSE(ExpBufExpect(in.handle(), SIZE_MAX));
}

TEST(ExpBuf, ExpectIsFalseAfterAFailedRead) {
  Input in("");
  ExpBufGetByte(in.handle());
  EXPECT_FALSE(ExpBufExpect(in.handle(), 0));
}

TEST(ExpBuf, TheByteAfterAFullBlockGoesIntoANewFirstBlock) {
  const BlockSize size(kLibraryBlockSize);
  ExpBufHolder chain;
  ExpBuf* const last = chain.block();
  for (int i = 0; i < 2048; ++i) ExpBufPutByteRvs(chain.handle(), 0x11);
  EXPECT_EQ(chain.block(), last);
  EXPECT_EQ(last->first, last->blockStart);
  EXPECT_EQ(last->prevBlock, nullptr);

  ExpBufPutByteRvs(chain.handle(), 0x22);
  ExpBuf* const front = chain.block();
  EXPECT_NE(front, last);
  EXPECT_EQ(front->nextBlock, last);
  EXPECT_EQ(last->prevBlock, front);
  EXPECT_EQ(*front->first, 0x22);
  EXPECT_EQ(front->end - front->first, 1);
  EXPECT_EQ(ExpBufLength(last), 2049u);
  EXPECT_EQ(ExpBufFirst(last), front);
  EXPECT_EQ(ExpBufLast(front), last);
}

TEST(ExpBuf, ARunLongerThanTheRoomKeepsItsOrder) {
  const BlockSize size(16);
  for (const size_t n : {0u, 1u, 15u, 16u, 17u, 32u, 33u, 100u}) {
    ExpBufHolder chain;
    ExpBufPutByteRvs(chain.handle(), 0xEE);
    const Octets run = counting(n);
    ExpBufPutSegRvs(chain.handle(), run.data(), n);
    EXPECT_EQ(OctetsOf(chain.block()), run + Octets{0xEE}) << n;
    EXPECT_FALSE(chain.failed());
  }
}

TEST(ExpBuf, RunsAndBytesMixedAgreeWithASlowString) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    const BlockSize size(1 + random() % 40);
    ExpBufHolder chain;
    Octets expected;
    for (int step = 0; step < 30; ++step) {
      if (random() % 2 != 0) {
        const Octets run = counting(random() % 90);
        ExpBufPutSegRvs(chain.handle(), run.data(), run.size());
        expected = run + expected;
      } else {
        const auto octet = uint8_t(random());
        ExpBufPutByteRvs(chain.handle(), octet);
        expected.insert(expected.begin(), octet);
      }
    }
    ASSERT_EQ(OctetsOf(chain.block()), expected);
    ASSERT_EQ(ExpBufLength(chain.block()), expected.size());
    ExpBufRewind(chain.handle());
    Octets read(expected.size());
    ASSERT_EQ(ExpBufCopyOut(read.data(), chain.handle(), read.size()), read.size());
    ASSERT_EQ(read, expected);
    uint8_t more;
    ASSERT_EQ(ExpBufCopyOut(&more, chain.handle(), 1), 0u);
  }
}

TEST(ExpBuf, PutByteEmptiesAnExistingBlockBeforeIt) {
  const BlockSize size(2);
  ExpBufHolder chain;
  ExpBuf* const last = chain.block();
  for (uint8_t i = 1; i <= 3; ++i) ExpBufPutByteRvs(chain.handle(), i);
  ExpBuf* const front = chain.block();
  front->writeError = 1;
  *chain.handle() = last;
  ExpBufPutByteRvs(chain.handle(), 9);
  EXPECT_EQ(chain.block(), front);
  EXPECT_EQ(front->end, front->blockEnd);
  EXPECT_EQ(front->writeError, 0);
  EXPECT_EQ(front->readError, 1);
  EXPECT_EQ(ToHex(OctetsOf(front)), "090201");
}

TEST(ExpBuf, PutSegUsesAnExistingBlockBeforeItUnchanged) {
  const BlockSize size(4);
  ExpBufHolder chain;
  ExpBuf* const last = chain.block();
  for (uint8_t i = 1; i <= 5; ++i) ExpBufPutByteRvs(chain.handle(), i);
  ExpBuf* const front = chain.block();
  *chain.handle() = last;
  const Octets run = {7, 8};
  ExpBufPutSegRvs(chain.handle(), run.data(), run.size());
  EXPECT_EQ(chain.block(), front);
  EXPECT_EQ(front->readError, 0);
  EXPECT_EQ(ToHex(OctetsOf(front)), "07080504030201");
}

TEST(ExpBuf, ABlockThatCannotBeAllocatedIsAWriteErrorAndLaterWritesDoNothing) {
  const BlockSize size(4);
  const Octets run = counting(6);
  {
    ExpBufHolder chain;
    {
      const FailingAlloc failing(0);
      ExpBufPutSegRvs(chain.handle(), run.data(), run.size());
    }
    EXPECT_TRUE(chain.failed());
    EXPECT_EQ(OctetsOf(chain.block()), Octets(run.begin() + 2, run.end()));  // its tail
    ExpBufPutSegRvs(chain.handle(), run.data(), run.size());
    ExpBufPutByteRvs(chain.handle(), 1);
    EXPECT_EQ(ExpBufLength(chain.block()), 4u);
  }
  ExpBufHolder chain;
  for (int i = 0; i < 4; ++i) ExpBufPutByteRvs(chain.handle(), 1);
  {
    const FailingAlloc failing(0);
    ExpBufPutByteRvs(chain.handle(), 2);
  }
  EXPECT_TRUE(chain.failed());
  ExpBufPutByteRvs(chain.handle(), 3);
  EXPECT_EQ(ToHex(OctetsOf(chain.block())), "01010101");
}

TEST(ExpBuf, RewindStartsAtTheFirstBlockThatHoldsData) {
  Input in(std::vector<Octets>{{}, {1, 2}, {3}});
  *in.handle() = in.block()->nextBlock;
  uint8_t out[4];
  ExpBufCopyOut(out, in.handle(), 4);
  EXPECT_EQ(in.block()->readError, 1);
  ExpBufRewind(in.handle());
  EXPECT_EQ(in.index(), 1u);
  EXPECT_EQ(ExpBufCopyOut(out, in.handle(), 3), 3u);
  EXPECT_EQ(in.block()->readError, 0);
  EXPECT_EQ(ToHex(out, 3), "010203");
}

TEST(ExpBuf, FreeingNoChainIsAllowedAndFreeingAChainFreesAll) {
  ExpBufFreeChain(nullptr);
  const long before = LiveBlocks();
  const BlockSize size(1);
  ExpBuf* b = ExpBufNew();
  for (int i = 0; i < 10; ++i) ExpBufPutByteRvs(&b, 1);
  EXPECT_EQ(LiveBlocks(), before + 10);
  ExpBufFreeChain(b);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(ExpBuf, AHolderFreesItsChainFromTheFrontBlockOn) {
  const long before = LiveBlocks();
  const BlockSize size(1);
  {
    ExpBufHolder chain;
    for (int i = 0; i < 10; ++i) ExpBufPutByteRvs(chain.handle(), 1);
    ExpBufRewind(chain.handle());
    for (int i = 0; i < 10; ++i) EXPECT_EQ(ExpBufGetByte(chain.handle()), 1);
    EXPECT_GT(LiveBlocks(), before);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(ExpBuf, AHolderWithoutMemoryIsFalseAndFailed) {
  const FailingAlloc failing(0);
  const ExpBufHolder chain;
  EXPECT_FALSE(static_cast<bool>(chain));
  EXPECT_TRUE(chain.failed());
}

TEST(ExpBuf, CopyToFileWritesTheChainAndNothingForAnEmptyBlock) {
  Input in(std::vector<Octets>{{'a', 'b'}, {}, {'x'}, {'c', 'd', 'e'}});
  *in.handle() = in.block()->nextBlock;
  size_t last = 0;
  testing::internal::CaptureStderr();
  EXPECT_EQ(Printed([&](FILE* f) { last = ExpBufCopyToFile(in.block(), f); }), "abxcde");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(last, 3u);
}

TEST(ExpBuf, CopyToFileReturnsTheResultOfTheLastWrite) {
  Input in(std::vector<Octets>{{'a'}, {}});
  size_t last = 9;
  Printed([&](FILE* f) { last = ExpBufCopyToFile(in.block(), f); });
  EXPECT_EQ(last, 0u);
}

TEST(ExpBuf, CopyToFileReportsEachShortWriteAndGoesOn) {
  Input in(std::vector<Octets>{{1}, {2}});
  FILE* closed = std::fopen("/dev/null", "r");  // not open for writing
  ASSERT_NE(closed, nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(ExpBufCopyToFile(in.block(), closed), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ExpBufCopyToFile: error during writing\nExpBufCopyToFile: error during writing\n");
  std::fclose(closed);
}

#ifndef NDEBUG
TEST(ExpBufDeathTest, ABuildForDebuggingChecksWhatCallersMustKeep) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  ExpBuf block;
  EXPECT_DEATH(ExpBufWrapData(&block, nullptr, 1),
               "^Expectation failed: data != nullptr \\|\\| len == 0, file ");
  ExpBufWrapData(&block, nullptr, 0);
  ExpBuf* b = &block;
  EXPECT_DEATH(ExpBufEnterNextBlock(&b), "^Expectation failed: \\(\\*b\\)->nextBlock != nullptr, file ");
  EXPECT_DEATH(ExpBufPutSegRvs(&b, nullptr, 1), "^Expectation failed: data != nullptr \\|\\| n == 0, file ");
}
#endif

}  // namespace
}  // namespace qex::test
