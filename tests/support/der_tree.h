// The elements of a DER encoding as a tree with their places, for tests that change parts of it.
#pragma once

#include <vector>

#include "tests/support/der.h"

namespace qex::test {

// Element is one element of the encoding: its octets are [start, end), its content [content, end). Parts are
// those of constructed elements; the contents of strings are not parsed.
struct Element {
  uint8_t tag;
  size_t start;
  size_t content;
  size_t end;
  std::vector<Element> parts;

  const Element& operator[](size_t i) const { return parts.at(i); }
  [[nodiscard]] bool constructed() const { return (tag & 0x20) != 0; }
};

// ParseDer reads the one element at `at`; the encoding has to be DER with identifiers of one octet.
inline Element ParseDer(const Octets& der, size_t at = 0) {
  Element element{der.at(at), at, at + 2, 0, {}};
  size_t length = der.at(at + 1);
  if (length >= 0x80) {
    const size_t digits = length & 0x7F;
    length = 0;
    for (size_t i = 0; i < digits; ++i) length = length << 8 | der.at(at + 2 + i);
    element.content += digits;
  }
  element.end = element.content + length;
  if (element.constructed()) {
    for (size_t next = element.content; next < element.end;) {
      element.parts.push_back(ParseDer(der, next));
      next = element.parts.back().end;
    }
  }
  return element;
}

}  // namespace qex::test
