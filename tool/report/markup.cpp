// Escaping for people first, for HTML second: what the first leaves holds no octet below 0x20.
#include "tool/report/markup.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "tool/base/escape.h"

namespace qex::tool {
namespace {

constexpr size_t kMostStacked = 4;

struct Block {
  uint32_t first;
  uint32_t last;
};

// Marks that are drawn above or below the character before them.
constexpr Block kCombining[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A},
                                {0x064B, 0x065F}, {0x06D6, 0x06ED}, {0x0E31, 0x0E3A}, {0x0E47, 0x0E4E},
                                {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0x302A, 0x302F},
                                {0x3099, 0x309A}, {0xFE20, 0xFE2F}};

// Characters as wide as two others.
constexpr Block kWide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF}, {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                           {0xFFE0, 0xFFE6}, {0x1F000, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <size_t N>
[[nodiscard]] bool is_in(const Block (&blocks)[N], uint32_t c) {
  return std::ranges::any_of(blocks, [c](const Block& block) { return c >= block.first && c <= block.last; });
}

// One character of well-formed UTF-8, taken off the front of `text`.
std::string_view take_character(std::string_view& text, uint32_t& value) {
  const uint8_t lead = uint8_t(*text.begin());
  const size_t length = std::min<size_t>(lead < 0x80   ? 1
                                         : lead < 0xE0 ? 2
                                         : lead < 0xF0 ? 3
                                                       : 4,
                                         text.size());
  value = length == 1 ? lead : lead & (0xFFu >> (length + 1));
  for (size_t i = 1; i < length; ++i) value = value << 6 | (uint8_t(text[i]) & 0x3Fu);
  const std::string_view character = text.substr(0, length);
  text.remove_prefix(length);
  return character;
}

}  // namespace

std::string Markup(std::string_view text, size_t most) {
  const std::string plain = Escaped(Folded(text, most));
  std::string shown;
  shown.reserve(plain.size());
  size_t stacked = 0;
  for (std::string_view rest = plain; !rest.empty();) {
    uint32_t value = 0;
    const std::string_view character = take_character(rest, value);
    stacked = is_in(kCombining, value) ? stacked + 1 : 0;
    if (stacked > kMostStacked) {
      char escape[16];
      std::snprintf(escape, sizeof escape, "\\u%04x", value);
      shown += escape;
      continue;
    }
    switch (value) {
      case '&': shown += "&amp;"; break;
      case '<': shown += "&lt;"; break;
      case '>': shown += "&gt;"; break;
      case '"': shown += "&quot;"; break;
      case '\'': shown += "&#39;"; break;
      default: shown += character; break;
    }
  }
  return shown;
}

std::string Abridged(std::string_view text, size_t most) {
  const std::string plain = Escaped(Folded(text, most + 1));
  std::string cut;
  size_t columns = 0;
  size_t fits = 0;  // octets of the text before the place of an ellipsis
  for (std::string_view rest = plain; !rest.empty();) {
    uint32_t value = 0;
    const std::string_view character = take_character(rest, value);
    columns += is_in(kCombining, value) ? 0 : is_in(kWide, value) ? 2 : 1;
    if (columns > most) return cut.substr(0, fits) + "…";
    cut += character;
    if (columns < most) fits = cut.size();
  }
  return cut;
}

std::string LabelOf(std::string name) {
  std::ranges::replace(name, '_', ' ');
  return name;
}

std::string WithCount(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace qex::tool
