// Directory names and times as text. Names are read element by element, so that attribute types
// that no table knows are shown too.
#include <algorithm>
#include <iterator>
#include <string>

#include "tool/message/oid_text.h"
#include "tool/message/tags.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

struct AttributeName {
  std::string_view dotted;
  const char* name;
};

// RFC 4514 section 3, and other attributes that occur in names.
constexpr AttributeName kAttributeNames[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "STREET"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "title"},
    {"2.5.4.42", "givenName"},
    {"2.5.4.65", "pseudonym"},
    {"2.5.4.97", "organizationIdentifier"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
};

void append_utf8(std::string& text, uint32_t c) {
  const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
  if (c > 0x10FFFF || surrogate) c = 0xFFFD;
  const auto put = [&](uint32_t octet) { text += char(octet); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | c >> 6);
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | c >> 12);
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | c >> 18);
    put(0x80 | (c >> 12 & 0x3F));
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

// Characters of `width` octets each, big-endian; a rest is dropped.
std::string wide_text(View octets, size_t width) {
  std::string text;
  for (; octets.size() >= width; octets = octets.subspan(width)) {
    uint32_t c = 0;
    for (size_t i = 0; i < width; ++i) c = c << 8 | octets[i];
    append_utf8(text, c);
  }
  return text;
}

std::string string_text(const Element& value) {
  switch (value.tag) {
    // In practice a TeletexString holds Latin-1.
    case kTeletexString: return wide_text(value.content, 1);
    case kBmpString: return wide_text(value.content, 2);
    case kUniversalString: return wide_text(value.content, 4);
    default: return {value.content.begin(), value.content.end()};
  }
}

std::string attribute_text(const Element& attribute) {
  Elements parts(attribute.content);
  const auto type = parts.next(kOid);
  const auto value = parts.next();
  if (!type || !value) return "?";
  const std::string dotted = DecodeOid(type->content);
  const auto* row = std::ranges::find(kAttributeNames, dotted, &AttributeName::dotted);
  std::string text = row == std::end(kAttributeNames) ? dotted : row->name;
  text += '=';
  return text += string_text(*value);
}

[[nodiscard]] bool all_digits(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::string NameText(View name) {
  const auto sequence = Elements(name).next(kSequence);
  if (!sequence) return "";
  std::string text;
  Elements rdns(sequence->content);
  while (const auto rdn = rdns.next(kSet)) {
    Elements attributes(rdn->content);
    const char* separator = text.empty() ? "" : ", ";
    while (const auto attribute = attributes.next(kSequence)) {
      text += separator + attribute_text(*attribute);
      separator = " + ";
    }
  }
  return text;
}

std::string TimeText(uint8_t tag, View content) {
  std::string text(content.begin(), content.end());
  std::string plain = text;
  if (tag == kUtcTime && plain.size() >= 2) {
    // RFC 5280, 4.1.2.5.1: years 50 to 99 are in the twentieth century.
    plain.insert(0, plain[0] >= '5' ? "19" : "20");
  }
  const size_t digits = plain.find_first_not_of("0123456789");
  if (digits != 14 || plain.back() != 'Z') return text;
  std::string fraction = plain.substr(14, plain.size() - 15);
  if (!fraction.empty() && (fraction.size() < 2 || fraction[0] != '.' || !all_digits(fraction.substr(1)))) {
    return text;
  }
  return plain.substr(0, 4) + "-" + plain.substr(4, 2) + "-" + plain.substr(6, 2) + "T" + plain.substr(8, 2) +
         ":" + plain.substr(10, 2) + ":" + plain.substr(12, 2) + fraction + "Z";
}

}  // namespace qex::inspect
