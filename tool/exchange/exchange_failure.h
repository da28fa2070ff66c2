// Why one authority did not give a usable reply, and whether to ask it again.
#pragma once

#include <chrono>
#include <utility>

#include "tool/base/failure.h"

namespace qex::tool {

struct ExchangeFailure : Failure {
  bool again = false;                  // asking the same authority again may help
  bool own = false;                    // the caller's own fault: no other authority can help
  std::chrono::seconds retryAfter{0};  // the authority asks to be left alone for so long
  long httpStatus = 0;                 // 0: none came
};

// LastingFault returns a failure of the authority that asking it again does not change.
inline ExchangeFailure LastingFault(ExitStatus exit, std::string message, std::string hint,
                                    long httpStatus = 0) {
  ExchangeFailure failure{{exit, std::move(message), std::move(hint)}};
  failure.httpStatus = httpStatus;
  return failure;
}

// PassingFault returns a failure of the network, which may be over by the next try.
inline ExchangeFailure PassingFault(std::string message, std::string hint) {
  ExchangeFailure failure{{ExitStatus::Network, std::move(message), std::move(hint)}};
  failure.again = true;
  return failure;
}

}  // namespace qex::tool
