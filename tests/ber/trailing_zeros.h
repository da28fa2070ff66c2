// Inputs of half a gigabyte whose octets are never touched.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ber/buffer.h"
#include "tests/support/octets.h"

namespace qex::test {

// TrailingZeros is a block of `head` followed by `zeros` zero octets, which take no memory until they are
// read.
class TrailingZeros {
 public:
  TrailingZeros(const Octets& head, size_t zeros) : data_(std::calloc(1, head.size() + zeros), std::free) {
    if (!held()) return;
    std::memcpy(data_.get(), head.data(), head.size());
    ExpBufWrapData(&block_, static_cast<uint8_t*>(data_.get()), head.size() + zeros);
  }

  bool held() const { return data_ != nullptr; }
  ExpBuf** handle() { return &current_; }

 private:
  std::unique_ptr<void, void (*)(void*)> data_;
  ExpBuf block_{};
  ExpBuf* current_ = &block_;
};

}  // namespace qex::test
