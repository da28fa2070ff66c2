// The trusted certificates and lists, decoded once for many tokens.
#pragma once

#include <vector>

#include "tool/message/trust.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

struct TrustStore {
  std::vector<OwnedCertificate> signers;
  std::vector<Bytes> signerEncodings;
  std::vector<OwnedCertificate> untrusted;
  OwnedCertificates roots;  // those of the system included
  std::vector<OwnedCrl> lists;
};

// StoreOf returns the decoded form of a Trust; decodes it unless it is the same as last time.
const TrustStore& StoreOf(const Trust& trust);

// ForgetStore drops it, so that the next call decodes again.
void ForgetStore();

}  // namespace qex::tool::strict
