// Escaping: one pass over the octets, one UTF-8 character (RFC 3629) at a time.
#include "tool/base/escape.h"

#include <cstdint>
#include <cstdio>

namespace qex::tool {
namespace {

struct Character {
  uint32_t value;
  size_t length;  // 0: the octets are no UTF-8
};

Character first_character(std::string_view text) {
  const auto octet = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t lead = octet(0);
  if (lead < 0x80) return {lead, 1};
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {lead, 0};
  uint32_t value = lead & (0xFFu >> (length + 1));
  for (size_t i = 1; i < length; ++i) {
    if ((octet(i) & 0xC0) != 0x80) return {lead, 0};
    value = value << 6 | (octet(i) & 0x3Fu);
  }
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
  if (value < kSmallest[length] || value > 0x10FFFF || surrogate) return {lead, 0};
  return {value, length};
}

bool is_control(uint32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F ||
         (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Character c = first_character(text);
    char escape[16];
    if (c.length == 0) {
      std::snprintf(escape, sizeof escape, "\\x%02x", c.value);
      shown += escape;
      text.remove_prefix(1);
      continue;
    }
    if (is_control(c.value)) {
      std::snprintf(escape, sizeof escape, c.value < 0x100 ? "\\x%02x" : "\\u%04x", c.value);
      shown += escape;
    } else {
      shown += text.substr(0, c.length);
    }
    text.remove_prefix(c.length);
  }
  return shown;
}

std::string EscapedLines(std::string_view text) {
  std::string shown;
  for (;;) {
    const size_t end = text.find('\n');
    shown += Escaped(text.substr(0, end));
    if (end == std::string_view::npos) return shown;
    shown += '\n';
    text.remove_prefix(end + 1);
  }
}

}  // namespace qex::tool
