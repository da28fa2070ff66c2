// Facts of time attribute certificates.
#include "tool/judge/tac_facts.h"

#include "api/qex.h"

namespace qex::tool {

Json TacFields(const Json& tac) {
  Json fields = tac["info"];
  fields["sha256"] = tac["sha256"];
  return fields;
}

std::optional<Failure> MissingTiming(const Json& tac, const std::string& subject) {
  const auto metrics = tac["metrics_code"].get<int32_t>();
  const auto policy = tac["policy_code"].get<int32_t>();
  if (metrics != QEX_OK && metrics != QEX_E_SIZE) {  // what did not fit its field is noted, and no failure
    return Failure{ExitOfCode(metrics), subject + ": the attribute certificate states no timing metrics",
                   "it serves another purpose, or its issuer left them out", metrics};
  }
  if (policy != QEX_OK) {
    return Failure{ExitOfCode(policy), subject + ": the attribute certificate states no timing policy",
                   "its issuer left it out; what it does state is shown", policy};
  }
  return std::nullopt;
}

}  // namespace qex::tool
