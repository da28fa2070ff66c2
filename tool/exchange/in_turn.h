// Asks several authorities in turn, until one gives a usable reply.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tool/exchange/exchange_failure.h"

namespace qex::tool {

struct Patience {
  unsigned retries = 3;                      // rounds after the first one
  std::chrono::milliseconds longestWait{0};  // for an authority that asks to be left alone
};

// One authority's failure, and its reason.
struct Attempt {
  std::string authority;
  ExchangeFailure failure;
};

// AskInTurn calls `ask` with each of `authorities` until it returns, and notes each Failure that it throws.
// Only the caller's own fault ends it early. Authorities that may answer later are asked again, after a pause
// that doubles with every round and is never shorter than they ask for. Throws the last failure.
void AskInTurn(const std::vector<std::string>& authorities, const Patience& patience,
               const std::function<void(const std::string&)>& ask, std::vector<Attempt>& attempts);

}  // namespace qex::tool
