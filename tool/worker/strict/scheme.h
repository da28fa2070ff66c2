// Signature algorithms: the demands of an identifier and its parameters on a key.
#pragma once

#include <string>

#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

struct Scheme {
  std::string name;  // rsa, rsa-pss, ecdsa, dsa, ed25519, ed448; "name (dotted)" of an unknown one
  const Digest* digest = nullptr;  // null: the key signs the octets themselves
  const Digest* mask = nullptr;    // of MGF1
  int saltLength = 0;
  std::string unsupported;  // why it cannot be tried, in words; empty: it can
  std::string fault;        // the fault of its parameters; empty: none

  [[nodiscard]] bool FitsKey(const std::string& keyType) const;
};

// SchemeOf reads a signature algorithm; the digest algorithm counts where it names none.
Scheme SchemeOf(const X509_ALGOR* signatureAlgorithm, const X509_ALGOR* digestAlgorithm);

}  // namespace qex::tool::strict
