// Requests, replies and tokens: the facts that choose how they are judged, and a description.
#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/oids.h"
#include "asn1/timestamp.h"
#include "tool/message/oid_text.h"
#include "tool/worker/inspect/decoded.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

using DecodedRequest = Decoded<TimeStampReq, BDecTimeStampReq, FreeTimeStampReq>;
using DecodedReply = Decoded<TimeStampResp, BDecTimeStampResp, FreeTimeStampResp>;
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

std::vector<uint8_t> octets_of(const AsnOid& oid) {
  if (oid.octs == nullptr) return {};
  return {oid.octs, oid.octs + oid.count};
}

std::string dotted(const AsnOid& oid) {
  return DecodeOid({oid.octs, oid.count});
}

std::vector<uint8_t> hash_of(const MessageImprint* imprint) {
  if (imprint == nullptr || imprint->hashAlgorithm == nullptr) return {};
  return octets_of(imprint->hashAlgorithm->algorithm);
}

std::string algorithm_of(const AlgorithmIdentifier* identifier) {
  return identifier == nullptr ? "" : dotted(identifier->algorithm);
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

size_t count_of(const AsnList* list) {
  return list == nullptr ? 0 : static_cast<size_t>(list->count);
}

// What an encoder writes for one value.
template <class T>
std::vector<uint8_t> encoded(AsnLen (*encode)(ExpBuf**, const T*), const T& value) {
  ExpBufHolder buffer;
  if (buffer) encode(buffer.handle(), &value);
  if (buffer.failed()) throw std::bad_alloc();
  ExpBuf* front = ExpBufFirst(buffer.block());
  ExpBufRewind(&front);
  std::vector<uint8_t> octets(ExpBufLength(ExpBufFirst(buffer.block())));
  octets.resize(ExpBufCopyOut(octets.data(), &front, octets.size()));
  return octets;
}

std::string signing_time(const Attribute& attribute) {
  std::string text;
  for_each<AsnAny>(attribute.values, [&](const AsnAny& value) {
    if (value.ai == nullptr || value.ai->anyId != kAnySigningTime || value.value == nullptr) return;
    const Time& time = *static_cast<const Time*>(value.value);
    const AsnOcts* octets = time.choice == Time::kUtcTime ? time.utcTime : time.generalTime;
    if (octets == nullptr) return;
    text = TimeText(time.choice == Time::kUtcTime ? 0x17 : 0x18, {octets->octs, octets->count});
  });
  return text;
}

Json describe_signer(const SignerInfo& signer) {
  Json description;
  description["digest"] = NamedOid(algorithm_of(signer.digestAlgorithm));
  description["signature_algorithm"] = NamedOid(algorithm_of(signer.signatureAlgorithm));
  Json attributes = Json::array();
  std::string claimed;
  for_each<Attribute>(signer.signedAttrs, [&](const Attribute& attribute) {
    attributes.push_back(NamedOid(dotted(attribute.type)));
    if (AsnOidEqual(attribute.type, kIdSigningTime)) claimed = signing_time(attribute);
  });
  if (!claimed.empty()) description["signing_time_claimed_by_signer"] = claimed;
  description["signed_attributes"] = attributes;
  Json others = Json::array();
  for_each<Attribute>(signer.unsignedAttrs, [&](const Attribute& attribute) {
    others.push_back(NamedOid(dotted(attribute.type)));
  });
  if (!others.empty()) description["unsigned_attributes"] = others;
  return description;
}

Json describe_choice(const CertificateChoices& choice) {
  switch (choice.choice) {
    case CertificateChoices::kX509Certificate:
      return DescribeCertificate(encoded(BEncCertificate, *choice.certificate));
    case CertificateChoices::kV2AttrCert:
      return DescribeAttributeCertificate(encoded(BEncAttributeCertificate, *choice.v2AttrCert));
    default: return nullptr;
  }
}

}  // namespace

std::optional<RequestFacts> InspectRequest(View request) {
  const DecodedRequest decoded(request);
  if (!decoded) return std::nullopt;
  return RequestFacts{octets_of(decoded->reqPolicy), hash_of(decoded->messageImprint),
                      count_of(decoded->extensions)};
}

bool NamesFailure(View reply) {
  const DecodedReply decoded(reply);
  return decoded && decoded->status != nullptr && decoded->status->failInfo.octs != nullptr;
}

std::optional<TokenFacts> InspectToken(View token) {
  const DecodedToken decoded(token);
  const SignedData* data = decoded ? signed_data(*decoded) : nullptr;
  if (data == nullptr || data->encapContentInfo == nullptr) return std::nullopt;
  TokenFacts facts{};
  const AsnOcts& content = data->encapContentInfo->eContent;
  const DecodedTstInfo info({content.octs, content.count});
  if (info) {
    facts.policy = octets_of(info->policy);
    facts.hash = hash_of(info->messageImprint);
  }
  if (const SignerInfo* signer = first_signer(*data)) {
    facts.digestAlgorithm = algorithm_of(signer->digestAlgorithm);
    facts.signatureAlgorithm = algorithm_of(signer->signatureAlgorithm);
    for_each<Attribute>(signer->signedAttrs, [&](const Attribute& attribute) {
      if (AsnOidEqual(attribute.type, kIdSigningCertificate)) facts.hasSigningCertificate = true;
      if (AsnOidEqual(attribute.type, kIdSigningCertificateV2)) facts.hasSigningCertificateV2 = true;
    });
  }
  return facts;
}

Json DescribeToken(View token) {
  const DecodedToken decoded(token);
  const SignedData* data = decoded ? signed_data(*decoded) : nullptr;
  if (data == nullptr) return nullptr;
  Json description;
  if (data->encapContentInfo != nullptr) {
    description["content_type"] = NamedOid(dotted(data->encapContentInfo->eContentType));
  }
  description["signers"] = count_of(data->signerInfos);
  if (const SignerInfo* signer = first_signer(*data)) description["signer"] = describe_signer(*signer);
  Json certificates = Json::array();
  Json attributeCertificates = Json::array();
  for_each<CertificateChoices>(data->certificates, [&](const CertificateChoices& choice) {
    Json one = describe_choice(choice);
    if (one.is_null()) one = {{"form", choice.choice}};
    (choice.choice == CertificateChoices::kX509Certificate ? certificates : attributeCertificates)
        .push_back(std::move(one));
  });
  description["certificates"] = certificates;
  if (!attributeCertificates.empty()) description["attribute_certificates"] = attributeCertificates;
  if (count_of(data->crls) != 0) description["revocation_lists"] = count_of(data->crls);
  return description;
}

}  // namespace qex::inspect
