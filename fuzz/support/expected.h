// The expected results of the library, worked out from trees of tag, length and value and from the published
// rules, without the library: identifiers and names as text, and the parts of messages.
//
// A function that returns nothing has met a form that it does not judge; the library may accept or refuse it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "fuzz/support/tlv.h"

namespace qex::fuzz {

// OidText returns the dotted text of contents octets: arcs of 32 bits that wrap, the first two from
// the first octet alone, no last arc that is cut off. TextOid is the way back; no octets when the text
// is refused.
std::string OidText(View contents);
Octets TextOid(std::string_view text);

// NameText renders an RDNSequence in `size` bytes and stores whether all entries fitted. The text ends at the
// first zero byte.
[[nodiscard]] std::optional<std::string> NameText(const Tlv& rdnSequence, size_t size, bool* fitted);

// IntegerOf returns an INTEGER of one to four octets.
[[nodiscard]] std::optional<int32_t> IntegerOf(const Tlv* integer);

// OctetsOf returns the octets of a string, of OCTET STRING components when it is constructed.
// OptionalOctetsOf is the same for a string that may be absent: null has no octets.
[[nodiscard]] std::optional<Octets> OctetsOf(const Tlv* string);
[[nodiscard]] std::optional<Octets> OptionalOctetsOf(const Tlv* string);

// SequenceIn returns the first element in `in` when it is well-formed, has no INTEGER without content and
// is a SEQUENCE.
[[nodiscard]] std::optional<Tlv> SequenceIn(View in);

// OnlyChild returns the one element inside an EXPLICIT tag; null when there is another number.
const Tlv* OnlyChild(const Tlv* explicitTag);

// SignedDataIn returns the SignedData of a token, EContentIn the octets that it encapsulates.
const Tlv* SignedDataIn(const Tlv& token);
[[nodiscard]] std::optional<Octets> EContentIn(const Tlv& token);

// U64Of returns contents octets as a number of 64 bits, the low 32 bits in `low`; nothing when it takes more.
struct Words {
  uint32_t high;
  uint32_t low;
};
[[nodiscard]] std::optional<Words> U64Of(const Octets& octets);

}  // namespace qex::fuzz
