// Elements, and telling kinds of messages apart by them.
#include "tool/message/structure.h"

#include "tool/message/tags.h"

namespace qex::inspect {
namespace {

constexpr uint8_t kVersionTag = 0xA0;

struct Header {
  uint8_t tag;
  size_t size;  // of identifier and length octets
  size_t length;
  bool indefinite;
};

[[nodiscard]] std::optional<Header> read_header(View data) {
  if (data.size() < 2 || (data[0] & 0x1F) == 0x1F) return std::nullopt;
  const uint8_t first = data[1];
  if (first == 0x80) return Header{data[0], 2, 0, true};
  size_t length = first;
  size_t size = 2;
  if ((first & 0x80) != 0) {
    const size_t octets = first & 0x7Fu;
    if (octets > 4 || data.size() < 2 + octets) return std::nullopt;
    length = 0;
    for (; size < 2 + octets; ++size) length = length << 8 | data[size];
  }
  if (length > data.size() - size) return std::nullopt;
  return Header{data[0], size, length, false};
}

// The length of a content of indefinite length that starts at `data`; its marker is not counted.
[[nodiscard]] std::optional<size_t> indefinite_length(View data) {
  size_t at = 0;
  for (size_t depth = 1;;) {
    const auto header = read_header(data.subspan(at));
    if (!header) return std::nullopt;
    const bool marker = header->tag == 0 && header->length == 0 && !header->indefinite;
    if (marker && --depth == 0) return at;
    if (header->indefinite) ++depth;
    at += header->size + header->length;
  }
}

[[nodiscard]] bool is_time(const std::optional<Element>& element) {
  return element && (element->tag == kUtcTime || element->tag == kGeneralizedTime);
}

[[nodiscard]] bool starts_with(const Element& element, uint8_t tag) {
  return Elements(element.content).next(tag).has_value();
}

// The signed part comes first in a certificate, an attribute certificate and a revocation list.
Kind kind_of_signed(const Element& body) {
  Elements fields(body.content);
  const auto first = fields.next();
  if (!first) return Kind::Unknown;
  if (first->tag == kVersionTag) return Kind::Certificate;
  const auto second = fields.next();
  if (first->tag != kInteger || !second) return Kind::Unknown;
  if (!starts_with(*second, kOid)) return Kind::AttributeCertificate;  // a holder
  fields.skip();
  return is_time(fields.next()) ? Kind::Unknown : Kind::Certificate;  // without a version
}

}  // namespace

std::optional<Element> Elements::next() {
  const auto header = read_header(rest_);
  if (!header) return std::nullopt;
  size_t length = header->length;
  size_t marker = 0;
  if (header->indefinite) {
    const auto found = indefinite_length(rest_.subspan(header->size));
    if (!found) return std::nullopt;
    length = *found;
    marker = 2;
  }
  const size_t total = header->size + length + marker;
  const Element element{header->tag, rest_.subspan(header->size, length), rest_.first(total)};
  rest_ = rest_.subspan(total);
  return element;
}

std::optional<Element> Elements::next(uint8_t tag) {
  if (rest_.empty() || rest_[0] != tag) return std::nullopt;
  return next();
}

Kind KindOf(View data) {
  const auto whole = Elements(data).next(kSequence);
  if (!whole) return Kind::Unknown;
  Elements fields(whole->content);
  const auto first = fields.next();
  if (!first) return Kind::Unknown;
  const auto second = fields.next();
  if (first->tag == kOid) return Kind::Token;
  if (first->tag == kInteger) return second && second->tag == kSequence ? Kind::Request : Kind::Unknown;
  if (first->tag != kSequence) return Kind::Unknown;
  const auto third = fields.next();
  if (third && (third->tag & ~0x20) == kBitString) return kind_of_signed(*first);
  return starts_with(*first, kInteger) ? Kind::Reply : Kind::Unknown;
}

size_t TrailingOctets(View data) {
  const auto first = Elements(data).next();
  return first ? data.size() - first->whole.size() : 0;
}

const char* KindName(Kind kind) {
  constexpr const char* kNames[] = {"unknown", "request",     "reply",
                                    "token",   "certificate", "attribute certificate"};
  return kNames[size_t(kind)];
}

}  // namespace qex::inspect
