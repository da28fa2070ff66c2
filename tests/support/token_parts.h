// Tokens described as values, made by hand (token_maker.h) and by the library's own encoders. Keys, digests
// and signatures are shared; the encoding code is not.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "asn1/cms.h"
#include "tests/support/attribute_certificate_maker.h"
#include "tests/support/token_maker.h"

namespace qex::test {

inline constexpr const char* kSignerAttributesAttribute = "1.2.840.113549.1.9.16.2.18";

// CertificateParts is an element of the certificate set.
struct CertificateParts {
  enum Kind { kPlain, kV1, kPublishedV1, kV2, kOther };
  Kind kind = kPlain;
  Octets certificate;       // kPlain: unchanged
  AttrCertParts attr_cert;  // the attribute certificates; kOther is one of no octets of its own
};
CertificateParts PlainCertificate(const Octets& certificate = AuthorityCertificate());
CertificateParts AttrCert(CertificateParts::Kind kind, const AttrCertParts& parts = {});
// OtherCertificate in the sense of CMS: a format and an element; here id-sha1 and NULL.
CertificateParts OtherFormat();
// CertificatesOf returns one element of each kind, the certificates that of the authority.
std::vector<CertificateParts> CertificatesOf(const std::vector<CertificateParts::Kind>& kinds);

// SignerAttributeParts is one element of the signer attributes: claimed attributes, or a certificate.
struct SignerAttributeParts {
  std::vector<AttributeParts> claimed;
  std::optional<AttrCertParts> certified;
};

struct CertificateIdV2 {
  std::string algorithm;  // empty: absent, which means SHA-256
  Octets hash;
};

// A Signature takes the identifier and the octets of the digest of the signed attributes.
using Signature = std::function<Octets(const std::string& digest, const Octets& hash)>;
Signature SignedWithRsa(const RsaKey& key);

struct SignerParts {
  std::string digest = kSha256;
  std::string signature_algorithm = kRsaEncryption;
  Signature sign = SignedWithRsa(TestKey("authority"));
  int32_t version = 1;
  bool signed_attributes = true;
  std::optional<std::vector<Octets>> certificate_ids = {{Digest(kSha1, AuthorityCertificate())}};
  std::optional<std::vector<CertificateIdV2>> certificate_ids_v2;
  // Values of the attribute, each a list of elements.
  std::optional<std::vector<std::vector<SignerAttributeParts>>> signer_attributes;
};

struct TokenParts {
  Octets tst_info = TstInfoMaker().encode();
  std::string encapsulated_type = kTstInfo;
  int32_t version = 3;
  std::optional<std::vector<CertificateParts>> certificates = {{PlainCertificate()}};
  std::vector<SignerParts> signers = std::vector<SignerParts>(1);

  SignerParts& signer() { return signers[0]; }
};

Octets ByHand(const TokenParts& parts);
ContentInfo* Build(Records& records, const TokenParts& parts);
Octets ByEncoders(const TokenParts& parts);

// StandaloneOctets returns the octets that a certificate identifier is the digest of.
Octets StandaloneOctets(const CertificateParts& parts);

}  // namespace qex::test
