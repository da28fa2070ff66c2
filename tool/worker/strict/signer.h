// Which certificate signed.
#pragma once

#include <vector>

#include "tool/worker/strict/token.h"
#include "tool/worker/strict/trust_store.h"

namespace qex::tool::strict {

struct Signer {
  X509* certificate = nullptr;  // of the token or the store; null: not available
  EssMatch essV1 = EssMatch::Absent;
  EssMatch essV2 = EssMatch::Absent;
};

// FindSigner picks the certificate that the signer identifier names, and among several the one that the
// signing-certificate attributes name too.
Signer FindSigner(const Token& token, const TrustStore& store);

}  // namespace qex::tool::strict
