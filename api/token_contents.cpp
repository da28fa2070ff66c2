// The token exports that read: TSTInfo into a record (RFC 3161, 2.4.2), and the authority's certificate.
#include <cstring>

#include "api/name_text.h"
#include "api/oid_text.h"
#include "api/qex.h"
#include "api/signing_certificate.h"
#include "api/token.h"
#include "asn1/timestamp.h"

namespace qex {
namespace {

// The part of the extended record that is cleared, and the size that it holds on return.
constexpr uint32_t kClearedSize = 880;

uint32_t or_zero(const AsnInt* value) {
  return value == nullptr ? 0 : uint32_t(*value);
}

// fill_record writes `value` into the record; false when something did not fit.
[[nodiscard]] bool fill_record(const TSTInfo& value, QEX_TSTINFO_EX* info) {
  // Deliberate: the record is longer than the part that is cleared and than the size that it now holds. So
  // `size` must be set before every call, and only NameToText writes the end of tsaName.
  std::memset(info, 0, kClearedSize);
  info->size = kClearedSize;

  bool fits = true;
  info->version = uint32_t(value.version);
  fits &= OidField(info->policy, value.policy);
  if (const MessageImprint* imprint = value.messageImprint) {
    if (imprint->hashAlgorithm != nullptr) {
      fits &= OidField(info->hashAlgorithm, imprint->hashAlgorithm->algorithm);
    }
    fits &= CopyOctets(info->hashedMessage, imprint->hashedMessage);
    info->hashedMessageLength = imprint->hashedMessage.count;
  }
  fits &= CopyOctets(info->serialNumber, value.serialNumber);
  info->serialNumberLength = value.serialNumber.count;
  CopyText(info->genTime, value.genTime);
  if (value.accuracy != nullptr) {
    info->accuracySeconds = or_zero(value.accuracy->seconds);
    info->accuracyMillis = or_zero(value.accuracy->millis);
    info->accuracyMicros = or_zero(value.accuracy->micros);
  }
  info->ordering = value.ordering != nullptr && *value.ordering != 0 ? 1 : 0;
  fits &= CopyOctets(info->nonce, value.nonce);
  info->nonceLength = value.nonce.count;

  const GeneralName* tsa = value.tsa;
  if (tsa != nullptr && tsa->choice == GeneralName::kDirectoryName && tsa->directoryName != nullptr) {
    // An entry that does not fit is left out without a report.
    (void)NameToText(info->tsaName, sizeof info->tsaName, tsa->directoryName->rdnSequence);
  }
  return fits;
}

}  // namespace
}  // namespace qex

using namespace qex;

int32_t QEX_GetTST_TSTInfoEx(QEX_TSTINFO_EX* info, const uint8_t* token, uint32_t tokenLength) noexcept {
  if (info == nullptr || token == nullptr || info->size != sizeof *info) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedToken contentInfo;
  if (!DecodeToken(token, tokenLength, &contentInfo)) return QEX_E_DECODE;
  const AsnOcts* content = EContentOf(contentInfo.value);
  if (content == nullptr) return QEX_E_MISSING;

  Decoded<TSTInfo> tstInfo;
  if (!Succeeded(tstInfo.decode(BDecTSTInfo, content->octs, content->count))) return QEX_E_DECODE;
  return fill_record(tstInfo.value, info) ? QEX_OK : QEX_E_SIZE;
}

int32_t QEX_GetTST_TSTInfo(QEX_TSTINFO* info, const uint8_t* token, uint32_t tokenLength) noexcept {
  if (info == nullptr || token == nullptr) return QEX_E_ARG;
  QEX_TSTINFO_EX full{};  // all of it, so that a tsaName that is not written is empty
  full.size = sizeof full;
  const int32_t code = QEX_GetTST_TSTInfoEx(&full, token, tokenLength);
  if (code != QEX_OK) return code;

  info->version = full.version;
  std::memcpy(info->policy, full.policy, sizeof info->policy);
  std::memcpy(info->hashAlgorithm, full.hashAlgorithm, sizeof info->hashAlgorithm);
  // Deliberate: a longer hash is cut without a report.
  std::memcpy(info->hashedMessage, full.hashedMessage, sizeof info->hashedMessage);
  info->hashedMessageLength = full.hashedMessageLength;
  std::memcpy(info->genTime, full.genTime, sizeof info->genTime);
  info->accuracySeconds = full.accuracySeconds;
  info->accuracyMillis = full.accuracyMillis;
  info->accuracyMicros = full.accuracyMicros;
  info->ordering = full.ordering;
  std::memcpy(info->tsaName, full.tsaName, sizeof info->tsaName);
  const bool serialFits = AsnIntToU64({full.serialNumberLength, full.serialNumber}, &info->serialNumber) == 0;
  const bool nonceFits = AsnIntToU64({full.nonceLength, full.nonce}, &info->nonce) == 0;
  return serialFits && nonceFits ? QEX_OK : QEX_E_SIZE;
}

int32_t QEX_GetTST_TSACert(uint8_t* out, uint32_t* outLength, const uint8_t* token,
                           uint32_t tokenLength) noexcept {
  if (token == nullptr || outLength == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedToken contentInfo;
  if (!DecodeToken(token, tokenLength, &contentInfo)) return QEX_E_BADTOKEN;
  if (SignedDataOf(contentInfo.value) == nullptr) return QEX_E_BADTOKEN;
  return FindSigningCertificate(contentInfo.value, out, outLength);
}
