// Octets, as hexadecimal text and as integers.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qex::tool {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// OctetsOf views a text as octets.
inline ByteView OctetsOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// CopyOf returns the octets on their own, for use after what they were viewed in.
inline Bytes CopyOf(ByteView octets) {
  return {octets.begin(), octets.end()};
}

// ToHex returns lower-case digits without separators.
std::string ToHex(ByteView octets);

// FromHex reads pairs of digits of either case; colons between pairs and a leading 0x are
// allowed. Nothing for any other text; an empty one gives no octets.
[[nodiscard]] std::optional<Bytes> FromHex(std::string_view text);

// MinimalInteger returns the contents octets of an INTEGER without those that only repeat its
// sign (X.690 8.3.2), so that equal integers have equal octets; no octets count as 0.
Bytes MinimalInteger(ByteView contents);

// IntegerText renders contents octets of an INTEGER as 0x1A2B, with a minus sign for a negative one.
std::string IntegerText(ByteView contents);

}  // namespace qex::tool
