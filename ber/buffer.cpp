// Expanding buffers: blocks and chains, reading forward, writing backward.
//
// Header and data are one allocation of the C heap, never zeroed: every byte between `first` and `end` has
// been written by a caller.
#include "ber/buffer.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "ground/expect.h"

namespace qex {
namespace {

std::atomic<size_t> block_size{kInitialBlockSize};

void empty_for_writing(ExpBuf* block) {
  block->end = block->blockEnd;
  block->first = block->blockEnd;
  block->cursor = block->blockEnd;
}

// room is the number of bytes that still fit before the data of `block`.
size_t room(const ExpBuf* block) {
  return size_t(block->first - block->blockStart);
}

size_t unread(const ExpBuf* block) {
  return size_t(block->end - block->cursor);
}

size_t held(const ExpBuf* block) {
  return size_t(block->end - block->first);
}

// put_block_in_front allocates a block before the front-most block `*b` and moves the handle
// to it; without memory it marks the current block.
[[nodiscard]] bool put_block_in_front(ExpBuf** b) {
  ExpBuf* current = *b;
  ExpBuf* fresh = ExpBufNew();
  if (fresh == nullptr) {
    current->writeError = 1;
    return false;
  }
  fresh->nextBlock = current;
  current->prevBlock = fresh;
  *b = fresh;
  return true;
}

// advance moves past `n` bytes of the current block, and out of it when it is used up.
void advance(ExpBuf** b, size_t n) {
  ExpBuf* block = *b;
  block->cursor += n;
  if (block->cursor == block->end && block->nextBlock != nullptr) ExpBufEnterNextBlock(b);
}

}  // namespace

void ExpBufSetBlockSize(size_t bytes) {
  block_size.store(std::max<size_t>(bytes, 1), std::memory_order_relaxed);
}

size_t ExpBufBlockSize() {
  return block_size.load(std::memory_order_relaxed);
}

ExpBuf* ExpBufNew(size_t size) {
  if (size > SIZE_MAX - sizeof(ExpBuf)) return nullptr;
  auto* block = static_cast<ExpBuf*>(std::malloc(sizeof(ExpBuf) + size));
  if (block == nullptr) return nullptr;
  *block = ExpBuf{};
  auto* data = reinterpret_cast<uint8_t*>(block + 1);
  block->blockStart = data;
  block->blockEnd = data + size;
  empty_for_writing(block);
  return block;
}

void ExpBufWrapData(ExpBuf* buf, const uint8_t* data, size_t len) {
  QEX_EXPECT(data != nullptr || len == 0);
  // The bytes are never written: the chain operations write only before `first`, and there is no room before
  // the first byte of a wrapped block.
  auto* start = const_cast<uint8_t*>(data);
  *buf = ExpBuf{};
  buf->blockStart = start;
  buf->first = start;
  buf->cursor = start;
  buf->end = len == 0 ? start : start + len;
  buf->blockEnd = buf->end;
}

void ExpBufFreeChain(ExpBuf* buf) {
  while (buf != nullptr) {
    ExpBuf* next = buf->nextBlock;
    std::free(buf);
    buf = next;
  }
}

ExpBuf* ExpBufFirst(ExpBuf* buf) {
  while (buf->prevBlock != nullptr) buf = buf->prevBlock;
  return buf;
}

ExpBuf* ExpBufLast(ExpBuf* buf) {
  while (buf->nextBlock != nullptr) buf = buf->nextBlock;
  return buf;
}

void ExpBufRewind(ExpBuf** b) {
  ExpBuf* front = ExpBufFirst(*b);
  ExpBuf* block = front;
  do {  // a chain has one block at least
    block->cursor = block->first;
    block->readError = 0;
    block = block->nextBlock;
  } while (block != nullptr);
  while (held(front) == 0 && front->nextBlock != nullptr) front = front->nextBlock;
  *b = front;
}

void ExpBufEmpty(ExpBuf** b) {
  ExpBuf* block = ExpBufFirst(*b);
  for (;; block = block->nextBlock) {
    empty_for_writing(block);
    block->readError = 0;
    block->writeError = 0;
    if (block->nextBlock == nullptr) break;
  }
  *b = block;
}

size_t ExpBufLength(const ExpBuf* buf) {
  while (buf->prevBlock != nullptr) buf = buf->prevBlock;
  size_t total = 0;
  for (; buf != nullptr; buf = buf->nextBlock) total += held(buf);
  return total;
}

void ExpBufEnterNextBlock(ExpBuf** b) {
  QEX_EXPECT((*b)->nextBlock != nullptr);
  ExpBuf* block = (*b)->nextBlock;
  while (block->first == block->end && block->nextBlock != nullptr) block = block->nextBlock;
  block->cursor = block->first;
  *b = block;
}

uint8_t ExpBufPeekByte(ExpBuf** b) {
  ExpBuf* block = *b;
  if (block->cursor == block->end) {
    block->readError = 1;
    return 0;
  }
  return *block->cursor;
}

size_t ExpBufCopyAcross(uint8_t* dst, ExpBuf** b, size_t n) {
  size_t copied = 0;
  while (copied < n) {
    ExpBuf* block = *b;
    const size_t run = std::min(n - copied, unread(block));
    if (run == 0) {
      block->readError = 1;
      break;
    }
    std::memcpy(dst + copied, block->cursor, run);
    copied += run;
    advance(b, run);
  }
  return copied;
}

const uint8_t* ExpBufGetSegment(ExpBuf** b, size_t* n) {
  const size_t left = unread(*b);
  if (left == 0) {
    *n = 0;
    return nullptr;
  }
  *n = std::min(*n, left);
  const uint8_t* run = (*b)->cursor;
  advance(b, *n);
  return run;
}

bool ExpBufExpectAcross(ExpBuf** b, size_t n) {
  ExpBuf* block = *b;
  size_t left = unread(block);
  while (left < n && block->nextBlock != nullptr) {
    block = block->nextBlock;
    left += held(block);
  }
  if (left < n) block->readError = 1;
  return left >= n && (*b)->readError == 0;
}

bool ExpBufEnterPrevBlock(ExpBuf** b) {
  ExpBuf* previous = (*b)->prevBlock;
  if (previous == nullptr) return put_block_in_front(b);
  empty_for_writing(previous);
  previous->writeError = 0;
  previous->readError = 1;  // not readable until the chain is rewound
  *b = previous;
  return true;
}

void ExpBufPutAcrossRvs(ExpBuf** b, const uint8_t* data, size_t n) {
  QEX_EXPECT(data != nullptr || n == 0);
  while (n != 0 && (*b)->writeError == 0) {
    ExpBuf* block = *b;
    const size_t run = std::min(n, room(block));
    n -= run;
    block->first -= run;
    std::memcpy(block->first, data + n, run);
    if (n == 0) return;
    if (block->prevBlock != nullptr) {
      *b = block->prevBlock;
    } else if (!put_block_in_front(b)) {
      return;
    }
  }
}

size_t ExpBufCopyToFile(ExpBuf* buf, FILE* file) {
  size_t written = 0;
  for (const ExpBuf* block = ExpBufFirst(buf); block != nullptr; block = block->nextBlock) {
    const size_t n = held(block);
    written = n == 0 ? 0 : std::fwrite(block->first, 1, n, file);
    if (written != n) std::fputs("ExpBufCopyToFile: error during writing\n", stderr);
  }
  return written;
}

}  // namespace qex
