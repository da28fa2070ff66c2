// Signing-certificate identifiers and policies: the simple attribute values of CMS (RFC 5652
// section 11), the signing-certificate attributes (RFC 2634, RFC 5035), certificate policies
// (RFC 5280 section 4.2.1.4) and the extension request (RFC 2985).
// The modules have IMPLICIT TAGS.
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

// ContentType ::= OBJECT IDENTIFIER  (RFC 5652, 11.1)  -- here: named AttrContentType
inline constexpr auto kAttrContentType = named("AttrContentType", kAsnOid);
ASN1_TOP_TYPE(AttrContentType);

// MessageDigest ::= OCTET STRING  (RFC 5652, 11.2)  -- here: named AttrMsgDigest
inline constexpr auto kAttrMsgDigest = named("AttrMsgDigest", kAsnOcts);
ASN1_TOP_TYPE(AttrMsgDigest);
ASN1_DECODER(AttrSigningTime, Time);

// ExtensionRequest ::= Extensions  (RFC 2985, 5.4.2)  -- here: named ExtensionRequest0
inline constexpr SequenceOf kExtensionRequest0 = {"ExtensionRequest0", kExtension, Top::Yes};
ASN1_TOP_TYPE(ExtensionRequest0);

// PolicyQualifierInfo ::= SEQUENCE {  (RFC 5280, 4.2.1.4)
//   policyQualifierId  PolicyQualifierId,
//   qualifier          ANY DEFINED BY policyQualifierId }
// PolicyQualifierId ::= OBJECT IDENTIFIER  (RFC 5280, 4.2.1.4)
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

// PolicyQualifiers ::= SEQUENCE OF PolicyQualifierInfo  (in PolicyInformation)
inline constexpr SequenceOf kPolicyQualifiers = {"PolicyQualifiers", kPolicyQualifierInfo};
ASN1_TYPE(PolicyQualifiers);

// PolicyInformation ::= SEQUENCE {  (RFC 5280, 4.2.1.4)
//   policyIdentifier  CertPolicyId,
//   policyQualifiers  SEQUENCE OF PolicyQualifierInfo OPTIONAL }
// CertPolicyId ::= OBJECT IDENTIFIER  (RFC 5280, 4.2.1.4)
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

// Policies ::= SEQUENCE OF PolicyInformation  (in SigningCertificate)
inline constexpr SequenceOf kPolicies = {"Policies", kPolicyInformation};
ASN1_TYPE(Policies);

// RFC 3281 has a type of this name with a third field, issuerUID BIT STRING OPTIONAL. It is refused.
//
// IssuerSerial ::= SEQUENCE {  (RFC 5035, 4)
//   issuer        GeneralNames,
//   serialNumber  CertificateSerialNumber }
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

// ESSCertID ::= SEQUENCE {  (RFC 5035, 6)
//   certHash      Hash,
//   issuerSerial  IssuerSerial OPTIONAL }
// Hash ::= OCTET STRING  (RFC 5035, 4)
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

// ESSCertIDs ::= SEQUENCE OF ESSCertID  (in SigningCertificate)
inline constexpr SequenceOf kESSCertIDs = {"ESSCertIDs", kESSCertID};
ASN1_TYPE(ESSCertIDs);

// ESSCertIDv2 ::= SEQUENCE {  (RFC 5035, 4)
//   hashAlgorithm  AlgorithmIdentifier DEFAULT {algorithm id-sha256},
//   certHash       Hash,
//   issuerSerial   IssuerSerial OPTIONAL }
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

// ESSCertIDv2s ::= SEQUENCE OF ESSCertIDv2  (in SigningCertificateV2)
inline constexpr SequenceOf kESSCertIDv2s = {"ESSCertIDv2s", kESSCertIDv2};
ASN1_TYPE(ESSCertIDv2s);

// SigningCertificate ::= SEQUENCE {  (RFC 5035, 5)
//   certs     SEQUENCE OF ESSCertID,
//   policies  SEQUENCE OF PolicyInformation OPTIONAL }
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

// SigningCertificateV2 ::= SEQUENCE {  (RFC 5035, 3)
//   certs     SEQUENCE OF ESSCertIDv2,
//   policies  SEQUENCE OF PolicyInformation OPTIONAL }
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
