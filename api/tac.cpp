// The exports that read a time attribute certificate: identity, timing metrics, timing policy.
#include <cstddef>
#include <cstring>

#include "api/attributes.h"
#include "api/frame.h"
#include "api/name_text.h"
#include "api/oid_text.h"
#include "api/qex.h"
#include "api/timing_values.h"
#include "asn1/attrcert.h"
#include "asn1/oids.h"
#include "asn1/timing.h"
#include "asn1/timing_shapes.h"

namespace qex {
namespace {

using DecodedTac = Decoded<AttributeCertificate>;

[[nodiscard]] bool decode_tac(const uint8_t* data, uint32_t length, DecodedTac* tac) {
  return Succeeded(tac->decode(BDecAttributeCertificate, data, length));
}

// --- Identity --------------------------------------------------------------------

// Renders the first name of the list when it is a directory name; any other leaves the field empty.
// A name that does not fit is cut without a report.
template <size_t kSize>
void first_name_field(char (&field)[kSize], const AsnList* names) {
  const auto* name = FirstOf<GeneralName>(names);
  if (name == nullptr || name->choice != GeneralName::kDirectoryName || name->directoryName == nullptr) {
    return;
  }
  (void)NameToText(field, kSize, name->directoryName->rdnSequence);
}

const AsnList* issuer_names(const AttCertIssuer* issuer) {
  if (issuer == nullptr) return nullptr;
  if (issuer->choice == AttCertIssuer::kV1Issuer) return issuer->v1Form;
  return issuer->v2Form == nullptr ? nullptr : issuer->v2Form->issuerName;
}

// The whole octets of a BIT STRING.
AsnOcts whole_octets(const AsnBits& bits) {
  return {bits.count / 8, bits.octs};
}

// fill_identity writes the certificate's identity into the cleared record; false when something did
// not fit.
[[nodiscard]] bool fill_identity(const AttributeCertificate& tac, QEX_TACINFO_EX* record) {
  const AttributeCertificateInfo& info = *tac.acinfo;
  bool fits = true;
  record->version = info.version;
  if (const Holder* holder = info.holder) {
    first_name_field(record->holderName, holder->entityName);
    if (const ObjectDigestInfo* digest = holder->objectDigestInfo) {
      fits &= OidField(record->digestAlgorithm, digest->digestAlgorithm->algorithm);
      const AsnOcts octets = whole_octets(digest->objectDigest);
      fits &= CopyOctets(record->objectDigest, octets);
      record->objectDigestLen = int32_t(octets.count);
    }
  }
  first_name_field(record->issuerName, issuer_names(info.issuer));
  fits &= CopyOctets(record->serialNumber, info.serialNumber);
  record->serialNumberLen = int32_t(info.serialNumber.count);
  if (const AttCertValidityPeriod* validity = info.attrCertValidityPeriod) {
    CopyText(record->notBefore, validity->notBeforeTime);
    CopyText(record->notAfter, validity->notAfterTime);
  }
  if (info.signature != nullptr) fits &= OidField(record->signatureAlgorithm, info.signature->algorithm);
  const AsnOcts signature = whole_octets(tac.signatureValue);
  fits &= CopyOctets(record->signatureValue, signature);
  record->signatureValueLen = int32_t(signature.count);
  return fits;
}

// --- Timing ----------------------------------------------------------------------

// last_of returns the last T among the values of a timing attribute, which hold one each
// (`elementId`) or a set of them (`setId`); null when there is none.
template <class T>
const T* last_of(const AsnList* values, int32_t elementId, int32_t setId) {
  const T* last = nullptr;
  for (const AsnAny* any : ElementsOf<AsnAny>(values)) {
    if (const auto* element = ValueAs<T>(*any, elementId)) last = element;
    for (const T* element : ElementsOf<T>(ValueAs<AsnList>(*any, setId))) last = element;
  }
  return last;
}

const TimingMetrics* single_metrics(const AsnList* values) {
  const auto* any = FirstOf<AsnAny>(values);
  if (any == nullptr) return nullptr;
  const auto* inSet = ValueAs<TimingMetrics>(*any, kAnyTimingMetrics);
  return inSet != nullptr ? inSet : ValueAs<TimingMetrics>(*any, kAnyTimingMetricsInPlace);
}

// find_metrics returns the metrics of the first attribute of either type that holds metrics, or null.
const TimingMetrics* find_metrics(const AsnList* attributes) {
  const Attribute* attribute = FindAttribute(attributes, {kIdTimingMetricsAttribute, kIdTimingMetrics});
  if (attribute == nullptr) return nullptr;
  if (AsnOidEqual(attribute->type, kIdTimingMetrics)) return single_metrics(attribute->values);
  return last_of<TimingMetrics>(attribute->values, kAnyTimingMetricsElement, kAnyTimingMetricsAttribute);
}

const TimingPolicy* find_policy(const AsnList* attributes) {
  const Attribute* attribute = FindAttribute(attributes, {kIdTimingPolicyAttribute});
  if (attribute == nullptr) return nullptr;
  return last_of<TimingPolicy>(attribute->values, kAnyTimingPolicyElement, kAnyTimingPolicyAttribute);
}

// fill_metrics writes into a record that is not cleared first; false when a value did not fit.
[[nodiscard]] bool fill_metrics(const TimingMetrics& metrics, QEX_TIMING_METRICS_EX* record) {
  bool fits = DurationSeconds(*metrics.delay, &record->delay);
  fits &= DurationSeconds(*metrics.offset, &record->offset);
  fits &= TimeToText(*metrics.expiration, record->expiration);
  fits &= TimeToText(*metrics.ntpTime, record->ntpTime);
  if (metrics.leapEvent == nullptr) {
    record->leapAction = 0;
    record->leapTime[0] = '\0';
  }
  // Of several leap events the last one remains.
  // Deliberate: a list without any leaves both fields as the caller had them.
  for (const LeapData* leap : ElementsOf<LeapData>(metrics.leapEvent)) {
    fits &= TimeToText(*leap->leapTime, record->leapTime);
    record->leapAction = leap->action;
  }
  return fits;
}

const AsnOid* policy_identifier(const AsnList* policyId) {
  const auto* first = FirstOf<TimingPolicyId>(policyId);
  if (first == nullptr) return nullptr;
  if (first->choice == TimingPolicyId::kPolicyIdentifier) return first->policyIdentifier;
  return first->policyInformation == nullptr ? nullptr : &first->policyInformation->policyIdentifier;
}

// Deliberate: a part that does not fit counts as 0 and is not reported here.
void fill_policy(const TimingPolicy& policy, QEX_TIMING_POLICY* record) {
  std::memset(record, 0, sizeof *record);
  if (policy.maxOffset != nullptr) (void)DurationSeconds(*policy.maxOffset, &record->maxOffset);
  if (policy.maxDelay != nullptr) (void)DurationSeconds(*policy.maxDelay, &record->maxDelay);
  if (const AsnOid* id = policy_identifier(policy.policyID)) (void)OidField(record->policyID, *id);
}

}  // namespace
}  // namespace qex

using namespace qex;

int32_t QEX_GetTAC_CertInfoEx(QEX_TACINFO_EX* record, const uint8_t* tac, uint32_t tacLen) noexcept {
  if (record == nullptr || tac == nullptr || record->size != sizeof *record) return QEX_E_ARG;
  std::memset(record, 0, sizeof *record);
  record->size = sizeof *record;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedTac certificate;
  if (!decode_tac(tac, tacLen, &certificate)) return QEX_E_DECODE;
  if (certificate.value.acinfo == nullptr) return QEX_E_MISSING;
  return fill_identity(certificate.value, record) ? QEX_OK : QEX_E_SIZE;
}

int32_t QEX_GetTAC_CertInfo(QEX_TACINFO* record, const uint8_t* tac, uint32_t tacLen) noexcept {
  if (record == nullptr || tac == nullptr) return QEX_E_ARG;
  QEX_TACINFO_EX full{};
  full.size = sizeof full;
  const int32_t code = QEX_GetTAC_CertInfoEx(&full, tac, tacLen);
  if (code != QEX_OK) return code;

  record->version = full.version;
  std::memcpy(record->holderName, full.holderName, sizeof record->holderName);
  std::memcpy(record->digestAlgorithm, full.digestAlgorithm, sizeof record->digestAlgorithm);
  std::memcpy(record->objectDigest, full.objectDigest, sizeof record->objectDigest);
  record->objectDigestLen = full.objectDigestLen;
  std::memcpy(record->issuerName, full.issuerName, sizeof record->issuerName);
  // Deliberate: a serial number of more than 64 bits reads as 0 and is not reported.
  (void)AsnIntToU64({uint32_t(full.serialNumberLen), full.serialNumber}, &record->serialNumber);
  std::memcpy(record->notBefore, full.notBefore, sizeof record->notBefore);
  std::memcpy(record->notAfter, full.notAfter, sizeof record->notAfter);
  std::memcpy(record->signatureAlgorithm, full.signatureAlgorithm, sizeof record->signatureAlgorithm);
  std::memcpy(record->signatureValue, full.signatureValue, sizeof record->signatureValue);
  record->signatureValueLen = full.signatureValueLen;
  return QEX_OK;
}

int32_t QEX_GetTAC_TimingMetricsEx(QEX_TIMING_METRICS_EX* record, const uint8_t* tac,
                                   uint32_t tacLen) noexcept {
  if (record == nullptr || tac == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedTac certificate;
  if (!decode_tac(tac, tacLen, &certificate)) return QEX_E_DECODE;
  if (certificate.value.acinfo == nullptr) return QEX_E_MISSING;
  const TimingMetrics* metrics = find_metrics(certificate.value.acinfo->attributes);
  if (metrics == nullptr) return QEX_E_MISSING;
  return fill_metrics(*metrics, record) ? QEX_OK : QEX_E_SIZE;
}

int32_t QEX_GetTAC_TimingMetrics(QEX_TIMING_METRICS* record, const uint8_t* tac, uint32_t tacLen) noexcept {
  if (record == nullptr) return QEX_E_ARG;
  QEX_TIMING_METRICS_EX full{};
  const int32_t code = QEX_GetTAC_TimingMetricsEx(&full, tac, tacLen);
  if (code != QEX_OK) return code;
  std::memcpy(record->ntpTime, full.ntpTime, std::strlen(full.ntpTime) + 1);
  record->offset = full.offset;
  record->delay = full.delay;
  std::memcpy(record->expiration, full.expiration, std::strlen(full.expiration) + 1);
  return QEX_OK;
}

int32_t QEX_GetTAC_TimingPolicy(QEX_TIMING_POLICY* record, const uint8_t* tac, uint32_t tacLen) noexcept {
  if (record == nullptr || tac == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedTac certificate;
  if (!decode_tac(tac, tacLen, &certificate)) return QEX_E_DECODE;
  const AttributeCertificateInfo* info = certificate.value.acinfo;
  if (info == nullptr || FirstOf<Attribute>(info->attributes) == nullptr) return QEX_E_MISSING;
  const TimingPolicy* policy = find_policy(info->attributes);
  if (policy == nullptr) return QEX_E_NOPOLICY;
  fill_policy(*policy, record);
  return QEX_OK;
}
