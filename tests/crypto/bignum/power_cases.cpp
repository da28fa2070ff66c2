// Numbers of power.txt that are given by a seed are made here as tests/data/make_power_vectors.py makes them.
#include "tests/crypto/bignum/power_cases.h"

#include <gtest/gtest.h>

#include <bit>
#include <fstream>
#include <sstream>

#include "tests/support/instrumentation.h"

namespace qex::test {
namespace {

uint32_t bit_length(const Words& x) {
  for (size_t i = x.size(); i-- > 0;) {
    if (x[i] != 0) return uint32_t(32 * i) + uint32_t(std::bit_width(x[i]));
  }
  return 0;
}

// low_ones is 2^bits - 1 in `size` words.
Words low_ones(uint32_t bits, size_t size) {
  Words x(size);
  for (uint32_t i = 0; i < bits; ++i) x[i / 32] |= uint32_t{1} << i % 32;
  return x;
}

// SplitMix64, cut to `bits` bits.
Words seeded_words(const std::string& text, uint32_t bits, size_t size) {
  uint64_t state = std::stoull(text.substr(1));
  const Words mask = low_ones(bits, size);
  Words x(size + 1);
  for (size_t i = 0; i < size; i += 2) {
    state += 0x9E3779B97F4A7C15;
    uint64_t z = (state ^ state >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    z ^= z >> 31;
    if (text[0] == 'a' && z % 4 < 2) z = z % 4 == 0 ? 0 : ~uint64_t{0};
    x[i] = uint32_t(z);
    x[i + 1] = uint32_t(z >> 32);
  }
  x.resize(size);
  for (size_t i = 0; i < size; ++i) x[i] &= mask[i];
  return x;
}

Words modulus_of(const std::string& text, uint32_t bits) {
  const size_t size = (bits + 31) / 32;
  if (text == "ones") return low_ones(bits, size);
  Words m = text == "low" ? Words(size) : seeded_words(text, bits, size);
  m[(bits - 1) / 32] |= uint32_t{1} << (bits - 1) % 32;
  m[0] |= 1;
  return m;
}

Words base_of(const std::string& text, const Words& m, uint32_t bits) {
  if (text == "ones") return low_ones(bits - 1, m.size());
  if (text[0] == 'r' || text[0] == 'a') return seeded_words(text, bits - 1, m.size());
  Words x = text[0] == '-' ? m : Words(m.size());
  uint64_t carry = uint64_t(std::stoll(text));  // from below 0 to 2, and no modulus is below 3
  for (uint32_t& word : x) {
    const uint64_t t = carry + word;
    word = uint32_t(t);
    carry = text[0] == '-' && t >> 63 != 0 ? ~uint64_t{0} : t >> 32 & 1;
    if (carry == 0) break;
  }
  return x;
}

Words exponent_of(const std::string& text) {
  if (text[0] == 'r') {
    const size_t colon = text.find(':');
    const auto bits = uint32_t(std::stoul(text.substr(colon + 1)));
    Words e = seeded_words(text.substr(0, colon), bits, (bits + 31) / 32);
    e.back() |= uint32_t{1} << (bits - 1) % 32;
    return e;
  }
  std::string hex = text.substr(1);
  Words e;
  while (!hex.empty()) {
    const size_t digits = std::min<size_t>(8, hex.size());
    e.push_back(uint32_t(std::stoul(hex.substr(hex.size() - digits), nullptr, 16)));
    hex.resize(hex.size() - digits);
  }
  return e;
}

uint64_t sum_of(const Words& x) {
  uint64_t sum = 0;
  for (size_t i = 0; i < x.size(); i += 2) {
    const uint64_t up = i + 1 < x.size() ? x[i + 1] : 0;
    sum = sum * 0x100000001b3 + (up << 32 | x[i]);
  }
  return sum;
}

PowerCase power_case(const std::string& line) {
  std::istringstream in(line);
  PowerCase made{line, 0, {}, {}, {}, 0};
  std::string modulus, base, exponent;
  in >> made.bits >> modulus;
  made.modulus = modulus_of(modulus, made.bits);
  while (in >> base >> exponent) {
    made.bases.push_back(base_of(base, made.modulus, made.bits));
    made.exponents.push_back(exponent_of(exponent));
  }
  made.sum = std::stoull(base, nullptr, 16);
  return made;
}

}  // namespace

const std::vector<PowerCase>& PowerCases() {
  static const std::vector<PowerCase> cases = [] {
    std::vector<PowerCase> made;
    std::ifstream file(QEX_TEST_DATA "/power.txt");
    for (std::string line; std::getline(file, line);) {
      if (line[0] != '#') made.push_back(power_case(line));
    }
    return made;
  }();
  return cases;
}

Words PowerOf(PowerFunction function, const Words& modulus, const std::vector<Words>& bases,
              const std::vector<Words>& exponents) {
  PowerTerm terms[kPowerMaxTerms];
  for (size_t i = 0; i < bases.size(); ++i) {
    terms[i] = {bases[i].data(), exponents[i].data(), bit_length(exponents[i])};
  }
  Words result(modulus.size());
  function(result.data(), terms, bases.size(), modulus.data(), modulus.size());
  return result;
}

size_t ExpectPowers(const char* name, PowerFunction function, uint32_t least, uint32_t most) {
  // There a case takes many times as long. Every seventh length still ends at each bit of a word and of a
  // digit.
  const size_t step = UnderValgrind() || Emulated() ? 7 : 1;
  size_t found = 0;
  for (const PowerCase& c : PowerCases()) {
    if (c.bits < least || c.bits > most || found++ % step != 0) continue;
    EXPECT_EQ(sum_of(PowerOf(function, c.modulus, c.bases, c.exponents)), c.sum) << name << ": " << c.line;
  }
  return found;
}

}  // namespace qex::test
