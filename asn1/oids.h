// Object identifiers, and the table of the types that open-type fields hold.
//
// Identifiers are kept as contents octets and compared as a whole (AsnOidEqual).
#pragma once

#include <cstdint>
#include <span>

#include "asn1/oid_literal.h"
#include "ber/open_types.h"

namespace qex {

struct Type;
using OctetsView = std::span<const uint8_t>;

// One row of the table: the identifier and the type of the values that it announces.
struct Registration {
  int32_t row;  // its place in the table
  AsnOid identifier;
  const Type* type;
  AnyEncode encode;
  AnyDecode decode;
  AnyFree free;
  AnyPrint print;
  OctetsView (*octets)(const void* v);  // null: values of this type have no octets of their own
};

// OpenTypeTable returns the rows in their order.
std::span<const Registration> OpenTypeTable();

// RegisterOpenTypes enters every row of the table into the open-type tables; false when an allocation
// fails. It is to run once, before the first decoding.
[[nodiscard]] bool RegisterOpenTypes();

// OpenValueOctets returns the octets of an open value: the content of an OCTET STRING, a character string, a
// BIT STRING or an OBJECT IDENTIFIER, the string that a DirectoryString holds, and the telephone number of a
// FacsimileTelephoneNumber. It returns null when there is no value, and for every other type.
OctetsView OpenValueOctets(const AsnAny& any);

// The rows that code asks for by name. The anyId of a registered type is its row, and code that reads a
// decoded value as a type asks for the row first.
enum OpenTypeRow : int32_t {
  kAnyData = 20,
  kAnyAtSupportedApplicationContext = 21,
  kAnyAtUniqueIdentifier = 24,
  kAnyAuthenticodeTimeStamp = 25,
  kAnyAtTelexNumber = 30,
  kAnyAtFacsimileTelephoneNumber = 31,
  kAnyEmailAddress = 38,
  kAnyDsa = 39,
  kAnyTimingMetrics = 59,
  kAnySignedData = 65,
  kAnyTimingPolicyAttribute = 66,
  kAnyTimingMetricsAttribute = 67,
  kAnyMessageDigest = 69,
  kAnyContentType = 70,
  kAnySigningCertificateV2 = 71,
  kAnySigningCertificate = 72,
  kAnySignerAttributes = 73,
  kAnySigningTime = 75,
  kOpenTypeRows = 76
};

// Registered identifiers, in the order of the table.
inline constexpr AsnOid kIdSha1 = "1.3.14.3.2.26"_oid;
inline constexpr AsnOid kIdSha256 = "2.16.840.1.101.3.4.2.1"_oid;
inline constexpr AsnOid kIdSha384 = "2.16.840.1.101.3.4.2.2"_oid;
inline constexpr AsnOid kIdSha512 = "2.16.840.1.101.3.4.2.3"_oid;
inline constexpr AsnOid kIdMd5 = "1.2.840.113549.2.5"_oid;
inline constexpr AsnOid kIdDsaWithSha1 = "1.2.840.10040.4.3"_oid;
inline constexpr AsnOid kIdDsaWithSha256 = "2.16.840.1.101.3.4.3.2"_oid;
inline constexpr AsnOid kIdSha1WithRsa = "1.2.840.113549.1.1.5"_oid;
inline constexpr AsnOid kIdSha256WithRsa = "1.2.840.113549.1.1.11"_oid;
inline constexpr AsnOid kIdSha384WithRsa = "1.2.840.113549.1.1.12"_oid;
inline constexpr AsnOid kIdSha512WithRsa = "1.2.840.113549.1.1.13"_oid;
inline constexpr AsnOid kIdMd5WithRsa = "1.2.840.113549.1.1.4"_oid;
inline constexpr AsnOid kIdMd2WithRsa = "1.2.840.113549.1.1.2"_oid;
inline constexpr AsnOid kIdRsaEncryption = "1.2.840.113549.1.1.1"_oid;
inline constexpr AsnOid kIdRipemd160 = "1.3.36.3.2.1"_oid;
inline constexpr AsnOid kIdRipemd128 = "1.3.36.3.2.2"_oid;
inline constexpr AsnOid kIdRipemd256 = "1.3.36.3.2.3"_oid;
inline constexpr AsnOid kIdRsaWithRipemd160 = "1.3.36.3.3.1.2"_oid;
inline constexpr AsnOid kIdRsaWithRipemd128 = "1.3.36.3.3.1.3"_oid;
inline constexpr AsnOid kIdRsaWithRipemd256 = "1.3.36.3.3.1.4"_oid;
inline constexpr AsnOid kIdData = "1.2.840.113549.1.7.1"_oid;
inline constexpr AsnOid kIdAtSupportedApplicationContext = "2.5.4.30"_oid;
inline constexpr AsnOid kIdAtCommunicationsService = "2.5.4.66"_oid;
inline constexpr AsnOid kIdAtCommunicationsNetwork = "2.5.4.67"_oid;
inline constexpr AsnOid kIdAtUniqueIdentifier = "2.5.4.45"_oid;
inline constexpr AsnOid kIdAuthenticodeTimeStamp = "1.3.6.1.4.1.311.3.2.1"_oid;
inline constexpr AsnOid kIdAtDnQualifier = "2.5.4.46"_oid;
inline constexpr AsnOid kIdAtCountryName = "2.5.4.6"_oid;
inline constexpr AsnOid kIdAtSerialNumber = "2.5.4.5"_oid;
inline constexpr AsnOid kIdAtTelephoneNumber = "2.5.4.20"_oid;
inline constexpr AsnOid kIdAtTelexNumber = "2.5.4.21"_oid;
inline constexpr AsnOid kIdAtFacsimileTelephoneNumber = "2.5.4.23"_oid;
inline constexpr AsnOid kIdAtInternationalISDNNumber = "2.5.4.25"_oid;
inline constexpr AsnOid kIdAtDestinationIndicator = "2.5.4.27"_oid;
inline constexpr AsnOid kIdAtPreferredDeliveryMethod = "2.5.4.28"_oid;
inline constexpr AsnOid kIdAtPresentationAddress = "2.5.4.29"_oid;
inline constexpr AsnOid kIdAtProtocolInformation = "2.5.4.48"_oid;
inline constexpr AsnOid kIdEmailAddress = "1.2.840.113549.1.9.1"_oid;
inline constexpr AsnOid kIdDsa = "1.2.840.10040.4.1"_oid;
inline constexpr AsnOid kIdAtX121Address = "2.5.4.24"_oid;
inline constexpr AsnOid kIdAtCommonName = "2.5.4.3"_oid;
inline constexpr AsnOid kIdAtLocalityName = "2.5.4.7"_oid;
inline constexpr AsnOid kIdAtStateOrProvinceName = "2.5.4.8"_oid;
inline constexpr AsnOid kIdAtOrganizationName = "2.5.4.10"_oid;
inline constexpr AsnOid kIdAtOrganizationalUnitName = "2.5.4.11"_oid;
inline constexpr AsnOid kIdAtTitle = "2.5.4.12"_oid;
inline constexpr AsnOid kIdAtDmdName = "2.5.4.54"_oid;
inline constexpr AsnOid kIdAtStreetAddress = "2.5.4.9"_oid;
inline constexpr AsnOid kIdAtDescription = "2.5.4.13"_oid;
inline constexpr AsnOid kIdAtBusinessCategory = "2.5.4.15"_oid;
inline constexpr AsnOid kIdAtPostalAddress = "2.5.4.16"_oid;
inline constexpr AsnOid kIdAtPostalCode = "2.5.4.17"_oid;
inline constexpr AsnOid kIdAtPostOfficeBox = "2.5.4.18"_oid;
inline constexpr AsnOid kIdAtPhysicalDeliveryOfficeName = "2.5.4.19"_oid;
inline constexpr AsnOid kIdAtRegisteredAddress = "2.5.4.26"_oid;
inline constexpr AsnOid kIdAtHouseIdentifier = "2.5.4.51"_oid;
inline constexpr AsnOid kIdAtPseudonym = "2.5.4.65"_oid;
inline constexpr AsnOid kIdAtDistinguishedName = "2.5.4.49"_oid;
inline constexpr AsnOid kIdTimingMetrics = "1.3.6.1.4.1.601.10.1"_oid;
inline constexpr AsnOid kIdAtMember = "2.5.4.31"_oid;
inline constexpr AsnOid kIdAtOwner = "2.5.4.32"_oid;
inline constexpr AsnOid kIdAtRoleOccupant = "2.5.4.33"_oid;
inline constexpr AsnOid kIdAtSeeAlso = "2.5.4.34"_oid;
inline constexpr AsnOid kIdAtUniqueMember = "2.5.4.50"_oid;
inline constexpr AsnOid kIdSignedData = "1.2.840.113549.1.7.2"_oid;
inline constexpr AsnOid kIdTimingPolicyAttribute = "1.3.6.1.4.1.601.10.4.2"_oid;
inline constexpr AsnOid kIdTimingMetricsAttribute = "1.3.6.1.4.1.601.10.4.1"_oid;
inline constexpr AsnOid kIdExtensionRequest = "1.2.840.113549.1.9.14"_oid;
inline constexpr AsnOid kIdMessageDigest = "1.2.840.113549.1.9.4"_oid;
inline constexpr AsnOid kIdContentType = "1.2.840.113549.1.9.3"_oid;
inline constexpr AsnOid kIdSigningCertificateV2 = "1.2.840.113549.1.9.16.2.47"_oid;
inline constexpr AsnOid kIdSigningCertificate = "1.2.840.113549.1.9.16.2.12"_oid;
inline constexpr AsnOid kIdSignerAttributes = "1.2.840.113549.1.9.16.2.18"_oid;
inline constexpr AsnOid kIdSignaturePolicy = "1.2.840.113549.1.9.16.2.15"_oid;
inline constexpr AsnOid kIdSigningTime = "1.2.840.113549.1.9.5"_oid;

// Other identifiers, by arc. kIdDomainComponent and kIdAt are used to render names. All others have no
// caller: they are part of what this header offers.

// 0.9.2342: attribute types of RFC 4519
inline constexpr AsnOid kIdDomainComponent = "0.9.2342.19200300.100.1.25"_oid;

// 1.2.840.10046: ANSI X9.42
inline constexpr AsnOid kIdDhPublicNumber = "1.2.840.10046.2.1"_oid;

// 1.2.840.113549.1: PKCS #1, PKCS #7 content types, PKCS #9, S/MIME
inline constexpr AsnOid kIdPkcs1 = "1.2.840.113549.1.1"_oid;
inline constexpr AsnOid kIdEnvelopedData = "1.2.840.113549.1.7.3"_oid;
inline constexpr AsnOid kIdDigestedData = "1.2.840.113549.1.7.5"_oid;
inline constexpr AsnOid kIdEncryptedData = "1.2.840.113549.1.7.6"_oid;
inline constexpr AsnOid kIdPkcs9 = "1.2.840.113549.1.9"_oid;
inline constexpr AsnOid kIdCountersignature = "1.2.840.113549.1.9.6"_oid;
inline constexpr AsnOid kIdCtAuthData = "1.2.840.113549.1.9.16.1.2"_oid;
inline constexpr AsnOid kIdCtTSTInfo = "1.2.840.113549.1.9.16.1.4"_oid;
inline constexpr AsnOid kIdAlgEsdh = "1.2.840.113549.1.9.16.3.5"_oid;
inline constexpr AsnOid kIdAlgCms3DesWrap = "1.2.840.113549.1.9.16.3.6"_oid;
inline constexpr AsnOid kIdAlgCmsRc2Wrap = "1.2.840.113549.1.9.16.3.7"_oid;

// 1.2.840.113549.2 and 3: digests and ciphers
inline constexpr AsnOid kIdMd2 = "1.2.840.113549.2.2"_oid;
inline constexpr AsnOid kIdRc2Cbc = "1.2.840.113549.3.2"_oid;
inline constexpr AsnOid kIdDesEde3Cbc = "1.2.840.113549.3.7"_oid;

// 1.3.6.1.4.1.601.10: timing
inline constexpr AsnOid kIdTimingArc = "1.3.6.1.4.1.601.10"_oid;
inline constexpr AsnOid kIdTimingArc_2 = "1.3.6.1.4.1.601.10.2"_oid;
inline constexpr AsnOid kIdTimingArc_3 = "1.3.6.1.4.1.601.10.3"_oid;
inline constexpr AsnOid kIdTimingArc_3_1 = "1.3.6.1.4.1.601.10.3.1"_oid;
inline constexpr AsnOid kIdTimingArc_3_2 = "1.3.6.1.4.1.601.10.3.2"_oid;
inline constexpr AsnOid kIdTimingArc_4 = "1.3.6.1.4.1.601.10.4"_oid;

// 1.3.6.1.5.5.7: PKIX, its private extensions
inline constexpr AsnOid kIdPkix = "1.3.6.1.5.5.7"_oid;
inline constexpr AsnOid kIdPe = "1.3.6.1.5.5.7.1"_oid;
inline constexpr AsnOid kIdPeAuthorityInfoAccess = "1.3.6.1.5.5.7.1.1"_oid;
inline constexpr AsnOid kIdPeAcAuditIdentity = "1.3.6.1.5.5.7.1.4"_oid;
inline constexpr AsnOid kIdPeAaControls = "1.3.6.1.5.5.7.1.6"_oid;
inline constexpr AsnOid kIdPeAcProxying = "1.3.6.1.5.5.7.1.10"_oid;

// 1.3.6.1.5.5.7.2: policy qualifiers
inline constexpr AsnOid kIdQt = "1.3.6.1.5.5.7.2"_oid;
inline constexpr AsnOid kIdQtCps = "1.3.6.1.5.5.7.2.1"_oid;
inline constexpr AsnOid kIdQtUnotice = "1.3.6.1.5.5.7.2.2"_oid;

// 1.3.6.1.5.5.7.3: extended key purposes
inline constexpr AsnOid kIdKp = "1.3.6.1.5.5.7.3"_oid;
inline constexpr AsnOid kIdKpServerAuth = "1.3.6.1.5.5.7.3.1"_oid;
inline constexpr AsnOid kIdKpClientAuth = "1.3.6.1.5.5.7.3.2"_oid;
inline constexpr AsnOid kIdKpCodeSigning = "1.3.6.1.5.5.7.3.3"_oid;
inline constexpr AsnOid kIdKpEmailProtection = "1.3.6.1.5.5.7.3.4"_oid;
inline constexpr AsnOid kIdKpIpsecEndSystem = "1.3.6.1.5.5.7.3.5"_oid;
inline constexpr AsnOid kIdKpIpsecTunnel = "1.3.6.1.5.5.7.3.6"_oid;
inline constexpr AsnOid kIdKpIpsecUser = "1.3.6.1.5.5.7.3.7"_oid;
inline constexpr AsnOid kIdKpTimeStamping = "1.3.6.1.5.5.7.3.8"_oid;

// 1.3.6.1.5.5.7.5: certificate requests (RFC 4211)
inline constexpr AsnOid kIdPkip = "1.3.6.1.5.5.7.5"_oid;
inline constexpr AsnOid kIdRegCtrl = "1.3.6.1.5.5.7.5.1"_oid;
inline constexpr AsnOid kIdRegCtrlRegToken = "1.3.6.1.5.5.7.5.1.1"_oid;
inline constexpr AsnOid kIdRegCtrlAuthenticator = "1.3.6.1.5.5.7.5.1.2"_oid;
inline constexpr AsnOid kIdRegCtrlPkiPublicationInfo = "1.3.6.1.5.5.7.5.1.3"_oid;
inline constexpr AsnOid kIdRegCtrlPkiArchiveOptions = "1.3.6.1.5.5.7.5.1.4"_oid;
inline constexpr AsnOid kIdRegCtrlOldCertID = "1.3.6.1.5.5.7.5.1.5"_oid;
inline constexpr AsnOid kIdRegCtrlProtocolEncrKey = "1.3.6.1.5.5.7.5.1.6"_oid;
inline constexpr AsnOid kIdRegInfo = "1.3.6.1.5.5.7.5.2"_oid;
inline constexpr AsnOid kIdRegInfoUtf8Pairs = "1.3.6.1.5.5.7.5.2.1"_oid;
inline constexpr AsnOid kIdRegInfoCertReq = "1.3.6.1.5.5.7.5.2.2"_oid;

// 1.3.6.1.5.5.7.10: attributes of attribute certificates (RFC 3281)
inline constexpr AsnOid kIdAca = "1.3.6.1.5.5.7.10"_oid;
inline constexpr AsnOid kIdAcaAuthenticationInfo = "1.3.6.1.5.5.7.10.1"_oid;
inline constexpr AsnOid kIdAcaAccessIdentity = "1.3.6.1.5.5.7.10.2"_oid;
inline constexpr AsnOid kIdAcaChargingIdentity = "1.3.6.1.5.5.7.10.3"_oid;
inline constexpr AsnOid kIdAcaGroup = "1.3.6.1.5.5.7.10.4"_oid;
inline constexpr AsnOid kIdAcaEncAttrs = "1.3.6.1.5.5.7.10.6"_oid;

// 1.3.6.1.5.5.8: message authentication codes
inline constexpr AsnOid kIdHmacSha1 = "1.3.6.1.5.5.8.1.2"_oid;

// 1.3.36: TeleTrusT
inline constexpr AsnOid kIdTeletrustArc = "1.3.36"_oid;

// 2.2.840.10040: hold instructions
// Deliberate: stored under 2.2.840.10040.2, so they never equal the published hold-instruction
// identifiers 1.2.840.10040.2.
inline constexpr AsnOid kIdHoldInstruction = "2.2.840.10040.2"_oid;
inline constexpr AsnOid kIdHoldInstruction1 = "2.2.840.10040.2.1"_oid;
inline constexpr AsnOid kIdHoldInstruction2 = "2.2.840.10040.2.2"_oid;
inline constexpr AsnOid kIdHoldInstruction3 = "2.2.840.10040.2.3"_oid;

// 2.5.1.5: the clearance attribute (RFC 3281)
inline constexpr AsnOid kIdAtClearance = "2.5.1.5.55"_oid;

// 2.5.4: attribute types (X.520), and the collective ones of some
inline constexpr AsnOid kIdAt = "2.5.4"_oid;
inline constexpr AsnOid kIdAtSurname = "2.5.4.4"_oid;
inline constexpr AsnOid kIdAtName = "2.5.4.41"_oid;
inline constexpr AsnOid kIdAtGivenName = "2.5.4.42"_oid;
inline constexpr AsnOid kIdAtInitials = "2.5.4.43"_oid;
inline constexpr AsnOid kIdAtGenerationQualifier = "2.5.4.44"_oid;
inline constexpr AsnOid kIdAtEnhancedSearchGuide = "2.5.4.47"_oid;
inline constexpr AsnOid kIdAt52_2 = "2.5.4.52.2"_oid;
inline constexpr AsnOid kIdAt53_2 = "2.5.4.53.2"_oid;
inline constexpr AsnOid kIdAt55_2 = "2.5.4.55.2"_oid;
inline constexpr AsnOid kIdAt56_2 = "2.5.4.56.2"_oid;
inline constexpr AsnOid kIdAt57_2 = "2.5.4.57.2"_oid;
inline constexpr AsnOid kIdAt58_2 = "2.5.4.58.2"_oid;
inline constexpr AsnOid kIdAt59_2 = "2.5.4.59.2"_oid;
inline constexpr AsnOid kIdAt60_2 = "2.5.4.60.2"_oid;
inline constexpr AsnOid kIdAtRole = "2.5.4.72"_oid;

// 2.5.29: extensions of certificates and CRLs (RFC 5280, RFC 3281)
inline constexpr AsnOid kIdCe = "2.5.29"_oid;
inline constexpr AsnOid kIdCeSubjectDirectoryAttributes = "2.5.29.9"_oid;
inline constexpr AsnOid kIdCeSubjectKeyIdentifier = "2.5.29.14"_oid;
inline constexpr AsnOid kIdCeKeyUsage = "2.5.29.15"_oid;
inline constexpr AsnOid kIdCePrivateKeyUsagePeriod = "2.5.29.16"_oid;
inline constexpr AsnOid kIdCeSubjectAltName = "2.5.29.17"_oid;
inline constexpr AsnOid kIdCeIssuerAltName = "2.5.29.18"_oid;
inline constexpr AsnOid kIdCeBasicConstraints = "2.5.29.19"_oid;
inline constexpr AsnOid kIdCeCRLNumber = "2.5.29.20"_oid;
inline constexpr AsnOid kIdCeCRLReasons = "2.5.29.21"_oid;
inline constexpr AsnOid kIdCeHoldInstructionCode = "2.5.29.23"_oid;
inline constexpr AsnOid kIdCeInvalidityDate = "2.5.29.24"_oid;
inline constexpr AsnOid kIdCeDeltaCRLIndicator = "2.5.29.27"_oid;
inline constexpr AsnOid kIdCeIssuingDistributionPoint = "2.5.29.28"_oid;
inline constexpr AsnOid kIdCeCertificateIssuer = "2.5.29.29"_oid;
inline constexpr AsnOid kIdCeNameConstraints = "2.5.29.30"_oid;
inline constexpr AsnOid kIdCeCRLDistributionPoints = "2.5.29.31"_oid;
inline constexpr AsnOid kIdCeCertificatePolicies = "2.5.29.32"_oid;
inline constexpr AsnOid kIdCePolicyMappings = "2.5.29.33"_oid;
inline constexpr AsnOid kIdCeAuthorityKeyIdentifier = "2.5.29.35"_oid;
inline constexpr AsnOid kIdCePolicyConstraints = "2.5.29.36"_oid;
inline constexpr AsnOid kIdCeExtKeyUsage = "2.5.29.37"_oid;
inline constexpr AsnOid kIdCeTargetInformation = "2.5.29.55"_oid;

}  // namespace qex
