// What every form of PowerOdd (crypto/bignum/power.h) must compute.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "crypto/bignum/power_forms.h"

namespace qex::test {

using Words = std::vector<uint32_t>;

// PowerCase is a line of power.txt; tests/data/make_power_vectors.py describes it.
struct PowerCase {
  std::string line;
  uint32_t bits;  // of the modulus
  Words modulus;
  std::vector<Words> bases, exponents;
  uint64_t sum;  // of the result
};

// PowerCases returns all of them, made once.
const std::vector<PowerCase>& PowerCases();

// PowerOf returns the product for a case, or any operands of one size, by `function`.
Words PowerOf(PowerFunction function, const Words& modulus, const std::vector<Words>& bases,
              const std::vector<Words>& exponents);

// ExpectPowers checks the cases whose modulus has from `least` to `most` bits, under valgrind and emulators
// every seventh of them, and returns how many there are.
size_t ExpectPowers(const char* name, PowerFunction function, uint32_t least, uint32_t most);

}  // namespace qex::test
