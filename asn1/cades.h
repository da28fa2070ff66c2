// Signature policy and signer attributes (RFC 5126 sections 5.8.1 and 5.11.3). The module has EXPLICIT TAGS.
#pragma once

#include "asn1/attrcert.h"
#include "asn1/attribute.h"
#include "asn1/codec.h"
#include "asn1/x509.h"

namespace qex {

// OtherHashAlgAndValue ::= SEQUENCE {  (RFC 5126, 5.8.1)
//   hashAlgorithm  AlgorithmIdentifier,
//   hashValue      OtherHashValue }
// OtherHashValue ::= OCTET STRING  (RFC 5126, 5.8.1)
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

// SigPolicyQualifierInfo ::= SEQUENCE {  (RFC 5126, 5.8.1)
//   sigPolicyQualifierId  SigPolicyQualifierId,
//   sigQualifier          ANY DEFINED BY sigPolicyQualifierId }
// SigPolicyQualifierId ::= OBJECT IDENTIFIER  (RFC 5126, 5.8.1)
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

// SigPolicyQualifiers ::= SEQUENCE OF SigPolicyQualifierInfo  (in SignaturePolicyId)
inline constexpr SequenceOf kSigPolicyQualifiers = {"SigPolicyQualifiers", kSigPolicyQualifierInfo};
ASN1_TYPE(SigPolicyQualifiers);

// SignaturePolicyId ::= SEQUENCE {  (RFC 5126, 5.8.1)
//   sigPolicyId          SigPolicyId,  -- here: named sigPolicyIdentifier
//   sigPolicyHash        SigPolicyHash,
//   sigPolicyQualifiers  SEQUENCE OF SigPolicyQualifierInfo OPTIONAL }
// SigPolicyId ::= OBJECT IDENTIFIER  (RFC 5126, 5.8.1)
// SigPolicyHash ::= OtherHashAlgAndValue  (RFC 5126, 5.8.1)
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

// SignaturePolicy ::= CHOICE {  (RFC 5126, 5.8.1)  -- here: named SignaturePolicyIdentifier
//   signaturePolicyId       SignaturePolicyId,
//   signaturePolicyImplied  SignaturePolicyImplied }
// SignaturePolicyImplied ::= NULL  (RFC 5126, 5.8.1)
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

// SignerAttributeChoice ::= CHOICE {  (in SignerAttribute)
//   claimedAttributes    [0] ClaimedAttributes,
//   certifiedAttributes  [1] CertifiedAttributes }
// ClaimedAttributes ::= SEQUENCE OF Attribute  (RFC 5126, 5.11.3)
// CertifiedAttributes ::= AttributeCertificate  (RFC 5126, 5.11.3)
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

// SignerAttribute ::= SEQUENCE OF CHOICE {  (RFC 5126, 5.11.3)
//   claimedAttributes    [0] ClaimedAttributes,
//   certifiedAttributes  [1] CertifiedAttributes }
inline constexpr SequenceOf kSignerAttribute = {"SignerAttributeAttrParams", kSignerAttributeChoice,
                                                Top::Yes};
ASN1_TYPE(SignerAttribute);
ASN1_DECODER(SignerAttributeAttrParams, SignerAttribute);

}  // namespace qex
