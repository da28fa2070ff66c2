// Tables of the signature-policy and signer-attribute types.
#include "asn1/cades.h"

namespace qex {

constexpr Field kOtherHashAlgAndValueFields[] = {
    must(FIELD(OtherHashAlgAndValue, hashAlgorithm), kAlgorithmIdentifier),
    must(FIELD(OtherHashAlgAndValue, hashValue), kAsnOcts),
};
constexpr TypeOf<OtherHashAlgAndValue> kOtherHashAlgAndValue =
    sequence<OtherHashAlgAndValue>("OtherHashAlgAndValue", kOtherHashAlgAndValueFields);

constexpr Field kSigPolicyQualifierInfoFields[] = {
    must(FIELD(SigPolicyQualifierInfo, sigPolicyQualifierId), kAsnOid),
    defined_by(FIELD(SigPolicyQualifierInfo, sigPolicyQualifierId),
               must(FIELD(SigPolicyQualifierInfo, sigQualifier), kAsnAny)),
};
constexpr TypeOf<SigPolicyQualifierInfo> kSigPolicyQualifierInfo =
    sequence<SigPolicyQualifierInfo>("SigPolicyQualifierInfo", kSigPolicyQualifierInfoFields);
constexpr TypeOf<AsnList> kSigPolicyQualifiers = sequence_of("SigPolicyQualifiers", kSigPolicyQualifierInfo);

constexpr Field kSignaturePolicyIdFields[] = {
    must(FIELD(SignaturePolicyId, sigPolicyIdentifier), kAsnOid),
    must(FIELD(SignaturePolicyId, sigPolicyHash), kOtherHashAlgAndValue),
    may(FIELD(SignaturePolicyId, sigPolicyQualifiers), kSigPolicyQualifiers),
};
constexpr TypeOf<SignaturePolicyId> kSignaturePolicyId =
    sequence<SignaturePolicyId>("SignaturePolicyId", kSignaturePolicyIdFields);

constexpr Field kSignaturePolicyIdentifierAlternatives[] = {
    must(FIELD(SignaturePolicyIdentifier, signaturePolicyId), kSignaturePolicyId),
    must(FIELD(SignaturePolicyIdentifier, signaturePolicyImplied), kAsnNull),
};
constexpr TypeOf<SignaturePolicyIdentifier> kSignaturePolicyIdentifier = choice<SignaturePolicyIdentifier>(
    "SignaturePolicyIdentifierAttrParams", kSignaturePolicyIdentifierAlternatives, Top::Yes);

constexpr Field kSignerAttributeChoiceAlternatives[] = {
    must(FIELD(SignerAttributeChoice, claimedAttributes), kAttributeSequence, explicit_tag(0)),
    must(FIELD(SignerAttributeChoice, certifiedAttributes), kAttributeCertificate, explicit_tag(1)),
};
constexpr TypeOf<SignerAttributeChoice> kSignerAttributeChoice =
    choice<SignerAttributeChoice>("SignerAttributeChoice", kSignerAttributeChoiceAlternatives);
constexpr TypeOf<AsnList> kSignerAttribute =
    sequence_of("SignerAttributeAttrParams", kSignerAttributeChoice, Top::Yes);

}  // namespace qex
