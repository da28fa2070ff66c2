// Octets for the time of a call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace qex {

// ScratchOctets owns `size` octets of the heap, 0 at first, which are released at the end of its block; none
// when the allocation fails. A size of 0 is no failure.
class ScratchOctets {
 public:
  explicit ScratchOctets(size_t size)
      : octets_(static_cast<uint8_t*>(std::calloc(1, size == 0 ? 1 : size))) {}
  ~ScratchOctets() { std::free(octets_); }
  ScratchOctets(const ScratchOctets&) = delete;
  ScratchOctets& operator=(const ScratchOctets&) = delete;

  explicit operator bool() const { return octets_ != nullptr; }
  [[nodiscard]] uint8_t* octets() const { return octets_; }

 private:
  uint8_t* octets_;
};

}  // namespace qex
