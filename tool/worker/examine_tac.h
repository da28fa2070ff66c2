// What the library says about time attribute certificates. Runs in a worker only (worker.h).
//
// A certificate's facts:
//   der, sha256                 in hexadecimal
//   info                        for people, by the exports' word: holder, issuer, serial, validity,
//                               timing_metrics, timing_policy; attributes, the types of all it has
//   metrics_code, policy_code   results of reading the two timing attributes
#pragma once

#include "tool/base/bytes.h"
#include "tool/base/json.h"

namespace qex::tool {

// DescribeTac returns the facts of a bare attribute certificate; throws a Failure when it does not decode.
Json DescribeTac(ByteView tac);

// DescribeTacOfToken enters facts["tac"]: code and asn1_error of taking the certificate out and, when there
// is one, its facts, or its der and the failure of reading it. facts["tac_match"] is about `given`, or about
// the token's own when `given` is empty.
void DescribeTacOfToken(Json& facts, ByteView token, const Bytes& given);

}  // namespace qex::tool
