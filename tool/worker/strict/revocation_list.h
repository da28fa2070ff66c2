// One list of revoked certificates: its issuer, whether it can be used, its scope, and its entries about a
// chain.
#pragma once

#include <string>
#include <vector>

#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

using OwnedListScope = Handle<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free>;
using OwnedKeyIdentifier = Handle<AUTHORITY_KEYID, AUTHORITY_KEYID_free>;
using OwnedTime = Handle<ASN1_GENERALIZEDTIME, ASN1_GENERALIZEDTIME_free>;

struct RevocationList {
  X509_CRL* crl = nullptr;
  int64_t issued = 0;                               // seconds since 1970
  OwnedListScope scope;                             // null: all that its issuer issued
  OwnedKeyIdentifier keyOfIssuer;                   // null: not named
  bool isDelta = false;                             // of changes to another list
  const char* fault = nullptr;                      // why it cannot be used, regardless of the signer
  std::vector<std::vector<X509_REVOKED*>> entries;  // by certificate of the path

  std::string Name() const;
  [[nodiscard]] bool IsWeak() const;  // signed with a weak digest
  [[nodiscard]] bool IsIndirect() const { return scope && scope->indirectCRL != 0; }
  [[nodiscard]] bool IsOfSomeReasons() const { return scope && scope->onlysomereasons != nullptr; }
};

// ReadRevocationList reads a list, and picks the entries about the certificates of a path.
RevocationList ReadRevocationList(X509_CRL* crl, STACK_OF(X509) * path);

// IssuerOnPath returns the certificate of the path whose key should have signed the list, when the list is by
// the issuer of the certificate at `place`; null when it is not.
X509* IssuerOnPath(const RevocationList& list, STACK_OF(X509) * path, int place);

// FaultOfList returns why a list by this issuer cannot be used; null when it can.
const char* FaultOfList(const RevocationList& list, X509* issuer);

// GapOfList says why a list of the certificate's issuer leaves open whether a certificate that it does not
// name was revoked; null when it would name it.
const char* GapOfList(const RevocationList& list, X509* certificate);

}  // namespace qex::tool::strict
