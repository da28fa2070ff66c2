// Chunks of the arena: how large they are, and when a part has its own.
#include "ber/arena.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qex {

namespace {

#if defined(__SANITIZE_ADDRESS__)
#define QEX_EACH_PART_ALONE true
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEX_EACH_PART_ALONE true
#endif
#endif
#ifndef QEX_EACH_PART_ALONE
#define QEX_EACH_PART_ALONE false
#endif

// A part of more than this share of a chunk has one of its own. So a chunk that is left for the next, which
// is at most twice as large, is used for three quarters at least.
constexpr size_t kShareOfChunk = 8;

// Values take about four bytes for an octet of their encoding, if it is neither hostile nor long strings
// alone.
constexpr size_t kBytesPerOctet = 4;

}  // namespace

void Arena::expect(size_t octets) {
  chunkSize_ = octets >= kLargestChunk / kBytesPerOctet
                   ? kLargestChunk
                   : std::max(kSmallestChunk, rounded_up(octets * kBytesPerOctet));
}

// A chunk that parts share is zeroed at once, which is faster than one part after the other.
void* Arena::take_from_new_chunk(size_t bytes, Content content) {
  const bool alone = QEX_EACH_PART_ALONE || bytes > chunkSize_ / kShareOfChunk;
  const size_t room = alone ? bytes : chunkSize_;
  uint8_t* const start = add_chunk(room);
  if (start == nullptr) return nullptr;
  if (!alone || content == Content::Zeroes) std::memset(start, 0, room);
  if (alone) return start;
  next_ = start;
  room_ = room;
  return cut(bytes);
}

// add_chunk allocates a chunk with `room` bytes after its head and returns the first of them, or null. The
// next one will be larger.
uint8_t* Arena::add_chunk(size_t room) {
  if (room > SIZE_MAX - sizeof(Chunk)) return nullptr;
  auto* const chunk = static_cast<Chunk*>(std::malloc(sizeof(Chunk) + room));
  if (chunk == nullptr) return nullptr;
  chunk->next = chunks_;
  chunks_ = chunk;
  chunkSize_ = std::min(2 * chunkSize_, kLargestChunk);
  return reinterpret_cast<uint8_t*>(chunk + 1);
}

void Arena::release() {
  for (Chunk* chunk = chunks_; chunk != nullptr;) {
    Chunk* const next = chunk->next;
    std::free(chunk);
    chunk = next;
  }
}

}  // namespace qex
