// The way into a token, which every export on tokens takes.
#include "api/token.h"

#include "asn1/oids.h"

namespace qex {

bool DecodeToken(const uint8_t* data, uint32_t length, DecodedToken* token) {
  return Succeeded(token->decode(BDecContentInfo, data, length));
}

SignedData* SignedDataOf(const ContentInfo& token) {
  return ValueAs<SignedData>(token.content, kAnySignedData);
}

const AsnOcts* EContentOf(const ContentInfo& token) {
  const SignedData* signedData = SignedDataOf(token);
  if (signedData == nullptr || signedData->encapContentInfo == nullptr) return nullptr;
  const AsnOcts& content = signedData->encapContentInfo->eContent;
  return content.octs == nullptr ? nullptr : &content;
}

bool IsAttributeCertificate(const CertificateChoices& element) {
  return element.choice == CertificateChoices::kV1AttrCert ||
         element.choice == CertificateChoices::kV2AttrCert;
}

SignerInfo* FirstSignerInfo(const ContentInfo& token) {
  const SignedData* signedData = SignedDataOf(token);
  return signedData == nullptr ? nullptr : FirstOf<SignerInfo>(signedData->signerInfos);
}

const AsnList* SignedAttributesOf(const ContentInfo& token) {
  const SignerInfo* signer = FirstSignerInfo(token);
  return signer == nullptr ? nullptr : signer->signedAttrs;
}

}  // namespace qex
