// Object identifiers between dotted text and contents octets, exactly (X.690 8.19), with arcs of
// any size. The library's own conversion is bounded in places; what it made is compared with this.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qex::inspect {

// EncodeOid returns the contents octets; nothing for a text that is no object identifier, or one
// of more than 255 characters.
std::optional<std::vector<uint8_t>> EncodeOid(std::string_view text);

// DecodeOid returns dotted text. Octets that end inside an arc, none, or more than 255 give their
// hexadecimal digits (of the first 255) behind a question mark.
std::string DecodeOid(std::span<const uint8_t> contents);

// OidName returns a short name of a well-known identifier in dotted text, or null.
const char* OidName(std::string_view dotted);

// NamedOid returns "name (dotted)" for a well-known identifier, else the dotted text.
std::string NamedOid(const std::string& dotted);

}  // namespace qex::inspect
