// The rule of RFC 5652 section 5.1 as this library applies it.
#include "api/signed_data_version.h"

#include "api/token.h"
#include "asn1/oids.h"

namespace qex {
namespace {

constexpr AsnInt kPlainVersion = 1;

// The version that the certificate set asks for; the plain one when it asks for none.
AsnInt version_of_certificates(const AsnList* certificates) {
  AsnInt version = kPlainVersion;
  for (const CertificateChoices* element : ElementsOf<CertificateChoices>(certificates)) {
    if (element->choice == CertificateChoices::kV1AttrCert) version = 3;
    if (element->choice == CertificateChoices::kV2AttrCert) version = 4;
    if (element->choice == CertificateChoices::kOther) version = 4;
  }
  return version;
}

[[nodiscard]] bool all_signers_are_plain(const AsnList* signerInfos) {
  for (const SignerInfo* signer : ElementsOf<SignerInfo>(signerInfos)) {
    if (signer->version != kPlainVersion) return false;
  }
  return true;
}

}  // namespace

void RecomputeSignedDataVersion(const ContentInfo& token) {
  SignedData* signedData = SignedDataOf(token);
  if (signedData == nullptr) return;
  signedData->version = version_of_certificates(signedData->certificates);
  if (signedData->version != kPlainVersion) return;
  const bool isData = AsnOidEqual(signedData->encapContentInfo->eContentType, kIdData);
  if (!isData || !all_signers_are_plain(signedData->signerInfos)) signedData->version = 3;
}

}  // namespace qex
