// The ASN.1 texts above the types: the headers agree with the descriptors, and the comparison finds errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "asn1/cades.h"
#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/timestamp.h"
#include "asn1/timing.h"
#include "asn1/x400.h"
#include "asn1/x509.h"
#include "asn1/x520.h"
#include "tests/support/asn1_text_check.h"
#include "tests/support/files.h"

namespace qex::test {
namespace {

#define NAMED(x) \
  { #x, &k##x }
// clang-format off
const std::vector<NamedType> kTypes = {
    NAMED(Accuracy), NAMED(AdministrationDomainName), NAMED(AlgorithmIdentifier),
    NAMED(AlgorithmIdentifiers), NAMED(AttCertIssuer), NAMED(AttCertSubject), NAMED(AttCertValidityPeriod),
    NAMED(AttrContentType), NAMED(AttrMsgDigest), NAMED(Attribute), NAMED(AttributeCertificate),
    NAMED(AttributeCertificateInfo), NAMED(AttributeCertificateInfoV1), NAMED(AttributeCertificateV1),
    NAMED(AttributeSequence), NAMED(AttributeTypeAndValue), NAMED(AttributeValues), NAMED(Attributes),
    NAMED(BigIntegerStr), NAMED(BuiltInDomainDefinedAttribute), NAMED(BuiltInDomainDefinedAttributes),
    NAMED(BuiltInStandardAttributes), NAMED(Certificate), NAMED(CertificateChoices), NAMED(CertificateList),
    NAMED(CertificateLists), NAMED(CertificateSet), NAMED(ContentInfo), NAMED(CountryName),
    NAMED(DigestInfo), NAMED(DirectoryString), NAMED(DistinguishedName), NAMED(DomainComponent),
    NAMED(Dss_Parms), NAMED(Dss_Sig_Value), NAMED(EDIPartyName), NAMED(ESSCertID), NAMED(ESSCertIDs),
    NAMED(ESSCertIDv2), NAMED(ESSCertIDv2s), NAMED(EncapsulatedContentInfo), NAMED(ExtendedCertificate),
    NAMED(ExtendedCertificateInfo), NAMED(Extension), NAMED(ExtensionAttribute), NAMED(ExtensionAttributes),
    NAMED(ExtensionRequest0), NAMED(Extensions), NAMED(GeneralName), NAMED(GeneralNames), NAMED(Holder),
    NAMED(IssuerAndSerialNumber), NAMED(IssuerSerial), NAMED(LeapData), NAMED(LeapEvent),
    NAMED(MessageImprint), NAMED(Name), NAMED(NetworkAddresses), NAMED(ORAddress), NAMED(ObjectDigestInfo),
    NAMED(OrganizationalUnitNames), NAMED(OtherCertificateFormat), NAMED(OtherHashAlgAndValue),
    NAMED(OtherName), NAMED(PKIFreeText), NAMED(PKIStatusInfo), NAMED(PersonalName), NAMED(Pkcs9email),
    NAMED(Policies), NAMED(PolicyInformation), NAMED(PolicyQualifierInfo), NAMED(PolicyQualifiers),
    NAMED(PrintableString1), NAMED(PrivateDomainName), NAMED(ProtocolProfiles), NAMED(RSAPublicKey),
    NAMED(RelativeDistinguishedName), NAMED(RevokedCertificate), NAMED(RevokedCertificates),
    NAMED(SigPolicyQualifierInfo), NAMED(SigPolicyQualifiers), NAMED(SignaturePolicyId),
    NAMED(SignaturePolicyIdentifier), NAMED(SignedData), NAMED(SignerAttribute),
    NAMED(SignerAttributeChoice), NAMED(SignerIdentifier), NAMED(SignerInfo), NAMED(SignerInfos),
    NAMED(SigningCertificate), NAMED(SigningCertificateV2), NAMED(SubjectPublicKeyInfo), NAMED(TBSCertList),
    NAMED(TBSCertificate), NAMED(TSTInfo), NAMED(Time), NAMED(TimeStampReq), NAMED(TimeStampResp),
    NAMED(TimeValue), NAMED(TimingMeticsObj), NAMED(TimingMetrics), NAMED(TimingPolicy),
    NAMED(TimingPolicyId), NAMED(TimingPolicyIds), NAMED(TimingPolicyObj), NAMED(V2Form), NAMED(Validity),
    NAMED(X121Address), NAMED(X520FacsimileTelephoneNumber), NAMED(X520InternationalISDNNumber),
    NAMED(X520PostalAddress), NAMED(X520PreferredDeliveryMethod), NAMED(X520PresentationAddress),
    NAMED(X520ProtocolInformation), NAMED(X520TelexNumber), NAMED(X520UniqueMember),
};
// clang-format on

std::vector<HeaderText> headers() {
  std::vector<HeaderText> all;
  for (const auto& entry : std::filesystem::directory_iterator(QEX_SOURCE_DIR "/asn1")) {
    if (entry.path().extension() != ".h") continue;
    const std::vector<uint8_t> octets = ReadFile(entry.path().string());
    all.push_back({"asn1/" + entry.path().filename().string(), std::string(octets.begin(), octets.end())});
  }
  std::sort(all.begin(), all.end(), [](const HeaderText& a, const HeaderText& b) { return a.path < b.path; });
  return all;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) all += line + "\n";
  return all;
}

TEST(Asn1Text, EveryTypeWithCodesIsCompared) {
  for (const CodeRun& run : kCodeRuns)
    EXPECT_EQ(std::count_if(kTypes.begin(), kTypes.end(),
                            [&](const NamedType& t) { return t.type->name == run.type; }),
              1)
        << run.type;
}

TEST(Asn1Text, EveryTypeHasTheTextThatItsDescriptorFollows) {
  EXPECT_EQ(joined(CompareTexts(headers(), kTypes)), "");
}

}  // namespace
}  // namespace qex::test
