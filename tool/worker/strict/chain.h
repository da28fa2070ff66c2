// Chains of certificates from the signer to a root.
#pragma once

#include <vector>

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

// The input for building and judging a chain.
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

// HasWeakDigest returns whether certificates of a chain may not be signed with this algorithm unless weak
// ones are allowed.
[[nodiscard]] bool HasWeakDigest(const X509_ALGOR* signatureAlgorithm);

}  // namespace qex::tool::strict
