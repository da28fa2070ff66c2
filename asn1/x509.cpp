// Tables of the certificate, CRL and key types, in the order of RFC 5280 and RFC 3279.
#include "asn1/x509.h"

namespace qex {

constexpr Field kAlgorithmIdentifierFields[] = {
    must(FIELD(AlgorithmIdentifier, algorithm), kAsnOid),
    defined_by(FIELD(AlgorithmIdentifier, algorithm), may(FIELD(AlgorithmIdentifier, parameters), kAsnAny)),
};
constexpr TypeOf<AlgorithmIdentifier> kAlgorithmIdentifier =
    sequence<AlgorithmIdentifier>("AlgorithmIdentifier", kAlgorithmIdentifierFields);
constexpr TypeOf<AsnList> kAlgorithmIdentifiers = set_of("AlgorithmIdentifiers", kAlgorithmIdentifier);

constexpr Field kExtensionFields[] = {
    must(FIELD(Extension, extnID), kAsnOid),
    may(FIELD(Extension, critical), kAsnBool),  // DEFAULT FALSE
    must(FIELD(Extension, extnValue), kAsnOcts),
};
constexpr TypeOf<Extension> kExtension = sequence<Extension>("Extension", kExtensionFields);
constexpr TypeOf<AsnList> kExtensions = sequence_of("Extensions", kExtension);

constexpr Field kTimeAlternatives[] = {
    must(FIELD(Time, utcTime), kUTCTime),
    must(FIELD(Time, generalTime), kGeneralizedTime),
};
constexpr TypeOf<Time> kTime = choice<Time>("Time", kTimeAlternatives);

constexpr Field kValidityFields[] = {
    must(FIELD(Validity, notBefore), kTime),
    must(FIELD(Validity, notAfter), kTime),
};
constexpr TypeOf<Validity> kValidity = sequence<Validity>("Validity", kValidityFields);

constexpr Field kSubjectPublicKeyInfoFields[] = {
    must(FIELD(SubjectPublicKeyInfo, algorithm), kAlgorithmIdentifier),
    must(FIELD(SubjectPublicKeyInfo, subjectPublicKey), kAsnBits),
};
constexpr TypeOf<SubjectPublicKeyInfo> kSubjectPublicKeyInfo =
    sequence<SubjectPublicKeyInfo>("SubjectPublicKeyInfo", kSubjectPublicKeyInfoFields);

constexpr Field kTBSCertificateFields[] = {
    may(FIELD(TBSCertificate, version), kAsnInt, explicit_tag(0)),  // DEFAULT v1
    must(FIELD(TBSCertificate, serialNumber), kBigInteger),
    must(FIELD(TBSCertificate, signature), kAlgorithmIdentifier),
    must(FIELD(TBSCertificate, issuer), kName),
    must(FIELD(TBSCertificate, validity), kValidity),
    must(FIELD(TBSCertificate, subject), kName),
    must(FIELD(TBSCertificate, subjectPublicKeyInfo), kSubjectPublicKeyInfo),
    may(FIELD(TBSCertificate, issuerUniqueID), kAsnBits, implicit_tag(1)),
    may(FIELD(TBSCertificate, subjectUniqueID), kAsnBits, implicit_tag(2)),
    may(FIELD(TBSCertificate, extensions), kExtensions, explicit_tag(3)),
};
constexpr TypeOf<TBSCertificate> kTBSCertificate =
    sequence<TBSCertificate>("TBSCertificate", kTBSCertificateFields);

constexpr Field kCertificateFields[] = {
    must(FIELD(Certificate, tbsCertificate), kTBSCertificate),
    must(FIELD(Certificate, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(Certificate, signature), kAsnBits),
};
constexpr TypeOf<Certificate> kCertificate =
    sequence<Certificate>("Certificate", kCertificateFields, Top::Yes);

constexpr Field kRevokedCertificateFields[] = {
    must(FIELD(RevokedCertificate, userCertificate), kBigInteger),
    must(FIELD(RevokedCertificate, revocationDate), kTime),
    may(FIELD(RevokedCertificate, crlEntryExtensions), kExtensions),
};
constexpr TypeOf<RevokedCertificate> kRevokedCertificate =
    sequence<RevokedCertificate>("RevokedCertificate", kRevokedCertificateFields);
constexpr TypeOf<AsnList> kRevokedCertificates = sequence_of("RevokedCertificates", kRevokedCertificate);

constexpr Field kTBSCertListFields[] = {
    may(FIELD(TBSCertList, version), kAsnInt),
    must(FIELD(TBSCertList, signature), kAlgorithmIdentifier),
    must(FIELD(TBSCertList, issuer), kName),
    must(FIELD(TBSCertList, thisUpdate), kTime),
    may(FIELD(TBSCertList, nextUpdate), kTime),
    may(FIELD(TBSCertList, revokedCertificates), kRevokedCertificates),
    may(FIELD(TBSCertList, crlExtensions), kExtensions, explicit_tag(0)),
};
constexpr TypeOf<TBSCertList> kTBSCertList = sequence<TBSCertList>("TBSCertList", kTBSCertListFields);

constexpr Field kCertificateListFields[] = {
    must(FIELD(CertificateList, tbsCertList), kTBSCertList),
    must(FIELD(CertificateList, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(CertificateList, signature), kAsnBits),
};
constexpr TypeOf<CertificateList> kCertificateList =
    sequence<CertificateList>("CertificateList", kCertificateListFields);
constexpr TypeOf<AsnList> kCertificateLists = set_of("CertificateLists", kCertificateList);

constexpr Field kRSAPublicKeyFields[] = {
    must(FIELD(RSAPublicKey, modulus), kBigInteger),
    must(FIELD(RSAPublicKey, publicExponent), kBigInteger),
};
constexpr TypeOf<RSAPublicKey> kRSAPublicKey =
    sequence<RSAPublicKey>("RSAPublicKey", kRSAPublicKeyFields, Top::Yes);

constexpr Field kDss_ParmsFields[] = {
    must(FIELD(Dss_Parms, p), kBigInteger),
    must(FIELD(Dss_Parms, q), kBigInteger),
    must(FIELD(Dss_Parms, g), kBigInteger),
};
constexpr TypeOf<Dss_Parms> kDss_Parms = sequence<Dss_Parms>("Dss_Parms_BI", kDss_ParmsFields, Top::Yes);

constexpr Field kDss_Sig_ValueFields[] = {
    must(FIELD(Dss_Sig_Value, r), kBigInteger),
    must(FIELD(Dss_Sig_Value, s), kBigInteger),
};
constexpr TypeOf<Dss_Sig_Value> kDss_Sig_Value =
    sequence<Dss_Sig_Value>("Dss_Sig_Value_BI", kDss_Sig_ValueFields, Top::Yes);

constexpr Field kDigestInfoFields[] = {
    must(FIELD(DigestInfo, digestAlgorithm), kAlgorithmIdentifier),
    must(FIELD(DigestInfo, digest), kAsnOcts),
};
constexpr TypeOf<DigestInfo> kDigestInfo = sequence<DigestInfo>("DigestInfo", kDigestInfoFields);

constexpr TypeOf<AsnOcts> kBigIntegerStr = named("BigIntegerStr", kBigInteger);

}  // namespace qex
