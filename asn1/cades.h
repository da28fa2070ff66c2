// Signature policy and signer attributes (RFC 5126 sections 5.8.1 and 5.11.3).
#pragma once

#include "asn1/attrcert.h"
#include "asn1/attribute.h"
#include "asn1/codec.h"
#include "asn1/x509.h"

namespace qex {

struct OtherHashAlgAndValue {
  AlgorithmIdentifier* hashAlgorithm;
  AsnOcts hashValue;
};

struct SigPolicyQualifierInfo {
  AsnOid sigPolicyQualifierId;
  AsnAny sigQualifier;
};

struct SignaturePolicyId {
  AsnOid sigPolicyIdentifier;
  OtherHashAlgAndValue* sigPolicyHash;
  AsnList* sigPolicyQualifiers;  // of SigPolicyQualifierInfo
};

struct SignaturePolicyIdentifier {
  enum : AsnInt { kSignaturePolicyId, kSignaturePolicyImplied };
  AsnInt choice;
  union {
    SignaturePolicyId* signaturePolicyId;
    AsnNull* signaturePolicyImplied;
  };
};

struct SignerAttributeChoice {
  enum : AsnInt { kClaimedAttributes, kCertifiedAttributes };
  AsnInt choice;
  union {
    AsnList* claimedAttributes;  // of Attribute
    AttributeCertificate* certifiedAttributes;
  };
};

ASN1_TYPE(OtherHashAlgAndValue);
ASN1_TYPE(SigPolicyQualifierInfo);
ASN1_TYPE_OF(SigPolicyQualifiers, AsnList);  // SEQUENCE OF SigPolicyQualifierInfo
ASN1_TYPE(SignaturePolicyId);
ASN1_TYPE(SignaturePolicyIdentifier);
ASN1_DECODER(SignaturePolicyIdentifierAttrParams, SignaturePolicyIdentifier, SignaturePolicyIdentifier);
ASN1_TYPE(SignerAttributeChoice);
ASN1_TYPE_OF(SignerAttribute, AsnList);  // SEQUENCE OF SignerAttributeChoice
ASN1_DECODER(SignerAttributeAttrParams, SignerAttribute, AsnList);

}  // namespace qex
