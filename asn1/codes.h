// Which error codes each type raises.
//
// Every place where a decoder of this layer can fail has a code of its own, so that the last
// ASN.1 error names the place. A row names such places, the sites of a type, and gives them the
// codes from its first one downward. Codes are part of the interface: no row moves, and a site
// that a type gains gets a free number by another row for the type.
//
// The sites of a type, by name and in this order:
//   wrongTag    another outer tag (top types)
//   <field>     a mandatory field is absent; the name is the one that Print writes
//   <field>.tag another tag inside the EXPLICIT one of the field
//   unexpected  a tag that fits nothing (CHOICE, SET, lists)
//   length      contents that end before or after their length
//   trailing    a tag after the last field (a SEQUENCE whose last field is OPTIONAL)
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "ber/tag_length.h"

namespace qex {

struct CodeRun {
  std::string_view type;
  AsnInt first;
  AsnInt last;  // repeats what `sites` says, so that a name put between two others does not compile
  std::string_view sites;  // one space between two names

  constexpr AsnInt count() const {
    AsnInt n = 1;
    for (const char c : sites) n += c == ' ';
    return n;
  }
};

inline constexpr AsnInt kFirstTypeCode = -100;
inline constexpr AsnInt kLastTypeCode = -677;

inline constexpr CodeRun kCodeRuns[] = {
    // Names
    {"AttributeTypeAndValue", -100, -102, "type value length"},
    {"RelativeDistinguishedName", -103, -104, "unexpected length"},
    {"DistinguishedName", -105, -107, "wrongTag unexpected length"},
    {"Name", -108, -108, "unexpected"},
    {"DirectoryString", -109, -109, "unexpected"},
    {"OtherName", -110, -112, "type-id value length"},
    {"EDIPartyName", -113, -114, "partyName length"},
    {"GeneralName", -115, -115, "unexpected"},
    {"GeneralNames", -116, -117, "unexpected length"},
    // Certificates, CRLs, keys
    {"AlgorithmIdentifier", -130, -132, "algorithm length trailing"},
    {"AlgorithmIdentifiers", -133, -134, "unexpected length"},
    {"Extension", -135, -137, "extnID extnValue length"},
    {"Extensions", -138, -139, "unexpected length"},
    {"Time", -140, -140, "unexpected"},
    {"Validity", -141, -143, "notBefore notAfter length"},
    {"SubjectPublicKeyInfo", -144, -146, "algorithm subjectPublicKey length"},
    {"TBSCertificate", -147, -156,
     "version.tag serialNumber signature issuer validity subject subjectPublicKeyInfo extensions.tag length "
     "trailing"},
    {"Certificate", -157, -161, "wrongTag tbsCertificate signatureAlgorithm signature length"},
    {"RevokedCertificate", -162, -165, "userCertificate revocationDate length trailing"},
    {"RevokedCertificates", -166, -167, "unexpected length"},
    {"TBSCertList", -168, -173, "signature issuer thisUpdate crlExtensions.tag length trailing"},
    {"CertificateList", -174, -177, "tbsCertList signatureAlgorithm signature length"},
    {"CertificateLists", -178, -179, "unexpected length"},
    {"RSAPublicKey", -180, -183, "wrongTag modulus publicExponent length"},
    {"Dss_Parms_BI", -184, -188, "wrongTag p q g length"},
    {"Dss_Sig_Value_BI", -189, -192, "wrongTag r s length"},
    {"DigestInfo", -193, -195, "digestAlgorithm digest length"},
    {"BigIntegerStr", -196, -196, "wrongTag"},
    // X.400 addresses
    {"CountryName", -210, -210, "unexpected"},
    {"AdministrationDomainName", -211, -211, "unexpected"},
    {"PrivateDomainName", -212, -212, "unexpected"},
    {"PersonalName", -213, -215, "surname unexpected length"},
    {"OrganizationalUnitNames", -216, -217, "unexpected length"},
    {"BuiltInStandardAttributes", -218, -219, "length trailing"},
    {"BuiltInDomainDefinedAttribute", -220, -222, "type value length"},
    {"BuiltInDomainDefinedAttributes", -223, -224, "unexpected length"},
    {"ExtensionAttribute", -225, -227, "extension-attribute-type extension-attribute-value length"},
    {"ExtensionAttributes", -228, -229, "unexpected length"},
    {"ORAddress", -230, -232, "built-in-standard-attributes length trailing"},
    // X.520 attribute syntaxes
    {"PrintableString1", -250, -250, "wrongTag"},
    {"X520InternationalISDNNumber", -251, -251, "wrongTag"},
    {"X121Address", -252, -252, "wrongTag"},
    {"DomainComponent", -253, -253, "wrongTag"},
    {"Pkcs9email", -254, -254, "wrongTag"},
    {"X520PreferredDeliveryMethod", -255, -257, "wrongTag unexpected length"},
    {"X520PostalAddress", -258, -260, "wrongTag unexpected length"},
    {"X520TelexNumber", -261, -265, "wrongTag telexNumber countryCode answerback length"},
    {"X520FacsimileTelephoneNumber", -266, -269, "wrongTag telephoneNumber length trailing"},
    {"NetworkAddresses", -270, -271, "unexpected length"},
    {"X520PresentationAddress", -272, -278,
     "wrongTag pSelector.tag sSelector.tag tSelector.tag nAddresses nAddresses.tag length"},
    {"ProtocolProfiles", -279, -280, "unexpected length"},
    {"X520ProtocolInformation", -281, -284, "wrongTag nAddress profiles length"},
    {"X520UniqueMember", -285, -288, "wrongTag dn length trailing"},
    // Attributes
    {"Attribute", -300, -302, "type values length"},
    {"Attributes", -303, -304, "unexpected length"},
    {"AttributeSequence", -305, -306, "unexpected length"},
    // Signing certificates and policies
    {"AttrContentType", -320, -320, "wrongTag"},
    {"AttrMsgDigest", -321, -321, "wrongTag"},
    {"ExtensionRequest0", -322, -324, "wrongTag unexpected length"},
    {"PolicyQualifierInfo", -325, -327, "policyQualifierId qualifier length"},
    {"PolicyQualifiers", -328, -329, "unexpected length"},
    {"PolicyInformation", -330, -332, "policyIdentifier length trailing"},
    {"Policies", -333, -334, "unexpected length"},
    {"IssuerSerial", -335, -337, "issuer serialNumber length"},
    {"ESSCertID", -338, -340, "certHash length trailing"},
    {"ESSCertIDs", -341, -342, "unexpected length"},
    {"ESSCertIDv2", -343, -345, "certHash length trailing"},
    {"ESSCertIDv2s", -346, -347, "unexpected length"},
    {"SigningCertAttrParams", -348, -351, "wrongTag certs length trailing"},
    {"SigningCertV2AttrParams", -352, -355, "wrongTag certs length trailing"},
    // Attribute certificates
    {"ObjectDigestInfo", -370, -373, "digestedObjectType digestAlgorithm objectDigest length"},
    {"Holder", -374, -375, "length trailing"},
    {"V2Form", -376, -377, "length trailing"},
    {"AttCertIssuer", -378, -378, "unexpected"},
    {"AttCertValidityPeriod", -379, -381, "notBeforeTime notAfterTime length"},
    {"AttributeCertificateInfo", -382, -390,
     "version holder issuer signature serialNumber attrCertValidityPeriod attributes length trailing"},
    {"AttributeCertificate", -391, -395, "wrongTag acinfo signatureAlgorithm signatureValue length"},
    {"AttCertSubject", -396, -398, "baseCertificateID.tag subjectName.tag unexpected"},
    {"AttributeCertificateInfoV1", -399, -406,
     "subject issuer signature serialNumber attCertValidityPeriod attributes length trailing"},
    {"AttributeCertificateV1", -407, -410, "acInfo signatureAlgorithm signature length"},
    // CMS
    {"ContentInfo", -430, -433, "wrongTag contentType length trailing"},
    {"EncapsulatedContentInfo", -434, -437, "eContentType eContent.tag length trailing"},
    {"IssuerAndSerialNumber", -438, -440, "issuer serialNumber length"},
    {"SignerIdentifier", -441, -441, "unexpected"},
    {"SignerInfo", -442, -448, "version sid digestAlgorithm signatureAlgorithm signature length trailing"},
    {"SignerInfos", -449, -450, "unexpected length"},
    {"ExtendedCertificateInfo", -451, -454, "version certificate attributes length"},
    {"ExtendedCertificate", -455, -458, "extendedCertificateInfo signatureAlgorithm signature length"},
    {"OtherCertificateFormat", -459, -461, "otherCertFormat otherCert length"},
    {"CertificateChoices", -462, -462, "unexpected"},
    {"CertificateSet", -463, -464, "unexpected length"},
    {"SignedData", -465, -470, "wrongTag version digestAlgorithms encapContentInfo signerInfos length"},
    // Signature policy and signer attributes
    {"OtherHashAlgAndValue", -490, -492, "hashAlgorithm hashValue length"},
    {"SigPolicyQualifierInfo", -493, -495, "sigPolicyQualifierId sigQualifier length"},
    {"SigPolicyQualifiers", -496, -497, "unexpected length"},
    {"SignaturePolicyId", -498, -501, "sigPolicyIdentifier sigPolicyHash length trailing"},
    {"SignaturePolicyIdentifierAttrParams", -502, -502, "unexpected"},
    {"SignerAttributeChoice", -503, -505, "claimedAttributes.tag certifiedAttributes.tag unexpected"},
    {"SignerAttributeAttrParams", -506, -508, "wrongTag unexpected length"},
    // Timing attributes
    {"TimeValue", -520, -523, "major fractionalSeconds length trailing"},
    {"LeapData", -524, -526, "leapTime action length"},
    {"LeapEvent", -527, -528, "unexpected length"},
    {"TimingMetrics", -529, -535, "wrongTag ntpTime offset delay expiration length trailing"},
    {"TimingMeticsObj", -536, -538, "wrongTag unexpected length"},
    {"TimingPolicyId", -539, -539, "unexpected"},
    {"TimingPolicyIds", -540, -541, "unexpected length"},
    {"TimingPolicy", -542, -546, "wrongTag maxOffset.tag maxDelay.tag length trailing"},
    {"TimingPolicyObj", -547, -549, "wrongTag unexpected length"},
    // Time-stamp protocol
    {"TimeStampReq", -640, -644, "wrongTag version messageImprint length trailing"},
    {"MessageImprint", -645, -647, "hashAlgorithm hashedMessage length"},
    {"PKIFreeText", -648, -649, "unexpected length"},
    {"PKIStatusInfo", -650, -652, "status length trailing"},
    {"TimeStampResp", -653, -656, "wrongTag status length trailing"},
    {"Accuracy", -657, -658, "length trailing"},
    {"TSTInfo", -659, -666, "wrongTag version policy messageImprint serialNumber genTime length trailing"},
};

// When the compiler rejects a table, it shows the arguments of these functions.

constexpr void check_code_run(std::string_view type, AsnInt first, AsnInt last, AsnInt counted,
                              AsnInt highestFree) {
  if (type.empty()) throw "a row of kCodeRuns names no type";
  if (last != counted) throw "a row of kCodeRuns has another last code; a new site takes a row of its own";
  if (first > highestFree) throw "the rows of kCodeRuns must fall and must not overlap";
  if (last < kLastTypeCode) throw "a row of kCodeRuns leaves the range of the codes of types";
}
[[nodiscard]] constexpr bool check_code_runs(std::span<const CodeRun> runs) {
  AsnInt highestFree = kFirstTypeCode;
  for (const CodeRun& run : runs) {
    check_code_run(run.type, run.first, run.last, run.first - run.count() + 1, highestFree);
    highestFree = run.last - 1;
  }
  return true;
}
static_assert(check_code_runs(kCodeRuns), "kCodeRuns is in order");

using SiteCode = int16_t;
inline constexpr SiteCode kNoCode = 0;  // of a site that a type does not have

constexpr void check_site([[maybe_unused]] std::string_view type, std::string_view site,
                          std::string_view suffix, std::string_view found) {
  if (!found.starts_with(site) || found.substr(site.size()) != suffix) {
    throw "kCodeRuns has another name, or none, where this type has this site";
  }
}
constexpr void check_rest([[maybe_unused]] std::string_view type, std::string_view rest) {
  if (!rest.empty()) throw "kCodeRuns names sites that this type does not have, or names them twice";
}

// SiteCodes hands out the codes of one type. Its sites are asked for in their order; the rows of
// the type name them in the same order, so that two names never swap.
class SiteCodes {
 public:
  constexpr explicit SiteCodes(std::string_view type, std::span<const CodeRun> table = kCodeRuns)
      : type_(type) {
    for (const CodeRun& run : table) {
      if (run.type != type) continue;
      if (rows_ == kMostRows) throw "a type has at most four rows in kCodeRuns";
      rest_[rows_++] = {run.sites, SiteCode(run.first)};
    }
    if (rows_ == 0) throw "no row of kCodeRuns names this type";
  }

  constexpr SiteCode next(std::string_view site, std::string_view suffix = {}) {
    size_t row = 0;
    while (row < rows_ && !rest_[row].starts_with(site, suffix)) ++row;
    if (row == rows_) check_site(type_, site, suffix, rest_[0].name());
    return rest_[row].take();
  }

  // finish is called after the last site: every name has been asked for.
  constexpr void finish() const {
    for (size_t row = 0; row < rows_; ++row) check_rest(type_, rest_[row].names);
  }

 private:
  static constexpr size_t kMostRows = 4;

  // The part of a row not yet consumed.
  struct Rest {
    std::string_view names;
    SiteCode code;

    constexpr std::string_view name() const { return names.substr(0, names.find(' ')); }
    [[nodiscard]] constexpr bool starts_with(std::string_view site, std::string_view suffix) const {
      const std::string_view word = name();
      return word.size() == site.size() + suffix.size() && word.starts_with(site) && word.ends_with(suffix);
    }
    constexpr SiteCode take() {
      const size_t taken = name().size();
      names.remove_prefix(taken == names.size() ? taken : taken + 1);
      return code--;
    }
  };

  std::string_view type_;
  std::array<Rest, kMostRows> rest_{};
  size_t rows_ = 0;
};

}  // namespace qex
