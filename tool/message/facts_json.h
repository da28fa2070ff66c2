// Jobs, facts and failures as JSON, the form in which they cross the pipe to a worker and back.
//
// The members of each type are named once, for both directions. On the way back every member must be there,
// of its type, and no other: an absent or misspelt one throws, and never reads as a value.
#pragma once

#include "tool/base/failure.h"
#include "tool/base/json_fwd.h"
#include "tool/message/facts.h"
#include "tool/message/job.h"

namespace qex::tool {

Json ToJson(const Facts& facts);
// FactsFrom throws std::exception for JSON that ToJson does not give.
Facts FactsFrom(const Json& json);

Json ToJson(const Job& job);
Job JobFrom(const Json& json);

Json ToJson(const Failure& failure);
Failure FailureFrom(const Json& json);

}  // namespace qex::tool
