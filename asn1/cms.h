// Cryptographic Message Syntax: signed data and its parts (RFC 5652). The module has IMPLICIT TAGS.
#pragma once

#include "asn1/attrcert.h"
#include "asn1/attribute.h"
#include "asn1/codec.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

// The content is OPTIONAL as in RFC 2315: a token without content has a result of its own.
//
// ContentInfo ::= SEQUENCE {  (RFC 5652, 3)
//   contentType      ContentType,
//   content      [0] EXPLICIT ANY DEFINED BY contentType }  -- here: OPTIONAL
struct ContentInfo {
  AsnOid contentType;
  AsnAny content;  // may be absent
};
inline constexpr Sequence kContentInfo = {
    "ContentInfo",
    Top::Yes,
    must(FIELD(ContentInfo, contentType), kAsnOid),
    defined_by(FIELD(ContentInfo, contentType), may(FIELD(ContentInfo, content), kAsnAny, explicit_tag(0))),
};
ASN1_TOP_TYPE(ContentInfo);

// EncapsulatedContentInfo ::= SEQUENCE {  (RFC 5652, 5.2)
//   eContentType      ContentType,
//   eContent      [0] EXPLICIT OCTET STRING OPTIONAL }
struct EncapsulatedContentInfo {
  AsnOid eContentType;
  AsnOcts eContent;
};
inline constexpr Sequence kEncapsulatedContentInfo = {
    "EncapsulatedContentInfo",
    must(FIELD(EncapsulatedContentInfo, eContentType), kAsnOid),
    may(FIELD(EncapsulatedContentInfo, eContent), kAsnOcts, explicit_tag(0)),
};
ASN1_TYPE(EncapsulatedContentInfo);

// IssuerAndSerialNumber ::= SEQUENCE {  (RFC 5652, 10.2.4)
//   issuer        Name,
//   serialNumber  CertificateSerialNumber }
struct IssuerAndSerialNumber {
  Name* issuer;
  AsnOcts serialNumber;
};
inline constexpr Sequence kIssuerAndSerialNumber = {
    "IssuerAndSerialNumber",
    must(FIELD(IssuerAndSerialNumber, issuer), kName),
    must(FIELD(IssuerAndSerialNumber, serialNumber), kBigInteger),
};
ASN1_TYPE(IssuerAndSerialNumber);

// SignerIdentifier ::= CHOICE {  (RFC 5652, 5.3)
//   issuerAndSerialNumber      IssuerAndSerialNumber,
//   subjectKeyIdentifier   [0] SubjectKeyIdentifier }
// SubjectKeyIdentifier ::= OCTET STRING  (RFC 5652, 12.1)
struct SignerIdentifier {
  enum : AsnInt { kIssuerAndSerial, kSubjectKeyIdentifier };
  AsnInt choice;
  union {
    IssuerAndSerialNumber* issuerAndSerialNumber;
    AsnOcts* subjectKeyIdentifier;
  };
};
inline constexpr Choice kSignerIdentifier = {
    "SignerIdentifier",
    must(FIELD(SignerIdentifier, issuerAndSerialNumber), kIssuerAndSerialNumber),
    must(FIELD(SignerIdentifier, subjectKeyIdentifier), kAsnOcts, implicit_tag(0)),
};
ASN1_TYPE(SignerIdentifier);

// SignerInfo ::= SEQUENCE {  (RFC 5652, 5.3)
//   version                 CMSVersion,
//   sid                     SignerIdentifier,
//   digestAlgorithm         DigestAlgorithmIdentifier,
//   signedAttrs         [0] IMPLICIT SignedAttributes OPTIONAL,
//   signatureAlgorithm      SignatureAlgorithmIdentifier,
//   signature               SignatureValue,
//   unsignedAttrs       [1] IMPLICIT UnsignedAttributes OPTIONAL }
// CMSVersion ::= INTEGER  (RFC 5652, 10.2.5)
// SignatureAlgorithmIdentifier ::= AlgorithmIdentifier  (RFC 5652, 10.1.2)
// SignatureValue ::= OCTET STRING  (RFC 5652, 5.3)
// UnsignedAttributes ::= SET OF Attribute  (RFC 5652, 5.3)
struct SignerInfo {
  AsnInt version;
  SignerIdentifier* sid;
  AlgorithmIdentifier* digestAlgorithm;
  ListOf<Attribute>* signedAttrs;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnOcts signature;
  ListOf<Attribute>* unsignedAttrs;
};
inline constexpr Sequence kSignerInfo = {
    "SignerInfo",
    must(FIELD(SignerInfo, version), kAsnInt),
    must(FIELD(SignerInfo, sid), kSignerIdentifier),
    must(FIELD(SignerInfo, digestAlgorithm), kAlgorithmIdentifier),
    may(FIELD(SignerInfo, signedAttrs), kAttributes, implicit_tag(0)),
    must(FIELD(SignerInfo, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(SignerInfo, signature), kAsnOcts),
    may(FIELD(SignerInfo, unsignedAttrs), kAttributes, implicit_tag(1)),
};
ASN1_TYPE(SignerInfo);

// SignerInfos ::= SET OF SignerInfo  (RFC 5652, 5.1)
inline constexpr SetOf kSignerInfos = {"SignerInfos", kSignerInfo};
ASN1_TYPE(SignerInfos);

// ExtendedCertificateInfo ::= SEQUENCE {  (RFC 5652, 12.1)
//   version      CMSVersion,
//   certificate  Certificate,
//   attributes   UnauthAttributes }
// UnauthAttributes ::= SET OF Attribute  (RFC 5652, 9.1)
struct ExtendedCertificateInfo {
  AsnInt version;
  Certificate* certificate;
  ListOf<Attribute>* attributes;
};
inline constexpr Sequence kExtendedCertificateInfo = {
    "ExtendedCertificateInfo",
    must(FIELD(ExtendedCertificateInfo, version), kAsnInt),
    must(FIELD(ExtendedCertificateInfo, certificate), kCertificate),
    must(FIELD(ExtendedCertificateInfo, attributes), kAttributes),
};
ASN1_TYPE(ExtendedCertificateInfo);

// ExtendedCertificate ::= SEQUENCE {  (RFC 5652, 12.1)
//   extendedCertificateInfo  ExtendedCertificateInfo,
//   signatureAlgorithm       SignatureAlgorithmIdentifier,
//   signature                Signature }
// Signature ::= BIT STRING  (RFC 5652, 12.1)
struct ExtendedCertificate {
  ExtendedCertificateInfo* extendedCertificateInfo;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};
inline constexpr Sequence kExtendedCertificate = {
    "ExtendedCertificate",
    must(FIELD(ExtendedCertificate, extendedCertificateInfo), kExtendedCertificateInfo),
    must(FIELD(ExtendedCertificate, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(ExtendedCertificate, signature), kAsnBits),
};
ASN1_TYPE(ExtendedCertificate);

// OtherCertificateFormat ::= SEQUENCE {  (RFC 5652, 10.2.2)
//   otherCertFormat  OBJECT IDENTIFIER,
//   otherCert        ANY DEFINED BY otherCertFormat }
struct OtherCertificateFormat {
  AsnOid otherCertFormat;
  AsnAny otherCert;
};
inline constexpr Sequence kOtherCertificateFormat = {
    "OtherCertificateFormat",
    must(FIELD(OtherCertificateFormat, otherCertFormat), kAsnOid),
    defined_by(FIELD(OtherCertificateFormat, otherCertFormat),
               must(FIELD(OtherCertificateFormat, otherCert), kAsnAny)),
};
ASN1_TYPE(OtherCertificateFormat);

// CertificateChoices ::= CHOICE {  (RFC 5652, 10.2.2)
//   certificate              Certificate,
//   extendedCertificate  [0] IMPLICIT ExtendedCertificate,
//   v1AttrCert           [1] IMPLICIT AttributeCertificateV1,
//   v2AttrCert           [2] IMPLICIT AttributeCertificateV2,
//   other                [3] IMPLICIT OtherCertificateFormat }
// AttributeCertificateV2 ::= AttributeCertificate  (RFC 5652, 10.2.2)
struct CertificateChoices {
  enum : AsnInt { kX509Certificate, kPkcs6Certificate, kV1AttrCert, kV2AttrCert, kOther };
  AsnInt choice;
  union {
    Certificate* certificate;
    ExtendedCertificate* extendedCertificate;
    AttributeCertificateV1* v1AttrCert;
    AttributeCertificate* v2AttrCert;
    OtherCertificateFormat* other;
  };
};
inline constexpr Choice kCertificateChoices = {
    "CertificateChoices",
    must(FIELD(CertificateChoices, certificate), kCertificate),
    must(FIELD(CertificateChoices, extendedCertificate), kExtendedCertificate, implicit_tag(0)),
    must(FIELD(CertificateChoices, v1AttrCert), kAttributeCertificateV1, implicit_tag(1)),
    must(FIELD(CertificateChoices, v2AttrCert), kAttributeCertificate, implicit_tag(2)),
    must(FIELD(CertificateChoices, other), kOtherCertificateFormat, implicit_tag(3)),
};
ASN1_TYPE(CertificateChoices);

// CertificateSet ::= SET OF CertificateChoices  (RFC 5652, 10.2.3)
inline constexpr SetOf kCertificateSet = {"CertificateSet", kCertificateChoices};
ASN1_TYPE(CertificateSet);

// SignedData ::= SEQUENCE {  (RFC 5652, 5.1)
//   version               CMSVersion,
//   digestAlgorithms      DigestAlgorithmIdentifiers,
//   encapContentInfo      EncapsulatedContentInfo,
//   certificates      [0] IMPLICIT CertificateSet OPTIONAL,
//   crls              [1] IMPLICIT RevocationInfoChoices OPTIONAL,
//   signerInfos           SignerInfos }
struct SignedData {
  AsnInt version;
  ListOf<AlgorithmIdentifier>* digestAlgorithms;
  EncapsulatedContentInfo* encapContentInfo;
  ListOf<CertificateChoices>* certificates;
  ListOf<CertificateList>* crls;
  ListOf<SignerInfo>* signerInfos;
};
inline constexpr Sequence kSignedData = {
    "SignedData",
    Top::Yes,
    must(FIELD(SignedData, version), kAsnInt),
    must(FIELD(SignedData, digestAlgorithms), kAlgorithmIdentifiers),
    must(FIELD(SignedData, encapContentInfo), kEncapsulatedContentInfo),
    may(FIELD(SignedData, certificates), kCertificateSet, implicit_tag(0)),
    may(FIELD(SignedData, crls), kCertificateLists, implicit_tag(1)),
    must(FIELD(SignedData, signerInfos), kSignerInfos),
};
ASN1_TOP_TYPE(SignedData);

}  // namespace qex
