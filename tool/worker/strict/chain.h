// Chains of certificates from the signer to a root.
#pragma once

#include <vector>

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

// What a chain is made of, and judged by.
struct ChainQuestion {
  X509* signer = nullptr;
  std::vector<X509*> untrusted;
  STACK_OF(X509) * roots = nullptr;
  int64_t time = 0;  // seconds since 1970
  bool allowWeak = false;
};

struct ChainAnswer {
  Chain chain;
  OwnedCertificates path;  // from the signer to the root; null unless trusted
};

ChainAnswer FindChain(const ChainQuestion& question);

// HasWeakDigest tells whether a signature algorithm is one that no certificate of a chain may be signed with
// unless weak ones are allowed.
bool HasWeakDigest(const X509_ALGOR* signatureAlgorithm);

}  // namespace qex::tool::strict
