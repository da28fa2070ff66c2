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

struct Extension {
  AsnOid extnID;
  AsnBool* critical;
  AsnOcts extnValue;
};

struct Time {
  enum : AsnInt { kUtcTime, kGeneralTime };
  AsnInt choice;
  union {
    AsnOcts* utcTime;
    AsnOcts* generalTime;
  };
};

struct Validity {
  Time* notBefore;
  Time* notAfter;
};

struct SubjectPublicKeyInfo {
  AlgorithmIdentifier* algorithm;
  AsnBits subjectPublicKey;
};

struct TBSCertificate {
  AsnInt* version;  // DEFAULT v1
  AsnOcts serialNumber;
  AlgorithmIdentifier* signature;
  Name* issuer;
  Validity* validity;
  Name* subject;
  SubjectPublicKeyInfo* subjectPublicKeyInfo;
  AsnBits issuerUniqueID;
  AsnBits subjectUniqueID;
  AsnList* extensions;  // of Extension
};

struct Certificate {
  TBSCertificate* tbsCertificate;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};

struct RevokedCertificate {
  AsnOcts userCertificate;
  Time* revocationDate;
  AsnList* crlEntryExtensions;  // of Extension
};

struct TBSCertList {
  AsnInt* version;
  AlgorithmIdentifier* signature;
  Name* issuer;
  Time* thisUpdate;
  Time* nextUpdate;
  AsnList* revokedCertificates;  // of RevokedCertificate
  AsnList* crlExtensions;        // of Extension
};

struct CertificateList {
  TBSCertList* tbsCertList;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};

struct RSAPublicKey {
  AsnOcts modulus;
  AsnOcts publicExponent;
};

struct Dss_Parms {
  AsnOcts p;
  AsnOcts q;
  AsnOcts g;
};

struct Dss_Sig_Value {
  AsnOcts r;
  AsnOcts s;
};

struct DigestInfo {
  AlgorithmIdentifier* digestAlgorithm;
  AsnOcts digest;
};

ASN1_TYPE(AlgorithmIdentifier);
ASN1_TYPE_OF(AlgorithmIdentifiers, AsnList);  // SET OF AlgorithmIdentifier
ASN1_TYPE(Extension);
ASN1_TYPE_OF(Extensions, AsnList);  // SEQUENCE OF Extension
ASN1_TYPE(Time);
ASN1_TYPE(Validity);
ASN1_TYPE(SubjectPublicKeyInfo);
ASN1_TYPE(TBSCertificate);
ASN1_TOP_TYPE(Certificate);
ASN1_TYPE(RevokedCertificate);
ASN1_TYPE_OF(RevokedCertificates, AsnList);  // SEQUENCE OF RevokedCertificate
ASN1_TYPE(TBSCertList);
ASN1_TYPE(CertificateList);
ASN1_TYPE_OF(CertificateLists, AsnList);  // SET OF CertificateList
ASN1_TOP_TYPE(RSAPublicKey);
ASN1_TYPE(Dss_Parms);
ASN1_DECODER(Dss_Parms_BI, Dss_Parms, Dss_Parms);
ASN1_TYPE(Dss_Sig_Value);
ASN1_DECODER(Dss_Sig_Value_BI, Dss_Sig_Value, Dss_Sig_Value);
ASN1_TYPE(DigestInfo);
ASN1_TYPE_OF(BigIntegerStr, AsnOcts);  // an INTEGER as its contents octets
ASN1_DECODER(BigIntegerStr, BigIntegerStr, AsnOcts);

}  // namespace qex
