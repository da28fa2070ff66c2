// The registration table of open types.
//
// The order matters: of two rows with the same identifier the first one holds.
#include "asn1/oids.h"

#include "asn1/cades.h"
#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/timing.h"
#include "asn1/x520.h"

namespace qex {
namespace {

struct Registration {
  AsnOid identifier;
  uint32_t size;
  AnyEncode encode;
  AnyDecode decode;
  AnyFree free;
  AnyPrint print;
};

// A row whose value is a type of the model.
template <const auto& T>
constexpr Registration holds(AsnOid identifier) {
  using R = OpenRoutines<T>;
  return {identifier, sizeof(typename std::remove_cvref_t<decltype(T)>::Value), R::encode, R::decode, R::free,
          R::print};
}

// A row whose value is a primitive type, decoded by the runtime's own full decoder.
template <class V, auto Decode, auto Encode, auto Free, auto Print>
constexpr Registration holds_primitive(AsnOid identifier) {
  return {
      identifier,
      sizeof(V),
      [](ExpBuf** b, const void* v) { return Encode(b, static_cast<const V*>(v)); },
      [](ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env) { Decode(b, static_cast<V*>(v), bytes, env); },
      [](void* v) { Free(static_cast<V*>(v)); },
      [](FILE* f, const void* v, unsigned indent) { Print(f, static_cast<const V*>(v), indent); }};
}
constexpr auto holds_null = holds_primitive<AsnNull, BDecAsnNull, BEncAsnNull, FreeAsnNull, PrintAsnNull>;
constexpr auto holds_octets = holds_primitive<AsnOcts, BDecAsnOcts, BEncAsnOcts, FreeAsnOcts, PrintAsnOcts>;
constexpr auto holds_bits = holds_primitive<AsnBits, BDecAsnBits, BEncAsnBits, FreeAsnBits, PrintAsnBits>;
constexpr auto holds_oid = holds_primitive<AsnOid, BDecAsnOid, BEncAsnOid, FreeAsnOid, PrintAsnOid>;

constexpr Registration kRegistrations[] = {
    holds_null(kIdSha1),
    holds_null(kIdSha256),
    holds_null(kIdSha384),
    holds_null(kIdSha512),
    holds_null(kIdMd5),
    holds_null(kIdDsaWithSha1),
    holds_null(kIdDsaWithSha256),
    holds_null(kIdSha1WithRsa),
    holds_null(kIdSha256WithRsa),
    holds_null(kIdSha384WithRsa),
    holds_null(kIdSha512WithRsa),
    holds_null(kIdMd5WithRsa),
    holds_null(kIdMd2WithRsa),
    holds_null(kIdRsaEncryption),
    holds_null(kIdRipemd160),
    holds_null(kIdRipemd128),
    holds_null(kIdRipemd256),
    holds_null(kIdRsaWithRipemd160),
    holds_null(kIdRsaWithRipemd128),
    holds_null(kIdRsaWithRipemd256),
    holds_octets(kIdData),
    holds_oid(kIdAtSupportedApplicationContext),
    holds_oid(kIdAtCommunicationsService),
    holds_oid(kIdAtCommunicationsNetwork),
    holds_bits(kIdAtUniqueIdentifier),
    holds<kContentInfo>(kIdAuthenticodeTimeStamp),
    holds<kPrintableString1>(kIdAtDnQualifier),
    holds<kPrintableString1>(kIdAtCountryName),
    holds<kPrintableString1>(kIdAtSerialNumber),
    holds<kPrintableString1>(kIdAtTelephoneNumber),
    holds<kX520TelexNumber>(kIdAtTelexNumber),
    holds<kX520FacsimileTelephoneNumber>(kIdAtFacsimileTelephoneNumber),
    holds<kX520InternationalISDNNumber>(kIdAtInternationalISDNNumber),
    holds<kPrintableString1>(kIdAtDestinationIndicator),
    holds<kX520PreferredDeliveryMethod>(kIdAtPreferredDeliveryMethod),
    holds<kX520PresentationAddress>(kIdAtPresentationAddress),
    holds<kX520ProtocolInformation>(kIdAtProtocolInformation),
    // Deliberate: the identifier of the row above. This row has no effect, and a domainComponent
    // resolves to no type.
    holds<kDomainComponent>(kIdAtProtocolInformation),
    holds<kPkcs9email>(kIdEmailAddress),
    holds<kDss_Parms>(kIdDsa),
    holds<kX121Address>(kIdAtX121Address),
    holds<kDirectoryString>(kIdAtCommonName),
    holds<kDirectoryString>(kIdAtLocalityName),
    holds<kDirectoryString>(kIdAtStateOrProvinceName),
    holds<kDirectoryString>(kIdAtOrganizationName),
    holds<kDirectoryString>(kIdAtOrganizationalUnitName),
    holds<kDirectoryString>(kIdAtTitle),
    holds<kDirectoryString>(kIdAtDmdName),
    holds<kDirectoryString>(kIdAtStreetAddress),
    holds<kDirectoryString>(kIdAtDescription),
    holds<kDirectoryString>(kIdAtBusinessCategory),
    holds<kX520PostalAddress>(kIdAtPostalAddress),
    holds<kDirectoryString>(kIdAtPostalCode),
    holds<kDirectoryString>(kIdAtPostOfficeBox),
    holds<kDirectoryString>(kIdAtPhysicalDeliveryOfficeName),
    holds<kX520PostalAddress>(kIdAtRegisteredAddress),
    holds<kDirectoryString>(kIdAtHouseIdentifier),
    holds<kDirectoryString>(kIdAtPseudonym),
    holds<kDistinguishedName>(kIdAtDistinguishedName),
    holds<kTimingMetrics>(kIdTimingMetrics),
    holds<kDistinguishedName>(kIdAtMember),
    holds<kDistinguishedName>(kIdAtOwner),
    holds<kDistinguishedName>(kIdAtRoleOccupant),
    holds<kDistinguishedName>(kIdAtSeeAlso),
    holds<kX520UniqueMember>(kIdAtUniqueMember),
    holds<kSignedData>(kIdSignedData),
    holds<kTimingPolicyObj>(kIdTimingPolicyAttribute),
    holds<kTimingMeticsObj>(kIdTimingMetricsAttribute),
    holds<kExtensionRequest0>(kIdExtensionRequest),
    holds<kAttrMsgDigest>(kIdMessageDigest),
    holds<kAttrContentType>(kIdContentType),
    holds<kSigningCertificateV2>(kIdSigningCertificateV2),
    holds<kSigningCertificate>(kIdSigningCertificate),
    holds<kSignerAttribute>(kIdSignerAttributes),
    holds<kSignaturePolicyIdentifier>(kIdSignaturePolicy),
    holds<kTime>(kIdSigningTime),
};
static_assert(std::size(kRegistrations) == kOpenTypeRows);
static_assert(kRegistrations[kAnyData].identifier.octs == kIdData.octs);
static_assert(kRegistrations[kAnyAtSupportedApplicationContext].identifier.octs ==
              kIdAtSupportedApplicationContext.octs);
static_assert(kRegistrations[kAnyAtUniqueIdentifier].identifier.octs == kIdAtUniqueIdentifier.octs);
static_assert(kRegistrations[kAnyAuthenticodeTimeStamp].identifier.octs == kIdAuthenticodeTimeStamp.octs);
static_assert(kRegistrations[kAnyAtTelexNumber].identifier.octs == kIdAtTelexNumber.octs);
static_assert(kRegistrations[kAnyAtFacsimileTelephoneNumber].identifier.octs ==
              kIdAtFacsimileTelephoneNumber.octs);
static_assert(kRegistrations[kAnyEmailAddress].identifier.octs == kIdEmailAddress.octs);
static_assert(kRegistrations[kAnyDsa].identifier.octs == kIdDsa.octs);
static_assert(kRegistrations[kAnyTimingMetrics].identifier.octs == kIdTimingMetrics.octs);
static_assert(kRegistrations[kAnySignedData].identifier.octs == kIdSignedData.octs);
static_assert(kRegistrations[kAnyTimingPolicyAttribute].identifier.octs == kIdTimingPolicyAttribute.octs);
static_assert(kRegistrations[kAnyTimingMetricsAttribute].identifier.octs == kIdTimingMetricsAttribute.octs);
static_assert(kRegistrations[kAnyMessageDigest].identifier.octs == kIdMessageDigest.octs);
static_assert(kRegistrations[kAnyContentType].identifier.octs == kIdContentType.octs);
static_assert(kRegistrations[kAnySigningCertificateV2].identifier.octs == kIdSigningCertificateV2.octs);
static_assert(kRegistrations[kAnySigningCertificate].identifier.octs == kIdSigningCertificate.octs);
static_assert(kRegistrations[kAnySignerAttributes].identifier.octs == kIdSignerAttributes.octs);
static_assert(kRegistrations[kAnySigningTime].identifier.octs == kIdSigningTime.octs);

}  // namespace

bool RegisterOpenTypes() {
  int32_t anyId = 0;
  for (const Registration& r : kRegistrations)
    if (!InstallAnyByOid(anyId++, r.identifier, r.size, r.encode, r.decode, r.free, r.print)) return false;
  return true;
}

}  // namespace qex
