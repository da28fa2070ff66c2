// The steps of a product of powers, over the kernel of a form.
//
// Squarings are shared by the terms. A term has a table of odd powers of its base and multiplies by an entry
// wherever a window of its exponent ends (HAC 14.85, 14.88). An exponent of fewer than 32 bits, such as 3 or
// 65537, has windows of one bit and no table but the base.
//
// A kernel works on values of size() digits of its own, in Montgomery form, x * R mod m, or plain. Its
// product of a and b is a * b / R mod m: plain when one of the two was plain. So the last product of x^65537,
// by the plain x, leads out of Montgomery form. A kernel has:
//
//   Digit, kMaxDigits          the digit and the most of them that a value has
//   Kernel(m, n)               prepares for the modulus
//   size()                     digits of a value
//   enter(r, x)                r = x * R mod m, for the words x[0..n) < m
//   plain(r, x)                r = x
//   product(r, a, b)           r = a * b / R mod m; r may be a or b
//   square(r, a)               r = a * a / R mod m; r may be a
//   leave(r, a)                the words r[0..n) = a mod m
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "crypto/bignum/power.h"

namespace qex {

// PowerWindows finds the windows of an exponent from its top bit down.
class PowerWindows {
 public:
  static constexpr uint32_t kWidth = 4;
  static constexpr size_t kEntries = size_t{1} << (kWidth - 1);  // base^1, base^3, base^5 ...

  explicit PowerWindows(const PowerTerm& term) : term_(term), width_(term.exponentBits < 32 ? 1 : kWidth) {}

  // entries returns how many entries of the table are needed.
  [[nodiscard]] size_t entries() const { return size_t{1} << (width_ - 1); }

  // entry_at returns the entry to multiply by after the square of bit `position`, or -1. Every position is
  // asked once, from the top down.
  [[nodiscard]] int entry_at(uint32_t position) {
    if (entry_ < 0) open(position);
    if (entry_ < 0 || position != end_) return -1;
    return std::exchange(entry_, -1);
  }

 private:
  [[nodiscard]] uint32_t bit(uint32_t i) const {
    return i < term_.exponentBits ? term_.exponent[i / 32] >> i % 32 & 1 : 0;
  }

  // open starts a window at the bit, when it is set. It ends with the last set bit that is near enough.
  void open(uint32_t position) {
    if (bit(position) == 0) return;
    end_ = position - std::min(position, width_ - 1);
    while (bit(end_) == 0) ++end_;
    uint32_t value = 0;
    for (uint32_t i = position + 1; i-- > end_;) value = value << 1 | bit(i);
    entry_ = int(value >> 1);
  }

  const PowerTerm& term_;
  uint32_t width_;
  uint32_t end_ = 0;  // of the open window
  int entry_ = -1;    // of the open window; -1: none is open
};

// PowerSteps computes what PowerOdd (power.h) does with one kernel.
template <class Kernel>
class PowerSteps {
 public:
  using Digit = typename Kernel::Digit;

  PowerSteps(const uint32_t* m, size_t n) : kernel_(m, n), n_(n) {}

  void compute(uint32_t* r, const PowerTerm* terms, size_t count) {
    PowerWindows windows[kPowerMaxTerms] = {PowerWindows(terms[0]), PowerWindows(terms[count - 1])};
    uint32_t bits = 0;
    for (size_t t = 0; t < count; ++t) {
      if (terms[t].exponentBits != 0) fill_table(t, terms[t].base, windows[t].entries());
      bits = std::max(bits, terms[t].exponentBits);
    }
    for (uint32_t position = bits; position-- > 0;) {
      if (started_) kernel_.square(power_, power_);
      for (size_t t = 0; t < count; ++t) {
        const int entry = windows[t].entry_at(position);
        if (entry < 0) continue;
        if (count == 1 && position == 0 && entry == 0 && started_) {
          return multiply_plain(r, terms[0].base);
        }
        multiply(entry_of(t, size_t(entry)));
      }
    }
    std::fill_n(words_, n_, 0);
    words_[0] = 1;
    if (started_) return multiply_plain(r, words_);
    std::copy_n(words_, n_, r);  // no exponent had a bit
  }

 private:
  [[nodiscard]] Digit* entry_of(size_t term, size_t entry) {
    return table_ + (term * PowerWindows::kEntries + entry) * kernel_.size();
  }

  void fill_table(size_t term, const uint32_t* base, size_t entries) {
    kernel_.enter(entry_of(term, 0), base);
    if (entries > 1) kernel_.square(factor_, entry_of(term, 0));
    for (size_t k = 1; k < entries; ++k) {
      kernel_.product(entry_of(term, k), entry_of(term, k - 1), factor_);
    }
  }

  void multiply(const Digit* factor) {
    if (started_) {
      kernel_.product(power_, power_, factor);
    } else {
      std::copy_n(factor, kernel_.size(), power_);
    }
    started_ = true;
  }

  // multiply_plain multiplies by x itself, which leads out of Montgomery form, and stores the result.
  void multiply_plain(uint32_t* r, const uint32_t* x) {
    kernel_.plain(factor_, x);
    kernel_.product(power_, power_, factor_);
    kernel_.leave(r, power_);
  }

  Kernel kernel_;
  size_t n_;
  bool started_ = false;  // until then the power is 1 and not stored
  uint32_t words_[kPowerMaxWords];
  alignas(64) Digit power_[Kernel::kMaxDigits];
  alignas(64) Digit factor_[Kernel::kMaxDigits];
  alignas(64) Digit table_[kPowerMaxTerms * PowerWindows::kEntries * Kernel::kMaxDigits];
};

}  // namespace qex
