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
inline constexpr Sequence kOtherHashAlgAndValue = {
    "OtherHashAlgAndValue",
    must(FIELD(OtherHashAlgAndValue, hashAlgorithm), kAlgorithmIdentifier),
    must(FIELD(OtherHashAlgAndValue, hashValue), kAsnOcts),
};
ASN1_TYPE(OtherHashAlgAndValue);

struct SigPolicyQualifierInfo {
  AsnOid sigPolicyQualifierId;
  AsnAny sigQualifier;
};
inline constexpr Sequence kSigPolicyQualifierInfo = {
    "SigPolicyQualifierInfo",
    must(FIELD(SigPolicyQualifierInfo, sigPolicyQualifierId), kAsnOid),
    defined_by(FIELD(SigPolicyQualifierInfo, sigPolicyQualifierId),
               must(FIELD(SigPolicyQualifierInfo, sigQualifier), kAsnAny)),
};
ASN1_TYPE(SigPolicyQualifierInfo);

inline constexpr SequenceOf kSigPolicyQualifiers = {"SigPolicyQualifiers", kSigPolicyQualifierInfo};
ASN1_TYPE(SigPolicyQualifiers);

struct SignaturePolicyId {
  AsnOid sigPolicyIdentifier;
  OtherHashAlgAndValue* sigPolicyHash;
  ListOf<SigPolicyQualifierInfo>* sigPolicyQualifiers;
};
inline constexpr Sequence kSignaturePolicyId = {
    "SignaturePolicyId",
    must(FIELD(SignaturePolicyId, sigPolicyIdentifier), kAsnOid),
    must(FIELD(SignaturePolicyId, sigPolicyHash), kOtherHashAlgAndValue),
    may(FIELD(SignaturePolicyId, sigPolicyQualifiers), kSigPolicyQualifiers),
};
ASN1_TYPE(SignaturePolicyId);

struct SignaturePolicyIdentifier {
  enum : AsnInt { kPolicyId, kPolicyImplied };
  AsnInt choice;
  union {
    SignaturePolicyId* signaturePolicyId;
    AsnNull* signaturePolicyImplied;
  };
};
inline constexpr Choice kSignaturePolicyIdentifier = {
    "SignaturePolicyIdentifierAttrParams",
    Top::Yes,
    must(FIELD(SignaturePolicyIdentifier, signaturePolicyId), kSignaturePolicyId),
    must(FIELD(SignaturePolicyIdentifier, signaturePolicyImplied), kAsnNull),
};
ASN1_TYPE(SignaturePolicyIdentifier);
ASN1_DECODER(SignaturePolicyIdentifierAttrParams, SignaturePolicyIdentifier);

struct SignerAttributeChoice {
  enum : AsnInt { kClaimedAttributes, kCertifiedAttributes };
  AsnInt choice;
  union {
    ListOf<Attribute>* claimedAttributes;
    AttributeCertificate* certifiedAttributes;
  };
};
inline constexpr Choice kSignerAttributeChoice = {
    "SignerAttributeChoice",
    must(FIELD(SignerAttributeChoice, claimedAttributes), kAttributeSequence, explicit_tag(0)),
    must(FIELD(SignerAttributeChoice, certifiedAttributes), kAttributeCertificate, explicit_tag(1)),
};
ASN1_TYPE(SignerAttributeChoice);

inline constexpr SequenceOf kSignerAttribute = {"SignerAttributeAttrParams", kSignerAttributeChoice,
                                                Top::Yes};
ASN1_TYPE(SignerAttribute);
ASN1_DECODER(SignerAttributeAttrParams, SignerAttribute);

}  // namespace qex
