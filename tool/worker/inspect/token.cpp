// Requests and tokens as the library's codec reads them.
#include <algorithm>

#include "asn1/cms.h"
#include "asn1/oids.h"
#include "asn1/timestamp.h"
#include "tool/worker/inspect/decoded.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

using tool::Bytes;
using DecodedRequest = Decoded<TimeStampReq, BDecTimeStampReq, FreeTimeStampReq>;
using DecodedToken = Decoded<ContentInfo, BDecContentInfo, FreeContentInfo>;
using DecodedTstInfo = Decoded<TSTInfo, BDecTSTInfo, FreeTSTInfo>;

// Calls `visit` with each element of a list of T, which may be null.
template <class T, class Visit>
void for_each(const AsnList* list, Visit visit) {
  if (list == nullptr) return;
  for (const AsnListNode* node = list->first; node != nullptr; node = node->next) {
    visit(*static_cast<const T*>(node->data[0]));
  }
}

size_t length_of(const AsnList* list) {
  return list == nullptr ? 0 : size_t(list->count);
}

Bytes copy_of(const AsnOid& oid) {
  if (oid.octs == nullptr) return {};
  return {oid.octs, oid.octs + oid.count};
}

Bytes copy_of(const AsnOcts& value) {
  if (value.octs == nullptr) return {};
  return {value.octs, value.octs + value.count};
}

[[nodiscard]] std::optional<Bytes> integer_of(const AsnOcts& value) {
  if (value.octs == nullptr) return std::nullopt;
  return tool::MinimalInteger({value.octs, value.count});
}

Bytes algorithm_of(const AlgorithmIdentifier* identifier) {
  return identifier == nullptr ? Bytes{} : copy_of(identifier->algorithm);
}

tool::Imprint imprint_of(const MessageImprint* imprint) {
  if (imprint == nullptr) return {};
  return {algorithm_of(imprint->hashAlgorithm), copy_of(imprint->hashedMessage)};
}

[[nodiscard]] std::optional<int64_t> number_of(const AsnInt* value) {
  return value == nullptr ? std::nullopt : std::optional<int64_t>(*value);
}

tool::TstInfo info_of(const TSTInfo& info) {
  tool::TstInfo facts;
  facts.version = info.version;
  facts.policy = copy_of(info.policy);
  facts.imprint = imprint_of(info.messageImprint);
  facts.serial = integer_of(info.serialNumber).value_or(Bytes{});
  facts.genTime.assign(reinterpret_cast<const char*>(info.genTime.octs), info.genTime.count);
  if (const Accuracy* accuracy = info.accuracy) {
    facts.accuracy = {number_of(accuracy->seconds), number_of(accuracy->millis), number_of(accuracy->micros)};
  }
  facts.ordering = info.ordering != nullptr && *info.ordering != 0;
  facts.nonce = integer_of(info.nonce);
  return facts;
}

const SignedData* signed_data(const ContentInfo& token) {
  const bool present = token.content.ai != nullptr && token.content.ai->anyId == kAnySignedData;
  return present ? static_cast<const SignedData*>(token.content.value) : nullptr;
}

const SignerInfo* first_signer(const SignedData& data) {
  const AsnList* signers = data.signerInfos;
  if (signers == nullptr || signers->first == nullptr) return nullptr;
  return static_cast<const SignerInfo*>(signers->first->data[0]);
}

// The identifier that a content-type attribute holds.
[[nodiscard]] std::optional<Bytes> content_type_of(const Attribute& attribute) {
  std::optional<Bytes> found;
  for_each<AsnAny>(attribute.values, [&](const AsnAny& value) {
    if (found || value.ai == nullptr || value.ai->anyId != kAnyContentType || value.value == nullptr) return;
    found = copy_of(*static_cast<const AsnOid*>(value.value));
  });
  return found;
}

// The hash of the first ESSCertIDv2, the signer's (RFC 5035, 4).
Bytes ess_hash_of(const Attribute& attribute) {
  Bytes hash;
  for_each<AsnAny>(attribute.values, [&](const AsnAny& value) {
    if (!hash.empty() || value.ai == nullptr || value.ai->anyId != kAnySigningCertificateV2) return;
    const auto* named = static_cast<const SigningCertificateV2*>(value.value);
    if (named == nullptr || length_of(named->certs) == 0) return;
    const auto& first = *static_cast<const ESSCertIDv2*>(named->certs->first->data[0]);
    hash = first.hashAlgorithm == nullptr ? copy_of(kIdSha256) : algorithm_of(first.hashAlgorithm);
  });
  return hash;
}

// RFC 5652, 11 and RFC 5035, 5.4: these have one value each.
[[nodiscard]] bool has_one_value_alone(const AsnOid& type) {
  return AsnOidEqual(type, kIdContentType) || AsnOidEqual(type, kIdMessageDigest) ||
         AsnOidEqual(type, kIdSigningTime) || AsnOidEqual(type, kIdSigningCertificate) ||
         AsnOidEqual(type, kIdSigningCertificateV2);
}

void read_attributes(tool::LibraryReading& reading, const SignerInfo& signer) {
  tool::Structure& structure = reading.structure;
  std::vector<Bytes> types;
  for_each<Attribute>(signer.signedAttrs, [&](const Attribute& attribute) {
    const Bytes type = copy_of(attribute.type);
    if (AsnOidEqual(attribute.type, kIdSigningCertificate)) reading.hasEssV1 = true;
    if (AsnOidEqual(attribute.type, kIdSigningCertificateV2)) {
      reading.hasEssV2 = true;
      reading.essHash = ess_hash_of(attribute);
    }
    if (AsnOidEqual(attribute.type, kIdMessageDigest)) structure.messageDigestPresent = true;
    if (AsnOidEqual(attribute.type, kIdContentType) && !structure.contentTypeAttribute) {
      structure.contentTypeAttribute = content_type_of(attribute);
    }
    const bool again = std::ranges::find(types, type) != types.end();
    const bool badCount = has_one_value_alone(attribute.type) && length_of(attribute.values) != 1;
    if (again || badCount) structure.repeatedAttributes.push_back(type);
    types.push_back(type);
  });
}

}  // namespace

std::optional<tool::RequestFacts> InspectRequest(View request) {
  const DecodedRequest decoded(request);
  if (!decoded) return std::nullopt;
  tool::RequestFacts facts;
  if (decoded->reqPolicy.octs != nullptr) facts.policy = copy_of(decoded->reqPolicy);
  facts.imprint = imprint_of(decoded->messageImprint);
  facts.nonce = integer_of(decoded->nonce);
  facts.certificateWanted = decoded->certReq != nullptr && *decoded->certReq != 0;
  facts.extensions = length_of(decoded->extensions);
  return facts;
}

std::optional<tool::LibraryReading> InspectToken(View token) {
  const DecodedToken decoded(token);
  const SignedData* data = decoded ? signed_data(*decoded) : nullptr;
  if (data == nullptr || data->encapContentInfo == nullptr) return std::nullopt;
  const AsnOcts& content = data->encapContentInfo->eContent;
  const DecodedTstInfo info({content.octs, content.count});
  if (!info) return std::nullopt;
  tool::LibraryReading reading;
  reading.info = info_of(*info);
  reading.structure.imprintParametersFit = true;  // others do not decode
  reading.structure.signers = length_of(data->signerInfos);
  reading.structure.contentType = copy_of(data->encapContentInfo->eContentType);
  for_each<Extension>(info->extensions, [&](const Extension& extension) {
    const bool critical = extension.critical != nullptr && *extension.critical != 0;
    if (critical) reading.structure.unknownCritical.push_back(copy_of(extension.extnID));
  });
  if (const SignerInfo* signer = first_signer(*data)) {
    reading.digestAlgorithm = algorithm_of(signer->digestAlgorithm);
    reading.signatureAlgorithm = algorithm_of(signer->signatureAlgorithm);
    read_attributes(reading, *signer);
  }
  return reading;
}

}  // namespace qex::inspect
