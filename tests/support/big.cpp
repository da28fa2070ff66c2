// Big numbers in tests.
#include "tests/support/big.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace qex::test {
namespace {

void require(uint32_t rc) {
  if (rc != KXBN_OK) std::abort();
}

std::string strip(const std::string& text) {
  const size_t from = text.find_first_not_of(" \r");
  if (from == std::string::npos) return "";
  return text.substr(from, text.find_last_not_of(" \r") - from + 1);
}

}  // namespace

Big::Big(KXBN_Pool* pool) {
  require(make(pool, 0));
}

Big::Big(const std::string& hex, KXBN_Pool* pool) {
  const bool negative = hex[0] == '-';
  const std::string magnitude = hex.substr(negative ? 1 : 0);
  require(make(pool, uint32_t(std::max<size_t>(magnitude.size() * 4, 32))));
  KXBN* const n = *this;
  const auto words = uint32_t((magnitude.size() + 7) / 8);
  for (uint32_t i = 0; i < words; ++i) {
    const size_t end = magnitude.size() - i * 8;
    const size_t begin = end < 8 ? 0 : end - 8;
    n->digits[i] = uint32_t(std::stoul(magnitude.substr(begin, end - begin), nullptr, 16));
  }
  n->used = words;
  n->used = KXBN_getsize(n);
  n->sign = negative && KXBN_bits(n) != 0;
}

std::string Big::hex() const {
  return hex_of(*this);
}

std::string hex_of(const KXBN* n) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (uint32_t i = KXBN_bits(n) / 4 + 1; i-- > 0;) {
    text += kDigits[n->digits[std::min(i / 8, n->used - 1)] >> i % 8 * 4 & 15];
    if (i / 8 >= n->used) text.pop_back();
  }
  text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
  const bool zero = text == "0";
  if (n->sign & 1) text = negated(text);
  const bool broken = n->used == 0 || n->used > n->capacity || n->used != KXBN_getsize(n) || n->sign > 1 ||
                      (zero && n->sign != 0);
  if (broken) text += "!";
  return text;
}

std::string hex_of(uint64_t n) {
  char text[17];
  std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(n));
  return text;
}

std::string negated(const std::string& hex) {
  std::string text(1, '-');
  text += hex;
  return text;
}

std::string power_of_two(uint32_t exponent) {
  std::string text(1, "1248"[exponent % 4]);
  text.append(exponent / 4, '0');
  return text;
}

std::string ones(uint32_t bits) {
  std::string text;
  if (bits % 4 != 0) text.append(1, "0137"[bits % 4]);
  text.append(bits / 4, 'f');
  return text;
}

std::string random_hex(Random& random, uint32_t bits) {
  if (bits == 0) return "0";
  static const char* const kTops[] = {"89abcdef", "1", "23", "4567"};
  const std::string tops = kTops[bits % 4];
  std::string text(1, tops[random() % tops.size()]);
  const size_t length = (bits + 3) / 4;
  while (text.size() < length) {
    char word[9];
    const uint32_t kind = random() % 8;
    std::snprintf(word, sizeof word, "%08x", kind == 0 ? 0u : kind == 1 ? ~0u : unsigned(random()));
    text += word;
  }
  text.resize(length);
  return text;
}

std::vector<Vector> read_vectors(const std::string& name) {
  std::ifstream file(QEX_TEST_DATA "/" + name);
  std::vector<Vector> vectors;
  Vector vector;
  std::string line;
  while (std::getline(file, line)) {
    if (!line.empty() && line[0] == '#') continue;
    const size_t equals = line.find('=');
    if (equals != std::string::npos) {
      vector[strip(line.substr(0, equals))] = strip(line.substr(equals + 1));
    } else if (!vector.empty()) {
      vectors.push_back(std::move(vector));
      vector.clear();
    }
  }
  if (!vector.empty()) vectors.push_back(std::move(vector));
  return vectors;
}

}  // namespace qex::test
