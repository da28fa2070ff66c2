// The parts of JudgeSigner in sources of their own.
#pragma once

#include "tool/judge/judge.h"

namespace qex::tool {

// JudgeSignature makes the line "signature"; returns whether the signer is worth judging.
[[nodiscard]] bool JudgeSignature(Report& report, const Facts& facts, const Options& options);

// JudgeCertificate makes the lines "key_usage", "dates", "chain" and "revocation".
void JudgeCertificate(Report& report, const StrictReading& strict, const Trust& trust);

}  // namespace qex::tool
