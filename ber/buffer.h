// Expanding buffers: every decoder reads from them and every encoder writes into them.
//
// An ExpBuf is one block of a doubly linked chain. Decoders read a chain forward, encoders write it backward:
// content, then length, then tag. So no length has to be known in advance. Operations take a handle, a
// pointer to the variable that holds the current block, and move it along the chain. Of every block:
// blockStart <= first <= cursor <= end <= blockEnd, once it is rewound for reading.
// ExpBufLast has no caller in the library; it is part of what this header offers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qex {

struct ExpBuf {
  uint8_t* first;       // first valid data byte; writing backward moves it down
  uint8_t* end;         // one past the last valid data byte
  uint8_t* cursor;      // next byte to read
  ExpBuf* nextBlock;    // following block, or null
  ExpBuf* prevBlock;    // preceding block, or null
  uint8_t* blockStart;  // start of the data block
  uint8_t* blockEnd;    // one past the data block
  int32_t readError;    // set when a read finds no more data; no read clears it
  int32_t writeError;   // set when an allocation fails while writing; writes are then ignored
};

inline constexpr size_t kInitialBlockSize = 1024;
inline constexpr size_t kLibraryBlockSize = 2048;  // in force once the library is initialised

// ExpBufSetBlockSize sets the size in bytes of the data blocks allocated from now on; 0
// counts as 1. ExpBufBlockSize returns it. One atomic word of the process holds it.
void ExpBufSetBlockSize(size_t bytes);
[[nodiscard]] size_t ExpBufBlockSize();

// ExpBufNew returns one empty block of `size` bytes, set for writing backward, or null when an allocation
// fails.
[[nodiscard]] ExpBuf* ExpBufNew(size_t size = ExpBufBlockSize());

// ExpBufWrapData makes `buf` describe `len` bytes of the caller for reading. Nothing is
// copied; the bytes stay the caller's, are never written, and `buf` must not be passed to
// ExpBufFreeChain.
void ExpBufWrapData(ExpBuf* buf, const uint8_t* data, size_t len);

// ExpBufFreeChain frees `buf` and every block after it. Null is allowed.
void ExpBufFreeChain(ExpBuf* buf);

// ExpBufFirst and ExpBufLast return the block at that end of the chain of `buf`.
[[nodiscard]] ExpBuf* ExpBufFirst(ExpBuf* buf);
[[nodiscard]] ExpBuf* ExpBufLast(ExpBuf* buf);

// ExpBufRewind makes the chain readable from its start: the handle moves to the front-most
// block that holds data, cursors return to the first byte and every readError is cleared.
void ExpBufRewind(ExpBuf** b);

// ExpBufEmpty makes the chain one for writing backward again, without data, and moves the handle to its last
// block. The blocks stay.
void ExpBufEmpty(ExpBuf** b);

// ExpBufLength returns the number of data bytes in the whole chain of `buf`.
[[nodiscard]] size_t ExpBufLength(const ExpBuf* buf);

// ExpBufEnterNextBlock moves the handle from a used-up block that has a successor to the next
// one that holds data, or to the last one, and sets that block's cursor to its start.
void ExpBufEnterNextBlock(ExpBuf** b);

// ExpBufGetByte returns the next byte and advances. At the end of the data it sets
// readError and returns 0; the handle stays. When a block is used up the handle moves to
// the next one that holds data.
inline uint8_t ExpBufGetByte(ExpBuf** b) {
  ExpBuf* block = *b;
  if (block->cursor == block->end) {
    block->readError = 1;
    return 0;
  }
  const uint8_t byte = *block->cursor++;
  if (block->cursor == block->end && block->nextBlock != nullptr) ExpBufEnterNextBlock(b);
  return byte;
}

// ExpBufIsAhead returns whether a byte can be read that is not the last of its block: reading it moves the
// cursor and nothing else. No read has failed then.
[[nodiscard]] inline bool ExpBufIsAhead(const ExpBuf* block) {
  return block->end - block->cursor > 1 && block->readError == 0;
}

// ExpBufPeekByte returns the next byte without advancing; at the end of the data it
// sets readError and returns 0, and reads nothing.
[[nodiscard]] uint8_t ExpBufPeekByte(ExpBuf** b);

// ExpBufCopyOut copies up to `n` bytes to `dst`, crossing blocks, and returns how many.
// Fewer than `n` set readError on the block where the handle ends.
size_t ExpBufCopyAcross(uint8_t* dst, ExpBuf** b, size_t n);  // wherever they are
inline size_t ExpBufCopyOut(uint8_t* dst, ExpBuf** b, size_t n) {
  ExpBuf* block = *b;
  if (n >= size_t(block->end - block->cursor)) return ExpBufCopyAcross(dst, b, n);
  std::memcpy(dst, block->cursor, n);
  block->cursor += n;
  return n;
}

// ExpBufGetSegment returns the next run of at most `*n` bytes inside the current block
// without copying, sets `*n` to its length and advances as ExpBufGetByte does. At the end of
// the data it returns null and sets `*n` to 0; readError is not touched.
[[nodiscard]] const uint8_t* ExpBufGetSegment(ExpBuf** b, size_t* n);

// ExpBufExpect returns whether `n` bytes can be read: as many remain, and no read has failed. Where
// fewer remain it sets readError, as reading them would. It looks at no more blocks than the
// bytes take up, so that asking before every value keeps decoding linear.
[[nodiscard]] bool ExpBufExpectAcross(ExpBuf** b, size_t n);  // in whatever blocks
[[nodiscard]] inline bool ExpBufExpect(ExpBuf** b, size_t n) {
  const ExpBuf* block = *b;
  return n <= size_t(block->end - block->cursor) ? block->readError == 0 : ExpBufExpectAcross(b, n);
}

// ExpBufEnterPrevBlock moves the handle from a full block to the one before it, emptied for
// writing backward, or to a new one put before it. False when that cannot be allocated; the
// current block then carries writeError.
[[nodiscard]] bool ExpBufEnterPrevBlock(ExpBuf** b);

// ExpBufPutByteRvs puts a byte before the data. A full block is preceded by a new
// one; when that cannot be allocated writeError is set.
inline void ExpBufPutByteRvs(ExpBuf** b, uint8_t byte) {
  if ((*b)->writeError != 0) return;
  while ((*b)->first == (*b)->blockStart) {
    if (!ExpBufEnterPrevBlock(b)) return;
  }
  *--(*b)->first = byte;
}

// ExpBufPutSegRvs writes a run of bytes before the data, in its own order: its last bytes go into the later
// block. When the allocation of a block fails, writeError is set and the rest of the run, its head, is not
// written.
// Deliberate: it uses an existing previous block unchanged, where ExpBufPutByteRvs empties it first.
void ExpBufPutAcrossRvs(ExpBuf** b, const uint8_t* data, size_t n);  // over as many blocks as it takes
inline void ExpBufPutSegRvs(ExpBuf** b, const uint8_t* data, size_t n) {
  ExpBuf* block = *b;
  if (block->writeError != 0 || n > size_t(block->first - block->blockStart)) {
    return ExpBufPutAcrossRvs(b, data, n);
  }
  block->first -= n;
  if (n != 0) std::memcpy(block->first, data, n);
}

// ExpBufCopyToFile writes the data of the whole chain to `file` and returns the result of the last write. A
// short write is reported on the standard error stream, and the blocks after it are still written.
[[nodiscard]] size_t ExpBufCopyToFile(ExpBuf* buf, FILE* file);

// ExpBufHolder owns the chain that an encoder builds, from its front block on. An encoder that knows how much
// it writes at most asks for a first block of that size.
class ExpBufHolder {
 public:
  explicit ExpBufHolder(size_t size = ExpBufBlockSize()) : block_(ExpBufNew(size)) {}
  explicit ExpBufHolder(std::nullptr_t) : block_(nullptr) {}  // without a block until `empty` is called
  ~ExpBufHolder() { ExpBufFreeChain(block_ == nullptr ? nullptr : ExpBufFirst(block_)); }
  ExpBufHolder(const ExpBufHolder&) = delete;
  ExpBufHolder& operator=(const ExpBufHolder&) = delete;

  explicit operator bool() const { return block_ != nullptr; }
  [[nodiscard]] ExpBuf** handle() { return &block_; }
  // empty prepares for an encoding, the first one or another.
  void empty() {
    if (block_ == nullptr) {
      block_ = ExpBufNew();
    } else {
      ExpBufEmpty(&block_);
    }
  }
  [[nodiscard]] ExpBuf* block() const { return block_; }
  [[nodiscard]] bool failed() const { return block_ == nullptr || block_->writeError != 0; }

 private:
  ExpBuf* block_;
};

}  // namespace qex
