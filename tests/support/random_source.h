// Sources of random numbers for tests: the same numbers in every run.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "crypto/prime/random_source.h"
#include "tests/support/big.h"

namespace qex::test {

// SeededSource draws from a generator with a fixed seed and counts its calls.
struct SeededSource : RandomSource {
  explicit SeededSource(uint32_t seed) : RandomSource{draw, this}, words(seed) {}
  SeededSource(const SeededSource&) = delete;
  SeededSource& operator=(const SeededSource&) = delete;

  static uint32_t draw(void* context, KXBN* n, uint32_t bits) {
    auto* const self = static_cast<SeededSource*>(context);
    ++self->calls;
    self->lastBits = bits;
    KXBN_setword(n, 0);
    for (uint32_t i = bits; i-- > 0;) {
      if (const uint32_t rc = KXBN_setbit(n, i, self->words() >> 31)) return rc;
    }
    return KXBN_OK;
  }

  Random words;
  int calls = 0;
  uint32_t lastBits = 0;
};

// ListSource gives the numbers of a list one after the other, then fails with `atEnd`.
struct ListSource : RandomSource {
  explicit ListSource(std::deque<std::string> hex, uint32_t codeAtEnd = KXBN_BADARG)
      : RandomSource{draw, this}, numbers(std::move(hex)), atEnd(codeAtEnd) {}
  ListSource(const ListSource&) = delete;
  ListSource& operator=(const ListSource&) = delete;

  static uint32_t draw(void* context, KXBN* n, uint32_t) {
    auto* const self = static_cast<ListSource*>(context);
    if (self->numbers.empty()) return self->atEnd;
    const uint32_t rc = KXBN_copy(n, Big(self->numbers.front()));
    self->numbers.pop_front();
    return rc;
  }

  std::deque<std::string> numbers;
  uint32_t atEnd;
};

// ConstantSource gives the same number for ever.
struct ConstantSource : RandomSource {
  explicit ConstantSource(const std::string& hex) : RandomSource{draw, this}, number(hex) {}
  ConstantSource(const ConstantSource&) = delete;
  ConstantSource& operator=(const ConstantSource&) = delete;

  static uint32_t draw(void* context, KXBN* n, uint32_t) {
    return KXBN_copy(n, static_cast<ConstantSource*>(context)->number);
  }

  Big number;
};

}  // namespace qex::test
