// The expected results of the library, worked out without it.
#include "fuzz/support/expected.h"

#include <algorithm>
#include <array>

namespace qex::fuzz {
namespace {

[[nodiscard]] bool all_digits(std::string_view s) {
  return std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::vector<std::string> split(std::string_view text) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == '.') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

// The number of a text of digits; above 2147483647 it is 2147483647.
uint32_t arc_number(const std::string& digits) {
  uint64_t n = 0;
  for (const char c : digits) n = std::min<uint64_t>(n * 10 + uint64_t(c - '0'), 0x7FFFFFFF);
  return uint32_t(n);
}

struct NameRow {
  const char* name;
  uint8_t octet;  // after 55 04
};
constexpr NameRow kUnder2_5_4[] = {
    {"CN", 3},
    {"O", 10},
    {"C", 6},
    {"OU", 11},
    {"L", 7},
    {"S", 8},
    {"DmdName", 54},
    {"SerialNumber", 5},
    {"STREET", 9},
    {"Description", 13},
    {"BusinessCategory", 15},
    {"PostalCode", 17},
    {"PostOfficeBox", 18},
    {"PhysicalDeliveryOfficeName", 19},
    {"TelephoneNumber", 20},
    {"TelexNumber", 21},
    {"FacsimileTelephoneNumber", 23},
    {"x121Address", 24},
    {"InternationaliSDNNumber", 25},
    {"DestinationIndicator", 27},
    {"HouseIdentifier", 51},
    {"Pseudonym", 65},
    {"SupportedApplicationContext", 30},
};
constexpr uint8_t kPostalAddress = 16;
constexpr uint8_t kRegisteredAddress = 26;
constexpr uint8_t kTelexNumber = 21;
constexpr uint8_t kFacsimileNumber = 23;
constexpr uint8_t kApplicationContext = 30;

std::string as_text(const Octets& octets) {
  return {octets.begin(), octets.end()};
}

std::string name_of(const Octets& type) {
  static const Octets kEmail = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x01};
  static const Octets kDomain = {0x09, 0x92, 0x26, 0x89, 0x93, 0xF2, 0x2C, 0x64, 0x01, 0x19};
  if (type == kEmail) return "E";
  if (type == kDomain) return "DC";
  if (type.size() > 2 && type[0] == 0x55 && type[1] == 0x04) {
    for (const NameRow& row : kUnder2_5_4) {
      if (row.octet == type[2]) return row.name;
    }
  }
  return OidText(type);
}

// The bytes of a value by its tag; nothing for one that has none.
[[nodiscard]] std::optional<std::string> value_text(const Octets& type, const Tlv& value) {
  const bool under = type.size() > 2 && type[0] == 0x55 && type[1] == 0x04;
  if (under && type[2] == kTelexNumber) {
    if (value.children.size() != 3) return std::nullopt;
    std::string text;
    for (const Tlv& child : value.children) {
      if (&child != &value.children.front()) text += ' ';
      text += as_text(OctetsOf(&child).value_or(Octets{}));
    }
    return text.substr(0, 2047);
  }
  if (under && type[2] == kApplicationContext) {
    return value.is(0x06) ? OidText(value.content).substr(0, 2047) : "";
  }
  if (under && type[2] == kFacsimileNumber) {
    if (value.children.empty()) return std::nullopt;
    return as_text(OctetsOf(&value.children[0]).value_or(Octets{}));
  }
  static constexpr std::array<uint8_t, 8> kStrings = {0x04, 0x06, 0x0C, 0x12, 0x13, 0x14, 0x16, 0x1C};
  for (const uint8_t tag : kStrings) {
    if (value.is(tag)) return as_text(OctetsOf(&value).value_or(Octets{}));
  }
  if (value.is(0x1E)) return as_text(OctetsOf(&value).value_or(Octets{}));
  if (value.tag[0] == 0x03 && !value.content.empty()) {
    const size_t octets = value.content.size() - 1;
    const size_t bits = octets * 8 < value.content[0] ? 0 : octets * 8 - value.content[0];
    return as_text({value.content.begin() + 1, value.content.begin() + 1 + std::ptrdiff_t((bits + 7) / 8)});
  }
  return std::nullopt;
}

std::string up_to_zero(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

}  // namespace

std::string OidText(View contents) {
  if (contents.empty()) return {};
  const unsigned first = contents[0];
  std::string text = first >= 80   ? "2." + std::to_string(first - 80)
                     : first >= 40 ? "1." + std::to_string(first - 40)
                                   : "0." + std::to_string(first);
  uint32_t arc = 0;
  for (const uint8_t octet : contents.subspan(1)) {
    arc = arc << 7 | (octet & 0x7Fu);
    if ((octet & 0x80) != 0) continue;
    text += '.' + std::to_string(arc);
    arc = 0;
  }
  return text;
}

Octets TextOid(std::string_view text) {
  if (text.empty() || text.size() > 255) return {};
  const std::vector<std::string> arcs = split(text);
  for (const std::string& arc : arcs) {
    if (arc.empty() || !all_digits(arc)) return {};
  }
  if (arcs.size() < 2 || arcs[0].size() != 1 || arcs[0] > "2" || arcs[1].size() > 3) return {};
  const uint32_t root = arc_number(arcs[0]);
  const uint32_t second = arc_number(arcs[1]);
  if (second > 175 || (root != 2 && second > 39)) return {};
  Octets out = {uint8_t(root * 40 + second)};
  for (size_t i = 2; i < arcs.size(); ++i) {
    if (arcs[i].size() >= 10 && arcs[i] >= "2147483648") return {};
    const uint32_t arc = arc_number(arcs[i]);
    // Groups of zeros above the lowest one are not written, between others either.
    for (int shift = 28; shift > 0; shift -= 7) {
      if ((arc >> shift & 0x7F) != 0) out.push_back(uint8_t(0x80 | (arc >> shift & 0x7F)));
    }
    out.push_back(uint8_t(arc & 0x7F));
  }
  return out;
}

std::optional<std::string> NameText(const Tlv& rdnSequence, size_t size, bool* fitted) {
  // Nothing ends a value but the zero bytes that are there before or come with it.
  std::string field(size, '\0');
  *fitted = true;
  for (const Tlv& rdn : rdnSequence.children) {
    if (rdn.children.empty()) continue;
    const Tlv& attribute = rdn.children.front();
    if (attribute.children.size() != 2 || attribute.children[0].nested) return std::nullopt;
    if (attribute.children[1].tag[0] == 0x23) return std::nullopt;
    const Octets& type = attribute.children[0].content;
    const bool under = type.size() > 2 && type[0] == 0x55 && type[1] == 0x04;
    if (under && (type[2] == kPostalAddress || type[2] == kRegisteredAddress)) break;
    const auto value = value_text(type, attribute.children[1]);
    if (!value) continue;
    const std::string name = name_of(type);
    const bool last = &rdn == &rdnSequence.children.back();
    const size_t used = up_to_zero(field).size();
    if (used + name.size() + value->size() + (last ? 2 : 3) > size) {
      *fitted = false;
      continue;
    }
    const std::string head = name + '=' + '\0';
    field.replace(used, head.size(), head);
    field.replace(used + head.size() - 1, value->size(), *value);
    if (!last) field.replace(up_to_zero(field).size(), 2, std::string(";\0", 2));
  }
  return up_to_zero(field);
}

std::optional<int32_t> IntegerOf(const Tlv* integer) {
  if (integer == nullptr || integer->nested || integer->content.empty() || integer->content.size() > 4) {
    return std::nullopt;
  }
  uint32_t n = (integer->content[0] & 0x80) != 0 ? 0xFFFFFFFF : 0;
  for (const uint8_t octet : integer->content) n = n << 8 | octet;
  return int32_t(n);
}

std::optional<Octets> OctetsOf(const Tlv* string) {
  return string == nullptr ? std::nullopt : StringOf(*string, 0x04);
}

std::optional<Octets> OptionalOctetsOf(const Tlv* string) {
  return string == nullptr ? Octets{} : OctetsOf(string);
}

std::optional<Tlv> SequenceIn(View in) {
  Tlv tlv;
  if (!ReadTlv(in, &tlv) || HasEmptyInteger(tlv) || tlv.tag[0] != 0x30) return std::nullopt;
  return tlv;
}

const Tlv* OnlyChild(const Tlv* explicitTag) {
  if (explicitTag == nullptr || explicitTag->children.size() != 1) return nullptr;
  return explicitTag->children.data();
}

const Tlv* SignedDataIn(const Tlv& token) {
  static const Octets kSignedData = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};
  Fields fields(&token);
  const Tlv* type = fields.take(0x06);
  if (type == nullptr || type->content != kSignedData) return nullptr;
  const Tlv* signedData = OnlyChild(fields.take(0xA0));
  return signedData != nullptr && signedData->is(0x30) && fields.done() ? signedData : nullptr;
}

std::optional<Octets> EContentIn(const Tlv& token) {
  Fields fields(SignedDataIn(token));
  fields.take(0x02);
  fields.take(0x31);
  Fields encapsulated(fields.take(0x30));
  if (encapsulated.take(0x06) == nullptr) return std::nullopt;
  const Tlv* content = OnlyChild(encapsulated.take(0xA0));
  if (content == nullptr || !encapsulated.done()) return std::nullopt;
  return OctetsOf(content);
}

std::optional<Words> U64Of(const Octets& octets) {
  if (octets.size() > 9 || (octets.size() == 9 && octets[0] != 0)) return std::nullopt;
  uint64_t n = 0;
  for (const uint8_t octet : octets) n = n << 8 | octet;
  return Words{uint32_t(n >> 32), uint32_t(n)};
}

}  // namespace qex::fuzz
