// Trees of tag, length and value.
#include "fuzz/support/tlv.h"

#include <algorithm>
#include <utility>

namespace qex::fuzz {
namespace {

constexpr int kMaxDepth = 100;
constexpr size_t kMaxTagOctets = 4;
constexpr size_t kMaxLengthOctets = 4;

struct Cursor {
  View in;
  size_t at = 0;

  size_t left() const { return in.size() - at; }
  [[nodiscard]] bool get(uint8_t* octet) {
    if (left() == 0) return false;
    *octet = in[at++];
    return true;
  }
};

[[nodiscard]] bool read_tag(Cursor* c, Octets* tag) {
  uint8_t octet;
  if (!c->get(&octet) || octet == 0) return false;
  tag->push_back(octet);
  if ((octet & 0x1F) != 0x1F) return true;
  do {
    if (tag->size() == kMaxTagOctets || !c->get(&octet)) return false;
    tag->push_back(octet);
  } while ((octet & 0x80) != 0);
  return true;
}

[[nodiscard]] bool read_length(Cursor* c, bool* indefinite, size_t* length) {
  uint8_t octet;
  if (!c->get(&octet)) return false;
  *indefinite = octet == 0x80;
  *length = octet;
  if (octet <= 0x80) return true;
  const size_t n = octet & 0x7Fu;
  if (n > kMaxLengthOctets) return false;
  *length = 0;
  for (size_t i = 0; i < n; ++i) {
    if (!c->get(&octet)) return false;
    *length = *length << 8 | octet;
  }
  // Decoders of 32-bit lengths read the largest number as the indefinite form.
  return *length != 0xFFFFFFFF;
}

[[nodiscard]] bool read_element(Cursor* c, Tlv* out, Inside inside, int depth);

[[nodiscard]] bool read_children(Cursor* c, size_t end, Tlv* out, Inside inside, int depth) {
  while (c->at < end) {
    if (!read_element(c, &out->children.emplace_back(), inside, depth + 1)) return false;
  }
  return c->at == end;
}

[[nodiscard]] bool read_until_end_of_contents(Cursor* c, Tlv* out, Inside inside, int depth) {
  for (;;) {
    if (c->left() >= 2 && c->in[c->at] == 0 && c->in[c->at + 1] == 0) {
      c->at += 2;
      return true;
    }
    if (!read_element(c, &out->children.emplace_back(), inside, depth + 1)) return false;
  }
}

// open_string reads an encoding that is the whole content of a primitive string.
void open_string(Tlv* string, int depth) {
  const bool bits = string->tag[0] == 0x03;
  if (!bits && string->tag[0] != 0x04) return;
  const size_t lead = bits ? 1 : 0;
  const Octets& content = string->content;
  if (content.size() < lead + 2 || (bits && content[0] != 0)) return;
  if (content[lead] != 0x30 && content[lead] != 0x02) return;
  Cursor c{content, lead};
  std::vector<Tlv> children(1);
  if (!read_element(&c, children.data(), Inside::Open, depth + 1) || c.left() != 0) return;
  string->nested = true;
  string->lead.assign(content.begin(), content.begin() + std::ptrdiff_t(lead));
  string->children = std::move(children);
  string->content.clear();
}

bool read_element(Cursor* c, Tlv* out, Inside inside, int depth) {
  size_t length = 0;
  if (depth > kMaxDepth || !read_tag(c, &out->tag) || !read_length(c, &out->indefinite, &length)) {
    return false;
  }
  if (out->indefinite) {
    out->nested = true;
    return out->constructed() && read_until_end_of_contents(c, out, inside, depth);
  }
  if (length > c->left()) return false;
  if (out->constructed()) {
    out->nested = true;
    const size_t end = c->at + length;
    Cursor within{c->in.first(end), c->at};
    if (!read_children(&within, end, out, inside, depth)) return false;
    c->at = end;
    return true;
  }
  const auto begin = c->in.begin() + std::ptrdiff_t(c->at);
  out->content.assign(begin, begin + std::ptrdiff_t(length));
  c->at += length;
  if (inside == Inside::Open) open_string(out, depth);
  return true;
}

[[nodiscard]] bool append_string(const Tlv& string, uint8_t component, Octets* out) {
  if (!string.constructed()) {
    out->insert(out->end(), string.content.begin(), string.content.end());
    return true;
  }
  return std::all_of(string.children.begin(), string.children.end(), [&](const Tlv& child) {
    return child.is(component) && append_string(child, component, out);
  });
}

[[nodiscard]] bool has_indefinite(const Tlv& tlv) {
  return tlv.indefinite || std::any_of(tlv.children.begin(), tlv.children.end(), has_indefinite);
}

}  // namespace

Tlv Primitive(uint8_t tag, Octets content) {
  Tlv tlv;
  tlv.tag = {tag};
  tlv.content = std::move(content);
  return tlv;
}

Tlv Constructed(uint8_t tag, std::vector<Tlv> children) {
  Tlv tlv;
  tlv.tag = {tag};
  tlv.nested = true;
  tlv.children = std::move(children);
  return tlv;
}

std::optional<size_t> ReadTlv(View in, Tlv* out, Inside inside) {
  *out = {};
  Cursor c{in};
  if (!read_element(&c, out, inside, 0)) return std::nullopt;
  return c.at;
}

size_t ReadForest(View in, std::vector<Tlv>* out, Inside inside) {
  out->clear();
  size_t at = 0;
  while (at < in.size()) {
    Tlv tlv;
    const auto used = ReadTlv(in.subspan(at), &tlv, inside);
    if (!used) break;
    out->push_back(std::move(tlv));
    at += *used;
  }
  return at;
}

Octets LengthOctets(size_t length) {
  if (length < 0x80) return {uint8_t(length)};
  Octets octets;
  for (size_t rest = length; rest != 0; rest >>= 8) octets.insert(octets.begin(), uint8_t(rest));
  octets.insert(octets.begin(), uint8_t(0x80 | octets.size()));
  return octets;
}

void Write(const Tlv& tlv, Octets* out) {
  Octets content;
  if (tlv.nested) {
    content = tlv.lead;
    for (const Tlv& child : tlv.children) Write(child, &content);
  }
  const Octets& value = tlv.nested ? content : tlv.content;
  const Octets length = !tlv.length.empty() ? tlv.length
                        : tlv.indefinite    ? Octets{0x80}
                                            : LengthOctets(value.size());
  out->insert(out->end(), tlv.tag.begin(), tlv.tag.end());
  out->insert(out->end(), length.begin(), length.end());
  out->insert(out->end(), value.begin(), value.end());
  if (tlv.indefinite) out->insert(out->end(), 2, 0);
}

Octets Written(const Tlv& tlv) {
  Octets out;
  Write(tlv, &out);
  return out;
}

bool IsDefinite(View in) {
  Tlv tlv;
  const auto used = ReadTlv(in, &tlv);
  return used == in.size() && !has_indefinite(tlv) && std::ranges::equal(Written(tlv), in);
}

std::optional<Octets> StringOf(const Tlv& string, uint8_t component) {
  Octets out;
  if (!append_string(string, component, &out)) return std::nullopt;
  return out;
}

bool HasEmptyInteger(const Tlv& tlv) {
  if (tlv.nested) return std::any_of(tlv.children.begin(), tlv.children.end(), HasEmptyInteger);
  return tlv.content.empty() && (tlv.tag[0] == 0x02 || tlv.tag[0] == 0x0A || (tlv.tag[0] & 0xC0) == 0x80);
}

}  // namespace qex::fuzz
