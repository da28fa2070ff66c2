// A tree is a row of lines with a depth each; a line becomes a fold when the next one is deeper.
#include "tool/report/tree.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "tool/base/json.h"
#include "tool/message/oid_text.h"
#include "tool/message/structure.h"
#include "tool/message/tags.h"
#include "tool/report/facts.h"
#include "tool/report/markup.h"

namespace qex::tool {
namespace {

using inspect::Element;
using inspect::Elements;

constexpr size_t kMostLines = 4000;
constexpr size_t kDeepestFold = 32;  // deeper lines are drawn at this depth
constexpr size_t kLongestLine = 400;
constexpr size_t kIndent = 4;       // of the library's print routines
constexpr size_t kMostOctets = 64;  // of a value

struct TreeLine {
  size_t depth;
  std::string text;
};

struct Tree {
  std::vector<TreeLine> lines;
  bool whole = true;
};

[[nodiscard]] bool is_closing(std::string_view line) {
  return line.find_first_not_of(" },") == std::string_view::npos;
}

// The lines that the library prints, without braces.
Tree tree_of_text(std::string_view text) {
  Tree tree;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (is_closing(line)) continue;
    if (tree.lines.size() == kMostLines) {
      tree.whole = false;
      break;
    }
    const size_t blanks = line.find_first_not_of(' ');
    line.remove_prefix(blanks);
    if (line.ends_with(',')) line.remove_suffix(1);
    std::string shown(line.substr(0, 8 * kLongestLine));
    if (const size_t brace = shown.find("{ -- "); brace != std::string::npos) shown.erase(brace, 2);
    tree.lines.push_back({blanks / kIndent, std::move(shown)});
  }
  return tree;
}

struct TagName {
  uint8_t tag;
  const char* name;
};

constexpr TagName kTagNames[] = {
    {0x01, "BOOLEAN"},
    {0x02, "INTEGER"},
    {0x03, "BIT STRING"},
    {0x04, "OCTET STRING"},
    {0x05, "NULL"},
    {0x06, "OBJECT IDENTIFIER"},
    {0x0A, "ENUMERATED"},
    {0x0C, "UTF8String"},
    {0x13, "PrintableString"},
    {0x14, "TeletexString"},
    {0x16, "IA5String"},
    {0x17, "UTCTime"},
    {0x18, "GeneralizedTime"},
    {0x1E, "BMPString"},
    {0x30, "SEQUENCE"},
    {0x31, "SET"},
};

std::string tag_name(uint8_t tag) {
  const auto* found = std::ranges::find(kTagNames, tag, &TagName::tag);
  if (found != std::end(kTagNames)) return found->name;
  const char* classes[] = {"UNIVERSAL ", "APPLICATION ", "", "PRIVATE "};
  return "[" + std::string(classes[tag >> 6]) + std::to_string(tag & 31) + "]";
}

[[nodiscard]] bool is_text(uint8_t tag) {
  return tag == 0x0C || (tag >= 0x12 && tag <= 0x1A);
}

std::string value_of(const Element& element) {
  const ByteView content = element.content;
  if (element.tag == inspect::kOid) return inspect::NamedOid(inspect::DecodeOid(content));
  if (content.empty()) return "";
  if (is_text(element.tag)) {
    const size_t length = std::min(content.size(), kLongestLine);
    return "\"" + std::string(content.begin(), content.begin() + ptrdiff_t(length)) + "\"";
  }
  const std::string digits = ToHex(content.first(std::min(content.size(), kMostOctets)));
  return digits + (content.size() > kMostOctets ? "… " + WithCount(content.size(), "octet") : "");
}

// The elements by their tags, with a stack instead of recursion.
Tree tree_of_elements(ByteView octets) {
  Tree tree;
  std::vector<Elements> open{Elements(octets)};
  while (!open.empty()) {
    const auto element = open.back().next();
    if (!element) {
      open.pop_back();
      continue;
    }
    if (tree.lines.size() == kMostLines) {
      tree.whole = false;
      break;
    }
    const bool constructed = (element->tag & 0x20) != 0;
    std::string text = tag_name(element->tag);
    if (!constructed) text += " " + value_of(*element);
    const size_t depth = open.size() - 1;
    tree.lines.push_back({depth, std::move(text)});
    if (!constructed) continue;
    if (depth < kDeepestFold) {
      open.emplace_back(element->content);
    } else {
      tree.whole = false;
    }
  }
  return tree;
}

std::string rendered(const Tree& tree) {
  std::string html;
  std::vector<size_t> folds;  // depths of those that are open
  for (size_t i = 0; i < tree.lines.size(); ++i) {
    const TreeLine& line = tree.lines[i];
    const size_t depth = std::min(line.depth, kDeepestFold);
    while (!folds.empty() && folds.back() >= depth) {
      html += "</details>\n";
      folds.pop_back();
    }
    const std::string text = Markup(line.text, kLongestLine);
    const bool deeper = i + 1 < tree.lines.size() && std::min(tree.lines[i + 1].depth, kDeepestFold) > depth;
    if (!deeper) {
      html += "<div>" + text + "</div>\n";
      continue;
    }
    html += std::string("<details") + (depth < 1 ? " open" : "") + "><summary>" + text + "</summary>\n";
    folds.push_back(depth);
  }
  for (size_t i = 0; i < folds.size(); ++i) html += "</details>\n";
  return html;
}

}  // namespace

std::string TreeOf(const Json& shown, ByteView octets) {
  const Json* text = PartOf(shown, "asn1");
  const bool printed = text != nullptr && text->is_string() && !text->empty();
  const Tree tree = printed ? tree_of_text(text->get_ref<const std::string&>()) : tree_of_elements(octets);
  if (tree.lines.empty()) return "";
  std::string html =
      "<details class=\"asn1\">\n<summary>ASN.1, " + WithCount(tree.lines.size(), "value") + "</summary>\n";
  if (!printed) {
    html +=
        "<p>The library has no type for a part of this message, or it is large: its elements by their "
        "tags.</p>\n";
  }
  html += "<div class=\"tree\">\n" + rendered(tree) + "</div>\n";
  if (!tree.whole) {
    html +=
        "<p class=\"left-out\">The rest is left out; qex show --asn1 has all that the library can "
        "print.</p>\n";
  }
  return html + "</details>\n";
}

}  // namespace qex::tool
