// The contents of messages, as JSON objects with readable members. Verifies nothing. Texts from the message
// are not escaped: the code that shows them does that.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tool/base/json_fwd.h"
#include "tool/message/facts.h"
#include "tool/message/structure.h"

namespace qex::inspect {

using tool::Json;

// InspectRequest returns a request as the library's codec reads it; nothing when it does not decode.
[[nodiscard]] std::optional<tool::RequestFacts> InspectRequest(View request);

// InspectToken returns the contents of a token and the choices for its verification, as the library's codec
// reads it, without verifying; nothing when it does not decode.
[[nodiscard]] std::optional<tool::LibraryReading> InspectToken(View token);

// TsaName renders the tsa name of a token for people; empty when it has none, or one of another form than a
// directory name.
std::string TsaName(View token);

// The longest numbers of a key that a signature is checked with, in bits. The library's own bound is so much
// higher that one check could take hours.
inline constexpr size_t kMaxModulusBits = 8192;  // n of RSA; p, g and y of DSA
inline constexpr size_t kMaxExponentBits = 256;  // e of RSA, as FIPS 186-4, B.3.1 has it
inline constexpr size_t kMaxOrderBits = 512;     // q of DSA

// InspectKey describes the key of a certificate as the library's codec reads it; the type is empty when the
// certificate does not decode.
tool::SignerKey InspectKey(View certificate);

// DsaOrderBits returns the length of q in bits; 0 for another key.
size_t DsaOrderBits(View certificate);

// SubjectText renders the subject of a certificate for people.
std::string SubjectText(View certificate);

// ExtensionPrinter renders the extensions of a certificate, a text each; none when it cannot. An empty one
// leaves their names alone to be shown.
using ExtensionPrinter = std::function<std::vector<std::string>(View certificate)>;

// Descriptions for people; null when the input is not of the kind in the name.
Json DescribeToken(View token, const ExtensionPrinter& printer);
Json DescribeCertificate(View certificate, const ExtensionPrinter& printer);
// Issuer, serial number and attribute types: which one it is among those of a token.
Json DescribeAttributeCertificate(View certificate);

// AttributeTypes returns the types of an attribute certificate's attributes, as NamedOid gives them.
Json AttributeTypes(View certificate);

// NameText renders an encoded Name as "C=XX, O=Maker, CN=Name", in UTF-8.
std::string NameText(View name);

// TimeText renders UTCTime or GeneralizedTime as ISO 8601, or unchanged when it has another form.
std::string TimeText(uint8_t tag, View content);

// Asn1Text prints a message by the library's print routines; nothing when it does not decode.
[[nodiscard]] std::optional<std::string> Asn1Text(Kind kind, View data);

// UnknownIdentifier is one that the library has no type for, or another type than the value has, in a place
// where the value after it is decoded by it.
struct UnknownIdentifier {
  std::string name;  // as NamedOid gives it
  const char* role;  // "attribute", "algorithm" and so on
  bool algorithm;
};

// FindUnknownIdentifier returns the first one in a message, of a token's TSTInfo last; nothing when
// there is none.
[[nodiscard]] std::optional<UnknownIdentifier> FindUnknownIdentifier(View data);

}  // namespace qex::inspect
