// Tables of the attribute-certificate types.
#include "asn1/attrcert.h"

namespace qex {

constexpr Field kObjectDigestInfoFields[] = {
    must(FIELD(ObjectDigestInfo, digestedObjectType), kEnumerated),
    may(FIELD(ObjectDigestInfo, otherObjectTypeID), kAsnOid),
    must(FIELD(ObjectDigestInfo, digestAlgorithm), kAlgorithmIdentifier),
    must(FIELD(ObjectDigestInfo, objectDigest), kAsnBits),
};
constexpr TypeOf<ObjectDigestInfo> kObjectDigestInfo =
    sequence<ObjectDigestInfo>("ObjectDigestInfo", kObjectDigestInfoFields);

constexpr Field kHolderFields[] = {
    may(FIELD(Holder, baseCertificateID), kIssuerSerial, implicit_tag(0)),
    may(FIELD(Holder, entityName), kGeneralNames, implicit_tag(1)),
    may(FIELD(Holder, objectDigestInfo), kObjectDigestInfo, implicit_tag(2)),
};
constexpr TypeOf<Holder> kHolder = sequence<Holder>("Holder", kHolderFields);

constexpr Field kV2FormFields[] = {
    may(FIELD(V2Form, issuerName), kGeneralNames),
    may(FIELD(V2Form, baseCertificateID), kIssuerSerial, implicit_tag(0)),
    may(FIELD(V2Form, objectDigestInfo), kObjectDigestInfo, implicit_tag(1)),
};
constexpr TypeOf<V2Form> kV2Form = sequence<V2Form>("V2Form", kV2FormFields);

constexpr Field kAttCertIssuerAlternatives[] = {
    must(FIELD(AttCertIssuer, v1Form), kGeneralNames),
    must(FIELD(AttCertIssuer, v2Form), kV2Form, implicit_tag(0)),
};
constexpr TypeOf<AttCertIssuer> kAttCertIssuer =
    choice<AttCertIssuer>("AttCertIssuer", kAttCertIssuerAlternatives);

constexpr Field kAttCertValidityPeriodFields[] = {
    must(FIELD(AttCertValidityPeriod, notBeforeTime), kGeneralizedTime),
    must(FIELD(AttCertValidityPeriod, notAfterTime), kGeneralizedTime),
};
constexpr TypeOf<AttCertValidityPeriod> kAttCertValidityPeriod =
    sequence<AttCertValidityPeriod>("AttCertValidityPeriod", kAttCertValidityPeriodFields);

constexpr Field kAttributeCertificateInfoFields[] = {
    must(FIELD(AttributeCertificateInfo, version), kAsnInt),
    must(FIELD(AttributeCertificateInfo, holder), kHolder),
    must(FIELD(AttributeCertificateInfo, issuer), kAttCertIssuer),
    must(FIELD(AttributeCertificateInfo, signature), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificateInfo, serialNumber), kBigInteger),
    must(FIELD(AttributeCertificateInfo, attrCertValidityPeriod), kAttCertValidityPeriod),
    must(FIELD(AttributeCertificateInfo, attributes), kAttributeSequence),
    may(FIELD(AttributeCertificateInfo, issuerUniqueID), kAsnBits),
    may(FIELD(AttributeCertificateInfo, extensions), kExtensions),
};
constexpr TypeOf<AttributeCertificateInfo> kAttributeCertificateInfo =
    sequence<AttributeCertificateInfo>("AttributeCertificateInfo", kAttributeCertificateInfoFields);

constexpr Field kAttributeCertificateFields[] = {
    must(FIELD(AttributeCertificate, acinfo), kAttributeCertificateInfo),
    must(FIELD(AttributeCertificate, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificate, signatureValue), kAsnBits),
};
constexpr TypeOf<AttributeCertificate> kAttributeCertificate =
    sequence<AttributeCertificate>("AttributeCertificate", kAttributeCertificateFields, Top::Yes);

// The version-1 module has EXPLICIT tags.
constexpr Field kAttCertSubjectAlternatives[] = {
    must(FIELD(AttCertSubject, holder), kHolder),
    must(FIELD(AttCertSubject, baseCertificateID), kIssuerSerial, explicit_tag(0)),
    must(FIELD(AttCertSubject, subjectName), kGeneralNames, explicit_tag(1)),
};
constexpr TypeOf<AttCertSubject> kAttCertSubject =
    choice<AttCertSubject>("AttCertSubject", kAttCertSubjectAlternatives);

constexpr Field kAttributeCertificateInfoV1Fields[] = {
    may(FIELD(AttributeCertificateInfoV1, version), kAsnInt),
    must(FIELD(AttributeCertificateInfoV1, subject), kAttCertSubject),
    must(FIELD(AttributeCertificateInfoV1, issuer), kAttCertIssuer),
    must(FIELD(AttributeCertificateInfoV1, signature), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificateInfoV1, serialNumber), kBigInteger),
    must(FIELD(AttributeCertificateInfoV1, attCertValidityPeriod), kAttCertValidityPeriod),
    must(FIELD(AttributeCertificateInfoV1, attributes), kAttributeSequence),
    may(FIELD(AttributeCertificateInfoV1, issuerUniqueID), kAsnBits),
    may(FIELD(AttributeCertificateInfoV1, extensions), kExtensions),
};
constexpr TypeOf<AttributeCertificateInfoV1> kAttributeCertificateInfoV1 =
    sequence<AttributeCertificateInfoV1>("AttributeCertificateInfoV1", kAttributeCertificateInfoV1Fields);

constexpr Field kAttributeCertificateV1Fields[] = {
    must(FIELD(AttributeCertificateV1, acInfo), kAttributeCertificateInfoV1),
    must(FIELD(AttributeCertificateV1, signatureAlgorithm), kAlgorithmIdentifier),
    must(FIELD(AttributeCertificateV1, signature), kAsnBits),
};
constexpr TypeOf<AttributeCertificateV1> kAttributeCertificateV1 =
    sequence<AttributeCertificateV1>("AttributeCertificateV1", kAttributeCertificateV1Fields);

}  // namespace qex
