// A value decoded by the codec of the core library, released at the end of its scope.
#pragma once

#include <cstdint>
#include <new>
#include <span>

#include "ber/buffer.h"
#include "ber/tag_length.h"

namespace qex::inspect {

// Prepare registers the open types and turns the codec's own messages off, once; throws std::bad_alloc when
// an allocation fails. The exports report the same messages.
void Prepare();

// False if the data does not decode. An allocation failure says nothing about the data, so it throws.
template <class T, auto kDecode, auto kFree>
class Decoded {
 public:
  explicit Decoded(std::span<const uint8_t> data) {
    Prepare();
    ExpBuf block;
    ExpBufWrapData(&block, data.data(), data.size());
    error_ = AsnCatch([&](AsnJmpEnv& env) {
      ExpBuf* buffer = &block;
      AsnLen bytes = 0;
      kDecode(&buffer, &value_, &bytes, env);
    });
    if (error_ == kOutOfMemoryCode) {
      kFree(&value_);  // the destructor of a half-built object does not run
      throw std::bad_alloc();
    }
  }
  ~Decoded() { kFree(&value_); }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;

  explicit operator bool() const { return error_ == 0; }
  const T& operator*() const { return value_; }
  const T* operator->() const { return &value_; }

 private:
  T value_{};
  AsnInt error_ = 0;
};

}  // namespace qex::inspect
