// What stands inside messages, as JSON objects whose members a reader understands. Nothing is
// verified here. Texts from the message are not escaped: whoever shows them does that.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/message/structure.h"

namespace qex::inspect {

using Json = nlohmann::ordered_json;

// RequestFacts are the parts of a request that no record of the library shows exactly.
struct RequestFacts {
  std::vector<uint8_t> policy;  // contents octets; none: absent
  std::vector<uint8_t> hash;
  size_t extensions;
};
std::optional<RequestFacts> InspectRequest(View request);

// NamesFailure returns whether a reply says what went wrong: 0 stands in the library's record both for
// the first failure and for none.
bool NamesFailure(View reply);

// TokenFacts are the parts of a token that choose how it is verified.
struct TokenFacts {
  std::vector<uint8_t> policy;  // contents octets of the identifiers in the TSTInfo
  std::vector<uint8_t> hash;
  std::string digestAlgorithm;     // of the first signer, dotted
  std::string signatureAlgorithm;  // dotted
  bool hasSigningCertificate;
  bool hasSigningCertificateV2;
};
std::optional<TokenFacts> InspectToken(View token);

// The longest numbers of a key that a signature is checked with, in bits. The library's own bound lies so
// far above that one check could take hours.
inline constexpr size_t kMaxModulusBits = 8192;  // n of RSA; p, g and y of DSA
inline constexpr size_t kMaxExponentBits = 256;  // e of RSA, as FIPS 186-4, B.3.1 has it
inline constexpr size_t kMaxOrderBits = 512;     // q of DSA

// KeyFacts describe a public key.
struct KeyFacts {
  std::string type;               // rsa, dsa, or the name of another algorithm
  size_t bits;                    // 0: unknown
  std::vector<uint8_t> exponent;  // of RSA, big-endian without zeros in front
  bool lowExponent;               // RSA with an exponent below 65537, or one that cannot be read
  std::string excess;             // the first number that is too long, in words; empty: none
};
KeyFacts InspectKey(View certificate);

// Descriptions for people; null when the input is not what the name says.
Json DescribeToken(View token);
Json DescribeCertificate(View certificate);
// Issuer, serial number and attribute types: which one it is among those of a token.
Json DescribeAttributeCertificate(View certificate);

// AttributeTypes returns the types of an attribute certificate's attributes, as NamedOid gives them.
Json AttributeTypes(View certificate);

// NameText renders an encoded Name as "C=XX, O=Maker, CN=Name", in UTF-8.
std::string NameText(View name);

// TimeText renders UTCTime or GeneralizedTime as ISO 8601, or as it stands when it is in another form.
std::string TimeText(uint8_t tag, View content);

// Asn1Text prints a message by the library's print routines; nothing when it does not decode.
std::optional<std::string> Asn1Text(Kind kind, View data);

// UnknownIdentifier is one that the library has no type for, in a place where the value behind it
// is decoded by it.
struct UnknownIdentifier {
  std::string name;  // as NamedOid gives it
  const char* role;  // "attribute", "algorithm" and so on
  bool algorithm;
};

// FindUnknownIdentifier returns the first one in a message, of a token's TSTInfo last; nothing when
// there is none.
std::optional<UnknownIdentifier> FindUnknownIdentifier(View data);

}  // namespace qex::inspect
