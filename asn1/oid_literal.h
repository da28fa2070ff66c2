// Object identifiers as compile-time constants: "1.3.14.3.2.26"_oid is an AsnOid that points
// to the identifier's contents octets (X.690 8.19).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ber/primitives.h"

namespace qex {

// The text of a literal as a template argument.
template <size_t N>
struct OidText {
  char text[N];
  constexpr OidText(const char (&t)[N]) { std::copy_n(t, N, text); }
};

struct OidArcs {
  std::array<uint64_t, 24> arc{};
  size_t count = 0;
};

// parse_arcs reads dotted text; the first two arcs become one subidentifier, at index 1.
constexpr OidArcs parse_arcs(std::string_view text) {
  OidArcs arcs;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == '.') {
      ++arcs.count;
      continue;
    }
    if (text[i] < '0' || text[i] > '9') throw "an identifier is written as digits and dots";
    arcs.arc[arcs.count] = arcs.arc[arcs.count] * 10 + uint64_t(text[i] - '0');
  }
  if (arcs.count < 2) throw "an identifier has two arcs at least";
  arcs.arc[1] += 40 * arcs.arc[0];
  return arcs;
}

constexpr size_t base128_octets(uint64_t number) {
  size_t n = 1;
  while (number >>= 7) ++n;
  return n;
}

template <OidText T>
constexpr auto oid_octets() {
  constexpr OidArcs arcs = parse_arcs({T.text, sizeof(T.text) - 1});
  constexpr size_t size = [&] {
    size_t n = 0;
    for (size_t i = 1; i < arcs.count; ++i) n += base128_octets(arcs.arc[i]);
    return n;
  }();
  std::array<uint8_t, size> octets{};
  size_t at = 0;
  for (size_t i = 1; i < arcs.count; ++i) {
    for (size_t k = base128_octets(arcs.arc[i]); k-- > 0;) {
      octets[at++] = uint8_t((arcs.arc[i] >> (7 * k) & 0x7F) | (k != 0 ? 0x80 : 0));
    }
  }
  return octets;
}

template <OidText T>
inline constexpr auto kOidOctets = oid_octets<T>();

template <OidText T>
constexpr AsnOid operator""_oid() {
  return {uint32_t(kOidOctets<T>.size()), kOidOctets<T>.data()};
}

}  // namespace qex
