// Certificates, CRLs and keys (RFC 5280, RFC 3279), and the pieces that the other ASN.1
// modules share with them: algorithm identifiers, extensions, times. The modules
// have EXPLICIT TAGS.
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"

namespace qex {

// AlgorithmIdentifier ::= SEQUENCE {  (RFC 5280, 4.1.1.2)
//   algorithm   OBJECT IDENTIFIER,
//   parameters  ANY DEFINED BY algorithm OPTIONAL }
struct AlgorithmIdentifier {
  AsnOid algorithm;
  AsnAny parameters;
};
inline constexpr Sequence kAlgorithmIdentifier = {
    "AlgorithmIdentifier",
    must(FIELD(AlgorithmIdentifier, algorithm), kAsnOid),
    defined_by(FIELD(AlgorithmIdentifier, algorithm), may(FIELD(AlgorithmIdentifier, parameters), kAsnAny)),
};
ASN1_TYPE(AlgorithmIdentifier);

// DigestAlgorithmIdentifiers ::= SET OF DigestAlgorithmIdentifier  (RFC 5652, 5.1)
//   -- here: named AlgorithmIdentifiers
// DigestAlgorithmIdentifier ::= AlgorithmIdentifier  (RFC 5652, 10.1.1)
inline constexpr SetOf kAlgorithmIdentifiers = {"AlgorithmIdentifiers", kAlgorithmIdentifier};
ASN1_TYPE(AlgorithmIdentifiers);

// Extension ::= SEQUENCE {  (RFC 5280, 4.1)
//   extnID     OBJECT IDENTIFIER,
//   critical   BOOLEAN DEFAULT FALSE,
//   extnValue  OCTET STRING }
struct Extension {
  AsnOid extnID;
  AsnBool* critical;
  AsnOcts extnValue;
};
inline constexpr Sequence kExtension = {
    "Extension",
    must(FIELD(Extension, extnID), kAsnOid),
    may_default(FIELD(Extension, critical), kAsnBool),
    must(FIELD(Extension, extnValue), kAsnOcts),
};
ASN1_TYPE(Extension);

// Extensions ::= SEQUENCE OF Extension  (RFC 5280, 4.1)
inline constexpr SequenceOf kExtensions = {"Extensions", kExtension};
ASN1_TYPE(Extensions);

// Time ::= CHOICE {  (RFC 5280, 4.1)
//   utcTime      UTCTime,
//   generalTime  GeneralizedTime }
struct Time {
  enum : AsnInt { kUtcTime, kGeneralTime };
  AsnInt choice;
  union {
    AsnOcts* utcTime;
    AsnOcts* generalTime;
  };
};
inline constexpr Choice kTime = {
    "Time",
    must(FIELD(Time, utcTime), kUTCTime),
    must(FIELD(Time, generalTime), kGeneralizedTime),
};
ASN1_TYPE(Time);

// Validity ::= SEQUENCE {  (RFC 5280, 4.1)
//   notBefore  Time,
//   notAfter   Time }
struct Validity {
  Time* notBefore;
  Time* notAfter;
};
inline constexpr Sequence kValidity = {
    "Validity",
    must(FIELD(Validity, notBefore), kTime),
    must(FIELD(Validity, notAfter), kTime),
};
ASN1_TYPE(Validity);

// SubjectPublicKeyInfo ::= SEQUENCE {  (RFC 5280, 4.1)
//   algorithm         AlgorithmIdentifier,
//   subjectPublicKey  BIT STRING }
struct SubjectPublicKeyInfo {
  AlgorithmIdentifier* algorithm;
  AsnBits subjectPublicKey;
};
inline constexpr Sequence kSubjectPublicKeyInfo = {
    "SubjectPublicKeyInfo",
    must(FIELD(SubjectPublicKeyInfo, algorithm), kAlgorithmIdentifier),
    must(FIELD(SubjectPublicKeyInfo, subjectPublicKey), kAsnBits),
};
ASN1_TYPE(SubjectPublicKeyInfo);

// TBSCertificate ::= SEQUENCE {  (RFC 5280, 4.1)
//   version               [0] EXPLICIT Version DEFAULT v1,
//   serialNumber              CertificateSerialNumber,
//   signature                 AlgorithmIdentifier,
//   issuer                    Name,
//   validity                  Validity,
//   subject                   Name,
//   subjectPublicKeyInfo      SubjectPublicKeyInfo,
//   issuerUniqueID        [1] IMPLICIT UniqueIdentifier OPTIONAL,
//   subjectUniqueID       [2] IMPLICIT UniqueIdentifier OPTIONAL,
//   extensions            [3] EXPLICIT Extensions OPTIONAL }
// Version ::= INTEGER { v1(0), v2(1), v3(2) }  (RFC 5280, 4.1)
// CertificateSerialNumber ::= INTEGER  (RFC 5280, 4.1)
// UniqueIdentifier ::= BIT STRING  (RFC 5280, 4.1)
struct TBSCertificate {
  AsnInt* version;
  AsnOcts serialNumber;
  AlgorithmIdentifier* signature;
  Name* issuer;
  Validity* validity;
  Name* subject;
  SubjectPublicKeyInfo* subjectPublicKeyInfo;
  AsnBits issuerUniqueID;
  AsnBits subjectUniqueID;
  ListOf<Extension>* extensions;
};
inline constexpr Sequence kTBSCertificate = {
    "TBSCertificate",
    may_default(FIELD(TBSCertificate, version), kAsnInt, explicit_tag(0)),
    must(FIELD(TBSCertificate, serialNumber), kBigInteger),
    must(FIELD(TBSCertificate, signature), kAlgorithmIdentifier),
    must(FIELD(TBSCertificate, issuer), kName),
    must(FIELD(TBSCertificate, validity), kValidity),
    must(FIELD(TBSCertificate, subject), kName),
    must(FIELD(TBSCertificate, subjectPublicKeyInfo), kSubjectPublicKeyInfo),
    may(FIELD(TBSCertificate, issuerUniqueID), kAsnBits, implicit_tag(1)),
    may(FIELD(TBSCertificate, subjectUniqueID), kAsnBits, implicit_tag(2)),
    may(FIELD(TBSCertificate, extensions), kExtensions, explicit_tag(3)),
};
ASN1_TYPE(TBSCertificate);

// Certificate ::= SEQUENCE {  (RFC 5280, A.1)
//   tbsCertificate      TBSCertificate,
//   signatureAlgorithm  AlgorithmIdentifier,
//   signature           BIT STRING }
struct Certificate {
  TBSCertificate* tbsCertificate;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};
inline constexpr Sequence kCertificate = {
    "Certificate",
    Top::Yes,
    must(FIELD(Certificate, tbsCertificate), kTBSCertificate),
    must(FIELD(Certificate, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(Certificate, signature), kAsnBits),
};
ASN1_TOP_TYPE(Certificate);

// RevokedCertificate ::= SEQUENCE {  (in TBSCertList)
//   userCertificate     CertificateSerialNumber,
//   revocationDate      Time,
//   crlEntryExtensions  Extensions OPTIONAL }
struct RevokedCertificate {
  AsnOcts userCertificate;
  Time* revocationDate;
  ListOf<Extension>* crlEntryExtensions;
};
inline constexpr Sequence kRevokedCertificate = {
    "RevokedCertificate",
    must(FIELD(RevokedCertificate, userCertificate), kBigInteger),
    must(FIELD(RevokedCertificate, revocationDate), kTime),
    may(FIELD(RevokedCertificate, crlEntryExtensions), kExtensions),
};
ASN1_TYPE(RevokedCertificate);

// RevokedCertificates ::= SEQUENCE OF RevokedCertificate  (in TBSCertList)
inline constexpr SequenceOf kRevokedCertificates = {"RevokedCertificates", kRevokedCertificate};
ASN1_TYPE(RevokedCertificates);

// TBSCertList ::= SEQUENCE {  (RFC 5280, 5.1)
//   version                  Version OPTIONAL,
//   signature                AlgorithmIdentifier,
//   issuer                   Name,
//   thisUpdate               Time,
//   nextUpdate               Time OPTIONAL,
//   revokedCertificates      SEQUENCE OF SEQUENCE {
//     userCertificate          CertificateSerialNumber,
//     revocationDate           Time,
//     crlEntryExtensions       Extensions OPTIONAL } OPTIONAL,
//   crlExtensions        [0] EXPLICIT Extensions OPTIONAL }
struct TBSCertList {
  AsnInt* version;
  AlgorithmIdentifier* signature;
  Name* issuer;
  Time* thisUpdate;
  Time* nextUpdate;
  ListOf<RevokedCertificate>* revokedCertificates;
  ListOf<Extension>* crlExtensions;
};
inline constexpr Sequence kTBSCertList = {
    "TBSCertList",
    may(FIELD(TBSCertList, version), kAsnInt),
    must(FIELD(TBSCertList, signature), kAlgorithmIdentifier),
    must(FIELD(TBSCertList, issuer), kName),
    must(FIELD(TBSCertList, thisUpdate), kTime),
    may(FIELD(TBSCertList, nextUpdate), kTime),
    may(FIELD(TBSCertList, revokedCertificates), kRevokedCertificates),
    may(FIELD(TBSCertList, crlExtensions), kExtensions, explicit_tag(0)),
};
ASN1_TYPE(TBSCertList);

// CertificateList ::= SEQUENCE {  (RFC 5280, A.1)
//   tbsCertList         TBSCertList,
//   signatureAlgorithm  AlgorithmIdentifier,
//   signature           BIT STRING }
struct CertificateList {
  TBSCertList* tbsCertList;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};
inline constexpr Sequence kCertificateList = {
    "CertificateList",
    must(FIELD(CertificateList, tbsCertList), kTBSCertList),
    must(FIELD(CertificateList, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(CertificateList, signature), kAsnBits),
};
ASN1_TYPE(CertificateList);

// Of the revocation information that CMS has room for, CRLs are read; another kind is refused.
//
// RevocationInfoChoices ::= SET OF RevocationInfoChoice  (RFC 5652, 10.2.1)
//   -- here: named CertificateLists, of CertificateList
inline constexpr SetOf kCertificateLists = {"CertificateLists", kCertificateList};
ASN1_TYPE(CertificateLists);

// RSAPublicKey ::= SEQUENCE {  (RFC 3279, 2.3.1)
//   modulus         INTEGER,
//   publicExponent  INTEGER }
struct RSAPublicKey {
  AsnOcts modulus;
  AsnOcts publicExponent;
};
inline constexpr Sequence kRSAPublicKey = {
    "RSAPublicKey",
    Top::Yes,
    must(FIELD(RSAPublicKey, modulus), kBigInteger),
    must(FIELD(RSAPublicKey, publicExponent), kBigInteger),
};
ASN1_TOP_TYPE(RSAPublicKey);

// Dss-Parms ::= SEQUENCE {  (RFC 3279, 2.3.2)
//   p  INTEGER,
//   q  INTEGER,
//   g  INTEGER }
struct Dss_Parms {
  AsnOcts p;
  AsnOcts q;
  AsnOcts g;
};
inline constexpr Sequence kDss_Parms = {
    "Dss_Parms_BI",
    Top::Yes,
    must(FIELD(Dss_Parms, p), kBigInteger),
    must(FIELD(Dss_Parms, q), kBigInteger),
    must(FIELD(Dss_Parms, g), kBigInteger),
};
ASN1_TYPE(Dss_Parms);
ASN1_DECODER(Dss_Parms_BI, Dss_Parms);

// Dss-Sig-Value ::= SEQUENCE {  (RFC 3279, 2.2.2)
//   r  INTEGER,
//   s  INTEGER }
struct Dss_Sig_Value {
  AsnOcts r;
  AsnOcts s;
};
inline constexpr Sequence kDss_Sig_Value = {
    "Dss_Sig_Value_BI",
    Top::Yes,
    must(FIELD(Dss_Sig_Value, r), kBigInteger),
    must(FIELD(Dss_Sig_Value, s), kBigInteger),
};
ASN1_TYPE(Dss_Sig_Value);
ASN1_DECODER(Dss_Sig_Value_BI, Dss_Sig_Value);

// DigestInfo ::= SEQUENCE {  (RFC 2315, 9.4)
//   digestAlgorithm  DigestAlgorithmIdentifier,
//   digest           Digest }
// Digest ::= OCTET STRING  (RFC 2315, 9.4)
struct DigestInfo {
  AlgorithmIdentifier* digestAlgorithm;
  AsnOcts digest;
};
inline constexpr Sequence kDigestInfo = {
    "DigestInfo",
    must(FIELD(DigestInfo, digestAlgorithm), kAlgorithmIdentifier),
    must(FIELD(DigestInfo, digest), kAsnOcts),
};
ASN1_TYPE(DigestInfo);

// An INTEGER as its contents octets.
//
// DSAPublicKey ::= INTEGER  (RFC 3279, 2.3.2)  -- here: named BigIntegerStr
inline constexpr auto kBigIntegerStr = named("BigIntegerStr", kBigInteger);
ASN1_TOP_TYPE(BigIntegerStr);

}  // namespace qex
