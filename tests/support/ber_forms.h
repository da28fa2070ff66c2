// The other forms that BER allows for a value in DER (X.690 8.1.3, 8.7.3): a decoder has to find
// the same value in all of them.
#pragma once

#include <stdexcept>

#include "tests/support/der.h"

namespace qex::test {

enum class Form {
  kIndefinite,         // every constructed value has an open length and an end
  kLongLengths,        // every length takes four octets
  kConstructedStrings  // strings of a universal tag are cut into parts
};

[[nodiscard]] inline bool is_universal_string(uint8_t tag) {
  return tag == 0x04 || tag == 0x0C || (tag >= 0x12 && tag <= 0x14) || (tag >= 0x16 && tag <= 0x18) ||
         tag == 0x1C || tag == 0x1E;
}

// InForm rewrites a run of DER values, the ones inside first.
inline Octets InForm(Form form, const Octets& run) {
  Octets out;
  for (size_t at = 0; at < run.size();) {
    const uint8_t tag = run[at];
    size_t length = run.at(at + 1), head = 2;
    if (length >= 0x80) {
      const size_t last = head + (length & 0x7F);
      for (length = 0; head < last; ++head) length = length << 8 | run.at(at + head);
    }
    if (length > run.size() - at - head) throw std::out_of_range("a test's own encoding is cut off");
    const auto start = run.begin() + ptrdiff_t(at + head);
    Octets content(start, start + ptrdiff_t(length));
    at += head + length;
    const bool constructed = (tag & 0x20) != 0;
    if (constructed) content = InForm(form, content);
    const size_t n = content.size();
    if (form == Form::kIndefinite && constructed) {
      out = der::concat(out, der::indefinite(tag, content));
    } else if (form == Form::kLongLengths) {
      const Octets four = {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
      out = der::concat(out, Octets{tag, 0x84}, four, content);
    } else if (form == Form::kConstructedStrings && is_universal_string(tag)) {
      const auto middle = content.begin() + ptrdiff_t(n / 2);
      const Octets front(content.begin(), middle), back(middle, content.end());
      const Octets nested = der::indefinite(0x24, der::octet_string(back));
      out = der::concat(out, der::element(uint8_t(tag | 0x20), der::octet_string(front), nested));
    } else {
      out = der::concat(out, der::element(tag, content));
    }
  }
  return out;
}

}  // namespace qex::test
