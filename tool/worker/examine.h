// A worker's job: every message is read here, by both readers. Runs in a worker only (worker.h).
#pragma once

#include <string>

#include "tool/message/facts.h"
#include "tool/message/job.h"
#include "tool/message/trust.h"

namespace qex::tool {

// Examine runs a job; `serves` is the version of the signing-certificate attribute, v1 or v2, that this
// process checks. Throws a Failure for input of the wrong kind, or that neither reader can read.
Facts Examine(const Job& job, const Trust& trust, const std::string& serves);

}  // namespace qex::tool
