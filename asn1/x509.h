// Certificates, CRLs and keys (RFC 5280, RFC 3279), and the pieces that the other ASN.1
// modules share with them: algorithm identifiers, extensions, times.
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"

namespace qex {

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

inline constexpr SetOf kAlgorithmIdentifiers = {"AlgorithmIdentifiers", kAlgorithmIdentifier};
ASN1_TYPE(AlgorithmIdentifiers);

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

inline constexpr SequenceOf kExtensions = {"Extensions", kExtension};
ASN1_TYPE(Extensions);

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

inline constexpr SequenceOf kRevokedCertificates = {"RevokedCertificates", kRevokedCertificate};
ASN1_TYPE(RevokedCertificates);

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

inline constexpr SetOf kCertificateLists = {"CertificateLists", kCertificateList};
ASN1_TYPE(CertificateLists);

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
inline constexpr auto kBigIntegerStr = named("BigIntegerStr", kBigInteger);
ASN1_TOP_TYPE(BigIntegerStr);

}  // namespace qex
