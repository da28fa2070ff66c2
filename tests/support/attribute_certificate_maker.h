// Makes attribute certificates (RFC 3281) with timing attributes, by hand and by the library's own encoders.
//
// Parts describe a certificate as values; either maker writes the same octets for them, so that each checks
// the other. Tests build forms that no encoder can write from der.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "asn1/attrcert.h"
#include "tests/support/records.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {

inline constexpr const char* kMetricsAttribute = "1.3.6.1.4.1.601.10.4.1";
inline constexpr const char* kSingleMetricsAttribute = "1.3.6.1.4.1.601.10.1";
inline constexpr const char* kPolicyAttribute = "1.3.6.1.4.1.601.10.4.2";

// TimeParts is a point in time or a duration; INTEGERs as their contents octets.
struct TimeParts {
  Octets major = {0};
  Octets fraction = {0};
  std::optional<int32_t> sign;
};
TimeParts Seconds(int64_t seconds, int64_t micros = 0, std::optional<int32_t> sign = {});

struct LeapParts {
  TimeParts time;
  int32_t action = 0;
};

struct MetricsParts {
  TimeParts ntp_time = Seconds(3913056000);    // 2024-01-01 00:00:00
  TimeParts offset = Seconds(0, 250000, -1);   // -0.25 s
  TimeParts delay = Seconds(0, 500000);        // 0.5 s
  TimeParts expiration = Seconds(3913142400);  // a day later
  std::optional<std::vector<LeapParts>> leaps;
};

struct PolicyIdParts {
  std::string identifier;
  bool bare = false;  // an OBJECT IDENTIFIER, not in a PolicyInformation
};

struct PolicyParts {
  std::optional<std::vector<PolicyIdParts>> identifiers = {{{"1.2.3.4.5"}}};
  std::optional<TimeParts> max_offset = Seconds(1, 500000);
  std::optional<TimeParts> max_delay = Seconds(2, 250000);
};

// The shape of the values of a timing attribute: elements of the SET, SETs as elements, or a single value in
// place of the SET.
enum class Shape { kDirect, kNested, kInPlace };

// AttributeParts holds metrics or policies, set by set (kDirect: one after the other, kInPlace: the first),
// or, when neither is there, an OBJECT IDENTIFIER as its value.
struct AttributeParts {
  std::string type;
  Shape shape = Shape::kDirect;
  std::vector<std::vector<MetricsParts>> metrics;
  std::vector<std::vector<PolicyParts>> policies;
  std::string identifier;
};
AttributeParts MetricsAttribute(const std::vector<std::vector<MetricsParts>>& sets = {{MetricsParts()}},
                                Shape shape = Shape::kDirect, const std::string& type = kMetricsAttribute);
AttributeParts PolicyAttribute(const std::vector<std::vector<PolicyParts>>& sets = {{PolicyParts()}},
                               Shape shape = Shape::kDirect);
// PlainAttribute is none of the timing attributes.
AttributeParts PlainAttribute();

// NameParts is a GeneralName: a directory name, or a text in one of the forms that are IA5String, or the
// octets of an address, or an identifier.
struct NameParts {
  AsnInt choice = GeneralName::kDirectoryName;
  std::vector<std::pair<std::string, std::string>> directory;
  std::string text;
};
NameParts DirectoryNameOf(const std::string& common_name);

struct ObjectDigestParts {
  std::string algorithm = kSha256;
  Octets digest = Octets(32, 0xD1);
  unsigned unused_bits = 0;
};

struct AttrCertParts {
  int32_t version = 1;
  std::optional<std::vector<NameParts>> holder = {{DirectoryNameOf("Holder")}};
  std::optional<ObjectDigestParts> object_digest = ObjectDigestParts();
  bool v1_form = false;                                                          // of the issuer
  std::optional<std::vector<NameParts>> issuer = {{DirectoryNameOf("Issuer")}};  // v1_form: always there
  std::string inner_algorithm = kSha256WithRsa;
  std::string outer_algorithm = kSha256WithRsa;
  bool inner_null = true;  // the parameters of the inner one
  Octets serial = {0x01, 0x02, 0x03};
  std::string not_before = "20240101000000Z";
  std::string not_after = "20250101000000Z";
  std::vector<AttributeParts> attributes = {MetricsAttribute(), PolicyAttribute()};
  Octets signature = Octets(128, 0x5A);
  unsigned signature_unused_bits = 0;
};

// ByHand returns the standalone certificate, ContentByHand the content of its SEQUENCE.
// PublishedV1ContentByHand is the version-1 form of X.509, whose subject is the holder's name.
Octets ByHand(const AttrCertParts& parts);
Octets ContentByHand(const AttrCertParts& parts);
Octets PublishedV1ContentByHand(const AttrCertParts& parts);
Octets ByHand(const AttributeParts& parts);

// Build makes the records that the encoders take; ByEncoders the certificate from them. The timing
// attributes need no registered type that EnsureAsnInit has not entered, which both see to.
AttributeCertificate* Build(Records& records, const AttrCertParts& parts);
AttributeCertificateV1* BuildV1(Records& records, const AttrCertParts& parts, bool published);
qex::Attribute* Build(Records& records, const AttributeParts& parts);
Name* BuildDirectoryName(Records& records, const std::vector<std::pair<std::string, std::string>>& names);
enum class AlgorithmParameters { Absent, Null };
AlgorithmIdentifier* BuildAlgorithm(Records& records, const std::string& identifier,
                                    AlgorithmParameters parameters);
Octets ByEncoders(const AttrCertParts& parts);

}  // namespace qex::test
