// Big numbers in tests: an owner, hexadecimal text, and files of vectors.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "crypto/bignum/number.h"

namespace qex::test {

// Big is a Number made from text or rendered as text, which is hexadecimal, with a leading "-" for a negative
// one.
class Big : public Number {
 public:
  explicit Big(KXBN_Pool* pool = nullptr);
  explicit Big(const std::string& hex, KXBN_Pool* pool = nullptr);

  std::string hex() const;
};

// hex_of renders any number, and adds "!" to one whose form breaks a promise: top zero
// words, a negative zero, more words than its room.
std::string hex_of(const KXBN* n);
std::string hex_of(uint64_t n);

// Random is a generator of words that gives the same sequence everywhere.
class Random {
 public:
  explicit Random(uint32_t seed) : engine_(seed) {}
  uint32_t operator()() { return uint32_t(engine_()); }

 private:
  std::mt19937 engine_;
};

// negated returns the text with "-" in front.
std::string negated(const std::string& hex);

// power_of_two returns 2^exponent in hexadecimal; ones returns 2^bits - 1.
std::string power_of_two(uint32_t exponent);
std::string ones(uint32_t bits);

// random_hex returns a random number of exactly `bits` bits, in words that are
// often all zeros or all ones.
std::string random_hex(Random& random, uint32_t bits);

// Vector is one record of a vector file: lines "Name = value", closed by an empty line.
using Vector = std::map<std::string, std::string>;

// read_vectors reads a file of tests/data; lines that start with "#" are skipped. A file
// that cannot be read gives no vectors.
std::vector<Vector> read_vectors(const std::string& name);

}  // namespace qex::test
