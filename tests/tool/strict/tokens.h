// Tokens for tests: the structure by hand, digests and signatures by libcrypto.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/support/token_maker.h"
#include "tests/tool/strict/certificates.h"
#include "tool/message/facts.h"

namespace qex::test {

inline constexpr const char* kAlgorithmProtectionAttribute = "1.2.840.113549.1.9.52";

// The plan of a token that verifies by default. Octets are elements; those that are not set are made from the
// rest.
struct TokenPlan {
  TokenPlan(const Certificate& signer_) : signer(signer_) {}

  Certificate signer;
  TstInfoMaker info;
  std::string digest = "SHA256";  // of the content
  std::optional<Octets> digest_algorithm;
  std::string signature_algorithm;  // dotted; by default set for the kind of key
  Octets signature_parameters;
  std::optional<std::string> signature_digest;  // that of the content when not set; empty: none
  int salt = -1;                                // of RSASSA-PSS; below 0: another scheme
  std::string mask = "SHA256";
  std::optional<std::vector<Octets>> certificates;  // the signer's
  std::optional<std::vector<Octets>> attributes;    // content-type, message-digest, signing-certificate-v2
  std::vector<Octets> extra_attributes;
  std::optional<Octets> signing_certificate;  // attribute; no octets: absent
  std::optional<Octets> message_digest;       // value of the attribute
  std::optional<Octets> identifier;           // of the signer
  std::optional<Octets> signature;
  std::string content_type = kTstInfo;
  std::vector<Octets> lists;  // the field crls
  bool with_attributes = true;
  size_t signers = 1;

  Octets encode() const;
};

// Hash digests by a name that libcrypto knows.
Octets Hash(const std::string& digest, const Octets& data);
Octets DigestIdentifier(const std::string& digest);

// Read is ReadStrictly after CheckTrust.
tool::StrictReading Read(const Octets& token, const tool::Trust& trust, bool allowWeak = false);
tool::StrictReading Read(const Octets& token);

}  // namespace qex::test
