// Facts as people and scripts read them.
#pragma once

#include <optional>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/failure.h"
#include "tool/base/json_fwd.h"
#include "tool/message/facts.h"

namespace qex::tool {

// HashName names the algorithm of an imprint (contents octets of its identifier): "sha256", or the
// identifier.
std::string HashName(const Bytes& algorithm);

// AccuracyText renders the accuracy as "1.5001 s"; empty when it is absent or 0.
std::string AccuracyText(const TstInfo& info);

Json TokenFields(const Facts& facts);
Json RequestFields(const RequestFacts& request);
Json StatusFields(const Status& status);
Json KeyFields(const SignerKey& key);

// FailureNames names the bits of a failInfo: "badAlg, badRequest".
std::string FailureNames(const Status& status);

// StatusName names a PKIStatus: "granted", "unknown status".
std::string StatusName(const Status& status);

// TacFields returns the fields shown of an attribute certificate, with its digest.
Json TacFields(const TacFacts& tac);

// MissingTiming returns the failure for a certificate without timing metrics or timing policy; nothing when
// it states both.
[[nodiscard]] std::optional<Failure> MissingTiming(const TacFacts& tac, const std::string& subject);

// TimeLine is the last line about a token: time, accuracy, serial number, policy.
std::string TimeLine(const Facts& facts);

}  // namespace qex::tool
