// The hand-made token is put together by token_maker.h out of parts; the other one is records, encoded.
#include "tests/support/token_parts.h"

#include <algorithm>

#include "asn1/cades.h"
#include "asn1/ess.h"
#include "asn1/oids.h"

namespace qex::test {
namespace {

Octets element_by_hand(const CertificateParts& parts) {
  switch (parts.kind) {
    case CertificateParts::kPlain: return parts.certificate;
    case CertificateParts::kV1: return der::context(1, ContentByHand(parts.attr_cert));
    case CertificateParts::kPublishedV1: return der::context(1, PublishedV1ContentByHand(parts.attr_cert));
    case CertificateParts::kV2: return der::context(2, ContentByHand(parts.attr_cert));
    case CertificateParts::kOther: return der::context(3, der::oid(kSha1), der::null());
  }
  return {};
}

Octets signer_attributes_by_hand(const std::vector<SignerAttributeParts>& elements) {
  Octets all;
  for (const SignerAttributeParts& element : elements) {
    if (element.certified.has_value()) {
      all = der::concat(all, der::context(1, ByHand(*element.certified)));
      continue;
    }
    Octets claimed;
    for (const AttributeParts& attribute : element.claimed) claimed = der::concat(claimed, ByHand(attribute));
    all = der::concat(all, der::context(0, der::sequence(claimed)));
  }
  return der::sequence(all);
}

SignerMaker signer_by_hand(const SignerParts& parts) {
  SignerMaker signer;
  signer.digest = parts.digest;
  signer.signature_algorithm = parts.signature_algorithm;
  signer.version = parts.version;
  signer.without = {kSigningCertificateAttribute};
  if (!parts.signed_attributes) signer.signed_attributes = Octets{};
  if (parts.certificate_ids.has_value()) {
    std::vector<Octets> identifiers;
    for (const Octets& hash : *parts.certificate_ids) identifiers.push_back(EssCertId(hash));
    signer.extra.push_back(Attribute(kSigningCertificateAttribute, {SigningCertificate(identifiers)}));
  }
  if (parts.certificate_ids_v2.has_value()) {
    std::vector<Octets> identifiers;
    for (const CertificateIdV2& id : *parts.certificate_ids_v2) {
      identifiers.push_back(
          EssCertIdV2(id.algorithm.empty() ? Octets{} : der::algorithm(id.algorithm), id.hash));
    }
    signer.extra.push_back(Attribute(kSigningCertificateV2Attribute, {SigningCertificate(identifiers)}));
  }
  if (parts.signer_attributes.has_value()) {
    std::vector<Octets> values;
    for (const auto& elements : *parts.signer_attributes) {
      values.push_back(signer_attributes_by_hand(elements));
    }
    signer.extra.push_back(Attribute(kSignerAttributesAttribute, values));
  }
  return signer;
}

// sign_as puts the signature of `parts` into `signer`, over the digest that the signer itself would have
// signed.
void sign_as(const SignerParts& parts, const Octets& content, SignerMaker* signer) {
  Octets hashed;
  signer->block = [&](const Octets& digest_info, size_t size) {
    hashed = digest_info;
    return Padded(digest_info, size);
  };
  signer->encode(content);
  const size_t digest_size = Digest(parts.digest, {}).size();
  const Octets hash(hashed.end() - ptrdiff_t(digest_size), hashed.end());
  signer->block = Padded;
  signer->signature = parts.sign(parts.digest, hash);
}

}  // namespace

CertificateParts PlainCertificate(const Octets& certificate) {
  return {CertificateParts::kPlain, certificate, {}};
}
CertificateParts AttrCert(CertificateParts::Kind kind, const AttrCertParts& parts) {
  return {kind, {}, parts};
}
CertificateParts OtherFormat() {
  return {CertificateParts::kOther, {}, {}};
}
std::vector<CertificateParts> CertificatesOf(const std::vector<CertificateParts::Kind>& kinds) {
  std::vector<CertificateParts> all;
  for (const CertificateParts::Kind kind : kinds) all.push_back({kind, AuthorityCertificate(), {}});
  return all;
}

Signature SignedWithRsa(const RsaKey& key) {
  return [key](const std::string& digest, const Octets& hash) { return RsaSignature(key, digest, hash); };
}

Octets StandaloneOctets(const CertificateParts& parts) {
  switch (parts.kind) {
    case CertificateParts::kPlain: return parts.certificate;
    case CertificateParts::kPublishedV1: return der::sequence(PublishedV1ContentByHand(parts.attr_cert));
    default: return ByHand(parts.attr_cert);
  }
}

Octets ByHand(const TokenParts& parts) {
  TokenMaker token;
  token.tst_info = parts.tst_info;
  token.encapsulated_type = parts.encapsulated_type;
  token.version = parts.version;
  token.certificates.clear();
  if (parts.certificates.has_value()) {
    token.certificates.emplace_back();  // a set of no elements is a set
    for (const CertificateParts& part : *parts.certificates) {
      token.certificates.push_back(element_by_hand(part));
    }
  }
  token.signers.clear();
  for (const SignerParts& part : parts.signers) {
    token.signers.push_back(signer_by_hand(part));
    sign_as(part, parts.tst_info, &token.signers.back());
  }
  return token.encode();
}

// --- The same as records -----------------------------------------------------------------------

namespace {

CertificateChoices* build_choice(Records& records, const CertificateParts& parts) {
  CertificateChoices* const choice = records.make<CertificateChoices>();
  switch (parts.kind) {
    case CertificateParts::kPlain:
      choice->choice = CertificateChoices::kX509Certificate;
      choice->certificate = records.decoded<Certificate>(BDecCertificate, FreeCertificate, parts.certificate);
      break;
    case CertificateParts::kV1:
    case CertificateParts::kPublishedV1:
      choice->choice = CertificateChoices::kV1AttrCert;
      choice->v1AttrCert = BuildV1(records, parts.attr_cert, parts.kind == CertificateParts::kPublishedV1);
      break;
    case CertificateParts::kV2:
      choice->choice = CertificateChoices::kV2AttrCert;
      choice->v2AttrCert = Build(records, parts.attr_cert);
      break;
    case CertificateParts::kOther:
      choice->choice = CertificateChoices::kOther;
      choice->other = records.make<OtherCertificateFormat>();
      choice->other->otherCertFormat = records.oid(kSha1);
      choice->other->otherCert = records.any(choice->other->otherCertFormat, records.make<AsnNull>());
      break;
  }
  return choice;
}

qex::Attribute* build_attribute(Records& records, const char* type, const std::vector<void*>& values) {
  qex::Attribute* const attribute = records.make<qex::Attribute>();
  attribute->type = records.oid(type);
  std::vector<AsnAny*> all;
  for (void* value : values) all.push_back(records.make<AsnAny>(records.any(attribute->type, value)));
  attribute->values = records.list(all);
  return attribute;
}

ListOf<SignerAttributeChoice>* build_signer_attributes(Records& records,
                                                       const std::vector<SignerAttributeParts>& parts) {
  std::vector<SignerAttributeChoice*> elements;
  for (const SignerAttributeParts& part : parts) {
    SignerAttributeChoice* const element = records.make<SignerAttributeChoice>();
    if (part.certified.has_value()) {
      element->choice = SignerAttributeChoice::kCertifiedAttributes;
      element->certifiedAttributes = Build(records, *part.certified);
    } else {
      element->choice = SignerAttributeChoice::kClaimedAttributes;
      std::vector<qex::Attribute*> claimed;
      for (const AttributeParts& attribute : part.claimed) claimed.push_back(Build(records, attribute));
      element->claimedAttributes = records.list(claimed);
    }
    elements.push_back(element);
  }
  return records.list(elements);
}

std::vector<qex::Attribute*> build_signed_attributes(Records& records, const SignerParts& parts,
                                                     const Octets& content) {
  Time* const time = records.make<Time>();
  time->choice = Time::kUtcTime;
  time->utcTime = records.make<AsnOcts>(records.text("241115080000Z"));
  std::vector<qex::Attribute*> attributes = {
      build_attribute(records, kContentTypeAttribute, {records.make<AsnOid>(records.oid(kTstInfo))}),
      build_attribute(records, kSigningTimeAttribute, {time}),
      build_attribute(records, kMessageDigestAttribute,
                      {records.make<AsnOcts>(records.octs(Digest(parts.digest, content)))}),
  };
  if (parts.certificate_ids.has_value()) {
    std::vector<ESSCertID*> identifiers;
    for (const Octets& hash : *parts.certificate_ids) {
      identifiers.push_back(records.make<ESSCertID>({records.octs(hash), nullptr}));
    }
    attributes.push_back(
        build_attribute(records, kSigningCertificateAttribute,
                        {records.make<qex::SigningCertificate>({records.list(identifiers), nullptr})}));
  }
  if (parts.certificate_ids_v2.has_value()) {
    std::vector<ESSCertIDv2*> identifiers;
    for (const CertificateIdV2& id : *parts.certificate_ids_v2) {
      AlgorithmIdentifier* const algorithm =
          id.algorithm.empty() ? nullptr : BuildAlgorithm(records, id.algorithm, AlgorithmParameters::Absent);
      identifiers.push_back(records.make<ESSCertIDv2>({algorithm, records.octs(id.hash), nullptr}));
    }
    attributes.push_back(
        build_attribute(records, kSigningCertificateV2Attribute,
                        {records.make<SigningCertificateV2>({records.list(identifiers), nullptr})}));
  }
  if (parts.signer_attributes.has_value()) {
    std::vector<void*> values;
    for (const auto& elements : *parts.signer_attributes) {
      values.push_back(build_signer_attributes(records, elements));
    }
    attributes.push_back(build_attribute(records, kSignerAttributesAttribute, values));
  }
  return attributes;
}

// sort_by_encoding puts attributes into the order of DER (X.690 11.6).
void sort_by_encoding(std::vector<qex::Attribute*>* attributes) {
  const auto encoded = [](const qex::Attribute* attribute) {
    return Encoded([&](ExpBuf** b) { return BEncAttribute(b, attribute); });
  };
  std::sort(attributes->begin(), attributes->end(), [&](const auto* a, const auto* b) {
    const Octets first = encoded(a), second = encoded(b);
    return std::lexicographical_compare(first.begin(), first.end(), second.begin(), second.end());
  });
}

SignerInfo* build_signer(Records& records, const SignerParts& parts, const Octets& content) {
  SignerInfo* const signer = records.make<SignerInfo>();
  signer->version = parts.version;
  IssuerAndSerialNumber* const issuer = records.make<IssuerAndSerialNumber>();
  issuer->issuer =
      BuildDirectoryName(records, {{"2.5.4.6", "GB"}, {"2.5.4.10", "Example"}, {"2.5.4.3", "TSA"}});
  issuer->serialNumber = records.octs({7});
  signer->sid = records.make<SignerIdentifier>();
  signer->sid->choice = SignerIdentifier::kIssuerAndSerial;
  signer->sid->issuerAndSerialNumber = issuer;
  signer->digestAlgorithm = BuildAlgorithm(records, parts.digest, AlgorithmParameters::Null);
  std::vector<qex::Attribute*> attributes = build_signed_attributes(records, parts, content);
  sort_by_encoding(&attributes);
  ListOf<qex::Attribute>* const list = records.list(attributes);
  if (parts.signed_attributes) signer->signedAttrs = list;
  signer->signatureAlgorithm = BuildAlgorithm(records, parts.signature_algorithm, AlgorithmParameters::Null);
  const Octets hashed = Encoded([&](ExpBuf** b) { return BEncAttributes(b, list); });
  signer->signature = records.octs(parts.sign(parts.digest, Digest(parts.digest, hashed)));
  return signer;
}

}  // namespace

ContentInfo* Build(Records& records, const TokenParts& parts) {
  SignedData* const data = records.make<SignedData>();
  data->version = parts.version;
  std::vector<AlgorithmIdentifier*> algorithms;
  std::vector<SignerInfo*> signers;
  for (const SignerParts& signer : parts.signers) {
    algorithms.push_back(BuildAlgorithm(records, signer.digest, AlgorithmParameters::Null));
    signers.push_back(build_signer(records, signer, parts.tst_info));
  }
  data->digestAlgorithms = records.list(algorithms);
  data->encapContentInfo = records.make<EncapsulatedContentInfo>(
      {records.oid(parts.encapsulated_type), records.octs(parts.tst_info)});
  if (parts.certificates.has_value()) {
    std::vector<CertificateChoices*> certificates;
    for (const CertificateParts& part : *parts.certificates) {
      certificates.push_back(build_choice(records, part));
    }
    data->certificates = records.list(certificates);
  }
  data->signerInfos = records.list(signers);
  ContentInfo* const token = records.make<ContentInfo>();
  token->contentType = records.oid(kSignedData);
  token->content = records.any(token->contentType, data);
  return token;
}

Octets ByEncoders(const TokenParts& parts) {
  Records records;
  const ContentInfo* const token = Build(records, parts);
  return Encoded([&](ExpBuf** b) { return BEncContentInfo(b, token); });
}

}  // namespace qex::test
