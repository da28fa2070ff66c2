// Signing-certificate identifiers and policies: the simple attribute values of CMS (RFC 5652
// section 11), the signing-certificate attributes (RFC 2634, RFC 5035), certificate policies
// (RFC 5280 section 4.2.1.4) and the extension request (RFC 2985).
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"
#include "asn1/x509.h"

namespace qex {

struct PolicyQualifierInfo {
  AsnOid policyQualifierId;
  AsnAny qualifier;
};

struct PolicyInformation {
  AsnOid policyIdentifier;
  AsnList* policyQualifiers;  // of PolicyQualifierInfo
};

struct IssuerSerial {
  AsnList* issuer;  // of GeneralName
  AsnOcts serialNumber;
};

struct ESSCertID {
  AsnOcts certHash;  // SHA-1 of the whole certificate
  IssuerSerial* issuerSerial;
};

struct ESSCertIDv2 {
  AlgorithmIdentifier* hashAlgorithm;  // DEFAULT SHA-256; absent stays absent
  AsnOcts certHash;
  IssuerSerial* issuerSerial;
};

struct SigningCertificate {
  AsnList* certs;     // of ESSCertID
  AsnList* policies;  // of PolicyInformation
};

struct SigningCertificateV2 {
  AsnList* certs;     // of ESSCertIDv2
  AsnList* policies;  // of PolicyInformation
};

ASN1_TYPE_OF(AttrContentType, AsnOid);
ASN1_DECODER(AttrContentType, AttrContentType, AsnOid);
ASN1_TYPE_OF(AttrMsgDigest, AsnOcts);
ASN1_DECODER(AttrMsgDigest, AttrMsgDigest, AsnOcts);
ASN1_DECODER(AttrSigningTime, Time, Time);
ASN1_TYPE_OF(ExtensionRequest0, AsnList);  // SEQUENCE OF Extension
ASN1_DECODER(ExtensionRequest0, ExtensionRequest0, AsnList);

ASN1_TYPE(PolicyQualifierInfo);
ASN1_TYPE_OF(PolicyQualifiers, AsnList);  // SEQUENCE OF PolicyQualifierInfo
ASN1_TYPE(PolicyInformation);
ASN1_TYPE_OF(Policies, AsnList);  // SEQUENCE OF PolicyInformation
ASN1_TYPE(IssuerSerial);
ASN1_TYPE(ESSCertID);
ASN1_TYPE_OF(ESSCertIDs, AsnList);  // SEQUENCE OF ESSCertID
ASN1_TYPE(ESSCertIDv2);
ASN1_TYPE_OF(ESSCertIDv2s, AsnList);  // SEQUENCE OF ESSCertIDv2
ASN1_TYPE(SigningCertificate);
ASN1_DECODER(SigningCertAttrParams, SigningCertificate, SigningCertificate);
ASN1_TYPE(SigningCertificateV2);
ASN1_DECODER(SigningCertV2AttrParams, SigningCertificateV2, SigningCertificateV2);

}  // namespace qex
