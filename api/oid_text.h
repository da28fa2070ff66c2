// Object identifiers as text, in the form that caller records carry.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ber/primitives.h"

namespace qex {

// The longest output of TextToOid: a text of 255 characters has at most 127 octets.
inline constexpr size_t kMaxOidOctets = 128;

// OidToText writes the contents octets of an object identifier as dotted decimal text of at most `size`
// bytes, including the terminator, and returns its length. 0 and nothing written for null or empty contents;
// 0 after the arcs written so far when the contents end inside an arc. A longer text is cut to `size`;
// `*cut`, unless `cut` is null, says so.
// Deliberate: the first octet alone gives the first two arcs, so that a second arc above 47 under arc 2 is
// written wrongly; arcs wrap at 32 bits.
size_t OidToText(const uint8_t* contents, size_t length, char* text, size_t size, bool* cut = nullptr);

// OidField writes `oid` into a cleared text field of a record; false when the text was cut.
template <size_t kSize>
[[nodiscard]] bool OidField(char (&field)[kSize], const AsnOid& oid) {
  bool cut = false;
  OidToText(oid.octs, oid.count, field, kSize, &cut);
  return !cut;
}

// TextToOid writes the contents octets of a dotted text to `contents`, which has room for
// kMaxOidOctets, and returns their number; 0 when the text is rejected. Rejected are: null,
// empty, longer than 255 characters; other characters than digits and dots; dots at either end
// or in a row; a single arc; a first arc that is not 0, 1 or 2; a second arc of more than three
// digits, above 39, or above 175 under arc 2; a later arc above 2147483647 (see the source).
[[nodiscard]] uint32_t TextToOid(const char* text, uint8_t* contents);

}  // namespace qex
