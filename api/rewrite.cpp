// The token exports that rewrite: content typed as plain data, and attribute certificates taken out.
//
// Both decode the token, change the decoded value and encode it again; the octets that the
// signature covers are not touched.
#include <cstring>

#include "api/qex.h"
#include "api/signed_data_version.h"
#include "api/token.h"
#include "asn1/oids.h"

namespace qex {
namespace {

// remove_attribute_certificates leaves the rest of the set in its order and returns whether there
// were any. Those taken out stay in the arena of the token.
[[nodiscard]] bool remove_attribute_certificates(AsnList* certificates) {
  if (certificates == nullptr) return false;
  const int32_t before = certificates->count;
  auto* slot = static_cast<void**>(AsnListFirst(certificates));
  while (slot != nullptr) {
    const auto* element = static_cast<const CertificateChoices*>(*slot);
    if (IsAttributeCertificate(*element)) {
      AsnListUnlinkCurrent(certificates);
      slot = static_cast<void**>(AsnListCurr(certificates));
    } else {
      slot = static_cast<void**>(certificates->curr->next == nullptr ? nullptr : AsnListNext(certificates));
    }
  }
  return certificates->count != before;
}

[[nodiscard]] int32_t write_token(const ContentInfo& token, uint8_t* out, uint32_t* outLength) {
  RecomputeSignedDataVersion(token);
  ExpBufHolder buf;
  if (!EncodeInto(buf, [&](ExpBuf** b) { BEncContentInfo(b, &token); })) return QEX_E_NOMEM;
  if (EncodedLength(buf) == 0) return QEX_E_MISSING;
  return CopyOut(buf, out, *outLength, outLength);
}

}  // namespace
}  // namespace qex

using namespace qex;

int32_t QEX_TSTInfoToIDData(const uint8_t* token, uint32_t tokenLength, uint8_t* out,
                            uint32_t* outLength) noexcept {
  if (token == nullptr || outLength == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedToken contentInfo;
  if (!DecodeToken(token, tokenLength, &contentInfo)) return QEX_E_DECODE;
  // Deliberate: no size request; a null output is a missing one.
  if (out == nullptr) return QEX_E_MISSING;
  SignedData* signedData = SignedDataOf(contentInfo.value);
  if (signedData != nullptr) signedData->encapContentInfo->eContentType = kIdData;
  return write_token(contentInfo.value, out, outLength);
}

int32_t QEX_RemoveAttrCerts(const uint8_t* token, uint32_t tokenLength, uint8_t* out,
                            uint32_t* outLength) noexcept {
  if (token == nullptr || outLength == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedToken contentInfo;
  if (!DecodeToken(token, tokenLength, &contentInfo)) return QEX_E_DECODE;
  if (out == nullptr) return QEX_E_MISSING;
  SignedData* signedData = SignedDataOf(contentInfo.value);
  if (signedData != nullptr && remove_attribute_certificates(signedData->certificates)) {
    return write_token(contentInfo.value, out, outLength);
  }
  // Nothing to remove: the token is copied byte for byte.
  const uint32_t capacity = *outLength;
  *outLength = tokenLength;
  if (capacity < tokenLength) return QEX_E_SIZE;
  // Deliberate: in place there is nothing to copy, which has a code of its own.
  if (out == token) return QEX_E_MISSING;
  std::memmove(out, token, tokenLength);
  return QEX_OK;
}
