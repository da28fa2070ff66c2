// Tables of the signing-certificate and policy types.
#include "asn1/ess.h"

namespace qex {

constexpr TypeOf<AsnOid> kAttrContentType = named("AttrContentType", kAsnOid);
constexpr TypeOf<AsnOcts> kAttrMsgDigest = named("AttrMsgDigest", kAsnOcts);
constexpr TypeOf<AsnList> kExtensionRequest0 = sequence_of("ExtensionRequest0", kExtension, Top::Yes);

constexpr Field kPolicyQualifierInfoFields[] = {
    must(FIELD(PolicyQualifierInfo, policyQualifierId), kAsnOid),
    defined_by(FIELD(PolicyQualifierInfo, policyQualifierId),
               must(FIELD(PolicyQualifierInfo, qualifier), kAsnAny)),
};
constexpr TypeOf<PolicyQualifierInfo> kPolicyQualifierInfo =
    sequence<PolicyQualifierInfo>("PolicyQualifierInfo", kPolicyQualifierInfoFields);
constexpr TypeOf<AsnList> kPolicyQualifiers = sequence_of("PolicyQualifiers", kPolicyQualifierInfo);

constexpr Field kPolicyInformationFields[] = {
    must(FIELD(PolicyInformation, policyIdentifier), kAsnOid),
    may(FIELD(PolicyInformation, policyQualifiers), kPolicyQualifiers),
};
constexpr TypeOf<PolicyInformation> kPolicyInformation =
    sequence<PolicyInformation>("PolicyInformation", kPolicyInformationFields);
constexpr TypeOf<AsnList> kPolicies = sequence_of("Policies", kPolicyInformation);

constexpr Field kIssuerSerialFields[] = {
    must(FIELD(IssuerSerial, issuer), kGeneralNames),
    must(FIELD(IssuerSerial, serialNumber), kBigInteger),
};
constexpr TypeOf<IssuerSerial> kIssuerSerial = sequence<IssuerSerial>("IssuerSerial", kIssuerSerialFields);

constexpr Field kESSCertIDFields[] = {
    must(FIELD(ESSCertID, certHash), kAsnOcts),
    may(FIELD(ESSCertID, issuerSerial), kIssuerSerial),
};
constexpr TypeOf<ESSCertID> kESSCertID = sequence<ESSCertID>("ESSCertID", kESSCertIDFields);
constexpr TypeOf<AsnList> kESSCertIDs = sequence_of("ESSCertIDs", kESSCertID);

constexpr Field kESSCertIDv2Fields[] = {
    may(FIELD(ESSCertIDv2, hashAlgorithm), kAlgorithmIdentifier),  // DEFAULT id-sha256
    must(FIELD(ESSCertIDv2, certHash), kAsnOcts),
    may(FIELD(ESSCertIDv2, issuerSerial), kIssuerSerial),
};
constexpr TypeOf<ESSCertIDv2> kESSCertIDv2 = sequence<ESSCertIDv2>("ESSCertIDv2", kESSCertIDv2Fields);
constexpr TypeOf<AsnList> kESSCertIDv2s = sequence_of("ESSCertIDv2s", kESSCertIDv2);

constexpr Field kSigningCertificateFields[] = {
    must(FIELD(SigningCertificate, certs), kESSCertIDs),
    may(FIELD(SigningCertificate, policies), kPolicies),
};
constexpr TypeOf<SigningCertificate> kSigningCertificate =
    sequence<SigningCertificate>("SigningCertAttrParams", kSigningCertificateFields, Top::Yes);

constexpr Field kSigningCertificateV2Fields[] = {
    must(FIELD(SigningCertificateV2, certs), kESSCertIDv2s),
    may(FIELD(SigningCertificateV2, policies), kPolicies),
};
constexpr TypeOf<SigningCertificateV2> kSigningCertificateV2 =
    sequence<SigningCertificateV2>("SigningCertV2AttrParams", kSigningCertificateV2Fields, Top::Yes);

}  // namespace qex
