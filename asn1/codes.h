// Which error codes each type raises.
//
// Every place where a decoder of this layer can fail has a code of its own, so that the last
// ASN.1 error names the place. A type owns a run of codes downward from its row's first one;
// schema.h says which site has which place in the run. Codes are part of the interface: a new
// type takes free numbers, and no row moves.
#pragma once

#include <iterator>
#include <string_view>

#include "ber/tag_length.h"

namespace qex {

struct CodeRun {
  std::string_view type;
  AsnInt first;
  AsnInt count;
};

inline constexpr AsnInt kFirstTypeCode = -100;
inline constexpr AsnInt kLastTypeCode = -677;

inline constexpr CodeRun kCodeRuns[] = {
    // Names
    {"AttributeTypeAndValue", -100, 3},
    {"RelativeDistinguishedName", -103, 2},
    {"DistinguishedName", -105, 3},
    {"Name", -108, 1},
    {"DirectoryString", -109, 1},
    {"OtherName", -110, 3},
    {"EDIPartyName", -113, 2},
    {"GeneralName", -115, 1},
    {"GeneralNames", -116, 2},
    // Certificates, CRLs, keys
    {"AlgorithmIdentifier", -130, 3},
    {"AlgorithmIdentifiers", -133, 2},
    {"Extension", -135, 3},
    {"Extensions", -138, 2},
    {"Time", -140, 1},
    {"Validity", -141, 3},
    {"SubjectPublicKeyInfo", -144, 3},
    {"TBSCertificate", -147, 10},
    {"Certificate", -157, 5},
    {"RevokedCertificate", -162, 4},
    {"RevokedCertificates", -166, 2},
    {"TBSCertList", -168, 6},
    {"CertificateList", -174, 4},
    {"CertificateLists", -178, 2},
    {"RSAPublicKey", -180, 4},
    {"Dss_Parms_BI", -184, 5},
    {"Dss_Sig_Value_BI", -189, 4},
    {"DigestInfo", -193, 3},
    {"BigIntegerStr", -196, 1},
    // X.400 addresses
    {"CountryName", -210, 1},
    {"AdministrationDomainName", -211, 1},
    {"PrivateDomainName", -212, 1},
    {"PersonalName", -213, 3},
    {"OrganizationalUnitNames", -216, 2},
    {"BuiltInStandardAttributes", -218, 2},
    {"BuiltInDomainDefinedAttribute", -220, 3},
    {"BuiltInDomainDefinedAttributes", -223, 2},
    {"ExtensionAttribute", -225, 3},
    {"ExtensionAttributes", -228, 2},
    {"ORAddress", -230, 3},
    // X.520 attribute syntaxes
    {"PrintableString1", -250, 1},
    {"X520InternationalISDNNumber", -251, 1},
    {"X121Address", -252, 1},
    {"DomainComponent", -253, 1},
    {"Pkcs9email", -254, 1},
    {"X520PreferredDeliveryMethod", -255, 3},
    {"X520PostalAddress", -258, 3},
    {"X520TelexNumber", -261, 5},
    {"X520FacsimileTelephoneNumber", -266, 4},
    {"NetworkAddresses", -270, 2},
    {"X520PresentationAddress", -272, 7},
    {"ProtocolProfiles", -279, 2},
    {"X520ProtocolInformation", -281, 4},
    {"X520UniqueMember", -285, 4},
    // Attributes
    {"Attribute", -300, 3},
    {"Attributes", -303, 2},
    {"AttributeSequence", -305, 2},
    // Signing certificates and policies
    {"AttrContentType", -320, 1},
    {"AttrMsgDigest", -321, 1},
    {"ExtensionRequest0", -322, 3},
    {"PolicyQualifierInfo", -325, 3},
    {"PolicyQualifiers", -328, 2},
    {"PolicyInformation", -330, 3},
    {"Policies", -333, 2},
    {"IssuerSerial", -335, 3},
    {"ESSCertID", -338, 3},
    {"ESSCertIDs", -341, 2},
    {"ESSCertIDv2", -343, 3},
    {"ESSCertIDv2s", -346, 2},
    {"SigningCertAttrParams", -348, 4},
    {"SigningCertV2AttrParams", -352, 4},
    // Attribute certificates
    {"ObjectDigestInfo", -370, 4},
    {"Holder", -374, 2},
    {"V2Form", -376, 2},
    {"AttCertIssuer", -378, 1},
    {"AttCertValidityPeriod", -379, 3},
    {"AttributeCertificateInfo", -382, 9},
    {"AttributeCertificate", -391, 5},
    {"AttCertSubject", -396, 3},
    {"AttributeCertificateInfoV1", -399, 8},
    {"AttributeCertificateV1", -407, 4},
    // CMS
    {"ContentInfo", -430, 4},
    {"EncapsulatedContentInfo", -434, 4},
    {"IssuerAndSerialNumber", -438, 3},
    {"SignerIdentifier", -441, 1},
    {"SignerInfo", -442, 7},
    {"SignerInfos", -449, 2},
    {"ExtendedCertificateInfo", -451, 4},
    {"ExtendedCertificate", -455, 4},
    {"OtherCertificateFormat", -459, 3},
    {"CertificateChoices", -462, 1},
    {"CertificateSet", -463, 2},
    {"SignedData", -465, 6},
    // Signature policy and signer attributes
    {"OtherHashAlgAndValue", -490, 3},
    {"SigPolicyQualifierInfo", -493, 3},
    {"SigPolicyQualifiers", -496, 2},
    {"SignaturePolicyId", -498, 4},
    {"SignaturePolicyIdentifierAttrParams", -502, 1},
    {"SignerAttributeChoice", -503, 3},
    {"SignerAttributeAttrParams", -506, 3},
    // Timing attributes
    {"TimeValue", -520, 4},
    {"LeapData", -524, 3},
    {"LeapEvent", -527, 2},
    {"TimingMetrics", -529, 7},
    {"TimingMeticsObj", -536, 3},
    {"TimingPolicyId", -539, 1},
    {"TimingPolicyIds", -540, 2},
    {"TimingPolicy", -542, 5},
    {"TimingPolicyObj", -547, 3},
    // Time-stamp protocol
    {"TimeStampReq", -640, 5},
    {"MessageImprint", -645, 3},
    {"PKIFreeText", -648, 2},
    {"PKIStatusInfo", -650, 3},
    {"TimeStampResp", -653, 4},
    {"Accuracy", -657, 2},
    {"TSTInfo", -659, 8},
};

constexpr CodeRun code_run(std::string_view type) {
  for (const CodeRun& run : kCodeRuns)
    if (run.type == type) return run;
  throw "no row of kCodeRuns names this type";
}

constexpr bool code_runs_are_distinct() {
  AsnInt next = kFirstTypeCode;
  for (const CodeRun& run : kCodeRuns) {
    if (run.first > next || run.count <= 0) return false;
    next = run.first - run.count;
  }
  return next >= kLastTypeCode - 1;
}
static_assert(code_runs_are_distinct(),
              "rows of kCodeRuns stand in falling order, without overlap, in the range");

}  // namespace qex
