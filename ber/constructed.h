// The constructed forms of OCTET STRING and BIT STRING (X.690 8.6.3, 8.6.4, 8.7.3): the octets of
// their primitive components are collected as segments of the input, which are copied once.
//
// Components may nest as deep as the input has octets, so nothing here recurses: the open strings are
// kept on a stack of their own, and memory is linear in the input.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "ber/tag_length.h"

namespace qex {

// Deliberate: never reset. Once a constructed BIT STRING has ended in unused bits, every later
// constructed one in the process is refused with -1 at its first component. Tests set it to 0.
extern std::atomic<uint16_t> lastUnusedBits;

// DecoderStack is a stack of records that is released when the decoder is left. The first few are in it, more
// on the C heap. Growing raises kOutOfMemoryCode when an allocation fails.
template <class T>
class DecoderStack {
 public:
  static_assert(std::is_trivially_copyable_v<T>, "DecoderStack copies records octet by octet");
  static constexpr size_t kInside = 16;

  DecoderStack() = default;
  ~DecoderStack() {
    if (items_ != inside_) std::free(items_);
  }
  DecoderStack(const DecoderStack&) = delete;
  DecoderStack& operator=(const DecoderStack&) = delete;

  [[nodiscard]] bool empty() const { return count_ == 0; }
  void push(const T& item, AsnJmpEnv& env) {
    if (count_ == capacity_) grow(env);
    items_[count_++] = item;
  }
  [[nodiscard]] T pop() { return items_[--count_]; }
  const T* begin() const { return items_; }
  const T* end() const { return items_ + count_; }

 private:
  void grow(AsnJmpEnv& env) {
    if (capacity_ > SIZE_MAX / sizeof(T) / 2) AsnRaise(env, kOutOfMemoryCode);
    const size_t bytes = 2 * capacity_ * sizeof(T);
    void* items = items_ == inside_ ? std::malloc(bytes) : std::realloc(items_, bytes);
    if (items == nullptr) AsnRaise(env, kOutOfMemoryCode);
    if (items_ == inside_) std::memcpy(items, inside_, sizeof inside_);
    items_ = static_cast<T*>(items);
    capacity_ *= 2;
  }

  T inside_[kInside];
  T* items_ = inside_;
  size_t count_ = 0;
  size_t capacity_ = kInside;
};

struct Segment {
  const uint8_t* octets;
  size_t count;
};

// The octets of a constructed string, as segments of the input in their order.
struct SegmentStack {
  DecoderStack<Segment> segments;
  size_t total = 0;

  void push(const uint8_t* octets, size_t count, AsnJmpEnv& env) {
    segments.push({octets, count}, env);
    total += count;
  }
  // copy_to writes the `total` octets to `dst`.
  void copy_to(uint8_t* dst) const;
};

// BDecConsOctetString collects the content of a constructed OCTET STRING of length `len`,
// INDEFINITE_LEN included, and adds the octets read to `*bytes`. A component that ends early
// raises -18, one of another type -19, a bad end-of-contents -28.
// A component that runs past a definite length is left to the lengths around it.
void BDecConsOctetString(ExpBuf** b, AsnLen len, SegmentStack* stack, AsnLen* bytes, AsnJmpEnv& env);

// FillBitStringStk does the same for a constructed BIT STRING and returns the unused bits of
// its last component. A component after one with unused bits raises -1, one that ends early
// -2, one of another type -3.
[[nodiscard]] uint32_t FillBitStringStk(ExpBuf** b, AsnLen len, SegmentStack* stack, AsnLen* bytes,
                                        AsnJmpEnv& env);

}  // namespace qex
