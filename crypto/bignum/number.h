// The owner of a big number.
#pragma once

#include <utility>

#include "crypto/bignum/bignum.h"

namespace qex {

// Number owns one number, or none, and frees it on every path. Pass it wherever an operation takes the
// record; without a number it is null.
class Number {
 public:
  Number() = default;
  Number(Number&& other) noexcept : n_(other.release()) {}
  Number& operator=(Number&& other) noexcept {
    *out() = other.release();
    return *this;
  }
  Number(const Number&) = delete;
  Number& operator=(const Number&) = delete;
  ~Number() { KXBN_free(n_); }

  // make owns a new number 0 with room for `bits` bits. Codes: those of KXBN_new.
  [[nodiscard]] uint32_t make(KXBN_Pool* pool, uint32_t bits) { return KXBN_new(pool, int32_t(bits), out()); }

  // frombytes owns a new number of the value of big-endian octets. Codes: those of KXBN_frombytes.
  [[nodiscard]] uint32_t frombytes(const uint8_t* octets, size_t length, KXBN_Pool* pool = nullptr) {
    return KXBN_frombytes(out(), octets, length, pool);
  }

  // out frees the number and returns where an operation stores the new one that it makes.
  KXBN** out() {
    if (n_ != nullptr) KXBN_free(n_);
    n_ = nullptr;
    return &n_;
  }

  // release hands the number over: the caller frees it.
  [[nodiscard]] KXBN* release() { return std::exchange(n_, nullptr); }

  operator KXBN*() const { return n_; }
  KXBN* operator->() const { return n_; }

  friend void swap(Number& a, Number& b) noexcept { std::swap(a.n_, b.n_); }

 private:
  KXBN* n_ = nullptr;
};

}  // namespace qex
