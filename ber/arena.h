// Memory of a decoded value: cut from a few chunks, and released as a whole.
//
// Every export decodes into arenas. A message of usual size then takes one allocation or two, however many
// parts it has, and its release visits none of them. Callers without an arena use the heap and the Free
// routines instead (ber/memory.h); they decode the same values.
//
// Each chunk is twice as large as the one before it, up to kLargestChunk, and a part that would leave much of
// a chunk unused has a chunk of its own. So an arena takes little more memory than its parts.
//
// Under AddressSanitizer every part has a chunk of its own, so that access beyond its end is found.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex {

class Arena {
 public:
  static constexpr size_t kAlignment = alignof(void*);  // no record of a type asks for more
  static constexpr size_t kSmallestChunk = 1000;        // with its head, a size that malloc serves quickly
  static constexpr size_t kLargestChunk = 32768;

  Arena() = default;
  ~Arena() {
    if (chunks_ != nullptr) release();
  }
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  // expect chooses a first chunk that suits the value in `octets` octets of input. It allocates nothing.
  void expect(size_t octets);

  // take returns `bytes` bytes that hold anything, aligned to kAlignment; null when an allocation fails. A
  // request of 0 bytes yields a pointer of its own.
  [[nodiscard]] void* take(size_t bytes) { return take_part(bytes, Content::Any); }

  // take_zeroed does the same, and the bytes are 0.
  [[nodiscard]] void* take_zeroed(size_t bytes) { return take_part(bytes, Content::Zeroes); }

 private:
  enum class Content : bool { Any, Zeroes };
  struct Chunk {
    Chunk* next;
  };

  [[nodiscard]] static constexpr size_t rounded_up(size_t bytes) {
    return (bytes + (kAlignment - 1)) / kAlignment * kAlignment;
  }

  // The room is a multiple of the alignment: a part that fits does so rounded up too.
  [[nodiscard]] void* take_part(size_t bytes, Content content) {
    bytes += bytes == 0 ? 1 : 0;
    return bytes <= room_ ? cut(bytes) : take_from_new_chunk(bytes, content);
  }

  [[nodiscard]] void* cut(size_t bytes) {
    void* const p = next_;
    next_ += rounded_up(bytes);
    room_ -= rounded_up(bytes);
    return p;
  }

  [[nodiscard]] void* take_from_new_chunk(size_t bytes, Content content);
  [[nodiscard]] uint8_t* add_chunk(size_t room);
  void release();

  uint8_t* next_ = nullptr;            // first unused byte of the current chunk; it and those after it are 0
  size_t room_ = 0;                    // unused bytes from there on
  size_t chunkSize_ = kSmallestChunk;  // of the next chunk
  Chunk* chunks_ = nullptr;
};

}  // namespace qex
