// Big numbers in tests: an owner, hexadecimal text, and files of vectors.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "crypto/bignum/bignum.h"

namespace qex::test {

// Big owns a number. Text is hexadecimal, with "-" in front of a negative one.
class Big {
 public:
  explicit Big(KXBN_Pool* pool = nullptr);
  explicit Big(const std::string& hex, KXBN_Pool* pool = nullptr);
  Big(Big&& other) noexcept : n_(other.n_) { other.n_ = nullptr; }
  Big(const Big&) = delete;
  Big& operator=(const Big&) = delete;
  Big& operator=(Big&&) = delete;
  ~Big() { KXBN_free(n_); }

  operator KXBN*() const { return n_; }
  KXBN* operator->() const { return n_; }
  KXBN** out() { return &n_; }  // for a number made by the library; what was held is freed
  std::string hex() const;

 private:
  KXBN* n_ = nullptr;
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
