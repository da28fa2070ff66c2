// Tokens for people, element by element, so that those are shown too that no decoder of the library reads.
#include "tool/base/bytes.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/message/oid_text.h"
#include "tool/message/tags.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

constexpr uint8_t kConstructedString = 0x24;
constexpr uint8_t kDirectoryName = 0xA4;
constexpr uint8_t kV1AttributeCertificate = 0xA1;
constexpr uint8_t kV2AttributeCertificate = 0xA2;
constexpr std::string_view kSigningTime = "1.2.840.113549.1.9.5";

// The parts of a SignedData (RFC 5652, 5.1) in their order.
struct Parts {
  Element content;  // encapContentInfo
  std::optional<Element> certificates;
  std::optional<Element> crls;
  std::optional<Element> signers;
};

[[nodiscard]] std::optional<Parts> parts_of(View token) {
  const auto whole = Elements(token).next(kSequence);
  if (!whole) return std::nullopt;
  Elements fields(whole->content);
  if (!fields.next(kOid)) return std::nullopt;
  const auto wrapped = fields.next(kContext0);
  const auto data = wrapped ? Elements(wrapped->content).next(kSequence) : std::nullopt;
  if (!data) return std::nullopt;
  Elements members(data->content);
  members.skip(kInteger);
  members.skip(kSet);
  const auto content = members.next(kSequence);
  if (!content) return std::nullopt;
  Parts parts{*content, {}, {}, {}};
  parts.certificates = members.next(kContext0);
  parts.crls = members.next(kContext1);
  parts.signers = members.next(kSet);
  return parts;
}

// The octets of an OCTET STRING, of one level of pieces at most.
std::vector<uint8_t> string_octets(const Element& value) {
  if (value.tag == kOctetString) return {value.content.begin(), value.content.end()};
  std::vector<uint8_t> octets;
  Elements pieces(value.content);
  while (const auto piece = pieces.next(kOctetString)) {
    octets.insert(octets.end(), piece->content.begin(), piece->content.end());
  }
  return octets;
}

std::string identifier_text(const std::optional<Element>& algorithm) {
  const auto oid = algorithm ? Elements(algorithm->content).next(kOid) : std::nullopt;
  return oid ? NamedOid(DecodeOid(oid->content)) : "";
}

Json attribute_types(const Element& attributes, std::string* signingTime) {
  Json types = Json::array();
  Elements list(attributes.content);
  while (const auto attribute = list.next(kSequence)) {
    Elements fields(attribute->content);
    const auto type = fields.next(kOid);
    if (!type) break;
    const std::string dotted = DecodeOid(type->content);
    types.push_back(NamedOid(dotted));
    const auto values = fields.next(kSet);
    const auto time = values ? Elements(values->content).next() : std::nullopt;
    if (signingTime != nullptr && dotted == kSigningTime && time) {
      *signingTime = TimeText(time->tag, time->content);
    }
  }
  return types;
}

Json describe_signer(const Element& signer) {
  Elements fields(signer.content);
  fields.skip(kInteger);
  fields.skip();  // the signer identifier
  Json description;
  description["digest"] = identifier_text(fields.next(kSequence));
  const auto signedAttributes = fields.next(kContext0);
  description["signature_algorithm"] = identifier_text(fields.next(kSequence));
  if (signedAttributes) {
    std::string claimed;
    Json types = attribute_types(*signedAttributes, &claimed);
    if (!claimed.empty()) description["signing_time_claimed_by_signer"] = claimed;
    description["signed_attributes"] = std::move(types);
  }
  fields.skip();  // the signature
  if (const auto others = fields.next(kContext1)) {
    description["unsigned_attributes"] = attribute_types(*others, nullptr);
  }
  return description;
}

// An element of a certificate set under the tag SEQUENCE, as it appears outside of a CHOICE.
std::vector<uint8_t> as_sequence(const Element& element) {
  std::vector<uint8_t> octets(element.whole.begin(), element.whole.end());
  octets[0] = kSequence;
  return octets;
}

void describe_certificates(Json& description, const Element& set, const ExtensionPrinter& printer) {
  Json certificates = Json::array();
  Json attributeCertificates = Json::array();
  Elements list(set.content);
  while (const auto element = list.next()) {
    const bool v1 = element->tag == kV1AttributeCertificate;
    const bool v2 = element->tag == kV2AttributeCertificate;
    Json one = element->tag == kSequence ? DescribeCertificate(element->whole, printer)
               : v2                      ? DescribeAttributeCertificate(as_sequence(*element))
                                         : Json();
    if (one.is_null()) one = {{"form", element->tag & 31}};
    if (element->tag == kSequence) one["sha256"] = tool::ToHex(tool::Sha256(element->whole));
    (v1 || v2 ? attributeCertificates : certificates).push_back(std::move(one));
  }
  description["certificates"] = std::move(certificates);
  if (!attributeCertificates.empty()) {
    description["attribute_certificates"] = std::move(attributeCertificates);
  }
}

size_t count_of(const std::optional<Element>& set) {
  size_t count = 0;
  if (!set) return count;
  for (Elements list(set->content); list.next();) ++count;
  return count;
}

}  // namespace

Json DescribeToken(View token, const ExtensionPrinter& printer) {
  const auto parts = parts_of(token);
  if (!parts) return nullptr;
  Json description;
  const auto type = Elements(parts->content.content).next(kOid);
  if (type) description["content_type"] = NamedOid(DecodeOid(type->content));
  description["signers"] = count_of(parts->signers);
  const auto signer = parts->signers ? Elements(parts->signers->content).next(kSequence) : std::nullopt;
  if (signer) description["signer"] = describe_signer(*signer);
  if (parts->certificates) describe_certificates(description, *parts->certificates, printer);
  if (const size_t lists = count_of(parts->crls); lists != 0) description["revocation_lists"] = lists;
  return description;
}

std::string TsaName(View token) {
  const auto parts = parts_of(token);
  if (!parts) return "";
  Elements inner(parts->content.content);
  inner.skip(kOid);
  const auto wrapped = inner.next(kContext0);
  const auto value = wrapped ? Elements(wrapped->content).next() : std::nullopt;
  if (!value || (value->tag != kOctetString && value->tag != kConstructedString)) return "";
  const std::vector<uint8_t> octets = string_octets(*value);
  const auto info = Elements(octets).next(kSequence);
  if (!info) return "";
  Elements fields(info->content);
  while (const auto field = fields.next()) {
    if (field->tag != kContext0) continue;
    const auto name = Elements(field->content).next(kDirectoryName);
    return name ? NameText(name->content) : "";
  }
  return "";
}

}  // namespace qex::inspect
