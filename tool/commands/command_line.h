// Reads the command line and runs one command.
#pragma once

#include "tool/base/exit_status.h"

namespace qex::tool {

// RunCommandLine turns the end of the command into an exit status, and a failure into a line for people; it
// throws ReaderGone when nobody reads the standard output any more.
[[nodiscard]] ExitStatus RunCommandLine(int count, char** words);

}  // namespace qex::tool
