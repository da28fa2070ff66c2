// What the caller trusts, decoded once for many tokens.
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

// StoreOf returns what was decoded of a Trust; decodes it when it is not the last one that was.
const TrustStore& StoreOf(const Trust& trust);

// ForgetStore drops it, so that the next call decodes anew.
void ForgetStore();

}  // namespace qex::tool::strict
