// The registration table of open types.
//
// The order matters: of two rows with the same identifier the first one holds, and a row's number is the
// anyId of its type.
#include "asn1/oids.h"

#include <iterator>
#include <type_traits>
#include <utility>

#include "asn1/cades.h"
#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/timing.h"
#include "asn1/x520.h"

namespace qex {
namespace {

// octets_of returns the octets of a value by its record, so a row needs no word about them. Records without
// an overload have none.
OctetsView octets_of(const AsnOcts& v) {
  return {v.octs, v.count};
}
OctetsView octets_of(const AsnOid& v) {
  return {v.octs, v.count};
}
OctetsView octets_of(const AsnBits& v) {
  return {v.octs, BitOctets(v.count)};
}
OctetsView octets_of(const X520FacsimileTelephoneNumber& v) {
  return octets_of(v.telephoneNumber);
}
OctetsView octets_of(const DirectoryString& v) {
  const AsnOcts* chosen = nullptr;
  switch (v.choice) {
    case DirectoryString::kTeletex: chosen = v.teletexString; break;
    case DirectoryString::kPrintable: chosen = v.printableString; break;
    case DirectoryString::kUniversal: chosen = v.universalString; break;
    case DirectoryString::kUtf8: chosen = v.utf8String; break;
    case DirectoryString::kBmp: chosen = v.bmpString; break;
  }
  return chosen == nullptr ? OctetsView() : octets_of(*chosen);
}

template <class V>
constexpr auto octets_reader() -> OctetsView (*)(const void*) {
  if constexpr (requires(const V& v) { octets_of(v); }) {
    return [](const void* v) { return octets_of(*static_cast<const V*>(v)); };
  } else {
    return nullptr;
  }
}

// A row whose value is a type of the model.
template <const auto& T>
constexpr Registration holds(int32_t row, AsnOid identifier) {
  using R = OpenRoutines<T>;
  using V = typename std::remove_cvref_t<decltype(T)>::Value;
  return {row, identifier, &T, R::encode, R::decode, R::free, R::print, octets_reader<V>()};
}

// A row whose value is a primitive type, decoded by the runtime's own full decoder.
template <const auto& T, auto Decode, auto Encode, auto Free, auto Print>
constexpr Registration holds_primitive(int32_t row, AsnOid identifier) {
  using V = typename std::remove_cvref_t<decltype(T)>::Value;
  return {
      row,
      identifier,
      &T,
      [](ExpBuf** b, const void* v) { return Encode(b, static_cast<const V*>(v)); },
      [](ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env) { Decode(b, static_cast<V*>(v), bytes, env); },
      [](void* v) { Free(static_cast<V*>(v)); },
      [](FILE* f, const void* v, unsigned indent) { Print(f, static_cast<const V*>(v), indent); },
      octets_reader<V>()};
}
constexpr auto holds_null = holds_primitive<kAsnNull, BDecAsnNull, BEncAsnNull, FreeAsnNull, PrintAsnNull>;
constexpr auto holds_octets = holds_primitive<kAsnOcts, BDecAsnOcts, BEncAsnOcts, FreeAsnOcts, PrintAsnOcts>;
constexpr auto holds_bits = holds_primitive<kAsnBits, BDecAsnBits, BEncAsnBits, FreeAsnBits, PrintAsnBits>;
constexpr auto holds_oid = holds_primitive<kAsnOid, BDecAsnOid, BEncAsnOid, FreeAsnOid, PrintAsnOid>;

constexpr Registration kRegistrations[] = {
    holds_null(0, kIdSha1),
    holds_null(1, kIdSha256),
    holds_null(2, kIdSha384),
    holds_null(3, kIdSha512),
    holds_null(4, kIdMd5),
    holds_null(5, kIdDsaWithSha1),
    holds_null(6, kIdDsaWithSha256),
    holds_null(7, kIdSha1WithRsa),
    holds_null(8, kIdSha256WithRsa),
    holds_null(9, kIdSha384WithRsa),
    holds_null(10, kIdSha512WithRsa),
    holds_null(11, kIdMd5WithRsa),
    holds_null(12, kIdMd2WithRsa),
    holds_null(13, kIdRsaEncryption),
    holds_null(14, kIdRipemd160),
    holds_null(15, kIdRipemd128),
    holds_null(16, kIdRipemd256),
    holds_null(17, kIdRsaWithRipemd160),
    holds_null(18, kIdRsaWithRipemd128),
    holds_null(19, kIdRsaWithRipemd256),
    holds_octets(kAnyData, kIdData),
    holds_oid(kAnyAtSupportedApplicationContext, kIdAtSupportedApplicationContext),
    holds_oid(22, kIdAtCommunicationsService),
    holds_oid(23, kIdAtCommunicationsNetwork),
    holds_bits(kAnyAtUniqueIdentifier, kIdAtUniqueIdentifier),
    holds<kContentInfo>(kAnyAuthenticodeTimeStamp, kIdAuthenticodeTimeStamp),
    holds<kPrintableString1>(26, kIdAtDnQualifier),
    holds<kPrintableString1>(27, kIdAtCountryName),
    holds<kPrintableString1>(28, kIdAtSerialNumber),
    holds<kPrintableString1>(29, kIdAtTelephoneNumber),
    holds<kX520TelexNumber>(kAnyAtTelexNumber, kIdAtTelexNumber),
    holds<kX520FacsimileTelephoneNumber>(kAnyAtFacsimileTelephoneNumber, kIdAtFacsimileTelephoneNumber),
    holds<kX520InternationalISDNNumber>(32, kIdAtInternationalISDNNumber),
    holds<kPrintableString1>(33, kIdAtDestinationIndicator),
    holds<kX520PreferredDeliveryMethod>(34, kIdAtPreferredDeliveryMethod),
    holds<kX520PresentationAddress>(35, kIdAtPresentationAddress),
    holds<kX520ProtocolInformation>(36, kIdAtProtocolInformation),
    // Deliberate: the identifier of the row above. This row has no effect, and a domainComponent
    // resolves to no type.
    holds<kDomainComponent>(37, kIdAtProtocolInformation),
    holds<kPkcs9email>(kAnyEmailAddress, kIdEmailAddress),
    holds<kDss_Parms>(kAnyDsa, kIdDsa),
    holds<kX121Address>(40, kIdAtX121Address),
    holds<kDirectoryString>(41, kIdAtCommonName),
    holds<kDirectoryString>(42, kIdAtLocalityName),
    holds<kDirectoryString>(43, kIdAtStateOrProvinceName),
    holds<kDirectoryString>(44, kIdAtOrganizationName),
    holds<kDirectoryString>(45, kIdAtOrganizationalUnitName),
    holds<kDirectoryString>(46, kIdAtTitle),
    holds<kDirectoryString>(47, kIdAtDmdName),
    holds<kDirectoryString>(48, kIdAtStreetAddress),
    holds<kDirectoryString>(49, kIdAtDescription),
    holds<kDirectoryString>(50, kIdAtBusinessCategory),
    holds<kX520PostalAddress>(51, kIdAtPostalAddress),
    holds<kDirectoryString>(52, kIdAtPostalCode),
    holds<kDirectoryString>(53, kIdAtPostOfficeBox),
    holds<kDirectoryString>(54, kIdAtPhysicalDeliveryOfficeName),
    holds<kX520PostalAddress>(55, kIdAtRegisteredAddress),
    holds<kDirectoryString>(56, kIdAtHouseIdentifier),
    holds<kDirectoryString>(57, kIdAtPseudonym),
    holds<kDistinguishedName>(58, kIdAtDistinguishedName),
    holds<kTimingMetrics>(kAnyTimingMetrics, kIdTimingMetrics),
    holds<kDistinguishedName>(60, kIdAtMember),
    holds<kDistinguishedName>(61, kIdAtOwner),
    holds<kDistinguishedName>(62, kIdAtRoleOccupant),
    holds<kDistinguishedName>(63, kIdAtSeeAlso),
    holds<kX520UniqueMember>(64, kIdAtUniqueMember),
    holds<kSignedData>(kAnySignedData, kIdSignedData),
    holds<kTimingPolicyObj>(kAnyTimingPolicyAttribute, kIdTimingPolicyAttribute),
    holds<kTimingMeticsObj>(kAnyTimingMetricsAttribute, kIdTimingMetricsAttribute),
    holds<kExtensionRequest0>(68, kIdExtensionRequest),
    holds<kAttrMsgDigest>(kAnyMessageDigest, kIdMessageDigest),
    holds<kAttrContentType>(kAnyContentType, kIdContentType),
    holds<kSigningCertificateV2>(kAnySigningCertificateV2, kIdSigningCertificateV2),
    holds<kSigningCertificate>(kAnySigningCertificate, kIdSigningCertificate),
    holds<kSignerAttribute>(kAnySignerAttributes, kIdSignerAttributes),
    holds<kSignaturePolicyIdentifier>(74, kIdSignaturePolicy),
    holds<kTime>(kAnySigningTime, kIdSigningTime),
};

// rows_counted fails to compile, and shows both numbers, when they differ.
template <size_t kRows, size_t kSaid>
[[nodiscard]] constexpr bool rows_counted() {
  static_assert(kRows == kSaid, "kOpenTypeRows is the number of rows of kRegistrations");
  return true;
}
static_assert(rows_counted<std::size(kRegistrations), kOpenTypeRows>(),
              "kOpenTypeRows is the number of rows of kRegistrations");

// rows_in_place fails to compile, and names the row, when one is not where its first column says.
template <OpenTypeRow kRow>
[[nodiscard]] constexpr bool row_in_place() {
  static_assert(kRegistrations[kRow].row == kRow, "this row of kRegistrations is not at its place");
  return true;
}
template <size_t... kRows>
[[nodiscard]] constexpr bool rows_in_place(std::index_sequence<kRows...>) {
  return (row_in_place<OpenTypeRow(kRows)>() && ...);
}
static_assert(rows_in_place(std::make_index_sequence<kOpenTypeRows>()),
              "a row of kRegistrations is not at its place");

}  // namespace

std::span<const Registration> OpenTypeTable() {
  return kRegistrations;
}

bool RegisterOpenTypes() {
  for (const Registration& r : kRegistrations) {
    if (!InstallAnyByOid(r.row, r.identifier, r.type->size, r.encode, r.decode, r.free, r.print)) {
      return false;
    }
  }
  return true;
}

OctetsView OpenValueOctets(const AsnAny& any) {
  if (any.ai == nullptr || any.value == nullptr) return {};
  // A value in another shape than the registered one matches no row.
  const auto row = size_t(any.ai->anyId);
  if (row >= std::size(kRegistrations) || kRegistrations[row].octets == nullptr) return {};
  return kRegistrations[row].octets(any.value);
}

}  // namespace qex
