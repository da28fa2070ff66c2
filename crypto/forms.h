// Routines in several forms: the portable one, and faster ones for processors with certain instructions.
//
// All forms of a routine have the same results for the same arguments. Which one runs is decided on its first
// call, never when the library is loaded.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "crypto/cpu.h"

namespace qex {

// Form is one implementation of a routine.
template <class Function>
struct Form {
  const char* name;  // for tests and benchmarks: "portable", "sha", "avx2"
  uint32_t needs;    // the set of features (crypto/cpu.h) without which it must not be called
  Function function;
};

// Forms are all forms of one routine, the fastest first. The last one is the portable form and needs nothing.
template <class Function, size_t kCount>
class Forms {
 public:
  explicit constexpr Forms(const Form<Function> (&rows)[kCount]) {
    if (rows[kCount - 1].needs != 0) throw "the last form serves every processor";
    for (size_t i = 0; i < kCount; ++i) rows_[i] = rows[i];
  }

  // best returns the first form that this processor can run.
  [[nodiscard]] Function best() const {
    Function function = best_.load(std::memory_order_relaxed);
    if (function == nullptr) {
      // Threads that come here at once find the same form.
      function = find(CpuFeatures());
      best_.store(function, std::memory_order_relaxed);
    }
    return function;
  }

  // The rows, for tests that call each form.
  [[nodiscard]] const Form<Function>* begin() const { return rows_; }
  [[nodiscard]] const Form<Function>* end() const { return rows_ + kCount; }

 private:
  [[nodiscard]] Function find(uint32_t features) const {
    for (const Form<Function>& row : rows_) {
      if ((row.needs & ~features) == 0) return row.function;
    }
    return rows_[kCount - 1].function;
  }

  Form<Function> rows_[kCount] = {};
  mutable std::atomic<Function> best_ = nullptr;
};

}  // namespace qex
