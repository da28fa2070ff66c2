// Attribute certificates (RFC 3281 section 4.1) and the version-1 form of X.509:1997 that
// CMS still has room for (RFC 5652 section 12.2).
#pragma once

#include "asn1/attribute.h"
#include "asn1/codec.h"
#include "asn1/ess.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

struct ObjectDigestInfo {
  AsnInt digestedObjectType;  // ENUMERATED
  AsnOid otherObjectTypeID;
  AlgorithmIdentifier* digestAlgorithm;
  AsnBits objectDigest;
};

struct Holder {
  IssuerSerial* baseCertificateID;
  AsnList* entityName;  // of GeneralName
  ObjectDigestInfo* objectDigestInfo;
};

struct V2Form {
  AsnList* issuerName;  // of GeneralName
  IssuerSerial* baseCertificateID;
  ObjectDigestInfo* objectDigestInfo;
};

struct AttCertIssuer {
  enum : AsnInt { kV1Form, kV2Form };
  AsnInt choice;
  union {
    AsnList* v1Form;  // of GeneralName
    V2Form* v2Form;
  };
};

struct AttCertValidityPeriod {
  AsnOcts notBeforeTime;
  AsnOcts notAfterTime;
};

struct AttributeCertificateInfo {
  AsnInt version;
  Holder* holder;
  AttCertIssuer* issuer;
  AlgorithmIdentifier* signature;
  AsnOcts serialNumber;
  AttCertValidityPeriod* attrCertValidityPeriod;
  AsnList* attributes;  // of Attribute
  AsnBits issuerUniqueID;
  AsnList* extensions;  // of Extension
};

struct AttributeCertificate {
  AttributeCertificateInfo* acinfo;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signatureValue;
};

// The certificates that stand in the version-1 place of a certificate set are of either form.
// They differ in whether the version may be absent and in who the certificate is for: the
// first tag after the version tells a holder from a version-1 subject.
struct AttCertSubject {
  enum : AsnInt { kHolder, kBaseCertificateID, kSubjectName };
  AsnInt choice;
  union {
    Holder* holder;
    IssuerSerial* baseCertificateID;
    AsnList* subjectName;  // of GeneralName
  };
};

struct AttributeCertificateInfoV1 {
  AsnInt* version;  // DEFAULT v1
  AttCertSubject* subject;
  AttCertIssuer* issuer;
  AlgorithmIdentifier* signature;
  AsnOcts serialNumber;
  AttCertValidityPeriod* attCertValidityPeriod;
  AsnList* attributes;  // of Attribute
  AsnBits issuerUniqueID;
  AsnList* extensions;  // of Extension
};

struct AttributeCertificateV1 {
  AttributeCertificateInfoV1* acInfo;
  AlgorithmIdentifier* signatureAlgorithm;
  AsnBits signature;
};

ASN1_TYPE(ObjectDigestInfo);
ASN1_TYPE(Holder);
ASN1_TYPE(V2Form);
ASN1_TYPE(AttCertIssuer);
ASN1_TYPE(AttCertValidityPeriod);
ASN1_TYPE(AttributeCertificateInfo);
ASN1_TOP_TYPE(AttributeCertificate);
ASN1_TYPE(AttCertSubject);
ASN1_TYPE(AttributeCertificateInfoV1);
ASN1_TYPE(AttributeCertificateV1);

}  // namespace qex
