// Attribute certificates (RFC 3281 section 4.1) and the version-1 form of X.509:1997 that
// CMS still has room for (RFC 5652 section 12.2). The module of RFC 3281 has IMPLICIT TAGS.
#pragma once

#include "asn1/attribute.h"
#include "asn1/codec.h"
#include "asn1/ess.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

// ObjectDigestInfo ::= SEQUENCE {  (RFC 3281, 4.1)
//   digestedObjectType  ENUMERATED { publicKey(0), publicKeyCert(1), otherObjectTypes(2) },
//   otherObjectTypeID   OBJECT IDENTIFIER OPTIONAL,
//   digestAlgorithm     AlgorithmIdentifier,
//   objectDigest        BIT STRING }
struct ObjectDigestInfo {
  AsnInt digestedObjectType;
  AsnOid otherObjectTypeID;
  AlgorithmIdentifier* digestAlgorithm;
  AsnBits objectDigest;
};
inline constexpr Sequence kObjectDigestInfo = {
    "ObjectDigestInfo",
    must(FIELD(ObjectDigestInfo, digestedObjectType), kEnumerated),
    may(FIELD(ObjectDigestInfo, otherObjectTypeID), kAsnOid),
    must(FIELD(ObjectDigestInfo, digestAlgorithm), kAlgorithmIdentifier),
    must(FIELD(ObjectDigestInfo, objectDigest), kAsnBits),
};
ASN1_TYPE(ObjectDigestInfo);

// Holder ::= SEQUENCE {  (RFC 3281, 4.1)
//   baseCertificateID  [0] IssuerSerial OPTIONAL,
//   entityName         [1] GeneralNames OPTIONAL,
//   objectDigestInfo   [2] ObjectDigestInfo OPTIONAL }
struct Holder {
  IssuerSerial* baseCertificateID;
  ListOf<GeneralName>* entityName;
  ObjectDigestInfo* objectDigestInfo;
};
inline constexpr Sequence kHolder = {
    "Holder",
    may(FIELD(Holder, baseCertificateID), kIssuerSerial, implicit_tag(0)),
    may(FIELD(Holder, entityName), kGeneralNames, implicit_tag(1)),
    may(FIELD(Holder, objectDigestInfo), kObjectDigestInfo, implicit_tag(2)),
};
ASN1_TYPE(Holder);

// V2Form ::= SEQUENCE {  (RFC 3281, 4.1)
//   issuerName             GeneralNames OPTIONAL,
//   baseCertificateID  [0] IssuerSerial OPTIONAL,
//   objectDigestInfo   [1] ObjectDigestInfo OPTIONAL }
struct V2Form {
  ListOf<GeneralName>* issuerName;
  IssuerSerial* baseCertificateID;
  ObjectDigestInfo* objectDigestInfo;
};
inline constexpr Sequence kV2Form = {
    "V2Form",
    may(FIELD(V2Form, issuerName), kGeneralNames),
    may(FIELD(V2Form, baseCertificateID), kIssuerSerial, implicit_tag(0)),
    may(FIELD(V2Form, objectDigestInfo), kObjectDigestInfo, implicit_tag(1)),
};
ASN1_TYPE(V2Form);

// AttCertIssuer ::= CHOICE {  (RFC 3281, 4.1)
//   v1Form      GeneralNames,
//   v2Form  [0] V2Form }
struct AttCertIssuer {
  enum : AsnInt { kV1Issuer, kV2Issuer };
  AsnInt choice;
  union {
    ListOf<GeneralName>* v1Form;
    V2Form* v2Form;
  };
};
inline constexpr Choice kAttCertIssuer = {
    "AttCertIssuer",
    must(FIELD(AttCertIssuer, v1Form), kGeneralNames),
    must(FIELD(AttCertIssuer, v2Form), kV2Form, implicit_tag(0)),
};
ASN1_TYPE(AttCertIssuer);

// AttCertValidityPeriod ::= SEQUENCE {  (RFC 3281, 4.1)
//   notBeforeTime  GeneralizedTime,
//   notAfterTime   GeneralizedTime }
struct AttCertValidityPeriod {
  AsnOcts notBeforeTime;
  AsnOcts notAfterTime;
};
inline constexpr Sequence kAttCertValidityPeriod = {
    "AttCertValidityPeriod",
    must(FIELD(AttCertValidityPeriod, notBeforeTime), kGeneralizedTime),
    must(FIELD(AttCertValidityPeriod, notAfterTime), kGeneralizedTime),
};
ASN1_TYPE(AttCertValidityPeriod);

// AttributeCertificateInfo ::= SEQUENCE {  (RFC 3281, 4.1)
//   version                 AttCertVersion,
//   holder                  Holder,
//   issuer                  AttCertIssuer,
//   signature               AlgorithmIdentifier,
//   serialNumber            CertificateSerialNumber,
//   attrCertValidityPeriod  AttCertValidityPeriod,
//   attributes              SEQUENCE OF Attribute,
//   issuerUniqueID          UniqueIdentifier OPTIONAL,
//   extensions              Extensions OPTIONAL }
// AttCertVersion ::= INTEGER { v2(1) }  (RFC 3281, 4.1)
struct AttributeCertificateInfo {
  AsnInt version;
  Holder* holder;
  AttCertIssuer* issuer;
  AlgorithmIdentifier* signature;
  AsnOcts serialNumber;
  AttCertValidityPeriod* attrCertValidityPeriod;
  ListOf<Attribute>* attributes;
  AsnBits issuerUniqueID;
  ListOf<Extension>* extensions;
};
inline constexpr Sequence kAttributeCertificateInfo = {
    "AttributeCertificateInfo",
    must(FIELD(AttributeCertificateInfo, version), kAsnInt),
    must(FIELD(AttributeCertificateInfo, holder), kHolder),
    must(FIELD(AttributeCertificateInfo, issuer), kAttCertIssuer),
    must(FIELD(AttributeCertificateInfo, signature), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificateInfo, serialNumber), kBigInteger),
    must(FIELD(AttributeCertificateInfo, attrCertValidityPeriod), kAttCertValidityPeriod),
    must(FIELD(AttributeCertificateInfo, attributes), kAttributeSequence),
    may(FIELD(AttributeCertificateInfo, issuerUniqueID), kAsnBits),
    may(FIELD(AttributeCertificateInfo, extensions), kExtensions),
};
ASN1_TYPE(AttributeCertificateInfo);

// AttributeCertificate ::= SEQUENCE {  (RFC 3281, 4.1)
//   acinfo              AttributeCertificateInfo,
//   signatureAlgorithm  AlgorithmIdentifier,
//   signatureValue      BIT STRING }
struct AttributeCertificate {
  AttributeCertificateInfo* acinfo;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signatureValue;
};
inline constexpr Sequence kAttributeCertificate = {
    "AttributeCertificate",
    Top::Yes,
    must(FIELD(AttributeCertificate, acinfo), kAttributeCertificateInfo),
    must(FIELD(AttributeCertificate, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificate, signatureValue), kAsnBits),
};
ASN1_TOP_TYPE(AttributeCertificate);

// The certificates in the version-1 place of a certificate set are of either form. They differ in whether the
// version may be absent and in the owner of the certificate: the first tag after the version distinguishes a
// holder from a version-1 subject.
//
// AttCertSubject ::= CHOICE {  (of this library; EXPLICIT TAGS)
//   holder                 Holder,
//   baseCertificateID  [0] IssuerSerial,
//   subjectName        [1] GeneralNames }
struct AttCertSubject {
  enum : AsnInt { kRfc3281Holder, kBaseCertificateID, kSubjectName };
  AsnInt choice;
  union {
    Holder* holder;
    IssuerSerial* baseCertificateID;
    ListOf<GeneralName>* subjectName;
  };
};
inline constexpr Choice kAttCertSubject = {
    "AttCertSubject",
    must(FIELD(AttCertSubject, holder), kHolder),
    must(FIELD(AttCertSubject, baseCertificateID), kIssuerSerial, explicit_tag(0)),
    must(FIELD(AttCertSubject, subjectName), kGeneralNames, explicit_tag(1)),
};
ASN1_TYPE(AttCertSubject);

// AttributeCertificateInfoV1 ::= SEQUENCE {  (RFC 5652, 12.2; EXPLICIT TAGS)
//   version                AttCertVersionV1 DEFAULT v1,
//   subject                CHOICE {
//     baseCertificateID  [0] IssuerSerial,
//     subjectName        [1] GeneralNames },  -- here: widened to AttCertSubject
//   issuer                 GeneralNames,  -- here: widened to AttCertIssuer
//   signature              AlgorithmIdentifier,
//   serialNumber           CertificateSerialNumber,
//   attCertValidityPeriod  AttCertValidityPeriod,
//   attributes             SEQUENCE OF Attribute,
//   issuerUniqueID         UniqueIdentifier OPTIONAL,
//   extensions             Extensions OPTIONAL }
// AttCertVersionV1 ::= INTEGER { v1(0) }  (RFC 5652, 12.2)
struct AttributeCertificateInfoV1 {
  AsnInt* version;
  AttCertSubject* subject;
  AttCertIssuer* issuer;
  AlgorithmIdentifier* signature;
  AsnOcts serialNumber;
  AttCertValidityPeriod* attCertValidityPeriod;
  ListOf<Attribute>* attributes;
  AsnBits issuerUniqueID;
  ListOf<Extension>* extensions;
};
inline constexpr Sequence kAttributeCertificateInfoV1 = {
    "AttributeCertificateInfoV1",
    may_default(FIELD(AttributeCertificateInfoV1, version), kAsnInt),
    must(FIELD(AttributeCertificateInfoV1, subject), kAttCertSubject),
    must(FIELD(AttributeCertificateInfoV1, issuer), kAttCertIssuer),
    must(FIELD(AttributeCertificateInfoV1, signature), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificateInfoV1, serialNumber), kBigInteger),
    must(FIELD(AttributeCertificateInfoV1, attCertValidityPeriod), kAttCertValidityPeriod),
    must(FIELD(AttributeCertificateInfoV1, attributes), kAttributeSequence),
    may(FIELD(AttributeCertificateInfoV1, issuerUniqueID), kAsnBits),
    may(FIELD(AttributeCertificateInfoV1, extensions), kExtensions),
};
ASN1_TYPE(AttributeCertificateInfoV1);

// AttributeCertificateV1 ::= SEQUENCE {  (RFC 5652, 12.2)
//   acInfo              AttributeCertificateInfoV1,
//   signatureAlgorithm  AlgorithmIdentifier,
//   signature           BIT STRING }
struct AttributeCertificateV1 {
  AttributeCertificateInfoV1* acInfo;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};
inline constexpr Sequence kAttributeCertificateV1 = {
    "AttributeCertificateV1",
    must(FIELD(AttributeCertificateV1, acInfo), kAttributeCertificateInfoV1),
    must(FIELD(AttributeCertificateV1, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificateV1, signature), kAsnBits),
};
ASN1_TYPE(AttributeCertificateV1);

}  // namespace qex
