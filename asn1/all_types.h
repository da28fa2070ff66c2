// Every type that has error codes, in the order of kCodeRuns.
//
// Tests and fuzz targets that iterate over all types use this list.
#pragma once

#include "asn1/attrcert.h"
#include "asn1/attribute.h"
#include "asn1/cades.h"
#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/names.h"
#include "asn1/timestamp.h"
#include "asn1/timing.h"
#include "asn1/x400.h"
#include "asn1/x509.h"
#include "asn1/x520.h"

namespace qex {

inline constexpr const Type* kAllTypes[] = {
    // Names
    &kAttributeTypeAndValue,
    &kRelativeDistinguishedName,
    &kDistinguishedName,
    &kName,
    &kDirectoryString,
    &kOtherName,
    &kEDIPartyName,
    &kGeneralName,
    &kGeneralNames,
    // Certificates, CRLs, keys
    &kAlgorithmIdentifier,
    &kAlgorithmIdentifiers,
    &kExtension,
    &kExtensions,
    &kTime,
    &kValidity,
    &kSubjectPublicKeyInfo,
    &kTBSCertificate,
    &kCertificate,
    &kRevokedCertificate,
    &kRevokedCertificates,
    &kTBSCertList,
    &kCertificateList,
    &kCertificateLists,
    &kRSAPublicKey,
    &kDss_Parms,
    &kDss_Sig_Value,
    &kDigestInfo,
    &kBigIntegerStr,
    // X.400 addresses
    &kCountryName,
    &kAdministrationDomainName,
    &kPrivateDomainName,
    &kPersonalName,
    &kOrganizationalUnitNames,
    &kBuiltInStandardAttributes,
    &kBuiltInDomainDefinedAttribute,
    &kBuiltInDomainDefinedAttributes,
    &kExtensionAttribute,
    &kExtensionAttributes,
    &kORAddress,
    // X.520 attribute syntaxes
    &kPrintableString1,
    &kX520InternationalISDNNumber,
    &kX121Address,
    &kDomainComponent,
    &kPkcs9email,
    &kX520PreferredDeliveryMethod,
    &kX520PostalAddress,
    &kX520TelexNumber,
    &kX520FacsimileTelephoneNumber,
    &kNetworkAddresses,
    &kX520PresentationAddress,
    &kProtocolProfiles,
    &kX520ProtocolInformation,
    &kX520UniqueMember,
    // Attributes
    &kAttribute,
    &kAttributes,
    &kAttributeSequence,
    // Signing certificates and policies
    &kAttrContentType,
    &kAttrMsgDigest,
    &kExtensionRequest0,
    &kPolicyQualifierInfo,
    &kPolicyQualifiers,
    &kPolicyInformation,
    &kPolicies,
    &kIssuerSerial,
    &kESSCertID,
    &kESSCertIDs,
    &kESSCertIDv2,
    &kESSCertIDv2s,
    &kSigningCertificate,
    &kSigningCertificateV2,
    // Attribute certificates
    &kObjectDigestInfo,
    &kHolder,
    &kV2Form,
    &kAttCertIssuer,
    &kAttCertValidityPeriod,
    &kAttributeCertificateInfo,
    &kAttributeCertificate,
    &kAttCertSubject,
    &kAttributeCertificateInfoV1,
    &kAttributeCertificateV1,
    // CMS
    &kContentInfo,
    &kEncapsulatedContentInfo,
    &kIssuerAndSerialNumber,
    &kSignerIdentifier,
    &kSignerInfo,
    &kSignerInfos,
    &kExtendedCertificateInfo,
    &kExtendedCertificate,
    &kOtherCertificateFormat,
    &kCertificateChoices,
    &kCertificateSet,
    &kSignedData,
    // Signature policy and signer attributes
    &kOtherHashAlgAndValue,
    &kSigPolicyQualifierInfo,
    &kSigPolicyQualifiers,
    &kSignaturePolicyId,
    &kSignaturePolicyIdentifier,
    &kSignerAttributeChoice,
    &kSignerAttribute,
    // Timing attributes
    &kTimeValue,
    &kLeapData,
    &kLeapEvent,
    &kTimingMetrics,
    &kTimingMeticsObj,
    &kTimingPolicyId,
    &kTimingPolicyIds,
    &kTimingPolicy,
    &kTimingPolicyObj,
    // Time-stamp protocol
    &kTimeStampReq,
    &kMessageImprint,
    &kPKIFreeText,
    &kPKIStatusInfo,
    &kTimeStampResp,
    &kAccuracy,
    &kTSTInfo,
};

// Compares the list with the rows, both in their order; a further row of a type is passed over.
constexpr void check_listed(std::string_view row, std::string_view listed, bool isFurther) {
  if (row != listed && !isFurther) {
    throw "kAllTypes has another type, or none, where kCodeRuns names this one";
  }
}
[[nodiscard]] constexpr bool all_types_are_listed(std::span<const Type* const> types) {
  size_t i = 0;
  for (const CodeRun& run : kCodeRuns) {
    const std::string_view listed = i == types.size() ? "" : types[i]->name;
    bool isFurther = false;
    if (listed != run.type) {
      for (size_t k = 0; k < i; ++k) isFurther = isFurther || types[k]->name == run.type;
    }
    check_listed(run.type, listed, isFurther);
    i += !isFurther;
  }
  if (i != types.size()) throw "kAllTypes lists a type twice";
  return true;
}
static_assert(all_types_are_listed(kAllTypes), "kAllTypes lists the types of kCodeRuns in their order");

}  // namespace qex
