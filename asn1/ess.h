// Signing-certificate identifiers and policies: the simple attribute values of CMS (RFC 5652
// section 11), the signing-certificate attributes (RFC 2634, RFC 5035), certificate policies
// (RFC 5280 section 4.2.1.4) and the extension request (RFC 2985).
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

inline constexpr auto kAttrContentType = named("AttrContentType", kAsnOid);
ASN1_TOP_TYPE(AttrContentType);

inline constexpr auto kAttrMsgDigest = named("AttrMsgDigest", kAsnOcts);
ASN1_TOP_TYPE(AttrMsgDigest);
ASN1_DECODER(AttrSigningTime, Time);

inline constexpr SequenceOf kExtensionRequest0 = {"ExtensionRequest0", kExtension, Top::Yes};
ASN1_TOP_TYPE(ExtensionRequest0);

struct PolicyQualifierInfo {
  AsnOid policyQualifierId;
  AsnAny qualifier;
};
inline constexpr Sequence kPolicyQualifierInfo = {
    "PolicyQualifierInfo",
    must(FIELD(PolicyQualifierInfo, policyQualifierId), kAsnOid),
    defined_by(FIELD(PolicyQualifierInfo, policyQualifierId),
               must(FIELD(PolicyQualifierInfo, qualifier), kAsnAny)),
};
ASN1_TYPE(PolicyQualifierInfo);

inline constexpr SequenceOf kPolicyQualifiers = {"PolicyQualifiers", kPolicyQualifierInfo};
ASN1_TYPE(PolicyQualifiers);

struct PolicyInformation {
  AsnOid policyIdentifier;
  ListOf<PolicyQualifierInfo>* policyQualifiers;
};
inline constexpr Sequence kPolicyInformation = {
    "PolicyInformation",
    must(FIELD(PolicyInformation, policyIdentifier), kAsnOid),
    may(FIELD(PolicyInformation, policyQualifiers), kPolicyQualifiers),
};
ASN1_TYPE(PolicyInformation);

inline constexpr SequenceOf kPolicies = {"Policies", kPolicyInformation};
ASN1_TYPE(Policies);

struct IssuerSerial {
  ListOf<GeneralName>* issuer;
  AsnOcts serialNumber;
};
inline constexpr Sequence kIssuerSerial = {
    "IssuerSerial",
    must(FIELD(IssuerSerial, issuer), kGeneralNames),
    must(FIELD(IssuerSerial, serialNumber), kBigInteger),
};
ASN1_TYPE(IssuerSerial);

struct ESSCertID {
  AsnOcts certHash;  // SHA-1 of the whole certificate
  IssuerSerial* issuerSerial;
};
inline constexpr Sequence kESSCertID = {
    "ESSCertID",
    must(FIELD(ESSCertID, certHash), kAsnOcts),
    may(FIELD(ESSCertID, issuerSerial), kIssuerSerial),
};
ASN1_TYPE(ESSCertID);

inline constexpr SequenceOf kESSCertIDs = {"ESSCertIDs", kESSCertID};
ASN1_TYPE(ESSCertIDs);

struct ESSCertIDv2 {
  AlgorithmIdentifier* hashAlgorithm;
  AsnOcts certHash;
  IssuerSerial* issuerSerial;
};
inline constexpr Sequence kESSCertIDv2 = {
    "ESSCertIDv2",
    may_default(FIELD(ESSCertIDv2, hashAlgorithm), kAlgorithmIdentifier),
    must(FIELD(ESSCertIDv2, certHash), kAsnOcts),
    may(FIELD(ESSCertIDv2, issuerSerial), kIssuerSerial),
};
ASN1_TYPE(ESSCertIDv2);

inline constexpr SequenceOf kESSCertIDv2s = {"ESSCertIDv2s", kESSCertIDv2};
ASN1_TYPE(ESSCertIDv2s);

struct SigningCertificate {
  ListOf<ESSCertID>* certs;
  ListOf<PolicyInformation>* policies;
};
inline constexpr Sequence kSigningCertificate = {
    "SigningCertAttrParams",
    Top::Yes,
    must(FIELD(SigningCertificate, certs), kESSCertIDs),
    may(FIELD(SigningCertificate, policies), kPolicies),
};
ASN1_TYPE(SigningCertificate);
ASN1_DECODER(SigningCertAttrParams, SigningCertificate);

struct SigningCertificateV2 {
  ListOf<ESSCertIDv2>* certs;
  ListOf<PolicyInformation>* policies;
};
inline constexpr Sequence kSigningCertificateV2 = {
    "SigningCertV2AttrParams",
    Top::Yes,
    must(FIELD(SigningCertificateV2, certs), kESSCertIDv2s),
    may(FIELD(SigningCertificateV2, policies), kPolicies),
};
ASN1_TYPE(SigningCertificateV2);
ASN1_DECODER(SigningCertV2AttrParams, SigningCertificateV2);

}  // namespace qex
