// The exports that tie a time attribute certificate to a token: taking it out of the token, and
// checking that a given one belongs to it.
//
// A token carries it in its certificate set, named by the second or a later identifier of the
// signing-certificate attribute, or whole in its signer attributes (RFC 5126, 5.11.3).
#include "api/attributes.h"
#include "api/qex.h"
#include "api/signing_certificate.h"
#include "api/token.h"
#include "asn1/cades.h"
#include "asn1/oids.h"

namespace qex {
namespace {

// signer_attribute_certificate returns the first attribute certificate that the signer-attributes
// attribute of the first signer holds, or null.
const AttributeCertificate* signer_attribute_certificate(const ContentInfo& token) {
  const Attribute* attribute = FindAttribute(SignedAttributesOf(token), {kIdSignerAttributes});
  const auto* choices = FirstValueAs<AsnList>(attribute, kAnySignerAttributes);
  for (const auto* element : ElementsOf<SignerAttributeChoice>(choices)) {
    if (element->choice == SignerAttributeChoice::kCertifiedAttributes &&
        element->certifiedAttributes != nullptr) {
      return element->certifiedAttributes;
    }
  }
  return nullptr;
}

// encode_certified encodes it again into `buf`. It needs no identifier that names it.
[[nodiscard]] int32_t encode_certified(const AttributeCertificate& certificate, ExpBufHolder& buf) {
  if (!EncodeInto(buf, [&](ExpBuf** b) { BEncAttributeCertificate(b, &certificate); })) return QEX_E_NOMEM;
  return EncodedLength(buf) == 0 ? QEX_E_MISSING : QEX_OK;
}

// encode_alone encodes an attribute certificate of the set as a message of its own, a SEQUENCE, whatever tag
// it has in the set.
[[nodiscard]] bool encode_alone(const CertificateChoices& element, ExpBufHolder& buf) {
  return EncodeInto(buf, [&](ExpBuf** b) {
    if (element.choice == CertificateChoices::kV1AttrCert) {
      BEncAttributeCertificateV1(b, element.v1AttrCert);
    } else {
      BEncAttributeCertificate(b, element.v2AttrCert);
    }
  });
}

}  // namespace
}  // namespace qex

using namespace qex;

int32_t QEX_GetTST_TimeAttributeCert(uint8_t* out, uint32_t* outLen, const uint8_t* token,
                                     uint32_t tokenLen) noexcept {
  if (token == nullptr || outLen == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedToken contentInfo;
  if (!DecodeToken(token, tokenLen, &contentInfo)) return QEX_E_DECODE;
  const SignedData* signedData = SignedDataOf(contentInfo.value);
  if (signedData == nullptr) return QEX_E_MISSING;

  const uint32_t capacity = *outLen;  // *outLen itself changes with every certificate
  SigningCertificateIds ids(contentInfo.value);
  ExpBufHolder buf(nullptr);
  for (const CertificateChoices* element : ElementsOf<CertificateChoices>(signedData->certificates)) {
    if (!IsAttributeCertificate(*element)) continue;
    buf.empty();
    if (!encode_alone(*element, buf)) return QEX_E_NOMEM;
    if (EncodedLength(buf) == 0) return QEX_E_MISSING;
    *outLen = EncodedLength(buf);
    const int32_t named = ids.FindAmongOthers(buf.block());
    if (named == QEX_OK) return CopyOut(buf, out, capacity, outLen);
    if (named == QEX_E_NOMEM) return QEX_E_NOMEM;
  }
  const AttributeCertificate* certified = signer_attribute_certificate(contentInfo.value);
  if (certified == nullptr) return QEX_E_NOTAC;
  buf.empty();
  const int32_t code = encode_certified(*certified, buf);
  return code == QEX_OK ? CopyOut(buf, out, capacity, outLen) : code;
}

int32_t QEX_CheckTAC_MatchesTST(const uint8_t* tac, uint32_t tacLen, const uint8_t* token,
                                uint32_t tokenLen) noexcept {
  if (tac == nullptr || token == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedToken contentInfo;
  if (!DecodeToken(token, tokenLen, &contentInfo)) return QEX_E_DECODE;

  ExpBuf bytes;
  ExpBufWrapData(&bytes, tac, tacLen);
  const int32_t named = CheckSigningCertificate(contentInfo.value, &bytes, Identifiers::Others);
  // Deliberate: without the attribute the signer attributes are not tried.
  if (named != QEX_E_MISMATCH) return named;
  const AttributeCertificate* certified = signer_attribute_certificate(contentInfo.value);
  if (certified == nullptr) return QEX_E_MISMATCH;
  ExpBufHolder buf;
  const int32_t code = encode_certified(*certified, buf);
  return code == QEX_OK && EncodingEquals(buf, tac, tacLen) ? QEX_OK : QEX_E_MISMATCH;
}
