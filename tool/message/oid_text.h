// Object identifiers between dotted text and contents octets, exactly (X.690 8.19), with arcs of any size.
// The library's own conversion has limits; its results are compared with these.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qex::inspect {

// EncodeOid returns the contents octets; nothing for a text that is not an object identifier, or has more
// than 255 characters.
[[nodiscard]] std::optional<std::vector<uint8_t>> EncodeOid(std::string_view text);

// DecodeOid returns dotted text. Octets that end inside an arc, none, or more than 255 give a question mark
// followed by their hexadecimal digits (of the first 255).
std::string DecodeOid(std::span<const uint8_t> contents);

// OidName returns a short name of a well-known identifier in dotted text, or null.
const char* OidName(std::string_view dotted);

// NamedOid returns "name (dotted)" for a well-known identifier, else the dotted text.
std::string NamedOid(const std::string& dotted);

}  // namespace qex::inspect
