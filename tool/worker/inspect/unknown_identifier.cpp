// Finds the identifier at which a decoding stopped: the library has no type for its value, or another type.
//
// A value is looked up by the identifier before it in these places: SEQUENCE { identifier, value } of
// algorithms, names and policy qualifiers; SEQUENCE { identifier, SET } of attributes; after identifier and
// [0] in a content and an other name; in a certificate of another format.
#include <array>
#include <new>

#include "asn1/oids.h"
#include "tool/message/oid_text.h"
#include "tool/message/tags.h"
#include "tool/worker/inspect/decoded.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

constexpr unsigned kMaxDepth = 64;
// The depth of the token's own content type: 0 in a token, 1 in a reply.
constexpr unsigned kMaxContentDepth = 1;

constexpr uint8_t kConstructed = 0x20;
constexpr uint8_t kOtherFormat = 0xA3;  // CertificateChoices

// The forms of algorithm parameters: NULL, a named curve, a structure.
constexpr std::array<uint8_t, 3> kParameterTags = {kNull, kOid, kSequence};

[[nodiscard]] bool is_registered(View identifier) {
  AsnAny any{};
  SetAnyTypeByOid(&any, {uint32_t(identifier.size()), identifier.data()});
  return any.ai != nullptr;
}

// Whether a value decodes as the type that its identifier is registered for: a name attribute may be a string
// of another type than the library's table allows.
[[nodiscard]] bool decodes(View identifier, const Element& value) {
  AsnAny any{};
  SetAnyTypeByOid(&any, {uint32_t(identifier.size()), identifier.data()});
  ExpBuf block;
  ExpBufWrapData(&block, value.whole.data(), value.whole.size());
  const AsnInt error = AsnCatch([&](AsnJmpEnv& env) {
    ExpBuf* buffer = &block;
    AsnLen bytes = 0;
    BDecAny(&buffer, &any, &bytes, env);
  });
  FreeAny(&any);
  if (error == kOutOfMemoryCode) throw std::bad_alloc();
  return error == 0;
}

// The value is a list whose elements have their own identifiers: the qualifiers of a policy, the hash of a
// signature policy. Nothing is looked up by the identifier before it.
[[nodiscard]] bool is_list_of_identified(const Element& value) {
  const auto first = Elements(value.content).next(kSequence);
  return first && Elements(first->content).next(kOid);
}

// The type of `value` when it is looked up by the identifier before it, else null.
const char* role_of(const Element& parent, const Element& value, unsigned depth) {
  const uint8_t tag = value.tag;
  if (parent.tag == kOtherFormat) return "certificate format";
  if (parent.tag == kContext0) return tag == kContext0 ? "other name" : nullptr;
  if (parent.tag != kSequence) return nullptr;
  if (tag == kContext0) return depth <= kMaxContentDepth ? "content type" : nullptr;
  if (tag == kBoolean || tag == kOctetString) return nullptr;  // an extension
  if (tag == kSet) return Elements(value.content).next() ? "attribute" : nullptr;
  if (tag == kSequence && is_list_of_identified(value)) return nullptr;
  for (const uint8_t parameter : kParameterTags) {
    if (tag == parameter) return "algorithm";
  }
  return (tag & 0xC0) == 0 ? "name attribute" : nullptr;
}

[[nodiscard]] std::optional<UnknownIdentifier> unknown_in(const Element& element, unsigned depth) {
  Elements parts(element.content);
  const auto identifier = parts.next(kOid);
  const auto value = identifier ? parts.next() : std::nullopt;
  if (value) {
    const char* role = role_of(element, *value, depth);
    const std::string text = DecodeOid(identifier->content);
    const bool wellFormed = !text.starts_with('?');
    if (role != nullptr && wellFormed) {
      const std::string_view place(role);
      const bool alone = place == "name attribute" || place == "algorithm";  // others hold lists of values
      if (!is_registered(identifier->content)) {
        return UnknownIdentifier{NamedOid(text), role, place == "algorithm"};
      }
      if (alone && !decodes(identifier->content, *value)) {
        return UnknownIdentifier{NamedOid(text), role, false};
      }
    }
  }
  if (depth == kMaxDepth) return std::nullopt;
  Elements all(element.content);
  while (const auto part = all.next()) {
    if ((part->tag & kConstructed) == 0) continue;
    if (auto found = unknown_in(*part, depth + 1)) return found;
  }
  return std::nullopt;
}

// The format of the first revocation information of a token that is not a certificate revocation list (RFC
// 5652, 10.2.1); the library knows only lists.
[[nodiscard]] std::optional<UnknownIdentifier> other_revocation_in(const Element& token) {
  constexpr uint8_t kCrls = 0xA1;
  constexpr uint8_t kOtherRevocation = 0xA1;
  Elements fields(token.content);
  if (!fields.next(kOid)) return std::nullopt;
  const auto content = fields.next(kContext0);
  const auto data = content ? Elements(content->content).next(kSequence) : std::nullopt;
  if (!data) return std::nullopt;
  Elements parts(data->content);
  while (const auto part = parts.next()) {
    if (part->tag != kCrls) continue;
    Elements list(part->content);
    while (const auto one = list.next()) {
      if (one->tag != kOtherRevocation) continue;
      const auto format = Elements(one->content).next(kOid);
      if (format) return UnknownIdentifier{NamedOid(DecodeOid(format->content)), "revocation format", false};
    }
  }
  return std::nullopt;
}

// The TSTInfo of a token, which is decoded separately.
[[nodiscard]] std::optional<Element> content_of(const Element& token) {
  Elements fields(token.content);
  if (!fields.next(kOid)) return std::nullopt;
  const auto content = fields.next(kContext0);
  const auto data = content ? Elements(content->content).next(kSequence) : std::nullopt;
  if (!data) return std::nullopt;
  Elements parts(data->content);
  parts.skip();
  parts.skip();
  const auto encapsulated = parts.next(kSequence);
  if (!encapsulated) return std::nullopt;
  Elements inner(encapsulated->content);
  if (!inner.next(kOid)) return std::nullopt;
  const auto wrapped = inner.next(kContext0);
  const auto octets = wrapped ? Elements(wrapped->content).next(kOctetString) : std::nullopt;
  return octets ? Elements(octets->content).next(kSequence) : std::nullopt;
}

}  // namespace

std::optional<UnknownIdentifier> FindUnknownIdentifier(View data) {
  const auto whole = Elements(data).next(kSequence);
  if (!whole) return std::nullopt;
  Prepare();
  if (auto found = unknown_in(*whole, 0)) return found;
  if (auto found = other_revocation_in(*whole)) return found;
  // Of a reply, the token after the status.
  Elements parts(whole->content);
  if (parts.next(kSequence)) {
    const auto token = parts.next(kSequence);
    if (auto found = token ? other_revocation_in(*token) : std::nullopt) return found;
  }
  const auto content = content_of(*whole);
  return content ? unknown_in(*content, kMaxContentDepth + 1) : std::nullopt;
}

}  // namespace qex::inspect
