// Makes time-stamp tokens (RFC 3161, RFC 5652) out of parts that a test may replace one by one.
//
// Members of type Octets are encoded elements; encode() makes those that are not set from the rest. A maker
// with its defaults makes a token that verifies.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/der.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {

inline constexpr const char* kData = "1.2.840.113549.1.7.1";
inline constexpr const char* kSignedData = "1.2.840.113549.1.7.2";
inline constexpr const char* kTstInfo = "1.2.840.113549.1.9.16.1.4";
inline constexpr const char* kContentTypeAttribute = "1.2.840.113549.1.9.3";
inline constexpr const char* kMessageDigestAttribute = "1.2.840.113549.1.9.4";
inline constexpr const char* kSigningTimeAttribute = "1.2.840.113549.1.9.5";
inline constexpr const char* kSigningCertificateAttribute = "1.2.840.113549.1.9.16.2.12";
inline constexpr const char* kSigningCertificateV2Attribute = "1.2.840.113549.1.9.16.2.47";

// DirectoryName encodes an RDNSequence of one attribute each, given as identifier and value.
Octets DirectoryName(const std::vector<std::pair<std::string, Octets>>& attributes);

// TstInfoMaker makes a TSTInfo; members left empty are absent.
struct TstInfoMaker {
  Octets version = der::integer(1);
  Octets policy = der::oid("1.2.3.4.1");
  Octets imprint = der::sequence(der::algorithm(kSha256, der::null()), der::octet_string(Octets(32, 0x11)));
  Octets serial = der::integer(0x1234);
  Octets gen_time = der::generalized_time("20241115080000Z");
  Octets accuracy;
  Octets ordering;
  Octets nonce;
  Octets tsa;
  Octets extensions;

  Octets encode() const;
};

// CertificateMaker makes an X.509 certificate that signs itself.
struct CertificateMaker {
  RsaKey key = TestKey("authority");
  Octets subject_public_key_info;  // not set: that of `key`
  Octets serial = der::integer(7);
  Octets subject = DirectoryName({{"2.5.4.6", der::printable_string("GB")},
                                  {"2.5.4.10", der::utf8_string("Example")},
                                  {"2.5.4.3", der::utf8_string("TSA")}});

  Octets encode() const;
};

// The authority's certificate as the makers use it, and a second one with another key.
const Octets& AuthorityCertificate();
const Octets& OtherCertificate();

// Attribute returns a CMS attribute of these values.
Octets Attribute(const std::string& type, const std::vector<Octets>& values);

// EssCertId and EssCertIdV2 identify a certificate by its hash; the second takes the AlgorithmIdentifier
// as an element, or none. SigningCertificate is the value of the attribute of either version.
Octets EssCertId(const Octets& hash);
Octets EssCertIdV2(const Octets& algorithm, const Octets& hash);
Octets SigningCertificate(const std::vector<Octets>& identifiers);

// AttributeCertificateContent returns the contents of an attribute certificate (RFC 3281), without tag and
// length.
Octets AttributeCertificateContent();

struct SignerMaker {
  RsaKey key = TestKey("authority");
  Octets certificate = AuthorityCertificate();  // named by the signing-certificate attributes
  std::string digest = kSha256;
  Octets digest_parameters = der::null();         // of the SignerInfo's digestAlgorithm; no octets: absent
  Octets signed_digest_parameters = der::null();  // of the DigestInfo
  std::string signature_algorithm = kRsaEncryption;
  Octets signature_parameters = der::null();
  int64_t version = 1;
  bool sorted = true;                // signed attributes in the order of DER
  std::vector<Octets> extra;         // attributes in addition to the usual ones
  std::vector<std::string> without;  // identifiers of usual attributes to leave out
  // Replace the usual parts, element by element.
  std::optional<std::vector<Octets>> attributes;      // all signed attributes
  std::optional<Octets> message_digest;               // value of the attribute
  std::optional<Octets> digest_algorithm;             // AlgorithmIdentifier
  std::optional<Octets> signature_algorithm_element;  // AlgorithmIdentifier
  std::optional<Octets> signed_attributes;            // the [0] element; no octets: absent
  std::optional<Octets> hashed_attributes;            // the SET that is hashed
  std::optional<Octets> signature;                    // signature octets
  std::function<Octets(const Octets& digest_info, size_t size)> block = Padded;
  std::function<Octets(const Octets& digest)> sign;  // makes the signature octets in place of `key`

  Octets encode(const Octets& content) const;
};

struct TokenMaker {
  Octets tst_info = TstInfoMaker().encode();
  bool with_content = true;
  std::string content_type = kSignedData;
  std::string encapsulated_type = kTstInfo;
  int64_t version = 3;
  std::vector<Octets> certificates = {AuthorityCertificate()};  // CertificateChoices; none: absent
  std::vector<SignerMaker> signers = std::vector<SignerMaker>(1);

  SignerMaker& signer() { return signers[0]; }
  Octets encode() const;
};

// Two tokens without signed data: the content of one is absent, that of the other is data.
Octets TokenWithoutContent();
Octets TokenOfData();

}  // namespace qex::test
