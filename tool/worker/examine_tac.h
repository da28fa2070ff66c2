// The library's findings on time attribute certificates. Runs in a worker only (worker.h).
#pragma once

#include <string>

#include "tool/base/bytes.h"
#include "tool/message/facts.h"

namespace qex::tool {

// DescribeTac returns the facts of a bare attribute certificate; throws a Failure when it does not decode.
TacFacts DescribeTac(ByteView tac);

// DescribeTacOfToken enters facts.tac, the certificate that the token carries, and facts.tacMatch: whether
// `given`, or the token's own when `given` is empty, belongs to the token.
void DescribeTacOfToken(Facts& facts, ByteView token, const Bytes& given, const std::string& serves);

}  // namespace qex::tool
