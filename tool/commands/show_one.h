// Shows one message.
#pragma once

#include "tool/base/options.h"
#include "tool/commands/outcome.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {

enum class Printed { No, Yes };

// ShowOne renders the contents of a message as text, as JSON, or `printed` as the library prints it; JSON
// has that as one more member. No Failure leaves it.
Outcome ShowOne(const Source& source, Printed printed, const Options& options, Worker& worker);

}  // namespace qex::tool
