// Lines of digest lists, as GNU coreutils writes and reads them, with one exception: the form "HEX NAME" with
// a single blank is not read. There a list could hide whether a blank or star belongs to the name.
#include "tool/base/digest_list.h"

#include <algorithm>
#include <utility>

namespace qex::tool {
namespace {

struct Escape {
  char plain;
  char letter;
};

constexpr Escape kEscapes[] = {{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}};

std::string escaped_name(std::string_view name) {
  std::string escaped;
  for (const char c : name) {
    const Escape* found = nullptr;
    for (const Escape& escape : kEscapes) {
      if (c == escape.plain) found = &escape;
    }
    if (found != nullptr) escaped += '\\';
    escaped += found != nullptr ? found->letter : c;
  }
  return escaped;
}

[[nodiscard]] std::optional<std::string> plain_name(std::string_view escaped) {
  std::string name;
  for (size_t i = 0; i < escaped.size(); ++i) {
    if (escaped[i] != '\\') {
      name += escaped[i];
      continue;
    }
    if (++i == escaped.size()) return std::nullopt;
    const Escape* found = nullptr;
    for (const Escape& escape : kEscapes) {
      if (escaped[i] == escape.letter) found = &escape;
    }
    if (found == nullptr) return std::nullopt;
    name += found->plain;
  }
  return name;
}

// SHA256, the form of the name at the start of a tagged line.
std::string tag_of(const HashAlgorithm& hash) {
  std::string tag;
  for (const char* c = hash.name; *c != '\0'; ++c) {
    tag += *c >= 'a' && *c <= 'z' ? char(*c - 'a' + 'A') : *c;
  }
  return tag;
}

[[nodiscard]] std::optional<DigestEntry> entry_of(const HashAlgorithm& hash, std::string_view digits,
                                                  std::string_view name, bool escaped) {
  std::optional<Bytes> digest = FromHex(digits);
  // FromHex bears colons and 0x, which leave fewer octets.
  if (!digest || digits.size() != hash.length * 2 || digest->size() != hash.length) return std::nullopt;
  std::optional<std::string> plain = escaped ? plain_name(name) : std::string(name);
  if (!plain || plain->empty() || plain->find('\0') != std::string::npos) return std::nullopt;
  return DigestEntry{&hash, std::move(*digest), std::move(*plain)};
}

std::string_view without_blanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  return text;
}

// "SHA256 (NAME) = HEX", and "SHA256(NAME)= HEX" or "SHA2-256(NAME)= HEX" as the openssl command writes it.
// The name may hold brackets: it ends at the last one.
[[nodiscard]] std::optional<DigestEntry> tagged_entry(std::string_view line, bool escaped) {
  const size_t open = line.find('(');
  const size_t close = line.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) return std::nullopt;
  std::string label(line.substr(0, open));
  if (label.ends_with(' ')) label.pop_back();
  if (label.starts_with("SHA2-")) label.erase(3, 2);
  const HashAlgorithm* hash = FindHash(label);
  const std::string_view rest = without_blanks(line.substr(close + 1));
  if (hash == nullptr || !rest.starts_with('=')) return std::nullopt;
  return entry_of(*hash, without_blanks(rest.substr(1)), line.substr(open + 1, close - open - 1), escaped);
}

}  // namespace

std::string DigestLine(ByteView digest, std::string_view name) {
  const std::string escaped = escaped_name(name);
  return (escaped == name ? "" : "\\") + ToHex(digest) + "  " + escaped + "\n";
}

std::string TaggedDigestLine(const HashAlgorithm& hash, ByteView digest, std::string_view name) {
  const std::string escaped = escaped_name(name);
  return (escaped == name ? "" : "\\") + tag_of(hash) + " (" + escaped + ") = " + ToHex(digest) + "\n";
}

std::optional<DigestEntry> ParseDigestLine(std::string_view line, const HashAlgorithm& hash) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  line = without_blanks(line);
  const bool escaped = line.starts_with('\\');
  if (escaped) line.remove_prefix(1);
  if (auto tagged = tagged_entry(line, escaped)) return tagged;
  const size_t digits = hash.length * 2;
  if (line.size() < digits + 2 || line[digits] != ' ') return std::nullopt;
  if (line[digits + 1] != ' ' && line[digits + 1] != '*') return std::nullopt;
  return entry_of(hash, line.substr(0, digits), line.substr(digits + 2), escaped);
}

bool IsDigestComment(std::string_view line) {
  return line.starts_with('#');
}

}  // namespace qex::tool
