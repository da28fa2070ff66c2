// Expanding buffers: what every decoder reads from and every encoder writes into.
//
// An ExpBuf is one block of a doubly linked chain. Decoders read a chain forward,
// encoders write it backward, content before length before tag, so that no length
// has to be known in advance. Operations take a handle, a pointer to the variable
// that holds the current block, and move it along the chain.
// Of every block: blockStart <= first <= cursor <= end <= blockEnd, once it is rewound for reading.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

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

// ExpBufSetBlockSize sets the size in bytes of the data blocks allocated from now on.
void ExpBufSetBlockSize(size_t bytes);
size_t ExpBufBlockSize();

// ExpBufNew returns one empty block, set for writing backward, or null when memory is out.
ExpBuf* ExpBufNew();

// ExpBufWrapData makes `buf` describe `len` bytes of the caller for reading. Nothing is
// copied; the bytes stay the caller's, are never written, and `buf` is not for ExpBufFreeChain.
void ExpBufWrapData(ExpBuf* buf, const uint8_t* data, size_t len);

// ExpBufFreeChain frees `buf` and every block after it. Null is allowed.
void ExpBufFreeChain(ExpBuf* buf);

// ExpBufFirst and ExpBufLast return the block at that end of the chain of `buf`.
ExpBuf* ExpBufFirst(ExpBuf* buf);
ExpBuf* ExpBufLast(ExpBuf* buf);

// ExpBufRewind moves the handle to the front block and makes the chain readable from its start.
void ExpBufRewind(ExpBuf** b);

// ExpBufLength returns the number of data bytes in the whole chain of `buf`.
size_t ExpBufLength(const ExpBuf* buf);

// ExpBufGetByte returns the next byte and advances. At the end of the data it sets
// readError and returns 0. When a block is used up the handle moves to the next one
// that holds data.
uint8_t ExpBufGetByte(ExpBuf** b);

// ExpBufPeekByte returns the next byte without advancing; at the end of the data it
// sets readError and returns 0.
uint8_t ExpBufPeekByte(ExpBuf** b);

// ExpBufCopyOut copies up to `n` bytes to `dst`, crossing blocks, and returns how many.
// Fewer than `n` set readError on the block where the data ended.
size_t ExpBufCopyOut(uint8_t* dst, ExpBuf** b, size_t n);

// ExpBufGetSegment returns the next run of at most `*n` bytes inside the current block
// without copying, sets `*n` to its length and advances. A block that is used up yields
// null and 0.
const uint8_t* ExpBufGetSegment(ExpBuf** b, size_t* n);

// ExpBufRemaining returns the number of bytes between the cursor and the end of the chain.
size_t ExpBufRemaining(const ExpBuf* buf);

// ExpBufPutByteRvs puts a byte in front of the data. A full block is preceded by a new
// one; when that cannot be allocated writeError is set.
void ExpBufPutByteRvs(ExpBuf** b, uint8_t byte);

// ExpBufPutSegRvs puts a run of bytes in front of the data, in its own order.
void ExpBufPutSegRvs(ExpBuf** b, const uint8_t* data, size_t n);

// ExpBufCopyToFile writes the data of the whole chain to `file` and returns what the
// last write returned. A short write is reported on the standard error stream.
size_t ExpBufCopyToFile(ExpBuf* buf, FILE* file);

// ExpBufHolder owns the chain that an encoder builds, from its front block on.
class ExpBufHolder {
 public:
  ExpBufHolder() : block_(ExpBufNew()) {}
  ~ExpBufHolder() { ExpBufFreeChain(block_ == nullptr ? nullptr : ExpBufFirst(block_)); }
  ExpBufHolder(const ExpBufHolder&) = delete;
  ExpBufHolder& operator=(const ExpBufHolder&) = delete;

  explicit operator bool() const { return block_ != nullptr; }
  ExpBuf** handle() { return &block_; }
  ExpBuf* block() const { return block_; }
  bool failed() const { return block_ == nullptr || block_->writeError != 0; }

 private:
  ExpBuf* block_;
};

}  // namespace qex
