// Certificates and attribute certificates as people read them, and the key of a certificate.
#include <bit>

#include "asn1/oids.h"
#include "asn1/x509.h"
#include "tool/base/json.h"
#include "tool/message/oid_text.h"
#include "tool/message/tags.h"
#include "tool/worker/inspect/decoded.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

constexpr uint8_t kVersionTag = 0xA0;
constexpr uint8_t kExtensionsTag = 0xA3;
// Version, holder, issuer, signature, serial number, validity (RFC 3281, 4.1).
constexpr size_t kFieldsBeforeAttributes = 6;
constexpr std::string_view kExtKeyUsage = "2.5.29.37";

using DecodedCertificate = Decoded<Certificate, BDecCertificate, FreeCertificate>;
using DecodedRsaKey = Decoded<RSAPublicKey, BDecRSAPublicKey, FreeRSAPublicKey>;
using DecodedDsaKey = Decoded<AsnOcts, BDecBigIntegerStr, FreeBigIntegerStr>;

View octets_of(const AsnOcts& value) {
  return {value.octs, value.count};
}

View without_zeros(View number) {
  while (!number.empty() && number[0] == 0) number = number.subspan(1);
  return number;
}

size_t bits_of(View number) {
  number = without_zeros(number);
  return number.empty() ? 0 : number.size() * 8 - size_t(std::countl_zero(number[0]));
}

// At least 65537, the exponent that the description of QEX_VerifyTST_Signature demands.
[[nodiscard]] bool is_large_exponent(View exponent) {
  if (exponent.size() != 3) return exponent.size() > 3;
  return (exponent[0] << 16 | exponent[1] << 8 | exponent[2]) >= 65537;
}

// The text for a number that is longer than `most` bits; empty when it is not.
std::string excess_of(const char* name, View number, size_t most) {
  const size_t bits = bits_of(number);
  if (bits <= most) return "";
  return std::string(name) + " of " + std::to_string(bits) + " bits, more than " + std::to_string(most);
}

tool::SignerKey rsa_facts(const SubjectPublicKeyInfo& info) {
  const DecodedRsaKey key({info.subjectPublicKey.octs, info.subjectPublicKey.count / 8});
  if (!key) return {"rsa", "rsa", 0, {}, true, ""};
  const View modulus = octets_of(key->modulus);
  const View exponent = without_zeros(octets_of(key->publicExponent));
  std::string excess = excess_of("a modulus", modulus, kMaxModulusBits);
  if (excess.empty()) excess = excess_of("a public exponent", exponent, kMaxExponentBits);
  return {"rsa",
          "rsa " + std::to_string(bits_of(modulus)),
          bits_of(modulus),
          {exponent.begin(), exponent.end()},
          !is_large_exponent(exponent),
          excess};
}

tool::SignerKey dsa_facts(const SubjectPublicKeyInfo& info) {
  const AsnAny& parameters = info.algorithm->parameters;
  const bool present =
      parameters.ai != nullptr && parameters.ai->anyId == kAnyDsa && parameters.value != nullptr;
  if (!present) return {"dsa", "dsa", 0, {}, false, ""};
  const auto& domain = *static_cast<const Dss_Parms*>(parameters.value);
  const DecodedDsaKey y({info.subjectPublicKey.octs, info.subjectPublicKey.count / 8});
  std::string excess = excess_of("a prime p", octets_of(domain.p), kMaxModulusBits);
  if (excess.empty()) excess = excess_of("a prime q", octets_of(domain.q), kMaxOrderBits);
  if (excess.empty()) excess = excess_of("a generator", octets_of(domain.g), kMaxModulusBits);
  if (excess.empty() && y) excess = excess_of("a public value", octets_of(*y), kMaxModulusBits);
  const size_t bits = bits_of(octets_of(domain.p));
  return {"dsa", "dsa " + std::to_string(bits), bits, {}, false, excess};
}

std::string dotted(const Element& element) {
  return DecodeOid(element.content);
}

std::string algorithm_name(const std::optional<Element>& identifier) {
  if (!identifier) return "";
  const auto oid = Elements(identifier->content).next(kOid);
  return oid ? NamedOid(dotted(*oid)) : "";
}

std::string serial_text(View contents) {
  std::string text = "0x";
  for (const uint8_t octet : contents) {
    text += "0123456789ABCDEF"[octet >> 4];
    text += "0123456789ABCDEF"[octet & 15];
  }
  return text;
}

std::string time_at(Elements& times) {
  const auto time = times.next();
  return time ? TimeText(time->tag, time->content) : "";
}

// The names of extensions, and the purposes of the extended key usage among them.
void describe_extensions(Json& description, View extensions) {
  Elements list(extensions);
  Json names = Json::array();
  Json purposes = Json::array();
  while (const auto extension = list.next(kSequence)) {
    Elements parts(extension->content);
    const auto id = parts.next(kOid);
    if (!id) break;
    const auto critical = parts.next(kBoolean);
    names.push_back(NamedOid(dotted(*id)) + (critical ? ", critical" : ""));
    const auto value = parts.next(kOctetString);
    if (!value || dotted(*id) != kExtKeyUsage) continue;
    if (const auto usages = Elements(value->content).next(kSequence)) {
      Elements each(usages->content);
      while (const auto usage = each.next(kOid)) {
        const std::string text = dotted(*usage);
        purposes.push_back(text == "1.3.6.1.5.5.7.3.8" ? "timeStamping" : text);
      }
    }
  }
  if (!purposes.empty()) description["purposes"] = purposes;
  if (!names.empty()) description["extensions"] = names;
}

Json describe_key(View certificate, const std::optional<Element>& info) {
  tool::SignerKey facts = InspectKey(certificate);
  if (facts.type.empty() && info) facts.type = algorithm_name(Elements(info->content).next(kSequence));
  Json key;
  key["type"] = facts.type;
  if (facts.bits != 0) key["bits"] = facts.bits;
  if (facts.type == "rsa") key["exponent"] = serial_text(facts.exponent);
  return key;
}

// The names of a GeneralNames: directory names alone, others by their tag.
Json general_names(View names) {
  Json list = Json::array();
  Elements each(names);
  while (const auto name = each.next()) {
    list.push_back(name->tag == 0xA4 ? NameText(name->content)
                                     : "general name of form " + std::to_string(name->tag & 31));
  }
  return list;
}

}  // namespace

tool::SignerKey InspectKey(View certificate) {
  const DecodedCertificate decoded(certificate);
  const TBSCertificate* body = decoded ? decoded->tbsCertificate : nullptr;
  const SubjectPublicKeyInfo* info = body != nullptr ? body->subjectPublicKeyInfo : nullptr;
  if (info == nullptr || info->algorithm == nullptr) return {"", "", 0, {}, false, ""};
  const AsnOid& algorithm = info->algorithm->algorithm;
  if (AsnOidEqual(algorithm, kIdRsaEncryption)) return rsa_facts(*info);
  if (AsnOidEqual(algorithm, kIdDsa)) return dsa_facts(*info);
  const std::string name = NamedOid(DecodeOid({algorithm.octs, algorithm.count}));
  return {name, name, 0, {}, false, ""};
}

size_t DsaOrderBits(View certificate) {
  const DecodedCertificate decoded(certificate);
  const TBSCertificate* body = decoded ? decoded->tbsCertificate : nullptr;
  const SubjectPublicKeyInfo* info = body != nullptr ? body->subjectPublicKeyInfo : nullptr;
  if (info == nullptr || info->algorithm == nullptr) return 0;
  const AsnAny& parameters = info->algorithm->parameters;
  if (parameters.ai == nullptr || parameters.ai->anyId != kAnyDsa || parameters.value == nullptr) return 0;
  return bits_of(octets_of(static_cast<const Dss_Parms*>(parameters.value)->q));
}

std::string SubjectText(View certificate) {
  const auto whole = Elements(certificate).next(kSequence);
  const auto body = whole ? Elements(whole->content).next(kSequence) : std::nullopt;
  if (!body) return "";
  Elements fields(body->content);
  fields.skip(kVersionTag);
  fields.skip(kInteger);
  fields.skip(kSequence);  // signature
  fields.skip(kSequence);  // issuer
  fields.skip(kSequence);  // validity
  const auto subject = fields.next(kSequence);
  return subject ? NameText(subject->whole) : "";
}

Json DescribeCertificate(View certificate, const ExtensionPrinter& printer) {
  const auto whole = Elements(certificate).next(kSequence);
  const auto body = whole ? Elements(whole->content).next(kSequence) : std::nullopt;
  if (!body) return nullptr;
  Elements fields(body->content);
  fields.skip(kVersionTag);
  const auto serial = fields.next(kInteger);
  const auto signature = fields.next(kSequence);
  const auto issuer = fields.next(kSequence);
  const auto validity = fields.next(kSequence);
  const auto subject = fields.next(kSequence);
  const auto key = fields.next(kSequence);
  if (!serial || !issuer || !validity || !subject || !key) return nullptr;

  Json description;
  description["subject"] = NameText(subject->whole);
  description["issuer"] = NameText(issuer->whole);
  description["serial"] = serial_text(serial->content);
  Elements times(validity->content);
  description["not_before"] = time_at(times);
  description["not_after"] = time_at(times);
  description["key"] = describe_key(certificate, key);
  description["signature_algorithm"] = algorithm_name(signature);
  while (const auto more = fields.next()) {
    if (more->tag != kExtensionsTag) continue;
    if (const auto list = Elements(more->content).next(kSequence)) {
      describe_extensions(description, list->content);
    }
  }
  if (!printer) return description;
  if (std::vector<std::string> texts = printer(certificate); !texts.empty()) {
    description["extensions"] = texts;
  }
  return description;
}

Json DescribeAttributeCertificate(View certificate) {
  const auto whole = Elements(certificate).next(kSequence);
  const auto body = whole ? Elements(whole->content).next(kSequence) : std::nullopt;
  if (!body) return nullptr;
  Elements fields(body->content);
  fields.skip(kInteger);
  fields.skip();  // the holder
  const auto issuer = fields.next();
  fields.skip(kSequence);
  const auto serial = fields.next(kInteger);
  if (!issuer || !serial) return nullptr;

  Json description;
  if (const auto v2 = Elements(issuer->content).next(kSequence)) {
    description["issuer"] = general_names(v2->content);
  } else {
    description["issuer"] = general_names(issuer->content);
  }
  description["serial"] = serial_text(serial->content);
  description["attributes"] = AttributeTypes(certificate);
  return description;
}

Json AttributeTypes(View certificate) {
  Json names = Json::array();
  const auto whole = Elements(certificate).next(kSequence);
  const auto body = whole ? Elements(whole->content).next(kSequence) : std::nullopt;
  if (!body) return names;
  Elements fields(body->content);
  for (size_t i = 0; i < kFieldsBeforeAttributes; ++i) fields.skip();
  const auto attributes = fields.next(kSequence);
  if (!attributes) return names;
  Elements list(attributes->content);
  while (const auto attribute = list.next(kSequence)) {
    const auto type = Elements(attribute->content).next(kOid);
    if (type) names.push_back(NamedOid(dotted(*type)));
  }
  return names;
}

}  // namespace qex::inspect
