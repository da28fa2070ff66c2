// Escaping: one pass over the octets, one UTF-8 character (RFC 3629) at a time.
#include "tool/base/escape.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace qex::tool {
namespace {

struct Character {
  uint32_t value;
  size_t length;  // 0: the octets are not UTF-8
};

Character first_character(std::string_view text) {
  const auto octet = [&](size_t i) { return uint8_t(text[i]); };
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

struct Range {
  uint32_t first;
  uint32_t last;
};

// Characters that are never shown unescaped, in ascending order.
constexpr Range kHidden[] = {
    {0x0000, 0x001F},    // C0
    {0x007F, 0x009F},    // DEL, C1
    {0x00AD, 0x00AD},    // soft hyphen
    {0x034F, 0x034F},    // combining grapheme joiner
    {0x061C, 0x061C},    // Arabic letter mark
    {0x115F, 0x1160},    // Hangul fillers
    {0x17B4, 0x17B5},    // Khmer inherent vowels
    {0x180B, 0x180F},    // Mongolian selectors
    {0x200B, 0x200F},    // zero-width characters, direction marks
    {0x2028, 0x202E},    // separators, embeddings
    {0x2060, 0x206F},    // joiners, isolates
    {0x3164, 0x3164},    // Hangul filler
    {0xFDD0, 0xFDEF},    // noncharacters
    {0xFE00, 0xFE0F},    // variation selectors
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFA0, 0xFFA0},    // halfwidth Hangul filler
    {0xFFF0, 0xFFFB},    // interlinear annotation
    {0xFFFE, 0xFFFF},    // noncharacters
    {0x1BCA0, 0x1BCA3},  // shorthand format controls
    {0x1D173, 0x1D17A},  // musical format controls
    {0xE0000, 0xE0FFF},  // tags, variation selectors
};

[[nodiscard]] bool is_hidden(uint32_t c) {
  return std::ranges::any_of(kHidden,
                             [c](const Range& range) { return c >= range.first && c <= range.last; });
}

[[nodiscard]] bool is_blank(uint32_t c) {
  return c == ' ' || (c >= 0x09 && c <= 0x0D) || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x2800 || c == 0x3000;
}

constexpr size_t kQuotedWidth = 160;

[[nodiscard]] bool is_plain_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7F; });
}

}  // namespace

std::string Escaped(std::string_view text) {
  if (is_plain_ascii(text)) return std::string(text);
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
    if (is_hidden(c.value)) {
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

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character c = first_character(text);
    if (c.length == 0) return false;
    text.remove_prefix(c.length);
  }
  return true;
}

std::string Folded(std::string_view text, size_t most) {
  std::string folded;
  bool blank = false;
  for (size_t count = 0; !text.empty();) {
    const Character c = first_character(text);
    const size_t length = std::max<size_t>(c.length, 1);
    if (c.length != 0 && is_blank(c.value)) {
      blank = true;
    } else {
      if (count >= most) return folded + "...";
      if (blank && !folded.empty()) folded += ' ';
      blank = false;
      folded += text.substr(0, length);
      ++count;
    }
    text.remove_prefix(length);
  }
  return folded;
}

std::string Quoted(std::string_view text) {
  return '"' + Folded(text, kQuotedWidth) + '"';
}

}  // namespace qex::tool
