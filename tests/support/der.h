// DER by hand, for tests: every function returns the octets of one element.
//
// Parts are successive octets of the content. Nothing here shares code with the library, so neither repeats
// an error of the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

namespace qex::test {

using Octets = std::vector<uint8_t>;

namespace der {

template <class... Parts>
Octets concat(const Parts&... parts) {
  Octets all;
  (all.insert(all.end(), parts.begin(), parts.end()), ...);
  return all;
}

// octets returns the characters of `text` unchanged.
inline Octets octets(std::string_view text) {
  return Octets(text.begin(), text.end());
}

// length returns the length octets of the definite form, as few as possible.
inline Octets length(size_t n) {
  if (n < 128) return {uint8_t(n)};
  uint8_t octets[1 + sizeof n];
  uint8_t* first = std::end(octets);
  for (; n != 0; n >>= 8) *--first = uint8_t(n);
  --first;
  *first = uint8_t(0x80 | (std::end(octets) - first - 1));
  return Octets(first, std::end(octets));
}

// element has one identifier octet.
template <class... Parts>
Octets element(uint8_t tag, const Parts&... parts) {
  const Octets content = concat(parts...);
  return concat(Octets{tag}, length(content.size()), content);
}

// indefinite is BER, of indefinite length.
template <class... Parts>
Octets indefinite(uint8_t tag, const Parts&... parts) {
  return concat(Octets{tag, 0x80}, concat(parts...), Octets{0, 0});
}

template <class... Parts>
Octets sequence(const Parts&... parts) {
  return element(0x30, parts...);
}

// set keeps its parts in their order.
template <class... Parts>
Octets set(const Parts&... parts) {
  return element(0x31, parts...);
}

// context is constructed, as an EXPLICIT tag is; context_primitive is an IMPLICIT one of a
// primitive type.
template <class... Parts>
Octets context(unsigned number, const Parts&... parts) {
  return element(uint8_t(0xA0 | number), parts...);
}
template <class... Parts>
Octets context_primitive(unsigned number, const Parts&... parts) {
  return element(uint8_t(0x80 | number), parts...);
}

inline Octets null() {
  return {0x05, 0x00};
}

Octets boolean(bool);  // without a name: boolean(true) says enough
inline Octets boolean(bool value) {
  return {0x01, 0x01, uint8_t(value ? 0xFF : 0x00)};
}

// integer_content returns two's complement in as few octets as possible.
inline Octets integer_content(int64_t value) {
  Octets content;
  bool more = true;
  while (more) {
    const uint8_t octet = uint8_t(value & 0xFF);
    content.insert(content.begin(), octet);
    value >>= 8;
    more = !((value == 0 && octet < 0x80) || (value == -1 && octet >= 0x80));
  }
  return content;
}

inline Octets integer(int64_t value) {
  return element(0x02, integer_content(value));
}

// big_integer uses the contents octets as given; unsigned_integer takes a magnitude and adds a leading sign
// octet where one is needed.
inline Octets big_integer(const Octets& content) {
  return element(0x02, content);
}
inline Octets unsigned_integer(const Octets& magnitude) {
  size_t zeros = 0;
  while (zeros + 1 < magnitude.size() && magnitude[zeros] == 0) ++zeros;
  Octets content(magnitude.begin() + ptrdiff_t(zeros), magnitude.end());
  if (content.empty() || content[0] >= 0x80) content.insert(content.begin(), uint8_t{0});
  return element(0x02, content);
}

// oid_content encodes dotted text (X.690 8.19); any value of an arc is accepted.
inline Octets oid_content(std::string_view text) {
  std::vector<uint64_t> arcs(1);
  for (const char c : text) {
    if (c == '.') {
      arcs.push_back(0);
    } else {
      arcs.back() = arcs.back() * 10 + uint64_t(c - '0');
    }
  }
  Octets content;
  const auto put = [&content](uint64_t arc) {
    Octets digits{uint8_t(arc & 0x7F)};
    while ((arc >>= 7) != 0) digits.insert(digits.begin(), uint8_t(0x80 | (arc & 0x7F)));
    content.insert(content.end(), digits.begin(), digits.end());
  };
  put(arcs[0] * 40 + (arcs.size() > 1 ? arcs[1] : 0));
  for (size_t i = 2; i < arcs.size(); ++i) put(arcs[i]);
  return content;
}

inline Octets oid(std::string_view text) {
  return element(0x06, oid_content(text));
}

inline Octets octet_string(const Octets& value) {
  return element(0x04, value);
}

inline Octets bit_string(const Octets& value, unsigned unused_bits = 0) {
  return element(0x03, Octets{uint8_t(unused_bits)}, value);
}

inline Octets utf8_string(std::string_view text) {
  return element(0x0C, octets(text));
}
inline Octets printable_string(std::string_view text) {
  return element(0x13, octets(text));
}
inline Octets ia5_string(std::string_view text) {
  return element(0x16, octets(text));
}
inline Octets utc_time(std::string_view text) {
  return element(0x17, octets(text));
}
inline Octets generalized_time(std::string_view text) {
  return element(0x18, octets(text));
}

// algorithm is an AlgorithmIdentifier; `parameters` is an element, or nothing.
inline Octets algorithm(std::string_view identifier, const Octets& parameters = {}) {
  return sequence(oid(identifier), parameters);
}

}  // namespace der
}  // namespace qex::test
