// Revocation lists, and their entries about a chain that holds.
#pragma once

#include <optional>
#include <vector>

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

struct RevocationQuestion {
  STACK_OF(X509) * path = nullptr;  // from the signer to the root
  const std::vector<OwnedCrl>* lists = nullptr;
  int64_t time = 0;                // at which the lists must be in force
  std::optional<int64_t> genTime;  // of the token
  int64_t latestIssue = 0;         // a list that was issued later than this is not used
  bool allowWeak = false;
};

Revocation JudgeRevocation(const RevocationQuestion& question);

}  // namespace qex::tool::strict
