// Tokens whose signing-certificate attributes (RFC 2634, 5.4; RFC 5035) name what a test says.
#pragma once

#include <string>
#include <vector>

#include "tests/support/token_maker.h"

namespace qex::test {

// NameV1 and NameV2 return the identifier of a certificate in either version of the attribute.
inline Octets NameV1(const Octets& certificate) {
  return EssCertId(Digest(kSha1, certificate));
}
inline Octets NameV2(const std::string& algorithm, const Octets& certificate) {
  return EssCertIdV2(der::algorithm(algorithm), Digest(algorithm, certificate));
}

// TokenNaming makes a token with these identifiers in the attributes of the first and of the second version;
// a version without identifiers is absent.
inline Octets TokenNaming(const std::vector<Octets>& first, const std::vector<Octets>& second) {
  TokenMaker maker;
  maker.signer().without = {kSigningCertificateAttribute};
  if (!first.empty()) {
    maker.signer().extra.push_back(Attribute(kSigningCertificateAttribute, {SigningCertificate(first)}));
  }
  if (!second.empty()) {
    maker.signer().extra.push_back(Attribute(kSigningCertificateV2Attribute, {SigningCertificate(second)}));
  }
  return maker.encode();
}

}  // namespace qex::test
