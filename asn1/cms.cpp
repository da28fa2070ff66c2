// Tables of the CMS types.
#include "asn1/cms.h"

namespace qex {

constexpr Field kContentInfoFields[] = {
    must(FIELD(ContentInfo, contentType), kAsnOid),
    defined_by(FIELD(ContentInfo, contentType), may(FIELD(ContentInfo, content), kAsnAny, explicit_tag(0))),
};
constexpr TypeOf<ContentInfo> kContentInfo =
    sequence<ContentInfo>("ContentInfo", kContentInfoFields, Top::Yes);

constexpr Field kEncapsulatedContentInfoFields[] = {
    must(FIELD(EncapsulatedContentInfo, eContentType), kAsnOid),
    may(FIELD(EncapsulatedContentInfo, eContent), kAsnOcts, explicit_tag(0)),
};
constexpr TypeOf<EncapsulatedContentInfo> kEncapsulatedContentInfo =
    sequence<EncapsulatedContentInfo>("EncapsulatedContentInfo", kEncapsulatedContentInfoFields);

constexpr Field kIssuerAndSerialNumberFields[] = {
    must(FIELD(IssuerAndSerialNumber, issuer), kName),
    must(FIELD(IssuerAndSerialNumber, serialNumber), kBigInteger),
};
constexpr TypeOf<IssuerAndSerialNumber> kIssuerAndSerialNumber =
    sequence<IssuerAndSerialNumber>("IssuerAndSerialNumber", kIssuerAndSerialNumberFields);

constexpr Field kSignerIdentifierAlternatives[] = {
    must(FIELD(SignerIdentifier, issuerAndSerialNumber), kIssuerAndSerialNumber),
    must(FIELD(SignerIdentifier, subjectKeyIdentifier), kAsnOcts, implicit_tag(0)),
};
constexpr TypeOf<SignerIdentifier> kSignerIdentifier =
    choice<SignerIdentifier>("SignerIdentifier", kSignerIdentifierAlternatives);

constexpr Field kSignerInfoFields[] = {
    must(FIELD(SignerInfo, version), kAsnInt),
    must(FIELD(SignerInfo, sid), kSignerIdentifier),
    must(FIELD(SignerInfo, digestAlgorithm), kAlgorithmIdentifier),
    may(FIELD(SignerInfo, signedAttrs), kAttributes, implicit_tag(0)),
    must(FIELD(SignerInfo, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(SignerInfo, signature), kAsnOcts),
    may(FIELD(SignerInfo, unsignedAttrs), kAttributes, implicit_tag(1)),
};
constexpr TypeOf<SignerInfo> kSignerInfo = sequence<SignerInfo>("SignerInfo", kSignerInfoFields);
constexpr TypeOf<AsnList> kSignerInfos = set_of("SignerInfos", kSignerInfo);

constexpr Field kExtendedCertificateInfoFields[] = {
    must(FIELD(ExtendedCertificateInfo, version), kAsnInt),
    must(FIELD(ExtendedCertificateInfo, certificate), kCertificate),
    must(FIELD(ExtendedCertificateInfo, attributes), kAttributes),
};
constexpr TypeOf<ExtendedCertificateInfo> kExtendedCertificateInfo =
    sequence<ExtendedCertificateInfo>("ExtendedCertificateInfo", kExtendedCertificateInfoFields);

constexpr Field kExtendedCertificateFields[] = {
    must(FIELD(ExtendedCertificate, extendedCertificateInfo), kExtendedCertificateInfo),
    must(FIELD(ExtendedCertificate, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(ExtendedCertificate, signature), kAsnBits),
};
constexpr TypeOf<ExtendedCertificate> kExtendedCertificate =
    sequence<ExtendedCertificate>("ExtendedCertificate", kExtendedCertificateFields);

constexpr Field kOtherCertificateFormatFields[] = {
    must(FIELD(OtherCertificateFormat, otherCertFormat), kAsnOid),
    defined_by(FIELD(OtherCertificateFormat, otherCertFormat),
               must(FIELD(OtherCertificateFormat, otherCert), kAsnAny)),
};
constexpr TypeOf<OtherCertificateFormat> kOtherCertificateFormat =
    sequence<OtherCertificateFormat>("OtherCertificateFormat", kOtherCertificateFormatFields);

constexpr Field kCertificateChoicesAlternatives[] = {
    must(FIELD(CertificateChoices, certificate), kCertificate),
    must(FIELD(CertificateChoices, extendedCertificate), kExtendedCertificate, implicit_tag(0)),
    must(FIELD(CertificateChoices, v1AttrCert), kAttributeCertificateV1, implicit_tag(1)),
    must(FIELD(CertificateChoices, v2AttrCert), kAttributeCertificate, implicit_tag(2)),
    must(FIELD(CertificateChoices, other), kOtherCertificateFormat, implicit_tag(3)),
};
constexpr TypeOf<CertificateChoices> kCertificateChoices =
    choice<CertificateChoices>("CertificateChoices", kCertificateChoicesAlternatives);
constexpr TypeOf<AsnList> kCertificateSet = set_of("CertificateSet", kCertificateChoices);

constexpr Field kSignedDataFields[] = {
    must(FIELD(SignedData, version), kAsnInt),
    must(FIELD(SignedData, digestAlgorithms), kAlgorithmIdentifiers),
    must(FIELD(SignedData, encapContentInfo), kEncapsulatedContentInfo),
    may(FIELD(SignedData, certificates), kCertificateSet, implicit_tag(0)),
    may(FIELD(SignedData, crls), kCertificateLists, implicit_tag(1)),
    must(FIELD(SignedData, signerInfos), kSignerInfos),
};
constexpr TypeOf<SignedData> kSignedData = sequence<SignedData>("SignedData", kSignedDataFields, Top::Yes);

}  // namespace qex
