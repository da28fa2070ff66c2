// Cryptographic Message Syntax: signed data and what it carries (RFC 5652).
#pragma once

#include "asn1/attrcert.h"
#include "asn1/attribute.h"
#include "asn1/codec.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

struct ContentInfo {
  AsnOid contentType;
  AsnAny content;  // may be absent
};

struct EncapsulatedContentInfo {
  AsnOid eContentType;
  AsnOcts eContent;
};

struct IssuerAndSerialNumber {
  Name* issuer;
  AsnOcts serialNumber;
};

struct SignerIdentifier {
  enum : AsnInt { kIssuerAndSerialNumber, kSubjectKeyIdentifier };
  AsnInt choice;
  union {
    IssuerAndSerialNumber* issuerAndSerialNumber;
    AsnOcts* subjectKeyIdentifier;
  };
};

struct SignerInfo {
  AsnInt version;
  SignerIdentifier* sid;
  AlgorithmIdentifier* digestAlgorithm;
  AsnList* signedAttrs;  // of Attribute
  AlgorithmIdentifier* signatureAlgorithm;
  AsnOcts signature;
  AsnList* unsignedAttrs;  // of Attribute
};

struct ExtendedCertificateInfo {
  AsnInt version;
  Certificate* certificate;
  AsnList* attributes;  // of Attribute
};

struct ExtendedCertificate {
  ExtendedCertificateInfo* extendedCertificateInfo;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};

struct OtherCertificateFormat {
  AsnOid otherCertFormat;
  AsnAny otherCert;
};

struct CertificateChoices {
  enum : AsnInt { kX509Certificate, kExtendedCertificate, kV1AttrCert, kV2AttrCert, kOther };
  AsnInt choice;
  union {
    Certificate* certificate;
    ExtendedCertificate* extendedCertificate;
    AttributeCertificateV1* v1AttrCert;
    AttributeCertificate* v2AttrCert;
    OtherCertificateFormat* other;
  };
};

struct SignedData {
  AsnInt version;
  AsnList* digestAlgorithms;  // of AlgorithmIdentifier
  EncapsulatedContentInfo* encapContentInfo;
  AsnList* certificates;  // of CertificateChoices
  AsnList* crls;          // of CertificateList
  AsnList* signerInfos;   // of SignerInfo
};

ASN1_TOP_TYPE(ContentInfo);
ASN1_TYPE(EncapsulatedContentInfo);
ASN1_TYPE(IssuerAndSerialNumber);
ASN1_TYPE(SignerIdentifier);
ASN1_TYPE(SignerInfo);
ASN1_TYPE_OF(SignerInfos, AsnList);  // SET OF SignerInfo
ASN1_TYPE(ExtendedCertificateInfo);
ASN1_TYPE(ExtendedCertificate);
ASN1_TYPE(OtherCertificateFormat);
ASN1_TYPE(CertificateChoices);
ASN1_TYPE_OF(CertificateSet, AsnList);  // SET OF CertificateChoices
ASN1_TOP_TYPE(SignedData);

}  // namespace qex
