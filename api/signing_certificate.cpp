// The signing-certificate attribute, and the search for the certificate that it names.
#include "api/signing_certificate.h"

#include <cstdlib>
#include <cstring>

#include "api/frame.h"
#include "api/token.h"
#include "asn1/ess.h"
#include "asn1/oids.h"

namespace qex {

std::atomic<uint32_t> essCertIdV2Switch{kEssCertIdV2Unread};

uint32_t UseEssCertIdV2() {
  uint32_t use = essCertIdV2Switch;
  if (use == kEssCertIdV2Unread) {
    const char* value = std::getenv("QEX_VERIFY_ESSCERTIDV2");
    use = value != nullptr && std::strcmp(value, "1") == 0 ? 1 : 0;
    essCertIdV2Switch = use;
  }
  return use;
}

namespace {

// The digests of one certificate, each computed when it is first asked for, so that a long list
// of identifiers does not cost a digest each.
class CertificateDigests {
 public:
  explicit CertificateDigests(ExpBuf* bytes) : bytes_(bytes) {}

  bool match_v1(const ESSCertID& id) { return DigestEquals(digest(&sha1_, kIdSha1), id.certHash); }

  bool match_v2(const AsnOcts& certHash, const AlgorithmIdentifier* hashAlgorithm) {
    const AsnOid& algorithm = hashAlgorithm == nullptr ? kIdSha256 : hashAlgorithm->algorithm;
    for (size_t i = 0; i < std::size(kAlgorithms); ++i) {
      if (AsnOidEqual(kAlgorithms[i], algorithm)) return DigestEquals(digest(&sha2_[i], algorithm), certHash);
    }
    return false;
  }

 private:
  static constexpr AsnOid kAlgorithms[] = {kIdSha256, kIdSha384, kIdSha512};

  const DigestValue& digest(DigestValue* value, const AsnOid& algorithm) {
    if (value->length == 0) DigestByOid(bytes_, algorithm, value);
    return *value;
  }

  ExpBuf* bytes_;
  DigestValue sha1_;
  DigestValue sha2_[3];
};

// The first signed attribute of type `wanted`, or null.
const Attribute* find_attribute(const SignerInfo* signer, const AsnOid& wanted) {
  if (signer == nullptr) return nullptr;
  for (const Attribute* attribute : ElementsOf<Attribute>(signer->signedAttrs)) {
    if (AsnOidEqual(attribute->type, wanted)) return attribute;
  }
  return nullptr;
}

}  // namespace

// Deliberate: the version in use is the only one looked at, even when the token has the other.
void SigningCertificateIds::find() {
  found_ = true;
  v2_ = UseEssCertIdV2() == 1;
  const Attribute* attribute =
      find_attribute(FirstSignerInfo(token_), v2_ ? kIdSigningCertificateV2 : kIdSigningCertificate);
  const auto* value = attribute == nullptr ? nullptr : FirstOf<AsnAny>(attribute->values);
  if (value == nullptr) return;
  if (v2_) {
    const auto* ids = ValueAs<SigningCertificateV2>(*value, kAnySigningCertificateV2);
    if (ids != nullptr) list_ = ids->certs;
  } else {
    const auto* ids = ValueAs<SigningCertificate>(*value, kAnySigningCertificate);
    if (ids != nullptr) list_ = ids->certs;
  }
  if (list_ != nullptr && list_->first == nullptr) list_ = nullptr;
}

int32_t SigningCertificateIds::Check(ExpBuf* certificateBytes, bool firstOnly) {
  if (!found_) find();
  if (list_ == nullptr) return QEX_E_DECODE;
  CertificateDigests digests(certificateBytes);
  const AsnListNode* node = firstOnly ? list_->first : list_->first->next;
  for (; node != nullptr; node = firstOnly ? nullptr : node->next) {
    bool matches = false;
    if (v2_) {
      const auto& id = *static_cast<const ESSCertIDv2*>(node->data[0]);
      matches = digests.match_v2(id.certHash, id.hashAlgorithm);
    } else {
      matches = digests.match_v1(*static_cast<const ESSCertID*>(node->data[0]));
    }
    if (matches) return QEX_OK;
  }
  return QEX_E_MISMATCH;
}

int32_t CheckSigningCertificate(const ContentInfo& token, ExpBuf* certificateBytes, bool firstOnly) {
  return SigningCertificateIds(token).Check(certificateBytes, firstOnly);
}

bool MatchCertHashV2(const AsnOcts& certHash, ExpBuf* certificateBytes,
                     const AlgorithmIdentifier* hashAlgorithm) {
  return CertificateDigests(certificateBytes).match_v2(certHash, hashAlgorithm);
}

int32_t FindSigningCertificate(const ContentInfo& token, uint8_t* out, uint32_t* outLength,
                               const Certificate** certificate) {
  const SignedData* signedData = SignedDataOf(token);
  if (signedData == nullptr) return QEX_E_NOCERT;
  const uint32_t capacity = *outLength;  // *outLength itself changes with every certificate
  SigningCertificateIds ids(token);
  for (const CertificateChoices* element : ElementsOf<CertificateChoices>(signedData->certificates)) {
    if (element->choice != CertificateChoices::kX509Certificate) continue;
    const Certificate* candidate = element->certificate;
    ExpBufHolder buf;
    if (!EncodeInto(buf, [&](ExpBuf** b) { BEncCertificate(b, candidate); })) return QEX_E_NOMEM;
    if (EncodedLength(buf) == 0) return QEX_E_MISSING;
    *outLength = EncodedLength(buf);
    if (ids.Check(buf.block(), true) != QEX_OK) continue;
    if (certificate != nullptr) *certificate = candidate;
    return CopyOut(buf, out, capacity, outLength);
  }
  return QEX_E_NOCERT;
}

}  // namespace qex
