// Values nested a million deep, made in linear time, and put into the place of an element of a message.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "tests/support/der.h"

namespace qex::test {

enum class Lengths { kDefinite, kIndefinite };

// Wrap is the surroundings of a value: an identifier octet, and the octets before the value.
struct Wrap {
  uint8_t tag;
  Octets before;
};

// Nested returns `innermost` inside `levels` levels, each of these wraps, the outermost one first.
Octets Nested(size_t levels, const std::vector<Wrap>& level, const Octets& innermost, Lengths lengths);

// The identifier of an open type that holds a ContentInfo, which may hold the next.
inline constexpr const char* kSelfContaining = "1.3.6.1.4.1.311.3.2.1";

// NestedOpenTypes returns `levels` such nested values.
inline Octets NestedOpenTypes(size_t levels, Lengths lengths) {
  return Nested(levels, {{0x30, der::oid(kSelfContaining)}, {0xA0, {}}}, der::null(), lengths);
}

inline constexpr uint8_t kConstructed = 0x20;  // the bit in the identifier octet

// NestedStrings returns a constructed string of the tag `tag`, with `levels` - 1 nested constructed ones of
// the type `part` and the primitive one of `content` in the innermost.
inline Octets NestedStrings(uint8_t tag, uint8_t part, const Octets& content, size_t levels,
                            Lengths lengths) {
  const Octets parts =
      Nested(levels - 1, {{uint8_t(part | kConstructed), {}}}, der::element(part, content), lengths);
  return Nested(1, {{uint8_t(tag | kConstructed), {}}}, parts, lengths);
}

// Place is the place of an element in a message: its octets are [start, end), its content [content, end).
struct Place {
  uint8_t tag;
  size_t start;
  size_t content;
  size_t end;
};

// PlaceAt reads the head of the element at `start` of a DER encoding with identifiers of one octet.
inline Place PlaceAt(const Octets& message, size_t start) {
  Place place{message.at(start), start, start + 2, 0};
  size_t length = message.at(start + 1);
  if (length >= 0x80) {
    const size_t last = place.content + (length & 0x7F);
    for (length = 0; place.content < last; ++place.content) length = length << 8 | message.at(place.content);
  }
  place.end = place.content + length;
  return place;
}

// FirstPart is where the elements inside `place` begin, in a BIT STRING after its unused bits.
inline size_t FirstPart(const Place& place) {
  return place.content + (place.tag == 0x03 ? 1 : 0);
}

// HoldsElements returns whether the content of `place` is a row of elements, judged by their heads.
[[nodiscard]] inline bool HoldsElements(const Octets& message, const Place& place) {
  size_t at = FirstPart(place);
  if (at >= place.end) return false;
  try {
    while (at < place.end) at = PlaceAt(message, at).end;
  } catch (const std::out_of_range&) {
    return false;  // a head beyond the message
  }
  return at == place.end;
}

// PlacesIn returns `place` and all elements inside it; a string that holds an encoding is looked into.
inline std::vector<Place> PlacesIn(const Octets& message, const Place& place) {
  std::vector<Place> all = {place};
  const bool constructed = (place.tag & kConstructed) != 0;
  const bool string = place.tag == 0x03 || place.tag == 0x04;
  if (!constructed && !(string && HoldsElements(message, place) && message[FirstPart(place)] == 0x30)) {
    return all;
  }
  for (size_t at = FirstPart(place); at < place.end; at = PlaceAt(message, at).end) {
    const std::vector<Place> inside = PlacesIn(message, PlaceAt(message, at));
    all.insert(all.end(), inside.begin(), inside.end());
  }
  return all;
}

// IsInString returns whether a primitive string among `places` surrounds `place`, which is then decoded
// separately or not at all.
[[nodiscard]] inline bool IsInString(const std::vector<Place>& places, const Place& place) {
  return std::any_of(places.begin(), places.end(), [&](const Place& around) {
    return (around.tag & kConstructed) == 0 && around.content <= place.start && place.end <= around.end;
  });
}

// ContentAt returns the content of the element at `place`.
inline Octets ContentAt(const Octets& message, const Place& place) {
  return Octets(message.begin() + ptrdiff_t(place.content), message.begin() + ptrdiff_t(place.end));
}

// Replaced returns `message` with other octets in the place of an element, and the lengths around it right.
inline Octets Replaced(const Octets& message, const Place& place, const Octets& replacement) {
  std::vector<Place> around;
  for (Place at = PlaceAt(message, 0); at.start != place.start || at.end != place.end;) {
    around.push_back(at);
    Place part = PlaceAt(message, FirstPart(at));
    while (part.end <= place.start) part = PlaceAt(message, part.end);
    at = part;
  }
  std::vector<Octets> heads(around.size());
  size_t before = place.end - place.start, after = replacement.size();  // lengths of the replaced octets
  for (size_t i = around.size(); i-- > 0;) {
    const Place& at = around[i];
    const size_t length = at.end - at.content - before + after;
    heads[i] = der::concat(Octets{at.tag}, der::length(length));
    before = at.end - at.start;
    after = heads[i].size() + length;
  }
  Octets all;
  all.reserve(after + message.size());
  for (size_t i = 0; i < around.size(); ++i) {
    const size_t next = i + 1 < around.size() ? around[i + 1].start : place.start;
    all.insert(all.end(), heads[i].begin(), heads[i].end());
    all.insert(all.end(), message.begin() + ptrdiff_t(around[i].content), message.begin() + ptrdiff_t(next));
  }
  all.insert(all.end(), replacement.begin(), replacement.end());
  all.insert(all.end(), message.begin() + ptrdiff_t(place.end), message.end());
  return all;
}

}  // namespace qex::test
