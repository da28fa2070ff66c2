// A time attribute certificate's facts (examine_tac.h) as people and scripts read them.
#pragma once

#include <optional>
#include <string>

#include "tool/base/failure.h"
#include "tool/base/json.h"

namespace qex::tool {

// TacFields returns its info, with the digest of the certificate.
Json TacFields(const Json& tac);

// MissingTiming returns the failure that a certificate without timing metrics or timing policy is; nothing
// when it states both.
std::optional<Failure> MissingTiming(const Json& tac, const std::string& subject);

}  // namespace qex::tool
