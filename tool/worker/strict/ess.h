// The signing-certificate attributes (RFC 2634, 5.4; RFC 5035): which certificate signed, by its digest.
#pragma once

#include <optional>

#include "tool/worker/strict/token.h"

namespace qex::tool::strict {

// One attribute, of either version, as far as it speaks of the signer's certificate.
class SigningCertificate {
 public:
  // SigningCertificate reads the attribute of a type from the token; version 1 has SHA-1 alone.
  SigningCertificate(const Token& token, int nid);

  // Match returns whether it names a certificate; pass null for a certificate that is not available.
  EssMatch Match(X509* certificate) const;

 private:
  [[nodiscard]] bool fits_issuer(X509* certificate) const;

  EssMatch state_ = EssMatch::Absent;  // Names: it can be compared
  const Digest* digest_ = nullptr;
  ByteView hash_;
  OwnedGeneralNames issuer_;  // null: not named
  Bytes serial_;
};

}  // namespace qex::tool::strict
